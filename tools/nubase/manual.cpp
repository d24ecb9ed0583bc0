// The manual pages, written through the library's help formatter.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
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

const char k_about[] =
    "Reads and restamps the timecode of QuickTime and MP4 files, calculates with SMPTE "
    "timecode, turns typed file names into URLs and Windows or UNC paths, codes data as base64 "
    "or hex, finds start codes, runs programs with timing, and describes the host. Every command "
    "has its own !S!--help!SE!.";

// The options every command has, described once.
const option_texts k_common_options = {
    {k_opt_help, "Print this manual page and exit."},
    {k_opt_html, "With !S!--help!SE!, print the manual page as an HTML page."}};

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

void describe_options(nubase::arg::optparser& a_parser, const option_texts& a_options) {
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
        // A complete page that keeps the formatter's layout: its text is laid out in columns.
        std::printf(
            "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<title>nubase%s%s</title>\n<style>body { white-space: pre-wrap; "
            "font-family: monospace; } h3, h4 { margin: 0; }</style>\n</head>\n<body>\n",
            a_command ? " " : "", a_command ? a_command->name : "");
        std::fflush(stdout);
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
        paragraph(l_parser, k_about);
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
        describe_options(l_parser, a_command->describe());
    }
    describe_options(l_parser, k_common_options);

    section(l_parser, "SUMMARY");
    paragraph(l_parser, k_exit_codes);
    if (a_html) std::printf("</body>\n</html>\n");
}

namespace {

// Text with the formatter's "!" markup as roff: every piece between two marks that is a markup
// code becomes a font change or a character, as the formatter reads it; the rest is text, with
// the characters roff would read as requests or escapes made literal.
std::string roff_text(const std::string& a_text) {
    std::string l_out;
    std::size_t l_at = 0;
    for (;;) {
        const std::size_t l_mark = a_text.find('!', l_at);
        const std::string l_piece =
            a_text.substr(l_at, l_mark == std::string::npos ? std::string::npos : l_mark - l_at);
        static const std::pair<const char*, const char*> k_codes[] = {
            {"S", "\\fB"},   {"SE", "\\fR"},   {"SA", "\\fI"}, {"SAA", "\\fI"},
            {"SAE", "\\fR"}, {"SAAE", "\\fR"}, {"Q", "\\(dq"}, {"QE", "\\(dq"},
            {"X", "!"},      {"LT", "<"},      {"GT", ">"}};
        const auto l_code = std::find_if(std::begin(k_codes), std::end(k_codes),
                                         [&](const auto& a_c) { return l_piece == a_c.first; });
        if (l_code != std::end(k_codes)) {
            l_out += l_code->second;
        } else {
            for (const char l_c : l_piece) {
                if (l_c == '\\') {
                    l_out += "\\e";
                } else if (l_c == '-') {
                    l_out += "\\-";
                } else {
                    if ((l_c == '.' || l_c == '\'') && (l_out.empty() || l_out.back() == '\n'))
                        l_out += "\\&";
                    l_out += l_c;
                }
            }
        }
        if (l_mark == std::string::npos) return l_out;
        l_at = l_mark + 1;
    }
}

// The option's header as it is typed: "\fB\-r\fR, \fB\-\-rate\fR \fIVALUE\fR".
std::string roff_option(const nubase::arg::optparser::opt& a_opt, int a_id) {
    std::string l_head;
    if (a_id > 0 && a_id < 128) l_head = std::string("\\fB\\-") + static_cast<char>(a_id) + "\\fR";
    if (a_opt.long_version() != nullptr) {
        if (!l_head.empty()) l_head += ", ";
        l_head += "\\fB" + roff_text(std::string("--") + a_opt.long_version()) + "\\fR";
    }
    if (a_opt.max() > 0) l_head += " \\fIVALUE\\fR";
    return l_head;
}

void roff_options(nubase::arg::optparser& a_parser, const option_texts& a_texts) {
    for (const auto& [l_id, l_text] : a_texts) {
        const auto l_opt = std::find_if(a_parser.begin(), a_parser.end(),
                                        [&](const auto& a_o) { return a_o.first == l_id; });
        if (l_opt == a_parser.end()) continue;
        std::printf(".TP\n%s\n%s\n", roff_option(l_opt->second, l_id).c_str(),
                    roff_text(l_text).c_str());
    }
}

}  // namespace

void print_roff_manual() {
    arguments l_unused;
    nubase::arg::optparser l_common(&l_unused);
    l_common.add_opt(k_opt_help, "help", 0, 0);
    l_common.add_opt(k_opt_html, "html", 0, 0);
    std::printf(".TH NUBASE 1 \"\" \"nubase %s\" \"User Commands\"\n", NUBASE_TOOL_VERSION);
    std::printf(".SH NAME\nnubase \\- a command\\-line toolbox for media engineers\n");
    std::printf(
        ".SH SYNOPSIS\n\\fBnubase\\fR \\fICOMMAND\\fR [\\fIOPTIONS\\fR] [\\fIARGUMENTS\\fR]\n"
        ".br\n\\fBnubase\\fR [\\fICOMMAND\\fR] \\fB\\-\\-help\\fR [\\fB\\-\\-html\\fR]\n"
        ".br\n\\fBnubase \\-\\-version\\fR\n");
    std::printf(".SH DESCRIPTION\n%s\n", roff_text(k_about).c_str());
    std::printf(".SH COMMANDS\n");
    for (const command& l_command : commands()) {
        arguments l_args;
        nubase::arg::optparser l_parser(&l_args);
        l_command.declare(l_parser);
        std::printf(".SS %s\n\\fBnubase %s\\fR\n.PP\n%s\n", l_command.name,
                    roff_text(l_command.synopsis).c_str(),
                    roff_text(l_command.description).c_str());
        roff_options(l_parser, l_command.describe());
    }
    std::printf(".SH OPTIONS\nEvery command takes these options.\n");
    roff_options(l_common, k_common_options);
    std::printf(".TP\n\\fB\\-V\\fR, \\fB\\-\\-version\\fR\nPrint the version and exit.\n");
    std::printf(".SH \"EXIT STATUS\"\n%s\n", roff_text(k_exit_codes).c_str());
}

void print_bash_completion() {
    std::printf(
        "# bash completion for nubase, written by 'nubase --bash-completion'\n"
        "_nubase() {\n"
        "    local cur=${COMP_WORDS[COMP_CWORD]} words\n"
        "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
        "        words=\"--help --html --version");
    for (const command& l_command : commands())
        std::printf(" %s", l_command.name);
    std::printf("\"\n    else\n        case ${COMP_WORDS[1]} in\n");
    for (const command& l_command : commands()) {
        arguments l_args;
        nubase::arg::optparser l_parser(&l_args);
        l_parser.add_opt(k_opt_help, "help", 0, 0);
        l_parser.add_opt(k_opt_html, "html", 0, 0);
        l_command.declare(l_parser);
        std::printf("            %s) words=\"", l_command.name);
        const char* l_space = "";
        for (const auto& [l_id, l_opt] : l_parser) {
            if (l_opt.long_version() == nullptr) continue;
            std::printf("%s--%s", l_space, l_opt.long_version());
            l_space = " ";
        }
        std::printf("\" ;;\n");
    }
    std::printf(
        "        esac\n"
        "        if [[ $cur != -* ]]; then\n"
        "            COMPREPLY=($(compgen -f -- \"$cur\"))\n"
        "            return\n"
        "        fi\n"
        "    fi\n"
        "    COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
        "}\n"
        "complete -o filenames -F _nubase nubase\n");
}

}  // namespace nubase_tool
