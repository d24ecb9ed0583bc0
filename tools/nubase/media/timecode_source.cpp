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

namespace {

__extension__ typedef unsigned __int128 wide;

std::uint64_t clamped(wide a_value) {
    constexpr std::uint64_t k_max = std::numeric_limits<std::uint64_t>::max();
    return a_value > k_max ? k_max : static_cast<std::uint64_t>(a_value);
}

}  // namespace

std::uint64_t recording_source::frame_of(std::uint64_t a_sample, std::uint32_t a_num,
                                         std::uint32_t a_den) const {
    if (sample_rate == 0 || a_den == 0) return 0;
    return clamped(static_cast<wide>(a_sample) * a_num / (static_cast<wide>(sample_rate) * a_den));
}

std::uint64_t recording_source::first_sample_of(std::uint64_t a_frame, std::uint32_t a_num,
                                                std::uint32_t a_den) const {
    if (a_num == 0) return 0;
    const wide l_product = static_cast<wide>(a_frame) * sample_rate * a_den;
    return clamped((l_product + a_num - 1) / a_num);
}

}  // namespace nubase_tool
