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
// The family grows with the other system queries (executable, processor, memory, host names,
// environment variables); each follows the same pattern of fallback and documented raise.
#ifndef NUBASE_ENV_HPP
#define NUBASE_ENV_HPP

#include <string>

#include "nubase/config.hpp"

namespace nubase {
namespace env {

// The absolute path of the current working directory, without a trailing '/' (except for "/"
// itself). Directories of any depth are returned: the first attempt uses a 2048-byte buffer and
// a longer path is retried with a larger one.
// Raises es::call "getcwd() failed: <text>" (line 1343) when the directory cannot be read (it
// was removed, or a component is unreadable). <text> is what the look-up left in its buffer,
// usually nothing, not the system's error text.
[[nodiscard]] NUBASE_API std::string get_current_working_directory_path();

// The user's home directory: the environment variable "HOME" when it is set (even to the empty
// text), else the home directory of the process's real user in the password database.
// Raises es::call "Unable to locate user home path " (with the trailing blank; line 1804) when
// "HOME" is unset and the user has no database entry.
[[nodiscard]] NUBASE_API std::string get_user_home_path();

}  // namespace env
}  // namespace nubase

#endif  // NUBASE_ENV_HPP
