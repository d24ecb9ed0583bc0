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

// Records every callback as "id:arg,arg" and answers with preset results.
struct recorder : nubase::arg::opt_functor {
    int operator()(int id, std::vector<const char*> args) override {
        std::string call = std::to_string(id) + ":";
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
    return {result, r.calls, testing::internal::GetCapturedStderr()};
}

TEST(OptParser, ParseRules) {
    using calls = std::vector<std::string>;
    struct row {
        std::vector<std::string> args;
        bool result;
        calls expected;
        std::string errors;
    };
    const int a = 'a', b = 'b', c = 'c', d = 'd', e = 'e', i = 'i', j = 'j';
    const auto id = [](int n, const std::string& rest) { return std::to_string(n) + ":" + rest; };
    const row rows[] = {
        {{"-a", "nope"}, true, {id(a, ""), "1:nope"}, ""},
        {{"-a", "-b"}, false, {id(a, "")}, "*** too few arguments for option `b'\n"},
        {{"-a", "-b", "yes"}, true, {id(a, ""), id(b, "yes")}, ""},
        {{"-a", "-d", "yes"}, false, {id(a, "")}, "*** too few arguments for option `d'\n"},
        {{"--aaa", "--bbb"}, false, {id(a, "")}, "*** too few arguments for option `bbb'\n"},
        {{"--aaa", "--ddd", "yes", "again", "and", "again", "and", "again"},
         true,
         {id(a, ""), id(d, "yes,again,and,again"), "1:and", "1:again"},
         ""},
        // Long names are taken whole: no "=" splitting.
        {{"--ddd=yes,again"}, false, {}, "*** no such option `ddd=yes,again'\n"},
        {{"-z"}, false, {}, "*** no such option `z'\n"},
        // "-" and "-5" are arguments where arguments are gathered; "-" alone is ignored.
        {{"-b", "-5", "-", "--bbb", "-"}, true, {id(b, "-5"), id(b, "-")}, ""},
        {{"-"}, true, {}, ""},
        // Short groups: flags go on, an option with arguments ends the group.
        {{"-ai", "-c=3", "-ij1"},
         true,
         {id(a, ""), id(i, ""), id(c, "=3"), id(i, ""), id(j, "1")},
         ""},
        {{"-cb"}, true, {id(c, "b")}, ""},
        {{"-c", "--l2n", "x"}, false, {id(c, "")}, "*** too few arguments for option `l2n'\n"},
        {{"--aaa", "-c=3", "--ccc", "4", "--l0", "--l1", "hej", "what?", "-ij1", "--l2n", "yes",
          "again", "and", "again"},
         true,
         {id(a, ""), id(c, "=3"), id(c, "4"), "-1:", "-2:hej", "1:what?", id(i, ""), id(j, "1"),
          "-3:yes,again,and,again"},
         ""},
        // "--" ends the options; every later element is a free argument.
        {{"-a", "--", "-b", "--", "x"}, true, {id(a, ""), "1:-b", "1:--", "1:x"}, ""},
        {{"-e", "a1", "a2", "a3", "a4", "a5"}, true, {id(e, "a1,a2,a3,a4,a5")}, ""},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::PrintToString(r.args));
        const parse_run run = parse(r.args);
        EXPECT_EQ(r.result, run.result);
        EXPECT_EQ(r.expected, run.calls);
        EXPECT_EQ(r.errors, run.errors);
    }
}

TEST(OptParser, CallbacksHandArgumentsBack) {
    const int e = 'e', c = 'c';
    // Consuming 2 of 5 hands the other three back as free arguments.
    EXPECT_EQ(
        (std::vector<std::string>{std::to_string(e) + ":a1,a2,a3,a4,a5", "1:a3", "1:a4", "1:a5"}),
        parse({"-e", "a1", "a2", "a3", "a4", "a5"}, {{e, 2}}).calls);
    EXPECT_EQ((std::vector<std::string>{std::to_string(e) + ":a1,a2,a3,a4,a5", "1:a5"}),
              parse({"--eee", "a1", "a2", "a3", "a4", "a5"}, {{e, 4}}).calls);
    // An attached argument consumed no element: consuming 1 of "=3","x" re-reads "x".
    EXPECT_EQ((std::vector<std::string>{std::to_string(c) + ":=3", "1:x"}),
              parse({"-c=3", "x"}, {{c, 1}}).calls);
    // Consuming nothing of a gathered argument hands it back.
    EXPECT_EQ((std::vector<std::string>{std::to_string(c) + ":x", "1:x"}),
              parse({"-c", "x"}, {{c, 0}}).calls);
    // Nothing re-reads the same element: an attached argument left unconsumed is dropped.
    EXPECT_EQ((std::vector<std::string>{std::to_string(c) + ":=3", "1:y"}),
              parse({"-c=3", "y"}, {{c, 0}}).calls);
}

TEST(OptParser, StopRequests) {
    recorder r;
    r.results = {{'b', -1}};
    optparser p(&r);
    p.add_opt('a', "aaa", 0, 0);
    p.add_opt('b', "bbb", 1, 1);
    std::vector<std::string> args = {"prog", "-a", "-b", "x", "-a"};
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());
    EXPECT_TRUE(p.parse(static_cast<unsigned>(argv.size()), argv.data()));
    EXPECT_EQ('b', r.stopped_at());
    EXPECT_EQ(2u, r.calls.size());

    EXPECT_TRUE(parse({"x", "y"}, {{1, -1}}).result);
    EXPECT_EQ(1u, parse({"x", "y"}, {{1, -1}}).calls.size());
    // After "--" a stop request is ignored.
    EXPECT_EQ(3u, parse({"--", "x", "y", "z"}, {{1, -1}}).calls.size());
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

// Runs `body` against a parser with options a/aaa, long-only "html-only", short-only 'x', and
// returns what the help formatter wrote.
template <class Body>
std::string help(bool html, Body body, unsigned width = 80) {
    recorder r;
    optparser p(&r);
    p.add_opt('a', "aaa", 0, 0);
    p.add_opt(-1, "only-long", 0, 0);
    p.add_opt('x', nullptr, 0, 0);
    p.add_opt('t', "a-twenty-char-name-x", 0, 0);
    p.set_text_line_width(width);
    if (html) p.set_html_output();
    std::FILE* f = std::tmpfile();
    p.set_output(f);
    body(p);
    return read_and_close(f);
}

TEST(HelpFormatter, OptionHeadersInBothModes) {
    struct row {
        const char* what;
        bool html;
        int id;
        std::string expected;
    };
    const row rows[] = {
        {"short and long", false, 'a',
         "\033[20C\033[1m-a\n\033[0m\033[17C\033[1m--aaa  \033[0mtext\n"},
        {"long only", false, -1, "\033[11C\033[1m--only-long  \033[0mtext\n"},
        {"short only", false, 'x', "\033[20C\033[1m-x  \033[0mtext\n"},
        {"long name of 20", false, 't',
         "\033[20C\033[1m-t\n\033[0m\033[0C\033[1m--a-twenty-char-name-x  \033[0mtext\n"},
        {"html short and long", true, 'a',
         std::string(20, ' ') + "<strong>-a\n</strong>" + std::string(17, ' ') +
             "<strong>--aaa  </strong>text\n"},
        {"html short only", true, 'x', std::string(20, ' ') + "<strong>-x  </strong>text\n"},
        {"undeclared", false, 'q', ""},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        EXPECT_EQ(r.expected, help(r.html, [&](optparser& p) { p.add_desc(r.id, "text"); }));
    }
}

TEST(HelpFormatter, PlainParagraphsAndIndentation) {
    EXPECT_EQ("\033[0Ctext\n", help(false, [](optparser& p) { p.add_desc("text"); }));
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
    for (unsigned level : {0u, 1u}) {
        p.set_indentation(level);
        EXPECT_EQ(1u, p.get_indentation());
        EXPECT_EQ(0u, p.get_indentation_column());
    }
    p.set_indentation(3);
    EXPECT_EQ(16u, p.get_indentation_column());
}

TEST(HelpFormatter, MarkupCodes) {
    struct row {
        const char* text;
        bool html;
        std::string expected;
    };
    const row rows[] = {
        {"a!X!b", false, "a!b"},
        {"The Option parser parses options!", false, "The Option parser parses options"},
        {"!S!bold!SE! !SA!u!SAE!!SAA!v!SAAE!", false,
         "\033[1mbold\033[0m \033[4mu\033[0m\033[4mv\033[0m"},
        {"!Q!q!QE!", false, "\"q\""},
        {"!LT!x!GT!", false, "&lt;x&gt;"},
        {"!LT!x!GT!", true, "&amp;lt;x&amp;gt;"},
        {"!S!b!SE!", true, "<strong>b</strong>"},
        {"!s!Sx!", false, "sSx"},
        {"a<b&c", true, "a&lt;b&amp;c"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.text);
        const std::string prefix = r.html ? "" : "\033[0C";
        EXPECT_EQ(prefix + r.expected + "\n",
                  help(r.html, [&](optparser& p) { p.add_desc(r.text); }));
    }
    EXPECT_EQ("a&lt;b&amp;c&gt;", help(true, [](optparser& p) { p.print("a<b&c>"); }));
}

TEST(HelpFormatter, WrapsAtTheWidth) {
    // Width 16 at column 0: the line breaks at the last space that fits.
    EXPECT_EQ("\033[0Caaaa bbbb cccc\n\033[0Cdddd\n",
              help(
                  false, [](optparser& p) { p.add_desc("aaaa bbbb cccc dddd"); }, 16));
    // A break exactly at the width: the space at index 20 - c is still used.
    EXPECT_EQ("\033[0Caaaaaaaaaaaaaaaaaaa\n\033[0Cb\n",
              help(
                  false, [](optparser& p) { p.add_desc("aaaaaaaaaaaaaaaaaaa b"); }, 19));
    // A word longer than the room is printed whole and followed by a break.
    EXPECT_EQ("\033[0Cxxxxxxxxxxxxxxxxxxxxxxxxx\n\033[0C\n",
              help(
                  false, [](optparser& p) { p.add_desc("xxxxxxxxxxxxxxxxxxxxxxxxx"); }, 20));
    // With no space within the room the line breaks at the first space beyond it.
    EXPECT_EQ("\033[0Cxxxxxxxxxxxxxxxxxxxxxxxx\n\033[0Cyy\n",
              help(
                  false, [](optparser& p) { p.add_desc("xxxxxxxxxxxxxxxxxxxxxxxx yy"); }, 20));
    // Option text continues at column 24, markup does not count towards the column.
    EXPECT_EQ("\033[20C\033[1m-x  \033[0m\033[1mab\033[0m cd\n\033[24Cef\n",
              help(
                  false, [](optparser& p) { p.add_desc('x', "!S!ab!SE! cd ef"); }, 30));
}

}  // namespace
