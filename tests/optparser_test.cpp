// The option parser's rules and the help formatter's exact output.
#include "nubase/optparser.hpp"

#include "capture.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

using nubase::arg::optparser;

// Records every callback as "id:arg,arg" (a letter id as the letter); answers with preset results.
struct recorder : nubase::arg::opt_functor {
    int operator()(int id, std::vector<const char*> args) override {
        std::string call =
            (id >= 'a' && id <= 'z' ? std::string(1, char(id)) : std::to_string(id)) + ":";
        for (std::size_t i = 0; i < args.size(); ++i)
            call += (i ? "," : "") + std::string(args[i]);
        calls.push_back(call);
        const auto preset = results.find(id);
        return preset != results.end() ? preset->second : static_cast<int>(args.size());
    }
    std::vector<std::string> calls;
    std::map<int, int> results;
};

struct parse_run {
    bool result;
    std::vector<std::string> calls;
    std::string errors;
    int stopped;
};

parse_run parse(std::vector<std::string> args, std::map<int, int> results = {}) {
    recorder r;
    r.results = std::move(results);
    optparser p(&r);
    p.add_opt('a', "aaa", 0, 0);
    p.add_opt('b', "bbb", 1, 1);
    p.add_opt('c', "ccc", 0, 1);
    p.add_opt('d', "ddd", 2, 4);
    p.add_opt('e', "eee", 2, 255);
    p.add_opt(-1, "l0", 0, 0);
    p.add_opt(-2, "l1", 1, 1);
    p.add_opt(-3, "l2n", 2, 255);
    p.add_opt('i', nullptr, 0, 0);
    p.add_opt('j', nullptr, 1, 1);
    args.insert(args.begin(), "prog");
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    testing::internal::CaptureStderr();
    const bool result = p.parse(static_cast<unsigned>(argv.size()), argv.data());
    return {result, r.calls, testing::internal::GetCapturedStderr(), r.stopped_at()};
}

TEST(OptParser, ParseRules) {
    using calls = std::vector<std::string>;
    struct row {
        std::vector<std::string> args;
        bool result;
        calls expected;
        std::string errors;
        std::map<int, int> results = {};  // callback results other than the argument count
        int stopped = 0;
    };
    const row rows[] = {
        {{"-a", "nope"}, true, {"a:", "1:nope"}, ""},
        {{"-a", "-b"}, false, {"a:"}, "*** too few arguments for option `b'\n"},
        {{"-a", "-b", "yes"}, true, {"a:", "b:yes"}, ""},
        {{"--aaa", "--bbb"}, false, {"a:"}, "*** too few arguments for option `bbb'\n"},
        {{"--aaa", "--ddd", "yes", "again", "and", "again", "and", "again"},
         true,
         {"a:", "d:yes,again,and,again", "1:and", "1:again"},
         ""},
        // Long names are taken whole: no "=" splitting.
        {{"--ddd=yes,again"}, false, {}, "*** no such option `ddd=yes,again'\n"},
        {{"-z"}, false, {}, "*** no such option `z'\n"},
        // "-" and "-5" are arguments where arguments are gathered; "-" alone is ignored.
        {{"-b", "-5", "-", "--bbb", "-"}, true, {"b:-5", "b:-"}, ""},
        {{"-"}, true, {}, ""},
        // Short groups: flags go on, an option with arguments ends the group.
        {{"-ai", "-c=3", "-ij1"}, true, {"a:", "i:", "c:=3", "i:", "j:1"}, ""},
        {{"-cb"}, true, {"c:b"}, ""},
        {{"-c", "--l2n", "x"}, false, {"c:"}, "*** too few arguments for option `l2n'\n"},
        {{"--ccc", "4", "--l0", "--l1", "hej", "what?", "--l2n", "yes", "again", "and"},
         true,
         {"c:4", "-1:", "-2:hej", "1:what?", "-3:yes,again,and"},
         ""},
        // "--" ends the options; every later element is a free argument.
        {{"-a", "--", "-b", "--", "x"}, true, {"a:", "1:-b", "1:--", "1:x"}, ""},
        // Arguments a callback did not consume are handed back as free arguments, but an
        // attached one consumed no element: nothing re-reads the same element.
        {{"-e", "u", "v", "w", "x", "y"},
         true,
         {"e:u,v,w,x,y", "1:w", "1:x", "1:y"},
         "",
         {{'e', 2}}},
        {{"--eee", "u", "v", "w", "x", "y"}, true, {"e:u,v,w,x,y", "1:y"}, "", {{'e', 4}}},
        {{"-c=3", "x"}, true, {"c:=3", "1:x"}, "", {{'c', 1}}},
        {{"-c", "x"}, true, {"c:x", "1:x"}, "", {{'c', 0}}},
        {{"-c=3", "y"}, true, {"c:=3", "1:y"}, "", {{'c', 0}}},
        // A result of -1 stops the parse with success, except after "--".
        {{"-a", "-b", "x", "-a"}, true, {"a:", "b:x"}, "", {{'b', -1}}, 'b'},
        {{"x", "y"}, true, {"1:x"}, "", {{1, -1}}, 1},
        {{"--", "x", "y", "z"}, true, {"1:x", "1:y", "1:z"}, "", {{1, -1}}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::PrintToString(r.args));
        const parse_run run = parse(r.args, r.results);
        EXPECT_EQ(r.result, run.result);
        EXPECT_EQ(r.expected, run.calls);
        EXPECT_EQ(r.errors, run.errors);
        EXPECT_EQ(r.stopped, run.stopped);
    }
}

TEST(OptParser, TableLookupAndRedeclaration) {
    recorder r;
    optparser p(&r);
    p.add_opt(5, "same", 0, 0);
    p.add_opt(-7, "same", 1, 1);
    EXPECT_EQ(-7, p.get("same")->first) << "the lowest id wins";
    p.add_opt(-7, "other", 3, 2);
    EXPECT_EQ(5, p.get("same")->first);
    EXPECT_EQ(3u, p.get("other")->second.max()) << "max below min is raised to min";
    EXPECT_EQ(p.end(), p.get("missing"));
    EXPECT_EQ(p.end(), p.get(nullptr));
}

// What the help formatter writes for `body` on a parser with a few kinds of option.
template <class Body>
std::string help(bool html, Body body, unsigned width = 80, bool plain = false) {
    recorder r;
    optparser p(&r);
    p.add_opt('a', "aaa", 0, 0);
    p.add_opt(-1, "only-long", 0, 0);
    p.add_opt('x', nullptr, 0, 0);
    p.add_opt('t', "a-twenty-char-name-x", 0, 0);
    p.set_text_line_width(width);
    if (html) p.set_html_output();
    if (plain) p.set_plain_output();
    std::FILE* f = std::tmpfile();
    p.set_output(f);
    body(p);
    return read_and_close(f);
}

TEST(HelpFormatter, DescriptionsInBothModes) {
    const struct {
        const char* what;
        bool html;
        int id;  // 0: a paragraph without an option
        std::string text, expected;
        unsigned width = 80;
    } rows[] = {
        {"short and long", false, 'a', "text",
         "\033[20C\033[1m-a\n\033[0m\033[17C\033[1m--aaa  \033[0mtext\n"},
        {"long only", false, -1, "text", "\033[11C\033[1m--only-long  \033[0mtext\n"},
        {"short only", false, 'x', "text", "\033[20C\033[1m-x  \033[0mtext\n"},
        {"long name of 20", false, 't', "text",
         "\033[20C\033[1m-t\n\033[0m\033[0C\033[1m--a-twenty-char-name-x  \033[0mtext\n"},
        {"html short and long", true, 'a', "text",
         std::string(20, ' ') + "<strong>-a\n</strong>" + std::string(17, ' ') +
             "<strong>--aaa  </strong>text\n"},
        {"undeclared", false, 'q', "text", ""},
        {"unknown code", false, 0, "a!X!b", "\033[0Ca!b\n"},
        {"styles", false, 0, "!S!bold!SE! !SA!u!SAE!!SAA!v!SAAE!",
         "\033[0C\033[1mbold\033[0m \033[4mu\033[0m\033[4mv\033[0m\n"},
        {"quotes", false, 0, "!Q!q!QE!", "\033[0C\"q\"\n"},
        {"angles", false, 0, "!LT!x!GT!", "\033[0C&lt;x&gt;\n"},
        {"html angles", true, 0, "!LT!x!GT!", "&amp;lt;x&amp;gt;\n"},
        {"codes are exact; a trailing mark", false, 0, "!s!Sx!", "\033[0CsSx\n"},
        // Wrapping at the width; markup does not count towards the column.
        {"the last space that fits", false, 0, "aaaa bbbb cccc dddd",
         "\033[0Caaaa bbbb cccc\n\033[0Cdddd\n", 16},
        {"a space exactly at the width", false, 0, "aaaaaaaaaaaaaaaaaaa b",
         "\033[0Caaaaaaaaaaaaaaaaaaa\n\033[0Cb\n", 19},
        {"a word longer than the room, then a break", false, 0, "xxxxxxxxxxxxxxxxxxxxxxxxx",
         "\033[0Cxxxxxxxxxxxxxxxxxxxxxxxxx\n\033[0C\n", 20},
        {"no space within the room: the first beyond it", false, 0, "xxxxxxxxxxxxxxxxxxxxxxxx yy",
         "\033[0Cxxxxxxxxxxxxxxxxxxxxxxxx\n\033[0Cyy\n", 20},
        {"option text continues at column 24", false, 'x', "!S!ab!SE! cd ef",
         "\033[20C\033[1m-x  \033[0m\033[1mab\033[0m cd\n\033[24Cef\n", 30},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        const auto describe = [&](optparser& p) {
            r.id ? p.add_desc(r.id, r.text.c_str()) : p.add_desc(r.text.c_str());
        };
        EXPECT_EQ(r.expected, help(r.html, describe, r.width));
    }
    EXPECT_EQ("a&lt;b&amp;c&gt;", help(true, [](optparser& p) { p.print("a<b&c>"); }));
}

// The plain form is the terminal form with each cursor move "\033[nC" written as n spaces, and
// without attributes or screen clearing; HTML is not affected by it.
TEST(HelpFormatter, PlainFormIsTheTerminalLayoutWithSpaces) {
    const auto body = [](optparser& p) {
        p.clear_screen();
        p.add_desc_indent1("NAME");
        p.add_desc('a', "!S!bold!SE! and !SA!under!SAE! text that wraps along here");
        p.add_desc_indent2(nullptr);
        p.add_desc("para");
    };
    std::string expected = help(false, body, 30);
    for (std::size_t at; (at = expected.find('\033')) != std::string::npos;) {
        const std::size_t end = expected.find_first_of("CmJH", at);
        const std::string code = expected.substr(at + 2, end - at - 2);
        expected.replace(at, end - at + 1,
                         expected[end] == 'C' ? std::string(std::stoul(code), ' ') : "");
    }
    EXPECT_EQ(expected, help(false, body, 30, true));
    EXPECT_EQ(help(true, body, 30), help(true, body, 30, true));
}

TEST(HelpFormatter, PlainParagraphsAndIndentation) {
    EXPECT_EQ("\033[0C\033[1mNAME\n\033[0m",
              help(false, [](optparser& p) { p.add_desc_indent1("NAME"); }));
    EXPECT_EQ("\033[8Cpara\n", help(false, [](optparser& p) {
                  p.add_desc_indent2(nullptr);
                  p.add_desc("para");
              }));
    EXPECT_EQ("<h3>" + std::string(16, ' ') + "T</h3>\n",
              help(true, [](optparser& p) { p.add_desc_indent3("T"); }));
    EXPECT_EQ(std::string(8, ' ') + "<strong>T\n</strong>",
              help(true, [](optparser& p) { p.add_desc_indent2("T"); }));
    EXPECT_EQ("<h4>" + std::string(24, ' ') + "<u>u</u></h4>\n", help(false, [](optparser& p) {
                  p.add_desc_indent4(nullptr);
                  p.add_html_underline_h4("u");
              }));
    // Option descriptions leave the level at 4.
    EXPECT_EQ("\033[11C\033[1m--only-long  \033[0ma\n\033[24Cb\n", help(false, [](optparser& p) {
                  p.add_desc(-1, "a");
                  p.add_desc("b");
              }));

    recorder r;
    optparser p(&r);
    p.set_indentation(0);
    EXPECT_EQ(1u, p.get_indentation()) << "levels below 2 are 1";
    EXPECT_EQ(0u, p.get_indentation_column());
}

}  // namespace
