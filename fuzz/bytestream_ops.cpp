// The byte-stream reader and writer driven by a fuzzed sequence of operations over fuzzed data
// and fuzzed source piece sizes, checked against a plain model: every byte served, every
// `tell()`, the failure state after `es::uflow`, and the writer's output.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "nubase/bytestream.hpp"
#include "nubase/es.hpp"
#include "stream_fuzz_io.hpp"

using fuzz_io::cursor;

namespace {

void run_reader(cursor& a_ops, const std::uint8_t* a_data, std::size_t a_size) {
    const unsigned long long l_block = a_ops.byte() % 48;
    fuzz_io::piece_rd l_src(a_data, a_size, 1 + a_ops.byte() % 80);
    nubase::bytestream::rd l_r(l_src, l_block);
    const unsigned long long l_max_field = ((l_block + 7) & ~7ULL) + 8;
    unsigned long long l_pos = 0;  // the model's position
    std::vector<unsigned char> l_out;
    for (int l_step = 0; l_step < 64 && !a_ops.empty(); ++l_step) {
        const unsigned l_op = a_ops.byte() % 8;
        const unsigned long long l_n = a_ops.byte() % 40;
        const unsigned long long l_avail = l_src.tell() - l_pos;
        const unsigned long long l_pow = 1ULL << (a_ops.byte() % 5);
        try {
            switch (l_op) {
                case 0:
                case 1: {
                    const unsigned char* l_p = l_op == 0 ? l_r.read_at(l_n) : l_r.peek_at(l_n);
                    FUZZ_CHECK(l_pos + l_n <= a_size);
                    FUZZ_CHECK(l_n == 0 || std::equal(l_p, l_p + l_n, a_data + l_pos));
                    if (l_op == 0) l_pos += l_n;
                    break;
                }
                case 2: {
                    const bool l_has = l_r.has_bytes(l_n);
                    FUZZ_CHECK(l_has == (l_pos + l_n <= l_src.tell()));
                    break;
                }
                case 3: {
                    const unsigned long long l_m = l_n * 7;
                    l_out.assign(l_m, 0);
                    l_pos += l_avail % l_pow;  // alignment drops these bytes first
                    try {
                        FUZZ_CHECK(l_r.read(l_out.data(), l_m, l_pow) == l_m);
                    } catch (const nubase::es::uflow&) {
                        // Whatever arrived is at the front of the output and consumed.
                        FUZZ_CHECK(l_pos + l_m > a_size);
                        FUZZ_CHECK(std::equal(a_data + l_pos, a_data + a_size, l_out.begin()));
                        l_pos = a_size;
                        throw;
                    }
                    FUZZ_CHECK(std::equal(l_out.begin(), l_out.end(), a_data + l_pos));
                    l_pos += l_m;
                    break;
                }
                case 4:
                    try {
                        l_r.skip(l_n * 5);
                    } catch (const nubase::es::uflow&) {
                        FUZZ_CHECK(l_pos + l_n * 5 > a_size);
                        l_pos = a_size;
                        throw;
                    }
                    l_pos += l_n * 5;
                    break;
                case 5:
                    FUZZ_CHECK(l_r.boundary(l_pow) == l_avail % l_pow);
                    l_r.align(l_pow);
                    l_pos += l_avail % l_pow;
                    break;
                case 6:
                    if (l_n == 0) l_r.clear(l_src);  // discards the cache: the model skips it
                    if (l_n == 0) l_pos = l_src.tell();
                    break;
                default:
                    break;
            }
        } catch (const nubase::es::uflow&) {
            // The position stays exact: nothing consumed on a failed field, all on a failed run.
        } catch (const nubase::es::arg&) {
            FUZZ_CHECK(l_n > l_max_field);
        }
        FUZZ_CHECK(l_r.tell() == l_pos);
    }
}

void run_writer(cursor& a_ops) {
    const unsigned long long l_block = a_ops.byte() % 40;
    const unsigned long long l_rounded = (l_block + 7) & ~7ULL;
    fuzz_io::vec_wr l_sink;
    std::vector<unsigned char> l_model;
    {
        nubase::bytestream::wr l_w(l_sink, l_block);
        for (int l_step = 0; l_step < 64 && !a_ops.empty(); ++l_step) {
            const unsigned l_op = a_ops.byte() % 5;
            const unsigned long long l_n = a_ops.byte() % 50;
            const unsigned long long l_pow = 1ULL << (a_ops.byte() % 5);
            const unsigned long long l_free = l_rounded - (l_model.size() - l_sink.out.size());
            const unsigned char l_fill = static_cast<unsigned char>(a_ops.byte());
            switch (l_op) {
                case 0:
                    if (l_n > l_rounded) break;
                    std::fill_n(l_w.write_at(l_n), l_n, l_fill);
                    l_model.insert(l_model.end(), l_n, l_fill);
                    break;
                case 1: {
                    const std::vector<unsigned char> l_run(l_n, l_fill);
                    l_w.write(l_run.data(), l_n, l_pow);
                    l_model.insert(l_model.end(), l_free % l_pow, 0);
                    l_model.insert(l_model.end(), l_n, l_fill);
                    break;
                }
                case 2:
                    l_w.skip(l_n * 3);
                    l_model.insert(l_model.end(), l_n * 3, 0);
                    break;
                case 3:
                    FUZZ_CHECK(l_w.boundary(l_pow) == l_free % l_pow);
                    l_w.align(l_pow);
                    l_model.insert(l_model.end(), l_free % l_pow, 0);
                    break;
                default:
                    l_w.clear(l_sink);
                    FUZZ_CHECK(l_sink.out == l_model);
                    break;
            }
            FUZZ_CHECK(l_w.tell() == l_model.size());
        }
    }
    FUZZ_CHECK(l_sink.out == l_model);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    return fuzz_io::run_reader_and_writer(a_data, a_size, run_reader, run_writer);
}
