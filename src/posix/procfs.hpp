// src/posix/procfs.hpp - reading the kernel's text files under /proc and /sys.
//
// These files report a size of 0 and are produced on each read, so they are read to their end
// in pieces rather than by their size.
#ifndef NUBASE_SRC_POSIX_PROCFS_HPP
#define NUBASE_SRC_POSIX_PROCFS_HPP

#include <string>

namespace nubase {
namespace sys {

// Reads the whole file into `a_text`. False (with `errno` set by the failed call) when it cannot
// be opened or read.
bool read_text_file(const char* a_path, std::string& a_text);

// The value of the first line "<key><blanks or tabs>:<blank><value>" in `a_text`, such as
// "MemAvailable:   22712892 kB" or "flags\t\t: fpu vme", with the blanks around it removed;
// false when no line has that key.
bool find_field(const std::string& a_text, const char* a_key, std::string& a_value);

}  // namespace sys
}  // namespace nubase

#endif  // NUBASE_SRC_POSIX_PROCFS_HPP
