// tools/nubase/media/riff.hpp - the time reference of a Broadcast WAV recording (RIFF/WAVE or
// RF64), with what its 'fmt ', 'bext' and 'iXML' chunks say.
//
// The chunks are walked front to back with the library's byte reader (little-endian sizes,
// each chunk padded to an even length); RF64 takes the 64-bit sizes of its 'ds64' chunk. The
// sound data is jumped over in a regular file and read through from a pipe, so an 'iXML' chunk
// behind the data is still found.
//
// Raises `malformed_file` with one plain sentence for a chunk size past the end, a 'ds64' that
// is missing or contradicts the file, a 'bext' shorter than its fixed part, an 'iXML' that is not
// well formed, a sample rate or block alignment of 0. A file without 'bext' comes back with
// `has_time_reference` false.
#ifndef NUBASE_TOOL_MEDIA_RIFF_HPP
#define NUBASE_TOOL_MEDIA_RIFF_HPP

#include <string>

#include "nubase/stream.hpp"
#include "timecode_source.hpp"

namespace nubase_tool {

// Whether the first 12 bytes of a file are those of a RIFF/WAVE or RF64 file.
bool looks_like_riff(const std::string& a_front);

// Reads `source`; `seekable` is the same stream when it can seek, null for a pipe.
recording_source read_riff(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable);

// What an iXML document records: the timecode rate and flag of its SPEED element and the names
// of the take. False when the text is not well formed (unbalanced or unterminated markup).
struct ixml_fields {
    std::string rate, flag, project, scene, take;
};
bool scan_ixml(const std::string& a_text, ixml_fields& a_fields);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MEDIA_RIFF_HPP
