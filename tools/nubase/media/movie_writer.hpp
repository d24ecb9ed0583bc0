// tools/nubase/media/movie_writer.hpp - writes small QuickTime (.mov) and ISO base media (.mp4)
// files with a timecode track, for the demo and for the tool's tests.
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
    std::uint32_t duration_frames = 1;   // the frames the timecode sample covers
    const char* reel = nullptr;          // a reel name in the timecode description
    std::uint32_t more_flags = 0;  // further description flags (24-hour 2, negative 4, counter 8)
    bool second_track = false;     // a second timecode track, starting `second_first_frame`
    std::uint32_t second_first_frame = 0;
    bool video_references_second = false;  // the video track's 'tref' names the second one
    bool fragmented = false;               // the timecode sample in a movie fragment ('moof')
    bool enabled = true;                   // the timecode track's enabled flag
};

// The whole file: 'ftyp', then 'moov' and 'mdat' in the order asked (a fragmented one: 'moov',
// 'moof', 'mdat'). The movie holds a video track (id 1, its 'tref' naming a timecode track) and,
// unless switched off, timecode tracks (ids 2 and 3) whose one sample each is 4 bytes in 'mdat'.
nubase::buffer write_movie(const movie_layout& a_layout);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MOVIE_WRITER_HPP
