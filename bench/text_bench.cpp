// Text hot paths beside their peers, on the same inputs in the same run: splitting a long
// comma-separated line keeping empty pieces, replacing a short pattern by a longer one across a
// 64 KiB text, formatting a short message, and parsing a key-value string into a map.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "nubase/string.hpp"
#include "nubase/strutil.hpp"

#if defined(NUBASE_HAVE_ABSL_STRINGS)
#include "absl/strings/str_join.h"
#include "absl/strings/str_replace.h"
#include "absl/strings/str_split.h"
#endif
#if defined(NUBASE_HAVE_ABSL_STR_FORMAT)
#include "absl/strings/str_format.h"
#endif
#if defined(NUBASE_HAVE_GLIB_2_0)
#include <glib.h>
#endif

namespace {

// Deterministic text: words of 1 to 12 letters, separated by `sep`, with an empty field or a
// '&' now and then so that the rare cases are on the path.
std::string make_text(std::size_t a_size, char a_sep) {
    std::string l_s;
    std::uint32_t l_x = 2463534242u;
    while (l_s.size() < a_size) {
        l_x ^= l_x << 13;
        l_x ^= l_x >> 17;
        l_x ^= l_x << 5;
        const unsigned l_n = l_x % 13;
        for (unsigned l_i = 0; l_i < l_n; ++l_i) {
            l_s.push_back(static_cast<char>('a' + (l_x >> (l_i % 24)) % 26));
        }
        if (l_x % 17 == 0) l_s.push_back('&');
        l_s.push_back(a_sep);
    }
    return l_s;
}

const std::string& csv_line() {
    static const std::string s_line = make_text(4096, ',');
    return s_line;
}

const std::string& prose() {
    static const std::string s_text = make_text(64 * 1024, ' ');
    return s_text;
}

const std::string& query() {
    static const std::string s_query = [] {
        std::string l_q;
        for (int l_i = 0; l_i < 16; ++l_i) {
            if (l_i) l_q.push_back('&');
            l_q += "key" + std::to_string(l_i * 7) + "=value" + std::to_string(l_i * 1000);
        }
        return l_q;
    }();
    return s_query;
}

void BM_split_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        std::vector<std::string> l_out;
        nubase::strutil::tokenize_string(csv_line(), ',', l_out, true);
        benchmark::DoNotOptimize(l_out.data());
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * csv_line().size()));
}
BENCHMARK(BM_split_nubase);

void BM_join_nubase(benchmark::State& a_state) {
    std::vector<std::string> l_pieces;
    nubase::strutil::tokenize_string(csv_line(), ',', l_pieces, true);
    for (auto _ : a_state) {
        std::string l_out;
        nubase::strutil::join_strings(l_pieces, ',', l_out);
        benchmark::DoNotOptimize(l_out.data());
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * csv_line().size()));
}
BENCHMARK(BM_join_nubase);

void BM_replace_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        std::string l_out = nubase::string_replaced(prose(), "&", "&amp;");
        benchmark::DoNotOptimize(l_out.data());
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * prose().size()));
}
BENCHMARK(BM_replace_nubase);

void BM_format_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        std::string l_out =
            nubase::string_with_format("%s:%d/%s?t=%u", "media-host", 8080, "clip.mov", 1234567u);
        benchmark::DoNotOptimize(l_out.data());
    }
}
BENCHMARK(BM_format_nubase);

void BM_kvmap_nubase(benchmark::State& a_state) {
    for (auto _ : a_state) {
        nubase::kvmap l_map = nubase::strutil::kvmap_with_kvstr(query(), '&', '=');
        benchmark::DoNotOptimize(&l_map);
    }
}
BENCHMARK(BM_kvmap_nubase);

#if defined(NUBASE_HAVE_ABSL_STRINGS)
void BM_split_absl(benchmark::State& a_state) {
    for (auto _ : a_state) {
        std::vector<std::string> l_out = absl::StrSplit(csv_line(), ',');
        benchmark::DoNotOptimize(l_out.data());
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * csv_line().size()));
}
BENCHMARK(BM_split_absl);

void BM_join_absl(benchmark::State& a_state) {
    std::vector<std::string> l_pieces = absl::StrSplit(csv_line(), ',');
    for (auto _ : a_state) {
        std::string l_out = absl::StrJoin(l_pieces, ",");
        benchmark::DoNotOptimize(l_out.data());
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * csv_line().size()));
}
BENCHMARK(BM_join_absl);

void BM_replace_absl(benchmark::State& a_state) {
    for (auto _ : a_state) {
        std::string l_out = absl::StrReplaceAll(prose(), {{"&", "&amp;"}});
        benchmark::DoNotOptimize(l_out.data());
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * prose().size()));
}
BENCHMARK(BM_replace_absl);

void BM_kvmap_absl(benchmark::State& a_state) {
    for (auto _ : a_state) {
        std::map<std::string, std::string> l_map;
        for (absl::string_view l_pair : absl::StrSplit(query(), '&')) {
            std::pair<std::string, std::string> l_kv =
                absl::StrSplit(l_pair, absl::MaxSplits('=', 1));
            l_map[l_kv.first] = std::move(l_kv.second);
        }
        benchmark::DoNotOptimize(&l_map);
    }
}
BENCHMARK(BM_kvmap_absl);
#endif

#if defined(NUBASE_HAVE_ABSL_STR_FORMAT)
void BM_format_absl(benchmark::State& a_state) {
    for (auto _ : a_state) {
        std::string l_out =
            absl::StrFormat("%s:%d/%s?t=%u", "media-host", 8080, "clip.mov", 1234567u);
        benchmark::DoNotOptimize(l_out.data());
    }
}
BENCHMARK(BM_format_absl);
#endif

#if defined(NUBASE_HAVE_GLIB_2_0)
void BM_split_glib(benchmark::State& a_state) {
    for (auto _ : a_state) {
        gchar** l_out = g_strsplit(csv_line().c_str(), ",", -1);
        benchmark::DoNotOptimize(l_out);
        g_strfreev(l_out);
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * csv_line().size()));
}
BENCHMARK(BM_split_glib);

void BM_replace_glib(benchmark::State& a_state) {
    for (auto _ : a_state) {
        GString* l_s = g_string_new_len(prose().data(), static_cast<gssize>(prose().size()));
        g_string_replace(l_s, "&", "&amp;", 0);
        benchmark::DoNotOptimize(l_s->str);
        g_string_free(l_s, TRUE);
    }
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * prose().size()));
}
BENCHMARK(BM_replace_glib);

void BM_format_glib(benchmark::State& a_state) {
    for (auto _ : a_state) {
        gchar* l_out = g_strdup_printf("%s:%d/%s?t=%u", "media-host", 8080, "clip.mov", 1234567u);
        benchmark::DoNotOptimize(l_out);
        g_free(l_out);
    }
}
BENCHMARK(BM_format_glib);
#endif

}  // namespace

BENCHMARK_MAIN();
