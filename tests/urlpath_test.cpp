// Typed names to URLs, Windows and UNC conversions, domain correction and URL path operations.
#include "nubase/urlpath.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "vectors/path.hpp"

namespace {

using namespace nubase;
namespace fs = std::filesystem;
namespace vec = nubase_vectors::path;

TEST(UrlPath, CreatesFromEveryKindOfInput) {
    vec::scoped_env l_home("HOME", "/home/ann");
    struct row {
        std::string input, base, expected;
    };
    const row l_rows[] = {
        {"", "b d", "file:/b%20d"},  // the base itself, rooted
        {"\\\\srv\\share\\d\\a b", "/b", "smb://srv/share/d/a%20b"},
        {"\\\\srv", "/b", "smb://srv/"},
        {"\\\\", "/b", "file://"},  // not a UNC path: the absolute path "//"
        {"proto://h/x", "/b", "proto://h/x"},
        {"c:", "/b", "file:/c:"},
        {"C:/x:y", "/b", "file:/C:/x%3ay"},  // only the drive's colon is kept
        {"a:b\\c", "/b", "file:/a%3ab/c"},
        {"\\tmp\\x", "/b", "file:/tmp/x"},
        {"/x?y#z%41", "/b", "file:/x%3fy%23z%2541"},
        {"~", "/b", "file:/home/ann"},
        {"~x", "/b", "file:/home/ann/x"},  // "~name" is not looked up
        {"a~", "/b", "file:/b/a%7e"},      // only a leading '~' means home
        {"../x", "/b", "file:/b/../x"},    // not normalised
        {"a", "r", "file:/r/a"},           // a relative base is rooted
        {"a", "/b/", "file:/b/a"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE("'" + l_r.input + "' in '" + l_r.base + "'");
        EXPECT_EQ(l_r.expected, url_create_from_url_or_path(l_r.input, l_r.base));
    }
}

TEST(UrlPath, CreatesAgainstTheWorkingDirectoryAndAnEmptyHome) {
    const fs::path l_dir = vec::fresh_temp_dir("urlpath");
    fs::create_directory(l_dir / "a b");
    {
        vec::scoped_cwd l_in(l_dir / "a b");
        const std::string l_expected =
            "file:" + fs::current_path().parent_path().string() + "/a%20b";
        EXPECT_EQ(l_expected, url_create_from_url_or_path("", ""));
        EXPECT_EQ(l_expected + "/x", url_create_from_url_or_path("x", ""));
    }
    fs::remove_all(l_dir);
    {
        vec::scoped_env l_home("HOME", "");
        EXPECT_EQ("file:/x", url_create_from_url_or_path("~/x", ""));
        EXPECT_EQ("file:/", url_create_from_url_or_path("~", ""));
    }
}

TEST(UrlPath, WindowsAndUrlPathsBothWays) {
    for (const auto& l_v : nubase_vectors::path::k_windows_url_paths) {
        SCOPED_TRACE(l_v.windows);
        EXPECT_EQ(l_v.url_path, windows_path_to_url_path(l_v.windows));
        EXPECT_EQ(l_v.windows, url_path_to_windows_path(l_v.url_path));
        // Through a URL: the path is stored encoded and read back decoded.
        std::string l_url = "file:";
        url_set_windows_path(l_url, l_v.windows);
        EXPECT_EQ(l_v.windows, url_extract_windows_path(l_url)) << l_url;
        EXPECT_EQ(l_url, url_new_windows_path("file:", l_v.windows));
    }
    EXPECT_EQ("/", windows_path_to_url_path(""));
    EXPECT_EQ("", url_path_to_windows_path("/"));
    EXPECT_EQ("C:\\d", url_path_to_windows_path("///C:/d"));
    EXPECT_EQ("file:/C:/d/a%20b", url_new_windows_path("file:", "C:\\d\\a b"));
    EXPECT_EQ("file:/%5c%5csrv/s", url_new_windows_path("file:", "\\\\srv\\s"));
    EXPECT_EQ("smb://h/C:/x?q", url_new_windows_path("smb://h/old?q", "C:\\x"));
}

TEST(UrlPath, ExtractsUncOrWindowsPaths) {
    struct row {
        std::string url, unc, unc_or_windows;
    };
    const row l_rows[] = {
        {"smb://srv/share/d/a%20b", "\\\\SRV\\share\\d\\a b", "\\\\SRV\\share\\d\\a b"},
        {"smb://srv", "\\\\SRV", "\\\\SRV"},
        {"smb:///C:/x", "\\\\LOCALHOST\\C:\\x", "\\\\LOCALHOST\\C:\\x"},
        {"SMB://h/C:/x", "\\\\H\\C:\\x", "\\\\H\\C:\\x"},
        {"file:///x", "\\\\LOCALHOST\\x", "x"},
        {"file:/C:/dir/a%20b", "\\\\LOCALHOST\\C:\\dir\\a b", "C:\\dir\\a b"},
        {"file://localhost/C:/x", "\\\\LOCALHOST\\C:\\x", "C:\\x"},
        {"file://LocalHost/C:/x", "\\\\LOCALHOST\\C:\\x", "C:\\x"},
        {"file://localhost/x", "\\\\LOCALHOST\\x", "\\\\LOCALHOST\\x"},
        {"file://localhost/C:", "\\\\LOCALHOST\\C:", "\\\\LOCALHOST\\C:"},
        {"file://127.0.0.1/C:/x", "\\\\127.0.0.1\\C:\\x", "C:\\x"},
        {"file://[::1]/C:/x", "\\\\::1\\C:\\x", "C:\\x"},
        {"file://[fe80::1]/D:/x", "\\\\FE80::1\\D:\\x", "D:\\x"},
        {"file://other/C:/x", "\\\\OTHER\\C:\\x", "\\\\OTHER\\C:\\x"},
        {"", "\\\\LOCALHOST", ""},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.url);
        EXPECT_EQ(l_r.unc, url_extract_to_unc_path(l_r.url));
        EXPECT_EQ(l_r.unc_or_windows, url_extract_to_unc_or_windows_path(l_r.url));
    }
    EXPECT_EQ("cifs://srv/s/", unc_path_to_url("\\\\srv\\s\\", "cifs"));
    EXPECT_EQ("/tmp/a b", url_native_platform_path("file:/tmp/a%20b?q#f"));
}

TEST(UrlPath, MovesAWindowsDomainOutOfTheUser) {
    struct row {
        std::string url, expected;
    };
    const row l_rows[] = {
        {"smb://DOM%5cbob:pw@srv/s", "smb://DOM;bob:pw@srv/s"},
        // A '/' wins over a backslash; the domain is written as it is.
        {"smb://a%5cb%2fc@srv/s", "smb://a\\b;c@srv/s"},
        {"smb://X;DOM\\bob@srv/s", "smb://X;DOM\\bob@srv/s"},
        {"smb://bob@srv/s", "smb://bob@srv/s"},
        {"", ""},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.url);
        std::string l_url = l_r.url;
        EXPECT_EQ(&l_url, &url_correct_domain(l_url));
        EXPECT_EQ(l_r.expected, l_url);
    }
}

TEST(UrlPath, ReadsThePathOfAUrl) {
    const std::string l_url = "smb://h/a%20b/c.d/e.tar.gz?q=1#f";
    EXPECT_EQ("/a b/c.d/", url_path_directory(l_url, 0));
    EXPECT_EQ("/a b", url_path_directory(l_url, 2));
    EXPECT_EQ("e.tar.gz", url_path_file(l_url));
    EXPECT_EQ("e.tar.gz", url_path_back(l_url));
    EXPECT_EQ("e.tar", url_path_name(l_url));
    EXPECT_EQ("gz", url_path_suffix(l_url, 1));
    EXPECT_EQ("", url_path_front(l_url));
    EXPECT_EQ("a", url_path_front("port:a/b"));
}

TEST(UrlPath, EditsThePathOfAUrl) {
    using setter = std::string& (*)(std::string&, const std::string&);
    using copier = std::string (*)(const std::string&, const std::string&);
    struct row {
        setter set;
        copier copy;
        std::string url, value, expected;
    };
    const row l_rows[] = {
        {url_path_set_file, url_path_new_file, "file:/a/b.txt", "c d", "file:/a/c%20d"},
        {url_path_set_name, url_path_new_name, "file:/a/b.txt", "c", "file:/a/c.txt"},
        {url_path_append, url_path_appended, "smb://h/a?q#f", "b c", "smb://h/a/b%20c?q#f"},
        {url_path_push_back, url_path_pushed_back, "file:/a%20b", "c", "file:/a%20b/c"},
        {url_path_prepend, url_path_prepended, "file:/a/b", "/r", "file:/r/a/b"},
        {url_path_push_front, url_path_pushed_front, "file:a", "r", "file:r/a"},
        {url_path_root, url_path_rooted, "file:a", "r", "file:/r/a"},
        {url_path_root, url_path_rooted, "file:p", "/r", "file://rp"},
        {url_path_unroot, url_path_unrooted, "file:/r/a", "r", "file:a"},
        {url_path_set_file, url_path_new_file, "file:/C:/d/f", "g", "file:/C:/d/g"},
    };
    for (const auto& l_r : l_rows) {
        SCOPED_TRACE(l_r.url + " with " + l_r.value);
        std::string l_url = l_r.url;
        EXPECT_EQ(&l_url, &l_r.set(l_url, l_r.value));
        EXPECT_EQ(l_r.expected, l_url);
        EXPECT_EQ(l_r.expected, l_r.copy(l_r.url, l_r.value));
    }

    std::string l_url = "file:/a/b.txt";
    EXPECT_EQ("file:/x%20y/b.txt", url_path_new_directory(l_url, "/x y", 0));
    EXPECT_EQ("file:/x/b.txt", url_path_set_directory(l_url, "/x/", 1));
    EXPECT_EQ("file:/x/b.md", url_path_set_suffix(l_url, "md", 3));
    EXPECT_EQ("file:/x/b..md", url_path_new_suffix(l_url, ".md", 0));

    EXPECT_EQ("file:/a/c", url_path_normalized("file:/a/./b/../c"));
    l_url = "smb://h/a/b?q";
    EXPECT_EQ("smb://h/a?q", url_path_pop_back(l_url));
    EXPECT_EQ("smb://h?q", url_path_pop_back(l_url));
    EXPECT_EQ("smb://h?q", url_path_popped_back(l_url));
    EXPECT_EQ("file:a/b", url_path_popped_front("file:/a/b"));
    EXPECT_EQ("file:b", url_path_pop_front(l_url = "file:a/b"));
}

}  // namespace
