// System queries on Linux: executable, kernel and host, processor frequency, memory, processor
// load, environment variables, file systems and shell commands.
#include <sys/statfs.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "nubase/env.hpp"
#include "nubase/path.hpp"
#include "posix/procfs.hpp"
#include "posix/sys_error.hpp"

namespace nubase {
namespace env {

namespace {
constexpr char k_source[] = "lib/nubase/src/utility";

// The release names, indexed by `os_version`.
constexpr const char* k_os_names[] = {
    "unknown",
    "Windows",
    "Windows 32s",
    "Windows 95",
    "Windows 95r2",
    "Windows 98",
    "Windows 98 SE",
    "Windows Millenium",
    "Windows NT 3.5",
    "Windows NT 4.0",
    "Windows NT 4.0 Server",
    "Windows 2000",
    "Windows XP",
    "Windows XP Professional 64",
    "Windows Homeserver",
    "Windows Server 2003",
    "Windows Server 2003r2",
    "Windows Vista",
    "Windows Server 2008",
    "Windows Server 2008r2",
    "Windows 7",
    "Windows Server 2012",
    "Windows 8",
    "OS X",
    "OS X Panther",
    "OS X Tiger",
    "OS X Leopard",
    "OS X Snow Leopard",
    "OS X Lion",
    "OS X Mountain Lion",
};
static_assert(sizeof k_os_names / sizeof k_os_names[0] ==
                  static_cast<std::size_t>(os_version::osx_mountain_lion) + 1,
              "one name per release");

constexpr unsigned int k_default_io_size = 0x100000;

// The leading unsigned number of `a_text` (after blanks), 0 when there is none.
unsigned long long leading_number(const std::string& a_text) {
    return std::strtoull(a_text.c_str(), nullptr, 10);
}
}  // namespace

std::string get_executable() {
    std::vector<char> l_path(2048);
    for (;;) {
        const ssize_t l_size = ::readlink("/proc/self/exe", l_path.data(), l_path.size());
        if (l_size < 0) return std::string();
        if (static_cast<std::size_t>(l_size) < l_path.size())
            return std::string(l_path.data(), static_cast<std::size_t>(l_size));
        l_path.resize(l_path.size() * 2);  // possibly cut: try again with more room
    }
}

std::string get_executable_path() {
    return path_directory(get_executable(), '/', 0);
}

std::string get_isa() {
    return "x86";
}

std::string get_kernel_name() {
    struct utsname l_name;
    return ::uname(&l_name) == 0 ? std::string(l_name.sysname) : std::string();
}

std::string get_kernel_version() {
    struct utsname l_name;
    return ::uname(&l_name) == 0 ? std::string(l_name.release) : std::string();
}

std::string get_host_name() {
    char l_name[256];
    if (::gethostname(l_name, sizeof l_name) != 0) return std::string();
    l_name[sizeof l_name - 1] = '\0';
    return l_name;
}

os_version get_os_version() {
    return os_version::unknown;
}

const char* get_os_version_string(os_version a_version) noexcept {
    const auto l_index = static_cast<unsigned>(a_version);
    return l_index < sizeof k_os_names / sizeof k_os_names[0] ? k_os_names[l_index] : "Unknown";
}

int get_pid() noexcept {
    return static_cast<int>(::getpid());
}

int get_num_cpus() noexcept {
    const long l_count = ::sysconf(_SC_NPROCESSORS_CONF);
    return l_count > 0 ? static_cast<int>(l_count) : 0;
}

unsigned long long get_cpu_frequency_Mhz() {
    std::string l_text;
    if (sys::read_text_file("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq", l_text)) {
        const unsigned long long l_khz = leading_number(l_text);
        if (l_khz != 0) return l_khz / 1000;
    }
    std::string l_mhz;
    if (sys::read_text_file("/proc/cpuinfo", l_text) && sys::find_field(l_text, "cpu MHz", l_mhz))
        return leading_number(l_mhz);
    return 0;
}

unsigned int get_mem_size_MiB() noexcept {
    const long l_pages = ::sysconf(_SC_PHYS_PAGES);
    const long l_page_size = ::sysconf(_SC_PAGESIZE);
    if (l_pages <= 0 || l_page_size <= 0) return 0;
    return static_cast<unsigned int>(static_cast<unsigned long long>(l_pages) *
                                         static_cast<unsigned long long>(l_page_size) >>
                                     20);
}

unsigned int get_avail_mem_MiB() {
    std::string l_text;
    if (!sys::read_text_file("/proc/meminfo", l_text)) {
        const std::string l_reason = sys::error_text(errno);
        sys::raise_call(k_source, 1657, "Failed to get memory information from OS (%s)",
                        l_reason.c_str());
    }
    // Values are in KiB.
    std::string l_value;
    unsigned long long l_kib = 0;
    if (sys::find_field(l_text, "MemAvailable", l_value)) {
        l_kib = leading_number(l_value);
    } else {
        if (sys::find_field(l_text, "MemFree", l_value)) l_kib += leading_number(l_value);
        if (sys::find_field(l_text, "Inactive", l_value)) l_kib += leading_number(l_value);
    }
    return static_cast<unsigned int>(l_kib >> 10);
}

double get_cpu_utilization() {
    // The previous sample, shared by every caller.
    static std::atomic<unsigned long long> l_last_user{0}, l_last_system{0}, l_last_idle{0};

    std::string l_text;
    unsigned long long l_user = 0, l_nice = 0, l_system = 0, l_idle = 0;
    if (!sys::read_text_file("/proc/stat", l_text) ||
        std::sscanf(l_text.c_str(), "cpu %llu %llu %llu %llu", &l_user, &l_nice, &l_system,
                    &l_idle) != 4) {
        const std::string l_reason = sys::error_text(errno);
        sys::raise_call(k_source, 1708, "Failed to get cpu utilization information from OS(%s)",
                        l_reason.c_str());
    }
    const double l_user_delta = static_cast<double>(l_user - l_last_user.exchange(l_user));
    const double l_system_delta = static_cast<double>(l_system - l_last_system.exchange(l_system));
    const double l_idle_delta = static_cast<double>(l_idle - l_last_idle.exchange(l_idle));
    const double l_busy = l_user_delta + l_system_delta;
    return l_busy / (l_busy + l_idle_delta);
}

std::string get_user_name() {
    const char* l_user = std::getenv("USER");
    return l_user ? std::string(l_user) : std::string("Unknown");
}

std::string get_default_tmp_path() {
    return "/tmp";
}

std::pair<bool, std::string> get_environment_variable(const std::string& a_name) {
    const char* l_value = std::getenv(a_name.c_str());
    if (l_value == nullptr) return {false, std::string()};
    return {true, std::string(l_value)};
}

std::string get_last_os_error() {
    return sys::error_text(errno);
}

unsigned int get_optimal_io_size(const std::string& a_path) {
    struct statfs l_fs;
    if (::statfs(a_path.c_str(), &l_fs) != 0 || l_fs.f_bsize <= 0) return k_default_io_size;
    return static_cast<unsigned int>(l_fs.f_bsize);
}

bool has_local_non_native_access(const std::string& a_path) {
    struct statfs l_root;
    if (::statfs("/", &l_root) != 0) {
        const std::string l_reason = sys::error_text(errno);
        sys::raise_call(k_source, 1911, "Failed to statfs 'native' path '%s' ('%s')", "/",
                        l_reason.c_str());
    }
    struct statfs l_fs;
    if (::statfs(a_path.c_str(), &l_fs) != 0) return false;
    return l_fs.f_type != l_root.f_type;
}

int execute_command(const std::string& a_command, std::string& a_output) {
    // "e": the pipe is not inherited by children other threads start meanwhile.
    FILE* l_pipe = ::popen(a_command.c_str(), "re");
    if (l_pipe == nullptr) return -1;
    char l_piece[1024];
    std::size_t l_count;
    while ((l_count = std::fread(l_piece, 1, sizeof l_piece, l_pipe)) != 0)
        a_output.append(l_piece, l_count);
    return ::pclose(l_pipe);
}

}  // namespace env
}  // namespace nubase
