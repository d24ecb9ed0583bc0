// System queries on Linux: the working directory through getcwd, the home directory through
// the environment and the reentrant password-database look-up.
#include "nubase/env.hpp"

#include <errno.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "raise.hpp"

namespace nubase {
namespace {

constexpr char k_source[] = "lib/nubase/src/utility";

// The working directory fits this buffer in all but unusual cases; longer paths are retried.
constexpr std::size_t k_cwd_buffer = 2048;
// Upper bound for the grown buffers, far above any path the kernel returns (PATH_MAX is 4096).
constexpr std::size_t k_buffer_max = 1 << 20;

// The password-database buffer when the system gives no size hint.
constexpr std::size_t k_pw_buffer = 16384;

}  // namespace

namespace env {

std::string get_current_working_directory_path() {
    std::vector<char> l_buffer(k_cwd_buffer, '\0');
    for (;;) {
        if (getcwd(l_buffer.data(), l_buffer.size()) != nullptr) return l_buffer.data();
        if (errno != ERANGE || l_buffer.size() >= k_buffer_max) break;
        l_buffer.assign(l_buffer.size() * 2, '\0');
    }
    // The message carries what the failed call left in the buffer, read only up to its end.
    l_buffer.back() = '\0';
    const std::string l_message = std::string("getcwd() failed: ") + l_buffer.data();
    NUBASE_RAISE_AT(1343, call, l_message.c_str());
}

std::string get_user_home_path() {
    if (const char* l_home = std::getenv("HOME")) return l_home;

    const long l_hint = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> l_buffer(l_hint > 0 ? static_cast<std::size_t>(l_hint) : k_pw_buffer);
    passwd l_entry{};
    passwd* l_found = nullptr;
    int l_err;
    while ((l_err = getpwuid_r(getuid(), &l_entry, l_buffer.data(), l_buffer.size(), &l_found)) ==
               ERANGE &&
           l_buffer.size() < k_buffer_max) {
        l_buffer.resize(l_buffer.size() * 2);
    }
    if (l_err == 0 && l_found != nullptr && l_found->pw_dir != nullptr) return l_found->pw_dir;
    NUBASE_RAISE_AT(1804, call, "Unable to locate user home path ");
}

}  // namespace env
}  // namespace nubase
