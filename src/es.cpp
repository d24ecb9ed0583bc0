// The exception family and the severity names.
#include "nubase/es.hpp"

#include <cstdio>

namespace nubase {

const char* cstr_with_severity(severity a_severity) noexcept {
    static const char* const k_names[] = {"fatal",   "alert",  "critical", "error",
                                          "warning", "notice", "info",     "debug"};
    const auto l_index = static_cast<unsigned>(a_severity);
    return l_index < sizeof k_names / sizeof k_names[0] ? k_names[l_index] : "UNKNOWN";
}

namespace es {

base::base(const char* a_file, unsigned a_line, const char* a_msg)
    : m_file(a_file ? a_file : ""), m_line(a_line), m_message(a_msg ? a_msg : "n/a") {}

base::base(const char* a_file, unsigned a_line, const std::string& a_msg)
    : m_file(a_file ? a_file : ""), m_line(a_line), m_message(a_msg) {}

base::~base() = default;

const char* base::what() const noexcept {
    return m_message.c_str();
}
const char* base::file() const noexcept {
    return m_file.c_str();
}
unsigned base::line() const noexcept {
    return m_line;
}
const char* base::msg() const noexcept {
    return what();
}

api_code::api_code(const char* a_file, unsigned a_line, long long a_code, const std::string& a_msg)
    : base(a_file, a_line, a_msg), m_code(a_code) {}

api_code::~api_code() = default;

void api_code::raise(const char* a_file, unsigned a_line, long long a_code,
                     const std::string& a_msg) {
    throw api_code(a_file, a_line, a_code, a_msg);
}

file::file(const char* a_file, unsigned a_line, const std::string& a_reason,
           const std::string& a_action, const std::string& a_subject)
    : base(a_file, a_line, ""), m_reason(a_reason), m_action(a_action), m_subject(a_subject) {}

file::file(const file&) = default;
file& file::operator=(const file&) = default;
file::~file() = default;

const char* file::what() const noexcept {
    try {
        m_formatted.clear();
        m_formatted.append("Failed to ").append(m_action).append(" file ").append(m_subject);
        m_formatted.append(" (").append(m_reason).append(")");
    } catch (...) {
        // Out of memory while formatting: show what could be kept rather than throw from what().
    }
    return m_formatted.c_str();
}

void file::raise(const char* a_file, unsigned a_line, const std::string& a_reason,
                 const std::string& a_action) {
    throw file(a_file, a_line, a_reason, a_action);
}

void file::raise(const char* a_file, unsigned a_line, const std::string& a_reason,
                 const std::string& a_action, const std::string& a_subject) {
    throw file(a_file, a_line, a_reason, a_action, a_subject);
}

call::call(const char* a_file, unsigned a_line, const char* a_msg) : base(a_file, a_line, a_msg) {}
call::~call() = default;

void call::raise(const char* a_file, unsigned a_line, const char* a_msg) {
    throw call(a_file, a_line, a_msg);
}

void call::raise(int a_err, const char* a_file, unsigned a_line, const char* a_msg) {
    char l_text[256];
    if (std::snprintf(l_text, sizeof l_text, "%s (err = %d)", a_msg ? a_msg : "n/a", a_err) < 0) {
        l_text[0] = '\0';
    }
    throw call(a_file, a_line, l_text);
}

#define NUBASE_ES_LEAF_DEFINE(name)                                            \
    name::name(const char* a_file, unsigned a_line, const char* a_msg)         \
        : base(a_file, a_line, a_msg) {}                                       \
    name::~name() = default;                                                   \
    void name::raise(const char* a_file, unsigned a_line, const char* a_msg) { \
        throw name(a_file, a_line, a_msg);                                     \
    }
NUBASE_ES_PLAIN_LEAVES(NUBASE_ES_LEAF_DEFINE)
#undef NUBASE_ES_LEAF_DEFINE

}  // namespace es
}  // namespace nubase
