// nubase/test.hpp - the unit-test registry, the library's own test units, and their runner.
//
// Test units are global objects that register themselves while static initialisation runs, in
// one process-wide registry of suites of units of named cases. A case is a plain function that
// returns on success and throws `test::fail` on failure:
//
//   namespace {
//   void creation() {
//       if (nubase::timecode().is_valid()) nubase::test::fail::raise(k_source, __LINE__, "valid");
//   }
//   struct t__unit__clip : nubase::test::unit {
//       t__unit__clip() : unit("myapp", "clip") { testcase("creation", &creation); }
//   } g__unit__clip;
//   }  // namespace
//
//   // in main(), or behind a --selftest option:
//   const auto summary = nubase::test::run("", stdout);   // every suite
//   return summary.ok() ? 0 : 1;
//
// The library registers its own units at load: nubase/object, nubase/object_refcount,
// nubase/timecode, nubase/types and nucore/parseopt.
#ifndef NUBASE_TEST_HPP
#define NUBASE_TEST_HPP

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "nubase/config.hpp"
#include "nubase/es.hpp"

namespace nubase {
namespace test {

// A failed check. Built like every `es` object from the raising site's source name, line and
// message (null reads "n/a"); `what()` (and so `msg()`) is always "unit-test", and `message()`
// gives the check's own text.
class NUBASE_API fail : public es::base {
  public:
    fail(const char* a_file, unsigned a_line, const char* a_msg);
    ~fail() override;

    const char* what() const noexcept override;
    // The message given at the raise ("n/a" for none).
    const char* message() const noexcept { return es::base::what(); }

    [[noreturn]] static void raise(const char* a_file, unsigned a_line, const char* a_msg);
};

// Base of every test unit: its cases in registration order. Constructing a unit registers it;
// a unit must outlive its use through the registry (units are global objects).
class NUBASE_API unit {
  public:
    using function = void (*)();
    using cases = std::vector<std::pair<std::string, function>>;
    using const_iterator = cases::const_iterator;

    // Registers this unit as `unit_name` in suite `suite_name`. A second unit of the same name in
    // the same suite ends the process (a programming error, reported through `ds::abort`).
    unit(const std::string& a_suite_name, const std::string& a_unit_name);
    unit(const unit&) = delete;
    unit& operator=(const unit&) = delete;
    virtual ~unit();

    // Appends a case; names are not checked for duplicates.
    void testcase(const std::string& a_name, function a_function);

    // Marks case `name` as a known failure: the runner reports it as expected instead of
    // failing the run, and reports it as a failure should it ever pass. `reason` is shown.
    void expect_failure(const std::string& a_name, const std::string& a_reason);
    // The reason given for a known failure, or null for an ordinary case.
    [[nodiscard]] const std::string* expected_failure(const std::string& a_name) const;

    std::size_t size() const noexcept { return m_cases.size(); }
    const_iterator begin() const noexcept { return m_cases.begin(); }
    const_iterator end() const noexcept { return m_cases.end(); }
    // The first case of that name, or end().
    [[nodiscard]] const_iterator find(const std::string& a_name) const;

  private:
    cases m_cases;
    std::map<std::string, std::string> m_expected_failures;
};

// The units of one suite, by name (not owned).
class NUBASE_API suite {
  public:
    using units = std::map<std::string, const unit*>;
    using const_iterator = units::const_iterator;

    std::size_t size() const noexcept { return m_units.size(); }
    const_iterator begin() const noexcept { return m_units.begin(); }
    const_iterator end() const noexcept { return m_units.end(); }
    [[nodiscard]] const_iterator find(const std::string& a_unit_name) const {
        return m_units.find(a_unit_name);
    }

    units m_units;
};

// The process-wide registry: suites by name, each created on first use of its name. Reached
// through `instance()`, a function-local static, so units registering from static constructors
// of any translation unit, in any order, all find it. Not locked: registration happens during
// static initialisation, before threads exist.
class NUBASE_API registry {
  public:
    using suites = std::map<std::string, std::unique_ptr<suite>>;
    using const_iterator = suites::const_iterator;

    static registry& instance();

    // Adds `u` as `unit_name` to suite `suite_name`; a duplicate name in the suite ends the
    // process with "Abort-If: ..." through `ds::abort`.
    static void insert(const unit& a_unit, const std::string& a_unit_name,
                       const std::string& a_suite_name);

    std::size_t size() const noexcept { return m_suites.size(); }
    const_iterator begin() const noexcept { return m_suites.begin(); }
    const_iterator end() const noexcept { return m_suites.end(); }
    [[nodiscard]] const_iterator find(const std::string& a_suite_name) const {
        return m_suites.find(a_suite_name);
    }

  private:
    registry() = default;
    suites m_suites;
};

// ---- The runner ----

// The outcome of one case.
enum class outcome {
    passed,
    failed,            // threw `fail` or any other exception
    expected_failure,  // a known failure that failed as expected
    unexpected_pass,   // a known failure that passed: counts as a failure
};

// One case's report. `file`/`line` name the failing check (empty and 0 when it passed; for an
// exception other than `fail` they are the exception's own when it is an `es` object).
struct case_result {
    std::string suite;
    std::string unit;
    std::string name;
    outcome result;
    std::string file;
    unsigned line;
    std::string message;
};

struct run_summary {
    unsigned passed = 0;
    unsigned failed = 0;  // failures and unexpected passes
    unsigned expected_failures = 0;
    // True when at least one case ran and nothing failed unexpectedly.
    bool ok() const noexcept { return failed == 0 && passed + expected_failures > 0; }
};

// Runs the cases that `selector` names: "" every suite, "suite", "suite/unit" or
// "suite/unit/case". Each case's result goes to `out` (null: nothing is printed) as one line:
//   "PASS  nubase/timecode/creation"
//   "FAIL  nucore/parseopt/parse3 [lib/nucore/src/parseopt_tests:120] too many calls"
//   "XFAIL nucore/parseopt/parse14 [...] ... (known: <reason>)"
//   "XPASS nucore/parseopt/parse15 (known to fail: <reason>)"
// then the summary line "N passed, M failed" and, when there were any, "K expected failures".
// A selector that names nothing prints "no test matches '<selector>'" and runs nothing (the
// summary is then not ok). Exceptions thrown by a case never escape.
NUBASE_API run_summary run(const std::string& a_selector, std::FILE* a_out);

// The same, reporting each case to `observer` instead of printing.
NUBASE_API run_summary run(const std::string& a_selector,
                           void (*a_observer)(const case_result&, void*), void* a_context);

}  // namespace test
}  // namespace nubase

#endif  // NUBASE_TEST_HPP
