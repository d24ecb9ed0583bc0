// Timestamps, calendar text, sleeping and the egg clock. The monotonic clock pair lives in
// posix/clock.cpp.
#include "nubase/timestamp.hpp"

#include <sys/time.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>
#include <memory>

#include "raise.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/timestamp";

constexpr unsigned long long k_nanoseconds_per_second = 1000000000ULL;
constexpr unsigned long long k_microseconds_per_second = 1000000ULL;
constexpr unsigned long long k_ntp_rate = 1ULL << 32;

// Wide enough for any 64-bit x 64-bit product.
__extension__ typedef unsigned __int128 wide_t;

// ((ticks mod rate) x unit + rate / 2) / rate without overflow: the sub-second part of a
// timestamp in `unit`ths of a second, rounded to nearest and not carried into the seconds.
unsigned long long rounded_part(unsigned long long a_ticks, unsigned long long a_rate,
                                unsigned long long a_unit) noexcept {
    const wide_t scaled = static_cast<wide_t>(a_ticks % a_rate) * a_unit + a_rate / 2;
    return static_cast<unsigned long long>(scaled / a_rate);
}

unsigned long long gcd(unsigned long long a_lhs, unsigned long long a_rhs) noexcept {
    while (a_rhs != 0) {
        const unsigned long long rest = a_lhs % a_rhs;
        a_lhs = a_rhs;
        a_rhs = rest;
    }
    return a_lhs;
}

// Decimal digits of n; 0 has none, so that a fraction of units 1 is printed unpadded.
int decimal_digits(unsigned int a_value) noexcept {
    int digits = 0;
    for (; a_value != 0; a_value /= 10)
        ++digits;
    return digits;
}

// A double of seconds as whole units for usleep and the duration text, without the undefined
// conversion of a negative, NaN or out-of-range value: those give 0 or the maximum.
template <class Int>
Int saturated(double a_value) noexcept {
    if (!(a_value > 0)) return 0;  // also NaN
    constexpr double k_limit = static_cast<double>(std::numeric_limits<Int>::max());
    if (a_value >= k_limit) return std::numeric_limits<Int>::max();
    return static_cast<Int>(a_value);
}

}  // namespace

unsigned long long timestamp::as_ntptime() const noexcept {
    const unsigned long long seconds = (m_ticks / m_rate) & 0xFFFFFFFFULL;
    const unsigned long long remainder = (m_ticks % m_rate) & 0xFFFFFFFFULL;
    const unsigned long long fraction = ((remainder << 32) + m_rate / 2) / m_rate;
    // The rounding carry lands in bit 32 of the fraction and is OR-ed, not added, into the seconds.
    return ((seconds | (fraction >> 32)) << 32) | (fraction & 0xFFFFFFFFULL);
}

timespec timestamp::as_timespec() const noexcept {
    timespec ts{};
    ts.tv_sec = static_cast<time_t>(m_ticks / m_rate);
    ts.tv_nsec = static_cast<long>(rounded_part(m_ticks, m_rate, k_nanoseconds_per_second));
    return ts;
}

timeval timestamp::as_timeval() const noexcept {
    timeval tv{};
    tv.tv_sec = static_cast<time_t>(m_ticks / m_rate);
    tv.tv_usec = static_cast<suseconds_t>(rounded_part(m_ticks, m_rate, k_microseconds_per_second));
    return tv;
}

timestamp operator+(const timestamp& a_lhs, const timestamp& a_rhs) noexcept {
    const unsigned long long g = gcd(a_lhs.rate(), a_rhs.rate());
    if (g == 0) return timestamp(a_lhs.ticks() + a_rhs.ticks(), 0);
    const unsigned long long lhs_scale = a_rhs.rate() / g;
    const unsigned long long rhs_scale = a_lhs.rate() / g;
    return timestamp(a_lhs.ticks() * lhs_scale + a_rhs.ticks() * rhs_scale,
                     a_rhs.rate() * rhs_scale);
}

timestamp timestamp_with_ntptime(unsigned long long a_ntp) noexcept {
    return timestamp(a_ntp, k_ntp_rate);
}

timestamp timestamp_with_timespec(const timespec& a_ts) noexcept {
    const auto seconds = static_cast<unsigned long long>(static_cast<long long>(a_ts.tv_sec));
    const auto nanoseconds = static_cast<unsigned long long>(static_cast<long long>(a_ts.tv_nsec));
    return timestamp(seconds * k_nanoseconds_per_second + nanoseconds, k_nanoseconds_per_second);
}

timestamp timestamp_with_timeval(const timeval& a_tv) noexcept {
    const auto seconds = static_cast<unsigned long long>(static_cast<long long>(a_tv.tv_sec));
    const auto microseconds = static_cast<unsigned long long>(static_cast<long long>(a_tv.tv_usec));
    return timestamp(seconds * k_microseconds_per_second + microseconds, k_microseconds_per_second);
}

timestamp timestamp_with_utc(unsigned int a_seconds, unsigned int a_microseconds) {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0) NUBASE_RAISE_AT(133, call, "gettimeofday failed");
    const auto seconds =
        static_cast<unsigned long long>(static_cast<long long>(now.tv_sec)) + a_seconds;
    const auto microseconds =
        static_cast<unsigned long long>(static_cast<long long>(now.tv_usec)) + a_microseconds;
    return timestamp(seconds * k_microseconds_per_second + microseconds, k_microseconds_per_second);
}

std::string string_with_timestamp(const timestamp& a_ts, unsigned int a_units) {
    const bool with_fraction = a_units != 0;
    const unsigned int units = with_fraction ? a_units : 1;
    const unsigned long long total = (a_ts.ticks() * units + a_ts.rate() / 2) / a_ts.rate();
    const unsigned long long whole = total / units;
    const auto minutes = static_cast<unsigned int>((whole / 60) % 60);
    const auto seconds = static_cast<unsigned int>(whole % 60);
    char text[64];
    int length;
    if (with_fraction) {
        length = std::snprintf(text, sizeof text, "%02llu:%02u:%02u:%0*u", whole / 3600, minutes,
                               seconds, decimal_digits(units - 1),
                               static_cast<unsigned int>(total % units));
    } else {
        length =
            std::snprintf(text, sizeof text, "%02llu:%02u:%02u", whole / 3600, minutes, seconds);
    }
    return std::string(text, static_cast<std::size_t>(length));
}

unsigned int time_in_seconds() noexcept {
    return static_cast<unsigned int>(std::time(nullptr));
}

unsigned int time_in_seconds(const std::string& a_iso) noexcept {
    std::tm parsed{};
    int year = 0, month = 0, zone_hours = 0, zone_minutes = 0;
    std::sscanf(a_iso.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%3d:%2d", &year, &month, &parsed.tm_mday,
                &parsed.tm_hour, &parsed.tm_min, &parsed.tm_sec, &zone_hours, &zone_minutes);
    parsed.tm_year = year - 1900;
    parsed.tm_mon = month - 1;
    parsed.tm_isdst = -1;
    parsed.tm_hour -= zone_hours;
    // The sign of the whole offset is taken from its hours field.
    parsed.tm_min -= (zone_hours < 0 ? -1 : 1) * zone_minutes;

    const std::time_t now = std::time(nullptr);
    std::tm local{}, utc{};
    localtime_r(&now, &local);
    gmtime_r(&now, &utc);
    // mktime reads every tm as local time; the difference of the two copies of now is the local
    // offset from UTC, which turns the parsed local reading into UTC.
    const auto as_local = static_cast<unsigned int>(std::mktime(&parsed));
    const auto local_now = static_cast<unsigned int>(std::mktime(&local));
    const auto utc_now = static_cast<unsigned int>(std::mktime(&utc));
    return as_local + local_now - utc_now;
}

std::string time_string(unsigned int a_seconds) {
    const std::time_t value = a_seconds;
    char text[64];
    if (ctime_r(&value, text) == nullptr) return std::string();
    return std::string(text, 24);
}

std::string seconds_to_HHMMSS_string(double a_seconds) {
    if (!(a_seconds > 0)) a_seconds = 0;  // also NaN
    const unsigned long long hours = saturated<unsigned long long>(a_seconds) / 3600;
    const double rest = a_seconds - static_cast<double>(hours) * 3600;
    const unsigned long long minutes = saturated<unsigned long long>(rest) / 60;
    const double seconds = rest - static_cast<double>(minutes) * 60;
    const char* format = seconds < 10.0 ? "%02u:%02u:0%2.3f" : "%02u:%02u:%2.3f";
    char text[400];  // room for the seconds of a huge value in fixed notation
    const int length = std::snprintf(text, sizeof text, format, static_cast<unsigned int>(hours),
                                     static_cast<unsigned int>(minutes), seconds);
    return std::string(text, static_cast<std::size_t>(length));
}

void time_get_date_variables(unsigned int* a_year, unsigned int* a_month, unsigned int* a_day,
                             unsigned int* a_hour, unsigned int* a_minute,
                             unsigned int* a_second) noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    if (a_year) *a_year = static_cast<unsigned int>(1900 + local.tm_year);
    if (a_month) *a_month = static_cast<unsigned int>(local.tm_mon + 1);
    if (a_day) *a_day = static_cast<unsigned int>(local.tm_mday);
    if (a_hour) *a_hour = static_cast<unsigned int>(local.tm_hour);
    if (a_minute) *a_minute = static_cast<unsigned int>(local.tm_min);
    if (a_second) *a_second = static_cast<unsigned int>(local.tm_sec);
}

std::string get_strftime_output(const char* a_format, unsigned long a_size) {
    if (a_format == nullptr || a_size == 0) return std::string();
    const std::unique_ptr<char[]> text(new char[a_size]);
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    // strftime returns 0 both for an empty result and for one that did not fit; the array's
    // contents are unspecified in the second case, so both give the empty string.
    const std::size_t length = std::strftime(text.get(), a_size, a_format, &local);
    return std::string(text.get(), length);
}

void sleep_seconds(double a_seconds) noexcept {
    ::usleep(saturated<useconds_t>(a_seconds * 1000000.0));
}

void sleep_seconds(unsigned int a_seconds) noexcept {
    ::usleep(a_seconds * 1000000u);
}

void sleep_milliseconds(unsigned int a_milliseconds) noexcept {
    ::usleep(a_milliseconds * 1000u);
}

void sleep_microseconds(unsigned int a_microseconds) noexcept {
    ::usleep(a_microseconds);
}

bool egg_clock::activate() noexcept {
    if (m_duration == 0) return false;
    m_active = true;
    m_start = static_cast<unsigned int>(std::time(nullptr));
    return true;
}

bool egg_clock::is_ringing() const noexcept {
    if (m_ringing) return true;
    if (!m_active) return false;
    const auto now = static_cast<unsigned int>(std::time(nullptr));
    return m_duration < now - m_start;
}

}  // namespace nubase
