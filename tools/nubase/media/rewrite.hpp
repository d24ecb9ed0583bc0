// tools/nubase/media/rewrite.hpp - changes a timecode value where it lies in a file, in place.
//
// Only the value's own bytes are written, with one positioned write and an fsync; the file's
// size and every other byte stay as they were. The file must be the very one that was read (same
// device, inode and size), so a file replaced or grown in between is refused, not written.
#ifndef NUBASE_TOOL_MEDIA_REWRITE_HPP
#define NUBASE_TOOL_MEDIA_REWRITE_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace nubase_tool {

// What identifies a file between its reading and its rewriting.
struct file_identity {
    std::uint64_t device = 0, inode = 0, size = 0;
};

// The identity of the regular file at `path`. Raises `input_error` when it cannot be had or
// the file is not a regular file.
file_identity identify_regular_file(const std::string& a_path);

// Whether the caller may write the file at `path`.
bool is_writable(const std::string& a_path);

// `value` as the 4 bytes of a big-endian field, the form of a timecode sample.
std::vector<unsigned char> be32_field(std::uint32_t a_value);
// `value` as the 8 bytes of a little-endian field, the form of a WAV time reference.
std::vector<unsigned char> le64_field(std::uint64_t a_value);

// Writes `bytes` at `offset` of the file at `path` in one `pwrite`, then `fsync`s it, after
// checking that it is still `identity` and that the bytes lie inside it. Raises `input_error`
// ("the file changed since it was read", "cannot write: <reason>") and writes nothing then.
void rewrite_in_place(const std::string& a_path, const file_identity& a_identity,
                      std::uint64_t a_offset, const std::vector<unsigned char>& a_bytes);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MEDIA_REWRITE_HPP
