// Reading a whole 64 MiB file (from the page cache) into memory: fileutil::get_file_content into
// a string and into a buffer, beside std::ifstream reading into a string of the file's size.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "nubase/buffer.hpp"
#include "nubase/file.hpp"

namespace {

constexpr std::size_t k_size = 64u << 20;

// The test file, written once and removed at exit.
const std::string& test_file() {
    static const std::string s_path = [] {
        char l_template[] = "/tmp/nubase_file_bench_XXXXXX";
        const int l_fd = mkstemp(l_template);
        if (l_fd == -1) std::abort();
        close(l_fd);
        std::string l_data(k_size, '\0');
        for (std::size_t i = 0; i < k_size; ++i)
            l_data[i] = static_cast<char>(i * 131 >> 3);
        nubase::fileutil::set_file_content(l_template, l_data);
        static std::string s_remove = l_template;
        std::atexit([] { std::remove(s_remove.c_str()); });
        return std::string(l_template);
    }();
    return s_path;
}

// Into a string or a buffer: the same read, sized by the file.
template <class Container>
void BM_fileutil(benchmark::State& state) {
    const std::string& l_path = test_file();
    for (auto _ : state) {
        Container l_content;
        nubase::fileutil::get_file_content(l_path, l_content);
        benchmark::DoNotOptimize(l_content.data());
    }
    state.SetBytesProcessed(static_cast<long long>(state.iterations() * k_size));
}
BENCHMARK_TEMPLATE(BM_fileutil, std::string)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_fileutil, nubase::buffer)->Unit(benchmark::kMillisecond);

void BM_ifstream_string(benchmark::State& state) {
    const std::string& l_path = test_file();
    for (auto _ : state) {
        std::ifstream l_in(l_path, std::ios::binary);
        l_in.seekg(0, std::ios::end);
        const std::streamsize l_size = l_in.tellg();
        l_in.seekg(0, std::ios::beg);
        std::string l_content(static_cast<std::size_t>(l_size), '\0');
        l_in.read(&l_content[0], l_size);
        benchmark::DoNotOptimize(l_content.data());
    }
    state.SetBytesProcessed(static_cast<long long>(state.iterations() * k_size));
}
BENCHMARK(BM_ifstream_string)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
