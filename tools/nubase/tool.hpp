// tools/nubase/tool.hpp - the pieces shared by the commands of the `nubase` tool.
//
// Every command is a `command` entry: its options are declared on a library `arg::optparser`,
// its manual page is written through the same parser's help formatter, and its run function gets
// the parsed arguments. Exit codes are the same for every command:
//   0  success
//   1  nothing found (`probe`: a file without a timecode track)
//   2  a user error (bad option, bad value, missing or unreadable file) or a malformed file
// `run` exits with the child's own status instead.
#ifndef NUBASE_TOOL_TOOL_HPP
#define NUBASE_TOOL_TOOL_HPP

#include <initializer_list>
#include <map>
#include <utility>
#include <string>
#include <vector>

#include "nubase/optparser.hpp"

namespace nubase_tool {

constexpr int k_exit_ok = 0;
constexpr int k_exit_not_found = 1;
constexpr int k_exit_usage = 2;

// Option ids shared by every command: --help (-h) and --html; and the tool's own --roff and
// --bash-completion, which write the installed manual page and completion script.
constexpr int k_opt_help = 'h';
constexpr int k_opt_html = -100;
constexpr int k_opt_roff = -101;
constexpr int k_opt_completion = -102;

// Collects a parse: free arguments in order, and each option's arguments (the last occurrence
// wins). Consumes everything it is given.
class arguments : public nubase::arg::opt_functor {
  public:
    int operator()(int a_id, std::vector<const char*> a_args) override;

    bool has(int a_id) const { return m_options.count(a_id) != 0; }
    // The option's first argument, or "" when it has none.
    const std::string& value(int a_id) const;

    std::vector<std::string> m_free;
    std::map<int, std::vector<std::string>> m_options;
};

// Option ids with their descriptions, the one source of --help, the man page and completion.
using option_texts = std::vector<std::pair<int, const char*>>;

struct command {
    const char* name;
    const char* synopsis;     // "probe FILE..."
    const char* summary;      // one line for the command list
    const char* description;  // the DESCRIPTION paragraph, with the formatter's "!" markup
    // Declares the command's own options (--help and --html are declared for every command).
    void (*declare)(nubase::arg::optparser& a_parser);
    // Their descriptions, in the order the manual lists them (with the formatter's "!" markup).
    option_texts (*describe)();
    // Runs the command; returns the exit code.
    int (*run)(const arguments& a_args);
    // The most free arguments the command takes; more are refused before it runs.
    unsigned max_free = ~0u;
};

// The command table, in the order the manual lists them.
const std::vector<command>& commands();

// Prints "*** <message>" on standard error and returns k_exit_usage.
int user_error(const std::string& a_message);

// Describes options in the OPTIONS section: `add_desc(id, text)` and a paragraph break each.
void describe_options(nubase::arg::optparser& a_parser, const option_texts& a_options);

// Writes the manual page of the tool (null command) or of one command, fitted to the terminal.
void print_manual(const command* a_command, bool a_html);
// The manual page of the tool and every command as roff (the installed nubase.1).
void print_roff_manual();
// A bash completion script for the commands and their options.
void print_bash_completion();

// The commands.
int run_probe(const arguments& a_args);
int run_retc(const arguments& a_args);
int run_tc(const arguments& a_args);
int run_url(const arguments& a_args);
int run_base64(const arguments& a_args);
int run_hex(const arguments& a_args);
int run_scan(const arguments& a_args);
int run_run(const arguments& a_args);
int run_sysinfo(const arguments& a_args);
int run_selftest(const arguments& a_args);
int run_demo(const arguments& a_args);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_TOOL_HPP
