// tools/nubase/quicktime.hpp - finds the timecode track of a QuickTime (.mov) or ISO base media
// (.mp4) file and reads its first sample.
//
// The atoms are walked with a byte-stream reader over any seekable stream, in whatever order
// they come: a movie header before or after the media data. Atoms that are not on the way to a
// timecode track are skipped by seeking, so the media data is never read.
#ifndef NUBASE_TOOL_QUICKTIME_HPP
#define NUBASE_TOOL_QUICKTIME_HPP

#include <cstdint>
#include <stdexcept>
#include <string>

#include "nubase/stream.hpp"

namespace nubase_tool {

// A structural fault of the file: an atom shorter than its header, running past its parent or
// the file, a truncated table. The message names the atom and its offset.
class malformed_file : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The timecode sample description and where the first sample lies.
struct tmcd_track {
    std::uint32_t flags = 0;  // bit 0: drop-frame
    std::uint32_t time_scale = 0;
    std::uint32_t frame_duration = 0;
    unsigned number_of_frames = 0;  // labels a second (the nominal rate)
    std::uint64_t first_chunk_offset = 0;
    bool chunk_offsets_64 = false;  // from a 'co64' table rather than 'stco'

    bool drop_frame() const { return (flags & 1u) != 0; }
};

// Looks for the first track whose media handler is 'tmcd' and that has a 'tmcd' sample
// description and a chunk offset table. Returns false when the file has none. Raises
// `malformed_file` for a broken structure; a stream that ends inside an atom is reported as a
// truncated file.
bool find_tmcd_track(nubase::stream::rda& a_source, tmcd_track& a_track);

// The first timecode sample: a 32-bit big-endian frame number at the first chunk offset.
// Raises `malformed_file` when the file ends before it.
std::uint32_t read_first_tmcd_sample(nubase::stream::rda& a_source, const tmcd_track& a_track);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_QUICKTIME_HPP
