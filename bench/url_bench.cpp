// Reading scheme, host, path and query of each of 10,000 varied URLs (user information, IPv4 and
// IPv6 hosts, ports, parameters, queries, fragments, percent escapes): nubase's four getters,
// each a fresh scan of the string, beside Boost.URL (parse_uri, then the accessors) and
// uriparser (uriParseSingleUriA, then the ranges). Every contender hands back the same four raw
// (undecoded) parts as std::string, which is what a caller of the nubase getters receives; the
// Boost.URL "views" row shows its cost when the parts are only looked at in place.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "nubase/url.hpp"
#include "vectors/url.hpp"

#if defined(NUBASE_HAVE_BOOST_URL)
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#endif
#if defined(NUBASE_HAVE_LIBURIPARSER)
#include <uriparser/Uri.h>
#endif

namespace {

const std::vector<std::string>& corpus() {
    static const std::vector<std::string> s_corpus = nubase_vectors::url_corpus(10000);
    return s_corpus;
}

template <class Read>
void run(benchmark::State& a_state, Read a_read) {
    const auto& l_urls = corpus();
    std::size_t l_bytes = 0;
    for (const auto& l_u : l_urls)
        l_bytes += l_u.size();
    for (auto _ : a_state) {
        std::size_t l_total = 0;
        for (const auto& l_u : l_urls)
            l_total += a_read(l_u);
        benchmark::DoNotOptimize(l_total);
    }
    a_state.SetItemsProcessed(static_cast<std::int64_t>(a_state.iterations() * l_urls.size()));
    a_state.SetBytesProcessed(static_cast<std::int64_t>(a_state.iterations() * l_bytes));
}

void BM_url_nubase(benchmark::State& a_state) {
    run(a_state, [](const std::string& a_u) {
        const std::string l_scheme = nubase::url_scheme(a_u);
        const std::string l_host = nubase::url_host(a_u);
        const std::string l_path = nubase::url_path(a_u, false);
        const std::string l_query = nubase::url_query(a_u, false);
        return l_scheme.size() + l_host.size() + l_path.size() + l_query.size();
    });
}
BENCHMARK(BM_url_nubase);

#if defined(NUBASE_HAVE_BOOST_URL)
void BM_url_boost(benchmark::State& a_state) {
    run(a_state, [](const std::string& a_u) -> std::size_t {
        const auto l_r = boost::urls::parse_uri(a_u);
        if (!l_r) return 0;
        const std::string l_scheme(l_r->scheme());
        const std::string l_host(l_r->encoded_host_address());
        const std::string l_path(l_r->encoded_path());
        const std::string l_query(l_r->encoded_query());
        return l_scheme.size() + l_host.size() + l_path.size() + l_query.size();
    });
}
BENCHMARK(BM_url_boost);

void BM_url_boost_views(benchmark::State& a_state) {
    run(a_state, [](const std::string& a_u) -> std::size_t {
        const auto l_r = boost::urls::parse_uri(a_u);
        if (!l_r) return 0;
        return l_r->scheme().size() + l_r->encoded_host_address().size() +
               l_r->encoded_path().size() + l_r->encoded_query().size();
    });
}
BENCHMARK(BM_url_boost_views);
#endif

#if defined(NUBASE_HAVE_LIBURIPARSER)
std::string text(const UriTextRangeA& a_r) {
    if (a_r.first == nullptr || a_r.afterLast == nullptr) return std::string();
    return std::string(a_r.first, a_r.afterLast);
}

void BM_url_uriparser(benchmark::State& a_state) {
    run(a_state, [](const std::string& a_u) -> std::size_t {
        UriUriA l_uri;
        const char* l_error = nullptr;
        if (uriParseSingleUriExA(&l_uri, a_u.data(), a_u.data() + a_u.size(), &l_error) !=
            URI_SUCCESS)
            return 0;
        const std::string l_scheme = text(l_uri.scheme);
        const std::string l_host = text(l_uri.hostText);
        // The path is a list of segments; with a host or an absolute path a '/' leads it.
        std::string l_path;
        if (l_uri.pathHead != nullptr) {
            const char* l_first = l_uri.pathHead->text.first;
            if (l_uri.absolutePath || l_uri.hostText.first != nullptr) --l_first;
            l_path.assign(l_first, l_uri.pathTail->text.afterLast);
        }
        const std::string l_query = text(l_uri.query);
        uriFreeUriMembersA(&l_uri);
        return l_scheme.size() + l_host.size() + l_path.size() + l_query.size();
    });
}
BENCHMARK(BM_url_uriparser);
#endif

}  // namespace

BENCHMARK_MAIN();
