// What probe and retc do with a Broadcast WAV recording: its rate, its labels, its text and
// JSON, and its restamping.
#include <cinttypes>
#include <cstdio>
#include <numeric>
#include <string>

#include "labels.hpp"
#include "media/input.hpp"
#include "media/rewrite.hpp"
#include "sound.hpp"

namespace nubase_tool {
namespace {

// The exact fraction of a rate the options name: 30000/1001 for 29.97, 25/1 for 25.
void exact_fraction(const label_rate& a_rate, std::uint32_t& a_num, std::uint32_t& a_den) {
    const bool l_fractional =
        a_rate.text == "23.976" || a_rate.text == "29.97" || a_rate.text == "59.94";
    a_num = l_fractional ? a_rate.nominal * 1000 : a_rate.nominal;
    a_den = l_fractional ? 1001 : 1;
}

// "14:03:22 +12000 samples": the time of day of a time reference without a frame rate.
std::string time_of_day(const recording_source& a_r, std::uint64_t& a_samples) {
    const std::uint64_t l_seconds = a_r.time_reference / a_r.sample_rate;
    a_samples = a_r.time_reference % a_r.sample_rate;
    char l_text[64];
    std::snprintf(l_text, sizeof l_text, "%02llu:%02llu:%02llu",
                  static_cast<unsigned long long>(l_seconds / 3600),
                  static_cast<unsigned long long>(l_seconds / 60 % 60),
                  static_cast<unsigned long long>(l_seconds % 60));
    return l_text;
}

}  // namespace

bool rate_options_given(const arguments& a_args) {
    return a_args.has(k_rate) || a_args.has(k_df) || a_args.has(k_ndf);
}

// The file's own rate when it records one (a note on standard error when the options differ),
// else the options', else none. Returns "" or an error.
std::string resolve_sound_rate(const std::string& a_path, const recording_source& a_r,
                               const arguments& a_args, sound_rate& a_out) {
    label_rate l_option{0, false, ""};
    std::string l_error;
    if (a_args.has(k_rate)) {
        l_error = rate_with_options(a_args.value(k_rate), a_args.has(k_df), a_args.has(k_ndf),
                                    drop_choice::unset, l_option);
        if (!l_error.empty()) return l_error;
    }
    if (a_r.rate_num != 0) {
        const std::string l_text = rate_text(a_r.rate_num, a_r.rate_den);
        if (!rate_with_text(l_text, !a_r.has_flag || a_r.drop_frame, a_out.rate) ||
            (a_r.has_flag && a_r.drop_frame && !a_out.rate.drop))
            return "malformed file: an iXML timecode rate of " + std::to_string(a_r.rate_num) +
                   "/" + std::to_string(a_r.rate_den) + (a_r.drop_frame ? " drop-frame" : "");
        a_out.known = a_out.from_file = true;
        a_out.num = a_r.rate_num;
        a_out.den = a_r.rate_den;
        if (rate_options_given(a_args) &&
            (!a_args.has(k_rate) || l_option.nominal != a_out.rate.nominal ||
             l_option.text != a_out.rate.text || l_option.drop != a_out.rate.drop))
            std::fprintf(stderr, "nubase: %s records %s fps %s; the file's rate is used\n",
                         a_path.c_str(), a_out.rate.text.c_str(),
                         a_out.rate.drop ? "drop-frame" : "non-drop");
        return std::string();
    }
    if (!a_args.has(k_rate)) return std::string();
    a_out.known = true;
    a_out.rate = l_option;
    exact_fraction(l_option, a_out.num, a_out.den);
    return std::string();
}

// A time reference as a label with the samples it lies past the frame's first one; "" when its
// frame is beyond the timecode range.
std::string sound_label(const recording_source& a_r, const sound_rate& a_rate,
                        std::uint64_t a_sample, std::uint64_t& a_remainder) {
    const std::uint64_t l_frame = a_r.frame_of(a_sample, a_rate.num, a_rate.den);
    label l_label{0, 0, 0, 0};
    if (!label_with_frame(l_frame, a_rate.rate, l_label)) return std::string();
    a_remainder = a_sample - a_r.first_sample_of(l_frame, a_rate.num, a_rate.den);
    return label_text(l_label, a_rate.rate);
}

// The text line of a recording; "" with `error` set when its time reference is out of range.
std::string sound_line(const std::string& a_path, const recording_source& a_r,
                       const sound_rate& a_rate, std::string& a_error) {
    if (!a_rate.known) {
        std::uint64_t l_samples = 0;
        const std::string l_time = time_of_day(a_r, l_samples);
        return a_path + ": time of day " + l_time + " +" + std::to_string(l_samples) +
               " samples at " + std::to_string(a_r.sample_rate) +
               " Hz; no frame rate recorded (give --rate)";
    }
    std::uint64_t l_remainder = 0;
    const std::string l_label = sound_label(a_r, a_rate, a_r.time_reference, l_remainder);
    if (l_label.empty()) {
        a_error = "malformed file: a time reference beyond the timecode range";
        return std::string();
    }
    return a_path + ": " + l_label +
           (l_remainder != 0 ? " +" + std::to_string(l_remainder) + " samples" : std::string()) +
           " " + a_rate.rate.text + " fps " + (a_rate.rate.drop ? "drop-frame" : "non-drop") +
           (a_rate.from_file ? " (from iXML)" : " (from --rate)");
}

void sound_json(json_writer& a_j, const recording_source& a_r, const sound_rate& a_rate) {
    const auto l_text = [&](const char* a_key, const std::string& a_value) {
        if (a_value.empty()) {
            a_j.key(a_key).null();
        } else {
            a_j.key(a_key).value(a_value);
        }
    };
    a_j.begin_object();
    a_j.key("track_id").null();
    a_j.key("video_track_ids").begin_array().end_array();
    a_j.key("enabled").value(true);
    std::uint64_t l_remainder = 0, l_ignored = 0;
    const std::string l_start =
        a_rate.known ? sound_label(a_r, a_rate, a_r.time_reference, l_remainder) : std::string();
    l_text("start", l_start);
    l_text("end", a_rate.known
                      ? sound_label(a_r, a_rate, a_r.time_reference + a_r.samples(), l_ignored)
                      : std::string());
    if (a_rate.known) {
        a_j.key("duration_frames")
            .value(a_r.frame_of(a_r.time_reference + a_r.samples(), a_rate.num, a_rate.den) -
                   a_r.frame_of(a_r.time_reference, a_rate.num, a_rate.den));
        const std::uint32_t l_gcd = std::gcd(a_rate.num, a_rate.den);
        a_j.key("rate").value(std::to_string(a_rate.num / l_gcd) + "/" +
                              std::to_string(a_rate.den / l_gcd));
        a_j.key("fps").value(a_rate.rate.nominal);
        a_j.key("drop_frame").value(a_rate.rate.drop);
        a_j.key("remainder_samples").value(l_remainder);
    } else {
        a_j.key("duration_frames").null().key("rate").null().key("fps").null();
        a_j.key("drop_frame").null().key("remainder_samples").null();
        std::uint64_t l_samples = 0;
        a_j.key("time_of_day").value(time_of_day(a_r, l_samples));
        a_j.key("time_of_day_samples").value(l_samples);
    }
    a_j.key("max_24h").value(false).key("negative").value(false).key("counter").value(false);
    a_j.key("reel").null().key("sample_value").null();
    a_j.key("sample_rate").value(a_r.sample_rate);
    a_j.key("time_reference").value(a_r.time_reference);
    a_j.key("channels").value(a_r.channels);
    a_j.key("bits").value(a_r.bits);
    l_text("scene", a_r.scene);
    l_text("take", a_r.take);
    l_text("project", a_r.project);
    l_text("originator", a_r.originator);
    a_j.end_object();
}

// retc on a Broadcast WAV file: the time reference becomes the first whole sample of the label's
// frame, so that probe gives the label back with no remainder.
int retc_sound(const arguments& a_args, const std::string& a_path, const std::string& a_text,
               const file_identity& a_identity, const recording_source& a_r, bool a_dry_run) {
    const auto l_refuse = [&](const std::string& a_why) {
        return user_error(a_path + ": " + a_why);
    };
    if (!a_r.has_time_reference) return l_refuse("no time reference to rewrite (no 'bext' chunk)");
    sound_rate l_rate;
    std::string l_error = resolve_sound_rate(a_path, a_r, a_args, l_rate);
    if (!l_error.empty()) return l_refuse(l_error);
    if (!l_rate.known) return l_refuse("no frame rate recorded: give --rate");
    label l_label{0, 0, 0, 0};
    bool l_semicolon = false;
    if (!parse_label(a_text, l_label, l_semicolon))
        return user_error("invalid timecode '" + a_text + "'");
    std::uint64_t l_frame = 0;
    if (!is_legal(l_label, l_rate.rate) || l_label.hour >= 24 ||
        !frame_with_label(l_label, l_rate.rate, l_frame))
        return l_refuse("timecode " + a_text + " does not exist at " + l_rate.rate.text +
                        (l_rate.rate.drop ? " drop-frame" : "") +
                        (l_label.hour >= 24 ? " (a time reference counts from midnight)" : ""));
    const std::uint64_t l_new = a_r.first_sample_of(l_frame, l_rate.num, l_rate.den);
    std::uint64_t l_remainder = 0, l_ignored = 0;
    const std::string l_old = sound_label(a_r, l_rate, a_r.time_reference, l_remainder);
    recording_source l_after = a_r;
    l_after.time_reference = l_new;
    if (!a_dry_run) {
        try {
            rewrite_in_place(a_path, a_identity, a_r.time_reference_offset, le64_field(l_new));
        } catch (const input_error& e) {
            return l_refuse(e.what());
        }
    }
    std::printf("%s: %s%s -> %s\n", a_path.c_str(), l_old.c_str(),
                l_remainder != 0 ? (" +" + std::to_string(l_remainder) + " samples").c_str() : "",
                sound_label(l_after, l_rate, l_new, l_ignored).c_str());
    return k_exit_ok;
}

void declare_sound_rate(nubase::arg::optparser& a_parser) {
    a_parser.add_opt(k_rate, "rate", 1, 1);
    a_parser.add_opt(k_df, "df", 0, 0);
    a_parser.add_opt(k_ndf, "ndf", 0, 0);
}

}  // namespace nubase_tool
