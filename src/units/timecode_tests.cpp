// The library's own unit "nubase/timecode": construction, fields, arithmetic, drop-frame stepping
// and the conversions of the timecode class.
#include <cmath>

#include "nubase/timecode.hpp"
#include "units/check.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/timecode_tests";

using mode = timecode::mode_type;

void creation() {
    const timecode l_drop(timecode::mode_29_97_drop);
    NUBASE_CHECK(l_drop.is_fractional() && l_drop.base() == 30, "29.97 drop-frame");
    NUBASE_CHECK(!timecode(timecode::mode_30).is_fractional(), "30 is not fractional");
    NUBASE_CHECK(timecode(timecode::mode_invalid).base() == 1, "invalid base");
    NUBASE_CHECK(timecode(timecode::mode_24).base() == 24, "24 base");
    NUBASE_CHECK(timecode(timecode::mode_25).base() == 25, "25 base");
    NUBASE_CHECK(timecode().counter() == 0 && !timecode().is_valid(), "default");
}

void initialization() {
    const timecode l_fields(timecode::mode_25, 1, 2, 3, 4, 2);
    NUBASE_CHECK(l_fields.total_frames() == 93079, "total frames");
    NUBASE_CHECK(l_fields.base() == 25 && l_fields.mode() == timecode::mode_25, "mode");
    NUBASE_CHECK(l_fields.factor() == 2, "factor");
    const timecode l_tmcd = timecode_with_quicktime_tmcd(timecode::mode_25, 0x01020304, 2);
    NUBASE_CHECK(l_tmcd.counter() == l_fields.counter() && l_tmcd.factor() == 2, "tmcd");
    NUBASE_CHECK(l_tmcd.as_quicktime_tmcd() == 0x01020304, "tmcd round trip");
    NUBASE_CHECK(string_with_timecode(l_tmcd, true) == "01:02:03:04", "text");

    const timecode l_time =
        timecode_with_timestamp(timecode::mode_30, timestamp(90000 + 1500 + 25 + 5, 25), 4);
    NUBASE_CHECK(l_time.hour() == 1 && l_time.minute() == 1 && l_time.second() == 1, "fields");
    NUBASE_CHECK(l_time.frame() == 6 && l_time.factor() == 4, "frame");
}

void comparison() {
    const timecode l_a(timecode::mode_25, 0, 0, 1, 0);
    const timecode l_other_mode(timecode::mode_24, 0, 0, 0, 25);
    NUBASE_CHECK(l_a.counter() == l_other_mode.counter(), "same counter");
    NUBASE_CHECK(l_a != l_other_mode, "modes differ");
    const timecode l_later(timecode::mode_25, 0, 0, 1, 1);
    NUBASE_CHECK(l_a != l_later && l_a < l_later && !(l_later < l_a), "counters differ");
    NUBASE_CHECK(l_a == timecode(timecode::mode_25, 0, 0, 0, 25), "equal");
}

void copy_creation() {
    const timecode l_original(timecode::mode_59_94_drop, 3, 9, 59, 59, 3);
    const timecode l_copy(l_original);
    NUBASE_CHECK(l_copy == l_original, "copy differs");
    NUBASE_CHECK(l_copy.factor() == 3 && l_copy.base() == 60, "copy fields");
}

void base_resolution() {
    const timecode l_tc(timecode::mode_25, 0, 0, 1, 20);
    NUBASE_CHECK(l_tc.counter() == 45, "counter");
    NUBASE_CHECK(l_tc.as_int() == 1 && l_tc.as_int(1000) == 1800, "as_int");
    NUBASE_CHECK(l_tc.as_rounded_int() == 2 && l_tc.as_rounded_int(1000) == 1800, "as_rounded_int");
    NUBASE_CHECK(std::fabs(l_tc.as_float() - 1.8f) < 1e-6f, "as_float");
    NUBASE_CHECK(std::fabs(l_tc.as_float(1000) - 1800.0f) < 1e-3f, "as_float scaled");
    const timestamp l_ts = l_tc.as_timestamp();
    NUBASE_CHECK(l_ts.ticks() * 10 == 18 * l_ts.rate(), "as_timestamp");
}

void get_set() {
    timecode l_tc(timecode::mode_25, 4, 4, 4, 4);
    l_tc.set_hour(1);
    NUBASE_CHECK(string_with_timecode(l_tc) == "01:04:04:04", "hour");
    l_tc.set_minute(1);
    NUBASE_CHECK(string_with_timecode(l_tc) == "01:01:04:04", "minute");
    l_tc.set_second(1);
    NUBASE_CHECK(string_with_timecode(l_tc) == "01:01:01:04", "second");
    l_tc.set_frame(1);
    NUBASE_CHECK(string_with_timecode(l_tc) == "01:01:01:01", "frame");
    l_tc.set(1, 2, 3, 4);
    NUBASE_CHECK(l_tc.hour() == 1 && l_tc.minute() == 2 && l_tc.second() == 3 && l_tc.frame() == 4,
                 "set");
}

void operators() {
    timecode l_tc(timecode::mode_29_97_drop, 0, 0, 1, 15);
    NUBASE_CHECK(l_tc.counter() == 45, "counter");
    const timecode l_before = l_tc++;
    NUBASE_CHECK(l_before.total_frames() == 45 && l_tc.total_frames() == 46, "postfix");
    ++l_tc;
    NUBASE_CHECK(l_tc.total_frames() == 47, "prefix");
    NUBASE_CHECK(l_tc < l_tc + 2, "addition");

    for (unsigned l_minute = 5; l_minute <= 14; ++l_minute) {
        const bool l_tenth = (l_minute + 1) % 10 == 0;
        const timecode l_edge(timecode::mode_29_97_drop, 0, l_minute, 59, 29);
        timecode l_step = l_edge;
        ++l_step;
        NUBASE_CHECK(l_step.frame() == (l_tenth ? 0u : 2u), "++ across a minute");
        NUBASE_CHECK((l_edge + 5).frame() == (l_tenth ? 4u : 6u), "+= 5 across a minute");
        timecode l_factor3(timecode::mode_29_97_drop, 0, l_minute, 59, 29, 3);
        ++l_factor3;
        NUBASE_CHECK(l_factor3.frame() == (l_tenth ? 2u : 4u), "factor 3");
        timecode l_factor2(timecode::mode_29_97_drop, 0, l_minute, 59, 29, 2);
        l_factor2 += 5;
        NUBASE_CHECK(l_factor2.frame() == (l_tenth ? 9u : 11u), "factor 2");
    }
}

void conversion() {
    for (const char* l_text : {"23.976", "29.97", "59.54"}) {
        NUBASE_CHECK(
            std::string(timecode::mode_c_str(timecode::mode_from_string(l_text))) == l_text,
            "mode text round trip");
    }
    NUBASE_CHECK(timecode::mode_from_string("59.94") == timecode::mode_invalid, "59.94");
    NUBASE_CHECK(timecode::mode_from_string("25.000") == timecode::mode_25, "25.000");
    const timestamp l_zero(0, 1);
    const struct {
        double rate;
        mode expected;
    } l_rates[] = {{29.97, timecode::mode_29_97_drop},
                   {23.976, timecode::mode_23_976},
                   {12.5, timecode::mode_25},
                   {59.94, timecode::mode_59_94_drop},
                   {29.0, timecode::mode_invalid}};
    for (const auto& l_rate : l_rates) {
        NUBASE_CHECK(timecode_with_framerate(l_rate.rate, l_zero).mode() == l_rate.expected,
                     "frame rate");
    }
}

void jump_detection() {
    const timecode l_drop(timecode::mode_29_97_drop, 0, 8, 59, 29);
    const timecode l_drop_next = l_drop + 1;
    NUBASE_CHECK(string_with_timecode(l_drop_next) == "00:09:00;02", "drop-frame step");
    NUBASE_CHECK(timecode::is_consecutive(l_drop, l_drop_next), "drop-frame consecutive");
    NUBASE_CHECK(!timecode::is_consecutive(l_drop, l_drop + 2), "two drop-frame steps");
    const timecode l_plain(timecode::mode_30, 0, 8, 59, 29);
    const timecode l_plain_next = l_plain + 1;
    NUBASE_CHECK(string_with_timecode(l_plain_next) == "00:09:00:00", "30 step");
    NUBASE_CHECK(timecode::is_consecutive(l_plain_next, l_plain), "30 consecutive");
    NUBASE_CHECK(!timecode::is_consecutive(l_plain, l_plain + 2), "two 30 steps");
    const timecode l_four(timecode::mode_25, 0, 0, 0, 0, 4);
    NUBASE_CHECK(timecode::is_consecutive(l_four, l_four + 1), "factor 4");
}

void total_with_dropframe() {
    NUBASE_CHECK(timecode(timecode::mode_29_97_drop, 10, 8, 59, 29, 1).total_frames() == 1095103,
                 "total frames");
}

void invalid() {
    NUBASE_CHECK(!timecode(timecode::mode_invalid).is_valid(), "invalid is valid");
    NUBASE_CHECK(timecode(timecode::mode_25).is_valid(), "25 is invalid");
    NUBASE_CHECK(string_with_timecode(timecode(timecode::mode_invalid)).empty(), "invalid text");
}

struct t__unit__timecode : test::unit {
    t__unit__timecode() : unit("nubase", "timecode") {
        testcase("creation", &creation);
        testcase("initialization", &initialization);
        testcase("comparison", &comparison);
        testcase("copy creation", &copy_creation);
        testcase("base resolution", &base_resolution);
        testcase("get/set", &get_set);
        testcase("operators", &operators);
        testcase("conversion", &conversion);
        testcase("jump detection", &jump_detection);
        testcase("total with dropframe", &total_with_dropframe);
        testcase("invalid", &invalid);
    }
} g__unit__timecode;

}  // namespace
}  // namespace nubase
