// Base64 decoding of fuzzed text: every path must give the reference's bytes, the public
// functions must agree with the reference and raise only for a length that is not a multiple of
// 4, and decoding then re-encoding the reference's output must round-trip.
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
    const std::size_t l_n = a_size & ~std::size_t{3};
    std::vector<unsigned char> l_want(kernels::base64_decoded_bound(l_n) + 1);
    l_want.resize(kernels::base64_decode(kernels::path::reference, a_data, l_n, l_want.data()));
    for (auto l_path : {kernels::path::scalar, kernels::path::avx2}) {
        if (!kernels::path_available(l_path)) continue;
        // Exactly the documented room, so that an overrun shows under the sanitizer.
        std::vector<unsigned char> l_got(kernels::base64_decoded_bound(l_n));
        l_got.resize(kernels::base64_decode(l_path, a_data, l_n, l_got.data()));
        if (l_got != l_want) std::abort();
    }

    try {
        const nubase::buffer l_public = nubase::buffer_decode_base64(a_data, a_size);
        if (a_size % 4 != 0 && a_size != 0) std::abort();
        if (l_public.size() != l_want.size() ||
            (l_public.size() != 0 && std::memcmp(l_public.data(), l_want.data(), l_want.size()))) {
            std::abort();
        }
    } catch (const nubase::es::arg&) {
        if (a_size % 4 == 0) std::abort();
    }

    // Whatever the text decoded to encodes and decodes back to itself on every path.
    for (auto l_path : {kernels::path::reference, kernels::path::scalar, kernels::path::avx2}) {
        if (!kernels::path_available(l_path)) continue;
        std::vector<unsigned char> l_text(kernels::base64_encoded_size(l_want.size()));
        kernels::base64_encode(l_path, l_want.data(), l_want.size(), l_text.data());
        const std::string l_back = nubase::string_decode_base64(l_text.data(), l_text.size());
        if (l_back.size() != l_want.size() ||
            (!l_want.empty() && std::memcmp(l_back.data(), l_want.data(), l_want.size()))) {
            std::abort();
        }
    }
    return 0;
}
