// Byte-string helpers: building, pattern-first tests, replacement, trimming, truncation, alignment.
#include "nubase/string.hpp"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using namespace std::string_literals;

TEST(String, Building) {
    EXPECT_EQ(&nubase::string_empty_string(), &nubase::empty_string);
    EXPECT_TRUE(nubase::empty_string.empty());

    EXPECT_EQ("", nubase::string_with_cstr(nullptr, 3));
    EXPECT_EQ("ab", nubase::string_with_cstr("ab\0cd"));
    EXPECT_EQ("ab\0cd"s, nubase::string_with_cstr("ab\0cd", 5)) << "embedded NULs are copied";

    const char* l_null = nullptr;
    EXPECT_EQ("", nubase::string_with_format(l_null, 1));
    EXPECT_EQ("", nubase::string_with_format("%s", ""));
    // Around and far beyond the short-text fast path: no size limit, nothing cut.
    for (const std::size_t l_n : {254u, 255u, 256u, 100000u}) {
        const std::string l_long(l_n, 'q');
        EXPECT_EQ("<" + l_long + ">", nubase::string_with_format("<%s>", l_long.c_str())) << l_n;
    }

    EXPECT_EQ("ABCD", nubase::string_with_fourcc(0x41424344u, '?'));
    EXPECT_EQ("????", nubase::string_with_fourcc(0, '?'));
    // 32 and 126 are the printable bounds; 31, 127 and bytes from 128 are replaced.
    EXPECT_EQ(" ~..", nubase::string_with_fourcc(0x207E1F7Fu, '.'));
    EXPECT_EQ("a.b.", nubase::string_with_fourcc(0x6180629Fu, '.'));
}

TEST(String, PatternComesFirst) {
    EXPECT_TRUE(nubase::starts_with("24.0", "24.000"));
    EXPECT_FALSE(nubase::starts_with("24.000", "24.0"));
    EXPECT_TRUE(nubase::starts_with("", ""));
    EXPECT_TRUE(nubase::ends_with(".mov", "clip.mov"));
    EXPECT_FALSE(nubase::ends_with("clip.mov", ".mov"));
    EXPECT_FALSE(nubase::ends_with("m", "mx"));
    EXPECT_TRUE(nubase::contains("b\0c"s, "ab\0cd"s));
    EXPECT_FALSE(nubase::contains("abcd", "abc"));
    EXPECT_TRUE(nubase::contains('\0', "a\0"s));
}

TEST(String, CaseTouchesOnlyAsciiLetters) {
    EXPECT_EQ("mixed 1@[ \xC4\xFF", nubase::string_to_lowercase("MiXeD 1@[ \xC4\xFF"));
    EXPECT_EQ("MIXED 1`{ \xE4\xFF", nubase::string_to_uppercase("MiXeD 1`{ \xE4\xFF"));
    EXPECT_EQ("Hello World", nubase::capitalized("hello World"));
    EXPECT_EQ("1abc", nubase::capitalized("1abc"));
    EXPECT_EQ("", nubase::capitalized(""));
}

TEST(String, CharReplaceRestartsOneAfterTheReplacedByte) {
    const std::tuple<std::string, char, std::string, std::string> l_rows[] = {
        {"a.b.c", '.', "/", "a/b/c"}, {"..", '.', "[]", "[][]"},
        {"aXa", 'a', "ab", "abXab"},  // `c` as the first byte of `with` is skipped
        {"aaa", 'a', "", "a"},        // deleting pulls the next byte into the skipped place
        {"aab", 'a', "", "ab"},       {"abab", 'a', "", "bb"},
        {"\0b\0"s, '\0', "0", "0b0"},
    };
    for (const auto& [text, c, with, expected] : l_rows)
        EXPECT_EQ(expected, nubase::string_replaced(text, c, with)) << text << " / " << c << with;
}

TEST(String, StringReplaceNeverRescansInsertedText) {
    const std::tuple<std::string, std::string, std::string, std::string> l_rows[] = {
        {"one two one", "one", "three", "three two three"},
        {"aaa", "aa", "b", "ba"},
        {"aaa", "a", "aa", "aaaaaa"},
        {"abcabc", "abc", "", ""},
        {"abc", "abcd", "z", "abc"},
        {"abc", "", "z", "abc"}};
    for (const auto& [text, what, with, expected] : l_rows)
        EXPECT_EQ(expected, nubase::string_replaced(text, what, with)) << text << " / " << what;
    // The in-place forms return their argument, which may also be the text to find or insert.
    std::string l_self = "abc";
    EXPECT_EQ(&l_self, &nubase::replace(l_self, l_self, "x"));
    EXPECT_EQ("x", l_self);
    l_self = "ab";
    EXPECT_EQ("abb", nubase::replace(l_self, "a", l_self));
    l_self = "a.b";
    EXPECT_EQ(&l_self, &nubase::replace(l_self, 'a', l_self));
    EXPECT_EQ("a.b.b", l_self);
}

TEST(String, TrimAndSplit) {
    EXPECT_EQ("   ", nubase::trimmed("   ", ' ')) << "all-trim text comes back whole";
    EXPECT_EQ("a b", nubase::trimmed("  a b  ", ' '));
    EXPECT_EQ("a \t b", nubase::trimmed(" \t\na \t b\r\n", " \t\r\n"));
    EXPECT_EQ(" a ", nubase::trimmed(" a ", "")) << "an empty set trims nothing";

    using halves = std::pair<std::string, std::string>;
    EXPECT_EQ(halves("k", "v=w"), nubase::split("k=v=w", '='));
    EXPECT_EQ(halves("kv", ""), nubase::split("kv", '='));
    EXPECT_EQ(halves("", ""), nubase::split("=", '='));
}

TEST(String, TruncateDotsAndKeptCharacters) {
    using nubase::truncate_begin;
    using nubase::truncate_end;
    using nubase::truncate_middle;
    const std::tuple<unsigned, nubase::e_truncate_whence, const char*> l_rows[] = {
        {16, truncate_end, "abcdefghijklmnop"},
        {10, truncate_middle, "abcd..mnop"},
        {13, truncate_end, "abcdefghij..."},
        {12, truncate_end, "abcdefghij.."},
        {6, truncate_end, "abcd.."},
        {5, truncate_middle, "ab.op"},
        {4, truncate_begin, ".nop"},
        {2, truncate_middle, "a."},
        {1, truncate_begin, "p"},
        {1, truncate_middle, "a"},
        {0, truncate_begin, ""}};
    for (const auto& [limit, whence, expected] : l_rows)
        EXPECT_EQ(expected, nubase::string_truncate("abcdefghijklmnop", limit, whence))
            << limit << " / " << whence;
}

TEST(String, SpaceAlignNeverCuts) {
    EXPECT_EQ("  ab ", nubase::string_space_align("ab", 5, nubase::space_align_center));
    EXPECT_EQ(" ab ", nubase::string_space_align("ab", 4, nubase::space_align_center));
    EXPECT_EQ("ab   ", nubase::string_space_align("ab", 5, nubase::space_align_left));
    EXPECT_EQ("   ab", nubase::string_space_align("ab", 5, nubase::space_align_right));
    EXPECT_EQ("abcdef", nubase::string_space_align("abcdef", 3, nubase::space_align_right));
}

}  // namespace
