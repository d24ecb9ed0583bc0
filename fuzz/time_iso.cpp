// ISO-8601 date-times on fuzzed text, under a fixed time zone: the parser never throws, never
// reads past the text and gives the same answer twice.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

#include "nubase/timestamp.hpp"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("TZ", "XYZ+05:30", 1);
    tzset();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    const std::string text(reinterpret_cast<const char*>(a_data), a_size);
    const unsigned int first = nubase::time_in_seconds(text);
    if (nubase::time_in_seconds(text) != first) std::abort();
    return 0;
}
