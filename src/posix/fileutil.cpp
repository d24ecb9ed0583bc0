// Whole-file helpers over `file`, and safe file names.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "nubase/file.hpp"
#include "posix/sys_error.hpp"

namespace nubase {
namespace fileutil {

namespace {
constexpr char k_source[] = "lib/nubase/src/utility";

constexpr unsigned k_read_flags = O_RDONLY | O_CLOEXEC;
constexpr unsigned k_write_flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
constexpr unsigned k_mode = 0644;

// Reads until `a_size` bytes are in or the file ends; returns the count read. A single read(2)
// may stop short of a large request, so this loops instead of trusting one call.
unsigned long long read_up_to(file& a_file, unsigned char* a_data, unsigned long long a_size) {
    unsigned long long l_done = 0;
    while (l_done < a_size) {
        const unsigned long long l_count = a_file.read(a_data + l_done, a_size - l_done);
        if (l_count == 0) break;
        l_done += l_count;
    }
    return l_done;
}

// Writes all `a_size` bytes, in pieces no larger than one write(2) can take; `file::write`
// raises on any short piece.
void write_all(file& a_file, const unsigned char* a_data, unsigned long long a_size) {
    constexpr unsigned long long k_piece = 1ULL << 30;
    do {
        const unsigned long long l_count = a_size < k_piece ? a_size : k_piece;
        a_file.write(a_data, l_count);
        a_data += l_count;
        a_size -= l_count;
    } while (a_size != 0);
}

// The whole file into a fresh container, swapped into `a_content` only once complete, so a
// failure leaves the caller's content as it was.
template <class Container>
void read_whole(const std::string& a_path, Container& a_content, unsigned a_read_line,
                unsigned a_open_line) {
    file l_file(a_path, k_read_flags, k_mode);
    if (!l_file.is_open())
        sys::raise_arg(k_source, a_open_line, "failed to open file '%s'", a_path.c_str());
    const unsigned long long l_size = l_file.size();
    Container l_content;
    l_content.resize(l_size);
    auto* l_data = reinterpret_cast<unsigned char*>(&l_content[0]);
    if (read_up_to(l_file, l_data, l_size) != l_size)
        sys::raise_call(k_source, a_read_line, "failed to read file '%s'", a_path.c_str());
    l_file.close();
    a_content.swap(l_content);
}

void write_whole(const std::string& a_path, const unsigned char* a_data, unsigned long long a_size,
                 unsigned a_open_line) {
    file l_file(a_path, k_write_flags, k_mode);
    if (!l_file.is_open())
        sys::raise_arg(k_source, a_open_line, "failed to open/create file '%s'", a_path.c_str());
    write_all(l_file, a_data, a_size);
    l_file.close();
}

// Every byte's replacement in a safe file name; see `create_safe_filename`.
constexpr std::array<char, 256> make_safe_table() {
    std::array<char, 256> l_table{};
    for (unsigned l_c = 0; l_c < 256; ++l_c) {
        const char l_ch = static_cast<char>(l_c);
        const bool l_alnum =
            (l_c >= 'A' && l_c <= 'Z') || (l_c >= 'a' && l_c <= 'z') || (l_c >= '0' && l_c <= '9');
        bool l_kept = l_alnum;
        for (char l_k : {'!', '#', '%', '(', ')', '+', '-', '=', '@', '[', ']'})
            l_kept = l_kept || l_ch == l_k;
        bool l_dot = false;
        for (char l_d : {',', '.', ':', ';'})
            l_dot = l_dot || l_ch == l_d;
        l_table[l_c] = l_kept ? l_ch : l_dot ? '.' : '_';
    }
    return l_table;
}
constexpr std::array<char, 256> k_safe = make_safe_table();

}  // namespace

void get_file_content(const std::string& a_path, std::string& a_content) {
    read_whole(a_path, a_content, 672, 680);
}

void get_file_content(const std::string& a_path, buffer& a_content) {
    read_whole(a_path, a_content, 714, 721);
}

std::string string_with_file_content(const std::string& a_path) {
    std::string l_content;
    get_file_content(a_path, l_content);
    return l_content;
}

void set_file_content(const std::string& a_path, const std::string& a_content) {
    write_whole(a_path, reinterpret_cast<const unsigned char*>(a_content.data()), a_content.size(),
                694);
}

void set_file_content(const std::string& a_path, const buffer& a_content) {
    write_whole(a_path, a_content.data(), a_content.size(), 735);
}

void get_file_bytes(const std::string& a_path, unsigned long long a_count, buffer& a_bytes) {
    file l_file(a_path, k_read_flags, k_mode);
    if (!l_file.is_open())
        sys::raise_arg(k_source, 754, "failed to open file '%s'", a_path.c_str());
    a_bytes.resize(a_count);
    const unsigned long long l_read = read_up_to(l_file, a_bytes.data(), a_count);
    if (l_read < a_count) std::memset(a_bytes.data() + l_read, 0, a_count - l_read);
    l_file.close();
}

void remove_file(const std::string& a_path) {
    if (::unlink(a_path.c_str()) == -1) {
        const std::string l_reason = sys::error_text(errno);
        sys::raise_arg(k_source, 766, "failed to remove file '%s' (%s)", a_path.c_str(),
                       l_reason.c_str());
    }
}

std::string create_safe_filename(const std::string& a_text) {
    std::string l_name(a_text);
    for (char& l_c : l_name)
        l_c = k_safe[static_cast<unsigned char>(l_c)];
    return l_name;
}

}  // namespace fileutil
}  // namespace nubase
