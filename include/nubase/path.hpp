// nubase/path.hpp - paths taken apart and put together as plain text, over any separator.
//
// A path is any string whose components are joined by one separator byte, given as an argument,
// so the same functions serve '/'-separated file paths, URL paths and '\\'-separated Windows
// paths. Nothing touches the file system, resolves links or checks characters: every function
// is position arithmetic on the string, and none raises an `es` exception for any input (only
// the string class's allocation failure can escape).
//
//   std::string l_p = "media/clips/intro.mov";
//   nubase::path_directory(l_p, '/', 0);          // "media/clips/"
//   nubase::path_directory(l_p, '/', 1);          // "media/clips"
//   nubase::path_set_suffix(l_p, "mxf", '/', 0);  // "media/clips/intro.mxf"
//   nubase::path_normalized("a/./b/../c", '/');   // "a/c"
//
// Each operation that changes a path comes in two forms: the in-place form (`path_append`)
// changes the `std::string&` it is given and returns it; the copying form (`path_appended`)
// applies the in-place form to a copy and returns the copy, so the two always agree.
//
// Terms used below, for a path `p` of length `len` and separator `s`:
//  - ls: the position of the last `s`, if any;
//  - cs: the start of the final component (the "file"), ls + 1, or 0 without a separator;
//  - d:  the position of the last '.' anywhere in `p`. It counts for the final component only
//        when d >= cs: a dot in a directory name is ignored, while the dot of a dot file
//        (".profile") does count, so such a file has an empty name and a suffix.
//
// The separator defaults to '/' and the level count to 0; the library's own callers always
// pass both.
#ifndef NUBASE_PATH_HPP
#define NUBASE_PATH_HPP

#include <string>

#include "nubase/config.hpp"

namespace nubase {

// The directory part. Without a separator it is "". With `levels` 0 it keeps its trailing
// separator: "a/b/c" gives "a/b/". Each further level walks one separator to the left and drops
// it: level 1 gives "a/b", level 2 "a", and a walk past the first component gives "". "/x" gives
// "/" at level 0 and "" at level 1 (the cut lands on the leading separator).
[[nodiscard]] NUBASE_API std::string path_directory(const std::string& a_path, char a_sep = '/',
                                                    unsigned a_levels = 0);

// The final component p[cs, len): the whole path without a separator, "" when the path ends
// with the separator. `path_back` gives the same results.
[[nodiscard]] NUBASE_API std::string path_file(const std::string& a_path, char a_sep = '/');

// The final component without its suffix: p[cs, d) when the dot counts, else the whole final
// component. ".profile" gives "", "x.d/file" gives "file", "a.tar.gz" gives "a.tar".
[[nodiscard]] NUBASE_API std::string path_name(const std::string& a_path, char a_sep = '/');

// The text after the last dot of the final component: "" for an empty path, a path ending with
// the separator, or a final component without a dot. ".profile" gives "profile". The level
// count is accepted and has no effect: "a.tar.gz" gives "gz" for every count.
[[nodiscard]] NUBASE_API std::string path_suffix(const std::string& a_path, char a_sep = '/',
                                                 unsigned a_levels = 0);

// Replaces the directory part, cut as `path_directory` cuts it, by `dir`, so that exactly one
// separator stands between `dir` and the rest: ("a/b/c", "x", level 0) and ("c", "x", level 0)
// give "x/c", ("a/b/c", "x/", level 1) gives "x/c". An empty `dir` removes the directory part;
// at level 0 its trailing separator goes with it ("a/b/c" gives "c"), at level 1 and up the
// separator at the cut stays ("a/b/c" at level 1 gives "/c").
NUBASE_API std::string& path_set_directory(std::string& a_path, const std::string& a_dir,
                                           char a_sep = '/', unsigned a_levels = 0);
[[nodiscard]] NUBASE_API std::string path_new_directory(const std::string& a_path,
                                                        const std::string& a_dir, char a_sep = '/',
                                                        unsigned a_levels = 0);

// Replaces the final component p[cs, len) by `file` (appends it when the path ends with the
// separator).
NUBASE_API std::string& path_set_file(std::string& a_path, const std::string& a_file,
                                      char a_sep = '/');
[[nodiscard]] NUBASE_API std::string path_new_file(const std::string& a_path,
                                                   const std::string& a_file, char a_sep = '/');

// Replaces the final component's name p[cs, d) when the dot counts, else the whole final
// component; a path ending with the separator gets `name` appended. "a/b.txt" with "c" gives
// "a/c.txt"; ".profile" with "x" gives "x.profile".
NUBASE_API std::string& path_set_name(std::string& a_path, const std::string& a_name,
                                      char a_sep = '/');
[[nodiscard]] NUBASE_API std::string path_new_name(const std::string& a_path,
                                                   const std::string& a_name, char a_sep = '/');

// Replaces the suffix found by `path_suffix`, or adds one at the end when there is none. A '.'
// is put in front of a non-empty `suffix` that does not begin with one, unless the path is empty
// or the byte before the insertion point already is a '.'. The suffix is otherwise written as
// given, so: "b.txt" with "md" gives "b.md", with ".md" "b..md" (an existing dot is kept and the
// given one added), with "" "b." (the dot stays); "b" with ".md" gives "b.md"; "a/" with "md"
// gives "a/.md"; "" with "md" gives "md". The level count has no effect.
NUBASE_API std::string& path_set_suffix(std::string& a_path, const std::string& a_suffix,
                                        char a_sep = '/', unsigned a_levels = 0);
[[nodiscard]] NUBASE_API std::string path_new_suffix(const std::string& a_path,
                                                     const std::string& a_suffix, char a_sep = '/',
                                                     unsigned a_levels = 0);

// Joins `head` in front of the path with one separator at the joint: when `head` ends with the
// separator and the path begins with one, the head's is dropped; when neither has one, one is
// inserted. An empty path becomes `head`; an empty `head` changes nothing.
NUBASE_API std::string& path_prepend(std::string& a_path, const std::string& a_head,
                                     char a_sep = '/');
[[nodiscard]] NUBASE_API std::string path_prepended(const std::string& a_path,
                                                    const std::string& a_head, char a_sep = '/');

// Joins `tail` behind the path with one separator at the joint: "a/" + "/b" and "a" + "b" give
// "a/b" (only one byte of `tail` is ever skipped: "a/" + "//b" gives "a//b"). An empty path
// becomes `tail`; an empty `tail` changes nothing and adds no separator.
NUBASE_API std::string& path_append(std::string& a_path, const std::string& a_tail,
                                    char a_sep = '/');
[[nodiscard]] NUBASE_API std::string path_appended(const std::string& a_path,
                                                   const std::string& a_tail, char a_sep = '/');

// The push forms are the joining operations under their list names: `path_push_front` is
// `path_prepend` and `path_push_back` is `path_append`.
inline std::string& path_push_front(std::string& a_path, const std::string& a_head,
                                    char a_sep = '/') {
    return path_prepend(a_path, a_head, a_sep);
}
[[nodiscard]] inline std::string path_pushed_front(const std::string& a_path,
                                                   const std::string& a_head, char a_sep = '/') {
    return path_prepended(a_path, a_head, a_sep);
}
inline std::string& path_push_back(std::string& a_path, const std::string& a_tail,
                                   char a_sep = '/') {
    return path_append(a_path, a_tail, a_sep);
}
[[nodiscard]] inline std::string path_pushed_back(const std::string& a_path,
                                                  const std::string& a_tail, char a_sep = '/') {
    return path_appended(a_path, a_tail, a_sep);
}

// The first component, up to the first separator: the whole path without a separator, "" for a
// path that begins with the separator.
[[nodiscard]] NUBASE_API std::string path_front(const std::string& a_path, char a_sep = '/');
// The last component; the same results as `path_file`.
[[nodiscard]] NUBASE_API std::string path_back(const std::string& a_path, char a_sep = '/');

// Erases the first component and the separator behind it, or everything when there is no
// separator: "a/b" gives "b", "/a" gives "a", "a" gives "".
NUBASE_API std::string& path_pop_front(std::string& a_path, char a_sep = '/');
[[nodiscard]] NUBASE_API std::string path_popped_front(const std::string& a_path, char a_sep = '/');

// Erases the last separator and everything behind it, or everything when there is no separator:
// "a/b" gives "a", "/a" gives "", "a/" gives "a", "a" gives "".
NUBASE_API std::string& path_pop_back(std::string& a_path, char a_sep = '/');
[[nodiscard]] NUBASE_API std::string path_popped_back(const std::string& a_path, char a_sep = '/');

// Makes the path absolute under `root`; the separator is always '/'. In this order:
//  1. a non-empty path that begins with '/' is left as it is, whatever `root` is;
//  2. an absolute `root` ending with '/' is put in front ("p" under "/r/" gives "/r/p"); one
//     that does not end with '/' is put behind a new leading '/': "p" under "/r" gives "//rp"
//     and "" under "/r" gives "//r". This placement is long-standing and callers rely on it;
//  3. otherwise the result is '/', `root`, a '/' when `root` is non-empty, does not end with
//     '/' and the path was non-empty, then the path: "p" under "r" or "r/" gives "/r/p", "" under
//     "r" gives "/r", "p" under "" gives "/p", "" under "" gives "/".
NUBASE_API std::string& path_root(std::string& a_path, const std::string& a_root);
[[nodiscard]] NUBASE_API std::string path_rooted(const std::string& a_path,
                                                 const std::string& a_root);

// Makes the path relative, undoing `path_root`; the separator is always '/':
//  1. `root` is trimmed of '/' at both ends (a root made only of '/' stays whole);
//  2. the path "/" becomes ""; a longer path made only of '/' is not stripped; any other path
//     loses its leading run of '/';
//  3. when the path then begins with the trimmed root (a plain prefix test: an empty root always
//     matches, and no separator is needed behind it, so "/rabc" under "r" gives "abc"), that
//     prefix is erased, and the run of '/' that follows it too unless nothing but '/' remains.
// "/r/p" under "r" or "/r/" gives "p"; "//x" under "/" gives "x".
NUBASE_API std::string& path_unroot(std::string& a_path, const std::string& a_root);
[[nodiscard]] NUBASE_API std::string path_unrooted(const std::string& a_path,
                                                   const std::string& a_root);

// Removes empty, "." and ".." components. The path is split at every separator (empty pieces
// kept) and walked left to right: an empty or "." piece is dropped, except as the first or the
// last piece, where it stands for the leading or trailing separator and is kept as an empty
// element; ".." removes the last element kept so far, whatever it is (also an earlier "..", also
// the leading empty element of an absolute path), and is kept itself only when nothing is left
// to remove; any other piece is kept. The kept elements are joined with the separator.
// So "a//b" gives "a/b", "/a/./b/" gives "/a/b/", "a/b/../c" gives "a/c", "./a" gives "/a",
// "../a" stays "../a", "../../a" gives "a", and "/.." and "a/.." give "".
NUBASE_API std::string& path_normalize(std::string& a_path, char a_sep = '/');
[[nodiscard]] NUBASE_API std::string path_normalized(const std::string& a_path, char a_sep = '/');

}  // namespace nubase

#endif  // NUBASE_PATH_HPP
