// Timecode: modes and their texts, drop-frame labelling and stepping, the text forms, the field
// setters' carries and the conversions.
#include "nubase/timecode.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "nubase/es.hpp"
#include "vectors/timecode.hpp"

namespace {

using nubase::timecode;
using nubase_vectors::timecode_vectors::k_labels;
using nubase_vectors::timecode_vectors::k_texts;

std::string text_of(const timecode& a_tc) {
    return nubase::string_with_timecode(a_tc, true);
}

// A timecode read from `text` by the fixed-column setter.
timecode at(timecode::mode_type a_mode, const char* a_text, unsigned int a_factor = 1) {
    timecode tc(a_mode, 0, 0, 0, 0, a_factor);
    tc.set(a_text);
    return tc;
}

TEST(Timecode, ModesBasesAndTexts) {
    const std::tuple<timecode::mode_type, unsigned int, bool, const char*> rows[] = {
        {timecode::mode_invalid, 1, false, "invalid"},
        {timecode::mode_24, 24, false, "24"},
        {timecode::mode_25, 25, false, "25"},
        {timecode::mode_30, 30, false, "30"},
        {timecode::mode_50, 50, false, "50"},
        {timecode::mode_60, 60, false, "60"},
        {timecode::mode_23_976, 24, true, "23.976"},
        {timecode::mode_29_97_drop, 30, true, "29.97"},
        {timecode::mode_59_94_drop, 60, true, "59.54"}};
    for (const auto& [mode, base, fractional, text] : rows) {
        SCOPED_TRACE(text);
        const timecode tc(mode);
        EXPECT_EQ(base, tc.base());
        EXPECT_EQ(fractional, tc.is_fractional());
        EXPECT_STREQ(text, timecode::mode_c_str(mode));
        EXPECT_EQ(mode, timecode::mode_from_string(text)) << "text round trip";
    }
    EXPECT_STREQ("invalid", timecode::mode_c_str(static_cast<timecode::mode_type>(0x7019)));

    const std::pair<const char*, timecode::mode_type> parses[] = {
        {"24.000", timecode::mode_24},   {"24.5", timecode::mode_invalid},
        {"240", timecode::mode_invalid}, {"23.9761", timecode::mode_23_976},
        {"30.01", timecode::mode_30},    {"29.970   ", timecode::mode_29_97_drop},
        {"", timecode::mode_invalid},    {"59.94", timecode::mode_invalid},
        {" 25", timecode::mode_invalid},
    };
    for (const auto& [text, mode] : parses)
        EXPECT_EQ(mode, timecode::mode_from_string(text)) << text;
}

TEST(Timecode, KnownLabelsCountTextAndTmcd) {
    for (const auto& v : k_labels) {
        SCOPED_TRACE(v.text);
        const timecode tc(v.mode, v.hour, v.minute, v.second, v.frame, 1);
        EXPECT_EQ(v.counter, tc.counter());
        EXPECT_EQ(v.total_frames, tc.total_frames());
        EXPECT_EQ(v.text, text_of(tc));
        if (v.hour < 100) {  // fixed columns hold two-digit hours
            EXPECT_EQ(tc, at(v.mode, v.text));
        }
        const unsigned int tmcd = tc.as_quicktime_tmcd();
        EXPECT_EQ(tc.is_fractional(), (tmcd & 0x80) != 0);
        EXPECT_EQ(tc, nubase::timecode_with_quicktime_tmcd(v.mode, tmcd, 1));
    }
    const timecode pal(timecode::mode_25, 1, 2, 3, 4, 2);
    EXPECT_EQ(0x01020304u, pal.as_quicktime_tmcd());
    const timecode from_tmcd =
        nubase::timecode_with_quicktime_tmcd(timecode::mode_25, 0x01020384, 2);
    EXPECT_EQ(pal, from_tmcd) << "bit 7 is the drop flag, not part of the frame";
    EXPECT_EQ(2u, from_tmcd.factor());
    EXPECT_EQ("01:02:03.04", nubase::string_with_timecode(pal, false));
    EXPECT_EQ("00:00:59,29",
              nubase::string_with_timecode(at(timecode::mode_29_97_drop, "00:00:59;29"), false));
    EXPECT_EQ("", text_of(timecode(timecode::mode_invalid)));
}

// Steps a whole day and one label more with ++ beside an odometer model of the drop rule.
void walk_a_day(timecode::mode_type a_mode, unsigned int a_base, unsigned int a_dropped) {
    const unsigned int day = 24u * 3600u * a_base - 24u * 54u * a_dropped;
    timecode tc(a_mode);
    unsigned int h = 0, m = 0, s = 0, f = 0;
    for (unsigned int step = 0; step <= day; ++step, ++tc) {
        ASSERT_EQ((std::array<unsigned int, 5>{h, m, s, f, step}),
                  (std::array<unsigned int, 5>{tc.hour(), tc.minute(), tc.second(), tc.frame(),
                                               tc.total_frames()}));
        // The exact conversion lands on the same label as stepping, frame by frame.
        ASSERT_EQ(tc, nubase::timecode_with_frame_number(a_mode, step, 1)) << step;
        if (++f == a_base && (f = 0, ++s == 60) && (s = 0, ++m == 60)) m = 0, ++h;
        if (s == 0 && f == 0 && m % 10 != 0) f = a_dropped;
    }
    EXPECT_EQ(24u, h);
    EXPECT_EQ(day + 1, tc.total_frames());
}

TEST(Timecode, DropFrameStepsVisitExactlyTheLegalLabelsOfADay) {
    walk_a_day(timecode::mode_29_97_drop, 30, 2);
    walk_a_day(timecode::mode_59_94_drop, 60, 4);
}

// Real frame numbers to labels around the minute and ten-minute boundaries, worked by hand.
TEST(Timecode, FrameNumbersToLabels) {
    const timecode::mode_type df30 = timecode::mode_29_97_drop, df60 = timecode::mode_59_94_drop;
    const std::tuple<timecode::mode_type, unsigned int, const char*> rows[] = {
        {df30, 1799, "00:00:59;29"},       {df30, 1800, "00:01:00;02"},
        {df30, 3597, "00:01:59;29"},       {df30, 3598, "00:02:00;02"},
        {df30, 17981, "00:09:59;29"},      {df30, 17982, "00:10:00;00"},
        {df30, 17983, "00:10:00;01"},      {df30, 19781, "00:10:59;29"},
        {df30, 19782, "00:11:00;02"},      {df30, 107892, "01:00:00;00"},
        {df60, 3599, "00:00:59;59"},       {df60, 3600, "00:01:00;04"},
        {df60, 35963, "00:09:59;59"},      {df60, 35964, "00:10:00;00"},
        {df60, 215784, "01:00:00;00"},     {timecode::mode_23_976, 86400, "01:00:00;00"},
        {timecode::mode_25, 90000 * 25 + 24, "25:00:00:24"},
        {timecode::mode_type(48), 48 * 3600 + 47, "01:00:00:47"},
        {timecode::mode_type(120), 120 * 61, "00:01:01:00"},
    };
    for (const auto& [mode, frame, text] : rows) {
        const timecode tc = nubase::timecode_with_frame_number(mode, frame, 3);
        EXPECT_EQ(text, text_of(tc)) << frame;
        EXPECT_EQ(frame, tc.total_frames()) << frame;
        EXPECT_EQ(3u, tc.factor());
    }
    // The last frame a 32-bit counter labels (39768:12:56;15 is legal), and the next one.
    const unsigned int last = timecode(df30, 39768, 12, 56, 15).total_frames();
    EXPECT_EQ(0xFFFFFFFFu, nubase::timecode_with_frame_number(df30, last).counter());
    EXPECT_EQ(timecode(), nubase::timecode_with_frame_number(df30, last + 1));
    EXPECT_EQ(0xFFFFFFFFu, nubase::timecode_with_frame_number(timecode::mode_25, 0xFFFFFFFFu).counter());
}

TEST(Timecode, StepOperatorsAndConsecutiveness) {
    for (unsigned int mm = 5; mm <= 14; ++mm) {  // across minute boundaries, the tenth among them
        SCOPED_TRACE(testing::Message() << "minute " << mm);
        const bool tenth = (mm + 1) % 10 == 0;
        const timecode last(timecode::mode_29_97_drop, 0, mm, 59, 29, 2);  // steps of 2 frames
        timecode t = last;
        EXPECT_EQ(tenth ? 1u : 3u, (++t).frame());
        EXPECT_EQ(mm + 1, t.minute());
        EXPECT_TRUE(timecode::is_consecutive(last, t));
        EXPECT_TRUE(timecode::is_consecutive(t, last)) << "order of the arguments does not matter";
        t = last;
        t += 5;
        EXPECT_EQ(tenth ? 9u : 11u, t.frame());
        EXPECT_EQ(t, last + 5);
    }

    timecode t = at(timecode::mode_29_97_drop, "00:00:01:15");
    ASSERT_EQ(45u, t.counter());
    EXPECT_EQ(45u, (t++).total_frames());
    EXPECT_EQ(46u, t.total_frames());
    EXPECT_EQ(47u, (++t).total_frames());
    EXPECT_FALSE(timecode::is_consecutive(t, t)) << "equal values";
    EXPECT_FALSE(timecode::is_consecutive(t, t + 2)) << "two steps apart";
    EXPECT_FALSE(timecode::is_consecutive(at(timecode::mode_29_97_drop, "00:08:59;29"),
                                          at(timecode::mode_29_97_drop, "00:09:00;00")))
        << "a skipped label";
    const timecode thirty = at(timecode::mode_30, "00:08:59:29");
    EXPECT_TRUE(timecode::is_consecutive(thirty, thirty + 1));

    // Equality is mode and counter, not factor.
    EXPECT_NE(timecode(timecode::mode_25, 0, 0, 1, 0), timecode(timecode::mode_24, 0, 0, 0, 25));
    EXPECT_EQ(timecode(timecode::mode_25, 0, 0, 1, 0, 1),
              timecode(timecode::mode_25, 0, 0, 0, 25, 7));
}

TEST(Timecode, StepRulesOfEachMode) {
    const struct {
        timecode::mode_type mode;
        const char* from;
        int frames;  // increment when positive, decrement when negative
        const char* to;
    } rows[] = {
        // Boundaries are counted within n labels of the start: two minutes fall two labels short.
        {timecode::mode_29_97_drop, "00:01:00;02", 2 * 1798, "00:03:00;00"},
        // Decrement counts the boundaries that the same step forward would cross.
        {timecode::mode_29_97_drop, "00:00:59;29", -1, "00:00:59;26"},
        {timecode::mode_29_97_drop, "00:09:59;29", -1, "00:09:59;28"},
        {timecode::mode_29_97_drop, "00:01:00;02", -1, "00:01:00;01"},  // a skipped label
        // 23.976 on a whole minute m: (m mod 2) + 1 more, one fewer when 15 divides m.
        {timecode::mode_23_976, "00:00:00;00", 1, "00:00:00;01"},
        {timecode::mode_23_976, "00:01:00;00", 1, "00:01:00;03"},
        {timecode::mode_23_976, "00:02:00;00", 1, "00:02:00;02"},
        {timecode::mode_23_976, "00:15:00;00", 1, "00:15:00;02"},
        {timecode::mode_23_976, "00:01:00;01", 1, "00:01:00;02"},
        {timecode::mode_23_976, "00:01:00;00", -1, "00:00:59;23"},  // no rule backwards
        {timecode::mode_30, "00:08:59:29", 1, "00:09:00:00"},
        {timecode::mode_25, "00:00:00:00", -1, "47721:51:31:20"},  // wraps in 32 bits
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.from << " " << r.frames);
        timecode t = at(r.mode, r.from);
        if (r.frames > 0) {
            t.increment(static_cast<unsigned int>(r.frames));
        } else {
            t.decrement(static_cast<unsigned int>(-r.frames));
        }
        EXPECT_EQ(r.to, text_of(t));
    }
}

TEST(Timecode, TextConstructors) {
    for (const auto& v : k_texts) {
        SCOPED_TRACE(v.text);
        try {
            const timecode t{std::string(v.text)};
            EXPECT_TRUE(v.accepted) << "accepted with counter " << t.counter();
            EXPECT_EQ(v.mode, t.mode());
            EXPECT_EQ(v.counter, t.counter());
            EXPECT_EQ(1u, t.base()) << "the base is not taken from the rate";
        } catch (const nubase::es::arg& e) {
            EXPECT_FALSE(v.accepted);
            EXPECT_STREQ("lib/nubase/src/timecode", e.file());
            EXPECT_EQ(146u, e.line());
            EXPECT_EQ("Invalid timecode '" + std::string(v.text) + "'", e.what());
        }
    }

    const struct {
        float rate;
        const char* text;
        timecode::mode_type mode;
        const char* out;
    } rows[] = {
        {29.97f, "01:02:03;04", timecode::mode_29_97_drop, "01:02:03;04"},
        {23.976f, "00:10:00:00", timecode::mode_23_976, "00:10:00;00"},
        {25.0f, "1:2", timecode::mode_25, "01:02:00:00"},     // missing fields are 0
        {59.94f, "01:02:03;04", timecode::mode_invalid, ""},  // "59.940" is not a mode text
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.text);
        const timecode t(r.rate, r.text);
        EXPECT_EQ(r.mode, t.mode());
        EXPECT_EQ(r.out, text_of(t));
    }
}

TEST(Timecode, SetByFixedColumnsAndFieldSettersCarry) {
    // A null result: std::out_of_range and the value unchanged.
    const std::pair<const char*, const char*> rows[] = {
        {"01x02y03z04", "01:02:03:04"}, {" 1: 2: 3: 4", "01:02:03:04"},
        {"01:02:03:4", "01:02:03:04"},  {"01:02:03:", "01:02:03:00"},
        {"01:02:03", nullptr},          {"", nullptr},
        {"0:00:01:00", "00:00:01:00"},  {"99:99:99:99", "100:40:42:24"},  // every field carries
    };
    for (const auto& [text, result] : rows) {
        SCOPED_TRACE(text);
        timecode t(timecode::mode_25, 7, 7, 7, 7, 3);
        if (result == nullptr) {
            EXPECT_THROW(t.set(std::string(text)), std::out_of_range);
        } else {
            t.set(std::string(text));
        }
        EXPECT_EQ(result ? result : "07:07:07:07", text_of(t));
    }

    timecode t(timecode::mode_25, 4, 4, 4, 4, 1);
    t.set_hour(1);
    t.set_minute(61);
    t.set_second(1);
    t.set_frame(50);
    EXPECT_EQ("02:01:03:00", text_of(t));
}

TEST(Timecode, Conversions) {
    const timecode t(timecode::mode_25, 0, 0, 1, 20, 1);  // counter 45
    EXPECT_EQ(1u, t.as_int());
    EXPECT_EQ(1800u, t.as_int(1000));
    EXPECT_EQ(2u, t.as_rounded_int());
    EXPECT_EQ(1800u, t.as_rounded_int(1000));
    EXPECT_FLOAT_EQ(1.8f, t.as_float());
    EXPECT_FLOAT_EQ(1800.0f, t.as_float(1000));
    EXPECT_EQ(45u, t.as_timestamp().ticks());
    EXPECT_EQ(25u, t.as_timestamp().rate());
    // Products do not wrap at 32 bits before the division.
    const timecode day(timecode::mode_30, 24, 0, 0, 0, 1);
    EXPECT_EQ(864000000u, day.as_int(10000));
    EXPECT_EQ(864000000u, day.as_rounded_int(10000));

    // A base of 0 reads as zero everywhere and divides by nothing.
    timecode zero_base(static_cast<timecode::mode_type>(0x100), 1, 2, 3, 4, 1);
    EXPECT_EQ(4u, zero_base.counter());
    EXPECT_EQ(0u, zero_base.hour() + zero_base.minute() + zero_base.second() + zero_base.frame());
    EXPECT_EQ(0u, zero_base.as_int() + zero_base.as_rounded_int(7));
    EXPECT_EQ(0.0f, zero_base.as_float());
    ++zero_base;
    zero_base.total_frames(9);
    EXPECT_EQ("00:00:00:00", text_of(zero_base));
}

TEST(Timecode, FromTimestampsAndRates) {
    const nubase::timestamp ts(90000 + 1500 + 25 + 5, 25);  // 1:01:01 and 5 frames at 25
    const timecode t = nubase::timecode_with_timestamp(timecode::mode_30, ts, 4);
    EXPECT_EQ("01:01:01:06", text_of(t));
    EXPECT_EQ(4u, t.factor());
    // Nominal minutes: 60 s at 29.97 is 1800 labels plus the 2 dropped in its first minute.
    const nubase::timestamp minute(60, 1);
    EXPECT_EQ("00:01:00;02",
              text_of(nubase::timecode_with_timestamp(timecode::mode_29_97_drop, minute)));
    EXPECT_EQ("00:01:00;04",
              text_of(nubase::timecode_with_timestamp(timecode::mode_59_94_drop, minute)));
    // Truncation, not rounding, and an exact sub-second product at a huge rate.
    const nubase::timestamp huge(~0ULL - 1, ~0ULL);
    EXPECT_EQ(29u, nubase::timecode_with_timestamp(timecode::mode_30, huge).counter());
    // total_frames(frames) counts nominal minutes: 3598 is 00:02:00;00, not the stepped ;02.
    timecode nominal(timecode::mode_29_97_drop);
    nominal.total_frames(3598);
    EXPECT_EQ("00:02:00;00", text_of(nominal));

    const std::pair<double, timecode::mode_type> rows[] = {
        {29.97, timecode::mode_29_97_drop}, {59.94, timecode::mode_59_94_drop},
        {12.5, timecode::mode_25},  // whole rates and their integer fractions
        {11.988, timecode::mode_23_976},    {30000.0 / 1001, timecode::mode_29_97_drop},
        {29.0, timecode::mode_invalid},     {-1.0, timecode::mode_invalid},
        {1e300, timecode::mode_invalid},    {std::nan(""), timecode::mode_invalid},
    };
    for (const auto& [rate, mode] : rows) {
        SCOPED_TRACE(rate);
        const timecode f = nubase::timecode_with_framerate(rate, nubase::timestamp(1, 1), 1);
        EXPECT_EQ(mode, f.mode());
        EXPECT_EQ(mode & 255, f.counter()) << "one second at the nominal rate";
    }
}

}  // namespace
