// tests/vectors/stream.hpp - known answers for the bit-stream reader and writer, the two stream
// doubles that the stream tests and fuzz targets share, and a check of a raised error.
//
// Every value below was worked out by hand from the bit order (most significant bit of the first
// byte first); none comes from the library.
#ifndef NUBASE_TESTS_VECTORS_STREAM_HPP
#define NUBASE_TESTS_VECTORS_STREAM_HPP

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "nubase/es.hpp"
#include "nubase/stream.hpp"

namespace nubase_vectors {
namespace stream {

// A run of bit fields and the bytes they make, in both directions.
struct bit_fields {
    const char* what;
    unsigned char bytes[8];
    unsigned byte_count;
    struct field {
        unsigned width;
        std::uint32_t value;
    } fields[6];
    unsigned field_count;
};

constexpr bit_fields k_bit_fields[] = {
    // 1010 | 0101 0000 | 1111: a byte field across the byte boundary.
    {"nibble, byte, nibble", {0xA5, 0x0F}, 2, {{4, 0xA}, {8, 0x50}, {4, 0xF}}, 3},
    {"one 32-bit field", {0x12, 0x34, 0x56, 0x78}, 4, {{32, 0x12345678}}, 1},
    // 1 | 0010 0011 0100 0101 0110 0111 1000 1001 | 000 0000: 32 bits straddling two words.
    {"32 bits at bit 1", {0x91, 0xA2, 0xB3, 0xC4, 0x80}, 5, {{1, 1}, {32, 0x23456789}, {7, 0}}, 3},
    // 1 | 30 ones | 0
    {"31 ones", {0xFF, 0xFF, 0xFF, 0xFE}, 4, {{1, 1}, {30, 0x3FFFFFFF}, {1, 0}}, 3},
    // 0000 0000 0000 0000 0000 0001 | 1011 0011: a start code and its type byte.
    {"start code", {0x00, 0x00, 0x01, 0xB3}, 4, {{24, 1}, {8, 0xB3}}, 2},
};

// A reader over a copy of some bytes that returns at most `piece` bytes per call, as pipes and
// sockets do, and records every request.
class piece_rd : public nubase::stream::rd {
  public:
    piece_rd(const unsigned char* a_data, std::size_t a_size, unsigned long long a_piece)
        : m_data(a_data, a_data + a_size), m_piece(a_piece) {}
    piece_rd(std::vector<unsigned char> a_data, unsigned long long a_piece)
        : m_data(std::move(a_data)), m_piece(a_piece) {}
    unsigned long long read(void* a_p, unsigned long long a_n) override {
        requests.push_back(a_n);
        unsigned long long l_count = m_data.size() - m_pos;
        if (l_count > a_n) l_count = a_n;
        if (l_count > m_piece) l_count = m_piece;
        if (l_count != 0) std::memcpy(a_p, m_data.data() + m_pos, l_count);
        m_pos += l_count;
        return l_count;
    }
    unsigned long long tell() override { return m_pos; }
    std::vector<unsigned long long> requests;

  private:
    std::vector<unsigned char> m_data;
    unsigned long long m_piece;
    unsigned long long m_pos = 0;
};

// A writer that collects the bytes and the length of every write call.
class vec_wr : public nubase::stream::wr {
  public:
    void write(const void* a_p, unsigned long long a_n) override {
        writes.push_back(a_n);
        out.insert(out.end(), static_cast<const unsigned char*>(a_p),
                   static_cast<const unsigned char*>(a_p) + a_n);
    }
    void flush() override { ++flushes; }
    unsigned long long tell() override { return out.size(); }
    std::vector<unsigned char> out;
    std::vector<unsigned long long> writes;
    int flushes = 0;
};

// Runs `call`; returns "file: message" of the `Error` it raises, or "" when it raises nothing.
template <class Error, class Call>
std::string raised(Call call) {
    try {
        call();
    } catch (const Error& e) {
        return std::string(e.file()) + ": " + e.what();
    }
    return "";
}

}  // namespace stream
}  // namespace nubase_vectors

#endif  // NUBASE_TESTS_VECTORS_STREAM_HPP
