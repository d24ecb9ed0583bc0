// Timecode labels as a user types and reads them; the arithmetic is the library's.
#include "labels.hpp"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace nubase_tool {

unsigned dropped_per_minute(const label_rate& a_rate) {
    return a_rate.drop ? a_rate.nominal / 15 : 0;
}

nubase::timecode::mode_type timecode_mode(const label_rate& a_rate) {
    if (a_rate.drop) {
        return a_rate.nominal == 30 ? nubase::timecode::mode_29_97_drop
                                    : nubase::timecode::mode_59_94_drop;
    }
    if (a_rate.text == "23.976") return nubase::timecode::mode_23_976;
    return static_cast<nubase::timecode::mode_type>(a_rate.nominal);
}

bool label_with_frame(std::uint64_t a_frame, const label_rate& a_rate, label& a_label) {
    if (a_frame > 0xFFFFFFFFu) return false;
    const nubase::timecode l_tc = nubase::timecode_with_frame_number(
        timecode_mode(a_rate), static_cast<unsigned int>(a_frame), 1);
    if (!l_tc.is_valid()) return false;
    a_label = label{l_tc.hour(), l_tc.minute(), l_tc.second(), l_tc.frame()};
    return true;
}

bool frame_with_label(const label& a_label, const label_rate& a_rate, std::uint64_t& a_frame) {
    if (a_label.hour > 0xFFFFFFFFu) return false;
    const nubase::timecode l_tc(timecode_mode(a_rate), static_cast<unsigned int>(a_label.hour),
                                a_label.minute, a_label.second, a_label.frame);
    // The fields read back unchanged unless the label index passed 32 bits and wrapped.
    if (l_tc.hour() != a_label.hour || l_tc.minute() != a_label.minute ||
        l_tc.second() != a_label.second || l_tc.frame() != a_label.frame)
        return false;
    a_frame = l_tc.total_frames();
    return true;
}

bool is_legal(const label& a_label, const label_rate& a_rate) {
    if (a_label.minute > 59 || a_label.second > 59 || a_label.frame >= a_rate.nominal) return false;
    return !(a_label.second == 0 && a_label.minute % 10 != 0 &&
             a_label.frame < dropped_per_minute(a_rate));
}

std::string label_text(const label& a_label, const label_rate& a_rate) {
    char l_text[64];
    std::snprintf(l_text, sizeof l_text, "%02llu:%02u:%02u%c%02u",
                  static_cast<unsigned long long>(a_label.hour), a_label.minute, a_label.second,
                  a_rate.drop ? ';' : ':', a_label.frame);
    return l_text;
}

namespace {

// A run of decimal digits at `p`, advanced past it; false when there is none or it overflows.
bool digits(const char*& a_p, std::uint64_t& a_value) {
    if (*a_p < '0' || *a_p > '9') return false;
    a_value = 0;
    for (; *a_p >= '0' && *a_p <= '9'; ++a_p) {
        if (a_value > 100000000000ULL) return false;
        a_value = a_value * 10 + static_cast<unsigned>(*a_p - '0');
    }
    return true;
}

}  // namespace

bool parse_label(const std::string& a_text, label& a_label, bool& a_semicolon) {
    const char* l_p = a_text.c_str();
    std::uint64_t l_fields[4];
    for (int l_index = 0; l_index < 4; ++l_index) {
        if (!digits(l_p, l_fields[l_index])) return false;
        if (l_index == 3) break;
        const char l_sep = *l_p++;
        if (l_index < 2 ? l_sep != ':'
                        : (l_sep != ':' && l_sep != ';' && l_sep != '.' && l_sep != ',')) {
            return false;
        }
        if (l_index == 2) a_semicolon = l_sep == ';';
    }
    if (*l_p != '\0' || l_fields[1] > 59 || l_fields[2] > 59 || l_fields[3] > 999) return false;
    a_label = label{l_fields[0], static_cast<unsigned>(l_fields[1]),
                    static_cast<unsigned>(l_fields[2]), static_cast<unsigned>(l_fields[3])};
    return true;
}

bool rate_with_text(const std::string& a_text, bool a_drop, label_rate& a_rate) {
    char* l_end = nullptr;
    double l_value = std::strtod(a_text.c_str(), &l_end);
    if (a_text.empty() || std::isspace(static_cast<unsigned char>(a_text[0]))) return false;
    if (*l_end == '/') {  // a fraction: "30000/1001"
        const char* l_denominator = l_end + 1;
        const double l_divisor = std::strtod(l_denominator, &l_end);
        if (l_end == l_denominator || !(l_divisor > 0)) return false;
        l_value /= l_divisor;
    }
    if (*l_end != '\0') return false;
    struct known {
        double value;
        unsigned nominal;
        bool fractional;
        const char* text;
    };
    static const known k_rates[] = {
        {23.976, 24, true, "23.976"}, {24, 24, false, "24"},      {25, 25, false, "25"},
        {29.97, 30, true, "29.97"},   {30, 30, false, "30"},      {48, 48, false, "48"},
        {50, 50, false, "50"},        {59.94, 60, true, "59.94"}, {60, 60, false, "60"},
        {100, 100, false, "100"},     {120, 120, false, "120"}};
    for (const known& l_rate : k_rates) {
        if (l_value > l_rate.value - 0.0005 && l_value < l_rate.value + 0.0005) {
            // Only 29.97 and 59.94 have drop-frame labels; 23.976 counts every label.
            a_rate =
                label_rate{l_rate.nominal, a_drop && l_rate.fractional && l_rate.nominal % 30 == 0,
                           l_rate.text};
            return true;
        }
    }
    return false;
}

const char k_rate_text[] =
    "The rate: 23.976, 24, 25, 29.97, 30, 48, 50, 59.94, 60, 100 or 120 frames a second, also as a "
    "fraction (!Q!30000/1001!QE!, !Q!25/1!QE!).";
const char k_df_text[] =
    "At 29.97 and 59.94, count in drop-frame (the default). A typed timecode's separator decides "
    "by itself: !Q!;!QE! drop-frame, !Q!:!QE! non-drop; an option that contradicts it is an error.";
const char k_ndf_text[] = "At 29.97 and 59.94, count every label (non-drop).";

std::string rate_with_options(const std::string& a_text, bool a_df, bool a_ndf, drop_choice a_typed,
                              label_rate& a_rate) {
    if (a_df && a_ndf) return "--df and --ndf exclude each other";
    if (!rate_with_text(a_text, true, a_rate))
        return "unknown rate '" + a_text +
               "' (23.976, 24, 25, 29.97, 30, 48, 50, 59.94, 60, 100, 120, or a fraction such as "
               "30000/1001)";
    if (!a_rate.drop) {
        if (a_df) return "drop-frame exists only at 29.97 and 59.94, not at " + a_rate.text;
        return std::string();
    }
    const drop_choice l_option = a_df    ? drop_choice::drop
                                 : a_ndf ? drop_choice::non_drop
                                         : drop_choice::unset;
    if (a_typed != drop_choice::unset && l_option != drop_choice::unset && a_typed != l_option)
        return std::string(a_df ? "--df" : "--ndf") + " contradicts the timecode's '" +
               (a_typed == drop_choice::drop ? ";" : ":") + "' separator";
    const drop_choice l_choice = a_typed != drop_choice::unset ? a_typed : l_option;
    a_rate.drop = l_choice != drop_choice::non_drop;
    return std::string();
}

std::string rate_text(std::uint32_t a_time_scale, std::uint32_t a_frame_duration) {
    char l_text[64];
    std::snprintf(l_text, sizeof l_text, "%.3f",
                  a_frame_duration ? static_cast<double>(a_time_scale) / a_frame_duration : 0.0);
    std::string l_rate = l_text;
    while (l_rate.back() == '0')
        l_rate.pop_back();
    if (l_rate.back() == '.') l_rate.pop_back();
    return l_rate;
}

}  // namespace nubase_tool
