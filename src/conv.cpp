// Number conversions, percentages, four-character codes, version order and random numbers.
#include "nubase/conv.hpp"

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace nubase {

namespace conv {

std::int32_t string_to_long(const char* a_text, int a_base) noexcept {
    if (a_text == nullptr) return 0;
    return static_cast<std::int32_t>(std::strtol(a_text, nullptr, a_base));
}

std::uint32_t string_to_ulong(const char* a_text, int a_base) noexcept {
    if (a_text == nullptr) return 0;
    return static_cast<std::uint32_t>(std::strtoul(a_text, nullptr, a_base));
}

std::int64_t string_to_longlong(const char* a_text, int a_base) noexcept {
    if (a_text == nullptr) return 0;
    return static_cast<std::int64_t>(std::strtoll(a_text, nullptr, a_base));
}

std::uint64_t string_to_ulonglong(const char* a_text, int a_base) noexcept {
    if (a_text == nullptr) return 0;
    return static_cast<std::uint64_t>(std::strtoull(a_text, nullptr, a_base));
}

float string_to_float(const char* a_text) noexcept {
    return a_text == nullptr ? 0.0f : std::strtof(a_text, nullptr);
}

double string_to_double(const char* a_text) noexcept {
    return a_text == nullptr ? 0.0 : std::strtod(a_text, nullptr);
}

const char* yes_no_c_str(bool a_value) noexcept {
    return a_value ? "yes" : "no";
}

const char* true_false_c_str(bool a_value) noexcept {
    return a_value ? "true" : "false";
}

namespace {

// Truncates a non-negative percentage toward zero, keeping NaN and overflow defined.
template <class Real>
int truncate_percent(Real a_percent) noexcept {
    if (std::isnan(a_percent)) return 0;
    if (a_percent >= static_cast<Real>(2147483648.0)) return INT_MAX;
    return static_cast<int>(a_percent);
}

}  // namespace

int float_to_percent(float a_fraction) noexcept {
    return truncate_percent(std::fabs(a_fraction) * 100.0f + 0.5f);
}

int double_to_percent(double a_fraction) noexcept {
    return truncate_percent(std::fabs(a_fraction) * 100.0 + 0.5);
}

std::uint32_t fourcc_with_string(const std::string& a_s) noexcept {
    std::uint32_t l_code = 0;
    for (std::size_t l_i = 0; l_i < 4; ++l_i) {
        const unsigned char l_byte = l_i < a_s.size() ? static_cast<unsigned char>(a_s[l_i]) : ' ';
        l_code = (l_code << 8) | l_byte;
    }
    return l_code;
}

}  // namespace conv

namespace version {

namespace {

constexpr bool is_c_space(char a_c) noexcept {
    return a_c == ' ' || (a_c >= '\t' && a_c <= '\r');
}

// strtoul(text, nullptr, 10) over [p, end), which holds no '.': white space, an optional sign,
// decimal digits; ULONG_MAX on overflow (also with a minus sign), 0 when no digit follows.
// Working on the field in place keeps the comparators free of allocation.
unsigned long decimal_field(const char* a_p, const char* a_end) noexcept {
    while (a_p < a_end && is_c_space(*a_p))
        ++a_p;
    bool l_negative = false;
    if (a_p < a_end && (*a_p == '+' || *a_p == '-')) {
        l_negative = *a_p == '-';
        ++a_p;
    }
    constexpr unsigned long k_max = std::numeric_limits<unsigned long>::max();
    unsigned long l_value = 0;
    bool l_overflow = false;
    for (; a_p < a_end && *a_p >= '0' && *a_p <= '9'; ++a_p) {
        const unsigned l_digit = static_cast<unsigned>(*a_p - '0');
        if (l_value > (k_max - l_digit) / 10) l_overflow = true;
        l_value = l_value * 10 + l_digit;
    }
    if (l_overflow) return k_max;
    return l_negative ? 0UL - l_value : l_value;
}

}  // namespace

std::uint32_t value(const std::string& a_version) noexcept {
    const char* l_p = a_version.data();
    const char* const l_end = l_p + a_version.size();
    std::uint32_t l_packed = 0;
    for (int l_field = 0; l_field < 4; ++l_field) {
        const char* l_dot = l_p;
        while (l_dot < l_end && *l_dot != '.')
            ++l_dot;
        // The shift is done in the full width; only the low 32 bits are kept, so a field above
        // 255 spills into the fields to its left.
        const unsigned long l_number = decimal_field(l_p, l_dot);
        l_packed |= static_cast<std::uint32_t>(l_number << (24 - 8 * l_field));
        if (l_dot == l_end) break;
        l_p = l_dot + 1;
    }
    return l_packed;
}

bool less::operator()(const std::string& a_a, const std::string& a_b) const noexcept {
    return value(a_a) > value(a_b);
}

bool greater::operator()(const std::string& a_a, const std::string& a_b) const noexcept {
    return value(a_a) < value(a_b);
}

}  // namespace version

namespace math {

float float_epsilon() noexcept {
    return FLT_EPSILON;
}

int rand_max() noexcept {
    return 2147483647;
}

void rand_seed(unsigned a_seed) noexcept {
    std::srand(a_seed);
}

void rand_seed() noexcept {
    std::srand(static_cast<unsigned>(std::time(nullptr)));
}

int rand_int(int a_low, int a_high) noexcept {
    const long long l_span = std::llabs(static_cast<long long>(a_high) - a_low + 1);
    if (l_span == 0) return a_low;
    return static_cast<int>(a_low + std::rand() % l_span);
}

float rand_float(float a_low, float a_high) noexcept {
    return static_cast<float>(std::rand()) * 4.656613e-10f * std::fabs(a_high - a_low) + a_low;
}

}  // namespace math
}  // namespace nubase
