// The manual pages, written through the library's help formatter.
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "nubase/optparser.hpp"
#include "tool.hpp"

namespace nubase_tool {
namespace {

const char k_exit_codes[] =
    "Exit status: 0 on success; 1 when !S!probe!SE! finds no timecode track; 2 for a user error "
    "(an unknown option, a bad value, a missing or unreadable file) or a malformed file, with "
    "one line on standard error that begins with !Q!***!QE!. !S!run!SE! exits with the status "
    "of the program it ran.";

// Attributes and cursor moves only for a terminal that shows them: standard output is a
// terminal, NO_COLOR is unset and TERM is not "dumb".
bool attributes_wanted() {
    const char* l_term = std::getenv("TERM");
    return isatty(STDOUT_FILENO) && std::getenv("NO_COLOR") == nullptr &&
           !(l_term != nullptr && std::string(l_term) == "dumb");
}

void section(nubase::arg::optparser& a_parser, const char* a_title) {
    a_parser.add_desc_indent1(a_title);
    a_parser.add_desc_paragraph();
}

void paragraph(nubase::arg::optparser& a_parser, const std::string& a_text) {
    a_parser.add_desc_indent2(nullptr);
    a_parser.add_desc(a_text.c_str());
    a_parser.add_desc_paragraph();
}

}  // namespace

void describe_options(nubase::arg::optparser& a_parser,
                      std::initializer_list<std::pair<int, const char*>> a_options) {
    for (const auto& l_option : a_options) {
        a_parser.add_desc(l_option.first, l_option.second);
        a_parser.add_desc_paragraph();
    }
}

void print_manual(const command* a_command, bool a_html) {
    arguments l_unused;
    nubase::arg::optparser l_parser(&l_unused);
    l_parser.add_opt(k_opt_help, "help", 0, 0);
    l_parser.add_opt(k_opt_html, "html", 0, 0);
    if (a_html) {
        l_parser.set_html_output();
    } else if (attributes_wanted()) {
        l_parser.set_max_text_line_width();
    } else {
        l_parser.set_plain_output();
    }

    section(l_parser, "NAME");
    if (a_command) {
        paragraph(l_parser, std::string("nubase ") + a_command->name + " - " + a_command->summary);
    } else {
        paragraph(l_parser, "nubase - a command-line toolbox for media engineers");
    }

    section(l_parser, "DESCRIPTION");
    if (a_command) {
        paragraph(l_parser, std::string("!S!nubase ") + a_command->synopsis + "!SE!");
        paragraph(l_parser, a_command->description);
    } else {
        paragraph(l_parser, "!S!nubase COMMAND [OPTIONS] [ARGUMENTS]!SE!");
        paragraph(l_parser,
                  "Reads the timecode of QuickTime and MP4 files, calculates with SMPTE "
                  "timecode, turns typed file names into URLs and Windows or UNC paths, codes "
                  "data as base64 or hex, finds start codes, runs programs with timing, and "
                  "describes the host. Every command has its own !S!--help!SE!.");
        l_parser.add_desc_indent3(nullptr);
        for (const command& l_command : commands()) {
            l_parser.add_desc((std::string("!S!") + l_command.synopsis + "!SE!").c_str());
            l_parser.add_desc_indent4(nullptr);
            l_parser.add_desc(l_command.summary);
            l_parser.add_desc_indent3(nullptr);
        }
        l_parser.add_desc_paragraph();
    }

    section(l_parser, "OPTIONS");
    if (a_command) {
        a_command->declare(l_parser);
        a_command->describe(l_parser);
    }
    describe_options(l_parser,
                     {{k_opt_help, "Print this manual page and exit."},
                      {k_opt_html, "With !S!--help!SE!, print the manual page as HTML."}});

    section(l_parser, "SUMMARY");
    paragraph(l_parser, k_exit_codes);
}

}  // namespace nubase_tool
