// src/units/check.hpp - the check of the library's own test units: a failed condition raises
// `test::fail` with the unit's source name, the line of the check and its message.
#ifndef NUBASE_SRC_UNITS_CHECK_HPP
#define NUBASE_SRC_UNITS_CHECK_HPP

#include "nubase/test.hpp"

#define NUBASE_CHECK(condition, message)                                            \
    do {                                                                            \
        if (!(condition)) ::nubase::test::fail::raise(k_source, __LINE__, message); \
    } while (false)

#endif  // NUBASE_SRC_UNITS_CHECK_HPP
