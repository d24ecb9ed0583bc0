// The processor description, read once when the library is loaded.
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "nubase/env.hpp"
#include "posix/procfs.hpp"

namespace nubase {

// Family number, feature text and processors configured. The feature text starts with a blank
// and has a blank after every name, so a whole name is found as " <name> ".
struct cpuinfo_data {
    int type = 0;
    std::string features = " ";
    int present = 0;

    cpuinfo_data() {
        std::string l_text, l_value;
        if (sys::read_text_file("/proc/cpuinfo", l_text)) {
            if (sys::find_field(l_text, "cpu family", l_value))
                type = static_cast<int>(std::strtol(l_value.c_str(), nullptr, 10));
            // x86 lists "flags"; other processors name the line "Features".
            if (sys::find_field(l_text, "flags", l_value) ||
                sys::find_field(l_text, "Features", l_value)) {
                for (char l_c : l_value) {
                    if (l_c == ' ' || l_c == '\t') {
                        if (features.back() != ' ') features += ' ';
                    } else {
                        features +=
                            static_cast<char>(l_c >= 'A' && l_c <= 'Z' ? l_c - 'A' + 'a' : l_c);
                    }
                }
                if (features.back() != ' ') features += ' ';
            }
        }
        const long l_count = ::sysconf(_SC_NPROCESSORS_CONF);
        present = l_count > 0 ? static_cast<int>(l_count) : 0;
    }
};

namespace {
const cpuinfo_data g_cpuinfo;
}  // namespace

cpuinfo::cpuinfo() noexcept : m_info(&g_cpuinfo) {}

int cpuinfo::type() const noexcept {
    return m_info->type;
}

std::string cpuinfo::isa() const {
    return "x86";
}

int cpuinfo::present() const noexcept {
    return m_info->present;
}

int cpuinfo::active() const noexcept {
    const long l_count = ::sysconf(_SC_NPROCESSORS_ONLN);
    return l_count > 0 ? static_cast<int>(l_count) : 1;
}

std::string cpuinfo::flags() const {
    return m_info->features.substr(1);
}

bool cpuinfo::flag(const std::string& a_name) const {
    std::string l_word;
    l_word.reserve(a_name.size() + 2);
    l_word += ' ';
    l_word += a_name;
    l_word += ' ';
    return m_info->features.find(l_word) != std::string::npos;
}

}  // namespace nubase
