// tools/nubase/sound.hpp - what probe and retc do with a Broadcast WAV recording.
#ifndef NUBASE_TOOL_SOUND_HPP
#define NUBASE_TOOL_SOUND_HPP

#include <cstdint>
#include <string>

#include "cli/json.hpp"
#include "labels.hpp"
#include "media/rewrite.hpp"
#include "media/timecode_source.hpp"
#include "nubase/optparser.hpp"
#include "tool.hpp"

namespace nubase_tool {

// The rate options of probe and retc, which only sound files take.
enum sound_option { k_rate = 'r', k_df = -22, k_ndf = -23 };
void declare_sound_rate(nubase::arg::optparser& a_parser);
bool rate_options_given(const arguments& a_args);

// The rate a recording's time reference is labelled at, exactly: num/den frames a second.
struct sound_rate {
    bool known = false;
    bool from_file = false;
    label_rate rate{0, false, ""};
    std::uint32_t num = 0, den = 1;
};

// The file's own rate when it records one (a note on standard error when the options differ),
// else the options', else none. Returns "" or an error.
std::string resolve_sound_rate(const std::string& a_path, const recording_source& a_r,
                               const arguments& a_args, sound_rate& a_out);
// A time reference as a label, with the samples it lies past its frame's first one in
// `remainder`; "" when its frame is beyond the timecode range.
std::string sound_label(const recording_source& a_r, const sound_rate& a_rate,
                        std::uint64_t a_sample, std::uint64_t& a_remainder);
// The text line of a recording; "" with `error` set when its time reference is out of range.
std::string sound_line(const std::string& a_path, const recording_source& a_r,
                       const sound_rate& a_rate, std::string& a_error);
// The recording as the one entry of a file's "tracks".
void sound_json(json_writer& a_j, const recording_source& a_r, const sound_rate& a_rate);
// retc on a recording: writes the first whole sample of the label's frame; the exit status.
int retc_sound(const arguments& a_args, const std::string& a_path, const std::string& a_text,
               const file_identity& a_identity, const recording_source& a_r, bool a_dry_run);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_SOUND_HPP
