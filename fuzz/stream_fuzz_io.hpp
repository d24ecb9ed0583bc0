// Shared pieces of the stream fuzz targets: an input cursor, the stream doubles of the tests, and
// the entry of the reader-and-writer targets.
#ifndef NUBASE_FUZZ_STREAM_FUZZ_IO_HPP
#define NUBASE_FUZZ_STREAM_FUZZ_IO_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "nubase/stream.hpp"
#include "vectors/stream.hpp"

namespace fuzz_io {

// Takes operation bytes from the front of the input; 0 once it is used up.
struct cursor {
    const std::uint8_t* p;
    std::size_t n;
    bool empty() const { return n == 0; }
    unsigned byte() {
        if (n == 0) return 0;
        --n;
        return *p++;
    }
    unsigned word() { return byte() | byte() << 8; }
};

using nubase_vectors::stream::piece_rd;
using nubase_vectors::stream::vec_wr;

// The entry of the reader-and-writer targets: the first input byte says how many operation
// bytes follow (twice its value); the rest is the stream's data. The same operation bytes then
// drive the writer.
template <class Reader, class Writer>
int run_reader_and_writer(const std::uint8_t* a_data, std::size_t a_size, Reader a_reader,
                          Writer a_writer) {
    if (a_size == 0) return 0;
    const std::size_t l_ops = std::min<std::size_t>(a_data[0] * 2u, a_size - 1);
    cursor l_reader_ops{a_data + 1, l_ops};
    a_reader(l_reader_ops, a_data + 1 + l_ops, a_size - 1 - l_ops);
    cursor l_writer_ops{a_data + 1, l_ops};
    a_writer(l_writer_ops);
    return 0;
}

#define FUZZ_CHECK(cond)           \
    do {                           \
        if (!(cond)) std::abort(); \
    } while (0)

}  // namespace fuzz_io

#endif  // NUBASE_FUZZ_STREAM_FUZZ_IO_HPP
