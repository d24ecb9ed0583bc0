// Fuzzes the option parser: the input is split at NUL bytes into an argument vector and parsed
// against a fixed table; the callback's results come from the input too, so the continuation
// rules (hand-backs, stops) are exercised. A false result must come with exactly one "*** "
// message on standard error, a true result with none.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "nubase/optparser.hpp"

namespace {

struct scripted : nubase::arg::opt_functor {
    int operator()(int, std::vector<const char*> args) override {
        for (const char* a : args) {
            if (!a) std::abort();
            volatile std::size_t n = std::strlen(a);  // every pointer must be a readable string
            (void)n;
        }
        const std::uint8_t code = next < script.size() ? script[next++] : 0xFF;
        switch (code & 7) {
            case 0:
                return -1;
            case 1:
                return 0;
            case 2:
                return -2;
            case 3:
                return static_cast<int>(args.size()) + 3;
            default:
                return static_cast<int>(args.size());
        }
    }
    std::vector<std::uint8_t> script;
    std::size_t next = 0;
};

int g_capture = -1;
int g_saved_stderr = -1;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (g_capture < 0) {
        std::FILE* f = std::tmpfile();
        g_capture = dup(fileno(f));
        g_saved_stderr = dup(2);
    }
    // The first bytes script the callback; the rest is the argument vector.
    const std::size_t script_size = size ? data[0] % 16 : 0;
    scripted functor;
    for (std::size_t i = 1; i <= script_size && i < size; ++i)
        functor.script.push_back(data[i]);
    std::vector<std::string> args{"prog"};
    std::string current;
    for (std::size_t i = 1 + script_size; i < size; ++i) {
        if (data[i] == 0) {
            args.push_back(current);
            current.clear();
        } else {
            current += static_cast<char>(data[i]);
        }
    }
    args.push_back(current);
    std::vector<char*> argv;
    for (auto& a : args)
        argv.push_back(a.data());

    nubase::arg::optparser parser(&functor);
    parser.add_opt('a', "aaa", 0, 0);
    parser.add_opt('b', "bbb", 1, 1);
    parser.add_opt('c', "ccc", 0, 1);
    parser.add_opt('d', "ddd", 2, 4);
    parser.add_opt('e', "eee", 2, 255);
    parser.add_opt(-1, "long", 1, 3);
    parser.add_opt(-2, nullptr, 0, 0);

    ftruncate(g_capture, 0);
    lseek(g_capture, 0, SEEK_SET);
    std::fflush(stderr);
    dup2(g_capture, 2);
    const bool result = parser.parse(static_cast<unsigned>(argv.size()), argv.data());
    std::fflush(stderr);
    dup2(g_saved_stderr, 2);

    char text[4096];
    const ssize_t n = pread(g_capture, text, sizeof text, 0);
    const std::string errors(text, n > 0 ? static_cast<std::size_t>(n) : 0);
    if (result) {
        if (!errors.empty()) std::abort();
    } else {
        // One message (an option's name may itself hold a newline byte).
        const auto starts = [&](const char* prefix) {
            return errors.compare(0, std::strlen(prefix), prefix) == 0;
        };
        const bool one_message =
            (starts("*** no such option `") || starts("*** too few arguments for option `")) &&
            errors.size() >= 2 && errors.compare(errors.size() - 2, 2, "'\n") == 0;
        if (!one_message) std::abort();
    }
    return 0;
}
