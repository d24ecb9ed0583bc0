// System queries: the release table, fallbacks, environment variables, shell commands, processor
// features matched as whole words, and user and group look-ups.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>

#include "nubase/env.hpp"
#include "nubase/es.hpp"
#include "vectors/path.hpp"
#include "support/raise.hpp"

namespace {

namespace env = nubase::env;

using nubase_vectors::path::scoped_env;

TEST(EnvSystem, ReleaseTable) {
    const std::pair<int, const char*> k_rows[] = {
        {0, "unknown"},    {1, "Windows"}, {7, "Windows Millenium"},
        {22, "Windows 8"}, {23, "OS X"},   {29, "OS X Mountain Lion"},
        {30, "Unknown"},   {-1, "Unknown"}};
    for (const auto& [value, text] : k_rows)
        EXPECT_STREQ(text, env::get_os_version_string(static_cast<env::os_version>(value)))
            << value;
    EXPECT_EQ(env::os_version::unknown, env::get_os_version());  // Linux has no entry
}

TEST(EnvSystem, FixedAnswersAndHostFacts) {
    EXPECT_EQ("x86", env::get_isa());
    EXPECT_EQ("/tmp", env::get_default_tmp_path());
    EXPECT_EQ("Linux", env::get_kernel_name());
    EXPECT_FALSE(env::get_kernel_version().empty());
    EXPECT_EQ(getpid(), env::get_pid());

    std::string l_host;
    std::getline(std::ifstream("/proc/sys/kernel/hostname"), l_host);
    EXPECT_EQ(l_host, env::get_host_name());

    EXPECT_EQ(env::get_executable_path() + "nubase_tests", env::get_executable());

    EXPECT_GT(env::get_num_cpus(), 0);
    EXPECT_GT(env::get_mem_size_MiB(), 0u);
    EXPECT_LE(env::get_avail_mem_MiB(), env::get_mem_size_MiB());

    errno = ENOENT;
    EXPECT_EQ("No such file or directory", env::get_last_os_error());
}

TEST(EnvSystem, CpuUtilizationIsAShare) {
    for (int i = 0; i < 2; ++i) {
        const double l_share = env::get_cpu_utilization();
        EXPECT_TRUE(std::isnan(l_share) || (l_share >= 0.0 && l_share <= 1.0)) << l_share;
    }
}

TEST(EnvSystem, FileSystemQueries) {
    EXPECT_EQ(1048576u, env::get_optimal_io_size("/nonexistent/nubase"));
    EXPECT_GT(env::get_optimal_io_size("/"), 0u);
    EXPECT_FALSE(env::has_local_non_native_access("/"));
    EXPECT_FALSE(env::has_local_non_native_access("/nonexistent/nubase"));
    EXPECT_TRUE(env::has_local_non_native_access("/proc"));  // procfs is never the root's kind
}

TEST(EnvSystem, EnvironmentVariables) {
    for (const char* l_value : {static_cast<const char*>(nullptr), ""}) {
        scoped_env l_var("NUBASE_TEST_VAR", l_value);  // set, even to nothing, counts as set
        EXPECT_EQ(std::make_pair(l_value != nullptr, std::string()),
                  env::get_environment_variable("NUBASE_TEST_VAR"));
    }
    {
        scoped_env l_user("USER", nullptr);
        EXPECT_EQ("Unknown", env::get_user_name());
    }
    scoped_env l_user("USER", "ann");
    EXPECT_EQ("ann", env::get_user_name());
}

TEST(EnvSystem, ExecuteCommandCollectsOutputAndStatus) {
    std::string l_output = "kept:";
    EXPECT_EQ(3 << 8, env::execute_command("printf 'a\\000b'; exit 3", l_output));
    EXPECT_EQ(std::string("kept:a\0b", 8), l_output);  // appended, embedded NUL included

    l_output.clear();
    EXPECT_EQ(0, env::execute_command("head -c 5000 /dev/zero | tr '\\000' x", l_output));
    EXPECT_EQ(std::string(5000, 'x'), l_output);
}

TEST(EnvSystem, CpuFeaturesMatchWholeNamesOnly) {
    const nubase::cpuinfo l_cpu;
    EXPECT_EQ("x86", l_cpu.isa());
    EXPECT_EQ(env::get_num_cpus(), l_cpu.present());
    EXPECT_GE(l_cpu.active(), 1);
    EXPECT_LE(l_cpu.active(), l_cpu.present());

    const std::string l_flags = l_cpu.flags();
    ASSERT_FALSE(l_flags.empty());
    EXPECT_NE(' ', l_flags.front());
    EXPECT_EQ(' ', l_flags.back());
    EXPECT_EQ(std::string::npos, l_flags.find("  "));
    EXPECT_FALSE(l_cpu.flag(""));

    const std::string l_listed = " " + l_flags;
    std::istringstream l_names(l_flags);
    for (std::string l_name; l_names >> l_name;) {
        SCOPED_TRACE(l_name);
        EXPECT_TRUE(l_cpu.flag(l_name));
        std::string l_upper = l_name;
        for (char& c : l_upper)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        EXPECT_FALSE(l_upper != l_name && l_cpu.flag(l_upper)) << "names match case-sensitively";
        // A shorter prefix is found only when it is itself a listed name.
        const std::string l_prefix = l_name.substr(0, l_name.size() - 1);
        EXPECT_EQ(l_listed.find(" " + l_prefix + " ") != std::string::npos, l_cpu.flag(l_prefix));
    }
}

TEST(Users, LookUpsAndTheirFailures) {
    EXPECT_EQ(-1, nubase::uid_with_name(nullptr));
    EXPECT_EQ(-1, nubase::gid_with_name(nullptr));
    EXPECT_EQ(0, nubase::uid_with_name("root"));
    EXPECT_EQ(0, nubase::gid_with_name("root"));
    EXPECT_EQ("root", nubase::name_with_uid(0));
    EXPECT_EQ("root", nubase::name_with_gid(0));

    const std::tuple<const char*, void (*)(), unsigned> k_rows[] = {
        {"getpwnam failed", [] { (void)nubase::uid_with_name("no-such-user-nubase"); }, 30},
        {"getpwuid failed", [] { (void)nubase::name_with_uid(987654321); }, 45},
        {"getgrnam failed", [] { (void)nubase::gid_with_name("no-such-group-nubase"); }, 63},
        {"getgrgid failed", [] { (void)nubase::name_with_gid(987654321); }, 78},
    };
    for (const auto& [what, call, line] : k_rows)
        nubase_vectors::expect_raise<nubase::es::call>(call, "lib/nubase/src/darwin/user", line,
                                                       what);
}

}  // namespace
