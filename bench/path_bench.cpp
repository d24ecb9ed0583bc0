// Path hot paths beside their peers, on the same corpus in the same run: taking a path apart
// into directory, file name and suffix; joining a directory and a name; normalising "." and
// ".." components; and turning an absolute file name into a "file:" URL. Peers: the standard
// library's std::filesystem, GLib's path and URI helpers, and POCO's Path.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "nubase/path.hpp"
#include "nubase/urlpath.hpp"

#if defined(NUBASE_HAVE_GLIB_2_0)
#include <glib.h>
#endif
#if defined(NUBASE_HAVE_POCO)
#include <Poco/Path.h>
#endif

namespace {

// Deterministic absolute paths of 1 to 8 components, with a suffix on most files, a "." or
// ".." component now and then, and a space or '%' in some names (so URLs need escapes).
const std::vector<std::string>& corpus() {
    static const std::vector<std::string> s_paths = [] {
        static const char* const k_words[] = {"media",  "clips", "2024", "a b",   "proxy",
                                              "render", "cache", "v1.2", "x%y",   "project",
                                              "audio",  "..",    ".",    "final", "tmp"};
        static const char* const k_suffixes[] = {".mov", ".mxf", ".wav", ".tar.gz", "", ".json"};
        std::vector<std::string> l_out;
        std::uint32_t l_x = 2463534242u;
        auto l_next = [&l_x] {
            l_x ^= l_x << 13;
            l_x ^= l_x >> 17;
            l_x ^= l_x << 5;
            return l_x;
        };
        for (int l_i = 0; l_i < 1000; ++l_i) {
            std::string l_p;
            const unsigned l_depth = 1 + l_next() % 8;
            for (unsigned l_d = 0; l_d < l_depth; ++l_d) {
                l_p += '/';
                l_p += k_words[l_next() % (sizeof k_words / sizeof k_words[0])];
            }
            l_p += "/file" + std::to_string(l_i);
            l_p += k_suffixes[l_next() % (sizeof k_suffixes / sizeof k_suffixes[0])];
            l_out.push_back(std::move(l_p));
        }
        return l_out;
    }();
    return s_paths;
}

std::int64_t corpus_bytes() {
    static const std::int64_t s_bytes = [] {
        std::int64_t l_n = 0;
        for (const auto& l_p : corpus())
            l_n += static_cast<std::int64_t>(l_p.size());
        return l_n;
    }();
    return s_bytes;
}

void set_counters(benchmark::State& a_state) {
    a_state.SetBytesProcessed(a_state.iterations() * corpus_bytes());
    a_state.SetItemsProcessed(a_state.iterations() * static_cast<std::int64_t>(corpus().size()));
}

// --- directory, file name and suffix ----------------------------------------------------------

void BM_split_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            std::string l_dir = nubase::path_directory(l_p, '/', 1);
            std::string l_file = nubase::path_file(l_p, '/');
            std::string l_suffix = nubase::path_suffix(l_p, '/', 0);
            benchmark::DoNotOptimize(l_dir.data());
            benchmark::DoNotOptimize(l_file.data());
            benchmark::DoNotOptimize(l_suffix.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_split_nubase);

void BM_split_std_filesystem(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            const std::filesystem::path l_path(l_p);
            std::string l_dir = l_path.parent_path().string();
            std::string l_file = l_path.filename().string();
            std::string l_suffix = l_path.extension().string();
            benchmark::DoNotOptimize(l_dir.data());
            benchmark::DoNotOptimize(l_file.data());
            benchmark::DoNotOptimize(l_suffix.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_split_std_filesystem);

#if defined(NUBASE_HAVE_GLIB_2_0)
void BM_split_glib(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            gchar* l_dir = g_path_get_dirname(l_p.c_str());
            gchar* l_file = g_path_get_basename(l_p.c_str());
            const char* l_dot = std::strrchr(l_file, '.');
            gchar* l_suffix = g_strdup(l_dot != nullptr ? l_dot + 1 : "");
            benchmark::DoNotOptimize(l_dir);
            benchmark::DoNotOptimize(l_suffix);
            g_free(l_suffix);
            g_free(l_file);
            g_free(l_dir);
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_split_glib);
#endif

#if defined(NUBASE_HAVE_POCO)
void BM_split_poco(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            const Poco::Path l_path(l_p, Poco::Path::PATH_UNIX);
            std::string l_dir = l_path.parent().toString(Poco::Path::PATH_UNIX);
            std::string l_file = l_path.getFileName();
            std::string l_suffix = l_path.getExtension();
            benchmark::DoNotOptimize(l_dir.data());
            benchmark::DoNotOptimize(l_file.data());
            benchmark::DoNotOptimize(l_suffix.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_split_poco);
#endif

// --- joining a directory and a name -------------------------------------------------------------

void BM_append_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            std::string l_out = nubase::path_appended(l_p, "take 2.mov", '/');
            benchmark::DoNotOptimize(l_out.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_append_nubase);

void BM_append_std_filesystem(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            std::string l_out = (std::filesystem::path(l_p) / "take 2.mov").string();
            benchmark::DoNotOptimize(l_out.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_append_std_filesystem);

#if defined(NUBASE_HAVE_GLIB_2_0)
void BM_append_glib(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            gchar* l_out = g_build_filename(l_p.c_str(), "take 2.mov", nullptr);
            benchmark::DoNotOptimize(l_out);
            g_free(l_out);
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_append_glib);
#endif

// --- removing "." and ".."
// ------------------------------------------------------------------------

void BM_normalize_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            std::string l_out = nubase::path_normalized(l_p, '/');
            benchmark::DoNotOptimize(l_out.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_normalize_nubase);

void BM_normalize_std_filesystem(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            std::string l_out = std::filesystem::path(l_p).lexically_normal().string();
            benchmark::DoNotOptimize(l_out.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_normalize_std_filesystem);

#if defined(NUBASE_HAVE_GLIB_2_0)
void BM_normalize_glib(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            gchar* l_out = g_canonicalize_filename(l_p.c_str(), "/");
            benchmark::DoNotOptimize(l_out);
            g_free(l_out);
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_normalize_glib);
#endif

// --- absolute file name to "file:" URL
// ------------------------------------------------------------

void BM_file_url_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            std::string l_out = nubase::url_create_from_url_or_path(l_p, "/");
            benchmark::DoNotOptimize(l_out.data());
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_file_url_nubase);

#if defined(NUBASE_HAVE_GLIB_2_0)
void BM_file_url_glib(benchmark::State& a_state) {
    for (auto _ : a_state) {
        for (const auto& l_p : corpus()) {
            gchar* l_out = g_filename_to_uri(l_p.c_str(), nullptr, nullptr);
            benchmark::DoNotOptimize(l_out);
            g_free(l_out);
        }
    }
    set_counters(a_state);
}
BENCHMARK(BM_file_url_glib);
#endif

}  // namespace

BENCHMARK_MAIN();
