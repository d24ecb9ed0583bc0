// The media commands: tc (timecode calculator) and scan (start codes).
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "file_stream.hpp"
#include "labels.hpp"
#include "nubase/bitstream.hpp"
#include "nubase/es.hpp"
#include "nubase/timecode.hpp"
#include "tool.hpp"

namespace nubase_tool {

// ---- tc ---------------------------------------------------------------------------------------

namespace {

enum tc_option {
    k_rate = 'r',
    k_add = -1,
    k_sub = -2,
    k_frames = -3,
    k_tmcd = -4,
    k_from_frames = -5,
    k_from_tmcd = -6
};

// A whole unsigned number; base 16 also takes a "0x" prefix.
bool parse_count(const std::string& a_text, std::uint64_t& a_value, int a_base = 10) {
    if (a_base == 16 && a_text.size() > 2 && a_text[0] == '0' &&
        (a_text[1] == 'x' || a_text[1] == 'X')) {
        return parse_count(a_text.substr(2), a_value, 16);
    }
    if (a_text.empty() || a_text[0] == '-' || a_text[0] == '+') return false;
    char* l_end = nullptr;
    errno = 0;
    a_value = std::strtoull(a_text.c_str(), &l_end, a_base);
    return *l_end == '\0' && errno == 0;
}

}  // namespace

int run_tc(const arguments& a_args) {
    const bool l_from_frames = a_args.has(k_from_frames), l_from_tmcd = a_args.has(k_from_tmcd);
    if (l_from_frames + l_from_tmcd + !a_args.m_free.empty() != 1 || a_args.m_free.size() > 1) {
        return user_error("tc needs one timecode, --from-frames N or --from-tmcd HEX");
    }
    if (a_args.has(k_add) && a_args.has(k_sub))
        return user_error("--add and --sub exclude each other");

    // The label and the separator it was written with decide the default rate and drop-frame.
    label l_label{0, 0, 0, 0};
    bool l_semicolon = false;
    std::uint32_t l_tmcd_value = 0;
    if (!a_args.m_free.empty() && !parse_label(a_args.m_free[0], l_label, l_semicolon)) {
        return user_error("invalid timecode '" + a_args.m_free[0] + "'");
    }
    if (l_from_tmcd) {
        std::uint64_t l_value = 0;
        if (!parse_count(a_args.value(k_from_tmcd), l_value, 16) || l_value > 0xFFFFFFFFu) {
            return user_error("invalid tmcd value '" + a_args.value(k_from_tmcd) + "'");
        }
        l_tmcd_value = static_cast<std::uint32_t>(l_value);
        l_semicolon = (l_tmcd_value & 0x80u) != 0;  // the sample's drop flag
    }
    label_rate l_rate{25, false, "25"};
    const std::string l_rate_text =
        a_args.has(k_rate) ? a_args.value(k_rate) : (l_semicolon ? "29.97" : "25");
    // Without a label, a 29.97 or 59.94 rate counts in drop-frame unless the tmcd flag says no.
    const bool l_drop = !a_args.m_free.empty() || l_from_tmcd ? l_semicolon : true;
    if (!rate_with_text(l_rate_text, l_drop, l_rate)) {
        return user_error("unknown rate '" + l_rate_text +
                          "' (23.976, 24, 25, 29.97, 30, 48, 50, 59.94, 60, 100 or 120)");
    }

    std::uint64_t l_frame = 0;
    if (l_from_frames) {
        if (!parse_count(a_args.value(k_from_frames), l_frame)) {
            return user_error("invalid frame count '" + a_args.value(k_from_frames) + "'");
        }
    } else {
        if (l_from_tmcd) {
            const nubase::timecode l_tc =
                nubase::timecode_with_quicktime_tmcd(timecode_mode(l_rate), l_tmcd_value);
            l_label = label{l_tc.hour(), l_tc.minute(), l_tc.second(), l_tc.frame()};
        }
        if (!is_legal(l_label, l_rate)) {
            return user_error("timecode " + label_text(l_label, l_rate) + " does not exist at " +
                              l_rate.text + (l_rate.drop ? " drop-frame" : ""));
        }
        if (!frame_with_label(l_label, l_rate, l_frame))
            return user_error("timecode " + label_text(l_label, l_rate) + " is beyond the range");
    }

    std::uint64_t l_step = 0;
    const int l_step_option = a_args.has(k_add) ? k_add : a_args.has(k_sub) ? k_sub : 0;
    if (l_step_option != 0) {
        if (!parse_count(a_args.value(l_step_option), l_step)) {
            return user_error("invalid frame count '" + a_args.value(l_step_option) + "'");
        }
        if (l_step_option == k_sub && l_step > l_frame)
            return user_error("the result lies before 00:00:00:00");
        l_frame = l_step_option == k_add ? l_frame + l_step : l_frame - l_step;
    }

    label l_result{0, 0, 0, 0};
    if (!label_with_frame(l_frame, l_rate, l_result)) {
        return user_error("frame " + std::to_string(l_frame) +
                          " is beyond the range (a label index above 32 bits)");
    }
    std::printf("%s\n", label_text(l_result, l_rate).c_str());
    if (a_args.has(k_frames)) std::printf("frames %" PRIu64 "\n", l_frame);
    if (a_args.has(k_tmcd)) {
        const nubase::timecode l_tc(timecode_mode(l_rate), static_cast<unsigned>(l_result.hour),
                                    l_result.minute, l_result.second, l_result.frame);
        std::printf("tmcd 0x%08x\n", l_tc.as_quicktime_tmcd());
    }
    return k_exit_ok;
}

// ---- scan -------------------------------------------------------------------------------------

int run_scan(const arguments& a_args) {
    if (a_args.m_free.size() != 1)
        return user_error("scan needs one file (see 'nubase scan --help')");
    std::uint64_t l_bits = 24, l_code = 1;
    if (a_args.has('b') && (!parse_count(a_args.value('b'), l_bits) || l_bits < 8 || l_bits > 32)) {
        return user_error("--bits takes a number from 8 to 32");
    }
    if (a_args.has('c') && !a_args.has('b')) {
        // Without --bits the width is that of the digits given: "00000001" is 32 bits.
        std::string l_digits = a_args.value('c');
        if (l_digits.size() > 2 && l_digits[0] == '0' && (l_digits[1] == 'x' || l_digits[1] == 'X'))
            l_digits.erase(0, 2);
        l_bits = std::max<std::uint64_t>(8, std::min<std::uint64_t>(32, 4 * l_digits.size()));
    }
    if (a_args.has('c')) {
        if (!parse_count(a_args.value('c'), l_code, 16) || l_code >> l_bits != 0) {
            return user_error("invalid start code '" + a_args.value('c') + "' for " +
                              std::to_string(l_bits) + " bits");
        }
    }
    try {
        file_reader l_file(a_args.m_free[0]);
        nubase::bitstream::rd l_reader(l_file, 1 << 20);
        const std::uint64_t l_code_bytes = (l_bits + 7) / 8;
        while (l_reader.find(static_cast<std::uint32_t>(l_code), l_bits, 8, 8)) {
            std::printf("%llu\n", l_reader.tell() - l_code_bytes);
        }
    } catch (const nubase::es::base& e) {
        return user_error(a_args.m_free[0] + ": " + e.what());
    }
    return k_exit_ok;
}

// ---- declarations and descriptions ------------------------------------------------------------

void declare_tc(nubase::arg::optparser& a_parser) {
    a_parser.add_opt(k_rate, "rate", 1, 1);
    a_parser.add_opt(k_add, "add", 1, 1);
    a_parser.add_opt(k_sub, "sub", 1, 1);
    a_parser.add_opt(k_frames, "frames", 0, 0);
    a_parser.add_opt(k_tmcd, "tmcd", 0, 0);
    a_parser.add_opt(k_from_frames, "from-frames", 1, 1);
    a_parser.add_opt(k_from_tmcd, "from-tmcd", 1, 1);
}

option_texts describe_tc() {
    return {{k_rate,
             "The rate: 23.976, 24, 25, 29.97, 30, 48, 50, 59.94, 60, 100 or 120. The default is "
             "29.97 for "
             "a timecode written with !Q!;!QE! before the frames, 25 otherwise. 29.97 and "
             "59.94 count in drop-frame when the timecode is written with !Q!;!QE!."},
            {k_add, "Add N frames."},
            {k_sub, "Subtract N frames."},
            {k_frames, "Also print the frame number of the result (real frames from 00:00:00:00)."},
            {k_tmcd, "Also print the result as a QuickTime tmcd value."},
            {k_from_frames, "Start from frame number N instead of a timecode."},
            {k_from_tmcd,
             "Start from a QuickTime tmcd value in hex (its drop flag chooses "
             "drop-frame)."}};
}

void declare_scan(nubase::arg::optparser& a_parser) {
    a_parser.add_opt('c', "code", 1, 1);
    a_parser.add_opt('b', "bits", 1, 1);
}

option_texts describe_scan() {
    return {{'c', "The start code in hex (default 000001)."},
            {'b',
             "Its width in bits, 8 to 32 (default: four bits for each hex digit of "
             "--code, 24 without it)."}};
}

}  // namespace nubase_tool
