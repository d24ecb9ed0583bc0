// nubase/stream.hpp - abstract byte streams, three memory-backed streams and the free helpers.
//
// Readers (`rd`) and writers (`wr`) are separate interfaces; `rda` and `wra` add seeking and
// `rwa` combines both. The byte- and bit-stream classes (bytestream.hpp, bitstream.hpp) sit on
// top of `rd` and `wr`; file streams and host streams implement them too.
//
//   nubase::buffer b;
//   nubase::stream::buf s(b);
//   s.write("abc", 3);                       // b now holds "abc"
//   s.seek(0, nubase::stream::whence_start);
//   char out[3];
//   nubase::stream::read(s, out, 3, 3);      // exactly 3 bytes or es::uflow
//
// Sizes, counts and positions are unsigned 64-bit; seek offsets are signed 64-bit. A stream
// object is used by one thread at a time.
#ifndef NUBASE_STREAM_HPP
#define NUBASE_STREAM_HPP

#include "nubase/buffer.hpp"
#include "nubase/config.hpp"

namespace nubase {
namespace stream {

// Where a seek offset counts from. The concrete streams of this header treat any value other
// than `whence_start` and `whence_current` as `whence_end`.
enum whence : int { whence_start = 0, whence_current = 1, whence_end = 2 };

// A reader. `read` copies up to n bytes to p and returns how many arrived: 0 means end of data,
// fewer than n is allowed. `tell` is the position of the next byte to be read.
class NUBASE_API rd {
  public:
    virtual ~rd();
    virtual unsigned long long read(void* a_p, unsigned long long a_n) = 0;
    virtual unsigned long long tell() = 0;
};

// A seekable reader. Only `read` and `seek` must be supplied; the others are built on them:
//   tell()  = seek(0, whence_current)
//   peek()  = read, then seek back by the count read; returns the count
//   size()  = seek(0, whence_end), then seek back to the remembered position from the start
// `seek` returns the new position.
class NUBASE_API rda : public rd {
  public:
    ~rda() override;
    unsigned long long read(void* a_p, unsigned long long a_n) override = 0;
    unsigned long long tell() override;
    virtual unsigned long long peek(void* a_p, unsigned long long a_n);
    virtual unsigned long long seek(long long a_offset, whence a_whence) = 0;
    virtual unsigned long long size();
};

// A writer. `write` writes all n bytes or raises; `flush` hands buffered bytes on.
class NUBASE_API wr {
  public:
    virtual ~wr();
    virtual void write(const void* a_p, unsigned long long a_n) = 0;
    virtual void flush() = 0;
    virtual unsigned long long tell() = 0;
};

// A seekable writer; `tell` and `size` are built on `seek` as for `rda`.
class NUBASE_API wra : public wr {
  public:
    ~wra() override;
    void write(const void* a_p, unsigned long long a_n) override = 0;
    void flush() override = 0;
    unsigned long long tell() override;
    virtual unsigned long long seek(long long a_offset, whence a_whence) = 0;
    virtual unsigned long long size();
};

// A seekable reader-writer. One `seek` serves both bases; `tell` and `size` are the seek-based
// forms, the same whichever base they are reached from.
class NUBASE_API rwa : public rda, public wra {
  public:
    ~rwa() override;
    unsigned long long seek(long long a_offset, whence a_whence) override = 0;
    unsigned long long tell() override;
    unsigned long long size() override;
};

// A stream over a `buffer` the caller owns and that outlives the stream. Reads stop at the
// buffer's size; writes overwrite and extend it (`buffer::resize`), never raise on their own.
// Should the buffer have shrunk below the position (a caller's resize), a write fills the gap
// with zero bytes and a read returns 0.
class NUBASE_API buf : public rwa {
  public:
    // Binds to b at position 0.
    explicit buf(buffer& a_buffer) noexcept;
    ~buf() override;
    buf(const buf&) = delete;
    buf& operator=(const buf&) = delete;

    // Rebinds to b at position 0.
    void set(buffer& a_buffer) noexcept;

    // min(n, size - position) bytes; 0 at or past the end. Never throws.
    unsigned long long read(void* a_p, unsigned long long a_n) override;
    // The same bytes as `read`, position unchanged. Never throws.
    unsigned long long peek(void* a_p, unsigned long long a_n) override;
    // Grows the buffer to position + n where needed and copies. Raises only `std::bad_alloc`,
    // leaving buffer and position unchanged.
    void write(const void* a_p, unsigned long long a_n) override;
    // New position from the start, the position or the size. Outside 0..size raises `es::range`
    // (source "lib/nubase/src/stream_buf", message "n/a") and the position does not move.
    unsigned long long seek(long long a_offset, whence a_whence) override;
    // Resizes the underlying buffer; the position is left as it is.
    void resize(unsigned long long a_size);
    unsigned long long tell() override { return m_position; }
    // Does nothing.
    void flush() override;

  private:
    buffer* m_buffer;
    unsigned long long m_position;
};

// A stream over n bytes of caller-owned memory. It never grows.
class NUBASE_API mem : public rwa {
  public:
    // Binds to the n bytes at p, position 0. Reading a stream bound to read-only memory is fine;
    // only `write` stores through p.
    mem(unsigned char* a_p, unsigned long long a_n) noexcept;
    ~mem() override;
    mem(const mem&) = delete;
    mem& operator=(const mem&) = delete;

    void set(unsigned char* a_p, unsigned long long a_n) noexcept;

    // As for `buf`, bounded by the fixed size. Never throw.
    unsigned long long read(void* a_p, unsigned long long a_n) override;
    unsigned long long peek(void* a_p, unsigned long long a_n) override;
    // Fewer than n bytes of room raises `es::range` (source "lib/nubase/src/stream_mem",
    // message "n/a") and writes nothing.
    void write(const void* a_p, unsigned long long a_n) override;
    // As for `buf`; outside 0..size raises `es::range` from "lib/nubase/src/stream_mem" and the
    // position does not move.
    unsigned long long seek(long long a_offset, whence a_whence) override;
    unsigned long long tell() override { return m_position; }
    void flush() override;

  private:
    unsigned long long m_size;
    unsigned char* m_data;
    unsigned long long m_position;
};

// A reader that concatenates other readers, which it does not own and which outlive it.
// A reader that returned 0 is finished and never asked again.
//
//   multird all;
//   all.add(header);
//   all.add(body);
//   stream::copy(out, all, 65536);
class NUBASE_API multird : public rd {
  public:
    // Empty list with room for 8 readers.
    multird();
    ~multird() override;
    multird(const multird&) = delete;
    multird& operator=(const multird&) = delete;

    // Forgets every reader (they are not touched); `tell()` becomes 0.
    void clear() noexcept;
    // Appends r. When the list is full its room doubles; the finished readers are dropped while
    // it is copied. Raises only `std::bad_alloc`, leaving the list as it was.
    void add(rd& a_reader);

    // Reads from the current reader on, moving past finished ones, until n bytes arrived or the
    // last reader is finished; returns the count. A request of 0 bytes returns 0 and asks no
    // reader. Exceptions of the readers pass through; the bytes that arrived before are then
    // not counted in `tell()`.
    unsigned long long read(void* a_p, unsigned long long a_n) override;
    // The bytes delivered since construction or `clear`.
    unsigned long long tell() override { return m_position; }

  private:
    unsigned long long m_capacity;
    rd** m_list;  // m_capacity + 1 entries, the used ones followed by a null entry
    unsigned long long m_count;
    unsigned long long m_current;
    unsigned long long m_position;
};

// Reads into p until at least `min` of the n bytes arrived; returns the count (between min and
// n). A read that returns 0 first raises `es::uflow` (source "lib/nubase/src/stream_rd",
// message "n/a"); the bytes already at p stay there. The test follows each read, so a request of
// 0 bytes raises even when min is 0.
NUBASE_API unsigned long long read(rd& a_reader, void* a_p, unsigned long long a_n,
                                   unsigned long long a_min);

// Resizes b to n, makes one `read` into it and resizes b to the count read. A short read is not
// an error; b's capacity may stay larger than its size.
NUBASE_API void read(rd& a_reader, buffer& a_buffer, unsigned long long a_n);

// Writes the first n bytes of b's array. n is not checked against b's size: it must not exceed
// b's capacity.
NUBASE_API void write(wr& a_writer, const buffer& a_buffer, unsigned long long a_n);

// Copies r to w through a chunk-sized area until a read returns 0; returns the total copied.
// A chunk of 0 copies nothing. The area is freed on every path, also when a stream raises.
NUBASE_API unsigned long long copy(wr& a_writer, rd& a_reader, unsigned long long a_chunk);

// Transfers in n / chunk passes, each asking r for 8 bytes (a fixed request of 8 whatever the
// chunk) and writing what arrived; a read of 0 ends the transfer at once. Only if a pass ran, the
// remainder n % chunk is then read with its true length and written. Returns the total written:
// with n below chunk nothing is transferred. The area holds max(chunk, 8) bytes, so a chunk
// below 8 is safe, and is freed on every path. A chunk of 0 raises `es::arg` (source
// "lib/nubase/src/stream_rd", message "chunk size is 0").
NUBASE_API unsigned long long write(wr& a_writer, rd& a_reader, unsigned long long a_n,
                                    unsigned long long a_chunk);

}  // namespace stream
}  // namespace nubase

#endif  // NUBASE_STREAM_HPP
