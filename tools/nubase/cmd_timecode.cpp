// The timecode commands of media files: probe (read every timecode track of a movie, or the
// time reference of a recording) and retc (restamp either in place). What is particular to
// recordings is in cmd_sound.cpp.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <numeric>
#include <string>

#include "cli/json.hpp"
#include "labels.hpp"
#include "media/input.hpp"
#include "media/quicktime.hpp"
#include "media/riff.hpp"
#include "media/rewrite.hpp"
#include "sound.hpp"
#include "nubase/es.hpp"
#include "tool.hpp"

namespace nubase_tool {
namespace {

enum timecode_option { k_json = -20, k_track = -21, k_dry_run = 'n' };

label_rate rate_of(const timecode_source& a_s) {
    return {a_s.number_of_frames, a_s.drop_frame(), rate_text(a_s.time_scale, a_s.frame_duration)};
}

// The rate as a reduced fraction: "30000/1001", "25/1".
std::string fraction(const timecode_source& a_s) {
    const std::uint32_t l_gcd = std::gcd(a_s.time_scale, a_s.frame_duration);
    return std::to_string(a_s.time_scale / l_gcd) + "/" +
           std::to_string(a_s.frame_duration / l_gcd);
}

// The label of a frame of the track; "" when it lies beyond the 32-bit timecode.
std::string label_of(const timecode_source& a_s, std::uint64_t a_frame) {
    label l_label{0, 0, 0, 0};
    const label_rate l_rate = rate_of(a_s);
    return label_with_frame(a_frame, l_rate, l_label) ? label_text(l_label, l_rate) : std::string();
}

std::string start_label(const timecode_source& a_s) {
    return label_of(a_s, a_s.sample_value);
}

// The label of the first frame after the covered range, like an out point.
std::string end_label(const timecode_source& a_s) {
    const std::uint64_t l_frames = a_s.duration_frames();
    return l_frames > 0xFFFFFFFFu ? std::string() : label_of(a_s, a_s.sample_value + l_frames);
}

// "clip.mov: 01:00:00;00 29.97 fps drop-frame"; further tracks name themselves.
std::string track_line(const std::string& a_file, const timecode_source& a_s, bool a_primary) {
    std::string l_line =
        a_primary ? a_file : a_file + " [track " + std::to_string(a_s.track_id) + "]";
    const label_rate l_rate = rate_of(a_s);
    if (a_s.counter())
        return l_line + ": " + std::to_string(a_s.sample_value) + " " + l_rate.text +
               " fps counter";
    return l_line + ": " + start_label(a_s) + " " + l_rate.text + " fps " +
           (l_rate.drop ? "drop-frame" : "non-drop");
}

void track_json(json_writer& a_j, const timecode_source& a_s) {
    a_j.begin_object();
    a_j.key("track_id").value(a_s.track_id);
    a_j.key("video_track_ids").begin_array();
    for (const std::uint32_t l_id : a_s.video_track_ids)
        a_j.value(l_id);
    a_j.end_array();
    a_j.key("enabled").value(a_s.enabled);
    const auto l_label = [&](const char* a_key, const std::string& a_text) {
        if (a_s.counter() || a_text.empty()) {
            a_j.key(a_key).null();
        } else {
            a_j.key(a_key).value(a_text);
        }
    };
    l_label("start", start_label(a_s));
    l_label("end", end_label(a_s));
    a_j.key("duration_frames").value(a_s.duration_frames());
    a_j.key("rate").value(fraction(a_s));
    a_j.key("fps").value(a_s.number_of_frames);
    a_j.key("drop_frame").value(a_s.drop_frame());
    a_j.key("max_24h").value(a_s.max_24h());
    a_j.key("negative").value(a_s.negative());
    a_j.key("counter").value(a_s.counter());
    if (a_s.reel.empty()) {
        a_j.key("reel").null();
    } else {
        a_j.key("reel").value(a_s.reel);
    }
    a_j.key("sample_value").value(a_s.sample_value);
    a_j.end_object();
}

// What one file holds: the timecode tracks of a movie, or a sound recording's time reference.
struct probed {
    bool sound = false;
    movie_timecode movie;
    recording_source recording;
};

// Reads `path`, telling the container by its content; on failure prints the one "*** " line
// and returns k_exit_usage with the message in `error`.
int read_file(const std::string& a_path, probed& a_file, std::string& a_error) {
    try {
        media_input l_input(a_path);
        a_file.sound = looks_like_riff(l_input.front(12));
        if (a_file.sound) {
            a_file.recording = read_riff(l_input.stream(), l_input.seekable());
            return a_file.recording.has_time_reference ? k_exit_ok : k_exit_not_found;
        }
        a_file.movie = read_quicktime(l_input.stream(), l_input.seekable());
        return a_file.movie.tracks.empty() ? k_exit_not_found : k_exit_ok;
    } catch (const malformed_file& e) {
        a_error = e.what();
    } catch (const input_error& e) {
        a_error = e.what();
    } catch (const nubase::es::base& e) {
        a_error = e.what();
    }
    user_error(a_path + ": " + a_error);
    return k_exit_usage;
}

}  // namespace

int run_probe(const arguments& a_args) {
    if (a_args.m_free.empty()) return user_error("probe needs a file (see 'nubase probe --help')");
    const bool l_json = a_args.has(k_json);
    json_writer l_j;
    l_j.begin_array();
    int l_result = k_exit_ok;
    for (const std::string& l_path : a_args.m_free) {
        probed l_file;
        std::string l_error;
        int l_code = read_file(l_path, l_file, l_error);
        sound_rate l_rate;
        std::string l_line;
        if (l_code != k_exit_usage && !l_file.sound && rate_options_given(a_args)) {
            l_error = "--rate, --df and --ndf are for sound files; a movie records its rate";
        } else if (l_code == k_exit_ok && l_file.sound) {
            l_error = resolve_sound_rate(l_path, l_file.recording, a_args, l_rate);
            if (l_error.empty()) l_line = sound_line(l_path, l_file.recording, l_rate, l_error);
        }
        if (l_code != k_exit_usage && !l_error.empty()) {
            user_error(l_path + ": " + l_error);
            l_code = k_exit_usage;
        }
        l_result = std::max(l_result, l_code);
        if (l_json) {
            l_j.begin_object().key("file").value(l_path).key("tracks").begin_array();
            if (l_code == k_exit_ok && l_file.sound) sound_json(l_j, l_file.recording, l_rate);
            if (l_code == k_exit_ok && !l_file.sound)
                for (const timecode_source& l_s : l_file.movie.tracks)
                    track_json(l_j, l_s);
            l_j.end_array().key("error");
            if (l_code == k_exit_usage) {
                l_j.value(l_error);
            } else {
                l_j.null();
            }
            l_j.end_object();
        } else if (l_code == k_exit_not_found) {
            std::printf("%s: %s\n", l_path.c_str(),
                        l_file.sound ? "no time reference (no 'bext' chunk)" : "no timecode track");
        } else if (l_code == k_exit_ok && l_file.sound) {
            std::printf("%s\n", l_line.c_str());
        } else if (l_code == k_exit_ok) {
            for (std::size_t l_i = 0; l_i < l_file.movie.tracks.size(); ++l_i)
                std::printf("%s\n", track_line(l_path, l_file.movie.tracks[l_i], l_i == 0).c_str());
        }
    }
    l_j.end_array();
    if (l_json) std::printf("%s\n", l_j.text().c_str());
    return l_result;
}

int run_retc(const arguments& a_args) {
    if (a_args.m_free.size() != 2)
        return user_error("retc needs a file and a timecode (see 'nubase retc --help')");
    const std::string& l_path = a_args.m_free[0];
    const std::string& l_text = a_args.m_free[1];
    const auto l_refuse = [&](const std::string& a_why) {
        return user_error(l_path + ": " + a_why);
    };

    if (l_path == "-")
        return l_refuse("standard input cannot be rewritten in place: give the file");
    file_identity l_identity;
    probed l_file;
    try {
        l_identity = identify_regular_file(l_path);
        if (!is_writable(l_path)) return l_refuse("not writable");
        media_input l_input(l_path);
        l_file.sound = looks_like_riff(l_input.front(12));
        if (l_file.sound) {
            l_file.recording = read_riff(l_input.stream(), l_input.seekable());
        } else {
            l_file.movie = read_quicktime(l_input.stream(), l_input.seekable());
        }
    } catch (const std::exception& e) {
        return l_refuse(e.what());
    }
    if (l_file.sound)
        return retc_sound(a_args, l_path, l_text, l_identity, l_file.recording,
                          a_args.has(k_dry_run));
    if (rate_options_given(a_args))
        return l_refuse("--rate, --df and --ndf are for sound files; a movie records its rate");
    const movie_timecode& l_movie = l_file.movie;
    if (l_movie.tracks.empty()) return l_refuse("no timecode track");

    const timecode_source* l_s = &l_movie.tracks.front();
    if (a_args.has(k_track)) {
        const auto l_found = std::find_if(
            l_movie.tracks.begin(), l_movie.tracks.end(), [&](const timecode_source& a_t) {
                return std::to_string(a_t.track_id) == a_args.value(k_track);
            });
        if (l_found == l_movie.tracks.end())
            return l_refuse("no timecode track with the id '" + a_args.value(k_track) + "'");
        l_s = &*l_found;
    } else if (l_movie.tracks.size() > 1) {
        std::string l_ids;
        for (const timecode_source& l_t : l_movie.tracks)
            l_ids += (l_ids.empty() ? "" : ", ") + std::to_string(l_t.track_id);
        return l_refuse("several timecode tracks (" + l_ids + "): choose one with --track");
    }
    if (l_s->counter()) return l_refuse("a counter track holds a count, not a timecode");
    if (l_s->sample_size != 4)
        return l_refuse("a timecode sample of " + std::to_string(l_s->sample_size) + " bytes");
    if (!l_s->sample_exact)
        return l_refuse("the timecode sample of this fragmented file cannot be located exactly");

    const label_rate l_rate = rate_of(*l_s);
    label l_label{0, 0, 0, 0};
    bool l_semicolon = false;
    if (!parse_label(l_text, l_label, l_semicolon))
        return user_error("invalid timecode '" + l_text + "'");
    if (!is_legal(l_label, l_rate) || (l_s->max_24h() && l_label.hour >= 24)) {
        return l_refuse("timecode " + l_text + " does not exist at " + l_rate.text +
                        (l_rate.drop ? " drop-frame" : "") + (l_s->max_24h() ? " (24-hour)" : ""));
    }
    std::uint64_t l_frame = 0;
    if (!frame_with_label(l_label, l_rate, l_frame))
        return l_refuse("timecode " + l_text + " is beyond the range of a 32-bit sample");

    timecode_source l_new = *l_s;
    l_new.sample_value = static_cast<std::uint32_t>(l_frame);
    if (!a_args.has(k_dry_run)) {
        try {
            rewrite_in_place(l_path, l_identity, l_s->sample_offset,
                             be32_field(l_new.sample_value));
        } catch (const input_error& e) {
            return l_refuse(e.what());
        }
    }
    std::printf("%s: %s -> %s\n", l_path.c_str(), start_label(*l_s).c_str(),
                start_label(l_new).c_str());
    return k_exit_ok;
}

void declare_probe(nubase::arg::optparser& a_parser) {
    a_parser.add_opt(k_json, "json", 0, 0);
    declare_sound_rate(a_parser);
}

option_texts describe_probe() {
    return {{k_json,
             "Print one JSON document for all files: an array with one object per file, "
             "!Q!{\"file\", \"tracks\", \"error\"}!QE!. Each track has !Q!track_id!QE!, "
             "!Q!video_track_ids!QE! (the video tracks that reference it), !Q!enabled!QE!, "
             "!Q!start!QE! and !Q!end!QE! (the label of the first frame and of the first frame "
             "after the track; null for a counter track), !Q!duration_frames!QE!, !Q!rate!QE! "
             "(time scale / frame duration, reduced), !Q!fps!QE! (the nominal frames a second), "
             "!Q!drop_frame!QE!, !Q!max_24h!QE!, !Q!negative!QE!, !Q!counter!QE!, !Q!reel!QE! "
             "(null without a reel name) and !Q!sample_value!QE! (the 32-bit frame counter stored "
             "in the first sample, not the packed form of !Q!tc --tmcd!QE!). A sound file has one "
             "entry for its recording, with !Q!track_id!QE! null, !Q!start!QE!, !Q!end!QE!, "
             "!Q!rate!QE! and !Q!fps!QE! null when no rate is known (then !Q!time_of_day!QE! and "
             "!Q!time_of_day_samples!QE! are set), !Q!remainder_samples!QE! (the samples the time "
             "reference lies past its frame's first one), !Q!sample_rate!QE!, "
             "!Q!time_reference!QE! (samples since midnight), !Q!channels!QE!, !Q!bits!QE!, "
             "!Q!scene!QE!, !Q!take!QE!, !Q!project!QE! and !Q!originator!QE!. A file that "
             "failed has its message in !Q!error!QE!."},
            {k_rate,
             "For a sound file whose iXML records no timecode rate: the rate to label "
             "its time reference at. 23.976, 24, 25, 29.97, 30, 48, 50, 59.94, 60, 100 "
             "or 120, also as a fraction (!Q!30000/1001!QE!). A rate the file records is "
             "used instead, with a note on standard error. Refused for a movie."},
            {k_df, k_df_text},
            {k_ndf, k_ndf_text}};
}

void declare_retc(nubase::arg::optparser& a_parser) {
    a_parser.add_opt(k_track, "track", 1, 1);
    a_parser.add_opt(k_dry_run, "dry-run", 0, 0);
    declare_sound_rate(a_parser);
}

option_texts describe_retc() {
    return {{k_track,
             "The track id of the timecode track to restamp; needed when the file has several."},
            {k_dry_run, "Print what would change and write nothing."},
            {k_rate,
             "For a sound file whose iXML records no timecode rate: the rate of "
             "TIMECODE, as for probe."},
            {k_df, k_df_text},
            {k_ndf, k_ndf_text}};
}

}  // namespace nubase_tool
