// nubase/timestamp.hpp - timestamps, clocks, calendar text, sleeping and the egg clock.
//
// `timestamp` is an exact time value: a tick count and a rate (ticks per second), both unsigned
// 64-bit. It keeps the rate of the source it was made from and is never normalised, so that
// values from NTP (rate 2^32), `timespec` (10^9) and `timeval` (10^6) convert without loss:
//
//   timestamp deadline = timestamp_with_utc(5, 0);  // now plus five seconds, rate 10^6
//   timespec ts = deadline.as_timespec();           // for pthread_cond_timedwait
//   timestamp t = timestamp_with_ntptime(ntp) + timestamp(1, 25);
//   std::string s = string_with_timestamp(t, 1000); // "01:02:05:500"
//
// Rate 0: a timestamp must never have rate 0. The conversions and `string_with_timestamp`
// divide by the rate and do not check it; no constructor of this header makes one.
//
// The clocks: `time_now()` / `time_resolution()` is a monotonic high-resolution pair (here the
// monotonic clock in nanoseconds, rate 1000000000), `time_in_seconds()` the wall clock in whole
// seconds since 1970. The calendar functions read the process's time zone (`TZ`).
//
// Thread safety: everything here is reentrant. `time_in_seconds(iso)`, `time_get_date_variables`
// and `get_strftime_output` use the reentrant forms of the C calendar calls, but they read the
// process-wide time-zone state that `tzset` and `setenv("TZ", ...)` change: do not change it
// while another thread calls them. `egg_clock` has no lock; one thread owns an instance.
#ifndef NUBASE_TIMESTAMP_HPP
#define NUBASE_TIMESTAMP_HPP

#include <sys/time.h>  // timeval

#include <ctime>  // timespec
#include <string>

#include "nubase/config.hpp"

namespace nubase {

// ticks / rate seconds. Copyable value; the default is 0 ticks at rate 1.
class NUBASE_API timestamp {
  public:
    constexpr timestamp() noexcept : m_ticks(0), m_rate(1) {}
    // The value is taken as given; `rate` must not be 0.
    constexpr timestamp(unsigned long long a_ticks, unsigned long long a_rate) noexcept
        : m_ticks(a_ticks), m_rate(a_rate) {}

    constexpr unsigned long long ticks() const noexcept { return m_ticks; }
    constexpr unsigned long long rate() const noexcept { return m_rate; }

    // The 64-bit NTP form: seconds in the upper 32 bits (the low 32 bits of ticks / rate), the
    // fraction of a second in units of 2^-32 in the lower 32 bits, rounded to nearest. The
    // fraction is computed as ((low 32 bits of ticks mod rate) x 2^32 + rate / 2) / rate in
    // 64-bit unsigned arithmetic, which is exact for every rate up to 2^32 (above it the
    // remainder is cut to 32 bits and the sum may wrap). Bit 32 of that quotient, the rounding
    // carry, is OR-ed into the seconds rather than added; the quotient stays below 2^32 for every
    // rate, so in practice the seconds are never changed by it. Never throws.
    unsigned long long as_ntptime() const noexcept;

    // Seconds = ticks / rate; nanoseconds = ((ticks mod rate) x 10^9 + rate / 2) / rate, computed
    // exactly. The rounded sub-second part is not carried: a remainder within half a nanosecond
    // of the next second gives tv_nsec = 1000000000 with tv_sec unchanged (callers that hand the
    // value to an interface that insists on tv_nsec < 10^9 must carry it themselves). Never throws.
    timespec as_timespec() const noexcept;

    // As `as_timespec`, in microseconds: tv_usec may be 1000000. Never throws.
    timeval as_timeval() const noexcept;

  private:
    unsigned long long m_ticks;
    unsigned long long m_rate;
};

static_assert(sizeof(timestamp) == 16, "timestamp is two 64-bit words");

// The sum at the least common multiple of the two rates: with g = gcd(a.rate, b.rate),
// rate = b.rate x (a.rate / g) and ticks = a.ticks x (b.rate / g) + b.ticks x (a.rate / g), so
// no precision is lost. Nothing checks for overflow: both products wrap in 64 bits (rates that
// share no factor and are both large will wrap). Two timestamps of rate 0 sum to rate 0.
// Used for "now plus a time-out":
//   timestamp_with_timespec(now) + timestamp(250, 1000)   // rate 10^9, 250 ms later
[[nodiscard]] NUBASE_API timestamp operator+(const timestamp& a_lhs,
                                             const timestamp& a_rhs) noexcept;

// ticks = the whole 64-bit NTP value (seconds in the upper, fraction in the lower 32 bits),
// rate = 2^32.
[[nodiscard]] NUBASE_API timestamp timestamp_with_ntptime(unsigned long long a_ntp) noexcept;

// ticks = tv_sec x 10^9 + tv_nsec (both taken as signed 64-bit, the sum wrapping to unsigned),
// rate = 10^9. Values before 1970 therefore wrap to huge tick counts.
[[nodiscard]] NUBASE_API timestamp timestamp_with_timespec(const timespec& a_ts) noexcept;

// ticks = tv_sec x 10^6 + tv_usec (signed as above), rate = 10^6.
[[nodiscard]] NUBASE_API timestamp timestamp_with_timeval(const timeval& a_tv) noexcept;

// The wall-clock time now (`gettimeofday`) plus the given seconds and microseconds, at rate
// 10^6: an absolute dead-line. The two additions are made field by field without a carry, so
// microseconds above 999999 simply count as more microseconds.
// Raises `es::call` "gettimeofday failed" (source "lib/nubase/src/timestamp", line 133) if the
// clock cannot be read.
[[nodiscard]] NUBASE_API timestamp timestamp_with_utc(unsigned int a_seconds,
                                                      unsigned int a_microseconds);

// Text HH:MM:SS:F with the time rounded to the nearest 1/units second:
//   total = (ticks x units + rate / 2) / rate   (unsigned 64-bit, the product wrapping)
// hours = total / units / 3600, never wrapped at 24 ("100:00:00:000"); minutes and seconds two
// digits; the fraction total mod units, zero-padded to the digit count of units - 1 (units 1000
// gives three digits, 25 two, 10 one; units 1 gives a bare "0"). Units 0 gives HH:MM:SS rounded to
// the nearest second, without a fraction. Example: 3725.5 s with units 1000 is "01:02:05:500",
// with units 0 "01:02:06". Never throws except std::bad_alloc.
[[nodiscard]] NUBASE_API std::string string_with_timestamp(const timestamp& a_ts,
                                                           unsigned int a_units);

// The monotonic clock (unaffected by changes of the wall clock) in ticks of `time_resolution()`:
// time_now() / time_resolution() is seconds since an arbitrary start. Never throws.
[[nodiscard]] NUBASE_API unsigned long long time_now() noexcept;

// The rate of `time_now` in ticks per second: 1000000000 (nanoseconds). Never 0 here; code that
// runs on other builds of the library should still treat 0 as "no high-resolution clock".
[[nodiscard]] NUBASE_API unsigned long long time_resolution() noexcept;

// Seconds since 1970-01-01 00:00:00 UTC (`time`), truncated to 32 bits. Never throws.
[[nodiscard]] NUBASE_API unsigned int time_in_seconds() noexcept;

// Parses an ISO-8601 date-time with a zone offset, "YYYY-MM-DDThh:mm:ss+hh:mm", into seconds
// since 1970 UTC, in unsigned 32-bit arithmetic. Fields are scanned with
// "%4d-%2d-%2dT%2d:%2d:%2d%3d:%2d"; fields that are missing or do not match count as 0 and
// nothing is reported (a trailing "Z" leaves the zone at 0). The zone is subtracted as hours and
// minutes, and the sign of the minutes comes from the hours field alone, so "-00:30" is taken as
// +00:30 (a kept quirk). The fields are read as local time with `mktime` and converted to UTC with
// the local offset in force *now*, not at the parsed date: across a daylight-saving change the
// result is an hour off. Out-of-range fields are normalised by `mktime` (month 13 is January of the
// next year). Never throws.
[[nodiscard]] NUBASE_API unsigned int time_in_seconds(const std::string& a_iso) noexcept;

// `ctime` of the value without its newline, 24 characters in the local time zone:
// "Wed Jun 30 21:49:08 1993". Empty if the C library cannot express the date.
[[nodiscard]] NUBASE_API std::string time_string(unsigned int a_seconds);

// Text HH:MM:SS.sss of a duration in seconds: hours = (whole seconds) / 3600, not wrapped;
// minutes; seconds with three decimals ("01:02:05.500", "00:00:05.250"). The leading zero of a
// seconds value below 10 is a literal, so a value in [9.9995, 10) prints as "010.000" (kept).
// Negative values and NaN are taken as 0, values beyond 2^64 seconds as 2^64 - 1 seconds.
[[nodiscard]] NUBASE_API std::string seconds_to_HHMMSS_string(double a_seconds);

// The current local date and time: year (e.g. 2026), month 1..12, day of month 1..31, hour,
// minute, second; each written only where its pointer is not null. Never throws.
NUBASE_API void time_get_date_variables(unsigned int* a_year, unsigned int* a_month,
                                        unsigned int* a_day, unsigned int* a_hour,
                                        unsigned int* a_minute, unsigned int* a_second) noexcept;

// `strftime` of the current local time with `format` into an array of `size` bytes (the
// terminating NUL included); returns the text. Empty when the text does not fit, when size is 0
// or format is null. Raises only std::bad_alloc, and frees its array on every path.
[[nodiscard]] NUBASE_API std::string get_strftime_output(const char* a_format,
                                                         unsigned long a_size);

// Sleep the calling thread (`usleep`; an interrupting signal ends the sleep early, and the
// result is ignored). The double form sleeps s x 10^6 microseconds truncated to an integer, where
// a negative value or NaN sleeps 0 and a value above 4294.967295 s sleeps that long. The unsigned
// form multiplies in 32 bits, so seconds above 4294 wrap (kept).
NUBASE_API void sleep_seconds(double a_seconds) noexcept;
NUBASE_API void sleep_seconds(unsigned int a_seconds) noexcept;
NUBASE_API void sleep_milliseconds(unsigned int a_milliseconds) noexcept;
NUBASE_API void sleep_microseconds(unsigned int a_microseconds) noexcept;

// A count-down alarm in whole wall-clock seconds. It never rings by itself: its owner asks
// `is_ringing()`.
//
//   egg_clock tea(180);
//   tea.activate();
//   while (!tea.is_ringing()) poll_other_work();
class NUBASE_API egg_clock {
  public:
    // Inactive, not ringing, start 0, the given duration in seconds.
    explicit egg_clock(unsigned int a_duration) noexcept
        : m_active(false), m_ringing(false), m_start(0), m_duration(a_duration) {}

    // Starts the count-down from now and returns true; a duration of 0 cannot be started
    // (returns false, nothing changes). A forced ring (`ring`) is not cleared.
    bool activate() noexcept;
    // Stops the count-down and silences the clock.
    void deactivate() noexcept {
        m_active = false;
        m_ringing = false;
    }
    // Replaces the duration; a running count-down keeps its start.
    void set_time(unsigned int a_duration) noexcept { m_duration = a_duration; }
    // Makes the clock ring at once, active or not, until `deactivate`.
    void ring() noexcept { m_ringing = true; }
    // True when forced to ring; otherwise, when active, true once strictly more seconds than the
    // duration have passed since `activate` (duration 5 started at t rings from t + 6 on).
    // The elapsed time is computed in unsigned 32-bit seconds.
    bool is_ringing() const noexcept;
    bool is_active() const noexcept { return m_active; }
    // The duration in seconds.
    unsigned int time() const noexcept { return m_duration; }

  private:
    bool m_active;
    bool m_ringing;
    unsigned int m_start;
    unsigned int m_duration;
};

}  // namespace nubase

#endif  // NUBASE_TIMESTAMP_HPP
