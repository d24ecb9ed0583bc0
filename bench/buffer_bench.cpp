// Appending small pieces (1 to 64 bytes) until exactly 64 MiB: buffer beside std::vector and
// std::string, each starting empty as a caller would build it.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "nubase/buffer.hpp"

namespace {

constexpr std::size_t k_total = 64u << 20;

// The same pseudo-random piece lengths for every contender.
const std::vector<unsigned char>& piece_lengths() {
    static const std::vector<unsigned char> lengths = [] {
        std::vector<unsigned char> l(1 << 16);
        std::uint32_t x = 2463534242u;
        for (auto& v : l) {
            x ^= x << 13;
            x ^= x >> 17;
            x ^= x << 5;
            v = static_cast<unsigned char>(1 + x % 64);
        }
        return l;
    }();
    return lengths;
}

const unsigned char k_source[64] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

template <class Container, class Append>
void run_appends(benchmark::State& state, Append append) {
    const auto& lengths = piece_lengths();
    for (auto _ : state) {
        Container sink;
        std::size_t total = 0, i = 0;
        while (total < k_total) {
            // The last piece is cut so that exactly 64 MiB arrive.
            const unsigned n = static_cast<unsigned>(
                std::min<std::size_t>(lengths[i++ & 0xFFFF], k_total - total));
            append(sink, n);
            total += n;
        }
        benchmark::DoNotOptimize(sink);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * k_total);
}

void BM_append_buffer(benchmark::State& state) {
    run_appends<nubase::buffer>(state,
                                [](nubase::buffer& b, unsigned n) { b.append(k_source, n); });
}

void BM_append_vector(benchmark::State& state) {
    run_appends<std::vector<unsigned char>>(state, [](std::vector<unsigned char>& v, unsigned n) {
        v.insert(v.end(), k_source, k_source + n);
    });
}

void BM_append_string(benchmark::State& state) {
    run_appends<std::string>(state, [](std::string& s, unsigned n) {
        s.append(reinterpret_cast<const char*>(k_source), n);
    });
}

}  // namespace

BENCHMARK(BM_append_buffer)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_append_vector)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_append_string)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
