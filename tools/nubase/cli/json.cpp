// The JSON writer: escaping, UTF-8 repair and the separators between values.
#include "json.hpp"

namespace nubase_tool {
namespace {

// The length of the valid UTF-8 sequence at s[i], or 0 when the bytes there are not one
// (overlong forms, surrogates and values past U+10FFFF included).
std::size_t utf8_length(const std::string& a_s, std::size_t a_i) {
    const auto l_byte = [&](std::size_t a_k) { return static_cast<unsigned char>(a_s[a_i + a_k]); };
    const unsigned char l_lead = l_byte(0);
    std::size_t l_n = 0;
    unsigned char l_low = 0x80, l_high = 0xBF;  // the range of the second byte
    if (l_lead >= 0xC2 && l_lead <= 0xDF) {
        l_n = 2;
    } else if (l_lead >= 0xE0 && l_lead <= 0xEF) {
        l_n = 3;
        if (l_lead == 0xE0) l_low = 0xA0;
        if (l_lead == 0xED) l_high = 0x9F;
    } else if (l_lead >= 0xF0 && l_lead <= 0xF4) {
        l_n = 4;
        if (l_lead == 0xF0) l_low = 0x90;
        if (l_lead == 0xF4) l_high = 0x8F;
    } else {
        return 0;
    }
    if (a_s.size() - a_i < l_n || l_byte(1) < l_low || l_byte(1) > l_high) return 0;
    for (std::size_t l_k = 2; l_k < l_n; ++l_k)
        if ((l_byte(l_k) & 0xC0) != 0x80) return 0;
    return l_n;
}

}  // namespace

std::string json_quoted(const std::string& a_text) {
    static const char k_hex[] = "0123456789abcdef";
    std::string l_out = "\"";
    for (std::size_t l_i = 0; l_i < a_text.size();) {
        const unsigned char l_c = static_cast<unsigned char>(a_text[l_i]);
        if (l_c >= 0x80) {
            const std::size_t l_n = utf8_length(a_text, l_i);
            l_out += l_n == 0 ? std::string("\xEF\xBF\xBD") : a_text.substr(l_i, l_n);
            l_i += l_n == 0 ? 1 : l_n;
            continue;
        }
        switch (l_c) {
            case '"':
                l_out += "\\\"";
                break;
            case '\\':
                l_out += "\\\\";
                break;
            case '\n':
                l_out += "\\n";
                break;
            case '\r':
                l_out += "\\r";
                break;
            case '\t':
                l_out += "\\t";
                break;
            case '\b':
                l_out += "\\b";
                break;
            case '\f':
                l_out += "\\f";
                break;
            default:
                if (l_c < 0x20 || l_c == 0x7F) {
                    l_out += "\\u00";
                    l_out += k_hex[l_c >> 4];
                    l_out += k_hex[l_c & 15];
                } else {
                    l_out += static_cast<char>(l_c);
                }
        }
        ++l_i;
    }
    return l_out + "\"";
}

void json_writer::separate() {
    if (m_after_key) {
        m_after_key = false;
        return;
    }
    if (!m_first.empty()) {
        if (!m_first.back()) m_text += ", ";
        m_first.back() = false;
    }
}

json_writer& json_writer::begin_object() {
    separate();
    m_text += '{';
    m_first.push_back(true);
    return *this;
}

json_writer& json_writer::end_object() {
    m_first.pop_back();
    m_text += '}';
    return *this;
}

json_writer& json_writer::begin_array() {
    separate();
    m_text += '[';
    m_first.push_back(true);
    return *this;
}

json_writer& json_writer::end_array() {
    m_first.pop_back();
    m_text += ']';
    return *this;
}

json_writer& json_writer::key(const std::string& a_key) {
    separate();
    m_text += json_quoted(a_key) + ": ";
    m_after_key = true;
    return *this;
}

json_writer& json_writer::value(const std::string& a_text) {
    separate();
    m_text += json_quoted(a_text);
    return *this;
}

json_writer& json_writer::value(std::uint64_t a_number) {
    separate();
    m_text += std::to_string(a_number);
    return *this;
}

json_writer& json_writer::value(std::int64_t a_number) {
    separate();
    m_text += std::to_string(a_number);
    return *this;
}

json_writer& json_writer::value(bool a_flag) {
    separate();
    m_text += a_flag ? "true" : "false";
    return *this;
}

json_writer& json_writer::null() {
    separate();
    m_text += "null";
    return *this;
}

}  // namespace nubase_tool
