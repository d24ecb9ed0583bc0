// Every path function on fuzzed text with a fuzzed separator. The copying forms must return
// exactly what the in-place forms leave behind, the parts must put the path back together, and
// normalising twice must change nothing more. Nothing here may throw, so nothing is caught:
// any exception is a finding.
//
// Input layout: byte 0 is the separator, byte 1 the level count (its top bit makes it huge),
// byte 2 the length of the argument string that follows; the rest is the path.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "nubase/path.hpp"

namespace {

void check(bool a_condition) {
    if (!a_condition) std::abort();
}

using setter = std::string& (*)(std::string&, const std::string&, char);
using copier = std::string (*)(const std::string&, const std::string&, char);

void agree(setter a_set, copier a_new, const std::string& a_p, const std::string& a_arg,
           char a_sep) {
    std::string l_p = a_p;
    check(&a_set(l_p, a_arg, a_sep) == &l_p);
    check(a_new(a_p, a_arg, a_sep) == l_p);
}

void agree_root(std::string& (*a_set)(std::string&, const std::string&),
                std::string (*a_new)(const std::string&, const std::string&),
                const std::string& a_p, const std::string& a_arg) {
    std::string l_p = a_p;
    check(&a_set(l_p, a_arg) == &l_p);
    check(a_new(a_p, a_arg) == l_p);
}

void agree_pop(std::string& (*a_set)(std::string&, char),
               std::string (*a_new)(const std::string&, char), const std::string& a_p, char a_sep) {
    std::string l_p = a_p;
    check(&a_set(l_p, a_sep) == &l_p);
    check(a_new(a_p, a_sep) == l_p);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    if (a_size < 3) return 0;
    const char l_sep = static_cast<char>(a_data[0]);
    const unsigned l_levels = (a_data[1] & 0x80) ? 0xFFFFFFF0u + (a_data[1] & 0x0F) : a_data[1] & 7;
    const std::size_t l_arg_size = a_data[2] < a_size - 3 ? a_data[2] : a_size - 3;
    const char* l_text = reinterpret_cast<const char*>(a_data + 3);
    const std::string l_arg(l_text, l_arg_size);
    const std::string l_p(l_text + l_arg_size, a_size - 3 - l_arg_size);

    // Getters and how the parts relate.
    const std::string l_dir = nubase::path_directory(l_p, l_sep, 0);
    const std::string l_file = nubase::path_file(l_p, l_sep);
    const std::string l_name = nubase::path_name(l_p, l_sep);
    const std::string l_suffix = nubase::path_suffix(l_p, l_sep, l_levels);
    check(l_dir + l_file == l_p);
    check(nubase::path_back(l_p, l_sep) == l_file);
    check(l_file.compare(0, l_name.size(), l_name) == 0);
    check(l_suffix == nubase::path_suffix(l_p, l_sep, 0));
    const std::string l_up = nubase::path_directory(l_p, l_sep, l_levels);
    check(l_p.compare(0, l_up.size(), l_up) == 0);
    const std::string l_front = nubase::path_front(l_p, l_sep);
    check(l_p.compare(0, l_front.size(), l_front) == 0);

    // Setting a part to what it already is changes nothing.
    std::string l_same = l_p;
    check(nubase::path_set_directory(l_same, l_dir, l_sep, 0) == l_p);
    check(nubase::path_set_file(l_same, l_file, l_sep) == l_p);
    check(nubase::path_set_name(l_same, l_name, l_sep) == l_p);
    check(nubase::path_set_suffix(l_same, l_suffix, l_sep, l_levels) == l_p);

    // Copying and in-place forms agree.
    {
        std::string l_q = l_p;
        nubase::path_set_directory(l_q, l_arg, l_sep, l_levels);
        check(nubase::path_new_directory(l_p, l_arg, l_sep, l_levels) == l_q);
        l_q = l_p;
        nubase::path_set_suffix(l_q, l_arg, l_sep, l_levels);
        check(nubase::path_new_suffix(l_p, l_arg, l_sep, l_levels) == l_q);
    }
    agree(nubase::path_set_file, nubase::path_new_file, l_p, l_arg, l_sep);
    agree(nubase::path_set_name, nubase::path_new_name, l_p, l_arg, l_sep);
    agree(nubase::path_prepend, nubase::path_prepended, l_p, l_arg, l_sep);
    agree(nubase::path_append, nubase::path_appended, l_p, l_arg, l_sep);
    agree(nubase::path_push_front, nubase::path_pushed_front, l_p, l_arg, l_sep);
    agree(nubase::path_push_back, nubase::path_pushed_back, l_p, l_arg, l_sep);
    check(nubase::path_pushed_front(l_p, l_arg, l_sep) ==
          nubase::path_prepended(l_p, l_arg, l_sep));
    check(nubase::path_pushed_back(l_p, l_arg, l_sep) == nubase::path_appended(l_p, l_arg, l_sep));
    agree_pop(nubase::path_pop_front, nubase::path_popped_front, l_p, l_sep);
    agree_pop(nubase::path_pop_back, nubase::path_popped_back, l_p, l_sep);
    agree_pop(nubase::path_normalize, nubase::path_normalized, l_p, l_sep);
    agree_root(nubase::path_root, nubase::path_rooted, l_p, l_arg);
    agree_root(nubase::path_unroot, nubase::path_unrooted, l_p, l_arg);

    // A rooted path is absolute; normalising is idempotent.
    check(nubase::path_rooted(l_p, l_arg).front() == '/');
    const std::string l_norm = nubase::path_normalized(l_p, l_sep);
    check(nubase::path_normalized(l_norm, l_sep) == l_norm);
    return 0;
}
