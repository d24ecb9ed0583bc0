// nubase - a command-line toolbox for media engineers, written on libnubase.
//
//   nubase COMMAND [OPTIONS] [ARGUMENTS]
//   nubase --help [--html]          the manual page
//   nubase COMMAND --help [--html]  one command's manual page
#include <algorithm>
#include <cstdio>
#include <cerrno>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "nubase/es.hpp"
#include "nubase/optparser.hpp"
#include "tool.hpp"

namespace nubase_tool {

namespace {

// The option parser passes over a lone "-"; the tool hands it over as this stand-in (recognised
// by its address, never by its text) so that "-" can name standard input.
char k_lone_dash[] = "(standard input)";

}  // namespace

int arguments::operator()(int a_id, std::vector<const char*> a_args) {
    if (a_id == 1) {
        m_free.emplace_back(a_args.empty() ? "" : a_args[0] == k_lone_dash ? "-" : a_args[0]);
    } else {
        m_options[a_id].assign(a_args.begin(), a_args.end());
    }
    return static_cast<int>(a_args.size());
}

const std::string& arguments::value(int a_id) const {
    static const std::string s_none;
    const auto l_iter = m_options.find(a_id);
    return l_iter == m_options.end() || l_iter->second.empty() ? s_none : l_iter->second.front();
}

int user_error(const std::string& a_message) {
    std::fprintf(stderr, "*** %s\n", a_message.c_str());
    return k_exit_usage;
}

namespace {

void declare_common(nubase::arg::optparser& a_parser) {
    a_parser.add_opt(k_opt_help, "help", 0, 0);
    a_parser.add_opt(k_opt_html, "html", 0, 0);
}

// The arguments as the library's parser takes them, from the GNU forms a user types: a long
// option's "--name=value" becomes "--name" "value" (refused for an option without arguments),
// and a lone "-" (standard input, which the parser passes over) becomes the stand-in above.
// Nothing changes behind "--".
bool gnu_arguments(const nubase::arg::optparser& a_parser, int a_argc, char** a_argv,
                   std::vector<std::string>& a_storage, std::vector<char*>& a_out,
                   std::string& a_error) {
    a_storage.reserve(static_cast<std::size_t>(a_argc) * 2);
    a_out.assign(a_argv, a_argv + 1);
    bool l_options = true;
    for (int l_i = 1; l_i < a_argc; ++l_i) {
        const std::string l_arg = a_argv[l_i];
        const std::size_t l_equals = l_arg.find('=');
        if (l_options && l_arg == "--") l_options = false;
        if (l_options && l_arg == "-") {
            a_out.push_back(k_lone_dash);
        } else if (l_options && l_arg.compare(0, 2, "--") == 0 && l_equals != std::string::npos) {
            const std::string l_name = l_arg.substr(2, l_equals - 2);
            const auto l_opt = std::find_if(a_parser.begin(), a_parser.end(), [&](const auto& a_o) {
                return a_o.second.long_version() != nullptr && l_name == a_o.second.long_version();
            });
            if (l_opt == a_parser.end()) {
                a_error = "no such option '--" + l_name + "'";
                return false;
            }
            if (l_opt->second.max() == 0) {
                a_error = "option '--" + l_name + "' takes no argument";
                return false;
            }
            a_storage.push_back("--" + l_name);
            a_out.push_back(&a_storage.back()[0]);
            a_storage.push_back(l_arg.substr(l_equals + 1));
            a_out.push_back(&a_storage.back()[0]);
        } else {
            a_out.push_back(a_argv[l_i]);
        }
    }
    return true;
}

// Runs one command on argv[first ...]; argv[first - 1] stands in for the program name.
int run_command(const command& a_command, int a_argc, char** a_argv) {
    arguments l_args;
    nubase::arg::optparser l_parser(&l_args);
    declare_common(l_parser);
    a_command.declare(l_parser);
    std::vector<std::string> l_storage;
    std::vector<char*> l_argv;
    std::string l_error;
    if (!gnu_arguments(l_parser, a_argc, a_argv, l_storage, l_argv, l_error))
        return user_error(l_error);
    // The parser has printed its one "*** " line.
    if (!l_parser.parse(static_cast<unsigned>(l_argv.size()), l_argv.data())) return k_exit_usage;
    if (l_args.has(k_opt_help)) {
        print_manual(&a_command, l_args.has(k_opt_html));
        return k_exit_ok;
    }
    if (l_args.m_free.size() > a_command.max_free) {
        return user_error(std::string(a_command.name) + " takes " +
                          (a_command.max_free == 0
                               ? std::string("no arguments")
                               : "at most " + std::to_string(a_command.max_free)) +
                          " (see 'nubase " + a_command.name + " --help')");
    }
    return a_command.run(l_args);
}

}  // namespace
}  // namespace nubase_tool

namespace nubase_tool {
namespace {

int dispatch(int argc, char** argv);

}  // namespace
}  // namespace nubase_tool

int main(int argc, char** argv) {
    const int l_code = nubase_tool::dispatch(argc, argv);
    // Every command writes through stdio: a write that failed (a full disk, /dev/full) shows
    // here. A closed pipe has already ended the process by SIGPIPE, quietly, as other tools do.
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "*** cannot write the output: %s\n", std::strerror(errno));
        return nubase_tool::k_exit_usage;
    }
    return l_code;
}

namespace nubase_tool {
namespace {

int dispatch(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--version") == 0 || std::strcmp(argv[1], "-V") == 0)) {
        std::printf("nubase %s\n", NUBASE_TOOL_VERSION);
        return k_exit_ok;
    }
    // Global options stand before the command: --help, --html.
    int l_command_index = 1;
    while (l_command_index < argc && argv[l_command_index][0] == '-')
        ++l_command_index;

    try {
        if (l_command_index >= argc) {
            arguments l_args;
            nubase::arg::optparser l_parser(&l_args);
            declare_common(l_parser);
            l_parser.add_opt(k_opt_roff, "roff", 0, 0);
            l_parser.add_opt(k_opt_completion, "bash-completion", 0, 0);
            if (!l_parser.parse(static_cast<unsigned>(argc), argv)) return k_exit_usage;
            if (l_args.has(k_opt_roff)) {
                print_roff_manual();
                return k_exit_ok;
            }
            if (l_args.has(k_opt_completion)) {
                print_bash_completion();
                return k_exit_ok;
            }
            if (l_args.has(k_opt_help)) {
                print_manual(nullptr, l_args.has(k_opt_html));
                return k_exit_ok;
            }
            user_error("no command given");
            std::fprintf(stderr, "usage: nubase COMMAND [OPTIONS] [ARGUMENTS]\ncommands:");
            for (const command& l_command : commands())
                std::fprintf(stderr, " %s", l_command.name);
            std::fprintf(stderr, "\nsee 'nubase --help'\n");
            return k_exit_usage;
        }
        for (const command& l_command : commands()) {
            if (std::strcmp(l_command.name, argv[l_command_index]) == 0) {
                // Options before the command apply to it ("nubase --help probe").
                std::vector<char*> l_argv(argv + l_command_index, argv + argc);
                l_argv.insert(l_argv.begin() + 1, argv + 1, argv + l_command_index);
                return run_command(l_command, static_cast<int>(l_argv.size()), l_argv.data());
            }
        }
        return user_error(std::string("no such command `") + argv[l_command_index] +
                          "' (see 'nubase --help')");
    } catch (const nubase::es::base& e) {
        return user_error(e.what());
    } catch (const std::exception& e) {
        return user_error(e.what());
    }
}

}  // namespace
}  // namespace nubase_tool
