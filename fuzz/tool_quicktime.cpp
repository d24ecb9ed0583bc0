// Fuzzes the tool's QuickTime/MP4 reader and its timecode label parser: any bytes give timecode
// tracks, none, or `malformed_file`, never a crash, a hang or a read outside the data. Read from
// a seekable stream and read through as from a pipe, the same bytes must give the same tracks.
#include <algorithm>
#include <cstdint>
#include <string>

#include "labels.hpp"
#include "media/quicktime.hpp"
#include "nubase/es.hpp"
#include "nubase/stream.hpp"
#include "vectors/stream.hpp"

namespace {

bool read(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable,
          nubase_tool::movie_timecode& a_movie) {
    try {
        a_movie = nubase_tool::read_quicktime(a_source, a_seekable);
        return true;
    } catch (const nubase_tool::malformed_file&) {
    } catch (const nubase::es::base&) {
    }
    return false;
}

bool same(const nubase_tool::timecode_source& a_x, const nubase_tool::timecode_source& a_y) {
    return a_x.track_id == a_y.track_id && a_x.video_track_ids == a_y.video_track_ids &&
           a_x.flags == a_y.flags && a_x.time_scale == a_y.time_scale &&
           a_x.frame_duration == a_y.frame_duration && a_x.reel == a_y.reel &&
           a_x.sample_value == a_y.sample_value && a_x.sample_offset == a_y.sample_offset &&
           a_x.media_duration == a_y.media_duration;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    nubase::stream::mem file(const_cast<std::uint8_t*>(data), size);
    nubase_vectors::stream::piece_rd pipe(data, size, 4093);  // a pipe: no seeks, short reads
    nubase_tool::movie_timecode from_file, from_pipe;
    const bool file_ok = read(file, &file, from_file);
    const bool pipe_ok = read(pipe, nullptr, from_pipe);
    if (file_ok && pipe_ok) {
        if (from_file.tracks.size() != from_pipe.tracks.size()) __builtin_trap();
        for (std::size_t i = 0; i < from_file.tracks.size(); ++i)
            if (!same(from_file.tracks[i], from_pipe.tracks[i])) __builtin_trap();
    }
    for (const nubase_tool::timecode_source& track : from_file.tracks) {
        // A track that was read has a consistent description, so its labels can be made.
        const nubase_tool::label_rate rate{track.number_of_frames, track.drop_frame(), "x"};
        nubase_tool::label l{};
        std::uint64_t frame = 0;
        if (!track.counter() && nubase_tool::label_with_frame(track.sample_value, rate, l) &&
            (!nubase_tool::frame_with_label(l, rate, frame) || frame != track.sample_value))
            __builtin_trap();
        (void)track.duration_frames();
    }
    // The same bytes as a typed timecode: a legal label within range comes back from its frame.
    nubase_tool::label l{}, back{};
    bool semicolon = false;
    const std::string text(reinterpret_cast<const char*>(data), size);
    nubase_tool::label_rate rate{};
    std::uint64_t frame = 0, again = 0;
    if (nubase_tool::parse_label(text, l, semicolon) &&
        nubase_tool::rate_with_text("29.97", semicolon, rate) && nubase_tool::is_legal(l, rate) &&
        nubase_tool::frame_with_label(l, rate, frame)) {
        if (!nubase_tool::label_with_frame(frame, rate, back) ||
            !nubase_tool::frame_with_label(back, rate, again) || again != frame)
            __builtin_trap();
    }
    return 0;
}
