// Call-stack printing with the platform's own symbol look-up: `backtrace` for the return
// addresses, `dladdr` for the nearest exported symbol, the C++ ABI for demangling.
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

#include <cstdio>
#include <cstdlib>

#include "nubase/es.hpp"

namespace nubase {
namespace ds {

void print_callstack() {
    void* l_frames[100];
    const int l_count = backtrace(l_frames, 100);
    // The caller's stack starts at the frame of our own return address; frames before it are
    // this function and any interposed `backtrace` (sanitizers wrap it). Without a match, frame 0
    // is taken to be this function.
    int l_first = 1;
    void* const l_return = __builtin_return_address(0);
    for (int l_index = 0; l_index < l_count; ++l_index) {
        if (l_frames[l_index] == l_return) {
            l_first = l_index;
            break;
        }
    }
    for (int l_index = l_first; l_index < l_count; ++l_index) {
        Dl_info l_info{};
        const char* l_module = "??";
        const char* l_symbol = nullptr;
        unsigned long l_offset = 0;
        if (dladdr(l_frames[l_index], &l_info) != 0) {
            if (l_info.dli_fname) l_module = l_info.dli_fname;
            if (l_info.dli_sname) {
                l_symbol = l_info.dli_sname;
                l_offset = reinterpret_cast<unsigned long>(l_frames[l_index]) -
                           reinterpret_cast<unsigned long>(l_info.dli_saddr);
            }
        }
        int l_status = -1;
        char* l_demangled =
            l_symbol ? abi::__cxa_demangle(l_symbol, nullptr, nullptr, &l_status) : nullptr;
        const char* l_name = l_status == 0 && l_demangled ? l_demangled : l_symbol;
        if (l_name) {
            std::printf("#%d %p %s+0x%lx (%s)\n", l_index - l_first + 1, l_frames[l_index], l_name,
                        l_offset, l_module);
        } else {
            std::printf("#%d %p ?? (%s)\n", l_index - l_first + 1, l_frames[l_index], l_module);
        }
        std::free(l_demangled);
    }
    std::fflush(stdout);
}

}  // namespace ds
}  // namespace nubase
