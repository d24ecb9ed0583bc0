// nubase/env.hpp - queries of the running system.
//
// Free functions in `nubase::env` that answer questions about the process and its user. Each is
// a direct platform call; what this header documents is the fallback taken when the first
// source has no answer, and the `es::call` raised when no source has one. Every raise carries
// the source name "lib/nubase/src/utility", the line given below and the message quoted.
//
//   std::string l_cwd = nubase::env::get_current_working_directory_path();  // "/home/ann/clips"
//   std::string l_home = nubase::env::get_user_home_path();                 // "/home/ann"
//
// The other system queries (executable, processor, memory, host names, environment variables)
// follow the same pattern of fallback and documented raise.
#ifndef NUBASE_ENV_HPP
#define NUBASE_ENV_HPP

#include <string>
#include <utility>

#include "nubase/config.hpp"

namespace nubase {
namespace env {

// The absolute path of the current working directory, without a trailing '/' (except for "/"
// itself). Directories of any depth are returned: the first attempt uses a 2048-byte buffer and
// a longer path is retried with a larger one (returned rather than raised: a deliberate,
// safer choice than failing on a deep directory).
// Raises es::call "getcwd() failed: <text>" (line 1343) when the directory cannot be read (it
// was removed, or a component is unreadable). <text> is what the look-up left in its buffer,
// usually nothing, not the system's error text.
[[nodiscard]] NUBASE_API std::string get_current_working_directory_path();

// The user's home directory: the environment variable "HOME" when it is set (even to the empty
// text), else the home directory of the process's real user in the password database.
// Raises es::call "Unable to locate user home path " (with the trailing blank; line 1804) when
// "HOME" is unset and the user has no database entry.
[[nodiscard]] NUBASE_API std::string get_user_home_path();

// ---------------------------------------------------------------------------------------------
// The running system: executable, kernel, host, processor, memory, load, environment variables,
// file systems and shell commands. On Linux the answers come from `/proc`, `uname`, `sysconf` and
// `statfs`; results and units are the same on every platform.

// Operating-system releases, in the order of their numeric values (0 to 29). Linux has no entry
// in this table: `get_os_version()` gives `unknown` there.
enum class os_version : int {
    unknown,
    windows,
    windows_32s,
    windows_95,
    windows_95r2,
    windows_98,
    windows_98se,
    windows_me,
    windows_nt35,
    windows_nt40,
    windows_nt40_server,
    windows_2000,
    windows_xp,
    windows_xp_pro64,
    windows_homeserver,
    windows_server2003,
    windows_server2003r2,
    windows_vista,
    windows_server2008,
    windows_server2008r2,
    windows_7,
    windows_server2012,
    windows_8,
    osx,
    osx_panther,
    osx_tiger,
    osx_leopard,
    osx_snow_leopard,
    osx_lion,
    osx_mountain_lion,
};

// The absolute path of the running executable (the target of "/proc/self/exe"); "" when it
// cannot be read.
[[nodiscard]] NUBASE_API std::string get_executable();
// The directory part of `get_executable()`, with its trailing '/': "/usr/bin/".
[[nodiscard]] NUBASE_API std::string get_executable_path();
// The processor family name: always "x86".
[[nodiscard]] NUBASE_API std::string get_isa();
// The kernel's name ("Linux") and release ("6.1.0-13-amd64") from `uname`; "" on failure.
[[nodiscard]] NUBASE_API std::string get_kernel_name();
[[nodiscard]] NUBASE_API std::string get_kernel_version();
// The host name (at most 255 bytes); "" on failure.
[[nodiscard]] NUBASE_API std::string get_host_name();
// The running release; always `os_version::unknown` on Linux, which has no entry in the table.
[[nodiscard]] NUBASE_API os_version get_os_version();
// The release's text: "unknown" for 0, "Windows Millenium" for 7 (spelling kept), ... "OS X
// Mountain Lion" for 29, and "Unknown" (capitalised) for any value outside 0..29.
[[nodiscard]] NUBASE_API const char* get_os_version_string(os_version a_version) noexcept;
// The process id.
[[nodiscard]] NUBASE_API int get_pid() noexcept;
// The number of processors configured; 0 if unknown.
[[nodiscard]] NUBASE_API int get_num_cpus() noexcept;
// The processor's nominal frequency in MHz (truncated): the highest frequency the kernel's
// frequency driver reports, else the "cpu MHz" of the first processor in "/proc/cpuinfo"; 0 if
// neither is known.
[[nodiscard]] NUBASE_API unsigned long long get_cpu_frequency_Mhz();
// The physical memory in MiB.
[[nodiscard]] NUBASE_API unsigned int get_mem_size_MiB() noexcept;
// The memory available to new work in MiB: "MemAvailable" of "/proc/meminfo", or free plus
// inactive memory on kernels without it. Raises es::call
// "Failed to get memory information from OS (<error text>)" (line 1657) when it cannot be read.
[[nodiscard]] NUBASE_API unsigned int get_avail_mem_MiB();
// The share of processor time spent in user and system mode since the previous call (since boot
// on the first): (Δuser + Δsystem) / (Δuser + Δsystem + Δidle) over the counters of the "cpu"
// line of "/proc/stat", nice time ignored. Two calls within one clock tick give 0 / 0 (NaN).
// The previous sample is process-wide: concurrent callers shorten each other's intervals (the
// values are exchanged atomically, so this is never a data race). Raises es::call
// "Failed to get cpu utilization information from OS(<error text>)" (no blank before the
// parenthesis; line 1708).
[[nodiscard]] NUBASE_API double get_cpu_utilization();
// The environment variable "USER", else "Unknown".
[[nodiscard]] NUBASE_API std::string get_user_name();
// Always "/tmp".
[[nodiscard]] NUBASE_API std::string get_default_tmp_path();
// (true, value) when the variable is set (also to the empty text), else (false, "").
[[nodiscard]] NUBASE_API std::pair<bool, std::string> get_environment_variable(
    const std::string& a_name);
// The system's text for the calling thread's current `errno`.
[[nodiscard]] NUBASE_API std::string get_last_os_error();
// The file system's preferred transfer size for `path` (`statfs` block size); 1048576 when the
// path cannot be examined.
[[nodiscard]] NUBASE_API unsigned int get_optimal_io_size(const std::string& a_path);
// Whether `path` lies on a file system of another kind than the root's ("/"): false when `path`
// cannot be examined. Raises es::call "Failed to statfs 'native' path '/' ('<error text>')"
// (line 1911) when the root cannot.
[[nodiscard]] NUBASE_API bool has_local_non_native_access(const std::string& a_path);
// Runs `command` through "/bin/sh -c", appends everything it writes to standard output to
// `output` and returns its wait status as `pclose` gives it (exit code 3 gives 768); -1 when the
// shell cannot be started. Standard input and standard error are the caller's.
NUBASE_API int execute_command(const std::string& a_command, std::string& a_output);

}  // namespace env

// ---------------------------------------------------------------------------------------------
// The processor, described once when the library is loaded (the static `g_cpuinfo`) from
// "/proc/cpuinfo" and `sysconf`. `cpuinfo` is a light handle to it; any number may exist.
//
//   if (nubase::cpuinfo().flag("avx2")) ...
struct cpuinfo_data;

class NUBASE_API cpuinfo {
  public:
    cpuinfo() noexcept;

    // The processor family number ("cpu family" of the first processor); 0 if unknown.
    [[nodiscard]] int type() const noexcept;
    // Always "x86".
    [[nodiscard]] std::string isa() const;
    // The processors configured; 0 if unknown.
    [[nodiscard]] int present() const noexcept;
    // The processors online now; 1 if unknown.
    [[nodiscard]] int active() const noexcept;
    // The feature names in lower case, each followed by one blank: "fpu vme de ... avx2 ";
    // "" when the system lists none.
    [[nodiscard]] std::string flags() const;
    // Whether `name` is one of the feature names, compared whole and exactly: with "sse2" listed,
    // "sse" and "SSE2" are not found. Callers pass lower case.
    [[nodiscard]] bool flag(const std::string& a_name) const;

  private:
    const cpuinfo_data* m_info;
};

// ---------------------------------------------------------------------------------------------
// Users and groups, through the thread-safe password and group database look-ups. Failures raise
// es::call with the source name "lib/nubase/src/darwin/user".

// The user id of `name`; -1 for a null name (nothing is looked up). Raises es::call
// "getpwnam failed" (line 30) when there is no such user.
[[nodiscard]] NUBASE_API int uid_with_name(const char* a_name);
// The name of user `uid`. Raises es::call "getpwuid failed" (line 45) when there is none.
[[nodiscard]] NUBASE_API std::string name_with_uid(int a_uid);
// The group id of `name`; -1 for a null name. Raises es::call "getgrnam failed" (line 63).
[[nodiscard]] NUBASE_API int gid_with_name(const char* a_name);
// The name of group `gid`. Raises es::call "getgrgid failed" (line 78).
[[nodiscard]] NUBASE_API std::string name_with_gid(int a_gid);
}  // namespace nubase

#endif  // NUBASE_ENV_HPP
