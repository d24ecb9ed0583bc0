// Known answers for the Windows and UNC conversions of nubase/urlpath.hpp, worked by hand from
// the conversion rules in that header, and the scoped environment the tests of typed names use
// (they read "HOME" and the working directory).
#ifndef NUBASE_TESTS_VECTORS_PATH_HPP
#define NUBASE_TESTS_VECTORS_PATH_HPP

#include <stdlib.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

namespace nubase_vectors {
namespace path {

// A Windows path, its URL path and back: windows_path_to_url_path(windows) is url_path, and
// url_path_to_windows_path(url_path) is windows again.
struct windows_url_path {
    const char* windows;
    const char* url_path;
};
constexpr windows_url_path k_windows_url_paths[] = {
    {"C:\\d\\f", "/C:/d/f"},
    {"C:\\dir\\a b", "/C:/dir/a b"},
    {"\\\\srv\\s\\f", "/\\\\srv/s/f"},
    {"\\\\srv", "/\\\\srv"},
    {"\\\\", "/\\\\"},
    {"d\\f", "/d/f"},
    {"C:", "/C:"},
};

// Sets or unsets an environment variable for one scope and restores the old state after it.
class scoped_env {
  public:
    scoped_env(const char* a_name, const char* a_value) : m_name(a_name) {
        if (const char* l_old = getenv(a_name)) m_old = l_old;
        if (a_value != nullptr) {
            setenv(a_name, a_value, 1);
        } else {
            unsetenv(a_name);
        }
    }
    ~scoped_env() {
        if (m_old) {
            setenv(m_name, m_old->c_str(), 1);
        } else {
            unsetenv(m_name);
        }
    }
    scoped_env(const scoped_env&) = delete;
    scoped_env& operator=(const scoped_env&) = delete;

  private:
    const char* m_name;
    std::optional<std::string> m_old;
};

// Changes the working directory for one scope.
class scoped_cwd {
  public:
    explicit scoped_cwd(const std::filesystem::path& a_dir)
        : m_old(std::filesystem::current_path()) {
        std::filesystem::current_path(a_dir);
    }
    ~scoped_cwd() {
        std::error_code l_ignored;
        std::filesystem::current_path(m_old, l_ignored);
    }
    scoped_cwd(const scoped_cwd&) = delete;
    scoped_cwd& operator=(const scoped_cwd&) = delete;

  private:
    std::filesystem::path m_old;
};

// A new, empty directory under the temporary directory; the caller removes it.
inline std::filesystem::path fresh_temp_dir(const char* a_tag) {
    std::string l_template =
        (std::filesystem::temp_directory_path() / (std::string("nubase-") + a_tag + "-XXXXXX"))
            .string();
    if (mkdtemp(l_template.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    return l_template;
}

}  // namespace path
}  // namespace nubase_vectors

#endif  // NUBASE_TESTS_VECTORS_PATH_HPP
