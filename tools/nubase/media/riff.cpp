// The chunk walk of a Broadcast WAV recording, and a small strict scan of its iXML.
#include "riff.hpp"

#include <cstdint>
#include <vector>

#include "nubase/bytestream.hpp"
#include "nubase/es.hpp"
#include "fourcc.hpp"
#include "walk_input.hpp"

namespace nubase_tool {
namespace {

// The fixed part of 'bext': description 256, originator 32, its reference 32, date 10, time 8,
// time reference 8 (low word first), version 2, UMID 64, loudness 10, reserved 180.
constexpr std::uint64_t k_bext_fixed = 602;
constexpr std::uint64_t k_bext_time_reference = 256 + 32 + 32 + 10 + 8;
constexpr std::uint64_t k_ixml_limit = 16ull << 20;

[[noreturn]] void malformed(const std::string& a_what) {
    throw malformed_file("malformed file: " + a_what);
}

// A text field of fixed width, up to its first NUL.
std::string field_text(const std::vector<unsigned char>& a_body, std::size_t a_at,
                       std::size_t a_n) {
    std::string l_text(a_body.begin() + static_cast<std::ptrdiff_t>(a_at),
                       a_body.begin() + static_cast<std::ptrdiff_t>(a_at + a_n));
    return l_text.substr(0, l_text.find('\0'));
}

// Little-endian fields of a chunk held in memory.
class chunk_fields {
  public:
    explicit chunk_fields(std::vector<unsigned char>& a_body)
        : m_mem(a_body.data(), a_body.size()), m_rd(m_mem, 64) {}
    std::uint16_t u16() { return m_rd.read_le16(); }
    std::uint32_t u32() { return m_rd.read_le32(); }
    std::uint64_t u64() { return m_rd.read_le64(); }
    void skip(std::uint64_t a_n) { m_rd.skip(a_n); }

  private:
    nubase::stream::mem m_mem;
    nubase::bytestream::rd m_rd;
};

void read_format(std::vector<unsigned char>& a_body, recording_source& a_r) {
    if (a_body.size() < 16) malformed("a 'fmt ' chunk shorter than 16 bytes");
    chunk_fields l_f(a_body);
    l_f.skip(2);  // the format tag
    a_r.channels = l_f.u16();
    a_r.sample_rate = l_f.u32();
    l_f.skip(4);  // bytes a second
    a_r.block_align = l_f.u16();
    a_r.bits = l_f.u16();
    if (a_r.sample_rate == 0) malformed("a sample rate of 0");
    if (a_r.block_align == 0) malformed("a block alignment of 0");
}

void read_broadcast(std::vector<unsigned char>& a_body, std::uint64_t a_at, recording_source& a_r) {
    if (a_body.size() < k_bext_fixed) malformed("a 'bext' chunk shorter than its fixed part");
    a_r.description = field_text(a_body, 0, 256);
    a_r.originator = field_text(a_body, 256, 32);
    a_r.origination_date = field_text(a_body, 320, 10);
    a_r.origination_time = field_text(a_body, 330, 8);
    chunk_fields l_f(a_body);
    l_f.skip(k_bext_time_reference);
    a_r.time_reference = l_f.u64();  // the low word first: one little-endian 64-bit field
    a_r.time_reference_offset = a_at + k_bext_time_reference;
    a_r.has_time_reference = true;
}

// "30000/1001", "25/1" or "25"; false for anything else.
bool read_rate(const std::string& a_text, std::uint32_t& a_num, std::uint32_t& a_den) {
    std::uint64_t l_parts[2] = {0, 1};
    std::size_t l_part = 0, l_digits = 0;
    for (const char l_c : a_text) {
        if (l_c == '/' && l_part == 0 && l_digits != 0) {
            l_part = 1;
            l_parts[1] = 0;
            l_digits = 0;
        } else if (l_c >= '0' && l_c <= '9' && l_parts[l_part] < 100000000) {
            l_parts[l_part] = l_parts[l_part] * 10 + static_cast<unsigned>(l_c - '0');
            ++l_digits;
        } else {
            return false;
        }
    }
    if (l_digits == 0 || l_parts[0] == 0 || l_parts[1] == 0) return false;
    a_num = static_cast<std::uint32_t>(l_parts[0]);
    a_den = static_cast<std::uint32_t>(l_parts[1]);
    return true;
}

void read_ixml(const std::vector<unsigned char>& a_body, recording_source& a_r) {
    ixml_fields l_x;
    if (!scan_ixml(std::string(a_body.begin(), a_body.end()), l_x))
        malformed("an 'iXML' chunk that is not well formed");
    a_r.project = l_x.project;
    a_r.scene = l_x.scene;
    a_r.take = l_x.take;
    if (!l_x.rate.empty() && !read_rate(l_x.rate, a_r.rate_num, a_r.rate_den))
        malformed("an iXML timecode rate '" + l_x.rate + "'");
    if (l_x.flag == "DF" || l_x.flag == "NDF") {
        a_r.has_flag = true;
        a_r.drop_frame = l_x.flag == "DF";
    } else if (!l_x.flag.empty()) {
        malformed("an iXML timecode flag '" + l_x.flag + "'");
    }
}

std::string trimmed(const std::string& a_text) {
    const std::size_t l_first = a_text.find_first_not_of(" \t\r\n");
    if (l_first == std::string::npos) return std::string();
    return a_text.substr(l_first, a_text.find_last_not_of(" \t\r\n") - l_first + 1);
}

}  // namespace

bool looks_like_riff(const std::string& a_front) {
    return a_front.size() >= 12 &&
           (a_front.compare(0, 4, "RIFF") == 0 || a_front.compare(0, 4, "RF64") == 0) &&
           a_front.compare(8, 4, "WAVE") == 0;
}

bool scan_ixml(const std::string& a_text, ixml_fields& a_fields) {
    struct open_element {
        std::string name;
        std::size_t text_start;
    };
    std::vector<open_element> l_open;
    std::size_t l_at = 0;
    while ((l_at = a_text.find('<', l_at)) != std::string::npos) {
        if (a_text.compare(l_at, 4, "<!--") == 0) {
            const std::size_t l_end = a_text.find("-->", l_at + 4);
            if (l_end == std::string::npos) return false;
            l_at = l_end + 3;
            continue;
        }
        const std::size_t l_close = a_text.find('>', l_at);
        if (l_close == std::string::npos) return false;
        const std::string l_tag = a_text.substr(l_at + 1, l_close - l_at - 1);
        const std::size_t l_tag_start = l_at;
        l_at = l_close + 1;
        if (l_tag.empty()) return false;
        if (l_tag[0] == '?' || l_tag[0] == '!') continue;  // declarations
        if (l_tag[0] == '/') {
            const std::string l_name = trimmed(l_tag.substr(1));
            if (l_open.empty() || l_open.back().name != l_name) return false;
            const std::string l_value = trimmed(
                a_text.substr(l_open.back().text_start, l_tag_start - l_open.back().text_start));
            const bool l_in_speed = l_open.size() >= 2 && l_open[l_open.size() - 2].name == "SPEED";
            if (l_in_speed && l_name == "TIMECODE_RATE") a_fields.rate = l_value;
            if (l_in_speed && l_name == "TIMECODE_FLAG") a_fields.flag = l_value;
            if (l_name == "PROJECT" && a_fields.project.empty()) a_fields.project = l_value;
            if (l_name == "SCENE" && a_fields.scene.empty()) a_fields.scene = l_value;
            if (l_name == "TAKE" && a_fields.take.empty()) a_fields.take = l_value;
            l_open.pop_back();
            continue;
        }
        if (l_tag.back() == '/') continue;  // an empty element
        const std::string l_name = l_tag.substr(0, l_tag.find_first_of(" \t\r\n"));
        if (l_name.empty() || l_open.size() >= 64) return false;
        l_open.push_back({l_name, l_at});
    }
    return l_open.empty();
}

recording_source read_riff(nubase::stream::rd& a_source, nubase::stream::rda* a_seekable) {
    walk_input l_in(a_source, a_seekable);
    const nubase::bytestream::rd& l_rd = l_in.reader();
    recording_source l_r;
    try {
        const std::uint32_t l_form = l_rd.read_be32();
        l_rd.read_le32();  // the form's size: the file's own end is what counts
        if (l_rd.read_be32() != fourcc("WAVE") ||
            (l_form != fourcc("RIFF") && l_form != fourcc("RF64")))
            throw malformed_file("not a RIFF/WAVE or RF64 file");
        const bool l_rf64 = l_form == fourcc("RF64");
        std::uint64_t l_rf64_data = 0;
        bool l_ds64 = false, l_data = false;
        while (l_in.has(8)) {
            const std::uint64_t l_start = l_in.tell();
            const std::uint32_t l_id = l_rd.read_be32();
            std::uint64_t l_size = l_rd.read_le32();
            if (l_rf64 && !l_ds64 && l_id != fourcc("ds64"))
                malformed("an RF64 file whose first chunk is not 'ds64'");
            if (l_rf64 && l_size == 0xFFFFFFFFu) {
                if (l_id != fourcc("data"))
                    malformed("a 64-bit size for chunk '" + fourcc_text(l_id) + "'");
                l_size = l_rf64_data;
            }
            const std::uint64_t l_body = l_start + 8;
            if (l_in.end() != k_no_end && l_size > l_in.end() - l_body)
                malformed("a size past the end of the file in chunk '" + fourcc_text(l_id) + "'");
            const std::uint64_t l_end = l_body + l_size + (l_size & 1);
            if (l_id == fourcc("data")) {
                l_r.data_size = l_size;
                l_data = true;
                l_in.skip_to(l_body + l_size);
                if (l_end != l_body + l_size && l_in.has(1)) l_in.skip_to(l_end);
                continue;
            }
            const bool l_wanted = l_id == fourcc("fmt ") || l_id == fourcc("bext") ||
                                  l_id == fourcc("iXML") || l_id == fourcc("ds64");
            if (!l_wanted || l_size > k_ixml_limit) {
                l_in.skip_to(l_end);
                continue;
            }
            std::vector<unsigned char> l_bytes = l_in.read(l_size);
            if (l_id == fourcc("ds64")) {
                if (l_size < 24) malformed("a 'ds64' chunk shorter than its sizes");
                chunk_fields l_f(l_bytes);
                l_f.u64();  // the form's size
                l_rf64_data = l_f.u64();
                l_ds64 = true;
            } else if (l_id == fourcc("fmt ")) {
                read_format(l_bytes, l_r);
            } else if (l_id == fourcc("bext")) {
                read_broadcast(l_bytes, l_body, l_r);
            } else {
                read_ixml(l_bytes, l_r);
            }
            l_in.skip_to(l_body + l_size);
            if (l_end != l_body + l_size && l_in.has(1)) l_in.skip_to(l_end);  // the pad byte
        }
        if (l_rf64 && l_data && l_rf64_data != l_r.data_size && l_in.end() != k_no_end)
            malformed("a 'ds64' data size that contradicts the 'data' chunk");
        if (l_r.sample_rate == 0 && (l_r.has_time_reference || l_data))
            malformed("no 'fmt ' chunk: the sample rate is unknown");
    } catch (const nubase::es::uflow&) {
        malformed("the file ends inside a chunk");
    }
    return l_r;
}

}  // namespace nubase_tool
