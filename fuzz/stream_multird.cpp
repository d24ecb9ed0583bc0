// The concatenating reader over fuzzed pieces: fuzzed readers (some empty) added between fuzzed
// reads, so that the list grows after some readers are finished; the bytes delivered must be the
// pieces in order and `tell()` their count.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "nubase/stream.hpp"
#include "stream_fuzz_io.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* a_data, std::size_t a_size) {
    fuzz_io::cursor l_in{a_data, a_size};
    std::vector<std::unique_ptr<fuzz_io::piece_rd>> l_readers;
    std::vector<unsigned char> l_expected, l_got, l_area;
    nubase::stream::multird l_m;
    while (!l_in.empty()) {
        const unsigned l_op = l_in.byte();
        if (l_op < 160) {
            // A reader over the next (op % 8) input bytes, handing out 1..4 bytes per call.
            const std::size_t l_len = std::min<std::size_t>(l_op % 8, l_in.n);
            l_readers.push_back(
                std::make_unique<fuzz_io::piece_rd>(l_in.p, l_len, 1 + l_op / 8 % 4));
            l_expected.insert(l_expected.end(), l_in.p, l_in.p + l_len);
            l_in.p += l_len;
            l_in.n -= l_len;
            l_m.add(*l_readers.back());
        } else if (l_op < 250) {
            l_area.assign(l_op - 160, 0);
            const unsigned long long l_count = l_m.read(l_area.data(), l_area.size());
            FUZZ_CHECK(l_count <= l_area.size());
            l_got.insert(l_got.end(), l_area.begin(), l_area.begin() + static_cast<long>(l_count));
            FUZZ_CHECK(l_m.tell() == l_got.size());
            // A short read means every reader added so far is finished.
            if (l_count < l_area.size()) FUZZ_CHECK(l_got.size() == l_expected.size());
        } else if (l_op == 255) {
            l_m.clear();
            l_expected.clear();
            l_got.clear();
        }
    }
    l_area.assign(1 << 12, 0);
    for (;;) {
        const unsigned long long l_count = l_m.read(l_area.data(), l_area.size());
        if (l_count == 0) break;
        l_got.insert(l_got.end(), l_area.begin(), l_area.begin() + static_cast<long>(l_count));
    }
    FUZZ_CHECK(l_got == l_expected);
    FUZZ_CHECK(l_m.tell() == l_got.size());
    return 0;
}
