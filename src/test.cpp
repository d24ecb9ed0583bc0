// The unit-test registry and the runner that walks it.
#include "nubase/test.hpp"

#include <algorithm>

namespace nubase {
namespace test {
namespace {

constexpr char k_source[] = "lib/nubase/src/test";

}  // namespace

fail::fail(const char* a_file, unsigned a_line, const char* a_msg) : base(a_file, a_line, a_msg) {}
fail::~fail() = default;
const char* fail::what() const noexcept {
    return "unit-test";
}

void fail::raise(const char* a_file, unsigned a_line, const char* a_msg) {
    throw fail(a_file, a_line, a_msg);
}

unit::unit(const std::string& a_suite_name, const std::string& a_unit_name) {
    registry::insert(*this, a_unit_name, a_suite_name);
}

unit::~unit() = default;

void unit::testcase(const std::string& a_name, function a_function) {
    m_cases.emplace_back(a_name, a_function);
}

void unit::expect_failure(const std::string& a_name, const std::string& a_reason) {
    m_expected_failures[a_name] = a_reason;
}

const std::string* unit::expected_failure(const std::string& a_name) const {
    const auto l_iter = m_expected_failures.find(a_name);
    return l_iter == m_expected_failures.end() ? nullptr : &l_iter->second;
}

unit::const_iterator unit::find(const std::string& a_name) const {
    return std::find_if(m_cases.begin(), m_cases.end(),
                        [&](const cases::value_type& a_case) { return a_case.first == a_name; });
}

registry& registry::instance() {
    static registry s_registry;
    return s_registry;
}

void registry::insert(const unit& a_unit, const std::string& a_unit_name,
                      const std::string& a_suite_name) {
    using units = suite::units;
    suites& l_suites = instance().m_suites;
    auto l_iter = l_suites.find(a_suite_name);
    if (l_iter == l_suites.end()) {
        l_iter = l_suites.emplace(a_suite_name, std::make_unique<suite>()).first;
    }
    if (false == l_iter->second->m_units.insert(units::value_type(a_unit_name, &a_unit)).second) {
        ds::abort(k_source, __LINE__, "Abort-If: %s",
                  "false == l_iter->second->m_units.insert(units::value_type(a_unit_name, "
                  "&a_unit)).second");
    }
}

namespace {

// Runs one case and classifies what happened.
case_result run_case(const std::string& a_suite, const std::string& a_unit_name, const unit& a_unit,
                     const unit::cases::value_type& a_case) {
    case_result l_result{a_suite, a_unit_name, a_case.first, outcome::passed, "", 0, ""};
    bool l_failed = true;
    try {
        a_case.second();
        l_failed = false;
    } catch (const fail& e) {
        l_result.file = static_cast<const es::base&>(e).file();
        l_result.line = e.line();
        l_result.message = e.message();
    } catch (const es::base& e) {
        l_result.file = e.file();
        l_result.line = e.line();
        l_result.message = std::string("unexpected exception: ") + e.what();
    } catch (const std::exception& e) {
        l_result.message = std::string("unexpected exception: ") + e.what();
    } catch (...) {
        l_result.message = "unexpected exception: unknown";
    }
    const std::string* l_known = a_unit.expected_failure(a_case.first);
    if (l_known) {
        l_result.result = l_failed ? outcome::expected_failure : outcome::unexpected_pass;
        l_result.message +=
            (l_failed ? " (known: " : "known to fail: ") + *l_known + (l_failed ? ")" : "");
    } else {
        l_result.result = l_failed ? outcome::failed : outcome::passed;
    }
    return l_result;
}

void print_result(const case_result& a_result, void* a_out) {
    static const char* const k_labels[] = {"PASS ", "FAIL ", "XFAIL", "XPASS"};
    auto* l_out = static_cast<std::FILE*>(a_out);
    std::fprintf(l_out, "%s %s/%s/%s", k_labels[static_cast<int>(a_result.result)],
                 a_result.suite.c_str(), a_result.unit.c_str(), a_result.name.c_str());
    if (!a_result.file.empty()) {
        std::fprintf(l_out, " [%s:%u]", a_result.file.c_str(), a_result.line);
    }
    if (!a_result.message.empty()) std::fprintf(l_out, " %s", a_result.message.c_str());
    std::fputc('\n', l_out);
}

// Splits "suite/unit/case" into at most three parts; the case name keeps any further '/'.
std::vector<std::string> split_selector(const std::string& a_selector) {
    std::vector<std::string> l_parts;
    std::size_t l_start = 0;
    while (l_parts.size() < 2) {
        const std::size_t l_slash = a_selector.find('/', l_start);
        if (l_slash == std::string::npos) break;
        l_parts.push_back(a_selector.substr(l_start, l_slash - l_start));
        l_start = l_slash + 1;
    }
    l_parts.push_back(a_selector.substr(l_start));
    return l_parts;
}

}  // namespace

run_summary run(const std::string& a_selector, void (*a_observer)(const case_result&, void*),
                void* a_context) {
    const std::vector<std::string> l_parts =
        a_selector.empty() ? std::vector<std::string>() : split_selector(a_selector);
    run_summary l_summary;
    for (const auto& l_suite : registry::instance()) {
        if (!l_parts.empty() && l_suite.first != l_parts[0]) continue;
        for (const auto& l_unit : *l_suite.second) {
            if (l_parts.size() > 1 && l_unit.first != l_parts[1]) continue;
            for (const auto& l_case : *l_unit.second) {
                if (l_parts.size() > 2 && l_case.first != l_parts[2]) continue;
                const case_result l_result =
                    run_case(l_suite.first, l_unit.first, *l_unit.second, l_case);
                switch (l_result.result) {
                    case outcome::passed:
                        ++l_summary.passed;
                        break;
                    case outcome::expected_failure:
                        ++l_summary.expected_failures;
                        break;
                    case outcome::failed:
                    case outcome::unexpected_pass:
                        ++l_summary.failed;
                        break;
                }
                if (a_observer) a_observer(l_result, a_context);
            }
        }
    }
    return l_summary;
}

run_summary run(const std::string& a_selector, std::FILE* a_out) {
    const run_summary l_summary = run(a_selector, a_out ? &print_result : nullptr, a_out);
    if (a_out) {
        if (l_summary.passed + l_summary.failed + l_summary.expected_failures == 0) {
            std::fprintf(a_out, "no test matches '%s'\n", a_selector.c_str());
        }
        std::fprintf(a_out, "%u passed, %u failed\n", l_summary.passed, l_summary.failed);
        if (l_summary.expected_failures != 0) {
            std::fprintf(a_out, "%u expected failures\n", l_summary.expected_failures);
        }
        std::fflush(a_out);
    }
    return l_summary;
}

}  // namespace test
}  // namespace nubase
