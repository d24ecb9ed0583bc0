// Mode texts on fuzzed input: a recognised text begins with the mode's own text, which reads
// back as the same mode; the text of any value is never null.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "nubase/timecode.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    using nubase::timecode;
    const std::string text(reinterpret_cast<const char*>(a_data), a_size);
    const timecode::mode_type mode = timecode::mode_from_string(text);
    const char* name = timecode::mode_c_str(mode);
    if (name == nullptr) std::abort();
    if (mode != timecode::mode_invalid) {
        if (text.compare(0, std::strlen(name), name) != 0) std::abort();
        if (timecode::mode_from_string(name) != mode) std::abort();
    }
    if (a_size >= 4) {
        std::uint32_t raw;
        std::memcpy(&raw, a_data, sizeof raw);
        if (timecode::mode_c_str(static_cast<timecode::mode_type>(raw)) == nullptr) std::abort();
    }
    return 0;
}
