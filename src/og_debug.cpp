// Debug output channels: the channel mask, printing, hex dumps, dumps to a file and assertions.
#include <fcntl.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "nubase/debug.hpp"
#include "nubase/es.hpp"
#include "nubase/file.hpp"
#include "posix/stop.hpp"

namespace nubase {
namespace ds_og {

namespace {
constexpr char k_source[] = "lib/nubase/src/og_debug";

constexpr unsigned long long k_grow_words = 32;  // the mask grows by 1024 channels at a time

// The process-wide channel mask: bit (c mod 32) of word (c / 32) is channel c.
class channel_mask {
  public:
    channel_mask()
        : m_count(k_grow_words), m_buf(static_cast<std::uint32_t*>(std::calloc(m_count, 4))) {
        if (m_buf == nullptr) {
            m_count = 0;  // keeps `bit` safe for the report printed on the way out
            abort("0 == m_buf", k_source, __LINE__);
        }
        m_buf[0] = 0x1F;
    }
    ~channel_mask() { std::free(m_buf); }
    channel_mask(const channel_mask&) = delete;
    channel_mask& operator=(const channel_mask&) = delete;

    unsigned long long channels() const noexcept { return m_count * 32; }

    bool bit(unsigned long long a_c) const noexcept {
        return a_c / 32 < m_count && (m_buf[a_c / 32] >> (a_c % 32) & 1u) != 0;
    }

    // Sets (or clears) channels first..last, both inside the mask, a word at a time.
    void change(unsigned long long a_first, unsigned long long a_last, bool a_on) noexcept {
        for (unsigned long long l_w = a_first / 32; l_w <= a_last / 32; ++l_w) {
            const unsigned l_lo = l_w == a_first / 32 ? unsigned(a_first % 32) : 0u;
            const unsigned l_hi = l_w == a_last / 32 ? unsigned(a_last % 32) : 31u;
            const std::uint32_t l_bits = (0xFFFFFFFFu >> (31 - l_hi)) & (0xFFFFFFFFu << l_lo);
            m_buf[l_w] = a_on ? (m_buf[l_w] | l_bits) : (m_buf[l_w] & ~l_bits);
        }
    }

    // Makes channel c part of the mask; new words are zero.
    void reach(unsigned long long a_c) noexcept {
        if (a_c / 32 < m_count) return;
        const unsigned long long l_count =
            (a_c / 32 + 1 + k_grow_words - 1) / k_grow_words * k_grow_words;
        void* l_buf = l_count <= SIZE_MAX / 4 ? std::realloc(m_buf, l_count * 4) : nullptr;
        if (l_buf == nullptr) abort("0 == m_buf", k_source, __LINE__);
        m_buf = static_cast<std::uint32_t*>(l_buf);
        std::memset(m_buf + m_count, 0, (l_count - m_count) * 4);
        m_count = l_count;
    }

  private:
    unsigned long long m_count;  // 32-bit words
    std::uint32_t* m_buf;
};

channel_mask g_mask;

constexpr char k_hex[] = "0123456789abcdef";
constexpr unsigned k_line = 79;

}  // namespace

bool mask_bit(unsigned long long a_c) noexcept {
    return g_mask.bit(a_c);
}

void mask_set_bit(unsigned long long a_c) noexcept {
    g_mask.reach(a_c);
    g_mask.change(a_c, a_c, true);
}

void mask_clear_bit(unsigned long long a_c) noexcept {
    if (a_c < g_mask.channels()) g_mask.change(a_c, a_c, false);
}

void mask_set_range(unsigned long long a_first, unsigned long long a_last) noexcept {
    if (a_first > a_last) return;
    g_mask.reach(a_last);
    g_mask.change(a_first, a_last, true);
}

void mask_clear_range(unsigned long long a_first, unsigned long long a_last) noexcept {
    if (a_first > a_last || a_first >= g_mask.channels()) return;
    if (a_last >= g_mask.channels()) a_last = g_mask.channels() - 1;
    g_mask.change(a_first, a_last, false);
}

void mask_set_bits(const unsigned long long* a_list, unsigned long long a_n) noexcept {
    if (a_list == nullptr) return;
    for (unsigned long long l_i = 0; l_i < a_n; ++l_i)
        mask_set_bit(a_list[l_i]);
}

void mask_clear_bits(const unsigned long long* a_list, unsigned long long a_n) noexcept {
    if (a_list == nullptr) return;
    for (unsigned long long l_i = 0; l_i < a_n; ++l_i)
        mask_clear_bit(a_list[l_i]);
}

void mask_print(unsigned long long a_c) noexcept {
    if (!g_mask.bit(a_c)) return;
    std::fputs("{ ", stderr);
    const unsigned long long l_end = g_mask.channels();
    unsigned long long l_c = 0;
    while (l_c < l_end) {
        if (!g_mask.bit(l_c)) {
            ++l_c;
            continue;
        }
        const unsigned long long l_a = l_c;
        while (l_c < l_end && g_mask.bit(l_c))
            ++l_c;
        const unsigned long long l_b = l_c - 1;
        if (l_b - l_a >= 2)
            std::fprintf(stderr, "[%llu..%llu], ", l_a, l_b);
        else if (l_b == l_a + 1)
            std::fprintf(stderr, "%llu, %llu, ", l_a, l_b);
        else
            std::fprintf(stderr, "%llu, ", l_a);
    }
    std::fputs("}\n", stderr);
}

void print(unsigned long long a_c, const char* a_format, ...) noexcept {
    if (!g_mask.bit(a_c)) return;
    va_list l_args;
    va_start(l_args, a_format);
    std::vfprintf(stderr, a_format, l_args);
    va_end(l_args);
}

void flush(unsigned long long a_c) noexcept {
    if (g_mask.bit(a_c)) std::fflush(stderr);
}

void print_buf(unsigned long long a_c, const void* a_p, unsigned long long a_n) noexcept {
    if (a_p == nullptr || a_n == 0 || !g_mask.bit(a_c)) return;
    const auto* l_bytes = static_cast<const unsigned char*>(a_p);
    char l_line[k_line];
    for (unsigned long long l_off = 0; l_off < a_n; l_off += 16) {
        std::memset(l_line, ' ', sizeof l_line);
        // Offsets past 4 GiB keep their low 32 bits, so the line stays 79 characters wide.
        for (unsigned l_d = 0; l_d < 8; ++l_d)
            l_line[l_d] = k_hex[(l_off >> (28 - 4 * l_d)) & 0xF];
        const unsigned long long l_count = a_n - l_off < 16 ? a_n - l_off : 16;
        for (unsigned l_i = 0; l_i < l_count; ++l_i) {
            const unsigned char l_b = l_bytes[l_off + l_i];
            l_line[10 + 3 * l_i] = k_hex[l_b >> 4];
            l_line[11 + 3 * l_i] = k_hex[l_b & 0xF];
            l_line[61 + l_i] = l_b >= 32 && l_b <= 126 ? static_cast<char>(l_b) : '.';
        }
        l_line[60] = '|';
        l_line[77] = '|';
        l_line[78] = '\n';
        std::fwrite(l_line, 1, sizeof l_line, stderr);
    }
}

void dump_buf(unsigned long long a_c, const char* a_filename, const void* a_p,
              unsigned long long a_n) noexcept {
    if (!g_mask.bit(a_c)) return;
    const char* l_failure = nullptr;
    try {
        // A null or empty name opens nothing and is reported like any other open failure.
        file l_file(a_filename ? a_filename : "", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (!l_file.is_open()) throw es::arg(k_source, __LINE__, "no file name");
        l_failure = "error: debug dump failed: failed to write file\n";
        const auto* l_bytes = static_cast<const unsigned char*>(a_p);
        if (l_bytes == nullptr && a_n != 0) {
            l_file.close();
            throw es::arg(k_source, __LINE__, "null data");
        }
        for (unsigned long long l_left = a_n; l_left != 0;) {
            const unsigned long long l_piece = l_left < (1ULL << 30) ? l_left : (1ULL << 30);
            try {
                l_file.write(l_bytes, l_piece);
            } catch (...) {
                l_file.close();
                throw;
            }
            l_bytes += l_piece;
            l_left -= l_piece;
        }
        l_file.close();
    } catch (...) {
        std::fputs(l_failure ? l_failure : "error: debug dump failed: couldn't open file\n",
                   stderr);
    }
}

void abort_if(bool a_cond, const char* a_expr, const char* a_file, unsigned a_line) noexcept {
    if (a_cond) abort(a_expr, a_file, a_line);
}

void abort(const char* a_expr, const char* a_file, unsigned a_line) noexcept {
    print(0, "abort: '%s' [ %s:%u ]\n", a_expr ? a_expr : "n/a", a_file ? a_file : "n/a", a_line);
    ds::detail::stop_process();
}

}  // namespace ds_og
}  // namespace nubase
