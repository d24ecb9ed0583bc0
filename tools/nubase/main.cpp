// nubase - a command-line toolbox for media engineers, written on libnubase.
//
//   nubase COMMAND [OPTIONS] [ARGUMENTS]
//   nubase --help [--html]          the manual page
//   nubase COMMAND --help [--html]  one command's manual page
#include <cstdio>
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

// Runs one command on argv[first ...]; argv[first - 1] stands in for the program name.
int run_command(const command& a_command, int a_argc, char** a_argv) {
    arguments l_args;
    nubase::arg::optparser l_parser(&l_args);
    declare_common(l_parser);
    a_command.declare(l_parser);
    for (int l_i = 1; l_i < a_argc && std::strcmp(a_argv[l_i], "--") != 0; ++l_i)
        if (std::strcmp(a_argv[l_i], "-") == 0) a_argv[l_i] = k_lone_dash;
    // The parser has printed its one "*** " line.
    if (!l_parser.parse(static_cast<unsigned>(a_argc), a_argv)) return k_exit_usage;
    if (l_args.has(k_opt_help)) {
        print_manual(&a_command, l_args.has(k_opt_html));
        return k_exit_ok;
    }
    return a_command.run(l_args);
}

}  // namespace
}  // namespace nubase_tool

int main(int argc, char** argv) {
    using namespace nubase_tool;
    // Global options stand before the command: --help, --html.
    int l_command_index = 1;
    while (l_command_index < argc && argv[l_command_index][0] == '-')
        ++l_command_index;

    try {
        if (l_command_index >= argc) {
            arguments l_args;
            nubase::arg::optparser l_parser(&l_args);
            declare_common(l_parser);
            if (!l_parser.parse(static_cast<unsigned>(argc), argv)) return k_exit_usage;
            if (l_args.has(k_opt_help)) {
                print_manual(nullptr, l_args.has(k_opt_html));
                return k_exit_ok;
            }
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
