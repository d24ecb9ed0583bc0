// Fuzzes the tool's Broadcast WAV reader and its iXML scan: any bytes give a recording or
// `malformed_file`, never a crash, a hang or a read outside the data; read from a seekable
// stream and read through as from a pipe, the same bytes give the same recording.
#include <algorithm>
#include <cstdint>
#include <string>

#include "media/riff.hpp"
#include "nubase/es.hpp"
#include "nubase/stream.hpp"
#include "vectors/stream.hpp"

namespace {

bool read(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable,
          nubase_tool::recording_source& a_out) {
    try {
        a_out = nubase_tool::read_riff(a_source, a_seekable);
        return true;
    } catch (const nubase_tool::malformed_file&) {
    } catch (const nubase::es::base&) {
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    nubase::stream::mem file(const_cast<std::uint8_t*>(data), size);
    nubase_vectors::stream::piece_rd pipe(data, size, 509);  // a pipe: no seeks, short reads
    nubase_tool::recording_source from_file, from_pipe;
    if (read(file, &file, from_file) && read(pipe, nullptr, from_pipe)) {
        if (from_file.time_reference != from_pipe.time_reference ||
            from_file.sample_rate != from_pipe.sample_rate ||
            from_file.rate_num != from_pipe.rate_num || from_file.take != from_pipe.take)
            __builtin_trap();
        // Exact frames: a frame's first sample never lies past the sample it was found from.
        if (from_file.rate_num != 0 && from_file.rate_den != 0 && from_file.sample_rate != 0) {
            const std::uint64_t frame = from_file.frame_of(from_file.time_reference,
                                                           from_file.rate_num, from_file.rate_den);
            if (frame < (1ull << 40) &&
                from_file.first_sample_of(frame, from_file.rate_num, from_file.rate_den) >
                    from_file.time_reference)
                __builtin_trap();
        }
    }
    // The same bytes as an iXML document.
    nubase_tool::ixml_fields fields;
    nubase_tool::scan_ixml(std::string(reinterpret_cast<const char*>(data), size), fields);
    return 0;
}
