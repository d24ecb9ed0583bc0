// timecode::set(text) on fuzzed text: std::out_of_range exactly for texts shorter than 9
// characters (value unchanged), otherwise the fields of the C library's atoi of each fixed column.
// The first four bytes of the text, as a real frame number, go through timecode_with_frame_number,
// which total_frames() must invert wherever the class can label the frame.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include "nubase/timecode.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    using nubase::timecode;
    if (a_size == 0) return 0;
    static const timecode::mode_type k_modes[] = {
        timecode::mode_invalid, timecode::mode_24,         timecode::mode_25,
        timecode::mode_30,      timecode::mode_50,         timecode::mode_60,
        timecode::mode_23_976,  timecode::mode_29_97_drop, timecode::mode_59_94_drop,
    };
    const timecode::mode_type mode = k_modes[a_data[0] % 9];
    const std::string text(reinterpret_cast<const char*>(a_data + 1), a_size - 1);

    if (text.size() >= 4 && mode != timecode::mode_invalid) {
        std::uint32_t frame = 0;
        std::memcpy(&frame, text.data(), 4);
        const timecode label = nubase::timecode_with_frame_number(mode, frame, 1);
        const bool drops = mode == timecode::mode_29_97_drop || mode == timecode::mode_59_94_drop;
        if (label.is_valid() ? label.total_frames() != frame : !drops || frame < 4000000000u)
            std::abort();
    }

    const timecode start(mode, 1, 2, 3, 4, 5);
    timecode tc = start;
    try {
        tc.set(text);
        if (text.size() < 9) std::abort();
    } catch (const std::out_of_range&) {
        if (text.size() >= 9) std::abort();
        if (tc != start || tc.factor() != 5) std::abort();
        return 0;
    }
    const auto column = [&](std::size_t a_pos) {
        return static_cast<unsigned>(std::atoi(text.substr(a_pos, 2).c_str()));
    };
    timecode expected = start;
    expected.set(column(0), column(3), column(6), column(9));
    if (tc != expected || tc.base() != start.base() || tc.factor() != 5) std::abort();
    (void)nubase::string_with_timecode(tc, true);
    return 0;
}
