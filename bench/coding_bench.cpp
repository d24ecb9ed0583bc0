// Base64 and hex of 1 MiB of random bytes: the library's public functions (which allocate their
// result) and its kernels on each path, beside OpenSSL, FFmpeg libavutil and Abseil (writing into
// storage they are given or reuse), and memcpy of 1 MiB as the ceiling. Throughput is counted in
// raw (decoded) bytes for every row, so the rows compare directly.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "../src/coding_kernels.hpp"
#include "nubase/coding.hpp"

#if defined(NUBASE_HAVE_LIBCRYPTO)
#include <openssl/evp.h>
#endif
#if defined(NUBASE_HAVE_LIBAVUTIL)
extern "C" {
#include <libavutil/base64.h>
}
#endif
#if defined(NUBASE_HAVE_ABSL_STRINGS)
#include <absl/strings/escaping.h>
#endif

namespace {

constexpr std::size_t k_size = 1u << 20;
namespace kernels = nubase::coding_kernels;

const std::string& raw() {
    static const std::string s = [] {
        std::string r(k_size, '\0');
        std::mt19937 rng(1);
        for (auto& c : r)
            c = static_cast<char>(rng());
        return r;
    }();
    return s;
}
const unsigned char* raw_bytes() {
    return reinterpret_cast<const unsigned char*>(raw().data());
}

const std::string& base64_text() {
    static const std::string s = nubase::string_encode_base64(raw_bytes(), k_size);
    return s;
}
const std::string& hex_text() {
    static const std::string s = nubase::string_encode_hex(raw_bytes(), k_size);
    return s;
}
const unsigned char* as_bytes(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

template <class Body>
void run(benchmark::State& state, Body body) {
    for (auto _ : state)
        body();
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * k_size);
}

// ---- ceiling --------------------------------------------------------------------------------

void BM_memcpy_1MiB(benchmark::State& state) {
    std::vector<unsigned char> out(k_size);
    run(state, [&] {
        std::memcpy(out.data(), raw_bytes(), k_size);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    });
}
BENCHMARK(BM_memcpy_1MiB);

// ---- base64 encode --------------------------------------------------------------------------

void BM_base64_encode_nubase_buffer(benchmark::State& state) {
    run(state, [] {
        nubase::buffer b = nubase::buffer_encode_base64(raw_bytes(), k_size);
        benchmark::DoNotOptimize(b.data());
    });
}
BENCHMARK(BM_base64_encode_nubase_buffer);

void BM_base64_encode_nubase_string(benchmark::State& state) {
    run(state, [] {
        std::string s = nubase::string_encode_base64(raw_bytes(), k_size);
        benchmark::DoNotOptimize(s.data());
    });
}
BENCHMARK(BM_base64_encode_nubase_string);

void BM_base64_encode_nubase_kernel(benchmark::State& state) {
    const auto p = static_cast<kernels::path>(state.range(0));
    if (!kernels::path_available(p)) return state.SkipWithError("path not available");
    std::vector<unsigned char> out(kernels::base64_encoded_size(k_size));
    run(state, [&] {
        benchmark::DoNotOptimize(kernels::base64_encode(p, raw_bytes(), k_size, out.data()));
    });
}
BENCHMARK(BM_base64_encode_nubase_kernel)->ArgName("path")->Arg(0)->Arg(1)->Arg(2);

#if defined(NUBASE_HAVE_LIBCRYPTO)
void BM_base64_encode_openssl(benchmark::State& state) {
    std::vector<unsigned char> out(kernels::base64_encoded_size(k_size) + 1);
    run(state, [&] {
        benchmark::DoNotOptimize(
            EVP_EncodeBlock(out.data(), raw_bytes(), static_cast<int>(k_size)));
    });
}
BENCHMARK(BM_base64_encode_openssl);
#endif

#if defined(NUBASE_HAVE_LIBAVUTIL)
void BM_base64_encode_ffmpeg(benchmark::State& state) {
    std::vector<char> out(AV_BASE64_SIZE(k_size));
    run(state, [&] {
        benchmark::DoNotOptimize(av_base64_encode(out.data(), static_cast<int>(out.size()),
                                                  raw_bytes(), static_cast<int>(k_size)));
    });
}
BENCHMARK(BM_base64_encode_ffmpeg);
#endif

#if defined(NUBASE_HAVE_ABSL_STRINGS)
void BM_base64_encode_abseil(benchmark::State& state) {
    std::string out;
    run(state, [&] {
        absl::Base64Escape(raw(), &out);
        benchmark::DoNotOptimize(out.data());
    });
}
BENCHMARK(BM_base64_encode_abseil);
#endif

// ---- base64 decode --------------------------------------------------------------------------

void BM_base64_decode_nubase_buffer(benchmark::State& state) {
    const std::string& in = base64_text();
    run(state, [&] {
        nubase::buffer b = nubase::buffer_decode_base64(as_bytes(in), in.size());
        benchmark::DoNotOptimize(b.data());
    });
}
BENCHMARK(BM_base64_decode_nubase_buffer);

void BM_base64_decode_nubase_string(benchmark::State& state) {
    const std::string& in = base64_text();
    run(state, [&] {
        std::string s = nubase::string_decode_base64(as_bytes(in), in.size());
        benchmark::DoNotOptimize(s.data());
    });
}
BENCHMARK(BM_base64_decode_nubase_string);

void BM_base64_decode_nubase_kernel(benchmark::State& state) {
    const auto p = static_cast<kernels::path>(state.range(0));
    if (!kernels::path_available(p)) return state.SkipWithError("path not available");
    const std::string& in = base64_text();
    std::vector<unsigned char> out(kernels::base64_decoded_bound(in.size()));
    run(state, [&] {
        benchmark::DoNotOptimize(kernels::base64_decode(p, as_bytes(in), in.size(), out.data()));
    });
}
BENCHMARK(BM_base64_decode_nubase_kernel)->ArgName("path")->Arg(0)->Arg(1)->Arg(2);

#if defined(NUBASE_HAVE_LIBCRYPTO)
void BM_base64_decode_openssl(benchmark::State& state) {
    const std::string& in = base64_text();
    std::vector<unsigned char> out(kernels::base64_decoded_bound(in.size()));
    run(state, [&] {
        benchmark::DoNotOptimize(
            EVP_DecodeBlock(out.data(), as_bytes(in), static_cast<int>(in.size())));
    });
}
BENCHMARK(BM_base64_decode_openssl);
#endif

#if defined(NUBASE_HAVE_LIBAVUTIL)
void BM_base64_decode_ffmpeg(benchmark::State& state) {
    const std::string& in = base64_text();  // NUL-terminated, as av_base64_decode needs
    std::vector<std::uint8_t> out(kernels::base64_decoded_bound(in.size()));
    run(state, [&] {
        benchmark::DoNotOptimize(
            av_base64_decode(out.data(), in.c_str(), static_cast<int>(out.size())));
    });
}
BENCHMARK(BM_base64_decode_ffmpeg);
#endif

#if defined(NUBASE_HAVE_ABSL_STRINGS)
void BM_base64_decode_abseil(benchmark::State& state) {
    const std::string& in = base64_text();
    std::string out;
    run(state, [&] {
        benchmark::DoNotOptimize(absl::Base64Unescape(in, &out));
        benchmark::DoNotOptimize(out.data());
    });
}
BENCHMARK(BM_base64_decode_abseil);
#endif

// ---- hex ------------------------------------------------------------------------------------

void BM_hex_encode_nubase_buffer(benchmark::State& state) {
    run(state, [] {
        nubase::buffer b = nubase::buffer_encode_hex(raw_bytes(), k_size);
        benchmark::DoNotOptimize(b.data());
    });
}
BENCHMARK(BM_hex_encode_nubase_buffer);

void BM_hex_encode_nubase_kernel(benchmark::State& state) {
    const auto p = static_cast<kernels::path>(state.range(0));
    if (!kernels::path_available(p)) return state.SkipWithError("path not available");
    std::vector<unsigned char> out(2 * k_size);
    run(state, [&] {
        kernels::hex_encode(p, raw_bytes(), k_size, out.data());
        benchmark::DoNotOptimize(out.data());
    });
}
BENCHMARK(BM_hex_encode_nubase_kernel)->ArgName("path")->Arg(0)->Arg(1)->Arg(2);

void BM_hex_decode_nubase_buffer(benchmark::State& state) {
    const std::string& in = hex_text();
    run(state, [&] {
        nubase::buffer b = nubase::buffer_decode_hex(as_bytes(in), in.size());
        benchmark::DoNotOptimize(b.data());
    });
}
BENCHMARK(BM_hex_decode_nubase_buffer);

void BM_hex_decode_nubase_kernel(benchmark::State& state) {
    const auto p = static_cast<kernels::path>(state.range(0));
    if (!kernels::path_available(p)) return state.SkipWithError("path not available");
    const std::string& in = hex_text();
    std::vector<unsigned char> out(k_size);
    run(state, [&] {
        kernels::hex_decode(p, as_bytes(in), in.size(), out.data());
        benchmark::DoNotOptimize(out.data());
    });
}
BENCHMARK(BM_hex_decode_nubase_kernel)->ArgName("path")->Arg(0)->Arg(1)->Arg(2);

#if defined(NUBASE_HAVE_ABSL_STRINGS)
void BM_hex_encode_abseil(benchmark::State& state) {
    run(state, [] {
        std::string s = absl::BytesToHexString(raw());
        benchmark::DoNotOptimize(s.data());
    });
}
BENCHMARK(BM_hex_encode_abseil);

void BM_hex_decode_abseil(benchmark::State& state) {
    const std::string& in = hex_text();
    run(state, [&] {
        std::string s = absl::HexStringToBytes(in);
        benchmark::DoNotOptimize(s.data());
    });
}
BENCHMARK(BM_hex_decode_abseil);
#endif

}  // namespace

BENCHMARK_MAIN();
