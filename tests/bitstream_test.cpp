// Bit streams: known fields both ways, fields, runs and refills against a model, the end of
// data, the writer's exact bytes, and `find` for every kind of pattern, step and alignment.
#include "nubase/bitstream.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "nubase/es.hpp"
#include "vectors/stream.hpp"

namespace {

using namespace nubase;
using nubase_vectors::stream::k_bit_fields;
using nubase_vectors::stream::piece_rd;
using nubase_vectors::stream::raised;
using nubase_vectors::stream::vec_wr;

// The model: bit i of the data (0 past the end), and fields built from it bit by bit.
bool bit_at(const std::vector<unsigned char>& d, unsigned long long i) {
    return i / 8 < d.size() && (d[i / 8] >> (7 - i % 8) & 1);
}
std::uint32_t field_at(const std::vector<unsigned char>& d, unsigned long long i, unsigned n) {
    std::uint32_t v = 0;
    for (unsigned k = 0; k < n; ++k)
        v = v << 1 | bit_at(d, i + k);
    return v;
}

std::vector<unsigned char> random_bytes(std::size_t n, unsigned seed) {
    std::mt19937 g(seed);
    std::vector<unsigned char> v(n);
    for (auto& b : v)
        b = static_cast<unsigned char>(g());
    return v;
}

TEST(BitStream, KnownFieldsReadAndWritten) {
    for (const auto& v : k_bit_fields) {
        SCOPED_TRACE(v.what);
        const std::vector<unsigned char> bytes(v.bytes, v.bytes + v.byte_count);
        piece_rd src(bytes, 100);
        bitstream::rd r(src, 8);
        vec_wr sink;
        {
            bitstream::wr w(sink, 8);
            for (unsigned i = 0; i < v.field_count; ++i) {
                EXPECT_EQ(v.fields[i].value, r.peek(v.fields[i].width));
                EXPECT_EQ(v.fields[i].value, r.read(v.fields[i].width));
                w.write(v.fields[i].value, v.fields[i].width);
            }
            EXPECT_EQ(v.byte_count, w.tell());
        }
        EXPECT_FALSE(r.has_bits(1));
        EXPECT_EQ(bytes, sink.out);
    }
}

TEST(BitStream, BoundaryAlignAndEndOfData) {
    piece_rd src({0xA5, 0x0F}, 100);
    bitstream::rd r(src, 4);
    r.read(3);
    EXPECT_EQ(5u, r.boundary(8));
    r.align(8);
    EXPECT_TRUE(r.has_bits(8));
    EXPECT_FALSE(r.has_bits(9));
    EXPECT_EQ(0x0Fu, r.read(8));
    EXPECT_EQ(0u, r.read(0));
    unsigned char out[2];
    EXPECT_EQ("lib/nubase/src/stream_rd: n/a", raised<es::uflow>([&] { r.read(out, 1, 8); }));

    // The source is asked for the block rounded up to whole words, not for the cache's two words.
    for (const unsigned long long block : {0ULL, 1ULL, 4ULL, 5ULL}) {
        piece_rd counted(std::vector<unsigned char>(64, 0x11), 100);
        bitstream::rd b(counted, block);
        EXPECT_EQ(0x11111111u, b.read(32)) << block;
        EXPECT_EQ(block <= 4 ? 4u : 8u, counted.requests.at(0)) << block;
    }
}

TEST(BitStream, FieldsRunsAndRefillsMatchTheModel) {
    const std::vector<unsigned char> data = random_bytes(997, 7);
    std::mt19937 g(11);
    for (unsigned long long block : {4ULL, 12ULL, 64ULL}) {
        for (unsigned long long piece : {1ULL, 3ULL, 4096ULL}) {
            SCOPED_TRACE(testing::Message() << "block " << block << " piece " << piece);
            piece_rd src(data, piece);
            bitstream::rd r(src, block);
            unsigned long long pos = 0;
            while (pos < data.size() * 8 + 40) {
                const unsigned op = g() % 16;
                if (op == 0) {
                    const unsigned long long n = g() % 300;
                    r.skip(n);
                    pos += n;
                } else if (op == 1) {
                    r.align(8);
                    pos = (pos + 7) & ~7ULL;
                } else if (op == 2 && pos + 8 * 150 <= data.size() * 8) {
                    // A byte run at any bit position.
                    unsigned char run[150];
                    const unsigned n = 1 + g() % 150;
                    ASSERT_EQ(n, r.read(run, n, 1)) << pos;
                    for (unsigned i = 0; i < n; ++i)
                        ASSERT_EQ(field_at(data, pos + 8 * i, 8), run[i]) << pos;
                    pos += 8 * n;
                } else {
                    const unsigned n = 1 + g() % 32;
                    ASSERT_EQ(field_at(data, pos, n), r.peek(n)) << pos;
                    ASSERT_EQ(field_at(data, pos, n), r.read(n)) << pos;
                    pos += n;
                }
                const unsigned long long end = std::min<unsigned long long>(pos, data.size() * 8);
                ASSERT_EQ((end + 7) / 8, r.tell()) << pos;  // a partly read byte counts whole
                ASSERT_EQ(pos < data.size() * 8, r.has_bits(1));
            }
        }
    }
}

TEST(BitStream, WriterRoundTripWithSkipsAlignsAndRuns) {
    std::mt19937 g(5);
    for (unsigned long long block : {8ULL, 20ULL}) {
        SCOPED_TRACE(block);
        std::vector<bool> bits;  // the model of the output
        const auto put = [&bits](std::uint32_t v, unsigned n) {
            for (unsigned b = n; b-- > 0;)
                bits.push_back(v >> b & 1);
        };
        vec_wr sink;
        {
            bitstream::wr w(sink, block);
            for (int i = 0; i < 3000; ++i) {
                const unsigned op = g() % 20;
                if (op == 0) {
                    const unsigned n = g() % 100;
                    w.skip(n);
                    bits.insert(bits.end(), n, false);
                } else if (op == 1) {
                    w.align(8);
                    bits.resize((bits.size() + 7) & ~std::size_t{7}, false);
                } else if (op == 2) {
                    unsigned char run[40];
                    const unsigned n = g() % 40;
                    for (unsigned k = 0; k < n; ++k)
                        put(run[k] = static_cast<unsigned char>(g()), 8);
                    w.write(run, n, 1);
                } else {
                    const unsigned n = 1 + g() % 32;
                    const std::uint32_t v = g();  // bits above n must be ignored
                    w.write(v, n);
                    put(v, n);
                }
                ASSERT_EQ((bits.size() + 7) / 8, w.tell());
            }
        }
        ASSERT_EQ((bits.size() + 7) / 8, sink.out.size());
        for (std::size_t i = 0; i < sink.out.size() * 8; ++i)
            ASSERT_EQ(i < bits.size() && bits[i], bit_at(sink.out, i)) << i;
    }
}

// The first position at or after `start`, `step` apart, where `bits` bits match; -1 if none.
long long model_find(const std::vector<unsigned char>& d, unsigned long long start,
                     std::uint32_t pattern, unsigned bits, unsigned step) {
    for (unsigned long long p = start; p + bits <= d.size() * 8; p += step)
        if (field_at(d, p, bits) == pattern) return static_cast<long long>(p);
    return -1;
}

TEST(BitStream, FindMatchesTheModelForEveryPatternStepAndAlignment) {
    // Start codes planted at odd places, in data long enough for the vector scan and refills.
    std::vector<unsigned char> data = random_bytes(3000, 9);
    for (unsigned at : {5u, 62u, 63u, 64u, 127u, 500u, 1021u, 1024u, 2998u}) {
        data[at - 2] = data[at - 1] = 0;
        data[at] = 1;
    }
    data[1500] = 0x47;
    const struct {
        std::uint32_t pattern;
        unsigned bits, step, align;
    } rows[] = {
        {0x000001, 24, 8, 8}, {0x00000001, 32, 8, 8}, {0x0001, 16, 8, 8}, {0x47, 8, 8, 8},
        {0x000001, 24, 8, 1}, {0x000001, 24, 1, 1},   {0x5, 3, 1, 1},     {0x1FF, 9, 4, 2},
        {0x0001, 16, 16, 8},  {0xABCDEF, 24, 40, 1},
    };
    std::mt19937 g(1);
    for (const auto& rw : rows) {
        for (unsigned long long block : {8ULL, 100ULL, 4096ULL}) {
            for (unsigned lead : {3u, 8u, 13u, 32u}) {
                SCOPED_TRACE(testing::Message()
                             << "row " << &rw - rows << " block " << block << " lead " << lead);
                piece_rd src(data, block == 100 ? 37 : 100000);
                bitstream::rd r(src, block);
                r.read(lead);
                unsigned long long pos = lead;
                for (int found = 0; found < 12; ++found) {
                    // Alignment rounds the bits still to come, which end at the data's end.
                    const unsigned long long total = data.size() * 8;
                    const unsigned long long start = total - ((total - pos) & ~(rw.align - 1ULL));
                    const long long want = model_find(data, start, rw.pattern, rw.bits, rw.step);
                    const bool hit = r.find(rw.pattern, rw.bits, rw.step, rw.align);
                    ASSERT_EQ(want >= 0, hit);
                    if (!hit) {
                        EXPECT_FALSE(r.has_bits(1));
                        break;
                    }
                    pos = static_cast<unsigned long long>(want) + rw.bits;
                    ASSERT_EQ((pos + 7) / 8, r.tell());
                    ASSERT_EQ(field_at(data, pos, 32), r.peek(32));
                    const unsigned hop = g() % 9;
                    r.read(hop ? hop : 1);
                    pos += hop ? hop : 1;
                }
            }
        }
    }
    piece_rd src({1, 2}, 10);
    bitstream::rd r(src, 8);
    EXPECT_THROW(r.find(1, 33, 8, 8), es::arg);
    EXPECT_THROW(r.find(1, 8, 0, 8), es::arg);
    EXPECT_TRUE(r.find(0, 0, 8, 1));
}

}  // namespace
