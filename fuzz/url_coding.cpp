// url_encode and url_decode on arbitrary bytes: encoding writes only the kept characters and
// lower-case escapes, and decoding undoes it exactly, except that a NUL byte's "%00" stays.
// Decoding arbitrary text never grows it. Nothing is caught: a throw is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "nubase/string.hpp"
#include "nubase/url.hpp"

namespace {

void check(bool a_condition) {
    if (!a_condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    const std::string s(reinterpret_cast<const char*>(a_data), a_size);
    static const char k_output[] =
        "!$&'()+,-./0123456789=ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz%";
    for (const bool slash : {false, true}) {
        const std::string e = nubase::url_encode(s, slash);
        check(e.size() >= s.size() && e.size() <= 3 * s.size());
        check(e.find_first_not_of(k_output) == std::string::npos);
        check(!slash || e.find('/') == std::string::npos);
        std::string expected = s;
        nubase::replace(expected, std::string(1, '\0'), "%00");
        check(nubase::url_decode(e) == expected);
    }
    const std::string d = nubase::url_decode(s);
    check(d.size() <= s.size());
    if (s.find('%') == std::string::npos) check(d == s);
    // The range form reads only its window.
    const std::size_t half = a_size / 2;
    check(nubase::url_decode(nubase::range(half, a_size), s.data()) ==
          nubase::url_decode(s.substr(half)));
    return 0;
}
