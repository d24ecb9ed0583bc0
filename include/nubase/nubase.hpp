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

// text
#include "nubase/string.hpp"
#include "nubase/strutil.hpp"
#include "nubase/conv.hpp"

// time
#include "nubase/timestamp.hpp"
#include "nubase/timecode.hpp"

// streams
#include "nubase/stream.hpp"
#include "nubase/bytestream.hpp"
#include "nubase/bitstream.hpp"

// codings
#include "nubase/coding.hpp"

// locators: paths
#include "nubase/path.hpp"
#include "nubase/urlpath.hpp"

// system: environment queries
#include "nubase/env.hpp"

// system: files, debug channels
#include "nubase/file.hpp"
#include "nubase/debug.hpp"

// system: child processes
#include "nubase/process.hpp"

// locators: URLs and identifier schemes
#include "nubase/url.hpp"
#include "nubase/ident.hpp"

// concurrency
#include "nubase/sync.hpp"
#include "nubase/thread.hpp"
#include "nubase/callqueue.hpp"

#endif  // NUBASE_NUBASE_HPP
