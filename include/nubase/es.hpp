// nubase/es.hpp - the exception family, severities, fatal abort and call-stack printing.
//
// Every failure the library reports is a thrown object of the `nubase::es` family. Each object
// carries the source name of the raising family (a stable identity such as
// "lib/nubase/src/stream_buf", not the compiler's file name), a line and a fixed English
// message. Callers catch by kind:
//
//   try {
//       nubase::stream::read(reader, out, 16);
//   } catch (const nubase::es::uflow& e) {       // ran out of data
//       std::fprintf(stderr, "%s:%u: %s\n", e.file(), e.line(), e.what());
//   } catch (const nubase::es::base& e) {        // any other library failure
//       ...
//   }
//
// Truly fatal conditions do not throw: they go through `ds::abort`, which prints one line and
// ends the process with SIGABRT.
#ifndef NUBASE_ES_HPP
#define NUBASE_ES_HPP

#include <cstdarg>
#include <exception>
#include <string>

#include "nubase/config.hpp"

namespace nubase {

// Severity levels, most severe first (values 0 to 7).
enum class severity : int { fatal, alert, critical, error, warning, notice, info, debug };

// "fatal", "alert", "critical", "error", "warning", "notice", "info" or "debug" for 0 to 7;
// "UNKNOWN" for any other value, negative ones included (`severity(-1)`). Never throws.
[[nodiscard]] NUBASE_API const char* cstr_with_severity(severity a_severity) noexcept;

namespace es {

// The root of the family. Holds the raising site's source name, line and message; a null message
// is stored as "n/a". Objects are plain values: copying duplicates the strings.
//
// `msg()` returns `what()` through the virtual call, so a class that overrides `what()`
// (`es::file`) changes `msg()` too. Printers show both.
class NUBASE_API base : public std::exception {
  public:
    base(const char* a_file, unsigned a_line, const char* a_msg);
    base(const char* a_file, unsigned a_line, const std::string& a_msg);
    ~base() override;

    // The message; never null.
    const char* what() const noexcept override;
    // The source name of the raising family ("lib/nubase/src/...").
    virtual const char* file() const noexcept;
    // The line given by the raising site.
    virtual unsigned line() const noexcept;
    // `what()`, reached through the virtual call.
    virtual const char* msg() const noexcept;

  private:
    std::string m_file;
    unsigned m_line;
    std::string m_message;
};

// A failure reported by an outside interface as a numeric status. The library offers it to host
// programs and never raises it itself.
class NUBASE_API api_code : public base {
  public:
    api_code(const char* a_file, unsigned a_line, long long a_code, const std::string& a_msg);
    ~api_code() override;

    // The full signed 64-bit status, negative values included.
    long long code() const noexcept { return m_code; }

    [[noreturn]] static void raise(const char* a_file, unsigned a_line, long long a_code,
                                   const std::string& a_msg);

  private:
    long long m_code;
};

// A failed file operation. The base message is empty; `what()` (and so `msg()`) formats
// "Failed to <action> file <subject> (<reason>)" anew on every call, so a subject set after the
// raise is shown:
//
//   es::file e(k_source, 10, "Permission denied", "open", "/a/b");
//   e.what();                 // "Failed to open file /a/b (Permission denied)"
//   e.set_subject_file("/c");
//   e.what();                 // "Failed to open file /c (Permission denied)"
//
// Inside this class its own name hides the inherited accessor `file()` (a member cannot be named
// like its class), so callers reach the source name through a `const es::base&`:
//   static_cast<const es::base&>(e).file()
class NUBASE_API file : public base {
  public:
    file(const char* a_file, unsigned a_line, const std::string& a_reason,
         const std::string& a_action, const std::string& a_subject = std::string());
    file(const file&);
    file& operator=(const file&);
    ~file() override;

    const char* what() const noexcept override;

    const std::string& get_subject_file() const noexcept { return m_subject; }
    void set_subject_file(const std::string& a_subject) { m_subject = a_subject; }
    const std::string& reason() const noexcept { return m_reason; }
    const std::string& action() const noexcept { return m_action; }

    // Raises with an empty subject: "Failed to open file  (reason)" has two blanks.
    [[noreturn]] static void raise(const char* a_file, unsigned a_line, const std::string& a_reason,
                                   const std::string& a_action);
    [[noreturn]] static void raise(const char* a_file, unsigned a_line, const std::string& a_reason,
                                   const std::string& a_action, const std::string& a_subject);

  private:
    std::string m_reason;
    std::string m_action;
    std::string m_subject;
    mutable std::string m_formatted;
};

// A failed system call. The numbered form builds "<msg> (err = <n>)" ("n/a" for a null message),
// cut at 255 characters; it never fails on a long message.
class NUBASE_API call : public base {
  public:
    call(const char* a_file, unsigned a_line, const char* a_msg);
    ~call() override;

    [[noreturn]] static void raise(const char* a_file, unsigned a_line, const char* a_msg);
    [[noreturn]] static void raise(int a_err, const char* a_file, unsigned a_line,
                                   const char* a_msg);
};

// The plain leaves: no fields, no overrides; they exist so that callers catch by kind. Each is
// raised through its static `raise(file, line, message)`, which never returns.
//   arg    bad input (malformed coded text, bad timecode text, unreadable file contents)
//   alloc  allocation failure (offered to hosts)
//   inuse  resource busy (offered)
//   null   null pointer given (offered)
//   oflow  overflow (offered)
//   range  an offset outside a stream, a write past the end of a memory stream
//   uflow  a stream ran out of data
//   uninit use before initialisation (offered)
//   unsupp an operation called where it is not supported (for example from the wrong thread)
//   uspec  unspecified fault (offered)
#define NUBASE_ES_LEAF(name)                                                                    \
    class NUBASE_API name : public base {                                                       \
      public:                                                                                   \
        name(const char* a_file, unsigned a_line, const char* a_msg);                           \
        ~name() override;                                                                       \
        [[noreturn]] static void raise(const char* a_file, unsigned a_line, const char* a_msg); \
    };
// The one list of plain leaves; the library's definitions expand the same list.
#define NUBASE_ES_PLAIN_LEAVES(X) \
    X(arg) X(alloc) X(inuse) X(null) X(oflow) X(range) X(uflow) X(uninit) X(unsupp) X(uspec)
NUBASE_ES_PLAIN_LEAVES(NUBASE_ES_LEAF)
#undef NUBASE_ES_LEAF

}  // namespace es

namespace ds {

// Fatal stop; never returns. Prints "Abort [<file>:<line>] '<message>'" (no newline; "n/a" for a
// null file) to standard output, closes the three standard streams so that buffered output is
// flushed, blocks every signal but SIGABRT and raises it. If a handler returns, the default
// action is restored and SIGABRT raised again; should the process still live it waits in
// `sigsuspend` and finally calls `exit(1)`. The message is cut at 1023 characters.
[[noreturn]] NUBASE_API void abort(const char* a_file, unsigned a_line, const char* a_format, ...)
    __attribute__((format(printf, 3, 4)));
[[noreturn]] NUBASE_API void abort_va(const char* a_file, unsigned a_line, const char* a_format,
                                      va_list a_args);

// Prints the calling thread's stack to standard output, one frame a line, without the printer's
// own frame: "#<n> 0x<address> <demangled symbol>+0x<offset> (<module>)", or "??" where no symbol
// is known. Uses the platform's own symbol look-up (no outside symboliser is started, so nothing
// is set in the environment). Not synchronised: lines of two threads printing at once may mix.
NUBASE_API void print_callstack();

}  // namespace ds
}  // namespace nubase

#endif  // NUBASE_ES_HPP
