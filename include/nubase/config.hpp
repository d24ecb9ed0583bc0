// nubase/config.hpp - build configuration and the fixed-width types shared by every header.
//
// NUBASE_API marks the declarations that form the library's binary interface. The library is
// built with hidden visibility, so only what carries this macro (and the inline functions of the
// public headers) is visible to host programs:
//
//   class NUBASE_API buffer { ... };
//   NUBASE_API const char* cstr_with_severity(severity s);
#ifndef NUBASE_CONFIG_HPP
#define NUBASE_CONFIG_HPP

#if defined(NUBASE_STATIC)
#define NUBASE_API
#elif defined(__GNUC__) || defined(__clang__)
#define NUBASE_API __attribute__((visibility("default")))
#else
#define NUBASE_API
#endif

#include <cstdint>

namespace nubase {

// The library's fixed-width types.
using sint8 = std::int8_t;
using sint16 = std::int16_t;
using sint32 = std::int32_t;
using sint64 = std::int64_t;
using uint8 = std::uint8_t;
using uint16 = std::uint16_t;
using uint32 = std::uint32_t;
using uint64 = std::uint64_t;
using float32 = float;
using float64 = double;
static_assert(sizeof(float32) == 4 && sizeof(float64) == 8, "IEEE-754 single and double");

}  // namespace nubase

#endif  // NUBASE_CONFIG_HPP
