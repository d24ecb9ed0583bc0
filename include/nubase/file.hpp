// nubase/file.hpp - a minimal file-descriptor handle with strict errors, path classifiers and
// whole-file helpers.
//
// `file` wraps a POSIX descriptor. Every failed system call raises `es::file` carrying the name of
// the operation and the system's error text ("Failed to read file  (Is a directory)"); nothing is
// closed behind the caller's back: the destructor never closes, `close()` is always explicit.
// `fileutil` builds read-a-whole-file and write-a-whole-file conveniences on it.
//
//   nubase::file f("/tmp/out.bin", O_WRONLY | O_CREAT | O_TRUNC, 0644);   // <fcntl.h> flags
//   f.write(data, size);       // a short write raises
//   f.close();
//
//   std::string text = nubase::fileutil::string_with_file_content("/etc/hostname");
//
// Source names of the raise sites: "lib/nubase/src/darwin/file" for `file`,
// "lib/nubase/src/utility" for `fileutil`. None of this is locked: a `file` is used by one thread
// at a time.
#ifndef NUBASE_FILE_HPP
#define NUBASE_FILE_HPP

#include <string>

#include "nubase/buffer.hpp"
#include "nubase/config.hpp"

namespace nubase {

// A descriptor handle. Each object owns a heap-allocated `int` holding the descriptor (-1 when
// closed). Copying allocates a new `int` holding the same descriptor number, and assignment copies
// the number: copies name the same open descriptor but do not share their state, so closing one
// copy sets only that copy to -1 and the other still shows the old number. The destructor frees
// the `int` and never closes the descriptor.
//
// Descriptor 0 counts as closed (`is_open()` is false and `close()` leaves it alone): standard
// input is never closed through this class.
//
// Raises `es::file` with the operation's name and the system's error text; only `open` names the
// path in the message, the other operations raise with an empty path.
class NUBASE_API file {
  public:
    // Opens `a_path` with `open(2)` flags and mode; see `open()`. An empty path leaves the file
    // closed without error.
    file(const std::string& a_path, unsigned int a_flags, unsigned int a_mode);
    // Wraps a descriptor the caller already has (any value, -1 included); nothing is checked.
    explicit file(int a_fd);
    file(const file& a_other);
    file& operator=(const file& a_other);
    ~file();

    // Opens `a_path` into this object (a descriptor held before is forgotten, not closed). An
    // empty path does nothing. Raises es::file "Failed to open file <path> (<reason>)" when
    // `open(2)` fails; the descriptor is then -1.
    void open(const std::string& a_path, unsigned int a_flags, unsigned int a_mode);
    // Closes a descriptor greater than 0 and sets it to -1; does nothing otherwise. Raises
    // es::file "close" when `close(2)` fails (the descriptor is still set to -1: the system has
    // released it either way).
    void close();
    // Whether the descriptor is greater than 0.
    [[nodiscard]] bool is_open() const noexcept;

    // One `read(2)` of at most `a_size` bytes; returns the count, 0 at end of file, a short count
    // as is. Raises es::file "read" on failure.
    unsigned long long read(void* a_data, unsigned long long a_size);
    // One `write(2)` of `a_size` bytes; returns `a_size`. Anything but the full size raises
    // es::file "write", a short write included (with whatever the system's error text is then).
    unsigned long long write(const void* a_data, unsigned long long a_size);
    // The current offset. Raises es::file "tell".
    unsigned long long tell();
    // `lseek(2)` to `a_offset` from `a_whence` (SEEK_SET 0, SEEK_CUR 1, SEEK_END 2); returns the
    // new offset. The offset is passed on as a signed 64-bit value, so ~0ULL with SEEK_END steps
    // one byte back. Raises es::file "seek".
    unsigned long long seek(unsigned long long a_offset, int a_whence);
    // The size from `fstat(2)`. Raises es::file "stat".
    unsigned long long size();
    // Sets FD_CLOEXEC on the descriptor; failures are ignored.
    void close_on_exec() noexcept;

    void set_fd(int a_fd) noexcept { *m_fd = a_fd; }
    [[nodiscard]] int get_fd() const noexcept { return *m_fd; }

    // Always false: this platform has no system-file attribute.
    [[nodiscard]] static bool is_system_file(const std::string& a_path);
    // Whether the last '/'-separated component of `a_path` is empty or begins with '.':
    // "a/" and ".profile" are hidden, "a/b" is not.
    [[nodiscard]] static bool is_hidden_file(const std::string& a_path);

    // File-manager aliases do not exist on this platform: the three tests are always false and
    // `resolve_alias` only normalises the path: its '/'-separated components with the empty ones
    // dropped, joined by '/' and rooted ("a//b/" -> "/a/b", "" -> "/"). ".." is not resolved.
    [[nodiscard]] static bool is_alias(const std::string& a_path);
    [[nodiscard]] static bool is_alias_to_directory(const std::string& a_path);
    [[nodiscard]] static bool is_alias_to_file(const std::string& a_path);
    [[nodiscard]] static std::string resolve_alias(const std::string& a_path);

  private:
    int* m_fd;
};

// Orders files by descriptor number, for ordered containers.
struct NUBASE_API file_cmp {
    bool operator()(const file& a_left, const file& a_right) const noexcept {
        return a_left.get_fd() < a_right.get_fd();
    }
};

namespace fileutil {

// Reads the whole file into `a_content`. Opens read-only; a missing or unreadable file raises the
// open failure of `file` (es::file "Failed to open file <path> (<reason>)"). The file is read up
// to the size `fstat` reported, in as many reads as the system needs; ending early (the file
// shrank) raises es::call "failed to read file '<path>'". An empty path raises es::arg
// "failed to open file '<path>'". On any failure `a_content` is left unchanged.
//
// A failure after the file was opened (a read error, reading a directory) leaves its descriptor
// open: like `file` itself, these helpers close only on their success paths.
NUBASE_API void get_file_content(const std::string& a_path, std::string& a_content);
// The same into a buffer, which ends with the file's size.
NUBASE_API void get_file_content(const std::string& a_path, buffer& a_content);
// The string form of `get_file_content`.
[[nodiscard]] NUBASE_API std::string string_with_file_content(const std::string& a_path);

// Creates or truncates the file (mode 0644) and writes the whole content. An open failure raises
// the es::file of `file`; a write that stops short raises es::file "write"; an empty path raises
// es::arg "failed to open/create file '<path>'".
NUBASE_API void set_file_content(const std::string& a_path, const std::string& a_content);
NUBASE_API void set_file_content(const std::string& a_path, const buffer& a_content);

// Reads the first `a_count` bytes of the file into `a_bytes`, which always ends with size
// `a_count`: bytes beyond the end of the file are zero. An empty path raises es::arg
// "failed to open file '<path>'"; open and read failures raise the es::file of `file`.
NUBASE_API void get_file_bytes(const std::string& a_path, unsigned long long a_count,
                               buffer& a_bytes);

// Removes the file with `unlink(2)`. Raises es::arg "failed to remove file '<path>' (<reason>)".
NUBASE_API void remove_file(const std::string& a_path);

// Maps any text to a file name of the same length, byte by byte: letters, digits and
// ! # % ( ) + - = @ [ ] are kept; , . : ; become '.'; everything else (" $ & ' * / < > ? \ ^ _ `
// the blank, control bytes, { | } ~ and every byte with the high bit set) becomes '_'.
// "a b/c:d.e" -> "a_b_c.d.e". Never throws but for allocation.
[[nodiscard]] NUBASE_API std::string create_safe_filename(const std::string& a_text);

}  // namespace fileutil
}  // namespace nubase

#endif  // NUBASE_FILE_HPP
