// tests/descriptors.hpp - counting the test process's open descriptors, to prove that files and
// child processes leave none behind.
#ifndef NUBASE_TESTS_DESCRIPTORS_HPP
#define NUBASE_TESTS_DESCRIPTORS_HPP

#include <dirent.h>

namespace nubase_test {

// The number of open descriptors of this process (the directory stream's own not counted).
inline int open_descriptors() {
    int l_count = 0;
    DIR* l_dir = opendir("/proc/self/fd");
    while (dirent* l_entry = readdir(l_dir))
        l_count += l_entry->d_name[0] != '.';
    closedir(l_dir);
    return l_count - 1;
}

}  // namespace nubase_test

#endif  // NUBASE_TESTS_DESCRIPTORS_HPP
