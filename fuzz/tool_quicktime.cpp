// Fuzzes the tool's QuickTime/MP4 atom walk and its timecode label parser: any bytes give a
// track, "no track" or `malformed_file`, never a crash or a read outside the data.
#include <cstdint>
#include <string>

#include "../tools/nubase/labels.hpp"
#include "../tools/nubase/quicktime.hpp"
#include "nubase/es.hpp"
#include "nubase/stream.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    nubase::stream::mem source(const_cast<std::uint8_t*>(data), size);
    try {
        nubase_tool::tmcd_track track;
        if (nubase_tool::find_tmcd_track(source, track)) {
            const std::uint32_t frame = nubase_tool::read_first_tmcd_sample(source, track);
            if (track.number_of_frames != 0) {
                const nubase_tool::label_rate rate{
                    track.number_of_frames, track.drop_frame() && track.number_of_frames % 30 == 0,
                    "x"};
                const nubase_tool::label l = nubase_tool::label_with_frame(frame, rate);
                if (nubase_tool::frame_with_label(l, rate) != frame) __builtin_trap();
            }
        }
    } catch (const nubase_tool::malformed_file&) {
    } catch (const nubase::es::base&) {
    }
    // The same bytes as a typed timecode.
    nubase_tool::label l{};
    bool semicolon = false;
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (nubase_tool::parse_label(text, l, semicolon)) {
        nubase_tool::label_rate rate{};
        if (nubase_tool::rate_with_text("29.97", semicolon, rate) &&
            nubase_tool::is_legal(l, rate)) {
            if (nubase_tool::frame_with_label(
                    nubase_tool::label_with_frame(nubase_tool::frame_with_label(l, rate), rate),
                    rate) != nubase_tool::frame_with_label(l, rate)) {
                __builtin_trap();
            }
        }
    }
    return 0;
}
