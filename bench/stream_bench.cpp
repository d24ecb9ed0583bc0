// The stream readers' hot paths beside their peers, on the same data in the same run:
//   - bit reader: fields of pseudo-random widths 1..32 over 16 MiB (GstBitReader, checked and
//     unchecked getters);
//   - start codes: every byte-aligned 00 00 01 in 64 MiB with one planted per 4 KiB
//     (gst_byte_reader_masked_scan_uint32, a memchr scan for the 01 byte, and memcpy of the
//     same size for scale);
//   - byte reader: big-endian 2- and 4-byte fields by pointer over 16 MiB (GstByteReader).
// Our readers run over a `stream::mem`, so they include the copy into their cache.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "nubase/bitstream.hpp"
#include "nubase/bytestream.hpp"
#include "nubase/stream.hpp"

#if defined(NUBASE_HAVE_GSTREAMER_BASE_1_0)
#include <gst/base/gstbitreader.h>
#include <gst/base/gstbytereader.h>
#endif

namespace {

constexpr std::size_t k_field_data = 16u << 20;
constexpr std::size_t k_scan_data = 64u << 20;
// The readers' block: 4 KiB keeps the cache in the first-level data cache while it is scanned,
// which measured fastest here (1 KiB to 64 KiB tried).
constexpr unsigned long long k_block = 4096;

std::uint32_t xorshift(std::uint32_t& x) {
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    return x;
}

std::vector<unsigned char> random_data(std::size_t n, std::uint32_t seed) {
    std::vector<unsigned char> v(n);
    for (auto& b : v)
        b = static_cast<unsigned char>(xorshift(seed) >> 24);
    return v;
}

const std::vector<unsigned char>& field_data() {
    static const std::vector<unsigned char> d = random_data(k_field_data, 2463534242u);
    return d;
}

// Widths 1..32, the same sequence for every contender; their sum stays inside the data.
const std::vector<unsigned>& widths() {
    static const std::vector<unsigned> w = [] {
        std::vector<unsigned> l;
        std::uint32_t x = 88172645u;
        unsigned long long bits = 0;
        while (bits + 32 <= k_field_data * 8) {
            l.push_back(1 + xorshift(x) % 32);
            bits += l.back();
        }
        return l;
    }();
    return w;
}

const std::vector<unsigned char>& scan_data() {
    static const std::vector<unsigned char> d = [] {
        std::vector<unsigned char> v = random_data(k_scan_data, 1234567u);
        for (std::size_t at = 4000; at + 4 < v.size(); at += 4096) {
            v[at] = 0;
            v[at + 1] = 0;
            v[at + 2] = 1;
        }
        return v;
    }();
    return d;
}

void BM_bits_nubase(benchmark::State& state) {
    const auto& d = field_data();
    const auto& w = widths();
    for (auto _ : state) {
        nubase::stream::mem src(const_cast<unsigned char*>(d.data()), d.size());
        nubase::bitstream::rd r(src, k_block);
        std::uint32_t sum = 0;
        for (unsigned n : w)
            sum += r.read(n);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * w.size()));
}
BENCHMARK(BM_bits_nubase);

#if defined(NUBASE_HAVE_GSTREAMER_BASE_1_0)
// Both getters over the same widths; `get` takes the reader and a width and returns the field.
template <class Get>
void run_gst_bits(benchmark::State& state, Get get) {
    const auto& d = field_data();
    const auto& w = widths();
    for (auto _ : state) {
        GstBitReader r;
        gst_bit_reader_init(&r, d.data(), static_cast<guint>(d.size()));
        std::uint32_t sum = 0;
        for (unsigned n : w)
            sum += get(r, n);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * w.size()));
}

void BM_bits_gst_checked(benchmark::State& state) {
    run_gst_bits(state, [](GstBitReader& r, unsigned n) {
        guint32 v = 0;
        gst_bit_reader_get_bits_uint32(&r, &v, n);
        return v;
    });
}
BENCHMARK(BM_bits_gst_checked);

void BM_bits_gst_unchecked(benchmark::State& state) {
    run_gst_bits(state, [](GstBitReader& r, unsigned n) {
        return gst_bit_reader_get_bits_uint32_unchecked(&r, n);
    });
}
BENCHMARK(BM_bits_gst_unchecked);
#endif

void BM_startcode_nubase(benchmark::State& state) {
    const auto& d = scan_data();
    long found = 0;
    for (auto _ : state) {
        nubase::stream::mem src(const_cast<unsigned char*>(d.data()), d.size());
        nubase::bitstream::rd r(src, k_block);
        found = 0;
        while (r.find(1, 24, 8, 8))
            ++found;
        benchmark::DoNotOptimize(found);
    }
    state.counters["found"] = static_cast<double>(found);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_startcode_nubase);

void BM_startcode_memchr(benchmark::State& state) {
    const auto& d = scan_data();
    long found = 0;
    for (auto _ : state) {
        const unsigned char* p = d.data() + 2;
        const unsigned char* const end = d.data() + d.size();
        found = 0;
        while (const void* q = std::memchr(p, 1, static_cast<std::size_t>(end - p))) {
            const unsigned char* h = static_cast<const unsigned char*>(q);
            if (h[-1] == 0 && h[-2] == 0) ++found;
            p = h + 1;
        }
        benchmark::DoNotOptimize(found);
    }
    state.counters["found"] = static_cast<double>(found);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_startcode_memchr);

#if defined(NUBASE_HAVE_GSTREAMER_BASE_1_0)
void BM_startcode_gst_masked_scan(benchmark::State& state) {
    const auto& d = scan_data();
    long found = 0;
    for (auto _ : state) {
        GstByteReader r;
        gst_byte_reader_init(&r, d.data(), static_cast<guint>(d.size()));
        found = 0;
        guint offset = 0;
        const guint size = static_cast<guint>(d.size());
        // 00 00 01 followed by any byte; a code in the last 3 bytes has no byte after it and
        // none is planted there.
        while (size - offset >= 4) {
            const gint at = static_cast<gint>(gst_byte_reader_masked_scan_uint32(
                &r, 0xffffff00, 0x00000100, offset, size - offset));
            if (at < 0) break;
            ++found;
            offset = static_cast<guint>(at) + 3;
        }
        benchmark::DoNotOptimize(found);
    }
    state.counters["found"] = static_cast<double>(found);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_startcode_gst_masked_scan);
#endif

void BM_startcode_memcpy(benchmark::State& state) {
    const auto& d = scan_data();
    std::vector<unsigned char> out(d.size());
    for (auto _ : state) {
        std::memcpy(out.data(), d.data(), d.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * d.size()));
}
BENCHMARK(BM_startcode_memcpy);

// 2- and 4-byte fields in turn: 6 bytes a pair.
constexpr std::size_t k_pairs = k_field_data / 6;

std::uint32_t load_be16(const unsigned char* p) {
    return std::uint32_t{p[0]} << 8 | p[1];
}
std::uint32_t load_be32(const unsigned char* p) {
    std::uint32_t v;
    std::memcpy(&v, p, 4);
    return __builtin_bswap32(v);
}

void BM_bytes_nubase(benchmark::State& state) {
    const auto& d = field_data();
    for (auto _ : state) {
        nubase::stream::mem src(const_cast<unsigned char*>(d.data()), d.size());
        nubase::bytestream::rd r(src, k_block);
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < k_pairs; ++i) {
            sum += load_be16(r.read_at(2));
            sum += load_be32(r.read_at(4));
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * k_pairs * 2));
}
BENCHMARK(BM_bytes_nubase);

// What the byte reader pays that a reader over memory does not: the refills alone (one skip
// over all the data copies it block by block into the cache).
void BM_bytes_nubase_refills_only(benchmark::State& state) {
    const auto& d = field_data();
    for (auto _ : state) {
        nubase::stream::mem src(const_cast<unsigned char*>(d.data()), d.size());
        nubase::bytestream::rd r(src, k_block);
        r.skip(k_pairs * 6);
        benchmark::DoNotOptimize(r.tell());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * k_pairs * 2));
}
BENCHMARK(BM_bytes_nubase_refills_only);

#if defined(NUBASE_HAVE_GSTREAMER_BASE_1_0)
void BM_bytes_gst(benchmark::State& state) {
    const auto& d = field_data();
    for (auto _ : state) {
        GstByteReader r;
        gst_byte_reader_init(&r, d.data(), static_cast<guint>(d.size()));
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < k_pairs; ++i) {
            guint16 a = 0;
            guint32 b = 0;
            gst_byte_reader_get_uint16_be(&r, &a);
            gst_byte_reader_get_uint32_be(&r, &b);
            sum += a + b;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * k_pairs * 2));
}
BENCHMARK(BM_bytes_gst);
#endif

}  // namespace

BENCHMARK_MAIN();
