// The text commands: url (typed names to URLs and back) and the base64 and hex coders.
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "file_stream.hpp"
#include "nubase/coding.hpp"
#include "nubase/env.hpp"
#include "nubase/es.hpp"
#include "nubase/url.hpp"
#include "nubase/urlpath.hpp"
#include "tool.hpp"

namespace nubase_tool {

// ---- url --------------------------------------------------------------------------------------

namespace {

// What the library takes as it stands, resolved first where it is lenient by design: "~user"
// becomes that user's home directory (an unknown user is an error) and a relative base is
// taken from the working directory. Returns "" or the error.
std::string resolve_typed(std::string& a_input, std::string& a_base) {
    if (a_input.empty()) return "url needs a path or URL, not an empty text";
    if (a_input[0] == '~' && a_input.size() > 1 && a_input[1] != '/') {
        const std::size_t l_slash = a_input.find('/');
        const std::string l_user =
            a_input.substr(1, l_slash == std::string::npos ? std::string::npos : l_slash - 1);
        const passwd* l_entry = ::getpwnam(l_user.c_str());
        if (l_entry == nullptr) return "no such user '" + l_user + "'";
        a_input = l_entry->pw_dir +
                  (l_slash == std::string::npos ? std::string() : a_input.substr(l_slash));
    }
    if (!a_base.empty() && a_base[0] != '/' && nubase::url_scheme(a_base).empty())
        a_base = nubase::env::get_current_working_directory_path() + "/" + a_base;
    return std::string();
}

}  // namespace

int run_url(const arguments& a_args) {
    if (a_args.m_free.size() != 1)
        return user_error("url needs one path or URL (see 'nubase url --help')");
    std::string l_input = a_args.m_free[0];
    std::string l_base = a_args.has('b') ? a_args.value('b') : std::string();
    const std::string l_error = resolve_typed(l_input, l_base);
    if (!l_error.empty()) return user_error(l_error);
    const std::string l_url = nubase::url_create_from_url_or_path(l_input, l_base);
    const bool l_password = !nubase::url_password(l_url, false).empty();
    const auto line = [](const char* a_name, const std::string& a_value) {
        if (!a_value.empty()) std::printf("%-9s %s\n", a_name, a_value.c_str());
    };
    // The password masked as the reader expects it, not percent-encoded stars.
    line("url", l_password ? nubase::url_new_password(l_url, "***", false) : l_url);
    line("scheme", nubase::url_scheme(l_url));
    line("user", nubase::url_user(l_url));
    if (l_password) line("password", "***");
    line("host", nubase::url_host(l_url));
    line("service", nubase::url_service(l_url));
    line("path", nubase::url_path(l_url));
    line("query", nubase::url_query(l_url));
    line("fragment", nubase::url_fragment(l_url));
    line("windows", nubase::url_extract_to_unc_or_windows_path(l_url));
    line("native", nubase::url_native_platform_path(l_url));
    return k_exit_ok;
}

// ---- base64 and hex ---------------------------------------------------------------------------

namespace {

enum coding_option { k_lenient = -30, k_wrap = 'w' };

// Standard input or a file, read in whole blocks.
class input {
  public:
    explicit input(const std::string& a_path) {
        if (!a_path.empty() && a_path != "-") m_file.reset(new file_reader(a_path));
    }
    // Up to n bytes; 0 at the end.
    std::size_t read(unsigned char* a_p, std::size_t a_n) {
        if (m_file) return static_cast<std::size_t>(m_file->read(a_p, a_n));
        for (;;) {
            const ssize_t l_count = ::read(0, a_p, a_n);
            if (l_count >= 0) return static_cast<std::size_t>(l_count);
            if (errno != EINTR)
                throw nubase::es::file(__FILE__, __LINE__, std::strerror(errno), "read",
                                       "standard input");
        }
    }
    // Fills p with n bytes unless the input ends first; returns the count.
    std::size_t fill(unsigned char* a_p, std::size_t a_n) {
        std::size_t l_total = 0;
        while (l_total < a_n) {
            const std::size_t l_count = read(a_p + l_total, a_n - l_total);
            if (l_count == 0) break;
            l_total += l_count;
        }
        return l_total;
    }

  private:
    std::unique_ptr<file_reader> m_file;
};

void write_out(const unsigned char* a_p, std::size_t a_n) {
    if (a_n != 0 && std::fwrite(a_p, 1, a_n, stdout) != a_n) {
        throw nubase::es::file(__FILE__, __LINE__, std::strerror(errno), "write",
                               "standard output");
    }
}

bool is_blank(unsigned char a_c) {
    return a_c == ' ' || a_c == '\n' || a_c == '\r' || a_c == '\t';
}

// Checks text to decode strictly, one character at a time, before the library decodes it
// leniently: base64 letters with at most two '=' that end the text, or hex digits.
class strict_text {
  public:
    explicit strict_text(bool a_base64) : m_base64(a_base64) {}

    // Whether `c`, the next character that is not blank, may stand here.
    bool accept(unsigned char a_c) {
        const std::size_t l_position = m_count++ % 4;
        if (!m_base64) return std::isxdigit(a_c) != 0;
        if (a_c == '=')
            return l_position >= 2 && ++m_padding <= 2 && (m_padding == 1 || l_position == 3);
        return m_padding == 0 && (std::isalnum(a_c) != 0 || a_c == '+' || a_c == '/');
    }

  private:
    bool m_base64;
    std::size_t m_count = 0, m_padding = 0;
};

struct coding_options {
    std::size_t unit;  // input bytes coded as a whole
    bool decode;
    bool strict;  // decoding: refuse what is not valid text
    bool base64;
    std::size_t columns;  // encoding: wrap the text at this many columns; 0 does not wrap
};

// Writes encoded text wrapped at `columns` (0: not at all), carrying the column across blocks.
void write_wrapped(const nubase::buffer& a_text, std::size_t a_columns, std::size_t& a_column) {
    const unsigned char* l_p = a_text.data();
    std::size_t l_left = a_text.size();
    while (l_left != 0) {
        const std::size_t l_n = a_columns == 0 ? l_left : std::min(l_left, a_columns - a_column);
        write_out(l_p, l_n);
        l_p += l_n;
        l_left -= l_n;
        a_column += l_n;
        if (a_columns != 0 && a_column == a_columns) {
            write_out(reinterpret_cast<const unsigned char*>("\n"), 1);
            a_column = 0;
        }
    }
}

// Streams the input through `code` in blocks of a multiple of `unit` bytes, so that any size runs
// in constant memory. Decoding drops blanks and line breaks first (checking each character when
// strict) and leaves a partial unit for the next block; the library's coder decides what the
// last, possibly short, unit means.
template <class Code>
int stream_coding(const std::string& a_path, const coding_options& a_o, Code a_code) {
    input l_in(a_path);
    const std::size_t l_block = a_o.unit * 21846;  // about 64 KiB of input
    std::vector<unsigned char> l_data(l_block + a_o.unit);
    std::size_t l_kept = 0;    // decoding: characters carried to the next block
    std::size_t l_offset = 0;  // input bytes read before this block
    std::size_t l_column = 0;
    strict_text l_check(a_o.base64);
    bool l_any = false;
    for (;;) {
        const std::size_t l_read = l_in.fill(l_data.data() + l_kept, l_block);
        std::size_t l_count = l_read + l_kept;
        const bool l_end = l_read < l_block;
        if (a_o.decode) {
            std::size_t l_used = l_kept;
            for (std::size_t l_index = l_kept; l_index < l_count; ++l_index) {
                const unsigned char l_c = l_data[l_index];
                if (is_blank(l_c)) continue;
                if (a_o.strict && !l_check.accept(l_c)) {
                    return user_error("not " + std::string(a_o.base64 ? "base64" : "hex") +
                                      " text: byte " + std::to_string(l_offset + l_index - l_kept) +
                                      " (use --lenient to decode it anyway)");
                }
                l_data[l_used++] = l_c;
            }
            l_count = l_used;
        }
        l_offset += l_read;
        const std::size_t l_whole = l_end ? l_count : l_count - l_count % a_o.unit;
        if (l_whole != 0) {
            const nubase::buffer l_out = a_code(l_data.data(), l_whole);
            if (a_o.decode) {
                write_out(l_out.data(), l_out.size());
            } else {
                write_wrapped(l_out, a_o.columns, l_column);
            }
            l_any = true;
        }
        l_kept = l_count - l_whole;
        std::memmove(l_data.data(), l_data.data() + l_whole, l_kept);
        if (l_end) break;
    }
    if (!a_o.decode && l_any && (a_o.columns == 0 || l_column != 0))
        write_out(reinterpret_cast<const unsigned char*>("\n"), 1);
    return k_exit_ok;
}

int run_coder(const arguments& a_args, const char* a_name, std::size_t a_encode_unit,
              std::size_t a_decode_unit,
              nubase::buffer (*a_encode)(const unsigned char*, unsigned long long),
              nubase::buffer (*a_decode)(const unsigned char*, unsigned long long)) {
    const std::string l_verb = a_args.m_free.empty() ? "" : a_args.m_free[0];
    if ((l_verb != "encode" && l_verb != "decode") || a_args.m_free.size() > 2) {
        return user_error(std::string(a_name) + " takes encode or decode and an optional file " +
                          "(see 'nubase " + a_name + " --help')");
    }
    const bool l_base64 = std::string(a_name) == "base64";
    coding_options l_o{l_verb == "encode" ? a_encode_unit : a_decode_unit, l_verb == "decode",
                       !a_args.has(k_lenient), l_base64, 0};
    if (a_args.has(k_wrap)) {
        char* l_end = nullptr;
        const unsigned long l_columns = std::strtoul(a_args.value(k_wrap).c_str(), &l_end, 10);
        if (a_args.value(k_wrap).empty() || *l_end != '\0' || l_columns > 1000000)
            return user_error("--wrap takes a number of columns (0: no wrapping)");
        l_o.columns = l_columns;
    }
    const std::string l_path = a_args.m_free.size() == 2 ? a_args.m_free[1] : "";
    try {
        return l_o.decode ? stream_coding(l_path, l_o, a_decode)
                          : stream_coding(l_path, l_o, a_encode);
    } catch (const nubase::es::arg&) {
        return user_error(std::string("not ") + a_name + " text: its length is not whole");
    } catch (const nubase::es::base& e) {
        return user_error(e.what());
    }
}

}  // namespace

int run_base64(const arguments& a_args) {
    return run_coder(a_args, "base64", 3, 4, &nubase::buffer_encode_base64,
                     &nubase::buffer_decode_base64);
}

int run_hex(const arguments& a_args) {
    return run_coder(a_args, "hex", 1, 2, &nubase::buffer_encode_hex, &nubase::buffer_decode_hex);
}

void declare_coder(nubase::arg::optparser& a_parser) {
    a_parser.add_opt(k_lenient, "lenient", 0, 0);
    a_parser.add_opt(k_wrap, "wrap", 1, 1);
}

option_texts describe_base64() {
    return {{k_wrap,
             "Encoding: wrap the text into lines of COLS characters (76 as in MIME); 0, "
             "the default, writes one line."},
            {k_lenient,
             "Decoding: decode whatever the input holds, as the library does (a "
             "character that is not base64 counts as 0); without it a character that "
             "is not base64, or '=' anywhere but at the end, is refused with its "
             "offset."}};
}

option_texts describe_hex() {
    return {{k_wrap,
             "Encoding: wrap the digits into lines of COLS characters; 0, the default, "
             "writes one line."},
            {k_lenient,
             "Decoding: decode whatever the input holds, as the library does; without "
             "it a character that is not a hex digit is refused with its offset."}};
}

void declare_url(nubase::arg::optparser& a_parser) {
    a_parser.add_opt('b', "base", 1, 1);
}

option_texts describe_url() {
    return {{'b',
             "The directory that a relative path is taken from (default: the working directory)."}};
}

void declare_none(nubase::arg::optparser&) {}
option_texts describe_none() {
    return {};
}

}  // namespace nubase_tool
