// tests/capture.hpp - reads back what a library function wrote to a FILE* (a tmpfile()).
#ifndef NUBASE_TESTS_CAPTURE_HPP
#define NUBASE_TESTS_CAPTURE_HPP

#include <cstdio>
#include <string>

// Everything written to `file` from its start; closes it.
inline std::string read_and_close(std::FILE* a_file) {
    std::rewind(a_file);
    std::string l_text;
    for (int l_char; (l_char = std::fgetc(a_file)) != EOF;)
        l_text += static_cast<char>(l_char);
    std::fclose(a_file);
    return l_text;
}

#endif  // NUBASE_TESTS_CAPTURE_HPP
