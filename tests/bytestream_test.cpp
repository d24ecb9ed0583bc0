// Byte streams: refills with every carry offset, the failure state at the end of data, aligned
// runs, skips across blocks, and the writer's byte-exact output and flushes.
#include "nubase/bytestream.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "nubase/es.hpp"
#include "vectors/stream.hpp"

namespace {

using namespace nubase;

using nubase_vectors::stream::piece_rd;
using nubase_vectors::stream::raised;
using log_wr = nubase_vectors::stream::vec_wr;

std::vector<unsigned char> counting(unsigned n) {
    std::vector<unsigned char> v(n);
    for (unsigned i = 0; i < n; ++i)
        v[i] = static_cast<unsigned char>(i * 7 + 3);
    return v;
}

TEST(ByteStream, ReaderBasics) {
    piece_rd src({1, 2, 3, 4, 5, 6}, 100);
    bytestream::rd r(src, 10);
    EXPECT_FALSE(r.has_bytes(7));        // the source ended during the refill: false, bytes kept
    EXPECT_EQ(16u, src.requests.at(0));  // block 10 is rounded up to 16
    EXPECT_EQ(2u, r.boundary(4));
    r.align(4);  // drops the two bytes before the aligned position
    const unsigned char* p = r.read_at(3);
    EXPECT_EQ(3, p[0]);
    EXPECT_EQ(5, p[2]);
    EXPECT_EQ(5u, r.tell());
    EXPECT_EQ(6, *r.peek_at(1));
    EXPECT_EQ(5u, r.tell());

    // A skip past the cache asks for one block at a time, waiting for what it still needs.
    piece_rd hundred(counting(100), 100);
    bytestream::rd s(hundred, 8);
    s.skip(20);
    EXPECT_EQ((std::vector<unsigned long long>{8, 8, 8}), hundred.requests);
    EXPECT_EQ(24u, hundred.tell());
    EXPECT_EQ(20u, s.tell());
}

TEST(ByteStream, FieldsUpToBlockPlusEightAcrossRefillsWithEveryCarryOffset) {
    // Fields wider than 8 bytes carry more than 16 bytes over; the cache must still hold them.
    const std::vector<unsigned char> data = counting(700);
    for (unsigned long long block : {0ULL, 8ULL, 16ULL, 40ULL}) {
        for (unsigned long long piece : {1ULL, 5ULL, 1000ULL}) {
            for (unsigned start = 0; start < 16; ++start) {
                SCOPED_TRACE(testing::Message()
                             << "block " << block << " piece " << piece << " start " << start);
                piece_rd src(data, piece);
                bytestream::rd r(src, block);
                r.skip(start);
                unsigned long long pos = start;
                for (unsigned i = 0; pos + block + 8 <= data.size(); ++i) {
                    const unsigned long long n = 1 + (i * 7 + start) % (block + 8);
                    ASSERT_TRUE(r.has_bytes(block + 8 - i % 3));
                    ASSERT_EQ(0, std::memcmp(data.data() + pos, r.peek_at(n), n)) << pos;
                    ASSERT_EQ(0, std::memcmp(data.data() + pos, r.read_at(n), n)) << pos;
                    pos += n;
                    ASSERT_EQ(pos, r.tell());
                }
            }
        }
    }
}

TEST(ByteStream, EndOfDataKeepsPositionAndBytes) {
    const std::vector<unsigned char> data = counting(21);
    piece_rd src(data, 3);
    bytestream::rd r(src, 8);
    r.skip(16);
    EXPECT_EQ("lib/nubase/src/stream_rd: n/a", raised<es::uflow>([&] { r.read_at(8); }));
    EXPECT_EQ(16u, r.tell());
    EXPECT_THROW(r.has_bytes(6), es::uflow);  // an exhausted source raises, it does not say no
    const unsigned char* p = r.read_at(5);    // what arrived before the end is still there
    EXPECT_EQ(0, std::memcmp(data.data() + 16, p, 5));
    EXPECT_EQ(21u, r.tell());
    EXPECT_THROW(r.peek_at(1), es::uflow);
    EXPECT_THROW(r.read_at(1), es::uflow);
    EXPECT_EQ(21u, r.tell());

    piece_rd src2(data, 4);
    bytestream::rd r2(src2, 8);
    r2.read_at(1);
    EXPECT_THROW(r2.skip(30), es::uflow);  // a failed skip consumes everything it saw
    EXPECT_EQ(21u, r2.tell());
    EXPECT_EQ("lib/nubase/src/bytestream: field larger than the cache",
              raised<es::arg>([&] { r2.read_at(17); }));
}

// Typed fields at the very end of the data and one byte past it, in both byte orders.
TEST(ByteStream, TypedFieldsAtTheEndAndOnePast) {
    const std::vector<unsigned char> data = {0x01, 0x02, 0x03, 0x04, 0x85, 0x86, 0x87, 0x88, 0xF9};
    using reader = bytestream::rd;
    const struct {
        unsigned width;
        std::uint64_t (*read)(const reader&);
        std::uint64_t (*peek)(const reader&);
        std::uint64_t be, le;  // the value of the last `width` bytes
    } rows[] = {
        {2, [](const reader& r) -> std::uint64_t { return r.read_be16(); },
         [](const reader& r) -> std::uint64_t { return r.peek_be16(); }, 0x88F9, 0},
        {2, [](const reader& r) -> std::uint64_t { return r.read_le16(); },
         [](const reader& r) -> std::uint64_t { return r.peek_le16(); }, 0, 0xF988},
        {4, [](const reader& r) -> std::uint64_t { return r.read_be32(); },
         [](const reader& r) -> std::uint64_t { return r.peek_be32(); }, 0x868788F9, 0},
        {4, [](const reader& r) -> std::uint64_t { return r.read_le32(); },
         [](const reader& r) -> std::uint64_t { return r.peek_le32(); }, 0, 0xF9888786},
        {8, [](const reader& r) -> std::uint64_t { return r.read_be64(); },
         [](const reader& r) -> std::uint64_t { return r.peek_be64(); }, 0x02030485868788F9, 0},
        {8, [](const reader& r) -> std::uint64_t { return r.read_le64(); },
         [](const reader& r) -> std::uint64_t { return r.peek_le64(); }, 0, 0xF988878685040302},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.width << (row.be != 0 ? " be" : " le"));
        const std::uint64_t expected = row.be != 0 ? row.be : row.le;
        piece_rd src(data, 3);
        bytestream::rd r(src, 8);
        const unsigned long long at = data.size() - row.width;
        r.skip(at);
        EXPECT_EQ(expected, row.peek(r));
        EXPECT_EQ(at, r.tell());
        EXPECT_EQ(expected, row.read(r));
        EXPECT_EQ(data.size(), r.tell());
        // One byte short: raised as by read_at, nothing consumed, the bytes still there.
        piece_rd short_src(data, 3);
        bytestream::rd s(short_src, 8);
        s.skip(at + 1);
        EXPECT_EQ("lib/nubase/src/stream_rd: n/a", raised<es::uflow>([&] { row.read(s); }));
        EXPECT_THROW(row.peek(s), es::uflow);
        EXPECT_EQ(at + 1, s.tell());
        EXPECT_EQ(data[at + 1], *s.read_at(1));
    }
    // The writer stores the same layouts.
    log_wr sink;
    {
        bytestream::wr w(sink, 8);
        w.write_be16(0x0102);
        w.write_le16(0x0102);
        w.write_be32(0x868788F9);
        w.write_le32(0x868788F9);
        w.write_be64(0x0102030485868788);
        w.write_le64(0x0102030485868788);
    }
    const std::vector<unsigned char> expected = {
        0x01, 0x02, 0x02, 0x01, 0x86, 0x87, 0x88, 0xF9, 0xF9, 0x88, 0x87, 0x86, 0x01, 0x02,
        0x03, 0x04, 0x85, 0x86, 0x87, 0x88, 0x88, 0x87, 0x86, 0x85, 0x04, 0x03, 0x02, 0x01};
    EXPECT_EQ(expected, sink.out);
}

TEST(ByteStream, RunsAndSkipsBypassOrSpanTheCache) {
    const std::vector<unsigned char> data = counting(300);
    for (unsigned long long piece : {3ULL, 1000ULL}) {
        SCOPED_TRACE(piece);
        piece_rd src(data, piece);
        bytestream::rd r(src, 16);
        r.read_at(2);
        std::vector<unsigned char> out(100);
        EXPECT_EQ(100u, r.read(out.data(), 100));  // cached part, then straight from the source
        EXPECT_EQ(0, std::memcmp(data.data() + 2, out.data(), 100));
        EXPECT_EQ(102u, r.tell());
        r.skip(95);
        EXPECT_EQ(197u, r.tell());
        EXPECT_EQ(data[197], *r.read_at(1));
        r.read_at(3);  // 201, with the rest cached
        const unsigned long long before = r.tell();
        r.read(out.data(), 4, 4);  // rounds the available count down to a multiple of 4
        EXPECT_GE(r.tell(), before + 4);
        EXPECT_EQ(0, std::memcmp(data.data() + r.tell() - 4, out.data(), 4));
        std::vector<unsigned char> big(200);
        const unsigned long long at = r.tell();
        EXPECT_THROW(r.read(big.data(), 200), es::uflow);
        EXPECT_EQ(300u, r.tell());
        EXPECT_EQ(0, std::memcmp(data.data() + at, big.data(), 300 - at));
    }
}

TEST(ByteStream, WriterFlushesWholeWordsAndOnDestruction) {
    log_wr sink;
    {
        bytestream::wr w(sink, 16);
        for (int i = 0; i < 20; ++i) {
            *w.write_at(1) = static_cast<unsigned char>(i * 7 + 3);
            EXPECT_EQ(i < 16 ? 0u : 16u, sink.out.size()) << i;
        }
        EXPECT_EQ(20u, w.tell());
    }
    EXPECT_EQ(counting(20), sink.out);
    EXPECT_EQ((std::vector<unsigned long long>{16, 4}), sink.writes);
    EXPECT_EQ(0, sink.flushes);
}

TEST(ByteStream, WriterOutputIsByteExact) {
    log_wr sink, other;
    {
        bytestream::wr w(sink, 8);
        std::memcpy(w.write_at(3), "\x01\x02\x03", 3);
        w.align(4);  // one zero byte
        EXPECT_EQ(4u, w.tell());
        w.skip(2);
        w.write(reinterpret_cast<const unsigned char*>("AB"), 2, 1);
        w.write(reinterpret_cast<const unsigned char*>("0123456789"), 10, 4);  // too big: straight
        w.skip(19);  // more than two blocks of zeros
        std::memcpy(w.write_at(2), "zz", 2);
        EXPECT_EQ(39u, w.tell());
        w.clear(other);  // flushes to the old sink
        std::memcpy(w.write_at(1), "Q", 1);
    }
    EXPECT_EQ(std::string("\x01\x02\x03\0\0\0AB0123456789", 18) + std::string(19, '\0') + "zz",
              std::string(sink.out.begin(), sink.out.end()));
    EXPECT_EQ(std::vector<unsigned char>{'Q'}, other.out);
}

TEST(ByteStream, UnbufferedWriterAndCheckedFlush) {
    log_wr sink;
    bytestream::wr w(sink, 0);
    w.write(reinterpret_cast<const unsigned char*>("abc"), 3);
    w.skip(300);
    EXPECT_EQ(303u, sink.out.size());
    EXPECT_THROW(w.write_at(1), es::arg);
    EXPECT_EQ(303u, w.tell());
}

}  // namespace
