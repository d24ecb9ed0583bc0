// nubase/urlpath.hpp - typed file names turned into URLs, URLs turned into Windows and UNC
// paths and back, Windows logins moved into the URL's domain, and the path functions of
// nubase/path.hpp applied to the path of a URL.
//
//   nubase::url_create_from_url_or_path("/tmp/a b", "");            // "file:/tmp/a%20b"
//   nubase::url_create_from_url_or_path("C:\\dir\\a b", "");        // "file:/C:/dir/a%20b"
//   nubase::url_create_from_url_or_path("\\\\srv\\share\\a b", ""); // "smb://srv/share/a%20b"
//   nubase::url_extract_to_unc_or_windows_path("smb://srv/share/d/f");  // "\\\\SRV\\share\\d\\f"
//   nubase::url_path_appended("file:/tmp/clips", "a b.mov");         // "file:/tmp/clips/a%20b.mov"
//
// Everything rests on the URL grammar of nubase/url.hpp and the path rules of nubase/path.hpp
// (always with the separator '/'). Nothing is validated: every string has a defined result.
// Only `url_create_from_url_or_path` asks the system anything (the working directory for a
// relative input, the home directory for a '~' input) and lets those queries' documented
// `es::call` raises through; no other function raises.
//
// Paths written into a URL here are percent-encoded with their '/' kept, as `url_set_path`
// encodes them, with one exception: the ':' of a leading drive ("/C:" followed by '/' or the
// end) stays as it is, so that drive paths keep their customary form "file:/C:/dir". Reading
// decodes either form alike.
#ifndef NUBASE_URLPATH_HPP
#define NUBASE_URLPATH_HPP

#include <string>

#include "nubase/config.hpp"

namespace nubase {

// ---------------------------------------------------------------------------------------------
// Typed names to URLs.

// The URL for what a user typed, against the directory `base` (the working directory when
// `base` is empty):
//  - "" names `base` itself: "file:" with `base` rooted at '/' as its path;
//  - a UNC path ("\\\\host..." of three characters or more) gives `unc_path_to_url(input, "smb")`;
//  - a URL (a scheme of two characters or more, "proto://h/x") is returned unchanged;
//  - a drive path ("C:\\dir\\a b", a one-character scheme) gives "file:/C:/dir/a%20b";
//  - with every '\\' read as '/': an absolute path gives "file:" + path ("/tmp/a b" gives
//    "file:/tmp/a%20b", "\\\\" alone gives "file://"); a path beginning with '~' gives the home
//    directory with the rest behind the '~' appended ("~/x" with the home "/home/ann" gives
//    "file:/home/ann/x"); any other path is appended to `base` (or the working directory).
// The result of a path has no authority ("file:/...") and is not normalised: "../x" stays.
// Only a leading '~' means home, and "~name" is not looked up: it is the home directory
// followed by "name". An empty home directory (a "HOME" set to "") leaves the rest rooted at
// '/': "~/x" gives "file:/x".
// Raises what `env::get_current_working_directory_path` (an empty input or a relative path with
// an empty `base`) and `env::get_user_home_path` (a '~' input) raise; nothing else.
[[nodiscard]] NUBASE_API std::string url_create_from_url_or_path(const std::string& a_input,
                                                                 const std::string& a_base);

// The URL of a UNC path under `scheme`: the UNC host becomes the authority (not encoded), and
// "/", the share and the rest of the path with its '\\' turned into '/' become the encoded
// path. "\\\\srv\\share\\d\\a b" with "smb" gives "smb://srv/share/d/a%20b"; "\\\\srv" gives
// "smb://srv/".
[[nodiscard]] NUBASE_API std::string unc_path_to_url(const std::string& a_unc,
                                                     const std::string& a_scheme);

// ---------------------------------------------------------------------------------------------
// Windows and UNC paths of URLs.

// A Windows path as a URL path. A UNC path loses its two leading backslashes, has every '\\'
// turned into '/' and gets the three characters "/\\\\" in front: "\\\\srv\\s\\f" gives
// "/\\\\srv/s/f", which `url_path_to_windows_path` turns back into the UNC path. Any other path
// has every '\\' turned into '/' and is rooted at '/': "C:\\d\\f" gives "/C:/d/f".
[[nodiscard]] NUBASE_API std::string windows_path_to_url_path(const std::string& a_path);

// A URL path as a Windows path: the leading '/' run removed (as `path_unrooted` with the root
// "/" removes it) and every '/' turned into '\\': "/C:/d/f" gives "C:\\d\\f".
[[nodiscard]] NUBASE_API std::string url_path_to_windows_path(const std::string& a_path);

// The URL as a UNC path: "\\\\", the host upper-cased ("LOCALHOST" for an empty host), then,
// when the decoded path without its leading '/' run is not empty, '\\' and that path with '\\'
// for '/'. "smb://srv/share/d/f" gives "\\\\SRV\\share\\d\\f"; "file:///x" gives
// "\\\\LOCALHOST\\x".
[[nodiscard]] NUBASE_API std::string url_extract_to_unc_path(const std::string& a_url);

// The URL as a UNC path or a Windows path:
//  - the scheme "smb": `url_extract_to_unc_path`;
//  - an empty host: the decoded path as a Windows path ("file:///C:/x" gives "C:\\x");
//  - the host "localhost", "127.0.0.1", "::1" or "fe80::1": a Windows path when the decoded
//    path is four characters or more with ':' third ("file://localhost/C:/x" gives "C:\\x"),
//    else the UNC path ("file://localhost/x" gives "\\\\LOCALHOST\\x");
//  - any other host: the UNC path.
// The scheme and host names are compared without regard to case.
[[nodiscard]] NUBASE_API std::string url_extract_to_unc_or_windows_path(const std::string& a_url);

// The decoded URL path read as a Windows path (`url_path_to_windows_path`).
[[nodiscard]] NUBASE_API std::string url_extract_windows_path(const std::string& a_url);

// Replaces the URL's path by the Windows path `path` (through `windows_path_to_url_path`,
// encoded). "file:" with "C:\\d\\a b" gives "file:/C:/d/a%20b"; a UNC path is kept whole in the
// path with its backslashes encoded, so `url_extract_windows_path` gives it back.
NUBASE_API std::string& url_set_windows_path(std::string& a_url, const std::string& a_path);
[[nodiscard]] NUBASE_API std::string url_new_windows_path(const std::string& a_url,
                                                          const std::string& a_path);

// The URL's path as a path of the running platform: on POSIX systems the decoded URL path.
[[nodiscard]] NUBASE_API std::string url_native_platform_path(const std::string& a_url);

// Moves a Windows login "DOMAIN\\user" (or "DOMAIN/user") from the user name into the domain:
// when the decoded domain is empty and the decoded user holds a '/' (or else a '\\'), the text
// before it becomes the domain (not encoded) and the text behind it the user (encoded).
// "smb://DOM\\bob@srv/s" becomes "smb://DOM;bob@srv/s". A URL with a domain, or whose user
// holds neither character, is left as it is. Returns `url`.
NUBASE_API std::string& url_correct_domain(std::string& a_url);

// ---------------------------------------------------------------------------------------------
// Path operations on the path of a URL. Each applies the path function of the same name (see
// nubase/path.hpp) with the separator '/' to the decoded URL path. The changing members write
// the result back encoded and return `url` (in place) or a new URL (copying); a result that is
// empty removes the path. "file:/a/b.txt" with `url_path_set_suffix` "md" gives "file:/a/b.md".

[[nodiscard]] NUBASE_API std::string url_path_directory(const std::string& a_url,
                                                        unsigned a_levels = 0);
[[nodiscard]] NUBASE_API std::string url_path_file(const std::string& a_url);
[[nodiscard]] NUBASE_API std::string url_path_name(const std::string& a_url);
[[nodiscard]] NUBASE_API std::string url_path_suffix(const std::string& a_url,
                                                     unsigned a_levels = 0);
[[nodiscard]] NUBASE_API std::string url_path_front(const std::string& a_url);
[[nodiscard]] NUBASE_API std::string url_path_back(const std::string& a_url);

NUBASE_API std::string& url_path_set_directory(std::string& a_url, const std::string& a_dir,
                                               unsigned a_levels = 0);
[[nodiscard]] NUBASE_API std::string url_path_new_directory(const std::string& a_url,
                                                            const std::string& a_dir,
                                                            unsigned a_levels = 0);
NUBASE_API std::string& url_path_set_file(std::string& a_url, const std::string& a_file);
[[nodiscard]] NUBASE_API std::string url_path_new_file(const std::string& a_url,
                                                       const std::string& a_file);
NUBASE_API std::string& url_path_set_name(std::string& a_url, const std::string& a_name);
[[nodiscard]] NUBASE_API std::string url_path_new_name(const std::string& a_url,
                                                       const std::string& a_name);
NUBASE_API std::string& url_path_set_suffix(std::string& a_url, const std::string& a_suffix,
                                            unsigned a_levels = 0);
[[nodiscard]] NUBASE_API std::string url_path_new_suffix(const std::string& a_url,
                                                         const std::string& a_suffix,
                                                         unsigned a_levels = 0);

NUBASE_API std::string& url_path_prepend(std::string& a_url, const std::string& a_head);
[[nodiscard]] NUBASE_API std::string url_path_prepended(const std::string& a_url,
                                                        const std::string& a_head);
NUBASE_API std::string& url_path_append(std::string& a_url, const std::string& a_tail);
[[nodiscard]] NUBASE_API std::string url_path_appended(const std::string& a_url,
                                                       const std::string& a_tail);
// The push forms are the joining operations under their list names.
inline std::string& url_path_push_front(std::string& a_url, const std::string& a_head) {
    return url_path_prepend(a_url, a_head);
}
[[nodiscard]] inline std::string url_path_pushed_front(const std::string& a_url,
                                                       const std::string& a_head) {
    return url_path_prepended(a_url, a_head);
}
inline std::string& url_path_push_back(std::string& a_url, const std::string& a_tail) {
    return url_path_append(a_url, a_tail);
}
[[nodiscard]] inline std::string url_path_pushed_back(const std::string& a_url,
                                                      const std::string& a_tail) {
    return url_path_appended(a_url, a_tail);
}

NUBASE_API std::string& url_path_pop_front(std::string& a_url);
[[nodiscard]] NUBASE_API std::string url_path_popped_front(const std::string& a_url);
NUBASE_API std::string& url_path_pop_back(std::string& a_url);
[[nodiscard]] NUBASE_API std::string url_path_popped_back(const std::string& a_url);

NUBASE_API std::string& url_path_root(std::string& a_url, const std::string& a_root);
[[nodiscard]] NUBASE_API std::string url_path_rooted(const std::string& a_url,
                                                     const std::string& a_root);
NUBASE_API std::string& url_path_unroot(std::string& a_url, const std::string& a_root);
[[nodiscard]] NUBASE_API std::string url_path_unrooted(const std::string& a_url,
                                                       const std::string& a_root);

NUBASE_API std::string& url_path_normalize(std::string& a_url);
[[nodiscard]] NUBASE_API std::string url_path_normalized(const std::string& a_url);

}  // namespace nubase

#endif  // NUBASE_URLPATH_HPP
