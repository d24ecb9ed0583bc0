// tools/nubase/media/fourcc.hpp - four-character codes, as QuickTime atoms and RIFF chunks name
// themselves: the four bytes read as one big-endian number.
#ifndef NUBASE_TOOL_MEDIA_FOURCC_HPP
#define NUBASE_TOOL_MEDIA_FOURCC_HPP

#include <cstdint>
#include <string>

namespace nubase_tool {

constexpr std::uint32_t fourcc(const char (&a_text)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[2])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(a_text[3]));
}

// The code as text for a message, with '?' for bytes that do not print.
inline std::string fourcc_text(std::uint32_t a_code) {
    std::string l_text;
    for (int l_shift = 24; l_shift >= 0; l_shift -= 8) {
        const char l_char = static_cast<char>(a_code >> l_shift);
        l_text += l_char >= 32 && l_char < 127 ? l_char : '?';
    }
    return l_text;
}

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_MEDIA_FOURCC_HPP
