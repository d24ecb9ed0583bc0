// The help-text formatter of the option parser: terminal and HTML output with description markup.
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "nubase/conv.hpp"
#include "nubase/env.hpp"
#include "nubase/optparser.hpp"
#include "nubase/strutil.hpp"

namespace nubase {
namespace arg {
namespace {

// Column of the option headers' short names: level 4's column (24) minus 4.
constexpr unsigned k_option_level = 4;
constexpr unsigned k_short_name_column = 20;

// The HTML escape table, built once on first use.
const std::map<char, std::string>& internal_html_escape() {
    static const std::map<char, std::string> s_table = {
        {'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}};
    return s_table;
}

}  // namespace

void optparser::set_output(std::FILE* a_out) noexcept {
    m_out = a_out;
}

void optparser::write(const char* a_text, std::size_t a_size) {
    if (a_size != 0) std::fwrite(a_text, 1, a_size, m_out ? m_out : stdout);
}

void optparser::write(const char* a_text) {
    write(a_text, std::strlen(a_text));
}

bool optparser::set_max_text_line_width() {
    std::string l_output;
    if (env::execute_command("tput cols", l_output) != 0) return false;
    m_text_line_width = conv::string_to_uint(l_output.c_str(), 10) - 8;
    return true;
}

void optparser::text_strong() {
    write(m_html ? "<strong>" : m_plain ? "" : "\033[1m");
}
void optparser::text_strong_off() {
    write(m_html ? "</strong>" : m_plain ? "" : "\033[0m");
}
void optparser::text_underline() {
    write(m_html ? "<u>" : m_plain ? "" : "\033[4m");
}
void optparser::text_underline_off() {
    write(m_html ? "</u>" : m_plain ? "" : "\033[0m");
}
void optparser::clear_screen() {
    if (!m_plain || m_html) write("\033[H\033[2J");
}

void optparser::set_column(unsigned a_columns) {
    if (m_html || m_plain) {
        write(std::string(a_columns, ' ').c_str(), a_columns);
    } else {
        const std::string l_move = "\033[" + std::to_string(a_columns) + "C";
        write(l_move.c_str(), l_move.size());
    }
}

void optparser::new_line() {
    write("\n", 1);
}
void optparser::add_desc_paragraph() {
    new_line();
}

void optparser::print(const std::string& a_text) {
    if (!m_html) {
        write(a_text.data(), a_text.size());
        return;
    }
    write(strutil::string_replaced(a_text, internal_html_escape()).c_str());
}

void optparser::set_indentation(unsigned a_level) noexcept {
    m_indentation = a_level < 2 ? 1 : a_level;
    m_indentation_column = (m_indentation - 1) * 8;
}

void optparser::add_desc_indent(unsigned a_level, const char* a_title) {
    set_indentation(a_level);
    if (!a_title) return;
    const std::string l_spaces(m_indentation_column, ' ');
    if (!m_html) {
        set_column(m_indentation_column);
        text_strong();
        write(a_title);
        new_line();
        text_strong_off();
    } else if (a_level == 2) {
        write(l_spaces.c_str());
        write("<strong>");
        write(a_title);
        new_line();
        write("</strong>");
    } else {
        write("<h3>");
        write(l_spaces.c_str());
        write(a_title);
        write("</h3>\n");
    }
}

void optparser::add_desc_indent1(const char* a_title) {
    add_desc_indent(1, a_title);
}
void optparser::add_desc_indent2(const char* a_title) {
    add_desc_indent(2, a_title);
}
void optparser::add_desc_indent3(const char* a_title) {
    add_desc_indent(3, a_title);
}
void optparser::add_desc_indent4(const char* a_title) {
    add_desc_indent(4, a_title);
}
void optparser::add_desc_indent5(const char* a_title) {
    add_desc_indent(5, a_title);
}

void optparser::add_html_underline(const char* a_tag, const char* a_text) {
    const std::string l_line = std::string("<") + a_tag + ">" +
                               std::string(m_indentation_column, ' ') + "<u>" +
                               (a_text ? a_text : "") + "</u></" + a_tag + ">\n";
    write(l_line.c_str(), l_line.size());
}

void optparser::add_html_underline_h3(const char* a_text) {
    add_html_underline("h3", a_text);
}
void optparser::add_html_underline_h4(const char* a_text) {
    add_html_underline("h4", a_text);
}

void optparser::add_desc(int a_id, const char* a_text) {
    const auto l_iter = m_opts.find(a_id);
    if (l_iter == m_opts.end()) return;
    const char* l_long = l_iter->second.long_version();
    add_desc(a_id >= 1 ? static_cast<char>(a_id) : '\0', l_long ? l_long : "",
             a_text ? a_text : "");
}

void optparser::add_desc(const char* a_text) {
    add_desc('\0', "", a_text ? a_text : "");
}

void optparser::add_desc(char a_short_name, const std::string& a_long_name,
                         const std::string& a_text) {
    // The long name is right-aligned so that its two trailing blanks end at column 24.
    const unsigned l_long_column =
        a_long_name.size() < k_short_name_column
            ? k_short_name_column - static_cast<unsigned>(a_long_name.size())
            : 0;
    const auto bold = [this](const std::string& a_header) {
        text_strong();
        print(a_header);
        text_strong_off();
    };
    if (a_short_name != '\0' || !a_long_name.empty()) {
        set_indentation(k_option_level);
        if (a_short_name != '\0') {
            set_column(k_short_name_column);
            bold(std::string("-") + a_short_name + (a_long_name.empty() ? "  " : "\n"));
        }
        if (!a_long_name.empty()) {
            set_column(l_long_column);
            bold("--" + a_long_name + "  ");
        }
    } else {
        set_column(m_indentation_column);
    }

    const unsigned l_start = m_indentation_column;
    unsigned l_column = l_start;
    std::vector<std::string> l_pieces;
    strutil::tokenize_string(a_text, '!', l_pieces, true);
    for (const std::string& l_piece : l_pieces) {
        if (l_piece == "S") {
            text_strong();
        } else if (l_piece == "SE") {
            text_strong_off();
        } else if (l_piece == "SA" || l_piece == "SAA") {
            text_underline();
        } else if (l_piece == "SAE" || l_piece == "SAAE") {
            text_underline_off();
        } else if (l_piece == "Q" || l_piece == "QE") {
            print("\"");
        } else if (l_piece == "X") {
            print("!");
        } else if (l_piece == "LT") {
            print("&lt;");
        } else if (l_piece == "GT") {
            print("&gt;");
        } else {
            print_wrapped(l_piece, l_start, l_column);
        }
    }
    new_line();
}

void optparser::print_wrapped(std::string a_text, unsigned a_start, unsigned& a_column) {
    const auto room = [this, &a_column] {
        return a_column < m_text_line_width ? m_text_line_width - a_column : 0u;
    };
    while (a_text.size() > room()) {
        std::size_t l_break = a_text.rfind(' ', room());
        if (l_break == std::string::npos) l_break = a_text.find(' ', room());
        if (l_break == std::string::npos) {
            // No space to break at: the word goes out whole, followed by a line break.
            print(a_text);
            new_line();
            set_column(a_start);
            return;
        }
        print(a_text.substr(0, l_break));
        new_line();
        set_column(a_start);
        a_column = a_start;
        a_text.erase(0, l_break + 1);
    }
    print(a_text);
    a_column += static_cast<unsigned>(a_text.size());
}

}  // namespace arg
}  // namespace nubase
