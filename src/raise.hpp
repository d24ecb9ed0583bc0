// src/raise.hpp - the one route by which library code raises `es` exceptions.
//
// Each source file declares its stable source name once:
//
//   namespace { constexpr char k_source[] = "lib/nubase/src/stream_buf"; }
//
// and raises through these macros, so the mapping from a raise site to the identity a caller sees
// (source name, line, message) lives in one place per file:
//
//   NUBASE_RAISE(range, nullptr);                     // real line of the raise
//   NUBASE_RAISE_AT(126, call, "gettimeofday failed"); // documented line
//   NUBASE_RAISE_ERRNO(errno, "mutex init failed");   // "mutex init failed (err = 22)"
#ifndef NUBASE_SRC_RAISE_HPP
#define NUBASE_SRC_RAISE_HPP

#include "nubase/es.hpp"

#define NUBASE_RAISE(kind, ...) ::nubase::es::kind::raise(k_source, __LINE__, __VA_ARGS__)
#define NUBASE_RAISE_AT(line, kind, ...) ::nubase::es::kind::raise(k_source, (line), __VA_ARGS__)
#define NUBASE_RAISE_ERRNO(err, msg) ::nubase::es::call::raise((err), k_source, __LINE__, (msg))

#endif  // NUBASE_SRC_RAISE_HPP
