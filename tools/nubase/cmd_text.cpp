// The text commands: url (typed names to URLs and back) and the base64 and hex coders.
#include <unistd.h>

#include <cerrno>
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

int run_url(const arguments& a_args) {
    if (a_args.m_free.size() != 1)
        return user_error("url needs one path or URL (see 'nubase url --help')");
    const std::string l_base = a_args.has('b') ? a_args.value('b') : std::string();
    const std::string l_url = nubase::url_create_from_url_or_path(a_args.m_free[0], l_base);
    const auto line = [](const char* a_name, const std::string& a_value) {
        if (!a_value.empty()) std::printf("%-9s %s\n", a_name, a_value.c_str());
    };
    line("url", nubase::url_protected_output(l_url));
    line("scheme", nubase::url_scheme(l_url));
    line("user", nubase::url_user(l_url));
    if (!nubase::url_password(l_url, false).empty()) line("password", "****");
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

// Streams the input through `code` in blocks of a multiple of `unit` bytes, so that any size runs
// in constant memory. Decoding drops blanks and line breaks first and leaves a partial unit for
// the next block; the library's coder decides what the last, possibly short, unit means.
template <class Code>
int stream_coding(const arguments& a_args, std::size_t a_unit, bool a_decode, Code a_code) {
    if (a_args.m_free.size() != 2 && a_args.m_free.size() != 1) {
        return user_error("expected encode or decode and an optional file");
    }
    input l_in(a_args.m_free.size() == 2 ? a_args.m_free[1] : "");
    const std::size_t l_block = a_unit * 21846;  // about 64 KiB of input
    std::vector<unsigned char> l_data(l_block + a_unit);
    std::size_t l_kept = 0;  // decoding: characters carried to the next block
    bool l_any = false;
    for (;;) {
        std::size_t l_count = l_in.fill(l_data.data() + l_kept, l_block) + l_kept;
        const bool l_end = l_count < l_block + l_kept;
        if (a_decode) {
            std::size_t l_used = 0;
            for (std::size_t l_index = 0; l_index < l_count; ++l_index) {
                if (!is_blank(l_data[l_index])) l_data[l_used++] = l_data[l_index];
            }
            l_count = l_used;
        }
        const std::size_t l_whole = l_end ? l_count : l_count - l_count % a_unit;
        if (l_whole != 0) {
            const nubase::buffer l_out = a_code(l_data.data(), l_whole);
            write_out(l_out.data(), l_out.size());
            l_any = true;
        }
        l_kept = l_count - l_whole;
        std::memmove(l_data.data(), l_data.data() + l_whole, l_kept);
        if (l_end) break;
    }
    if (!a_decode && l_any) write_out(reinterpret_cast<const unsigned char*>("\n"), 1);
    std::fflush(stdout);
    return k_exit_ok;
}

int run_coder(const arguments& a_args, const char* a_name, std::size_t a_encode_unit,
              std::size_t a_decode_unit,
              nubase::buffer (*a_encode)(const unsigned char*, unsigned long long),
              nubase::buffer (*a_decode)(const unsigned char*, unsigned long long)) {
    const std::string l_verb = a_args.m_free.empty() ? "" : a_args.m_free[0];
    try {
        if (l_verb == "encode") return stream_coding(a_args, a_encode_unit, false, a_encode);
        if (l_verb == "decode") return stream_coding(a_args, a_decode_unit, true, a_decode);
    } catch (const nubase::es::arg&) {
        return user_error(std::string("the input is not ") + a_name + " text (wrong length)");
    } catch (const nubase::es::base& e) {
        return user_error(e.what());
    }
    return user_error(std::string(a_name) + " takes encode or decode (see 'nubase " + a_name +
                      " --help')");
}

}  // namespace

int run_base64(const arguments& a_args) {
    return run_coder(a_args, "base64", 3, 4, &nubase::buffer_encode_base64,
                     &nubase::buffer_decode_base64);
}

int run_hex(const arguments& a_args) {
    return run_coder(a_args, "hex", 1, 2, &nubase::buffer_encode_hex, &nubase::buffer_decode_hex);
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
