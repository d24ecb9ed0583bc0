// tools/nubase/labels.hpp - timecode labels as a user types and reads them.
//
// A frame number counts real frames from 00:00:00:00. The arithmetic between frame numbers and
// labels is the library's `timecode` (drop-frame at 29.97 and 59.94: SMPTE ST 12-1); this file
// parses what a user types, names rates ("30000/1001" is "29.97"), tells which labels exist and
// writes labels. Hours are not wrapped at 24; a label whose index passes the library's 32-bit
// counter is beyond the range of these conversions, and they say so.
#ifndef NUBASE_TOOL_LABELS_HPP
#define NUBASE_TOOL_LABELS_HPP

#include <cstdint>
#include <string>

#include "nubase/timecode.hpp"

namespace nubase_tool {

// A rate as the tool knows it: the nominal labels per second, whether labels drop, and the
// rate's text ("29.97").
struct label_rate {
    unsigned nominal;
    bool drop;
    std::string text;
};

// The fields of a label.
struct label {
    std::uint64_t hour;
    unsigned minute, second, frame;
};

// Labels dropped at the start of each minute: nominal / 15 with drop-frame (2 at 30, 4 at 60).
unsigned dropped_per_minute(const label_rate& a_rate);

// The library's mode for a rate: the drop-frame modes, 23.976, or the mode whose low byte is the
// nominal rate (non-drop 29.97 and 59.94 count like 30 and 60; 48, 100 and 120 count plainly).
nubase::timecode::mode_type timecode_mode(const label_rate& a_rate);

// The label of real frame `frame`; false when it lies beyond the 32-bit timecode.
bool label_with_frame(std::uint64_t a_frame, const label_rate& a_rate, label& a_label);
// The real frame number of a legal label; false when it lies beyond the 32-bit timecode.
bool frame_with_label(const label& a_label, const label_rate& a_rate, std::uint64_t& a_frame);
// Whether the label exists at the rate: fields in range and not a dropped label.
bool is_legal(const label& a_label, const label_rate& a_rate);

// "HH:MM:SS:FF", with ';' before the frames for drop-frame rates only.
std::string label_text(const label& a_label, const label_rate& a_rate);

// Reads "H:M:S:F" or "H:M:S;F" (also '.' or ',' before the frames); false for anything else.
// `semicolon` tells whether ';' separated the frames.
bool parse_label(const std::string& a_text, label& a_label, bool& a_semicolon);

// A rate from its text: "23.976", "24", "25", "29.97", "30", "48", "50", "59.94", "60", "100",
// "120" (also with trailing zeros, "25.00", or as a fraction, "30000/1001", "25/1"). 29.97 and
// 59.94 drop labels unless `drop` is false.
bool rate_with_text(const std::string& a_text, bool a_drop, label_rate& a_rate);

// How drop-frame was asked for: by --df or --ndf, or by the separator of a typed label.
enum class drop_choice { unset, drop, non_drop };

// A typed label's separator as a choice: ';' drop-frame, any other non-drop.
inline drop_choice separator_drop(bool a_semicolon) {
    return a_semicolon ? drop_choice::drop : drop_choice::non_drop;
}

// The rate that --rate names ("29.97", "30000/1001", "25", "25/1"), with drop-frame as asked. At
// 29.97 and 59.94 a typed label's separator decides, else --df or --ndf, else drop-frame; an
// option that contradicts the separator, both options, or --df at a rate without drop-frame is
// an error. Returns "" or the error. The same in every command that takes these options.
std::string rate_with_options(const std::string& a_text, bool a_df, bool a_ndf, drop_choice a_typed,
                              label_rate& a_rate);

// The descriptions of --rate, --df and --ndf, shared by the commands that take them.
extern const char k_rate_text[];
extern const char k_df_text[];
extern const char k_ndf_text[];

// A rate from a time scale and a frame duration (a QuickTime timecode track): the text has at
// most three decimals ("30000/1001" gives "29.97").
std::string rate_text(std::uint32_t a_time_scale, std::uint32_t a_frame_duration);

}  // namespace nubase_tool

#endif  // NUBASE_TOOL_LABELS_HPP
