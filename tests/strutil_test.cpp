// Tokenizers, joiners, key-value strings and replacement tables.
#include "nubase/strutil.hpp"

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace std::string_literals;
using pieces = std::vector<std::string>;
namespace su = nubase::strutil;

TEST(Strutil, TokenizeOneSeparatorOrAny) {
    const std::tuple<std::string, pieces, pieces> l_rows[] = {
        {"a!!b", {"a", "", "b"}, {"a", "b"}},
        {"", {""}, {}},
        {"!a!", {"", "a", ""}, {"a"}},
        {"a\0!b"s, {"a\0"s, "b"}, {"a\0"s, "b"}},
    };
    for (const auto& [text, kept, skipped] : l_rows) {
        SCOPED_TRACE(text);
        pieces l_kept = {"old"}, l_skipped, l_any;
        su::tokenize_string(text, '!', l_kept, true);
        su::tokenize_string(text, '!', l_skipped, false);
        su::tokenize(text, "!", l_any);
        EXPECT_EQ("old", l_kept.front()) << "pieces are appended, never cleared";
        EXPECT_EQ(kept, pieces(l_kept.begin() + 1, l_kept.end()));
        EXPECT_EQ(skipped, l_skipped);
        EXPECT_EQ(kept, l_any);
    }
    pieces l_out;
    su::tokenize("a,b;\xFF\0c"s, "\0;,\xFF"s, l_out);
    EXPECT_EQ((pieces{"a", "b", "", "", "c"}), l_out);
}

TEST(Strutil, LineBreakingTakesTheNearerSeparator) {
    // A plain int width picks the line-breaking form, not the quote form.
    const std::tuple<std::string, int, pieces> l_rows[] = {
        {"aaaa bbbb cccc dddd", 10, {"aaaa bbbb", "cccc dddd"}},
        {"ab cde fg", 4, {"ab", "cde", "fg"}},   // 2 back, 2 ahead: the earlier one wins
        {"abc de fg", 5, {"abc de", "fg"}},      // 1 ahead beats 2 back
        {"abcdef ghij", 3, {"abcdef", "ghij"}},  // only beyond the width: a longer line
        {"a bcdefgh", 4, {"a", "bcdefgh"}},
        {"", 5, {""}},
        {"  ", 0, {"", "", ""}},  // separators at the width: empty lines
    };
    for (const auto& [text, width, expected] : l_rows) {
        pieces l_out;
        su::tokenize_string(text, ' ', width, l_out);
        EXPECT_EQ(expected, l_out) << text << " / " << width;
    }
}

TEST(Strutil, QuotesAndBracketsProtectSeparators) {
    // Rows without a closing bracket use the quote form.
    const std::tuple<std::string, char, char, pieces> l_rows[] = {
        {"a,\"b,c\",d", '"', 0, {"a", "\"b,c\"", "d"}},
        {",", '"', 0, {"", ""}},
        {"a,\"b,c", '"', 0, {"a", "\"b,c"}},
        {"a,b\0,c"s, '"', 0, {"a", "b"}},
        {"f(a,b),c", '(', ')', {"f(a,b)", "c"}},
        {"g(f(a,b),c),d", '(', ')', {"g(f(a,b),c)", "d"}},
        {"(a)),b", '(', ')', {"(a))", "b"}},  // an unmatched closer leaves the depth at zero
        {"(a,b", '(', ')', {"(a,b"}},
        {"(a\0,b),c"s, '(', ')', {"(a"}},
    };
    for (const auto& [text, open, close, expected] : l_rows) {
        pieces l_out;
        if (close == 0) {
            su::tokenize_string(text, ',', open, l_out);
        } else {
            su::tokenize_string(text, ',', open, close, l_out);
        }
        EXPECT_EQ(expected, l_out) << text;
    }
}

TEST(Strutil, JoinAppendsWithSeparators) {
    const pieces l_xyz = {"x", "y", "z"};
    std::string l_out;
    su::join_strings(l_xyz, '\0', l_out);
    su::join_strings(l_xyz, ',', l_out);
    su::join_strings(std::list<std::string>(l_xyz.begin(), l_xyz.end()), '/', l_out);
    su::join_strings(pieces{}, ',', l_out);
    su::join_strings(l_xyz, ", ", l_out);
    EXPECT_EQ("xyzx,y,zx/y/zx, y, z", l_out);
    // The output may be one of the pieces or the separator itself.
    pieces l_self = {"a", "b"};
    su::join_strings(l_self, '+', l_self[0]);
    EXPECT_EQ("aa+b", l_self[0]);
    l_out = "-";
    su::join_strings(l_xyz, l_out, l_out);
    EXPECT_EQ("-x-y-z", l_out);
}

TEST(Strutil, KvmapLastOccurrenceWinsAndEmptyKeysStay) {
    const std::pair<std::string, nubase::kvmap> l_rows[] = {
        {"a=1&b&c=3=4", {{"a", "1"}, {"b", ""}, {"c", "3=4"}}},
        {"a=1&a=2", {{"a", "2"}}},
        {"", {}},
        {"a=1&", {{"", ""}, {"a", "1"}}},
        {"&&a", {{"", ""}, {"a", ""}}},
        {"=v", {{"", "v"}}},
    };
    for (const auto& [text, expected] : l_rows)
        EXPECT_EQ(expected, su::kvmap_with_kvstr(text, '&', '=')) << text;
    nubase::kvmap l_out = {{"a", "old"}, {"z", "kept"}};
    su::kvmap_with_kvstr(l_out, "a=new;b:x", ';', ':');
    EXPECT_EQ((nubase::kvmap{{"a=new", ""}, {"a", "old"}, {"b", "x"}, {"z", "kept"}}), l_out);
}

TEST(Strutil, KvstrWritesBareKeysAndNoEscapes) {
    EXPECT_EQ("a=1&b", su::kvstr_with_kvmap({{"b", ""}, {"a", "1"}}, '&', '='));
    EXPECT_EQ("=x&a=1", su::kvstr_with_kvmap({{"", "x"}, {"a", "1"}}, '&', '='));
    EXPECT_EQ("", su::kvstr_with_kvmap({{"", ""}}, '&', '='));
    std::string l_out = "p";
    su::kvstr_with_kvmap(l_out, {{"", "x"}, {"a", "1"}}, '&', '=');
    EXPECT_EQ("p=x&a=1", l_out) << "appends, with a pair separator only before a key";
}

TEST(Strutil, ReplacementTables) {
    const std::map<char, std::string> l_html = {{'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}};
    EXPECT_EQ("a&lt;b&amp;c", su::string_replaced("a<b&c", l_html));
    std::string l_s = "1>2";
    EXPECT_EQ("1&gt;2", su::replace(l_s, l_html));
    const std::map<char, std::string> l_swap = {{'a', "b"}, {'b', "a"}, {'\0', "\xFF"}};
    EXPECT_EQ("ba\xFF", su::string_replaced("ab\0"s, l_swap)) << "no rescan of replacements";

    // String tables apply in key order, each over the result of the ones before.
    EXPECT_EQ("cc", su::string_replaced("ab", {{"a", "b"}, {"b", "c"}}));
    EXPECT_EQ("xa", su::string_replaced("ab", {{"b", "a"}, {"a", "x"}}));
    EXPECT_EQ("AA", su::string_replaced("abab", {{"", "z"}, {"ab", "A"}}));
}

TEST(Strutil, BufferToString) {
    const unsigned char l_bytes[] = {'a', 0, 0xFF, 'b'};
    const nubase::buffer l_b(4ULL, l_bytes);
    const std::string l_expected(reinterpret_cast<const char*>(l_bytes), 4);
    EXPECT_EQ(l_expected, su::buffer_to_string(l_b));
    std::string l_out = "previous text";
    EXPECT_EQ(l_expected, su::buffer_to_string(l_out, l_b));
    EXPECT_EQ("", su::buffer_to_string(l_out, nubase::buffer(0ULL)));
}

}  // namespace
