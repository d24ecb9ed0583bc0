// nubase/nubase.hpp - the umbrella header: includes every family of the library.
//
//   #include <nubase/nubase.hpp>
//
// Including one family header (`<nubase/buffer.hpp>`) is enough where only one is needed.
#ifndef NUBASE_NUBASE_HPP
#define NUBASE_NUBASE_HPP

// foundation
#include "nubase/config.hpp"
#include "nubase/es.hpp"
#include "nubase/buffer.hpp"
#include "nubase/refcount.hpp"
#include "nubase/debug.hpp"

// streams and codings
#include "nubase/stream.hpp"
#include "nubase/bytestream.hpp"
#include "nubase/bitstream.hpp"
#include "nubase/coding.hpp"

// text
#include "nubase/string.hpp"
#include "nubase/strutil.hpp"
#include "nubase/conv.hpp"

// locators
#include "nubase/path.hpp"
#include "nubase/url.hpp"
#include "nubase/urlpath.hpp"
#include "nubase/ident.hpp"

// time
#include "nubase/timestamp.hpp"
#include "nubase/timecode.hpp"

// concurrency
#include "nubase/sync.hpp"
#include "nubase/thread.hpp"
#include "nubase/callqueue.hpp"

// system
#include "nubase/env.hpp"
#include "nubase/process.hpp"
#include "nubase/file.hpp"

// options and tests
#include "nubase/optparser.hpp"
#include "nubase/test.hpp"

#endif  // NUBASE_NUBASE_HPP
