// User and group look-ups through the reentrant password and group database calls.
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "nubase/env.hpp"
#include "posix/sys_error.hpp"

namespace nubase {

namespace {
constexpr char k_source[] = "lib/nubase/src/darwin/user";

// Runs one reentrant look-up, growing its scratch buffer while the entry does not fit. Returns
// the entry, or null when there is none (or the look-up failed).
template <class Entry, class Lookup>
const Entry* look_up(Entry& a_entry, std::vector<char>& a_buffer, Lookup a_lookup) {
    const long l_hint = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    a_buffer.resize(l_hint > 0 ? static_cast<std::size_t>(l_hint) : 16384);
    Entry* l_found = nullptr;
    errno = 0;
    int l_err;
    while ((l_err = a_lookup(&a_entry, a_buffer.data(), a_buffer.size(), &l_found)) == ERANGE &&
           a_buffer.size() < (1u << 24))
        a_buffer.resize(a_buffer.size() * 2);
    return l_err == 0 ? l_found : nullptr;
}
}  // namespace

int uid_with_name(const char* a_name) {
    if (a_name == nullptr) return -1;
    passwd l_entry;
    std::vector<char> l_buffer;
    const passwd* l_found = look_up(
        l_entry, l_buffer,
        [&](passwd* e, char* b, size_t n, passwd** r) { return ::getpwnam_r(a_name, e, b, n, r); });
    if (l_found == nullptr) sys::raise_call(k_source, 30, "getpwnam failed");
    return static_cast<int>(l_found->pw_uid);
}

std::string name_with_uid(int a_uid) {
    passwd l_entry;
    std::vector<char> l_buffer;
    const passwd* l_found =
        look_up(l_entry, l_buffer, [&](passwd* e, char* b, size_t n, passwd** r) {
            return ::getpwuid_r(static_cast<uid_t>(a_uid), e, b, n, r);
        });
    if (l_found == nullptr) sys::raise_call(k_source, 45, "getpwuid failed");
    return l_found->pw_name;
}

int gid_with_name(const char* a_name) {
    if (a_name == nullptr) return -1;
    group l_entry;
    std::vector<char> l_buffer;
    const group* l_found = look_up(l_entry, l_buffer, [&](group* e, char* b, size_t n, group** r) {
        return ::getgrnam_r(a_name, e, b, n, r);
    });
    if (l_found == nullptr) sys::raise_call(k_source, 63, "getgrnam failed");
    return static_cast<int>(l_found->gr_gid);
}

std::string name_with_gid(int a_gid) {
    group l_entry;
    std::vector<char> l_buffer;
    const group* l_found = look_up(l_entry, l_buffer, [&](group* e, char* b, size_t n, group** r) {
        return ::getgrgid_r(static_cast<gid_t>(a_gid), e, b, n, r);
    });
    if (l_found == nullptr) sys::raise_call(k_source, 78, "getgrgid failed");
    return l_found->gr_name;
}

}  // namespace nubase
