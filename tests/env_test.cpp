// Environment queries: the working directory (deep ones included, and the documented raise when
// it has gone) and the home directory with its fallback from "HOME" to the password database.
#include "nubase/env.hpp"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "nubase/es.hpp"
#include "vectors/path.hpp"

namespace {

namespace fs = std::filesystem;
using nubase_vectors::path::fresh_temp_dir;
using nubase_vectors::path::scoped_cwd;
using nubase_vectors::path::scoped_env;

TEST(Env, WorkingDirectoryOfAnyDepth) {
    EXPECT_EQ(fs::current_path().string(), nubase::env::get_current_working_directory_path());

    // Deeper than the first buffer holds: the query retries with a larger one.
    const fs::path l_top = fresh_temp_dir("cwd");
    fs::path l_deep = l_top;
    while (l_deep.string().size() <= 2600)
        l_deep /= std::string(200, 'd');
    fs::create_directories(l_deep);
    {
        scoped_cwd l_in(l_deep);
        EXPECT_EQ(l_deep.string(), nubase::env::get_current_working_directory_path());
    }
    fs::remove_all(l_top);
}

TEST(Env, WorkingDirectoryGoneRaises) {
    const fs::path l_dir = fresh_temp_dir("gone");
    scoped_cwd l_in(l_dir);
    fs::remove(l_dir);
    try {
        (void)nubase::env::get_current_working_directory_path();
        FAIL() << "no exception";
    } catch (const nubase::es::call& l_e) {
        const nubase::es::base& l_base = l_e;
        EXPECT_STREQ("lib/nubase/src/utility", l_base.file());
        EXPECT_EQ(1343u, l_base.line());
        EXPECT_EQ(0, std::strncmp("getcwd() failed: ", l_base.what(), 17)) << l_base.what();
    }
}

TEST(Env, HomeFromTheEnvironmentFirst) {
    for (const char* l_value : {"/srv/home/ann", ""}) {  // set, even to nothing, counts as set
        scoped_env l_home("HOME", l_value);
        EXPECT_EQ(l_value, nubase::env::get_user_home_path());
    }
    scoped_env l_home("HOME", nullptr);
    const passwd* l_pw = getpwuid(getuid());
    if (l_pw != nullptr && l_pw->pw_dir != nullptr) {
        EXPECT_EQ(l_pw->pw_dir, nubase::env::get_user_home_path());
    } else {
        EXPECT_THROW((void)nubase::env::get_user_home_path(), nubase::es::call);
    }
}

}  // namespace
