// tools/nubase/media/quicktime.hpp - the timecode tracks of a QuickTime (.mov) or ISO base media
// (.mp4) file, fragmented or not.
//
// The atoms are walked front to back with the library's byte reader, in whatever order they
// come. Only atom headers and the few atoms on the way to a timecode track are read: from a
// seekable stream the media data and every other atom are jumped over; from a pipe they are read
// through, keeping the first `k_pipe_keep` bytes of media data (where a timecode sample usually
// sits when the movie header comes last) and the samples whose place is already known.
//
// For each track whose sample description is 'tmcd': its track id, enabled flag, the video
// tracks that reference it, its description (flags, rate, number of frames, reel name), its
// first sample (value, place and size; through 'moof'/'traf'/'tfhd'/'trun' in a fragmented
// file) and the duration of its samples. Edit lists are not applied.
//
// Raises `malformed_file` with a plain sentence: "not a QuickTime or MP4 file", "no movie header:
// the file may be incomplete", "the media data runs past the end of the file; the movie header is
// missing", "the timecode sample lies past what a pipe can keep; give the file", "an inconsistent
// timecode description: ...", or a structural fault naming the atom and its offset. The input's
// own read failures pass through.
#ifndef NUBASE_TOOL_MEDIA_QUICKTIME_HPP
#define NUBASE_TOOL_MEDIA_QUICKTIME_HPP

#include <cstdint>

#include "nubase/stream.hpp"
#include "timecode_source.hpp"

namespace nubase_tool {

// What a pipe keeps of the media data read through before the movie header: 64 MiB.
constexpr std::uint64_t k_pipe_keep = 64ull << 20;

// Reads `source`; `seekable` is the same stream when it can seek (then media data is jumped
// over and samples are fetched where they lie), null for a pipe. A file without a timecode
// track gives an empty list.
movie_timecode read_quicktime(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MEDIA_QUICKTIME_HPP
