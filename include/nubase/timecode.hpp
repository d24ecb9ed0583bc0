// nubase/timecode.hpp - SMPTE hours:minutes:seconds:frames time addresses, drop-frame included.
//
// A `timecode` is a label index (the "counter") at a nominal whole frame rate, the "base": 24,
// 25, 30, 50 or 60 labels a second. The NTSC-family rates 23.976, 29.97 and 59.94 are labelled
// at their nominal rates 24, 30 and 60; 29.97 and 59.94 use drop-frame labelling (SMPTE ST 12-1):
// the first 2 (at 29.97) or 4 (at 59.94) labels of every minute are skipped, except in minutes
// divisible by ten, so that the labels keep pace with real time. The counter counts skipped
// labels too; `total_frames()` gives the real frame count.
//
//   timecode tc(timecode::mode_29_97_drop, 0, 8, 59, 29);   // 00:08:59;29
//   ++tc;                                                    // 00:09:00;02: two labels skipped
//   tc.total_frames();                                       // 16184 real frames
//   string_with_timecode(tc, true);                          // "00:09:00;02"
//   timecode from_text("01:00:00;00@29.97");                 // see the text constructor
//
// Nominal minutes: stepping (`increment`, `++`, `+=`) skips exactly the labels that drop-frame
// skips. Two conversions do something simpler, and are kept that way because stored values
// depend on it: `total_frames(frames)` and `timecode_with_timestamp` take a real frame count (or
// a time at the nominal rate) and add the dropped labels of `frames / nominal minute` minutes.
// A real minute at 29.97 holds only 1798 frames, so once the dropped labels have piled up the
// minute count falls behind: real frame 3598 (00:02:00;02 when stepped to frame by frame) becomes
// 00:02:00;00, a skipped label. More than half of all frame counts of a day land a few labels short
// (at 29.97 up to 4 within 24 hours). Use `increment` from a known label when labels must match
// stepping; `total_frames()`, the other direction, is exact for every legal label.
//
// Fields are derived from the counter (hour = counter / (base x 3600), not wrapped at 24; minute,
// second and frame wrap), and setting a field adds the difference to the counter, so a value
// beyond its field's range carries into the larger fields. All counter arithmetic is unsigned
// 32-bit and wraps silently. A base of 0 (only a cast `mode_type` with a zero low byte gives
// one) reads as 0 in every field and never divides by zero.
//
// Failure: only the text constructor raises (`es::arg`); `set(text)` lets std::out_of_range pass
// for texts too short to hold its fields. Everything else returns a documented value.
#ifndef NUBASE_TIMECODE_HPP
#define NUBASE_TIMECODE_HPP

#include <string>

#include "nubase/config.hpp"
#include "nubase/timestamp.hpp"

namespace nubase {

class NUBASE_API timecode {
  public:
    // The low byte is the nominal whole rate (the base); bits 0x7000 mark the fractional
    // NTSC-family rates. Any other value behaves as a mode of its own with base = value & 255,
    // reads as "invalid" and is not `mode_invalid` (so `is_valid()` is true for it). Such modes
    // are supported for non-drop counting at plain rates without a named mode: `mode_type(48)`,
    // `mode_type(100)` and `mode_type(120)` count, step and label at 48, 100 and 120 a second.
    enum mode_type : unsigned int {
        mode_invalid = 1,
        mode_24 = 24,
        mode_25 = 25,
        mode_30 = 30,
        mode_50 = 50,
        mode_60 = 60,
        mode_23_976 = 0x7018,      // base 24, no dropped labels
        mode_29_97_drop = 0x701E,  // base 30, 2 labels dropped a minute
        mode_59_94_drop = 0x703C,  // base 60, 4 labels dropped a minute
    };

    // 00:00:00:00 in `mode`, base = mode & 255, factor 1. The default is an invalid timecode.
    explicit timecode(mode_type a_mode = mode_invalid) noexcept;

    // The given fields in `mode`, set one after the other with the field setters from 0, so the
    // counter is hour x 3600 x base + minute x 60 x base + second x base + frame with no range
    // check (minute 61 adds 61 minutes). `factor` is the step of `++` and of `is_consecutive`.
    timecode(mode_type a_mode, unsigned int a_hour, unsigned int a_minute, unsigned int a_second,
             unsigned int a_frame, unsigned int a_factor = 1) noexcept;

    // Parses "H:M:S<sep>F" or "H:M:S<sep>F@<rate>", as scanned by "%d:%d:%d%*c%d@%s": each number
    // is a decimal integer with optional leading white space and sign, <sep> is any one
    // character, and the rate is the first white-space-free word after "@". With a rate the mode
    // is `mode_from_string(rate)`; without one (or with nothing after "@") it is `mode_invalid`.
    // The base is deliberately left at 1, so the fields are counted at one label per second:
    // "01:00:00:00@25" has mode 25, base 1 and counter 3600 (format it after rebasing, or use
    // the float-rate constructor, to get 25 labels a second). Numbers wrap modulo 2^32; factor 1.
    // Raises `es::arg` "Invalid timecode '<text>'" (source "lib/nubase/src/timecode", line 146)
    // when fewer than the four numbers can be read.
    explicit timecode(const std::string& a_text);

    // Mode from the rate formatted with "%-9.3f" ("29.970   " gives `mode_29_97_drop`), base =
    // mode & 255, then the fields of "H:M:S<sep>F" as above. Missing or unreadable fields count
    // as 0; nothing is reported. 59.94 formats as "59.940", which is not the text of that mode,
    // so it gives an invalid timecode (kept; use `timecode_with_framerate` for rates as numbers).
    timecode(float a_rate, const std::string& a_text);

    // "24" or a text beginning "24.0" -> mode_24; "23.976..." -> mode_23_976; "25"/"25.0..." ->
    // mode_25; "30"/"30.0..." -> mode_30; "29.97..." -> mode_29_97_drop; "50"/"50.0..." ->
    // mode_50; "60"/"60.0..." -> mode_60; "59.54..." -> mode_59_94_drop; anything else
    // mode_invalid. The 59.94 rate is written "59.54" here and in `mode_c_str` (a kept text that
    // stored data uses): "59.94" is not recognised. Never throws.
    [[nodiscard]] static mode_type mode_from_string(const std::string& a_text) noexcept;
    // "invalid", "24", "25", "30", "50", "60", "23.976", "29.97" or "59.54"; "invalid" for a
    // value outside the enumeration. Never null.
    [[nodiscard]] static const char* mode_c_str(mode_type a_mode) noexcept;

    unsigned int hour() const noexcept;
    unsigned int minute() const noexcept;
    unsigned int second() const noexcept;
    unsigned int frame() const noexcept;
    // The label index from 00:00:00:00, skipped labels included.
    unsigned int counter() const noexcept { return m_counter; }
    unsigned int base() const noexcept { return m_base; }
    mode_type mode() const noexcept { return m_mode; }
    unsigned int factor() const noexcept { return m_factor; }
    bool is_valid() const noexcept { return m_mode != mode_invalid; }
    // True for 23.976, 29.97 and 59.94.
    bool is_fractional() const noexcept;

    // Replace one field by adding (new - current) x its length in labels to the counter.
    void set_hour(unsigned int a_hour) noexcept;
    void set_minute(unsigned int a_minute) noexcept;
    void set_second(unsigned int a_second) noexcept;
    void set_frame(unsigned int a_frame) noexcept;
    // The four setters, in this order.
    void set(unsigned int a_hour, unsigned int a_minute, unsigned int a_second,
             unsigned int a_frame) noexcept;
    // Fixed columns of "HH:MM:SS:FF": `atoi` of the (at most two) characters at 0, 3, 6 and 9;
    // the separators are not looked at and base, mode and factor are kept. A text shorter than
    // 3, 6 or 9 characters raises std::out_of_range and leaves the value unchanged; a piece cut
    // short by the end of the text is read as far as it goes ("01:02:03:4" sets frame 4).
    void set(const std::string& a_text);

    // The real frame count: for 29.97 and 59.94 drop-frame the counter less 2 (or 4) labels for
    // each whole minute of hour() x 60 + minute() not divisible by ten; the counter otherwise.
    [[nodiscard]] unsigned int total_frames() const noexcept;
    // Sets the counter from a real frame count: for the drop-frame modes frames plus the labels
    // dropped in frames / (base x 60) whole minutes (the nominal-minute rule described at the top
    // of this header); frames otherwise. For the label of a real frame as stepping and
    // `total_frames()` count it, use `timecode_with_frame_number`, which is exact.
    void total_frames(unsigned int a_frames) noexcept;

    // Advances by n real frames. Drop-frame: adds the labels skipped at the minute boundaries
    // within n labels of the present one, except at minutes divisible by ten, so a step of less
    // than a minute from a legal label always lands on the right legal label. A longer step does
    // not count the boundaries that its own added labels reach, and falls short (00:01:00;02 plus
    // 2 x 1798 frames gives 00:03:00;00, not 00:03:00;02): step in pieces of at most a minute
    // when that matters. 23.976: standing exactly on a whole
    // minute m, also adds (m mod 2) + 1, less 1 when m is divisible by 15 (0 at minutes 0 and 30,
    // 1 at 15 and 45, 2 at other odd and 1 at other even minutes), a rule of this class kept for
    // the values that depend on it. Other modes add n.
    void increment(unsigned int a_frames) noexcept;
    // Steps back by n real frames plus the labels that drop-frame would skip stepping *forward* by
    // n from here (kept): across a minute boundary it is not the inverse of `increment`, and from
    // just after a boundary it can land on a skipped label (00:01:00;02 less 1 is 00:01:00;01).
    // 23.976 has no rule here.
    void decrement(unsigned int a_frames) noexcept;

    // increment(factor); the postfix form returns the value before the step.
    timecode& operator++() noexcept;
    timecode operator++(int) noexcept;
    // increment(n x factor), in place or on a copy.
    timecode& operator+=(unsigned int a_steps) noexcept;
    [[nodiscard]] timecode operator+(unsigned int a_steps) const noexcept;

    // Equal in mode and counter (base and factor are not compared).
    bool operator==(const timecode& a_other) const noexcept {
        return m_mode == a_other.m_mode && m_counter == a_other.m_counter;
    }
    bool operator!=(const timecode& a_other) const noexcept { return !(*this == a_other); }
    // Ordered by counter alone.
    bool operator<(const timecode& a_other) const noexcept { return m_counter < a_other.m_counter; }

    // True when the smaller of the two (by counter), stepped by its own factor, equals the larger
    // one: equal values, or values two steps apart, are not consecutive.
    [[nodiscard]] static bool is_consecutive(const timecode& a_lhs, const timecode& a_rhs) noexcept;

    // Counter-based conversions (they ignore dropped labels); 0 when the base is 0. The products
    // are taken in 64 bits and the result truncated to 32.
    // counter / base (whole seconds, truncated); counter x scale / base.
    [[nodiscard]] unsigned int as_int() const noexcept;
    [[nodiscard]] unsigned int as_int(unsigned int a_scale) const noexcept;
    // (counter + base / 2) / base; (counter x scale + base / 2) / base.
    [[nodiscard]] unsigned int as_rounded_int() const noexcept;
    [[nodiscard]] unsigned int as_rounded_int(unsigned int a_scale) const noexcept;
    // counter / base in single precision; that times scale.
    [[nodiscard]] float as_float() const noexcept;
    [[nodiscard]] float as_float(unsigned int a_scale) const noexcept;
    // ticks = counter, rate = base (a timestamp of rate 0 when the base is 0).
    [[nodiscard]] timestamp as_timestamp() const noexcept;
    // The QuickTime 'tmcd' sample: hour() << 24 | minute() << 16 | second() << 8 | frame(), with
    // 0x80 (the drop flag) set for the three fractional modes. Hours above 255 lose their high
    // bits.
    [[nodiscard]] unsigned int as_quicktime_tmcd() const noexcept;

  private:
    unsigned int m_counter;
    unsigned int m_base;
    mode_type m_mode;
    unsigned int m_factor;
};

static_assert(sizeof(timecode) == 16, "timecode is four 32-bit fields");

// From a time: counter = the time in whole labels at the nominal rate (truncated), then for the
// drop-frame modes the labels dropped in the nominal minutes elapsed are added (see "Nominal
// minutes" above: one second of a 29.97 timestamp is 30 labels). `ts` must not have rate 0. The
// fraction of a second is multiplied out exactly (wide), not in 64 bits where it could wrap: a
// deliberate, safer choice.
[[nodiscard]] NUBASE_API timecode timecode_with_timestamp(timecode::mode_type a_mode,
                                                          const timestamp& a_ts,
                                                          unsigned int a_factor = 1) noexcept;

// As `timecode_with_timestamp`, the mode chosen from a rate in frames per second by
// k = integer part of (rate + 0.005) x 100: 3, 10, 15, 30 -> mode_30; 4, 6, 8, 12, 24 -> mode_24;
// 5, 6.25, 12.5, 25 -> mode_25; 11.99, 23.98 -> mode_23_976; 29.97 -> mode_29_97_drop;
// 50 -> mode_50; 59.94 -> mode_59_94_drop; 60 -> mode_60; anything else (NaN included)
// mode_invalid.
[[nodiscard]] NUBASE_API timecode timecode_with_framerate(double a_rate, const timestamp& a_ts,
                                                          unsigned int a_factor = 1) noexcept;

// The label of real frame `frame`, counted exactly (SMPTE ST 12-1): for 29.97 and 59.94
// drop-frame, 2 or 4 labels are skipped at every minute not divisible by ten; every other mode
// counts one label a frame (23.976 too, without the minute rule of `increment`). So
// `timecode_with_frame_number(m, f, 1).total_frames() == f` for every frame a 32-bit counter can
// label; this is the inverse a user wants, where `total_frames(frames)` keeps its nominal-minute
// rule. Hours are not wrapped. Plain rates without a named mode count too: a mode whose low byte
// is the rate, such as `timecode::mode_type(48)`, 100 or 120, labels non-drop at that rate. A
// frame whose label index would pass 2^32 - 1 is beyond the class: the result is then
// `timecode(timecode::mode_invalid)` (`is_valid()` false). The factor is the step of the result.
//
//   timecode_with_frame_number(timecode::mode_29_97_drop, 1800, 1);   // 00:01:00;02
//   timecode_with_frame_number(timecode::mode_29_97_drop, 17982, 1);  // 00:10:00;00
[[nodiscard]] NUBASE_API timecode timecode_with_frame_number(timecode::mode_type a_mode,
                                                             unsigned int a_frame,
                                                             unsigned int a_factor = 1) noexcept;

// From a QuickTime 'tmcd' sample: hours bits 31..24, minutes 23..16, seconds 15..8, frames 6..0;
// the drop flag (bit 7) is ignored, the mode argument decides.
[[nodiscard]] NUBASE_API timecode timecode_with_quicktime_tmcd(timecode::mode_type a_mode,
                                                               unsigned int a_tmcd,
                                                               unsigned int a_factor = 1) noexcept;

// "HH:MM:SS" + separator + "FF", each at least two digits (hours unwrapped: "100:00:00:00").
// The separator is ';' for the fractional modes and ':' otherwise with standard separators,
// ',' and '.' without. An invalid timecode gives the empty string. Raises only std::bad_alloc.
[[nodiscard]] NUBASE_API std::string string_with_timecode(const timecode& a_tc,
                                                          bool a_standard_separators = true);

}  // namespace nubase

#endif  // NUBASE_TIMECODE_HPP
