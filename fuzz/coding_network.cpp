// The network decoder over fuzzed bytes: items are read until the decoder raises. Each item must
// lie inside the source, a raise must leave the output as it was, and re-encoding the items read
// must give back exactly the bytes consumed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "nubase/coding.hpp"
#include "nubase/es.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    const nubase::buffer l_source(a_data, a_data + a_size);
    nubase::decoder_network l_decoder(l_source);
    nubase::buffer l_again(0ULL);
    nubase::encoder_network l_encoder(l_again);
    unsigned l_turn = 0;
    for (;;) {
        const unsigned long long l_before = l_decoder.offset();
        try {
            // Alternate the two outputs; both start fresh so that an empty item reads as empty.
            if (++l_turn % 2 == 0) {
                std::string l_item;
                nubase::string_decode_network(l_item, l_decoder);
                nubase::string_encode_network(l_item, l_encoder);
            } else {
                nubase::buffer l_item(0ULL);
                nubase::buffer_decode_network(l_item, l_decoder);
                nubase::buffer_encode_network(l_item, l_encoder);
            }
        } catch (const nubase::es::arg&) {
            // Either the length field did not fit (no move) or the body did not (moved by 4).
            const unsigned long long l_moved = l_decoder.offset() - l_before;
            if (l_moved != 0 && l_moved != 4) std::abort();
            if (l_moved == 0 && a_size - l_before >= 4) std::abort();
            break;
        }
        if (l_decoder.offset() > a_size) std::abort();
    }
    // Everything read so far re-encodes to the consumed prefix.
    if (l_again.size() > a_size) std::abort();
    if (l_again.size() != 0 && std::memcmp(l_again.data(), a_data, l_again.size()) != 0) {
        std::abort();
    }
    return 0;
}
