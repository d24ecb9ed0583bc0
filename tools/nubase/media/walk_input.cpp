// A container reader's input: jumps over what it skips, or reads through and keeps.
#include "walk_input.hpp"

#include <algorithm>

#include "nubase/es.hpp"

namespace nubase_tool {
namespace {

// Hands the n bytes passed at `at` to `keep`: the front while it has room, and the parts of
// the wanted ranges they hold.
void keep(kept_bytes& a_keep, std::uint64_t a_at, const unsigned char* a_p, std::uint64_t a_n) {
    if (a_keep.front.empty()) a_keep.first = a_at;
    if (a_keep.first + a_keep.front.size() == a_at && a_keep.front.size() < a_keep.limit) {
        const std::uint64_t l_room = a_keep.limit - a_keep.front.size();
        a_keep.front.insert(a_keep.front.end(), a_p, a_p + std::min(l_room, a_n));
    }
    for (const auto& [l_offset, l_size] : a_keep.wanted) {
        const std::uint64_t l_from = std::max(l_offset, a_at);
        const std::uint64_t l_to = std::min<std::uint64_t>(l_offset + l_size, a_at + a_n);
        if (l_from >= l_to) continue;
        auto& l_bytes = a_keep.samples[l_offset];
        if (l_from == l_offset + l_bytes.size())
            l_bytes.insert(l_bytes.end(), a_p + (l_from - a_at), a_p + (l_to - a_at));
    }
}

}  // namespace

bool kept_bytes::find(std::uint64_t a_offset, std::uint32_t a_n,
                      std::vector<unsigned char>& a_out) const {
    const auto l_sample = samples.find(a_offset);
    if (l_sample != samples.end() && l_sample->second.size() >= a_n) {
        a_out.assign(l_sample->second.begin(), l_sample->second.begin() + a_n);
        return true;
    }
    if (a_offset >= first && a_offset - first + a_n <= front.size()) {
        const auto l_from = front.begin() + static_cast<std::ptrdiff_t>(a_offset - first);
        a_out.assign(l_from, l_from + a_n);
        return true;
    }
    return false;
}

walk_input::walk_input(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable)
    : m_source(a_source),
      m_seekable(a_seekable),
      m_rd(a_source, 1 << 16),
      m_end(a_seekable != nullptr ? a_seekable->size() : k_no_end) {}

bool walk_input::has(std::uint64_t a_n) {
    if (m_end != k_no_end) return m_end - std::min(m_end, tell()) >= a_n;
    try {
        return m_rd.has_bytes(a_n);
    } catch (const nubase::es::uflow&) {
        return false;
    }
}

void walk_input::skip_to(std::uint64_t a_offset, kept_bytes* a_keep) {
    if (a_offset <= tell()) return;
    if (m_seekable != nullptr) {
        m_seekable->seek(static_cast<long long>(a_offset), nubase::stream::whence_start);
        m_rd.clear(m_source);
        return;
    }
    unsigned char l_chunk[1 << 16];
    while (tell() < a_offset) {
        const std::uint64_t l_at = tell();
        const std::uint64_t l_n = std::min<std::uint64_t>(sizeof l_chunk, a_offset - l_at);
        try {
            m_rd.read(l_chunk, l_n);
        } catch (const nubase::es::uflow&) {
            // What arrived before the end is consumed; the reader's position counts it.
            if (a_keep != nullptr) keep(*a_keep, l_at, l_chunk, tell() - l_at);
            throw;
        }
        if (a_keep != nullptr) keep(*a_keep, l_at, l_chunk, l_n);
    }
}

std::vector<unsigned char> walk_input::read(std::uint64_t a_n) {
    std::vector<unsigned char> l_body;
    for (std::uint64_t l_left = a_n; l_left != 0;) {
        const std::uint64_t l_n = std::min<std::uint64_t>(l_left, 1 << 20);
        l_body.resize(l_body.size() + l_n);
        m_rd.read(l_body.data() + l_body.size() - l_n, l_n);
        l_left -= l_n;
    }
    return l_body;
}

bool walk_input::fetch(std::uint64_t a_offset, std::uint32_t a_n,
                       std::vector<unsigned char>& a_out) {
    if (a_offset > m_end || m_end - a_offset < a_n) return false;
    m_seekable->seek(static_cast<long long>(a_offset), nubase::stream::whence_start);
    m_rd.clear(m_source);
    a_out.resize(a_n);
    m_rd.read(a_out.data(), a_n);
    return true;
}

}  // namespace nubase_tool
