// Number conversions, percentages, four-character codes, version order and random helpers.
#include "nubase/conv.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "nubase/string.hpp"

namespace {

namespace conv = nubase::conv;
namespace version = nubase::version;
namespace math = nubase::math;

TEST(Conv, NumbersFromTextKeepTheirDocumentedWidths) {
    EXPECT_EQ(31, conv::string_to_int(" \t0x1Fz", 16));
    EXPECT_EQ(0, conv::string_to_int(nullptr, 10));
    // The long forms are 32 bits wide: 2^32 + 1 gives 1, the clamped LONG_MAX gives -1.
    EXPECT_EQ(1, conv::string_to_long("4294967297", 10));
    EXPECT_EQ(-1, conv::string_to_long("99999999999999999999", 10));
    EXPECT_EQ(0xFFFFFFFFu, conv::string_to_uint("-1", 10));
    EXPECT_EQ(1099511627776LL, conv::string_to_longlong("1099511627776", 10));
    EXPECT_EQ(UINT64_MAX, conv::string_to_ulonglong("18446744073709551616", 10));
    EXPECT_FLOAT_EQ(1.5f, conv::string_to_float("1.5x"));
    EXPECT_DOUBLE_EQ(-2000.0, conv::string_to_double(" -2e3"));
}

TEST(Conv, WordsAndPercentages) {
    EXPECT_STREQ("yes", conv::yes_no_c_str(true));
    EXPECT_STREQ("no", conv::yes_no_c_str(false));
    EXPECT_STREQ("true", conv::true_false_c_str(true));
    EXPECT_STREQ("false", conv::true_false_c_str(false));

    const std::pair<double, int> l_rows[] = {
        {0.123, 12}, {0.125, 13},       {-0.5, 50},       {0.004, 0},
        {-2.5, 250}, {std::nan(""), 0}, {1e300, INT_MAX}, {-HUGE_VAL, INT_MAX}};
    for (const auto& [fraction, percent] : l_rows) {
        SCOPED_TRACE(fraction);
        EXPECT_EQ(percent, conv::double_to_percent(fraction));
        EXPECT_EQ(percent, conv::float_to_percent(static_cast<float>(fraction)));
    }
}

TEST(Conv, FourccPadsWithSpacesAndInvertsTheFourccString) {
    EXPECT_EQ(0x61626364u, conv::fourcc_with_string("abcd"));
    EXPECT_EQ(conv::fourcc_with_string("abcd"), conv::fourcc_with_string("abcdef"));
    EXPECT_EQ(0x20202020u, conv::fourcc_with_string(""));
    EXPECT_EQ(0xFF002020u, conv::fourcc_with_string(std::string("\xFF\0", 2)));
    EXPECT_EQ(" ~ !", nubase::string_with_fourcc(conv::fourcc_with_string(" ~ !"), '?'));
}

TEST(Version, PackedValueSpillsLargeFieldsLeft) {
    const std::pair<const char*, std::uint32_t> l_rows[] = {
        {"1.2.3.4", 0x01020304u},
        {"a.b", 0u},
        {"2x.3", 0x02030000u},
        {"1..2", 0x01000200u},
        {"1.2.300", 0x01032C00u},  // a field above 255 spills into the fields to its left
        // strtoul rules: a negative field is its two's complement, an out-of-range one ULONG_MAX.
        {" 3.+4", 0x03040000u},
        {"3.-1", 0xFFFF0000u},
        {"99999999999999999999.1", 0xFF010000u}};
    for (const auto& [text, value] : l_rows)
        EXPECT_EQ(value, version::value(text)) << text;
}

TEST(Version, LessMeansNewer) {
    const version::less l_less;
    const version::greater l_greater;
    EXPECT_TRUE(l_greater("1.9", "1.10"));
    EXPECT_FALSE(l_greater("1.10", "1.9"));
    // Equal packed values are equivalent: a fifth field is ignored and 256 spills left.
    for (const auto& [a, b] : {std::pair{"1.2.3.4.5", "1.2.3.4"}, {"1.256", "1"}}) {
        EXPECT_FALSE(l_less(a, b) || l_less(b, a) || l_greater(a, b) || l_greater(b, a)) << a;
    }
    const std::set<std::string, version::less> l_newest_first = {"1.2", "10.1", "2.0.1", "1.2.0"};
    EXPECT_EQ((std::vector<std::string>{"10.1", "2.0.1", "1.2"}),
              std::vector<std::string>(l_newest_first.begin(), l_newest_first.end()));
}

TEST(Math, ConstantsAndRandomRanges) {
    EXPECT_EQ(std::ldexp(1.0f, -23), math::float_epsilon());
    EXPECT_EQ(2147483647, math::rand_max());

    math::rand_seed(3);
    const int l_first = std::rand();
    math::rand_seed(3);
    EXPECT_EQ(10 + l_first % 10, math::rand_int(10, 19));

    for (int l_i = 0; l_i < 2000; ++l_i) {
        const int l_neg = math::rand_int(-3, -1);
        EXPECT_TRUE(l_neg >= -3 && l_neg <= -1) << l_neg;
        // Reversed bounds: modulus |3 - 10 + 1| = 6, so the result lies in [10, 15].
        const int l_rev = math::rand_int(10, 3);
        EXPECT_TRUE(l_rev >= 10 && l_rev <= 15) << l_rev;
        const int l_wide = math::rand_int(INT_MIN, INT_MAX);
        EXPECT_LE(l_wide, -1) << "INT_MIN + rand() stays below zero";
        const float l_f = math::rand_float(2.0f, 4.0f);
        EXPECT_TRUE(l_f >= 2.0f && l_f <= 4.0f) << l_f;
        const float l_rf = math::rand_float(4.0f, 2.0f);
        EXPECT_TRUE(l_rf >= 4.0f && l_rf <= 6.0f) << l_rf;
    }
    EXPECT_EQ(7, math::rand_int(7, 6)) << "the zero modulus gives low";
    math::rand_seed();
}

}  // namespace
