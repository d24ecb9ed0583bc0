// The unit-test registry and its runner, and the library's own units run through it.
#include "nubase/test.hpp"

#include "capture.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace nubase;

constexpr char k_source[] = "tests/test_registry_test";

void passes() {}
void fails() {
    test::fail::raise(k_source, 17, "seventeen");
}

// Registered at static initialisation like the library's own units, in a suite of its own.
struct t__unit__sample : test::unit {
    t__unit__sample() : unit("zz_sample", "sample") {
        testcase("passes", &passes);
        testcase("fails", &fails);
        testcase("throws es", [] { es::range::raise("lib/x", 3, "out"); });
        testcase("throws std", [] { throw std::runtime_error("boom"); });
        testcase("known failure", &fails);
        testcase("known failure that passes", &passes);
        expect_failure("known failure", "kept");
        expect_failure("known failure that passes", "kept");
    }
} g__unit__sample;

struct t__unit__second : test::unit {
    t__unit__second() : unit("zz_sample", "another") { testcase("passes", &passes); }
} g__unit__second;

std::string run_text(const std::string& selector, test::run_summary* summary = nullptr) {
    std::FILE* f = std::tmpfile();
    const test::run_summary s = test::run(selector, f);
    if (summary) *summary = s;
    return read_and_close(f);
}

TEST(TestRegistry, SuitesUnitsAndCasesInTheirOrder) {
    const test::registry& r = test::registry::instance();
    const auto suite = r.find("zz_sample");
    ASSERT_NE(r.end(), suite);
    std::vector<std::string> units;
    for (const auto& u : *suite->second)
        units.push_back(u.first);
    EXPECT_EQ((std::vector<std::string>{"another", "sample"}), units);

    const test::unit& sample = *suite->second->find("sample")->second;
    ASSERT_EQ(6u, sample.size());
    EXPECT_EQ("passes", sample.begin()->first);
    EXPECT_EQ("fails", (sample.begin() + 1)->first);
    EXPECT_EQ(sample.begin() + 2, sample.find("throws es"));
    EXPECT_EQ(sample.end(), sample.find("missing"));
    EXPECT_EQ(nullptr, sample.expected_failure("passes"));
    ASSERT_NE(nullptr, sample.expected_failure("known failure"));

    // The library's own units are registered at load.
    const auto nubase_suite = r.find("nubase");
    ASSERT_NE(r.end(), nubase_suite);
    for (const char* name : {"object", "object_refcount", "timecode", "types"}) {
        EXPECT_NE(nubase_suite->second->end(), nubase_suite->second->find(name)) << name;
    }
}

TEST(TestRegistry, FailCarriesItsSiteAndReadsUnitTest) {
    try {
        test::fail::raise("lib/x", 9, nullptr);
    } catch (const es::base& e) {
        EXPECT_STREQ("unit-test", e.what());
        EXPECT_STREQ("unit-test", e.msg());
        EXPECT_STREQ("lib/x", e.file());
        EXPECT_EQ(9u, e.line());
        EXPECT_STREQ("n/a", static_cast<const test::fail&>(e).message());
    }
}

TEST(TestRunner, ReportsEveryOutcome) {
    test::run_summary summary;
    const std::string out = run_text("zz_sample/sample", &summary);
    EXPECT_EQ(
        "PASS  zz_sample/sample/passes\n"
        "FAIL  zz_sample/sample/fails [tests/test_registry_test:17] seventeen\n"
        "FAIL  zz_sample/sample/throws es [lib/x:3] unexpected exception: out\n"
        "FAIL  zz_sample/sample/throws std unexpected exception: boom\n"
        "XFAIL zz_sample/sample/known failure [tests/test_registry_test:17] seventeen (known: "
        "kept)\n"
        "XPASS zz_sample/sample/known failure that passes known to fail: kept\n"
        "1 passed, 4 failed\n"
        "1 expected failures\n",
        out);
    EXPECT_FALSE(summary.ok()) << "the counts are printed from the summary";
}

TEST(TestRunner, Selectors) {
    test::run_summary summary;
    EXPECT_EQ("PASS  zz_sample/another/passes\n1 passed, 0 failed\n",
              run_text("zz_sample/another", &summary));
    EXPECT_TRUE(summary.ok());
    EXPECT_EQ("PASS  zz_sample/sample/passes\n1 passed, 0 failed\n",
              run_text("zz_sample/sample/passes"));
    EXPECT_EQ(2u, test::run("zz_sample", nullptr).passed);
    EXPECT_EQ("no test matches 'zz_sample/none'\n0 passed, 0 failed\n",
              run_text("zz_sample/none", &summary));
    EXPECT_FALSE(summary.ok());
}

TEST(TestRunner, LibraryUnitsPassButTheTwoKnownFailures) {
    for (const char* suite : {"nubase", "nucore"}) {
        SCOPED_TRACE(suite);
        std::vector<test::case_result> results;
        testing::internal::CaptureStderr();  // the failing parses print their "*** " lines
        const test::run_summary summary = test::run(
            suite,
            [](const test::case_result& r, void* sink) {
                static_cast<std::vector<test::case_result>*>(sink)->push_back(r);
            },
            &results);
        testing::internal::GetCapturedStderr();
        for (const auto& r : results) {
            const bool known = r.unit == "parseopt" && (r.name == "parse14" || r.name == "parse15");
            EXPECT_EQ(known ? test::outcome::expected_failure : test::outcome::passed, r.result)
                << r.unit << "/" << r.name << " " << r.file << ":" << r.line << " " << r.message;
        }
        EXPECT_TRUE(summary.ok());
    }
}

TEST(TestRegistryDeathTest, DuplicateUnitNameAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            dup2(2, 1);
            static test::unit again("zz_sample", "sample");
        },
        testing::KilledBySignal(SIGABRT),
        "Abort \\[lib/nubase/src/test:[0-9]+\\] 'Abort-If: false == "
        "l_iter->second->m_units.insert\\(units::value_type\\(a_unit_name, &a_unit\\)\\).second'");
}

}  // namespace
