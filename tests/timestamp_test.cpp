// Timestamps: exact conversions and their rounding, the least-common-multiple sum, the text
// forms, the ISO-8601 zone rule under fixed time zones, the clocks, sleeping and the egg clock.
#include "nubase/timestamp.hpp"

#include <gtest/gtest.h>

#include <sys/time.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>

#include "vectors/path.hpp"

namespace {

using nubase::timestamp;

struct rezone_on_exit {
    ~rezone_on_exit() { tzset(); }
};

// TZ for one scope. The zone is re-read when it is set and again after the old value is back
// (the bases are destroyed in reverse order).
struct tz_guard : rezone_on_exit, nubase_vectors::path::scoped_env {
    explicit tz_guard(const char* a_zone) : scoped_env("TZ", a_zone) { tzset(); }
};

TEST(Timestamp, ConstructorsKeepTheSourceRate) {
    const struct {
        timestamp ts;
        unsigned long long ticks, rate;
    } rows[] = {
        {nubase::timestamp_with_ntptime(0x0000000180000000ULL), 0x180000000ULL, 1ULL << 32},
        {nubase::timestamp_with_timespec(timespec{1, 500000000}), 1500000000ULL, 1000000000ULL},
        {nubase::timestamp_with_timeval(timeval{2, 250000}), 2250000ULL, 1000000ULL},
        // Negative fields are sign-extended, then the sum wraps.
        {nubase::timestamp_with_timespec(timespec{-1, 0}), 0ULL - 1000000000ULL, 1000000000ULL},
        {nubase::timestamp_with_timeval(timeval{1, -1}), 999999ULL, 1000000ULL},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.ticks);
        EXPECT_EQ(r.ticks, r.ts.ticks());
        EXPECT_EQ(r.rate, r.ts.rate());
    }
}

TEST(Timestamp, ConversionsRoundWithoutCarry) {
    const struct {
        unsigned long long ticks, rate;
        long long sec;
        long nsec, usec;
    } rows[] = {
        {1500000000ULL, 1000000000ULL, 1, 500000000, 500000},
        // Half a unit short of a second is not carried; remainder x 10^9 exceeds 64 bits.
        {999999999999ULL, 1000000000000ULL, 0, 1000000000, 1000000},
        {2999999999ULL, 1000000000ULL, 2, 999999999, 1000000},
        {1ULL, 3ULL, 0, 333333333, 333333},
        {2ULL, 3ULL, 0, 666666667, 666667},
        {~0ULL, 1ULL, -1, 0, 0},  // seconds beyond time_t wrap as the conversion does
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.ticks << "/" << r.rate);
        const timestamp ts(r.ticks, r.rate);
        EXPECT_EQ(r.sec, static_cast<long long>(ts.as_timespec().tv_sec));
        EXPECT_EQ(r.nsec, ts.as_timespec().tv_nsec);
        EXPECT_EQ(r.sec, static_cast<long long>(ts.as_timeval().tv_sec));
        EXPECT_EQ(r.usec, static_cast<long>(ts.as_timeval().tv_usec));
    }

    // NTP: seconds in the upper word, the rounded fraction of 2^32 in the lower one.
    EXPECT_EQ(0x0000000180000000ULL, timestamp(1500000000, 1000000000).as_ntptime());
    EXPECT_EQ((7ULL << 32) | 0x55555555ULL, timestamp(22, 3).as_ntptime());
    EXPECT_EQ((7ULL << 32) | 0xAAAAAAABULL, timestamp(23, 3).as_ntptime());
    EXPECT_EQ(0x123456789ABCDEF0ULL,
              nubase::timestamp_with_ntptime(0x123456789ABCDEF0ULL).as_ntptime());
    // Only the low 32 bits of the seconds are kept.
    EXPECT_EQ(1ULL << 32, timestamp((1ULL << 32) + 1, 1).as_ntptime());
}

TEST(Timestamp, SumUsesTheLeastCommonMultipleRate) {
    const struct {
        timestamp a, b;
        unsigned long long ticks, rate;
    } rows[] = {
        {timestamp(1, 25), timestamp(1, 30), 11, 150},
        {timestamp(7, 1000000), timestamp(3, 1000000), 10, 1000000},
        {timestamp(0, 1ULL << 32), timestamp(1, 1000000000), 1ULL << 23,
         (1ULL << 32) / 512 * 1000000000ULL},
        {timestamp(2, 0), timestamp(3, 0), 5, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.a.rate() << " + " << r.b.rate());
        for (const timestamp& sum : {r.a + r.b, r.b + r.a}) {
            EXPECT_EQ(r.ticks, sum.ticks());
            EXPECT_EQ(r.rate, sum.rate());
        }
    }
}

TEST(Timestamp, WithUtcIsNowPlusTheOffsetWithoutCarry) {
    // 2000000 extra microseconds are two more seconds, counted as microseconds.
    const unsigned long long offset = 5ULL * 1000000 + 2000000;
    timeval before{}, after{};
    gettimeofday(&before, nullptr);
    const timestamp t = nubase::timestamp_with_utc(5, 2000000);
    gettimeofday(&after, nullptr);
    EXPECT_EQ(1000000u, t.rate());
    EXPECT_LE(nubase::timestamp_with_timeval(before).ticks() + offset, t.ticks());
    EXPECT_GE(nubase::timestamp_with_timeval(after).ticks() + offset, t.ticks());
}

TEST(Timestamp, TextForms) {
    const timestamp t(3725500, 1000);  // 3725.5 s
    const struct {
        timestamp ts;
        unsigned int units;  // the fraction has as many digits as units - 1
        const char* text;
    } rows[] = {
        {t, 1000, "01:02:05:500"},
        {t, 0, "01:02:06"},  // rounded to the second
        {t, 1, "01:02:06:0"},
        {t, 25, "01:02:05:13"},  // 93137.5 frames round up to 93138
        {t, 10, "01:02:05:5"},
        {t, 11, "01:02:05:06"},
        {t, 1001, "01:02:05:0501"},
        {timestamp(360000, 1), 1000, "100:00:00:000"},  // hours are not wrapped
        {timestamp(86399999, 1000), 0, "24:00:00"},     // rounding carries into the hours
    };
    for (const auto& r : rows)
        EXPECT_EQ(r.text, nubase::string_with_timestamp(r.ts, r.units)) << r.text;

    const std::pair<double, const char*> seconds[] = {
        {3725.5, "01:02:05.500"},  {5.25, "00:00:05.250"},         {360000.0, "100:00:00.000"},
        {-3.0, "00:00:00.000"},    {std::nan(""), "00:00:00.000"}, {7199.999, "01:59:59.999"},
        {9.9996, "00:00:010.000"},  // the literal zero before seconds that round up to 10
    };
    for (const auto& [value, text] : seconds)
        EXPECT_EQ(text, nubase::seconds_to_HHMMSS_string(value)) << value;
}

TEST(Timestamp, IsoTimeZoneRuleUnderFixedZones) {
    const std::pair<const char*, unsigned int> rows[] = {
        {"1970-01-01T01:00:00+01:00", 0},
        {"2001-09-09T01:46:40Z", 1000000000},
        {"2001-09-09T01:46:40", 1000000000},
        {"2001-09-09T03:16:40+01:30", 1000000000},
        {"2001-09-09T00:16:40-01:30", 1000000000},
        // "-00:30" has a zero hours field, so its minutes count as east of UTC.
        {"2001-09-09T02:16:40-00:30", 1000000000},
        {"2038-01-19T03:14:08Z", 0x80000000u},  // past the signed 32-bit range
        {"2001-13-01T00:00:00Z", 1009843200},   // month 13 is January of the next year
    };
    // Zones without a daylight-saving rule do not change the result.
    for (const char* zone : {"UTC0", "JST-9", "XYZ+05:30"}) {
        tz_guard guard(zone);
        for (const auto& [iso, seconds] : rows)
            EXPECT_EQ(seconds, nubase::time_in_seconds(iso)) << zone << " " << iso;
    }
}

TEST(Timestamp, LocalCalendarText) {
    {
        tz_guard guard("UTC0");
        EXPECT_EQ("Wed Jun 30 21:49:08 1993", nubase::time_string(741476948));
        EXPECT_EQ("Sun Feb  7 06:28:15 2106", nubase::time_string(0xFFFFFFFFu));
    }
    tz_guard guard("JST-9");
    EXPECT_EQ("Thu Jul  1 06:49:08 1993", nubase::time_string(741476948));

    EXPECT_EQ("JST", nubase::get_strftime_output("%Z", 4));
    EXPECT_EQ("", nubase::get_strftime_output("%Z", 3)) << "no room for the NUL";
    EXPECT_EQ("", nubase::get_strftime_output("%Y", 0));
    EXPECT_EQ("", nubase::get_strftime_output(nullptr, 10));
    EXPECT_EQ("+0900", nubase::get_strftime_output("%z", 64));

    // The date variables read the same local calendar (retried if a second ticks between).
    for (int attempt = 0; attempt < 3; ++attempt) {
        unsigned int v[6] = {};
        const std::string want = nubase::get_strftime_output("%Y %m %d %H %M %S", 32);
        nubase::time_get_date_variables(&v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
        char got[64];
        std::snprintf(got, sizeof got, "%04u %02u %02u %02u %02u %02u", v[0], v[1], v[2], v[3],
                      v[4], v[5]);
        if (want == got) break;
        EXPECT_LT(attempt, 2) << want << " != " << got;
    }
    nubase::time_get_date_variables(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

TEST(Timestamp, ClocksAndSleeping) {
    EXPECT_EQ(1000000000u, nubase::time_resolution());
    const auto elapsed_ms = [](auto&& a_sleep) {
        const unsigned long long start = nubase::time_now();
        a_sleep();
        return (nubase::time_now() - start) / (nubase::time_resolution() / 1000);
    };
    EXPECT_GE(elapsed_ms([] { nubase::sleep_milliseconds(20); }), 20u);
    EXPECT_GE(elapsed_ms([] { nubase::sleep_microseconds(15000); }), 15u);
    EXPECT_GE(elapsed_ms([] { nubase::sleep_seconds(0.015); }), 15u);
    EXPECT_LT(elapsed_ms([] { nubase::sleep_seconds(std::nan("")); }), 1000u);
    EXPECT_LE(static_cast<unsigned int>(std::time(nullptr)) - nubase::time_in_seconds(), 1u);
}

TEST(EggClock, FlagsAndDuration) {
    nubase::egg_clock clock(0);
    EXPECT_FALSE(clock.activate()) << "duration 0";
    EXPECT_FALSE(clock.is_active());
    clock.set_time(3600);
    clock.ring();  // forced, while inactive
    EXPECT_TRUE(clock.is_ringing());
    EXPECT_TRUE(clock.activate());
    EXPECT_TRUE(clock.is_ringing()) << "activate keeps a forced ring";
    clock.deactivate();
    EXPECT_FALSE(clock.is_ringing());
    EXPECT_FALSE(clock.is_active());
    EXPECT_TRUE(clock.activate());
    EXPECT_FALSE(clock.is_ringing());
}

TEST(EggClock, RingsOnlyAfterStrictlyMoreThanTheDuration) {
    nubase::egg_clock clock(1);
    ASSERT_TRUE(clock.activate());
    const unsigned long long start = nubase::time_now();
    const unsigned long long second = nubase::time_resolution();
    while (!clock.is_ringing() && nubase::time_now() - start < 5 * second)
        nubase::sleep_milliseconds(10);
    const unsigned long long elapsed = nubase::time_now() - start;
    EXPECT_TRUE(clock.is_ringing());
    // Two whole-second marks must pass: more than one second, at most a little over two.
    EXPECT_GT(elapsed, second);
    EXPECT_LT(elapsed, 3 * second + second / 2);
}

}  // namespace
