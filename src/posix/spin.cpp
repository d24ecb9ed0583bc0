// Whether polling can pay: the processors this process may run on.
#include <sched.h>

#include "posix/spin.hpp"

namespace nubase {
namespace detail {

bool spinning_pays() noexcept {
    static const bool s_several = [] {
        cpu_set_t l_set;
        CPU_ZERO(&l_set);
        if (sched_getaffinity(0, sizeof l_set, &l_set) != 0) return false;
        return CPU_COUNT(&l_set) > 1;
    }();
    return s_several;
}

}  // namespace detail
}  // namespace nubase
