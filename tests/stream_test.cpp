// Streams: the memory streams' bounds and failure state, the seek-based defaults, the
// concatenating reader and the free read/write/copy helpers.
#include "nubase/stream.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "nubase/es.hpp"
#include "vectors/stream.hpp"

namespace {

using namespace nubase;
using nubase_vectors::stream::piece_rd;
using nubase_vectors::stream::raised;
using nubase_vectors::stream::vec_wr;
using stream::whence_current;
using stream::whence_end;
using stream::whence_start;

// The first n letters of the alphabet, handed out at most `piece` per read.
piece_rd letters(std::size_t n, unsigned long long piece) {
    return piece_rd(reinterpret_cast<const unsigned char*>("abcdefghijklmnop"), n, piece);
}

// A seekable reader supplying only `read` and `seek` (from a memory stream): the defaults must
// do the rest.
struct minimal_rda : stream::rda {
    explicit minimal_rda(stream::mem& a_inner) : inner(a_inner) {}
    unsigned long long read(void* p, unsigned long long n) override { return inner.read(p, n); }
    unsigned long long seek(long long o, stream::whence w) override { return inner.seek(o, w); }
    stream::mem& inner;
};

std::string text(const buffer& b) {
    return std::string(b.data(), b.data() + b.size());
}

TEST(Stream, BufGrowsRereadsAndFillsGapsWithZeros) {
    buffer b(0ULL);
    stream::buf s(b);
    char out[10];
    s.write("abc", 3);
    EXPECT_EQ(0u, s.seek(0, whence_start));
    EXPECT_EQ(3u, s.read(out, 10));
    EXPECT_EQ("abc", std::string(out, 3));
    s.seek(1, whence_start);  // overwrite inside, extend at the end
    s.write("XYZ", 3);
    EXPECT_EQ("aXYZ", text(b));
    EXPECT_EQ(4u, s.size());
    EXPECT_EQ(4u, s.tell());
    // Shrunk below the position, the next write fills the gap with zeros.
    s.write("ef", 2);
    s.resize(2);
    EXPECT_EQ(6u, s.tell());
    EXPECT_EQ(0u, s.read(out, 4));
    s.write("z", 1);
    EXPECT_EQ(std::string("aX\0\0\0\0z", 7), text(b));
}

TEST(Stream, SeekBoundsAndFailureState) {
    buffer b(4ULL, static_cast<unsigned char>('q'));
    unsigned char raw[4] = {};
    stream::buf sb(b);
    stream::mem sm(raw, 4);
    struct target {
        stream::rwa& s;
        const char* error;
    } targets[] = {{sb, "lib/nubase/src/stream_buf: n/a"}, {sm, "lib/nubase/src/stream_mem: n/a"}};
    for (auto& t : targets) {
        SCOPED_TRACE(t.error);
        t.s.seek(2, whence_start);
        const std::pair<long long, stream::whence> bad[] = {
            {-1, whence_start}, {-3, whence_current},    {3, whence_current},    {5, whence_start},
            {1, whence_end},    {LLONG_MIN, whence_end}, {LLONG_MAX, whence_end}};
        for (const auto& b2 : bad) {
            EXPECT_EQ(t.error, raised<es::range>([&] { t.s.seek(b2.first, b2.second); }));
            EXPECT_EQ(2u, t.s.seek(0, whence_current));  // a failed seek does not move
        }
        EXPECT_EQ(4u, t.s.seek(0, whence_end));
        EXPECT_EQ(4u, t.s.seek(0, whence_current));
        EXPECT_EQ(0u, t.s.seek(-4, static_cast<stream::whence>(7)));  // any other value: the end
        t.s.seek(3, whence_start);
        EXPECT_EQ(4u, t.s.size());
        EXPECT_EQ(3u, t.s.tell());  // size() leaves the position
    }
}

TEST(Stream, MemWriteNeverGrowsAndFailsWhole) {
    unsigned char raw[4] = {'1', '2', '3', '4'};
    stream::mem s(raw, 4);
    s.seek(2, whence_start);
    s.write("ab", 2);
    const std::string full = "lib/nubase/src/stream_mem: n/a";
    EXPECT_EQ(full, raised<es::range>([&] { s.write("c", 1); }));
    s.seek(1, whence_start);
    EXPECT_EQ(full, raised<es::range>([&] { s.write("xyzw", 4); }));
    EXPECT_EQ("12ab", std::string(raw, raw + 4));  // nothing of the failed writes arrived
    EXPECT_EQ(1u, s.tell());
    char out[8];
    EXPECT_EQ(2u, s.peek(out, 2));
    EXPECT_EQ(3u, s.read(out, 8));
    EXPECT_EQ("2ab", std::string(out, 3));
}

TEST(Stream, DefaultPeekTellSizeAreBuiltOnReadAndSeek) {
    unsigned char raw[5] = {'h', 'e', 'l', 'l', 'o'};
    stream::mem inner(raw, 5);
    minimal_rda s(inner);
    char out[8];
    s.seek(1, whence_start);
    EXPECT_EQ(3u, s.peek(out, 3));
    EXPECT_EQ("ell", std::string(out, 3));
    EXPECT_EQ(1u, s.tell());
    EXPECT_EQ(5u, s.size());
    EXPECT_EQ(1u, s.tell());
    EXPECT_EQ(4u, s.peek(out, 8));  // a short peek seeks back by what arrived
    EXPECT_EQ(1u, s.tell());
}

TEST(Stream, MultiReaderConcatenatesDropsFinishedReadersAndClears) {
    // Twelve one-byte readers; four are finished (and dropped) when the list has to grow.
    stream::multird m;
    std::vector<std::unique_ptr<piece_rd>> readers;
    char out[16];
    for (int i = 0; i < 12; ++i) {
        readers.push_back(std::make_unique<piece_rd>(
            std::vector<unsigned char>{static_cast<unsigned char>('a' + i)}, 1));
        if (i == 8) {
            EXPECT_EQ(5u, m.read(out, 5));
            EXPECT_EQ("abcde", std::string(out, 5));
        }
        m.add(*readers[i]);
    }
    EXPECT_EQ(7u, m.read(out, 16));
    EXPECT_EQ("fghijkl", std::string(out, 7));
    EXPECT_EQ(12u, m.tell());
    EXPECT_EQ(0u, m.read(out, 16));
    for (auto& r : readers)
        EXPECT_GE(2u, r->requests.size());  // never asked again after its end
    piece_rd last = letters(4, 2);          // adding after everything is finished still works
    m.add(last);
    EXPECT_EQ(0u, m.read(out, 0));
    EXPECT_EQ(2u, m.read(out, 2));
    EXPECT_EQ(14u, m.tell());
    m.clear();  // forgets the readers, also one with bytes left, and the position
    EXPECT_EQ(0u, m.tell());
    EXPECT_EQ(0u, m.read(out, 10));
}

TEST(Stream, ReadMinimumSemantics) {
    const struct {
        std::size_t bytes;
        unsigned long long piece, n, min;
        long long expected;  // -1: es::uflow
    } rows[] = {
        {3, 3, 10, 4, -1},  {6, 3, 10, 4, 6}, {12, 3, 10, 10, 10}, {10, 10, 10, 0, 10},
        {0, 10, 10, 0, -1}, {5, 5, 0, 0, -1}, {10, 5, 5, 6, -1},   {3, 1, 3, 2, 2},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.bytes << " bytes, n " << r.n << ", min " << r.min);
        piece_rd s = letters(r.bytes, r.piece);
        char out[16];
        unsigned long long got = 0;
        const std::string error =
            raised<es::uflow>([&] { got = stream::read(s, out, r.n, r.min); });
        EXPECT_EQ(r.expected < 0 ? "lib/nubase/src/stream_rd: n/a" : "", error);
        EXPECT_EQ(std::string("abcdefghij", r.expected < 0 ? 0 : r.expected),
                  std::string(out, got));
    }
    piece_rd s = letters(3, 3);
    buffer b(0ULL);
    stream::read(s, b, 8);  // one read, short is fine
    EXPECT_EQ("abc", text(b));
}

TEST(Stream, WriteTransfersEightBytesPerPass) {
    const struct {
        unsigned long long n, chunk, expected;
        std::size_t requests;
    } rows[] = {
        {100, 10, 80, 10},  // ten passes of 8, no remainder
        {25, 10, 21, 3},    // two passes, then the remainder 5 with its true length
        {9, 10, 0, 0},      // no pass: not even the remainder
        {12, 4, 24, 3},     // a chunk below 8 still asks for 8
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.n);
        piece_rd src(std::vector<unsigned char>(1000, 'x'), 1000);
        vec_wr w;
        EXPECT_EQ(r.expected, stream::write(w, src, r.n, r.chunk));
        EXPECT_EQ(r.expected, w.out.size());
        EXPECT_EQ(r.requests, src.requests.size());
    }
    piece_rd s = letters(16, 8);
    vec_wr w;
    EXPECT_EQ(16u, stream::write(w, s, 100, 10));  // a read of 0 ends at once
    EXPECT_EQ("lib/nubase/src/stream_rd: chunk size is 0",
              raised<es::arg>([&] { stream::write(w, s, 10, 0); }));
}

TEST(Stream, CopyUntilEndAndPassesSinkFailures) {
    piece_rd s = letters(10, 3);
    vec_wr w;
    EXPECT_EQ(10u, stream::copy(w, s, 4));
    struct full_wr : vec_wr {
        void write(const void*, unsigned long long) override { throw es::range("test", 1, "full"); }
    } full;
    piece_rd s2 = letters(3, 3);
    EXPECT_THROW(stream::copy(full, s2, 4), es::range);  // the area is freed (ASan checks)
    buffer b(3ULL, reinterpret_cast<const unsigned char*>("xyz"));
    stream::write(w, b, 2);
    EXPECT_EQ("abcdefghijxy", std::string(w.out.begin(), w.out.end()));
}

}  // namespace
