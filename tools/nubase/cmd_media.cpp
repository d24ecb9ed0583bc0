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
    k_from_tmcd = -6,
    k_minus = -7,
    k_df = -8,
    k_ndf = -9
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

namespace {

// Where the timecode comes from, and the label, frame or tmcd value given.
struct tc_source {
    bool typed = false;  // a label on the command line: its separator decides drop-frame
    label typed_label{0, 0, 0, 0};
    bool semicolon = false;
    bool from_frames = false;
    std::uint64_t frames = 0;
    bool from_tmcd = false;
    std::uint32_t tmcd = 0;
};

// Reads the one source among a typed label, --from-frames and --from-tmcd; "" or an error.
std::string read_source(const arguments& a_args, tc_source& a_source) {
    a_source.from_frames = a_args.has(k_from_frames);
    a_source.from_tmcd = a_args.has(k_from_tmcd);
    a_source.typed = !a_args.m_free.empty();
    if (a_source.typed + a_source.from_frames + a_source.from_tmcd != 1 || a_args.m_free.size() > 1)
        return "tc needs one timecode, --from-frames N or --from-tmcd HEX";
    if (a_source.typed && !parse_label(a_args.m_free[0], a_source.typed_label, a_source.semicolon))
        return "invalid timecode '" + a_args.m_free[0] + "'";
    if (a_source.from_frames && !parse_count(a_args.value(k_from_frames), a_source.frames))
        return "invalid frame count '" + a_args.value(k_from_frames) + "'";
    std::uint64_t l_value = 0;
    if (a_source.from_tmcd &&
        (!parse_count(a_args.value(k_from_tmcd), l_value, 16) || l_value > 0xFFFFFFFFu))
        return "invalid tmcd value '" + a_args.value(k_from_tmcd) + "'";
    a_source.tmcd = static_cast<std::uint32_t>(l_value);
    return std::string();
}

// The frame number of the source at the rate; "" or an error.
std::string source_frame(const tc_source& a_source, const label_rate& a_rate,
                         std::uint64_t& a_frame) {
    if (a_source.from_frames) {
        a_frame = a_source.frames;
        return std::string();
    }
    // A tmcd value packs the fields: hours in bits 31..24, minutes 23..16, seconds 15..8 and
    // frames 6..0, read as they stand so that a malformed value is refused like a typed one.
    const label l_label = a_source.typed ? a_source.typed_label
                                         : label{a_source.tmcd >> 24, a_source.tmcd >> 16 & 0xFF,
                                                 a_source.tmcd >> 8 & 0xFF, a_source.tmcd & 0x7F};
    if (!is_legal(l_label, a_rate))
        return "timecode " + label_text(l_label, a_rate) + " does not exist at " + a_rate.text +
               (a_rate.drop ? " drop-frame" : "");
    if (!frame_with_label(l_label, a_rate, a_frame))
        return "timecode " + label_text(l_label, a_rate) + " is beyond the range";
    return std::string();
}

// Prints the label of `frame` (with a '-' before it when `negative`), "" or an error.
std::string print_frame(std::uint64_t a_frame, const label_rate& a_rate, bool a_negative) {
    label l_result{0, 0, 0, 0};
    if (!label_with_frame(a_frame, a_rate, l_result))
        return "frame " + std::to_string(a_frame) +
               " is beyond the range (a label index above 32 bits)";
    std::printf("%s%s\n", a_negative ? "-" : "", label_text(l_result, a_rate).c_str());
    return std::string();
}

}  // namespace

int run_tc(const arguments& a_args) {
    tc_source l_source;
    std::string l_error = read_source(a_args, l_source);
    if (!l_error.empty()) return user_error(l_error);
    if (a_args.has(k_add) + a_args.has(k_sub) + a_args.has(k_minus) > 1)
        return user_error("--add, --sub and --minus exclude each other");

    // The rate: --rate, else 29.97 for a label written with ';' or a tmcd value with its drop
    // flag, else 25. Drop-frame: the typed separator, or --df/--ndf, else drop-frame.
    const bool l_semicolon = l_source.typed ? l_source.semicolon : (l_source.tmcd & 0x80u) != 0;
    label_rate l_rate;
    l_error = rate_with_options(
        a_args.has(k_rate) ? a_args.value(k_rate) : (l_semicolon ? "29.97" : "25"),
        a_args.has(k_df), a_args.has(k_ndf),
        l_source.typed ? separator_drop(l_semicolon) : drop_choice::unset, l_rate);
    if (!l_error.empty()) return user_error(l_error);

    std::uint64_t l_frame = 0;
    l_error = source_frame(l_source, l_rate, l_frame);
    if (!l_error.empty()) return user_error(l_error);

    if (a_args.has(k_minus)) {
        // The signed distance from the second label to the first, in frames and as a label.
        tc_source l_other;
        l_other.typed = parse_label(a_args.value(k_minus), l_other.typed_label, l_other.semicolon);
        if (!l_other.typed) return user_error("invalid timecode '" + a_args.value(k_minus) + "'");
        std::uint64_t l_from = 0;
        l_error = source_frame(l_other, l_rate, l_from);
        if (!l_error.empty()) return user_error(l_error);
        const bool l_negative = l_frame < l_from;
        l_error = print_frame(l_negative ? l_from - l_frame : l_frame - l_from, l_rate, l_negative);
        if (!l_error.empty()) return user_error(l_error);
        std::printf("frames %s%" PRIu64 "\n", l_negative ? "-" : "",
                    l_negative ? l_from - l_frame : l_frame - l_from);
        return k_exit_ok;
    }

    std::uint64_t l_step = 0;
    const int l_step_option = a_args.has(k_add) ? k_add : a_args.has(k_sub) ? k_sub : 0;
    if (l_step_option != 0) {
        if (!parse_count(a_args.value(l_step_option), l_step))
            return user_error("invalid frame count '" + a_args.value(l_step_option) + "'");
        if (l_step_option == k_sub && l_step > l_frame)
            return user_error("the result lies before 00:00:00:00");
        l_frame = l_step_option == k_add ? l_frame + l_step : l_frame - l_step;
    }
    label l_result{0, 0, 0, 0};
    if (!label_with_frame(l_frame, l_rate, l_result))
        return user_error("frame " + std::to_string(l_frame) +
                          " is beyond the range (a label index above 32 bits)");
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
    a_parser.add_opt(k_df, "df", 0, 0);
    a_parser.add_opt(k_ndf, "ndf", 0, 0);
    a_parser.add_opt(k_add, "add", 1, 1);
    a_parser.add_opt(k_sub, "sub", 1, 1);
    a_parser.add_opt(k_minus, "minus", 1, 1);
    a_parser.add_opt(k_frames, "frames", 0, 0);
    a_parser.add_opt(k_tmcd, "tmcd", 0, 0);
    a_parser.add_opt(k_from_frames, "from-frames", 1, 1);
    a_parser.add_opt(k_from_tmcd, "from-tmcd", 1, 1);
}

option_texts describe_tc() {
    return {{k_rate, k_rate_text},
            {k_df, k_df_text},
            {k_ndf, k_ndf_text},
            {k_add, "Add N frames."},
            {k_sub, "Subtract N frames."},
            {k_minus,
             "Print the signed distance from TIMECODE2 to the timecode, as a label at the same "
             "rate (with a leading !Q!-!QE! when negative) and in frames."},
            {k_frames, "Also print the frame number of the result (real frames from 00:00:00:00)."},
            {k_tmcd, "Also print the result as a QuickTime tmcd value."},
            {k_from_frames, "Start from frame number N instead of a timecode."},
            {k_from_tmcd,
             "Start from a QuickTime tmcd value in hex; its drop flag makes 29.97 the default "
             "rate. Fields out of range are refused like a typed timecode."}};
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
