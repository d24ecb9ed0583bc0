// The frames a timecode track covers.
#include "timecode_source.hpp"

#include <limits>

namespace nubase_tool {

std::uint64_t timecode_source::duration_frames() const {
    if (media_time_scale == 0 || frame_duration == 0) return 0;
    // media_duration / media_time_scale seconds at time_scale / frame_duration frames a second,
    // in 128 bits so that no product wraps.
    __extension__ typedef unsigned __int128 wide;
    const wide l_frames = static_cast<wide>(media_duration) * time_scale /
                          (static_cast<wide>(media_time_scale) * frame_duration);
    constexpr std::uint64_t k_max = std::numeric_limits<std::uint64_t>::max();
    return l_frames > k_max ? k_max : static_cast<std::uint64_t>(l_frames);
}

}  // namespace nubase_tool
