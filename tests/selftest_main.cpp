// Runs the library's registered test units through the library's own runner:
//   nubase_selftest [SUITE[/UNIT[/CASE]]]
// Exit status 0 when every selected case passed (known failures reported as such), 1 otherwise.
#include <cstdio>

#include "nubase/test.hpp"

int main(int argc, char** argv) {
    const nubase::test::run_summary summary = nubase::test::run(argc > 1 ? argv[1] : "", stdout);
    return summary.ok() ? 0 : 1;
}
