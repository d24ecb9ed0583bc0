// The option table and the parse of an argument vector.
#include "nubase/optparser.hpp"

#include <cstring>

namespace nubase {
namespace arg {
namespace {

// "-" followed by something other than NUL or a decimal digit: "-" and "-5" are arguments.
bool looks_like_option(const char* a_text) {
    return a_text[0] == '-' && a_text[1] != '\0' && !(a_text[1] >= '0' && a_text[1] <= '9');
}

}  // namespace

opt_functor::~opt_functor() = default;

optparser::optparser(opt_functor* a_functor)
    : m_functor(a_functor),
      m_indentation(1),
      m_text_line_width(80),
      m_indentation_column(0),
      m_html(false),
      m_out(nullptr) {}

optparser::~optparser() = default;

void optparser::add_opt(int a_id, const char* a_long_name, unsigned a_min, unsigned a_max) {
    m_opts[a_id] = opt(a_long_name, a_min, a_max);
}

optparser::opts::const_iterator optparser::get(const char* a_long_name) const {
    for (auto l_iter = m_opts.begin(); l_iter != m_opts.end(); ++l_iter) {
        const char* l_name = l_iter->second.long_version();
        if (l_name && a_long_name && std::strcmp(l_name, a_long_name) == 0) return l_iter;
    }
    return m_opts.end();
}

bool optparser::parse(unsigned a_argc, char** a_argv) {
    m_args.clear();
    m_args.reserve(16);

    // Hands the gathered arguments to the callback and empties the list for the next one.
    const auto call = [this](int a_id) {
        std::vector<const char*> l_args(m_args);
        m_args.clear();
        return (*m_functor)(a_id, std::move(l_args));
    };
    const auto stop = [this](int a_id) {
        m_functor->m_stopped_at = a_id;
        return true;
    };
    // Gathers the option's arguments from a_argv[next] on: at least min, then up to max that
    // do not look like options. Reports a shortage through `too_few`.
    const auto gather = [&](unsigned& a_next, const opt& a_opt, auto a_too_few) {
        while (m_args.size() < a_opt.min()) {
            if (a_next >= a_argc || looks_like_option(a_argv[a_next])) {
                a_too_few();
                return false;
            }
            m_args.push_back(a_argv[a_next++]);
        }
        while (m_args.size() < a_opt.max() && a_next < a_argc &&
               !looks_like_option(a_argv[a_next])) {
            m_args.push_back(a_argv[a_next++]);
        }
        return true;
    };
    // A result below -1 consumed nothing; it never moves the parse backwards.
    const auto consumed = [](int a_result) { return a_result < 0 ? 0u : unsigned(a_result); };

    unsigned l_index = 1;
    while (l_index < a_argc) {
        const char* l_text = a_argv[l_index];

        if (l_text[0] != '-') {  // a free argument
            m_args.push_back(l_text);
            if (call(1) == -1) return stop(1);
            ++l_index;
            continue;
        }
        if (l_text[1] == '\0') {  // a lone dash
            ++l_index;
            continue;
        }
        if (l_text[1] == '-' && l_text[2] == '\0') {  // "--": the rest are free arguments
            for (unsigned l_rest = l_index + 1; l_rest < a_argc; ++l_rest) {
                m_args.push_back(a_argv[l_rest]);
                call(1);
            }
            return true;
        }
        if (l_text[1] == '-') {  // a long option, its name taken whole
            const char* l_name = l_text + 2;
            const auto l_iter = get(l_name);
            if (l_iter == m_opts.end()) {
                std::fprintf(stderr, "*** no such option `%s'\n", l_name);
                return false;
            }
            unsigned l_next = l_index + 1;
            if (!gather(l_next, l_iter->second, [l_name] {
                    std::fprintf(stderr, "*** too few arguments for option `%s'\n", l_name);
                })) {
                return false;
            }
            const int l_result = call(l_iter->first);
            if (l_result == -1) return stop(l_iter->first);
            l_index += consumed(l_result) + 1;
            continue;
        }

        // A group of short options.
        unsigned l_next_index = l_index + 1;
        for (const char* l_char = l_text + 1; *l_char != '\0'; ++l_char) {
            const char l_short = *l_char;
            const int l_id = static_cast<unsigned char>(l_short);
            const auto l_iter = m_opts.find(l_id);
            if (l_iter == m_opts.end()) {
                std::fprintf(stderr, "*** no such option `%c'\n", l_short);
                return false;
            }
            if (l_iter->second.max() == 0) {  // a flag; the group goes on
                if (call(l_id) == -1) return stop(l_id);
                continue;
            }
            // An option with arguments ends the group; the rest of the element is attached.
            const bool l_attached = l_char[1] != '\0';
            if (l_attached) m_args.push_back(l_char + 1);
            unsigned l_next = l_index + 1;
            if (!gather(l_next, l_iter->second, [l_short] {
                    std::fprintf(stderr, "*** too few arguments for option `%c'\n", l_short);
                })) {
                return false;
            }
            const int l_result = call(l_id);
            if (l_result == -1) return stop(l_id);
            // An attached argument consumed no element; the parse still never reads the same
            // element twice.
            l_next_index = l_index + consumed(l_result) + (l_attached ? 0 : 1);
            if (l_next_index <= l_index) l_next_index = l_index + 1;
            break;
        }
        l_index = l_next_index;
    }
    return true;
}

}  // namespace arg
}  // namespace nubase
