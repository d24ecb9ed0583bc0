// nubase/config.hpp - build configuration shared by every public header.
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

#endif  // NUBASE_CONFIG_HPP
