// tools/nubase/media/movie_writer.hpp - writes small QuickTime (.mov) and ISO base media (.mp4) files
// with a timecode track, for the demo and for the tool's tests.
#ifndef NUBASE_TOOL_MOVIE_WRITER_HPP
#define NUBASE_TOOL_MOVIE_WRITER_HPP

#include <cstdint>

#include "nubase/buffer.hpp"

namespace nubase_tool {

struct movie_layout {
    std::uint32_t time_scale = 30000;
    std::uint32_t frame_duration = 1001;
    unsigned number_of_frames = 30;
    bool drop_frame = true;
    std::uint32_t first_frame = 107892;  // the timecode sample: 01:00:00;00 at 29.97 drop-frame
    bool chunk_offsets_64 = false;       // 'co64' instead of 'stco'
    bool movie_first = true;             // the movie header before the media data
    bool mp4 = false;                    // an 'isom' brand instead of 'qt  '
    bool timecode_track = true;          // false: only a video track
    bool large_media_size = false;       // the media data atom with a 64-bit size
};

// The whole file: 'ftyp', then 'moov' and 'mdat' in the order asked. The movie holds a video
// track and (unless switched off) a timecode track whose one chunk is the 4-byte sample in 'mdat'.
nubase::buffer write_movie(const movie_layout& a_layout);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MOVIE_WRITER_HPP
