// The bit-stream reader and writer driven by a fuzzed sequence of operations over fuzzed data
// and fuzzed source piece sizes, checked against a bit-by-bit model: every field, `find` for any
// pattern, width, step and alignment (so the byte-aligned vector path is held to the same
// answers as the general one), `tell()`, and the writer's output.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "nubase/bitstream.hpp"
#include "nubase/es.hpp"
#include "stream_fuzz_io.hpp"

using fuzz_io::cursor;

namespace {

struct bits_model {
    const std::uint8_t* data;
    unsigned long long total;  // bits
    bool at(unsigned long long i) const { return i < total && (data[i / 8] >> (7 - i % 8) & 1); }
    std::uint32_t field(unsigned long long i, unsigned n) const {
        std::uint32_t v = 0;
        for (unsigned k = 0; k < n; ++k)
            v = v << 1 | at(i + k);
        return v;
    }
};

void run_reader(cursor& a_ops, const std::uint8_t* a_data, std::size_t a_size) {
    const unsigned long long l_block = a_ops.byte() % 40;
    fuzz_io::piece_rd l_src(a_data, a_size, 1 + a_ops.byte() % 300);
    nubase::bitstream::rd l_r(l_src, l_block);
    const bits_model l_m{a_data, 8ULL * a_size};
    unsigned long long l_pos = 0;  // the model's bit position, at most the total
    std::vector<unsigned char> l_out;
    for (int l_step = 0; l_step < 64 && !a_ops.empty(); ++l_step) {
        const unsigned l_op = a_ops.byte() % 8;
        const unsigned l_n = a_ops.byte() % 33;
        const unsigned long long l_pow = 1ULL << (a_ops.byte() % 6);
        // Alignment rounds the bits still cached, which end at a whole byte of the source.
        const unsigned long long l_avail = 8 * l_src.tell() - l_pos;
        switch (l_op) {
            case 0:
                FUZZ_CHECK(l_r.peek(l_n) == l_m.field(l_pos, l_n));
                FUZZ_CHECK(l_r.read(l_n) == l_m.field(l_pos, l_n));
                l_pos = std::min(l_pos + l_n, l_m.total);
                break;
            case 1: {
                const bool l_has = l_r.has_bits(l_n);
                FUZZ_CHECK(l_has == (l_pos + l_n <= l_m.total));
                break;
            }
            case 2:
                l_r.skip(l_n * 11);
                l_pos = std::min(l_pos + l_n * 11, l_m.total);
                break;
            case 3:
                FUZZ_CHECK(l_r.boundary(l_pow) == l_avail % l_pow);
                l_r.align(l_pow);
                l_pos += l_avail % l_pow;
                break;
            case 4:
            case 5: {
                // Byte-aligned start codes half of the time, anything else otherwise.
                const bool l_bytes = l_op == 4;
                const unsigned l_bits = l_bytes ? 8 * (1 + l_n % 4) : l_n;
                const unsigned l_step_bits = l_bytes ? 8 : 1 + a_ops.byte() % 40;
                const unsigned long long l_align = l_bytes ? 8 : l_pow;
                const std::uint32_t l_pattern =
                    l_bytes ? (a_ops.byte() & 1 ? 1 : a_ops.byte()) : a_ops.word();
                const std::uint32_t l_want =
                    l_bits == 0 ? 0 : l_pattern & (~std::uint64_t{0} >> (64 - l_bits));
                unsigned long long l_at = l_pos + l_avail % l_align;
                bool l_expect = false;
                for (; l_at + l_bits <= l_m.total; l_at += l_step_bits) {
                    if (l_m.field(l_at, l_bits) == l_want) {
                        l_expect = true;
                        break;
                    }
                }
                FUZZ_CHECK(l_r.find(l_pattern, l_bits, l_step_bits, l_align) == l_expect);
                l_pos = l_expect ? l_at + l_bits : l_m.total;
                break;
            }
            case 6: {
                const unsigned long long l_count = l_n * 3;
                l_out.assign(l_count, 0);
                l_pos += l_avail % l_pow;
                try {
                    FUZZ_CHECK(l_r.read(l_out.data(), l_count, l_pow) == l_count);
                    for (unsigned long long l_i = 0; l_i < l_count; ++l_i)
                        FUZZ_CHECK(l_out[l_i] == l_m.field(l_pos + 8 * l_i, 8));
                    l_pos += 8 * l_count;
                } catch (const nubase::es::uflow&) {
                    FUZZ_CHECK(l_pos + 8 * l_count > l_m.total);
                    // The source was read to its end; bits short of a whole byte may stay.
                    l_pos = l_pos % 8 == 0 ? l_m.total : l_m.total - (l_m.total - l_pos) % 8;
                }
                break;
            }
            default:
                break;
        }
        FUZZ_CHECK(l_r.tell() == (l_pos + 7) / 8);
    }
}

void run_writer(cursor& a_ops) {
    const unsigned long long l_block = a_ops.byte() % 40;
    const unsigned long long l_rounded = std::max((l_block + 3) & ~3ULL, 8ULL);
    fuzz_io::vec_wr l_sink;
    std::vector<bool> l_model;
    const auto l_push = [&](std::uint32_t a_value, unsigned a_n) {
        for (int l_b = static_cast<int>(a_n) - 1; l_b >= 0; --l_b)
            l_model.push_back(a_value >> l_b & 1);
    };
    {
        nubase::bitstream::wr l_w(l_sink, l_block);
        for (int l_step = 0; l_step < 96 && !a_ops.empty(); ++l_step) {
            const unsigned l_op = a_ops.byte() % 6;
            const unsigned l_n = a_ops.byte() % 33;
            const unsigned long long l_pow = 1ULL << (a_ops.byte() % 6);
            const unsigned long long l_free =
                8 * l_rounded - (l_model.size() - 8 * l_sink.out.size());
            switch (l_op) {
                case 0:
                case 1: {
                    const std::uint32_t l_value = a_ops.word() << 16 | a_ops.word();
                    l_w.write(l_value, l_n);
                    l_push(l_value, l_n);
                    break;
                }
                case 2:
                    l_w.skip(l_n * 5);
                    l_model.insert(l_model.end(), l_n * 5, false);
                    break;
                case 3:
                    FUZZ_CHECK(l_w.boundary(l_pow) == l_free % l_pow);
                    l_w.align(l_pow);
                    l_model.insert(l_model.end(), l_free % l_pow, false);
                    break;
                case 4: {
                    std::vector<unsigned char> l_run(l_n * 2);
                    for (auto& l_b : l_run)
                        l_b = static_cast<unsigned char>(a_ops.byte());
                    l_w.write(l_run.data(), l_run.size(), l_pow);
                    l_model.insert(l_model.end(), l_free % l_pow, false);
                    for (unsigned char l_b : l_run)
                        l_push(l_b, 8);
                    break;
                }
                default:
                    break;
            }
            FUZZ_CHECK(l_w.tell() == (l_model.size() + 7) / 8);
        }
    }
    FUZZ_CHECK(l_sink.out.size() == (l_model.size() + 7) / 8);
    for (std::size_t l_i = 0; l_i < 8 * l_sink.out.size(); ++l_i) {
        const bool l_bit = l_sink.out[l_i / 8] >> (7 - l_i % 8) & 1;
        FUZZ_CHECK(l_bit == (l_i < l_model.size() && l_model[l_i]));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    return fuzz_io::run_reader_and_writer(a_data, a_size, run_reader, run_writer);
}
