// The identity check of a raised library error, shared by the test files: the error's type, its
// source name, its line and its message are all part of what the library promises.
#ifndef NUBASE_TESTS_SUPPORT_RAISE_HPP
#define NUBASE_TESTS_SUPPORT_RAISE_HPP

#include <gtest/gtest.h>

#include <string>

namespace nubase_vectors {

// Expects `body` to raise `Error` from `source` with `message`, at `line` unless that is 0.
template <class Error, class Body>
void expect_raise(Body body, const char* source, unsigned line, const std::string& message) {
    try {
        body();
        ADD_FAILURE() << "nothing raised, expected: " << message;
    } catch (const Error& e) {
        EXPECT_STREQ(source, e.file());
        if (line != 0) {
            EXPECT_EQ(line, e.line());
        }
        EXPECT_EQ(message, e.what());
    }
}

}  // namespace nubase_vectors

#endif  // NUBASE_TESTS_SUPPORT_RAISE_HPP
