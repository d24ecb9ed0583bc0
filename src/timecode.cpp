// Timecode: label arithmetic at a nominal rate, drop-frame counting, text and 'tmcd' forms.
#include "nubase/timecode.hpp"

#include <cstdint>
#include <stdexcept>

#include "nubase/string.hpp"
#include "raise.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/timecode";

constexpr unsigned int k_seconds_per_minute = 60;
constexpr unsigned int k_minutes_per_hour = 60;
constexpr unsigned int k_seconds_per_hour = k_seconds_per_minute * k_minutes_per_hour;

// SMPTE ST 12-1 drop-frame labelling: the first labels of every minute are skipped, except in
// the minutes divisible by ten; 2 labels a minute at 29.97, 4 at 59.94.
constexpr unsigned int k_drop_exempt_minute_period = 10;
constexpr unsigned int k_dropped_labels_df30 = 2;
constexpr unsigned int k_dropped_labels_df60 = 4;

// The low byte of a mode is its nominal whole rate.
constexpr unsigned int k_base_mask = 0xFF;

// 23.976 whole-minute rule: the minute period at which the extra skip is one smaller.
constexpr unsigned int k_23_976_relief_minute_period = 15;

// QuickTime 'tmcd' layout.
constexpr unsigned int k_tmcd_drop_flag = 0x80;
constexpr unsigned int k_tmcd_frame_mask = 0x7F;

unsigned int base_of(timecode::mode_type a_mode) noexcept {
    return a_mode & k_base_mask;
}

// Labels skipped per minute: 0 for every mode that does not drop labels.
unsigned int dropped_labels_per_minute(timecode::mode_type a_mode) noexcept {
    switch (a_mode) {
        case timecode::mode_29_97_drop:
            return k_dropped_labels_df30;
        case timecode::mode_59_94_drop:
            return k_dropped_labels_df60;
        default:
            return 0;
    }
}

// Labels skipped in the first `minutes` whole minutes.
unsigned int dropped_labels_before(unsigned int a_minutes, unsigned int a_dropped) noexcept {
    return (a_minutes - a_minutes / k_drop_exempt_minute_period) * a_dropped;
}

// The fields of a counter. One division by the (run-time) base, the rest by constants; the
// results equal counter / (base x 3600), (counter / (base x 60)) mod 60 and so on.
struct fields {
    unsigned int hour, minute, second, frame;
};

fields split(unsigned int a_counter, unsigned int a_base) noexcept {
    if (a_base == 0) return fields{0, 0, 0, 0};
    const unsigned int seconds = a_counter / a_base;
    return fields{seconds / k_seconds_per_hour, seconds / k_seconds_per_minute % k_minutes_per_hour,
                  seconds % k_seconds_per_minute, a_counter - seconds * a_base};
}

unsigned int minute_of(unsigned int a_counter, unsigned int a_base) noexcept {
    return a_base == 0 ? 0 : a_counter / (a_base * k_seconds_per_minute) % k_minutes_per_hour;
}

// Labels to move for a step of n real frames from `counter` in a drop-frame mode: n plus the
// labels skipped at each minute boundary the step crosses, except those landing on a minute
// divisible by ten. Crossings are counted forwards from the present label in both directions.
// Inlined with constant bases for the common cases so that the divisions become multiplications.
inline __attribute__((always_inline)) unsigned int drop_frame_span(
    unsigned int a_counter, unsigned int a_frames, unsigned int a_base,
    unsigned int a_dropped) noexcept {
    if (a_base == 0) return a_frames;
    const unsigned int minute_labels = a_base * k_seconds_per_minute;
    const unsigned int into_minute = a_counter % minute_labels + a_frames;
    if (into_minute < minute_labels) return a_frames;  // the common case: no boundary crossed
    const unsigned int crossed = into_minute / minute_labels;
    const unsigned int units_digit = minute_of(a_counter, a_base) % k_drop_exempt_minute_period;
    const unsigned int exempt = (units_digit + crossed) / k_drop_exempt_minute_period;
    return a_frames + (crossed - exempt) * a_dropped;
}

inline __attribute__((always_inline)) unsigned int drop_frame_span_in(
    timecode::mode_type a_mode, unsigned int a_counter, unsigned int a_frames,
    unsigned int a_base) noexcept {
    if (a_mode == timecode::mode_29_97_drop) {
        return a_base == 30 ? drop_frame_span(a_counter, a_frames, 30, k_dropped_labels_df30)
                            : drop_frame_span(a_counter, a_frames, a_base, k_dropped_labels_df30);
    }
    return a_base == 60 ? drop_frame_span(a_counter, a_frames, 60, k_dropped_labels_df60)
                        : drop_frame_span(a_counter, a_frames, a_base, k_dropped_labels_df60);
}

// The counter after a step of n real frames forward (the rules are at `timecode::increment`).
// Every stepping member inlines this rather than calling another member, so that the library's
// own calls are not routed through its exported entry points.
inline __attribute__((always_inline)) unsigned int stepped_forward(unsigned int a_counter,
                                                                   unsigned int a_base,
                                                                   timecode::mode_type a_mode,
                                                                   unsigned int a_frames) noexcept {
    if (dropped_labels_per_minute(a_mode) != 0) {
        return a_counter + drop_frame_span_in(a_mode, a_counter, a_frames, a_base);
    }
    if (a_mode == timecode::mode_23_976 && a_base != 0) {
        // Standing exactly on a whole minute m: 2 more labels at odd minutes, 1 at even ones,
        // one fewer at minutes divisible by 15.
        const fields f = split(a_counter, a_base);
        if (f.second == 0 && f.frame == 0) {
            a_frames += f.minute % 2 + 1 - (f.minute % k_23_976_relief_minute_period == 0 ? 1 : 0);
        }
    }
    return a_counter + a_frames;
}

// The field setters, on a counter: each adds (new - current) x the field's length in labels.
unsigned int with_hour(unsigned int a_counter, unsigned int a_base, unsigned int a_hour) noexcept {
    return a_counter + (a_hour - split(a_counter, a_base).hour) * a_base * k_seconds_per_hour;
}

unsigned int with_minute(unsigned int a_counter, unsigned int a_base,
                         unsigned int a_minute) noexcept {
    return a_counter + (a_minute - minute_of(a_counter, a_base)) * a_base * k_seconds_per_minute;
}

unsigned int with_second(unsigned int a_counter, unsigned int a_base,
                         unsigned int a_second) noexcept {
    return a_counter + (a_second - split(a_counter, a_base).second) * a_base;
}

unsigned int with_frame(unsigned int a_counter, unsigned int a_base,
                        unsigned int a_frame) noexcept {
    return a_counter + a_frame - split(a_counter, a_base).frame;
}

// The four setters in order; each sees the carries of the one before.
unsigned int with_fields(unsigned int a_counter, unsigned int a_base, unsigned int a_hour,
                         unsigned int a_minute, unsigned int a_second,
                         unsigned int a_frame) noexcept {
    a_counter = with_hour(a_counter, a_base, a_hour);
    a_counter = with_minute(a_counter, a_base, a_minute);
    a_counter = with_second(a_counter, a_base, a_second);
    return with_frame(a_counter, a_base, a_frame);
}

// The C library's white space in the "C" locale, as skipped by scanf and atoi.
bool is_space(char a_c) noexcept {
    return a_c == ' ' || (a_c >= '\t' && a_c <= '\r');
}

bool is_digit(char a_c) noexcept {
    return a_c >= '0' && a_c <= '9';
}

// A scanf "%d": white space, an optional sign, one or more digits. The value wraps modulo 2^32
// (the C library leaves overflow undefined). Returns false on a matching failure; `p` is then
// meaningless.
bool scan_int(const char*& a_p, unsigned int& a_value) noexcept {
    const char* p = a_p;
    while (is_space(*p))
        ++p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    if (!is_digit(*p)) return false;
    unsigned int value = 0;
    do {
        value = value * 10 + static_cast<unsigned int>(*p++ - '0');
    } while (is_digit(*p));
    a_value = negative ? 0u - value : value;
    a_p = p;
    return true;
}

// The text forms "H:M:S<any>F" and "H:M:S<any>F@rate", read as scanf reads
// "%d:%d:%d%*c%d@%s" (up to the first NUL): `count` is the number of conversions that succeeded
// (the frame is the fourth; the rate the fifth).
struct scanned_text {
    int count = 0;
    unsigned int values[4] = {0, 0, 0, 0};
    const char* rate = nullptr;
    std::size_t rate_length = 0;
};

scanned_text scan_timecode_text(const char* a_p) noexcept {
    scanned_text out;
    for (int field = 0; field < 4; ++field) {
        if (field == 1 || field == 2) {
            if (*a_p != ':') return out;
            ++a_p;
        } else if (field == 3) {
            if (*a_p == '\0') return out;  // %*c takes any one character, white space included
            ++a_p;
        }
        if (!scan_int(a_p, out.values[field])) return out;
        out.count = field + 1;
    }
    if (*a_p != '@') return out;
    ++a_p;
    while (is_space(*a_p))
        ++a_p;
    if (*a_p == '\0') return out;
    out.rate = a_p;
    while (*a_p != '\0' && !is_space(*a_p))
        ++a_p;
    out.rate_length = static_cast<std::size_t>(a_p - out.rate);
    out.count = 5;
    return out;
}

// `atoi` of a piece of at most two characters (which cannot overflow).
unsigned int atoi_piece(const std::string& a_text, std::size_t a_pos) {
    if (a_pos > a_text.size()) throw std::out_of_range("timecode::set: text too short");
    const char* p = a_text.c_str() + a_pos;
    const char* end = p + (a_text.size() - a_pos < 2 ? a_text.size() - a_pos : 2);
    while (p != end && is_space(*p))
        ++p;
    bool negative = false;
    if (p != end && (*p == '-' || *p == '+')) negative = *p++ == '-';
    unsigned int value = 0;
    for (; p != end && is_digit(*p); ++p)
        value = value * 10 + static_cast<unsigned int>(*p - '0');
    return negative ? 0u - value : value;
}

// Writes at least two decimal digits of v at p; returns the end.
char* put_two_or_more(char* a_p, unsigned int a_value) noexcept {
    if (a_value < 100) {
        a_p[0] = static_cast<char>('0' + a_value / 10);
        a_p[1] = static_cast<char>('0' + a_value % 10);
        return a_p + 2;
    }
    char digits[10];
    int n = 0;
    for (; a_value != 0; a_value /= 10)
        digits[n++] = static_cast<char>('0' + a_value % 10);
    while (n != 0)
        *a_p++ = digits[--n];
    return a_p;
}

struct mode_text {
    std::string exact;   // matched as the whole text, unless empty
    std::string prefix;  // matched as the beginning of the text
    timecode::mode_type mode;
};

// `mode_from_string` tests these in order: the first match wins. Built once, on first use, so
// that no comparison builds a string.
const mode_text* mode_texts_end(const mode_text*& a_begin) {
    static const mode_text k_texts[] = {
        {"24", "24.0", timecode::mode_24},        {"", "23.976", timecode::mode_23_976},
        {"25", "25.0", timecode::mode_25},        {"30", "30.0", timecode::mode_30},
        {"", "29.97", timecode::mode_29_97_drop}, {"50", "50.0", timecode::mode_50},
        {"60", "60.0", timecode::mode_60},        {"", "59.54", timecode::mode_59_94_drop},
    };
    a_begin = k_texts;
    return k_texts + sizeof k_texts / sizeof k_texts[0];
}

struct framerate_row {
    unsigned int hundredths;
    timecode::mode_type mode;
};

// Rates in hundredths of a frame per second: whole rates and their integer fractions.
constexpr framerate_row k_framerates[] = {
    {300, timecode::mode_30},      {1000, timecode::mode_30},
    {1500, timecode::mode_30},     {3000, timecode::mode_30},
    {400, timecode::mode_24},      {600, timecode::mode_24},
    {800, timecode::mode_24},      {1200, timecode::mode_24},
    {2400, timecode::mode_24},     {500, timecode::mode_25},
    {625, timecode::mode_25},      {1250, timecode::mode_25},
    {2500, timecode::mode_25},     {1199, timecode::mode_23_976},
    {2398, timecode::mode_23_976}, {2997, timecode::mode_29_97_drop},
    {5000, timecode::mode_50},     {5994, timecode::mode_59_94_drop},
    {6000, timecode::mode_60},
};

}  // namespace

timecode::timecode(mode_type a_mode) noexcept
    : m_counter(0), m_base(base_of(a_mode)), m_mode(a_mode), m_factor(1) {}

timecode::timecode(mode_type a_mode, unsigned int a_hour, unsigned int a_minute,
                   unsigned int a_second, unsigned int a_frame, unsigned int a_factor) noexcept
    : m_counter(0), m_base(base_of(a_mode)), m_mode(a_mode), m_factor(a_factor) {
    m_counter = with_fields(0, m_base, a_hour, a_minute, a_second, a_frame);
}

timecode::timecode(const std::string& a_text)
    : m_counter(0), m_base(1), m_mode(mode_invalid), m_factor(1) {
    const scanned_text scan = scan_timecode_text(a_text.c_str());
    if (scan.count < 4) {
        NUBASE_RAISE_AT(146, arg,
                        string_with_format("Invalid timecode '%s'", a_text.c_str()).c_str());
    }
    if (scan.count == 5) m_mode = mode_from_string(std::string(scan.rate, scan.rate_length));
    m_counter =
        with_fields(0, m_base, scan.values[0], scan.values[1], scan.values[2], scan.values[3]);
}

timecode::timecode(float a_rate, const std::string& a_text)
    : m_counter(0),
      m_base(1),
      m_mode(mode_from_string(string_with_format("%-9.3f", static_cast<double>(a_rate)))),
      m_factor(1) {
    m_base = base_of(m_mode);
    const scanned_text scan = scan_timecode_text(a_text.c_str());
    m_counter =
        with_fields(0, m_base, scan.values[0], scan.values[1], scan.values[2], scan.values[3]);
}

timecode::mode_type timecode::mode_from_string(const std::string& a_text) noexcept {
    const mode_text* row = nullptr;
    for (const mode_text* end = mode_texts_end(row); row != end; ++row) {
        if ((!row->exact.empty() && a_text == row->exact) || starts_with(row->prefix, a_text)) {
            return row->mode;
        }
    }
    return mode_invalid;
}

const char* timecode::mode_c_str(mode_type a_mode) noexcept {
    switch (a_mode) {
        case mode_24:
            return "24";
        case mode_25:
            return "25";
        case mode_30:
            return "30";
        case mode_50:
            return "50";
        case mode_60:
            return "60";
        case mode_23_976:
            return "23.976";
        case mode_29_97_drop:
            return "29.97";
        case mode_59_94_drop:
            return "59.54";
        case mode_invalid:
            break;
    }
    return "invalid";
}

unsigned int timecode::hour() const noexcept {
    return split(m_counter, m_base).hour;
}

unsigned int timecode::minute() const noexcept {
    return minute_of(m_counter, m_base);
}

unsigned int timecode::second() const noexcept {
    return split(m_counter, m_base).second;
}

unsigned int timecode::frame() const noexcept {
    return split(m_counter, m_base).frame;
}

bool timecode::is_fractional() const noexcept {
    return m_mode == mode_23_976 || m_mode == mode_29_97_drop || m_mode == mode_59_94_drop;
}

void timecode::set_hour(unsigned int a_hour) noexcept {
    m_counter = with_hour(m_counter, m_base, a_hour);
}

void timecode::set_minute(unsigned int a_minute) noexcept {
    m_counter = with_minute(m_counter, m_base, a_minute);
}

void timecode::set_second(unsigned int a_second) noexcept {
    m_counter = with_second(m_counter, m_base, a_second);
}

void timecode::set_frame(unsigned int a_frame) noexcept {
    m_counter = with_frame(m_counter, m_base, a_frame);
}

void timecode::set(unsigned int a_hour, unsigned int a_minute, unsigned int a_second,
                   unsigned int a_frame) noexcept {
    m_counter = with_fields(m_counter, m_base, a_hour, a_minute, a_second, a_frame);
}

void timecode::set(const std::string& a_text) {
    const unsigned int hour = atoi_piece(a_text, 0);
    const unsigned int minute = atoi_piece(a_text, 3);
    const unsigned int second = atoi_piece(a_text, 6);
    const unsigned int frame = atoi_piece(a_text, 9);
    m_counter = with_fields(m_counter, m_base, hour, minute, second, frame);
}

unsigned int timecode::total_frames() const noexcept {
    const unsigned int dropped = dropped_labels_per_minute(m_mode);
    if (dropped == 0) return m_counter;
    const fields f = split(m_counter, m_base);
    return m_counter - dropped_labels_before(f.hour * k_minutes_per_hour + f.minute, dropped);
}

void timecode::total_frames(unsigned int a_frames) noexcept {
    const unsigned int dropped = dropped_labels_per_minute(m_mode);
    const unsigned int minute_labels = m_base * k_seconds_per_minute;
    if (dropped == 0 || minute_labels == 0) {
        m_counter = a_frames;
        return;
    }
    m_counter = a_frames + dropped_labels_before(a_frames / minute_labels, dropped);
}

void timecode::increment(unsigned int a_frames) noexcept {
    m_counter = stepped_forward(m_counter, m_base, m_mode, a_frames);
}

void timecode::decrement(unsigned int a_frames) noexcept {
    unsigned int subtracted = a_frames;
    if (dropped_labels_per_minute(m_mode) != 0) {
        subtracted = drop_frame_span_in(m_mode, m_counter, a_frames, m_base);
    }
    m_counter -= subtracted;
}

timecode& timecode::operator++() noexcept {
    m_counter = stepped_forward(m_counter, m_base, m_mode, m_factor);
    return *this;
}

timecode timecode::operator++(int) noexcept {
    const timecode before = *this;
    m_counter = stepped_forward(m_counter, m_base, m_mode, m_factor);
    return before;
}

timecode& timecode::operator+=(unsigned int a_steps) noexcept {
    m_counter = stepped_forward(m_counter, m_base, m_mode, a_steps * m_factor);
    return *this;
}

timecode timecode::operator+(unsigned int a_steps) const noexcept {
    timecode sum = *this;
    sum.m_counter = stepped_forward(m_counter, m_base, m_mode, a_steps * m_factor);
    return sum;
}

bool timecode::is_consecutive(const timecode& a_lhs, const timecode& a_rhs) noexcept {
    const bool rhs_smaller = a_rhs < a_lhs;
    timecode next = rhs_smaller ? a_rhs : a_lhs;
    next.m_counter = stepped_forward(next.m_counter, next.m_base, next.m_mode, next.m_factor);
    return next == (rhs_smaller ? a_lhs : a_rhs);
}

unsigned int timecode::as_int() const noexcept {
    return as_int(1);
}

unsigned int timecode::as_int(unsigned int a_scale) const noexcept {
    if (m_base == 0) return 0;
    return static_cast<unsigned int>(static_cast<std::uint64_t>(m_counter) * a_scale / m_base);
}

unsigned int timecode::as_rounded_int() const noexcept {
    return as_rounded_int(1);
}

unsigned int timecode::as_rounded_int(unsigned int a_scale) const noexcept {
    if (m_base == 0) return 0;
    return static_cast<unsigned int>(
        (static_cast<std::uint64_t>(m_counter) * a_scale + m_base / 2) / m_base);
}

float timecode::as_float() const noexcept {
    if (m_base == 0) return 0.0f;
    return static_cast<float>(m_counter) / static_cast<float>(m_base);
}

float timecode::as_float(unsigned int a_scale) const noexcept {
    return as_float() * static_cast<float>(a_scale);
}

timestamp timecode::as_timestamp() const noexcept {
    return timestamp(m_counter, m_base);
}

unsigned int timecode::as_quicktime_tmcd() const noexcept {
    const fields f = split(m_counter, m_base);
    return f.hour << 24 | f.minute << 16 | f.second << 8 | f.frame |
           (is_fractional() ? k_tmcd_drop_flag : 0);
}

timecode timecode_with_timestamp(timecode::mode_type a_mode, const timestamp& a_ts,
                                 unsigned int a_factor) noexcept {
    timecode tc(a_mode, 0, 0, 0, 0, a_factor);
    // The time in whole labels at the nominal rate; the product is taken wide so that it is
    // exact for every rate.
    __extension__ typedef unsigned __int128 wide_t;
    const std::uint64_t whole = a_ts.ticks() / a_ts.rate() * tc.base();
    const auto part = static_cast<std::uint64_t>(static_cast<wide_t>(a_ts.ticks() % a_ts.rate()) *
                                                 tc.base() / a_ts.rate());
    tc.total_frames(static_cast<unsigned int>(whole + part));
    return tc;
}

// Every mode of the table (and mode_invalid) has a base below 64, so the base of the result is
// the mode's low six bits as well as its low byte.
timecode timecode_with_framerate(double a_rate, const timestamp& a_ts,
                                 unsigned int a_factor) noexcept {
    const double hundredths = (a_rate + 0.005) * 100;
    timecode::mode_type mode = timecode::mode_invalid;
    if (hundredths >= 0 && hundredths < 1e6) {  // false for NaN
        const auto k = static_cast<unsigned int>(hundredths);
        for (const framerate_row& row : k_framerates) {
            if (row.hundredths == k) mode = row.mode;
        }
    }
    return timecode_with_timestamp(mode, a_ts, a_factor);
}

timecode timecode_with_frame_number(timecode::mode_type a_mode, unsigned int a_frame,
                                    unsigned int a_factor) noexcept {
    const std::uint64_t base = a_mode & 0xFF;
    const std::uint64_t dropped = dropped_labels_per_minute(a_mode);
    std::uint64_t counter = a_frame;
    if (dropped != 0) {
        // Ten minutes hold 600 x base labels less 9 x dropped skipped ones; in them the first
        // minute is whole and each later one is `dropped` labels short.
        const std::uint64_t per_ten_minutes = 600 * base - 9 * dropped;
        const std::uint64_t per_short_minute = 60 * base - dropped;
        const std::uint64_t rest = a_frame % per_ten_minutes;
        counter += 9 * dropped * (a_frame / per_ten_minutes);
        if (rest >= dropped) counter += dropped * ((rest - dropped) / per_short_minute);
    }
    if (counter > 0xFFFFFFFFu) return timecode(timecode::mode_invalid);
    if (base == 0) return timecode(a_mode, 0, 0, 0, static_cast<unsigned int>(counter), a_factor);
    const auto c = static_cast<unsigned int>(counter);
    const auto b = static_cast<unsigned int>(base);
    return timecode(a_mode, c / (b * 3600), c / (b * 60) % 60, c / b % 60, c % b, a_factor);
}

timecode timecode_with_quicktime_tmcd(timecode::mode_type a_mode, unsigned int a_tmcd,
                                      unsigned int a_factor) noexcept {
    return timecode(a_mode, a_tmcd >> 24 & 0xFF, a_tmcd >> 16 & 0xFF, a_tmcd >> 8 & 0xFF,
                    a_tmcd & k_tmcd_frame_mask, a_factor);
}

std::string string_with_timecode(const timecode& a_tc, bool a_standard_separators) {
    if (!a_tc.is_valid()) return std::string();
    const fields f = split(a_tc.counter(), a_tc.base());
    const bool fractional = a_tc.is_fractional();
    const char separator =
        a_standard_separators ? (fractional ? ';' : ':') : (fractional ? ',' : '.');
    char text[32];  // up to 10 + 3 + 3 + 1 + 3 digits and separators
    char* p = put_two_or_more(text, f.hour);
    *p++ = ':';
    p = put_two_or_more(p, f.minute);
    *p++ = ':';
    p = put_two_or_more(p, f.second);
    *p++ = separator;
    p = put_two_or_more(p, f.frame);
    return std::string(text, static_cast<std::size_t>(p - text));
}

}  // namespace nubase
