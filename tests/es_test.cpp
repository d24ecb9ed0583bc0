// The exception family, severities and the fatal abort.
#include "nubase/es.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <string>
#include <type_traits>

namespace {

using namespace nubase;

// The other leaves reach the root through the tests below.
static_assert(std::is_base_of_v<std::exception, es::base> &&
              std::is_base_of_v<es::base, es::api_code>);

TEST(Severity, NamesAndUnknownValues) {
    const char* const expected[] = {"fatal",   "alert",  "critical", "error",
                                    "warning", "notice", "info",     "debug"};
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(expected[i], cstr_with_severity(severity(i)));
    EXPECT_STREQ("UNKNOWN", cstr_with_severity(severity(8)));
    EXPECT_STREQ("UNKNOWN", cstr_with_severity(severity(-1)));
}

// Every leaf is caught by its own kind, and reads through the root with the site's identity.
template <class Leaf>
void expect_leaf_raise() {
    try {
        Leaf::raise("lib/nubase/src/x", 42u, "boom");
        FAIL() << "raise returned";
    } catch (const Leaf& e) {
        const es::base& b = e;
        EXPECT_STREQ("boom", b.what());
        EXPECT_STREQ("boom", b.msg());
        EXPECT_STREQ("lib/nubase/src/x", b.file());
        EXPECT_EQ(42u, b.line());
    }
}

template <class... Leaves>
void expect_leaves_raise() {
    (expect_leaf_raise<Leaves>(), ...);
}

TEST(Es, PlainLeavesCarrySourceLineAndMessage) {
    expect_leaves_raise<es::arg, es::alloc, es::call, es::inuse, es::null, es::oflow, es::range,
                        es::uflow, es::uninit, es::unsupp, es::uspec>();
}

TEST(Es, NullMessageReadsNotAvailable) {
    const es::uspec direct("f", 2, nullptr);
    EXPECT_STREQ("n/a", direct.what());
    EXPECT_STREQ("n/a", direct.msg());
}

TEST(Es, NumberedCallMessage) {
    const auto text = [](int err, const char* msg) {
        try {
            es::call::raise(err, "f", 3, msg);
        } catch (const es::call& e) {
            return std::string(e.what());
        }
        return std::string("not raised");
    };
    EXPECT_EQ("open (err = 13)", text(13, "open"));
    EXPECT_EQ("n/a (err = 13)", text(13, nullptr));
    EXPECT_EQ("x (err = -2147483648)", text(-2147483647 - 1, "x"));
    // A long message is cut at 255 characters rather than failing.
    EXPECT_EQ(std::string(255, 'm'), text(7, std::string(1000, 'm').c_str()));
}

TEST(Es, FileFormatsActionSubjectAndReasonOnEveryCall) {
    es::file e("lib/nubase/src/file", 9, "Permission denied", "open", "/a/b");
    EXPECT_STREQ("Failed to open file /a/b (Permission denied)", e.what());
    e.set_subject_file("/c");
    EXPECT_STREQ("Failed to open file /c (Permission denied)", e.what());
    EXPECT_STREQ("Failed to open file /c (Permission denied)", static_cast<es::base&>(e).msg());
    EXPECT_STREQ("lib/nubase/src/file", static_cast<const es::base&>(e).file());

    try {
        es::file::raise("f", 1, "Permission denied", "open");
    } catch (const es::file& raised) {
        EXPECT_STREQ("Failed to open file  (Permission denied)", raised.what());
        // A copy formats on its own.
        es::file copy = raised;
        copy.set_subject_file("/d");
        EXPECT_STREQ("Failed to open file /d (Permission denied)", copy.what());
        EXPECT_STREQ("Failed to open file  (Permission denied)", raised.what());
    }
}

TEST(Es, ApiCodeKeepsTheFullSignedValue) {
    for (long long code : {0LL, -1LL, 0x7fffffffffffffffLL, -0x7fffffffffffffffLL - 1}) {
        try {
            es::api_code::raise("f", 5, code, "status");
        } catch (const es::api_code& e) {
            EXPECT_EQ(code, e.code());
            EXPECT_STREQ("status", e.what());
        }
    }
}

TEST(AbortDeathTest, PrintsOneLineAndDiesBySigabrtEvenWhenAHandlerCatchesIt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The line goes to standard output; the child moves it to standard error for the death test.
    EXPECT_EXIT(
        {
            dup2(2, 1);
            ds::abort("lib/nubase/src/x", 7, "value %d", 3);
        },
        testing::KilledBySignal(SIGABRT), "Abort \\[lib/nubase/src/x:7\\] 'value 3'$");
    EXPECT_EXIT(
        {
            std::signal(SIGABRT, [](int) {});
            dup2(2, 1);
            ds::abort(nullptr, 0, "%s", "caught");
        },
        testing::KilledBySignal(SIGABRT), "Abort \\[n/a:0\\] 'caught'$");
}

TEST(Callstack, OneLinePerFrameWithoutThePrinter) {
    testing::internal::CaptureStdout();
    ds::print_callstack();
    const std::string out = testing::internal::GetCapturedStdout();
    ASSERT_FALSE(out.empty());
    EXPECT_EQ('\n', out.back());
    EXPECT_EQ(std::string::npos, out.find("print_callstack"));
    EXPECT_THAT(out, testing::StartsWith("#1 0x"));
    // The caller's frames come through the test framework, whose symbols are exported.
    EXPECT_THAT(out, testing::HasSubstr("testing::"));
}

}  // namespace
