// A tiny host program: uses the installed library through its public headers only.
#include <nubase/nubase.hpp>

#include <cstdio>
#include <cstring>

int main() {
    nubase::buffer b;
    const char text[] = "consumer";
    b.append(reinterpret_cast<const unsigned char*>(text), std::strlen(text));
    try {
        nubase::es::arg::raise("examples/consumer", 1, "expected");
    } catch (const nubase::es::base& e) {
        std::printf("%.*s: caught '%s' (%s)\n", static_cast<int>(b.size()),
                    reinterpret_cast<const char*>(b.data()), e.what(),
                    nubase::cstr_with_severity(nubase::severity::notice));
    }
    return 0;
}
