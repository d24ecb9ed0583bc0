// tools/nubase/media/walk_input.hpp - the input of a container reader, read front to back.
//
// A container reader walks its file once, from the front, through the library's byte reader:
// over a seekable stream it jumps where it skips, over a pipe it reads through, handing what it
// passes to a `kept_bytes` so that bytes needed later (a sample whose place the reader learns
// only afterwards) are not lost. Reading past the end raises `es::uflow`, as the byte reader does.
#ifndef NUBASE_TOOL_MEDIA_WALK_INPUT_HPP
#define NUBASE_TOOL_MEDIA_WALK_INPUT_HPP

#include <cstdint>
#include <map>
#include <vector>

#include "nubase/bytestream.hpp"
#include "nubase/stream.hpp"

namespace nubase_tool {

constexpr std::uint64_t k_no_end = ~std::uint64_t{0};

// Bytes that a pipe keeps while reading through: the first `limit` bytes it passes with `keep`,
// and the ranges already known to be wanted.
struct kept_bytes {
    explicit kept_bytes(std::uint64_t a_limit) : limit(a_limit) {}
    std::uint64_t limit;
    std::uint64_t first = 0;                                      // file offset of `front`
    std::vector<unsigned char> front;                             // up to `limit` bytes
    std::map<std::uint64_t, std::vector<unsigned char>> samples;  // offset -> bytes so far
    std::map<std::uint64_t, std::uint32_t> wanted;                // offset -> size

    // n bytes at `offset` from what was kept; false when they were not.
    bool find(std::uint64_t a_offset, std::uint32_t a_n, std::vector<unsigned char>& a_out) const;
};

class walk_input {
  public:
    // `seekable` is the same stream as `source` when it can seek, else null.
    walk_input(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable);

    // The size of a seekable input, k_no_end for a pipe.
    std::uint64_t end() const { return m_end; }
    bool seekable() const { return m_seekable != nullptr; }
    std::uint64_t tell() const { return m_rd.tell(); }
    // The byte reader, for typed fields at the current position.
    const nubase::bytestream::rd& reader() const { return m_rd; }

    // Whether at least n more bytes can be read.
    bool has(std::uint64_t a_n);
    // Moves forward to `offset`; from a pipe the bytes on the way are read and given to `keep`.
    void skip_to(std::uint64_t a_offset, kept_bytes* a_keep = nullptr);
    // The next n bytes, grown as they arrive (a size a pipe never delivers costs no memory).
    std::vector<unsigned char> read(std::uint64_t a_n);
    // n bytes at `offset` of a seekable input; false when the input ends first.
    bool fetch(std::uint64_t a_offset, std::uint32_t a_n, std::vector<unsigned char>& a_out);

  private:
    nubase::stream::rd& m_source;
    nubase::stream::rda* m_seekable;
    nubase::bytestream::rd m_rd;
    std::uint64_t m_end;
};

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MEDIA_WALK_INPUT_HPP
