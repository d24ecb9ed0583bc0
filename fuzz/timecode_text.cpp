// The timecode text constructors on fuzzed text. The scanner must agree with the C library's
// scanf of the same format wherever the C library is defined (numbers that fit an int): the
// same acceptance, fields and rate word. Only es::arg may escape, and only for texts that do not
// hold four numbers; everything done with an accepted value must be safe.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "nubase/es.hpp"
#include "nubase/timecode.hpp"

namespace {

using nubase::timecode;

// True when some run of digits is long enough to overflow an int, where scanf is undefined.
bool has_long_number(const std::string& a_text) {
    std::size_t run = 0;
    for (char c : a_text) {
        run = (c >= '0' && c <= '9') ? run + 1 : 0;
        if (run > 9) return true;
    }
    return false;
}

void exercise(timecode a_tc) {
    (void)nubase::string_with_timecode(a_tc, true);
    (void)nubase::string_with_timecode(a_tc, false);
    (void)a_tc.total_frames();
    (void)a_tc.as_quicktime_tmcd();
    (void)a_tc.as_rounded_int(1000);
    (void)timecode::is_consecutive(a_tc, a_tc + 1);
    a_tc.decrement(7);
    a_tc.total_frames(a_tc.counter());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    const std::string text(reinterpret_cast<const char*>(a_data), a_size);

    int fields[4] = {0, 0, 0, 0};
    std::vector<char> rate(a_size + 1, '\0');
    const int matched = std::sscanf(text.c_str(), "%d:%d:%d%*c%d@%s", &fields[0], &fields[1],
                                    &fields[2], &fields[3], rate.data());
    const bool comparable = !has_long_number(text);

    try {
        const timecode tc(text);
        if (matched < 4) std::abort();
        const timecode::mode_type mode =
            matched == 5 ? timecode::mode_from_string(rate.data()) : timecode::mode_invalid;
        if (tc.mode() != mode || tc.base() != 1 || tc.factor() != 1) std::abort();
        if (comparable) {
            timecode expected(timecode::mode_invalid);  // base 1, as the text constructor
            expected.set(static_cast<unsigned>(fields[0]), static_cast<unsigned>(fields[1]),
                         static_cast<unsigned>(fields[2]), static_cast<unsigned>(fields[3]));
            if (tc.counter() != expected.counter()) std::abort();
        }
        exercise(tc);
    } catch (const nubase::es::arg& e) {
        if (matched >= 4) std::abort();
        if (std::string(e.what()) != "Invalid timecode '" + std::string(text.c_str()) + "'") {
            std::abort();
        }
    }

    // The float-rate form never raises; its first byte picks a rate.
    static const float k_rates[] = {23.976f, 24.0f, 25.0f, 29.97f, 30.0f, 50.0f, 59.94f, 60.0f};
    const float chosen = a_size != 0 ? k_rates[a_data[0] % 8] : 25.0f;
    const timecode with_rate(chosen, text);
    if (comparable && matched >= 4 && with_rate.is_valid()) {
        const timecode expected(with_rate.mode(), static_cast<unsigned>(fields[0]),
                                static_cast<unsigned>(fields[1]), static_cast<unsigned>(fields[2]),
                                static_cast<unsigned>(fields[3]));
        if (with_rate.counter() != expected.counter()) std::abort();
    }
    exercise(with_rate);
    return 0;
}
