// Hex decoding of fuzzed text: every path must give the reference's bytes, the public functions
// must agree and raise only for an odd length, and the decoded bytes must round-trip.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "coding_kernels.hpp"
#include "nubase/coding.hpp"
#include "nubase/es.hpp"

namespace kernels = nubase::coding_kernels;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    const std::size_t l_n = a_size & ~std::size_t{1};
    std::vector<unsigned char> l_want(l_n / 2);
    kernels::hex_decode(kernels::path::reference, a_data, l_n, l_want.data());
    for (auto l_path : {kernels::path::scalar, kernels::path::avx2}) {
        if (!kernels::path_available(l_path)) continue;
        std::vector<unsigned char> l_got(l_n / 2);
        kernels::hex_decode(l_path, a_data, l_n, l_got.data());
        if (l_got != l_want) std::abort();
    }

    try {
        const std::string l_public = nubase::string_decode_hex(a_data, a_size);
        if (a_size % 2 != 0) std::abort();
        if (l_public.size() != l_want.size() ||
            (!l_want.empty() && std::memcmp(l_public.data(), l_want.data(), l_want.size()))) {
            std::abort();
        }
    } catch (const nubase::es::arg&) {
        if (a_size % 2 == 0) std::abort();
    }

    for (auto l_path : {kernels::path::reference, kernels::path::scalar, kernels::path::avx2}) {
        if (!kernels::path_available(l_path)) continue;
        std::vector<unsigned char> l_text(2 * l_want.size());
        kernels::hex_encode(l_path, l_want.data(), l_want.size(), l_text.data());
        const nubase::buffer l_back = nubase::buffer_decode_hex(l_text.data(), l_text.size());
        if (l_back.size() != l_want.size() ||
            (!l_want.empty() && std::memcmp(l_back.data(), l_want.data(), l_want.size()))) {
            std::abort();
        }
    }
    return 0;
}
