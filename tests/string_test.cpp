// Byte-string helpers: building, pattern-first tests, the replacement restart rules, trimming,
// splitting, truncation and alignment. Expected values are worked by hand from the rules in
// nubase/string.hpp.
#include "nubase/string.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace {

using namespace std::string_literals;

TEST(String, EmptyStringIsSharedAndEmpty) {
    EXPECT_TRUE(nubase::string_empty_string().empty());
    EXPECT_EQ(&nubase::string_empty_string(), &nubase::empty_string);
}

TEST(String, WithCstrLengthRules) {
    const char l_text[] = "ab\0cd";
    EXPECT_EQ("", nubase::string_with_cstr(nullptr));
    EXPECT_EQ("", nubase::string_with_cstr(nullptr, 3));
    EXPECT_EQ("ab", nubase::string_with_cstr(l_text));
    EXPECT_EQ("ab", nubase::string_with_cstr(l_text, ~0ULL));
    EXPECT_EQ("", nubase::string_with_cstr(l_text, 0));
    EXPECT_EQ("ab\0cd"s, nubase::string_with_cstr(l_text, 5)) << "embedded NULs are copied";
    EXPECT_EQ("", nubase::string_with_cstr(""));
}

TEST(String, WithFormat) {
    const char* l_null = nullptr;
    EXPECT_EQ("", nubase::string_with_format(l_null));
    EXPECT_EQ("", nubase::string_with_format("%s", ""));
    EXPECT_EQ("x=42 y=-1 ok", nubase::string_with_format("x=%d y=%ld %s", 42, -1L, "ok"));
    // Around and far beyond the short-text fast path: no size limit, nothing cut.
    for (const std::size_t l_n : {254u, 255u, 256u, 257u, 100000u}) {
        const std::string l_long(l_n, 'q');
        const std::string l_out = nubase::string_with_format("<%s>", l_long.c_str());
        EXPECT_EQ("<" + l_long + ">", l_out) << l_n;
    }
}

TEST(String, WithFourcc) {
    EXPECT_EQ("ABCD", nubase::string_with_fourcc(0x41424344u, '?'));
    EXPECT_EQ("????", nubase::string_with_fourcc(0, '?'));
    // 32 and 126 are the printable bounds; 31, 127 and bytes above are replaced.
    EXPECT_EQ(" ~..", nubase::string_with_fourcc(0x207E1F7Fu, '.'));
    EXPECT_EQ("a.b.", nubase::string_with_fourcc(0x6180629Fu, '.'));
}

TEST(String, PatternComesFirst) {
    EXPECT_TRUE(nubase::starts_with("24.0", "24.000"));
    EXPECT_FALSE(nubase::starts_with("24.000", "24.0"));
    EXPECT_TRUE(nubase::starts_with("", ""));
    EXPECT_TRUE(nubase::starts_with("", "abc"));
    EXPECT_FALSE(nubase::starts_with("b", "abc"));
    EXPECT_TRUE(nubase::ends_with(".mov", "clip.mov"));
    EXPECT_FALSE(nubase::ends_with("clip.mov", ".mov"));
    EXPECT_TRUE(nubase::ends_with("", "x"));
    EXPECT_FALSE(nubase::ends_with("m", "mx"));
    EXPECT_TRUE(nubase::contains("b\0c"s, "ab\0cd"s));
    EXPECT_FALSE(nubase::contains("abcd", "abc"));
    EXPECT_TRUE(nubase::contains("", ""));
    EXPECT_TRUE(nubase::contains('\0', "a\0"s));
    EXPECT_FALSE(nubase::contains('z', "abc"));
}

TEST(String, CaseIsAsciiOnlyWhateverTheLocale) {
    const std::string l_in = "MiXeD 123 \xC4\xE4\xFF@[`{";
    std::setlocale(LC_CTYPE, "C.UTF-8");
    EXPECT_EQ("mixed 123 \xC4\xE4\xFF@[`{", nubase::string_to_lowercase(l_in));
    EXPECT_EQ("MIXED 123 \xC4\xE4\xFF@[`{", nubase::string_to_uppercase(l_in));
    std::setlocale(LC_CTYPE, "C");
    std::string l_s = l_in;
    EXPECT_EQ(&l_s, &nubase::to_lowercase(l_s));
    EXPECT_EQ("mixed 123 \xC4\xE4\xFF@[`{", l_s);

    EXPECT_EQ("Hello World", nubase::capitalized("hello World"));
    EXPECT_EQ("1abc", nubase::capitalized("1abc"));
    EXPECT_EQ("ABC", nubase::capitalized("ABC"));
    EXPECT_EQ("", nubase::capitalized(""));
    EXPECT_EQ("\xE4x", nubase::capitalized("\xE4x"));
}

TEST(String, CharReplaceRestartsOneAfterTheReplacedByte) {
    struct row {
        std::string s;
        char c;
        std::string with, expected;
    };
    const row l_rows[] = {
        {"a.b.c", '.', "/", "a/b/c"},
        {"a.b.c", '.', "::", "a::b::c"},
        {"..", '.', "[]", "[][]"},
        {"abc", 'x', "yy", "abc"},
        {"", 'a', "b", ""},
        // The replacement's first byte is skipped, so `c` there is safe.
        {"aXa", 'a', "ab", "abXab"},
        {"aa", 'a', "a", "aa"},
        // An empty replacement skips the byte pulled into the deleted place.
        {"aaa", 'a', "", "a"},
        {"aab", 'a', "", "ab"},
        {"xaay", 'a', "", "xay"},
        {"abab", 'a', "", "bb"},
        {"a", 'a', "", ""},
        {"\0b\0"s, '\0', "0", "0b0"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.s + " / " + l_r.c + " / " + l_r.with);
        EXPECT_EQ(l_r.expected, nubase::string_replaced(l_r.s, l_r.c, l_r.with));
        std::string l_s = l_r.s;
        EXPECT_EQ(&l_s, &nubase::replace(l_s, l_r.c, l_r.with));
        EXPECT_EQ(l_r.expected, l_s);
    }
}

TEST(String, StringReplaceNeverRescansInsertedText) {
    struct row {
        std::string s, what, with, expected;
    };
    const row l_rows[] = {
        {"one two one", "one", "1", "1 two 1"},
        {"one two one", "one", "three", "three two three"},
        {"aaa", "aa", "b", "ba"},
        {"aaaa", "aa", "a", "aa"},
        {"aaa", "a", "aa", "aaaaaa"},
        {"xyz", "y", "", "xz"},
        {"abcabc", "abc", "", ""},
        {"abc", "abcd", "z", "abc"},
        {"abc", "", "z", "abc"},
        {"", "a", "z", ""},
        {"a<b>", "<", "&lt;", "a&lt;b>"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.s + " / " + l_r.what + " / " + l_r.with);
        EXPECT_EQ(l_r.expected, nubase::string_replaced(l_r.s, l_r.what, l_r.with));
        std::string l_s = l_r.s;
        EXPECT_EQ(&l_s, &nubase::replace(l_s, l_r.what, l_r.with));
        EXPECT_EQ(l_r.expected, l_s);
    }
    // Arguments that are the string being changed.
    std::string l_self = "abc";
    nubase::replace(l_self, l_self, "x");
    EXPECT_EQ("x", l_self);
    l_self = "ab";
    nubase::replace(l_self, "a", l_self);
    EXPECT_EQ("abb", l_self);
    l_self = "a.b";
    nubase::replace(l_self, 'a', l_self);
    EXPECT_EQ("a.b.b", l_self);
}

TEST(String, TrimmedKeepsAllTrimText) {
    EXPECT_EQ("   ", nubase::trimmed("   ", ' '));
    EXPECT_EQ("a b", nubase::trimmed("  a b  ", ' '));
    EXPECT_EQ("", nubase::trimmed("", ' '));
    EXPECT_EQ("x", nubase::trimmed("x", ' '));
    EXPECT_EQ("a \t b", nubase::trimmed(" \t\na \t b\r\n", " \t\r\n"));
    EXPECT_EQ("\t\n", nubase::trimmed("\t\n", " \t\n")) << "all-trim text comes back whole";
    EXPECT_EQ(" a ", nubase::trimmed(" a ", "")) << "an empty set trims nothing";
    EXPECT_EQ("b", nubase::trimmed("\0b\0"s, '\0'));
}

TEST(String, AppendedAndSplit) {
    EXPECT_EQ("ab", nubase::appended("a", "b"));
    EXPECT_EQ("a\0b"s, nubase::appended("a\0"s, "b"));
    using halves = std::pair<std::string, std::string>;
    EXPECT_EQ(halves("k", "v=w"), nubase::split("k=v=w", '='));
    EXPECT_EQ(halves("kv", ""), nubase::split("kv", '='));
    EXPECT_EQ(halves("", ""), nubase::split("=", '='));
    EXPECT_EQ(halves("", "x"), nubase::split("=x", '='));
    EXPECT_EQ(halves("", ""), nubase::split("", '='));
}

TEST(String, TruncateDotsAndKeptCharacters) {
    using nubase::truncate_begin;
    using nubase::truncate_end;
    using nubase::truncate_middle;
    struct row {
        unsigned limit;
        nubase::e_truncate_whence whence;
        const char* expected;
    };
    const std::string l_s = "abcdefghijklmnop";  // 16 bytes
    const row l_rows[] = {
        {16, truncate_end, "abcdefghijklmnop"},
        {99, truncate_begin, "abcdefghijklmnop"},
        {10, truncate_end, "abcdefgh.."},
        {10, truncate_middle, "abcd..mnop"},
        {10, truncate_begin, "..ijklmnop"},
        {13, truncate_end, "abcdefghij..."},
        {13, truncate_middle, "abcde...lmnop"},
        {15, truncate_middle, "abcdef...klmnop"},
        {12, truncate_end, "abcdefghij.."},
        {6, truncate_end, "abcd.."},
        {5, truncate_end, "abcd."},
        {5, truncate_middle, "ab.op"},
        {4, truncate_end, "abc."},
        {4, truncate_middle, "ab.p"},
        {4, truncate_begin, ".nop"},
        {2, truncate_end, "a."},
        {2, truncate_middle, "a."},
        {2, truncate_begin, ".p"},
        {1, truncate_begin, "p"},
        {1, truncate_middle, "a"},
        {1, truncate_end, "a"},
        {0, truncate_begin, ""},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(std::to_string(l_r.limit) + " / " + std::to_string(l_r.whence));
        EXPECT_EQ(l_r.expected, nubase::string_truncate(l_s, l_r.limit, l_r.whence));
    }
    EXPECT_EQ("z", nubase::string_truncate("xyz", 1, truncate_begin));
    EXPECT_EQ("x", nubase::string_truncate("xyz", 1, truncate_end));
    EXPECT_EQ("", nubase::string_truncate("", 0, truncate_end));
}

TEST(String, SpaceAlignNeverCuts) {
    using nubase::space_align_center;
    using nubase::space_align_left;
    using nubase::space_align_right;
    EXPECT_EQ("  ab ", nubase::string_space_align("ab", 5, space_align_center));
    EXPECT_EQ(" ab ", nubase::string_space_align("ab", 4, space_align_center));
    EXPECT_EQ("ab   ", nubase::string_space_align("ab", 5, space_align_left));
    EXPECT_EQ("   ab", nubase::string_space_align("ab", 5, space_align_right));
    EXPECT_EQ("abcdef", nubase::string_space_align("abcdef", 3, space_align_right));
    EXPECT_EQ("ab", nubase::string_space_align("ab", 2, space_align_center));
    EXPECT_EQ(" ", nubase::string_space_align("", 1, space_align_center));
}

}  // namespace
