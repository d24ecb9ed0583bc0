// Streams: the memory streams' bounds and failure state, the seek-based defaults, the
// concatenating reader and the free read/write/copy helpers.
#include "nubase/stream.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "nubase/es.hpp"

namespace {

using namespace nubase;
using stream::whence_current;
using stream::whence_end;
using stream::whence_start;

// A reader that hands out one scripted count per call (bytes 'a', 'b', ... in order), then 0;
// it records every request and whether it was asked after returning 0.
class script_rd : public stream::rd {
  public:
    explicit script_rd(std::vector<unsigned long long> counts) : m_counts(std::move(counts)) {}
    unsigned long long read(void* p, unsigned long long n) override {
        requests.push_back(n);
        if (m_done) asked_after_end = true;
        unsigned long long c = m_next < m_counts.size() ? m_counts[m_next++] : 0;
        if (c > n) c = n;
        if (c == 0) m_done = true;
        for (unsigned long long i = 0; i < c; ++i)
            static_cast<char*>(p)[i] = m_byte++;
        m_position += c;
        return c;
    }
    unsigned long long tell() override { return m_position; }
    std::vector<unsigned long long> requests;
    bool asked_after_end = false;

  private:
    std::vector<unsigned long long> m_counts;
    std::size_t m_next = 0;
    bool m_done = false;
    char m_byte = 'a';
    unsigned long long m_position = 0;
};

// An endless reader of 'x' bytes that records its requests.
class endless_rd : public stream::rd {
  public:
    unsigned long long read(void* p, unsigned long long n) override {
        requests.push_back(n);
        std::memset(p, 'x', n);
        return n;
    }
    unsigned long long tell() override { return 0; }
    std::vector<unsigned long long> requests;
};

class string_wr : public stream::wr {
  public:
    void write(const void* p, unsigned long long n) override {
        if (fail) throw es::range("test", 1, "sink full");
        out.append(static_cast<const char*>(p), n);
    }
    void flush() override {}
    unsigned long long tell() override { return out.size(); }
    std::string out;
    bool fail = false;
};

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
        m_pos = static_cast<unsigned long long>(base + off);
        return m_pos;
    }

  private:
    std::string m_data;
    unsigned long long m_pos = 0;
};

template <class F>
void expect_raise(F f, const char* kind, const char* source, const char* message) {
    SCOPED_TRACE(kind);
    try {
        f();
        ADD_FAILURE() << "nothing raised";
    } catch (const es::base& e) {
        EXPECT_STREQ(source, e.file());
        EXPECT_STREQ(message, e.what());
        const bool right_kind = std::string(kind) == "range" ? !!dynamic_cast<const es::range*>(&e)
                                : std::string(kind) == "uflow"
                                    ? !!dynamic_cast<const es::uflow*>(&e)
                                    : !!dynamic_cast<const es::arg*>(&e);
        EXPECT_TRUE(right_kind);
    }
}

std::string text(const buffer& b) {
    return std::string(b.data(), b.data() + b.size());
}

TEST(Stream, BufOverEmptyBufferGrowsAndRereads) {
    buffer b(0ULL);
    stream::buf s(b);
    char out[10];
    EXPECT_EQ(0u, s.read(out, 10));
    s.write("abc", 3);
    EXPECT_EQ(3u, b.size());
    EXPECT_EQ(3u, s.tell());
    EXPECT_EQ(0u, s.seek(0, whence_start));
    EXPECT_EQ(3u, s.read(out, 10));
    EXPECT_EQ("abc", std::string(out, 3));
    // Overwrite inside, extend at the end.
    s.seek(1, whence_start);
    s.write("XYZ", 3);
    EXPECT_EQ("aXYZ", text(b));
    EXPECT_EQ(4u, s.size());
    EXPECT_EQ(4u, s.tell());
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
        const std::pair<long long, int> bad[] = {{-1, whence_start},      {1, whence_end},
                                                 {3, whence_current},     {-3, whence_current},
                                                 {LLONG_MIN, whence_end}, {LLONG_MAX, whence_end},
                                                 {5, whence_start}};
        for (const auto& b2 : bad) {
            expect_raise([&] { t.s.seek(b2.first, static_cast<stream::whence>(b2.second)); },
                         "range", t.source, "n/a");
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
    expect_raise([&] { s.write("c", 1); }, "range", "lib/nubase/src/stream_mem", "n/a");
    s.seek(1, whence_start);
    expect_raise([&] { s.write("xyzw", 4); }, "range", "lib/nubase/src/stream_mem", "n/a");
    EXPECT_EQ("12ab", std::string(raw, raw + 4));  // nothing of the failed writes arrived
    EXPECT_EQ(1u, s.tell());
    char out[8];
    EXPECT_EQ(2u, s.peek(out, 2));
    EXPECT_EQ(3u, s.read(out, 8));
    EXPECT_EQ("2ab", std::string(out, 3));
}

TEST(Stream, BufWriteAfterShrinkFillsGapWithZeros) {
    buffer b(0ULL);
    stream::buf s(b);
    s.write("abcdef", 6);
    s.resize(2);
    EXPECT_EQ(6u, s.tell());
    char out[4];
    EXPECT_EQ(0u, s.read(out, 4));
    s.write("z", 1);
    EXPECT_EQ(std::string("ab\0\0\0\0z", 7), text(b));
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
    buffer ab(2ULL, reinterpret_cast<const unsigned char*>("ab")), empty(0ULL),
        cd(2ULL, reinterpret_cast<const unsigned char*>("cd"));
    stream::buf r1(ab), r2(empty), r3(cd);
    stream::multird m;
    m.add(r1);
    m.add(r2);
    m.add(r3);
    char out[10];
    EXPECT_EQ(4u, m.read(out, 10));
    EXPECT_EQ("abcd", std::string(out, 4));
    EXPECT_EQ(4u, m.tell());
    EXPECT_EQ(0u, m.read(out, 10));
    EXPECT_EQ(0u, m.read(out, 0));
    m.clear();
    EXPECT_EQ(0u, m.tell());
    EXPECT_EQ(0u, m.read(out, 10));
}

TEST(Stream, MultiReaderGrowsPastEightAfterSomeAreExhausted) {
    // Twelve one-byte readers; four are finished (and dropped) when the list has to grow.
    std::vector<std::unique_ptr<script_rd>> readers;
    stream::multird m;
    for (int i = 0; i < 12; ++i)
        readers.push_back(std::make_unique<script_rd>(std::vector<unsigned long long>{1}));
    for (int i = 0; i < 8; ++i)
        m.add(*readers[i]);
    char out[16];
    EXPECT_EQ(5u, m.read(out, 5));
    for (int i = 8; i < 12; ++i)
        m.add(*readers[i]);
    EXPECT_EQ(7u, m.read(out, 16));
    EXPECT_EQ(12u, m.tell());
    EXPECT_EQ(0u, m.read(out, 16));
    for (auto& r : readers)
        EXPECT_FALSE(r->asked_after_end);
    // Adding after everything is finished still works.
    script_rd last({2});
    m.add(last);
    EXPECT_EQ(2u, m.read(out, 16));
    EXPECT_EQ(14u, m.tell());
}

TEST(Stream, ReadMinimumSemantics) {
    struct row {
        std::vector<unsigned long long> counts;
        unsigned long long n, min;
        long long expected;  // -1: es::uflow
    } rows[] = {
        {{3, 0}, 10, 4, -1}, {{3, 3}, 10, 4, 6}, {{3, 3, 3, 3}, 10, 10, 10}, {{10}, 10, 0, 10},
        {{}, 10, 0, -1},     {{5}, 0, 0, -1},    {{5, 5}, 5, 6, -1},         {{1, 1, 1}, 3, 2, 2},
    };
    for (const auto& r : rows) {
        script_rd s(r.counts);
        char out[16];
        if (r.expected < 0) {
            expect_raise([&] { stream::read(s, out, r.n, r.min); }, "uflow",
                         "lib/nubase/src/stream_rd", "n/a");
        } else {
            EXPECT_EQ(static_cast<unsigned long long>(r.expected),
                      stream::read(s, out, r.n, r.min));
            EXPECT_EQ(std::string("abcdefghij").substr(0, r.expected),
                      std::string(out, r.expected));
        }
    }
    script_rd s({3});
    buffer b(0ULL);
    stream::read(s, b, 8);  // one read, short is fine
    EXPECT_EQ("abc", text(b));
}

TEST(Stream, WriteTransfersEightBytesPerPass) {
    struct row {
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
        endless_rd src;
        string_wr w;
        EXPECT_EQ(r.expected, stream::write(w, src, r.n, r.chunk));
        EXPECT_EQ(r.expected, w.out.size());
        EXPECT_EQ(r.requests, src.requests.size());
    }
    script_rd s({8, 8, 0});
    string_wr w;
    EXPECT_EQ(16u, stream::write(w, s, 100, 10));  // a read of 0 ends at once
    endless_rd src;
    expect_raise([&] { stream::write(w, src, 10, 0); }, "arg", "lib/nubase/src/stream_rd",
                 "chunk size is 0");
}

TEST(Stream, CopyUntilEndAndPassesSinkFailures) {
    script_rd s({3, 4, 3});
    string_wr w;
    EXPECT_EQ(10u, stream::copy(w, s, 4));
    EXPECT_EQ("abcdefghij", w.out);
    script_rd s2({3});
    string_wr failing;
    failing.fail = true;
    EXPECT_THROW(stream::copy(failing, s2, 4), es::range);  // the area is freed (ASan checks)
    buffer b(3ULL, reinterpret_cast<const unsigned char*>("xyz"));
    stream::write(w, b, 2);
    EXPECT_EQ("abcdefghijxy", w.out);
}

}  // namespace
