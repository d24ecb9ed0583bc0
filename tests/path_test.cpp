// Path manipulation; "//rp", "../../a" giving "a" and "b..md" are kept behaviour.
#include "nubase/path.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using namespace std::string_literals;

// A path, the other operand (joined path, root) and the result.
struct row3 {
    std::string p, other, expected;
};

// Checks the in-place form (on a copy of `p`) and the copying form of an edit against each row.
template <std::size_t N, class InPlace, class Copying>
void expect_both_forms(const row3 (&a_rows)[N], const char* a_word, InPlace a_in_place,
                       Copying a_copying) {
    for (const auto& l_r : a_rows) {
        SCOPED_TRACE("'" + l_r.p + "' " + a_word + " '" + l_r.other + "'");
        std::string l_p = l_r.p;
        EXPECT_EQ(l_r.expected, a_in_place(l_p, l_r.other));
        EXPECT_EQ(l_r.expected, a_copying(l_r.p, l_r.other));
    }
}

TEST(Path, TakesPathsApart) {
    struct row {
        std::string p;
        char sep;
        std::string dir0, dir1, dir2, file, name, suffix, front;
    };
    const row l_rows[] = {
        {"", '/', "", "", "", "", "", "", ""},
        {"a/b/c", '/', "a/b/", "a/b", "a", "c", "c", "", "a"},
        {"a/b/", '/', "a/b/", "a/b", "a", "", "", "", "a"},
        {"/x", '/', "/", "", "", "x", "x", "", ""},
        {"//", '/', "//", "/", "", "", "", "", ""},
        {"a", '/', "", "", "", "a", "a", "", "a"},
        {".profile", '/', "", "", "", ".profile", "", "profile", ".profile"},
        // A dot in a directory name is not a suffix; the last dot of the whole path is the one.
        {"a//b", '/', "a//", "a/", "a", "b", "b", "", "a"},
        {"x.d/file", '/', "x.d/", "x.d", "", "file", "file", "", "x.d"},
        {"a.b/c.", '/', "a.b/", "a.b", "", "c.", "c", "", "a.b"},
        {"a.tar.gz", '/', "", "", "", "a.tar.gz", "a.tar", "gz", "a.tar.gz"},
        {"C:\\d\\f.txt", '\\', "C:\\d\\", "C:\\d", "C:", "f.txt", "f", "txt", "C:"},
        // '/' is an ordinary byte under another separator.
        {"a/b.c", '\\', "", "", "", "a/b.c", "a/b", "c", "a/b.c"},
        {"a\0b\0c.x"s, '\0', "a\0b\0"s, "a\0b"s, "a", "c.x", "c", "x", "a"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.p);
        EXPECT_EQ(l_r.dir0, nubase::path_directory(l_r.p, l_r.sep, 0));
        EXPECT_EQ(l_r.dir1, nubase::path_directory(l_r.p, l_r.sep, 1));
        EXPECT_EQ(l_r.dir2, nubase::path_directory(l_r.p, l_r.sep, 2));
        EXPECT_EQ(l_r.file, nubase::path_file(l_r.p, l_r.sep));
        EXPECT_EQ(l_r.file, nubase::path_back(l_r.p, l_r.sep));
        EXPECT_EQ(l_r.name, nubase::path_name(l_r.p, l_r.sep));
        EXPECT_EQ(l_r.front, nubase::path_front(l_r.p, l_r.sep));
        // The level count never changes the suffix.
        for (unsigned l_n : {0u, 1u, 2u, 7u}) {
            EXPECT_EQ(l_r.suffix, nubase::path_suffix(l_r.p, l_r.sep, l_n)) << "levels " << l_n;
        }
    }
}

TEST(Path, DirectoryLevelsStopAtTheStart) {
    EXPECT_EQ("", nubase::path_directory("a/b/c", '/', 3));
    EXPECT_EQ("", nubase::path_directory("/a/b", '/', 2));
    EXPECT_EQ("", nubase::path_directory("/a/b", '/', 4000000000u));
    EXPECT_EQ("/a", nubase::path_directory("/a/b/c", '/', 2));
}

TEST(Path, SetsParts) {
    struct row {
        char what;  // d directory, f file, n name, s suffix
        std::string p, value;
        unsigned levels;
        std::string expected;
    };
    const auto l_check = [](const row& l_r) {
        SCOPED_TRACE(std::string(1, l_r.what) + " of '" + l_r.p + "' to '" + l_r.value + "'");
        std::string l_p = l_r.p, l_copy;
        const std::string* l_returned = nullptr;
        if (l_r.what == 'd') {
            l_returned = &nubase::path_set_directory(l_p, l_r.value, '/', l_r.levels);
            l_copy = nubase::path_new_directory(l_r.p, l_r.value, '/', l_r.levels);
        } else if (l_r.what == 'f') {
            l_returned = &nubase::path_set_file(l_p, l_r.value, '/');
            l_copy = nubase::path_new_file(l_r.p, l_r.value, '/');
        } else if (l_r.what == 'n') {
            l_returned = &nubase::path_set_name(l_p, l_r.value, '/');
            l_copy = nubase::path_new_name(l_r.p, l_r.value, '/');
        } else {
            l_returned = &nubase::path_set_suffix(l_p, l_r.value, '/', l_r.levels);
            l_copy = nubase::path_new_suffix(l_r.p, l_r.value, '/', l_r.levels);
        }
        EXPECT_EQ(l_r.expected, l_p);
        EXPECT_EQ(&l_p, l_returned) << "the in-place form returns its argument";
        EXPECT_EQ(l_r.expected, l_copy);
    };
    const row l_rows[] = {
        {'d', "a/b/c", "x", 0, "x/c"},   {'d', "c", "x", 0, "x/c"},
        {'d', "a/b/c", "x/", 0, "x/c"},  {'d', "a/b/c", "x", 1, "x/c"},
        {'d', "a/b/c", "x/", 1, "x/c"},  {'d', "a/b/c", "x", 2, "x/b/c"},
        {'d', "a/b", "x", 2, "x/a/b"},   {'d', "/x", "r", 1, "r/x"},
        {'d', "", "x", 0, "x/"},         {'d', "a/b/c", "", 0, "c"},
        {'d', "a/b/c", "", 1, "/c"},     {'d', "c", "", 0, "c"},
        {'f', "a/b", "c", 0, "a/c"},     {'f', "a/", "c", 0, "a/c"},
        {'f', "b", "c", 0, "c"},         {'f', "a/b", "", 0, "a/"},
        {'n', "a/", "n", 0, "a/n"},      {'n', "a.tar.gz", "b", 0, "b.gz"},
        {'s', "b.txt", "md", 0, "b.md"}, {'s', "b.txt", ".md", 0, "b..md"},
        {'s', "b", ".md", 0, "b.md"},    {'s', "b.txt", "", 0, "b."},
        {'s', "a/", "md", 0, "a/.md"},   {'s', "", "md", 0, "md"},
        {'s', "b.", "md", 0, "b.md"},    {'s', "b", "", 0, "b"},
        {'s', ".profile", "x", 0, ".x"},
    };
    for (const auto& l_r : l_rows)
        l_check(l_r);
    l_check({'n', "a/b.txt", "c", 0, "a/c.txt"});
    l_check({'n', ".profile", "x", 0, "x.profile"});
    l_check({'n', "x.d/file", "n", 0, "x.d/n"});
    l_check({'s', "x.d/file", "md", 0, "x.d/file.md"});
    l_check({'s', "a.tar.gz", "bz2", 3, "a.tar.bz2"});
    std::string l_win = "C:\\d\\f.txt";
    EXPECT_EQ("E:\\x\\f.txt", nubase::path_set_directory(l_win, "E:\\x", '\\', 1));
    EXPECT_EQ("E:\\x\\f.md", nubase::path_set_suffix(l_win, "md", '\\', 0));
}

TEST(Path, JoinsWithOneSeparator) {
    // path_append(left, right) and path_prepend(right, left) join the same two strings.
    const row3 l_rows[] = {
        {"a/", "/b", "a/b"},   {"a", "b", "a/b"}, {"a/", "b", "a/b"}, {"a", "/b", "a/b"},
        {"", "b", "b"},        {"a", "", "a"},    {"", "", ""},       {"a/", "//b", "a//b"},
        {"a//", "/b", "a//b"}, {"/", "/", "/"},   {"", "/b", "/b"},   {"a/", "", "a/"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE("'" + l_r.p + "' + '" + l_r.other + "'");
        std::string l_p = l_r.p;
        EXPECT_EQ(l_r.expected, nubase::path_append(l_p, l_r.other, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_appended(l_r.p, l_r.other, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_pushed_back(l_r.p, l_r.other, '/'));
        l_p = l_r.other;
        EXPECT_EQ(l_r.expected, nubase::path_prepend(l_p, l_r.p, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_prepended(l_r.other, l_r.p, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_pushed_front(l_r.other, l_r.p, '/'));
    }
    std::string l_win = "C:";
    EXPECT_EQ("C:\\d\\f",
              nubase::path_push_back(nubase::path_push_back(l_win, "d", '\\'), "f", '\\'));
}

TEST(Path, PopsComponents) {
    struct row {
        std::string p, popped_front, popped_back;
    };
    const row l_rows[] = {
        {"a/b", "b", "a"}, {"/a", "a", ""}, {"a/", "", "a"},         {"a", "", ""},
        {"", "", ""},      {"/", "", ""},   {"a/b/c", "b/c", "a/b"}, {"//", "/", "/"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.p);
        std::string l_p = l_r.p;
        EXPECT_EQ(l_r.popped_front, nubase::path_pop_front(l_p, '/'));
        EXPECT_EQ(l_r.popped_front, nubase::path_popped_front(l_r.p, '/'));
        l_p = l_r.p;
        EXPECT_EQ(l_r.popped_back, nubase::path_pop_back(l_p, '/'));
        EXPECT_EQ(l_r.popped_back, nubase::path_popped_back(l_r.p, '/'));
    }
}

TEST(Path, RootsUnderAnyRoot) {
    const row3 l_rows[] = {
        {"p", "/r/", "/r/p"}, {"p", "/r", "//rp"},    {"", "/r", "//r"},   {"p", "r", "/r/p"},
        {"p", "r/", "/r/p"},  {"", "r", "/r"},        {"p", "", "/p"},     {"", "", "/"},
        {"", "r/", "/r/"},    {"/p", "r", "/p"},      {"/p", "/r/", "/p"}, {"", "/", "/"},
        {"p", "/", "/p"},     {"a/b", "r", "/r/a/b"},
    };
    expect_both_forms(
        l_rows, "under",
        [](std::string& a_p, const std::string& a_r) -> std::string {
            return nubase::path_root(a_p, a_r);
        },
        [](const std::string& a_p, const std::string& a_r) {
            return nubase::path_rooted(a_p, a_r);
        });
}

TEST(Path, UnrootsFromAnyRoot) {
    const row3 l_rows[] = {
        {"/r/p", "r", "p"}, {"/r/p", "/r/", "p"}, {"/r//p", "r", "p"},    {"/rabc", "r", "abc"},
        {"/r", "r", ""},    {"/r/", "r", "/"},    {"/a/p", "r", "a/p"},   {"p", "", "p"},
        {"/p", "", "p"},    {"", "r", ""},        {"/", "x", ""},         {"///", "", "///"},
        {"///", "/", "//"}, {"//x", "/", "x"},    {"/C:/d", "/", "C:/d"}, {"r", "r", ""},
    };
    expect_both_forms(
        l_rows, "from",
        [](std::string& a_p, const std::string& a_r) -> std::string {
            return nubase::path_unroot(a_p, a_r);
        },
        [](const std::string& a_p, const std::string& a_r) {
            return nubase::path_unrooted(a_p, a_r);
        });
}

TEST(Path, NormalizesComponents) {
    const auto l_check = [](const std::string& a_p, char a_sep, const std::string& a_expected) {
        SCOPED_TRACE(a_p);
        std::string l_p = a_p;
        EXPECT_EQ(a_expected, nubase::path_normalize(l_p, a_sep));
        EXPECT_EQ(a_expected, nubase::path_normalized(a_p, a_sep));
    };
    const std::pair<const char*, const char*> l_rows[] = {
        {"a//b", "a/b"},     {"/a/./b/", "/a/b/"},
        {"a/b/../c", "a/c"}, {"./a", "/a"},
        {"../a", "../a"},    {"../../a", "a"},
        {"/..", ""},         {"a/..", ""},
        {"/../a", "a"},      {"", ""},
        {"/", "/"},          {".", ""},
        {"a/.", "a/"},       {"a/./", "a/"},
        {"//a//", "/a/"},    {"a/b/c/../../d", "a/d"},
        {"...", "..."},
    };
    for (const auto& l_r : l_rows)
        l_check(l_r.first, '/', l_r.second);
    l_check("C:\\d\\..\\e\\.\\f", '\\', "C:\\e\\f");
    l_check("a\0.\0b"s, '\0', "a\0b"s);
}

}  // namespace
