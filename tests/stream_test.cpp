// Streams: the memory streams' bounds and failure state, the seek-based defaults, the
// concatenating reader and the free read/write/copy helpers.
#include "nubase/stream.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "nubase/es.hpp"
#include "vectors/stream.hpp"

namespace {

using namespace nubase;
using nubase_vectors::stream::piece_rd;
using nubase_vectors::stream::vec_wr;
using stream::whence_current;
using stream::whence_end;
using stream::whence_start;

// The first n letters of the alphabet, handed out at most `piece` per read.
piece_rd letters(std::size_t n, unsigned long long piece) {
    const std::string abc = "abcdefghijklmnop";
    return piece_rd(std::vector<unsigned char>(abc.begin(), abc.begin() + n), piece);
}

// A seekable reader supplying only `read` and `seek`: the defaults must do the rest.
class minimal_rda : public stream::rda {
  public:
    explicit minimal_rda(std::string s) : m_data(std::move(s)) {}
    unsigned long long read(void* p, unsigned long long n) override {
        const unsigned long long c = std::min<unsigned long long>(n, m_data.size() - m_pos);
        std::memcpy(p, m_data.data() + m_pos, c);
        m_pos += c;
        return c;
    }
    unsigned long long seek(long long off, stream::whence w) override {
        const long long base = w == whence_start ? 0 : w == whence_current ? m_pos : m_data.size();
        return m_pos = static_cast<unsigned long long>(base + off);
    }

  private:
    std::string m_data;
    unsigned long long m_pos = 0;
};

template <class Error, class F>
void expect_raise(F f, const char* source, const char* message = "n/a") {
    try {
        f();
        ADD_FAILURE() << "nothing raised";
    } catch (const Error& e) {
        EXPECT_STREQ(source, e.file());
        EXPECT_STREQ(message, e.what());
    }
}

std::string text(const buffer& b) {
    return std::string(b.data(), b.data() + b.size());
}
std::string text(const std::vector<unsigned char>& v) {
    return std::string(v.begin(), v.end());
}

TEST(Stream, BufGrowsRereadsAndFillsGapsWithZeros) {
    buffer b(0ULL);
    stream::buf s(b);
    char out[10];
    EXPECT_EQ(0u, s.read(out, 10));
    s.write("abc", 3);
    EXPECT_EQ(3u, s.tell());
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
        const char* source;
    } targets[] = {{sb, "lib/nubase/src/stream_buf"}, {sm, "lib/nubase/src/stream_mem"}};
    for (auto& t : targets) {
        SCOPED_TRACE(t.source);
        t.s.seek(2, whence_start);
        const std::pair<long long, stream::whence> bad[] = {
            {-1, whence_start},   {1, whence_end},         {3, whence_current},
            {-3, whence_current}, {LLONG_MIN, whence_end}, {LLONG_MAX, whence_end},
            {5, whence_start}};
        for (const auto& b2 : bad) {
            expect_raise<es::range>([&] { t.s.seek(b2.first, b2.second); }, t.source);
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
    expect_raise<es::range>([&] { s.write("c", 1); }, "lib/nubase/src/stream_mem");
    s.seek(1, whence_start);
    expect_raise<es::range>([&] { s.write("xyzw", 4); }, "lib/nubase/src/stream_mem");
    EXPECT_EQ("12ab", std::string(raw, raw + 4));  // nothing of the failed writes arrived
    EXPECT_EQ(1u, s.tell());
    char out[8];
    EXPECT_EQ(2u, s.peek(out, 2));
    EXPECT_EQ(3u, s.read(out, 8));
    EXPECT_EQ("2ab", std::string(out, 3));
}

TEST(Stream, DefaultPeekTellSizeAreBuiltOnReadAndSeek) {
    minimal_rda s("hello");
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

TEST(Stream, MultiReaderConcatenatesAndDropsFinishedReaders) {
    piece_rd r1({'a', 'b'}, 9), r2({}, 9), r3({'c', 'd'}, 9);
    stream::multird m;
    m.add(r1);
    m.add(r2);
    m.add(r3);
    char out[16];
    EXPECT_EQ(4u, m.read(out, 10));
    EXPECT_EQ("abcd", std::string(out, 4));
    EXPECT_EQ(4u, m.tell());
    EXPECT_EQ(0u, m.read(out, 10));
    EXPECT_EQ(0u, m.read(out, 0));
    m.clear();
    EXPECT_EQ(0u, m.tell());
    EXPECT_EQ(0u, m.read(out, 10));

    // Twelve one-byte readers; four are finished (and dropped) when the list has to grow.
    stream::multird m2;
    std::vector<std::unique_ptr<piece_rd>> readers;
    for (int i = 0; i < 12; ++i) {
        readers.push_back(std::make_unique<piece_rd>(std::vector<unsigned char>{'a'}, 1));
        if (i == 8) {
            EXPECT_EQ(5u, m2.read(out, 5));
        }
        m2.add(*readers[i]);
    }
    EXPECT_EQ(7u, m2.read(out, 16));
    EXPECT_EQ(12u, m2.tell());
    EXPECT_EQ(0u, m2.read(out, 16));
    for (auto& r : readers)
        EXPECT_GE(2u, r->requests.size());  // never asked again after its end
    piece_rd last = letters(2, 2);          // adding after everything is finished still works
    m2.add(last);
    EXPECT_EQ(2u, m2.read(out, 16));
    EXPECT_EQ(14u, m2.tell());
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
        piece_rd s = letters(r.bytes, r.piece);
        char out[16];
        if (r.expected < 0) {
            expect_raise<es::uflow>([&] { stream::read(s, out, r.n, r.min); },
                                    "lib/nubase/src/stream_rd");
        } else {
            EXPECT_EQ(static_cast<unsigned long long>(r.expected),
                      stream::read(s, out, r.n, r.min));
            EXPECT_EQ(std::string("abcdefghij", r.expected), std::string(out, r.expected));
        }
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
        {3, 1, 24, 3},
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
    piece_rd src({'x'}, 1);
    expect_raise<es::arg>([&] { stream::write(w, src, 10, 0); }, "lib/nubase/src/stream_rd",
                          "chunk size is 0");
}

TEST(Stream, CopyUntilEndAndPassesSinkFailures) {
    piece_rd s = letters(10, 3);
    vec_wr w;
    EXPECT_EQ(10u, stream::copy(w, s, 4));
    EXPECT_EQ("abcdefghij", text(w.out));
    struct full_wr : vec_wr {
        void write(const void*, unsigned long long) override { throw es::range("test", 1, "full"); }
    } full;
    piece_rd s2 = letters(3, 3);
    EXPECT_THROW(stream::copy(full, s2, 4), es::range);  // the area is freed (ASan checks)
    buffer b(3ULL, reinterpret_cast<const unsigned char*>("xyz"));
    stream::write(w, b, 2);
    EXPECT_EQ("abcdefghijxy", text(w.out));
}

}  // namespace
