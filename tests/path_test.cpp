// Path manipulation. Expected values are worked by hand from the rules in nubase/path.hpp; the
// odd-looking ones ("//rp", "../../a" giving "a", "b..md") are long-standing behaviour.
#include "nubase/path.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;

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
    EXPECT_EQ("a//", nubase::path_directory("a//b", '/', 0));
    EXPECT_EQ("a/", nubase::path_directory("a//b", '/', 1));
    EXPECT_EQ("a", nubase::path_directory("a//b", '/', 2));
}

TEST(Path, SetsParts) {
    struct row {
        const char* what;
        std::string p, value;
        unsigned levels;
        std::string expected;
    };
    const row l_rows[] = {
        {"directory", "a/b/c", "x", 0, "x/c"},
        {"directory", "c", "x", 0, "x/c"},
        {"directory", "a/b/c", "x/", 0, "x/c"},
        {"directory", "a/b/c", "x", 1, "x/c"},
        {"directory", "a/b/c", "x/", 1, "x/c"},
        {"directory", "a/b/c", "x", 2, "x/b/c"},
        {"directory", "a/b", "x", 2, "x/a/b"},
        {"directory", "/x", "r", 1, "r/x"},
        {"directory", "", "x", 0, "x/"},
        {"directory", "a/b/c", "", 0, "c"},
        {"directory", "a/b/c", "", 1, "/c"},
        {"directory", "c", "", 0, "c"},
        {"file", "a/b", "c", 0, "a/c"},
        {"file", "a/", "c", 0, "a/c"},
        {"file", "b", "c", 0, "c"},
        {"file", "a/b", "", 0, "a/"},
        {"name", "a/b.txt", "c", 0, "a/c.txt"},
        {"name", ".profile", "x", 0, "x.profile"},
        {"name", "a/", "n", 0, "a/n"},
        {"name", "x.d/file", "n", 0, "x.d/n"},
        {"name", "a.tar.gz", "b", 0, "b.gz"},
        {"suffix", "b.txt", "md", 0, "b.md"},
        {"suffix", "b.txt", ".md", 0, "b..md"},
        {"suffix", "b", ".md", 0, "b.md"},
        {"suffix", "b.txt", "", 0, "b."},
        {"suffix", "a/", "md", 0, "a/.md"},
        {"suffix", "", "md", 0, "md"},
        {"suffix", "b.", "md", 0, "b.md"},
        {"suffix", "b", "", 0, "b"},
        {"suffix", "x.d/file", "md", 0, "x.d/file.md"},
        {"suffix", "a.tar.gz", "bz2", 3, "a.tar.bz2"},
        {"suffix", ".profile", "x", 0, ".x"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(std::string(l_r.what) + " of '" + l_r.p + "' to '" + l_r.value + "'");
        std::string l_p = l_r.p;
        std::string l_copy;
        const std::string* l_returned = nullptr;
        const std::string l_what = l_r.what;
        if (l_what == "directory") {
            l_returned = &nubase::path_set_directory(l_p, l_r.value, '/', l_r.levels);
            l_copy = nubase::path_new_directory(l_r.p, l_r.value, '/', l_r.levels);
        } else if (l_what == "file") {
            l_returned = &nubase::path_set_file(l_p, l_r.value, '/');
            l_copy = nubase::path_new_file(l_r.p, l_r.value, '/');
        } else if (l_what == "name") {
            l_returned = &nubase::path_set_name(l_p, l_r.value, '/');
            l_copy = nubase::path_new_name(l_r.p, l_r.value, '/');
        } else {
            l_returned = &nubase::path_set_suffix(l_p, l_r.value, '/', l_r.levels);
            l_copy = nubase::path_new_suffix(l_r.p, l_r.value, '/', l_r.levels);
        }
        EXPECT_EQ(l_r.expected, l_p);
        EXPECT_EQ(&l_p, l_returned) << "the in-place form returns its argument";
        EXPECT_EQ(l_r.expected, l_copy);
    }
    std::string l_win = "C:\\d\\f.txt";
    EXPECT_EQ("E:\\x\\f.txt", nubase::path_set_directory(l_win, "E:\\x", '\\', 1));
    EXPECT_EQ("E:\\x\\f.md", nubase::path_set_suffix(l_win, "md", '\\', 0));
}

TEST(Path, JoinsWithOneSeparator) {
    struct row {
        std::string left, right, expected;
    };
    // path_append(left, right) and path_prepend(right, left) join the same two strings.
    const row l_rows[] = {
        {"a/", "/b", "a/b"},   {"a", "b", "a/b"}, {"a/", "b", "a/b"}, {"a", "/b", "a/b"},
        {"", "b", "b"},        {"a", "", "a"},    {"", "", ""},       {"a/", "//b", "a//b"},
        {"a//", "/b", "a//b"}, {"/", "/", "/"},   {"", "/b", "/b"},   {"a/", "", "a/"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE("'" + l_r.left + "' + '" + l_r.right + "'");
        std::string l_p = l_r.left;
        EXPECT_EQ(l_r.expected, nubase::path_append(l_p, l_r.right, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_appended(l_r.left, l_r.right, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_pushed_back(l_r.left, l_r.right, '/'));
        l_p = l_r.right;
        EXPECT_EQ(l_r.expected, nubase::path_prepend(l_p, l_r.left, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_prepended(l_r.right, l_r.left, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_pushed_front(l_r.right, l_r.left, '/'));
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
    struct row {
        std::string p, root, expected;
    };
    const row l_rows[] = {
        {"p", "/r/", "/r/p"}, {"p", "/r", "//rp"},    {"", "/r", "//r"},   {"p", "r", "/r/p"},
        {"p", "r/", "/r/p"},  {"", "r", "/r"},        {"p", "", "/p"},     {"", "", "/"},
        {"", "r/", "/r/"},    {"/p", "r", "/p"},      {"/p", "/r/", "/p"}, {"", "/", "/"},
        {"p", "/", "/p"},     {"a/b", "r", "/r/a/b"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE("'" + l_r.p + "' under '" + l_r.root + "'");
        std::string l_p = l_r.p;
        EXPECT_EQ(l_r.expected, nubase::path_root(l_p, l_r.root));
        EXPECT_EQ(l_r.expected, nubase::path_rooted(l_r.p, l_r.root));
    }
}

TEST(Path, UnrootsFromAnyRoot) {
    struct row {
        std::string p, root, expected;
    };
    const row l_rows[] = {
        {"/r/p", "r", "p"}, {"/r/p", "/r/", "p"}, {"/r//p", "r", "p"},    {"/rabc", "r", "abc"},
        {"/r", "r", ""},    {"/r/", "r", "/"},    {"/a/p", "r", "a/p"},   {"p", "", "p"},
        {"/p", "", "p"},    {"", "r", ""},        {"/", "x", ""},         {"///", "", "///"},
        {"///", "/", "//"}, {"//x", "/", "x"},    {"/C:/d", "/", "C:/d"}, {"r", "r", ""},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE("'" + l_r.p + "' from '" + l_r.root + "'");
        std::string l_p = l_r.p;
        EXPECT_EQ(l_r.expected, nubase::path_unroot(l_p, l_r.root));
        EXPECT_EQ(l_r.expected, nubase::path_unrooted(l_r.p, l_r.root));
    }
}

TEST(Path, NormalizesComponents) {
    struct row {
        std::string p;
        char sep;
        std::string expected;
    };
    const row l_rows[] = {
        {"a//b", '/', "a/b"},
        {"/a/./b/", '/', "/a/b/"},
        {"a/b/../c", '/', "a/c"},
        {"./a", '/', "/a"},
        {"../a", '/', "../a"},
        {"../../a", '/', "a"},
        {"/..", '/', ""},
        {"a/..", '/', ""},
        {"/../a", '/', "a"},
        {"", '/', ""},
        {"/", '/', "/"},
        {".", '/', ""},
        {"a/.", '/', "a/"},
        {"a/./", '/', "a/"},
        {"//a//", '/', "/a/"},
        {"a/b/c/../../d", '/', "a/d"},
        {"...", '/', "..."},
        {"C:\\d\\..\\e\\.\\f", '\\', "C:\\e\\f"},
        {"a\0.\0b"s, '\0', "a\0b"s},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.p);
        std::string l_p = l_r.p;
        EXPECT_EQ(l_r.expected, nubase::path_normalize(l_p, l_r.sep));
        EXPECT_EQ(l_r.expected, nubase::path_normalized(l_r.p, l_r.sep));
    }
}

}  // namespace
