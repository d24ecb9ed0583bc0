// The library's own unit "nucore/parseopt": the option parser's rules and the help formatter's
// output, driven through counting callbacks.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "nubase/optparser.hpp"
#include "units/check.hpp"

namespace nucore {
namespace {

using nubase::arg::optparser;
constexpr char k_source[] = "lib/nubase/src/parseopt_tests";

// The declared options: long-only, short-only, and both, each group with the argument ranges
// 0..0, 1..1, 2..2 (long-only) or 0..1 (the others), 2..4 and 2..255.
struct option_row {
    int id;
    const char* long_name;
    unsigned min, max;
    const char* tag;
};
const option_row k_options[] = {
    {-99, "test0", 0, 0, "k_arg_just_long_version_0arg"},
    {-98, "test1", 1, 1, "k_arg_just_long_version_1arg"},
    {-97, "test2", 2, 2, "k_arg_just_long_version_2arg"},
    {-96, "test2_4", 2, 4, "k_arg_just_long_version_2_4arg"},
    {-95, "test2_n", 2, 255, "k_arg_just_long_version_2_narg"},
    {'i', nullptr, 0, 0, "k_arg_nolong_0arg"},
    {'j', nullptr, 1, 1, "k_arg_nolong_1arg"},
    {'k', nullptr, 0, 1, "k_arg_nolong_0_1arg"},
    {'l', nullptr, 2, 4, "k_arg_nolong_2_4arg"},
    {'m', nullptr, 2, 255, "k_arg_nolong_2_narg"},
    {'a', "aaa", 0, 0, "k_arg_0arg"},
    {'b', "bbb", 1, 1, "k_arg_1arg"},
    {'c', "ccc", 0, 1, "k_arg_0_1arg"},
    {'d', "ddd", 2, 4, "k_arg_2_4arg"},
    {'e', "eee", 2, 255, "k_arg_2_narg"},
};

// Counts its calls, checks each option's argument count against its declared range (free
// arguments come one at a time) and consumes everything it is given.
class functor : public nubase::arg::opt_functor {
  public:
    int operator()(int a_id, std::vector<const char*> a_args) override {
        ++m_calls;
        m_last_args.assign(a_args.begin(), a_args.end());
        if (a_id == 1) {
            NUBASE_CHECK(a_args.size() == 1, "free argument");
        } else {
            const option_row* l_row = nullptr;
            for (const auto& l_option : k_options) {
                if (l_option.id == a_id) l_row = &l_option;
            }
            NUBASE_CHECK(l_row != nullptr, "unexpected option");
            NUBASE_CHECK(a_args.size() >= l_row->min && a_args.size() <= l_row->max, l_row->tag);
        }
        return result(a_id, a_args);
    }

    int m_calls = 0;
    std::vector<std::string> m_last_args;

  protected:
    virtual int result(int, const std::vector<const char*>& a_args) {
        return static_cast<int>(a_args.size());
    }
};

// Returns a preset number for one option, to test partial consumption and stopping.
class functor2 : public functor {
  public:
    functor2(int a_id, int a_result) : m_id(a_id), m_result(a_result) {}

  protected:
    int result(int a_id, const std::vector<const char*>& a_args) override {
        return a_id == m_id ? m_result : static_cast<int>(a_args.size());
    }

  private:
    int m_id;
    int m_result;
};

// `parse` takes a mutable vector: each case parses a copy of its constant arguments.
char** g_dynamics = nullptr;
unsigned g_dynamics_count = 0;

void delete_dynamic() {
    for (unsigned l_index = 0; l_index < g_dynamics_count; ++l_index)
        std::free(g_dynamics[l_index]);
    delete[] g_dynamics;
    g_dynamics = nullptr;
    g_dynamics_count = 0;
}

void make_dynamic(unsigned a_count, const char* const* a_strings) {
    delete_dynamic();
    g_dynamics = new char*[a_count + 1];
    for (unsigned l_index = 0; l_index < a_count; ++l_index) {
        g_dynamics[l_index] = strdup(a_strings[l_index]);
    }
    g_dynamics[a_count] = nullptr;
    g_dynamics_count = a_count;
}

void declare(optparser& a_parser) {
    for (const auto& l_option : k_options) {
        a_parser.add_opt(l_option.id, l_option.long_name, l_option.min, l_option.max);
    }
}

// Parses "program" followed by `arguments` with every option declared; checks the result and
// the number of callbacks.
void expect_parse(functor& a_functor, std::vector<const char*> a_arguments, bool a_result,
                  int a_calls) {
    a_arguments.insert(a_arguments.begin(), "program");
    make_dynamic(static_cast<unsigned>(a_arguments.size()), a_arguments.data());
    optparser l_parser(&a_functor);
    declare(l_parser);
    bool l_parsed = false;
    try {
        l_parsed = l_parser.parse(g_dynamics_count, g_dynamics);
    } catch (...) {
        delete_dynamic();
        throw;
    }
    delete_dynamic();
    NUBASE_CHECK(l_parsed == a_result, a_result ? "parse failed" : "parse succeeded");
    NUBASE_CHECK(a_functor.m_calls == a_calls, "wrong number of calls");
}

void expect_parse(std::vector<const char*> a_arguments, bool a_result, int a_calls) {
    functor l_functor;
    expect_parse(l_functor, std::move(a_arguments), a_result, a_calls);
}

void create() {
    functor l_functor;
    const optparser l_parser(&l_functor);
    NUBASE_CHECK(l_parser.begin() == l_parser.end(), "table not empty");
    NUBASE_CHECK(l_parser.get("aaa") == l_parser.end(), "found an undeclared option");
    NUBASE_CHECK(l_parser.get_indentation() == 1, "indentation level");
    NUBASE_CHECK(l_parser.get_text_line_width() == 80, "text line width");
    NUBASE_CHECK(!l_parser.is_html_output(), "html output");
    NUBASE_CHECK(l_functor.stopped_at() == 0, "stopped_at");
}

void add_opts() {
    functor l_functor;
    optparser l_parser(&l_functor);
    declare(l_parser);
    const auto l_ccc = l_parser.get("ccc");
    NUBASE_CHECK(l_ccc != l_parser.end() && l_ccc->first == 'c', "k_arg_0_1arg");
    NUBASE_CHECK(l_ccc->second.min() == 0 && l_ccc->second.max() == 1, "k_arg_0_1arg");
    NUBASE_CHECK(l_parser.get("test2_n")->first == -95, "k_arg_just_long_version_2_narg");
    // Redeclaring replaces the limits and the long name.
    l_parser.add_opt('c', "see", 3, 1);
    NUBASE_CHECK(l_parser.get("ccc") == l_parser.end(), "old long name still found");
    NUBASE_CHECK(l_parser.get("see")->second.max() == 3, "max not raised to min");
}

// Runs `body` with the help output captured; returns what it wrote.
template <class Body>
std::string capture_help(bool a_html, Body a_body) {
    functor l_functor;
    optparser l_parser(&l_functor);
    declare(l_parser);
    if (a_html) l_parser.set_html_output();
    std::FILE* l_file = std::tmpfile();
    NUBASE_CHECK(l_file != nullptr, "tmpfile");
    l_parser.set_output(l_file);
    a_body(l_parser);
    std::string l_text;
    std::rewind(l_file);
    char l_chunk[256];
    std::size_t l_size;
    while ((l_size = std::fread(l_chunk, 1, sizeof l_chunk, l_file)) > 0)
        l_text.append(l_chunk, l_size);
    std::fclose(l_file);
    return l_text;
}

void add_desc() {
    const std::string l_option =
        capture_help(false, [](optparser& p) { p.add_desc('a', "x!X!y"); });
    NUBASE_CHECK(l_option == "\033[20C\033[1m-a\n\033[0m\033[17C\033[1m--aaa  \033[0mx!y\n",
                 "terminal option header");
    const std::string l_html =
        capture_help(true, [](optparser& p) { p.add_desc(-99, "a<b !S!c!SE!!"); });
    NUBASE_CHECK(l_html == "               <strong>--test0  </strong>a&lt;b <strong>c</strong>\n",
                 "html option header");
    const std::string l_none = capture_help(false, [](optparser& p) { p.add_desc(7, "x"); });
    NUBASE_CHECK(l_none.empty(), "undeclared option described");
}

void parse1() {
    expect_parse({"-a", "nope"}, true, 2);
}
void parse3() {
    expect_parse({"-a", "-b"}, false, 1);
}
void parse4() {
    expect_parse({"-a", "-b", "yes"}, true, 2);
}
void parse5() {
    expect_parse({"-a", "-d", "yes"}, false, 1);
}
void parse5_2() {
    expect_parse({"-a", "-d", "yes", "again"}, true, 2);
}
void parse6() {
    expect_parse({"--aaa", "nope"}, true, 2);
}
void parse8() {
    expect_parse({"--aaa", "--bbb"}, false, 1);
}
void parse9() {
    expect_parse({"--aaa", "--bbb", "yes"}, true, 2);
}
void parse10() {
    expect_parse({"--aaa", "--ddd", "yes"}, false, 1);
}
void parse11() {
    expect_parse({"--aaa", "--ddd", "yes", "again"}, true, 2);
}
void parse12() {
    expect_parse({"--aaa", "--ddd", "yes", "again", "and", "again", "and", "again"}, true, 4);
}
void parse13() {
    functor l_functor;
    expect_parse(l_functor, {"-e", "arg1", "arg2", "arg3", "arg4", "arg5"}, true, 1);
    NUBASE_CHECK(l_functor.m_last_args.size() == 5, "k_arg_2_narg");
}
// A long option with comma-separated values after "=": the parser takes the whole text after
// the dashes as the option's name, so these two fail by design.
void parse14() {
    expect_parse({"--ddd=yes,again,and,again"}, true, 1);
}
void parse15() {
    expect_parse({"--aaa", "--ddd=yes,again,and,again"}, true, 2);
}
void parse16() {
    functor2 l_functor('e', 2);  // hands arg3 .. arg5 back as free arguments
    expect_parse(l_functor, {"-e", "arg1", "arg2", "arg3", "arg4", "arg5"}, true, 4);
    NUBASE_CHECK(l_functor.m_last_args == std::vector<std::string>{"arg5"}, "free argument");
}
void parse17() {
    functor2 l_functor('e', 4);  // hands arg5 back
    expect_parse(l_functor, {"-e", "arg1", "arg2", "arg3", "arg4", "arg5"}, true, 2);
}
void parse18() {
    functor l_functor;
    expect_parse(l_functor,
                 {"--aaa", "-c=3", "--ccc", "4", "--test0", "--test1", "hej", "what?", "-ij1",
                  "--test2_n", "yes", "again", "and", "again"},
                 true, 9);
    NUBASE_CHECK(l_functor.m_last_args.size() == 4, "k_arg_just_long_version_2_narg");
}
void parse19() {
    functor l_negative;
    expect_parse(l_negative, {"-b", "-5"}, true, 1);
    NUBASE_CHECK(l_negative.m_last_args == std::vector<std::string>{"-5"}, "k_arg_1arg");
    functor l_dash;
    expect_parse(l_dash, {"--bbb", "-"}, true, 1);
    NUBASE_CHECK(l_dash.m_last_args == std::vector<std::string>{"-"}, "k_arg_1arg");
}
void parse20() {
    functor2 l_functor('b', -1);
    expect_parse(l_functor, {"-a", "-b", "x", "-c"}, true, 2);
    NUBASE_CHECK(l_functor.stopped_at() == 'b', "stopped_at");
}
void parse21() {
    functor2 l_functor(1, -1);
    expect_parse(l_functor, {"x", "y"}, true, 1);
    NUBASE_CHECK(l_functor.stopped_at() == 1, "stopped_at");
}
void parse30() {
    functor2 l_functor(1, -1);  // after "--" a stop request is ignored
    expect_parse(l_functor, {"-a", "--", "-a", "--bbb"}, true, 3);
    NUBASE_CHECK(l_functor.m_last_args == std::vector<std::string>{"--bbb"}, "free argument");
    NUBASE_CHECK(l_functor.stopped_at() == 0, "stopped_at");
}
void parse31() {
    expect_parse({"-a", "-z"}, false, 1);
    expect_parse({"--zzz"}, false, 0);
}

struct t__unit__parseopt : nubase::test::unit {
    t__unit__parseopt() : unit("nucore", "parseopt") {
        testcase("create", &create);
        testcase("add_opts", &add_opts);
        testcase("add_desc", &add_desc);
        testcase("parse1", &parse1);
        testcase("parse3", &parse3);
        testcase("parse4", &parse4);
        testcase("parse5", &parse5);
        testcase("parse5_2", &parse5_2);
        testcase("parse6", &parse6);
        testcase("parse8", &parse8);
        testcase("parse9", &parse9);
        testcase("parse10", &parse10);
        testcase("parse11", &parse11);
        testcase("parse12", &parse12);
        testcase("parse13", &parse13);
        testcase("parse14", &parse14);
        testcase("parse15", &parse15);
        testcase("parse16", &parse16);
        testcase("parse17", &parse17);
        testcase("parse18", &parse18);
        testcase("parse19", &parse19);
        testcase("parse20", &parse20);
        testcase("parse21", &parse21);
        testcase("parse30", &parse30);
        testcase("parse31", &parse31);
        const char* const l_reason =
            "a long option's name is the whole text after the dashes; \"=\" does not split it";
        expect_failure("parse14", l_reason);
        expect_failure("parse15", l_reason);
    }
} g__unit__parseopt;

}  // namespace
}  // namespace nucore
