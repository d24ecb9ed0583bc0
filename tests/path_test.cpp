// Path manipulation; "//rp", "../../a" giving "a" and "b..md" are kept behaviour. The tables run
// through the copying forms (the in-place form on a copy); one check covers each in-place form.
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
        for (unsigned l_n : {0u, 1u, 7u})
            EXPECT_EQ(l_r.suffix, nubase::path_suffix(l_r.p, l_r.sep, l_n)) << "levels " << l_n;
    }
    // Directory levels stop at the start of the path.
    EXPECT_EQ("", nubase::path_directory("a/b/c", '/', 3));
    EXPECT_EQ("", nubase::path_directory("/a/b", '/', 4000000000u));
}

TEST(Path, SetsParts) {
    struct row {
        char what;  // d directory, f file, n name, s suffix
        std::string p, value;
        unsigned levels;
        std::string expected;
    };
    const row l_rows[] = {
        {'d', "a/b/c", "x", 0, "x/c"},      {'d', "c", "x", 0, "x/c"},
        {'d', "a/b/c", "x/", 0, "x/c"},     {'d', "a/b/c", "x", 1, "x/c"},
        {'d', "a/b/c", "x/", 1, "x/c"},     {'d', "a/b", "x", 2, "x/a/b"},
        {'d', "/x", "r", 1, "r/x"},         {'d', "", "x", 0, "x/"},
        {'d', "a/b/c", "", 0, "c"},         {'d', "a/b/c", "", 1, "/c"},
        {'f', "a/", "c", 0, "a/c"},         {'f', "b", "c", 0, "c"},
        {'f', "a/b", "", 0, "a/"},          {'n', "a/", "n", 0, "a/n"},
        {'n', "a.tar.gz", "b", 0, "b.gz"},  {'n', ".profile", "x", 0, "x.profile"},
        {'n', "x.d/file", "n", 0, "x.d/n"}, {'s', "b.txt", "md", 0, "b.md"},
        {'s', "b.txt", ".md", 0, "b..md"},  {'s', "b", ".md", 0, "b.md"},
        {'s', "b.txt", "", 0, "b."},        {'s', "a/", "md", 0, "a/.md"},
        {'s', "", "md", 0, "md"},           {'s', "b.", "md", 0, "b.md"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(std::string(1, l_r.what) + " of '" + l_r.p + "' to '" + l_r.value + "'");
        const std::string l_got =
            l_r.what == 'd'   ? nubase::path_new_directory(l_r.p, l_r.value, '/', l_r.levels)
            : l_r.what == 'f' ? nubase::path_new_file(l_r.p, l_r.value, '/')
            : l_r.what == 'n' ? nubase::path_new_name(l_r.p, l_r.value, '/')
                              : nubase::path_new_suffix(l_r.p, l_r.value, '/', l_r.levels);
        EXPECT_EQ(l_r.expected, l_got);
    }
    // The in-place forms edit and return their argument.
    std::string l_win = "C:\\d\\f.txt";
    EXPECT_EQ(&l_win, &nubase::path_set_directory(l_win, "E:\\x", '\\', 1));
    EXPECT_EQ("E:\\x\\f.txt", l_win);
    EXPECT_EQ("E:\\x\\g.tar.txt", nubase::path_set_name(l_win, "g.tar", '\\'));
    EXPECT_EQ("E:\\x\\g.tar.md", nubase::path_set_suffix(l_win, "md", '\\', 3));
    EXPECT_EQ("E:\\x\\h", nubase::path_set_file(l_win, "h", '\\'));
}

TEST(Path, JoinsWithOneSeparator) {
    // p joined with other, through path_appended and path_prepended under their list names.
    const row3 l_rows[] = {
        {"a/", "/b", "a/b"}, {"a", "b", "a/b"},     {"a/", "b", "a/b"},
        {"a", "/b", "a/b"},  {"", "b", "b"},        {"a", "", "a"},
        {"", "", ""},        {"a/", "//b", "a//b"}, {"/", "/", "/"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE("'" + l_r.p + "' + '" + l_r.other + "'");
        EXPECT_EQ(l_r.expected, nubase::path_pushed_back(l_r.p, l_r.other, '/'));
        EXPECT_EQ(l_r.expected, nubase::path_pushed_front(l_r.other, l_r.p, '/'));
    }
    std::string l_win = "C:";
    EXPECT_EQ("C:\\d\\f", nubase::path_push_back(nubase::path_append(l_win, "d", '\\'), "f", '\\'));
    EXPECT_EQ("E:\\C:\\d\\f", nubase::path_push_front(l_win, "E:", '\\'));
}

TEST(Path, PopsComponents) {
    struct row {
        std::string p, popped_front, popped_back;
    };
    const row l_rows[] = {
        {"/a", "a", ""}, {"a/", "", "a"},         {"a", "", ""},
        {"/", "", ""},   {"a/b/c", "b/c", "a/b"}, {"//", "/", "/"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.p);
        EXPECT_EQ(l_r.popped_front, nubase::path_popped_front(l_r.p, '/'));
        EXPECT_EQ(l_r.popped_back, nubase::path_popped_back(l_r.p, '/'));
    }
    std::string l_p = "a/b/c";
    EXPECT_EQ("b", nubase::path_pop_back(nubase::path_pop_front(l_p, '/'), '/'));
    EXPECT_EQ("b", l_p);
}

TEST(Path, RootsAndUnroots) {
    const row3 l_rooted[] = {
        {"p", "/r/", "/r/p"}, {"p", "/r", "//rp"}, {"", "/r", "//r"}, {"p", "r", "/r/p"},
        {"p", "r/", "/r/p"},  {"", "r", "/r"},     {"p", "", "/p"},   {"", "", "/"},
        {"/p", "r", "/p"},    {"p", "/", "/p"},
    };
    for (const auto& l_r : l_rooted)
        EXPECT_EQ(l_r.expected, nubase::path_rooted(l_r.p, l_r.other))
            << l_r.p << " under " << l_r.other;
    const row3 l_unrooted[] = {
        {"/r/p", "r", "p"}, {"/r/p", "/r/", "p"}, {"/r//p", "r", "p"}, {"/rabc", "r", "abc"},
        {"/r/", "r", "/"},  {"/a/p", "r", "a/p"}, {"/p", "", "p"},     {"", "r", ""},
        {"/", "x", ""},     {"///", "/", "//"},   {"//x", "/", "x"},   {"r", "r", ""},
    };
    for (const auto& l_r : l_unrooted)
        EXPECT_EQ(l_r.expected, nubase::path_unrooted(l_r.p, l_r.other))
            << l_r.p << " from " << l_r.other;
    std::string l_p = "a/b";
    EXPECT_EQ("/r/a/b", nubase::path_root(l_p, "r"));
    EXPECT_EQ("b", nubase::path_unroot(l_p, "/r/a"));
    EXPECT_EQ("b", l_p);
}

TEST(Path, NormalizesComponents) {
    const std::pair<const char*, const char*> l_rows[] = {
        {"/a/./b/", "/a/b/"}, {"a/b/../c", "a/c"}, {"./a", "/a"}, {"../a", "../a"},
        {"../../a", "a"},     {"/..", ""},         {"a/..", ""},  {"", ""},
        {"/", "/"},           {".", ""},           {"a/.", "a/"}, {"//a//", "/a/"},
        {"...", "..."},
    };
    for (const auto& l_r : l_rows)
        EXPECT_EQ(l_r.second, nubase::path_normalized(l_r.first, '/')) << l_r.first;
    EXPECT_EQ("a\0b"s, nubase::path_normalized("a\0.\0b"s, '\0'));
    std::string l_win = "C:\\d\\..\\e\\.\\f";
    EXPECT_EQ("C:\\e\\f", nubase::path_normalize(l_win, '\\'));
    EXPECT_EQ("C:\\e\\f", l_win);
}

}  // namespace
