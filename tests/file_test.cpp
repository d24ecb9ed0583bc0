// Files: the descriptor handle's errors and copy rule, the path classifiers, whole-file helpers
// and safe file names.
#include "nubase/file.hpp"

#include "nubase/es.hpp"
#include "descriptors.hpp"
#include "vectors/path.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <functional>
#include <set>
#include <string>

namespace {

using nubase::file;
namespace fileutil = nubase::fileutil;

class Files : public ::testing::Test {
  protected:
    void SetUp() override { m_fds = nubase_test::open_descriptors(); }
    void TearDown() override {
        EXPECT_EQ(m_fds, nubase_test::open_descriptors()) << "a descriptor leaked";
        std::filesystem::remove_all(m_dir);
    }
    std::string path(const char* a_name) const { return m_dir + "/" + a_name; }

    const std::string m_dir = nubase_vectors::path::fresh_temp_dir("file").string();
    int m_fds = 0;
};

TEST_F(Files, ReadWriteSeekTellSize) {
    file f(path("a"), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ASSERT_TRUE(f.is_open());
    EXPECT_EQ(0, fcntl(f.get_fd(), F_GETFD) & FD_CLOEXEC);
    f.close_on_exec();
    EXPECT_NE(0, fcntl(f.get_fd(), F_GETFD) & FD_CLOEXEC);
    EXPECT_EQ(6u, f.write("abcdef", 6));
    EXPECT_EQ(6u, f.tell());
    EXPECT_EQ(6u, f.size());
    EXPECT_EQ(2u, f.seek(2, SEEK_SET));
    char l_data[16] = {};
    EXPECT_EQ(4u, f.read(l_data, sizeof l_data));  // a short count is returned as is
    EXPECT_STREQ("cdef", l_data);
    EXPECT_EQ(0u, f.read(l_data, sizeof l_data));
    EXPECT_EQ(5u, f.seek(~0ULL, SEEK_END));  // the offset is signed: one byte back from the end
    f.close();
    EXPECT_FALSE(f.is_open());
    f.close();  // closing again does nothing

    file l_empty("", O_RDONLY, 0644);  // an empty path opens nothing and raises nothing
    EXPECT_FALSE(l_empty.is_open());
    EXPECT_EQ(-1, l_empty.get_fd());
    file l_zero(0);  // descriptor zero counts as closed: closing must leave standard input open
    EXPECT_FALSE(l_zero.is_open());
    l_zero.close();
    EXPECT_EQ(0, l_zero.get_fd());
    EXPECT_NE(-1, fcntl(0, F_GETFD));
}

// Each failure names its source, line and message; those of `file` also their action.
TEST_F(Files, FailuresRaiseWithSourceLineAndMessage) {
    file l_ro(path("ro"), O_RDONLY | O_CREAT, 0600), l_closed(-1);
    int l_pipe[2];
    ASSERT_EQ(0, pipe(l_pipe));
    file l_reader(l_pipe[0]);
    const std::string l_missing = path("missing");
    const std::string l_open_missing =
        "Failed to open file " + l_missing + " (No such file or directory)";
    std::string l_kept = "kept", l_text;
    nubase::buffer l_bytes;
    char c;
    const struct {
        const char* action;  // that of an es::file; "" for an es::arg
        std::function<void()> call;
        unsigned line;
        std::string what;
    } k_rows[] = {
        {"open", [&] { file f(l_missing, O_RDONLY, 0644); }, 83, l_open_missing},
        {"write", [&] { l_ro.write("x", 1); }, 120, "Failed to write file  (Bad file descriptor)"},
        {"read", [&] { l_closed.read(&c, 1); }, 110, "Failed to read file  (Bad file descriptor)"},
        {"stat", [&] { l_closed.size(); }, 155, "Failed to stat file  (Bad file descriptor)"},
        {"seek", [&] { l_closed.seek(0, SEEK_SET); }, 140,
         "Failed to seek file  (Bad file descriptor)"},
        {"tell", [&] { l_reader.tell(); }, 130, "Failed to tell file  (Illegal seek)"},
        // A missing file raises the open failure of `file` (and the content stays, below).
        {"open", [&] { fileutil::get_file_content(l_missing, l_kept); }, 83, l_open_missing},
        {"", [&] { fileutil::get_file_content("", l_text); }, 680, "failed to open file ''"},
        {"", [&] { fileutil::get_file_content("", l_bytes); }, 721, "failed to open file ''"},
        {"", [] { fileutil::set_file_content("", std::string("x")); }, 694,
         "failed to open/create file ''"},
        {"", [] { fileutil::set_file_content("", nubase::buffer()); }, 735,
         "failed to open/create file ''"},
        {"", [&] { fileutil::get_file_bytes("", 4, l_bytes); }, 754, "failed to open file ''"},
        {"", [] { fileutil::remove_file("/nonexistent/nubase"); }, 766,
         "failed to remove file '/nonexistent/nubase' (No such file or directory)"},
    };
    for (const auto& r : k_rows) {
        SCOPED_TRACE(r.what);
        try {
            r.call();
            ADD_FAILURE() << "nothing raised";
        } catch (const nubase::es::base& e) {
            EXPECT_EQ(r.line, e.line());
            EXPECT_EQ(r.what, e.what());
            const auto* l_file = dynamic_cast<const nubase::es::file*>(&e);
            const bool l_arg = dynamic_cast<const nubase::es::arg*>(&e) != nullptr;
            EXPECT_TRUE(*r.action != '\0' ? l_file != nullptr : l_arg) << "wrong error class";
            EXPECT_STREQ(
                *r.action != '\0' ? "lib/nubase/src/darwin/file" : "lib/nubase/src/utility",
                e.file());
            EXPECT_EQ(r.action, l_file != nullptr ? l_file->action() : std::string());
        }
    }
    EXPECT_EQ("kept", l_kept);
    l_ro.close();
    l_reader.close();
    ::close(l_pipe[1]);
}

TEST_F(Files, CopiesShareTheNumberButNotTheState) {
    file a(path("c"), O_WRONLY | O_CREAT, 0600);
    const int l_fd = a.get_fd();
    file b(a), c(-1);
    c = a;
    a.close();
    EXPECT_EQ(-1, a.get_fd());
    EXPECT_EQ(l_fd, b.get_fd());  // still shows the old descriptor
    EXPECT_EQ(l_fd, c.get_fd());

    std::set<file, nubase::file_cmp> l_files{file(7), file(3), file(5)};
    EXPECT_EQ(3, l_files.begin()->get_fd());
}

TEST(FilePaths, HiddenFilesAndResolvedAliases) {
    const struct {
        const char* path;
        bool hidden;
    } k_rows[] = {{"a/", true},   {".profile", true}, {"a/.b", true}, {"", true},
                  {"a/b", false}, {"b.", false},      {".a/b", false}};
    for (const auto& r : k_rows)
        EXPECT_EQ(r.hidden, file::is_hidden_file(r.path)) << r.path;

    const struct {
        const char *in, *out;
    } k_resolved[] = {{"", "/"},        {"/", "/"},    {"a//b/", "/a/b"},
                      {"/x/y", "/x/y"}, {"//x", "/x"}, {"a/../b", "/a/../b"}};
    for (const auto& r : k_resolved)
        EXPECT_EQ(r.out, file::resolve_alias(r.in)) << r.in;
}

TEST_F(Files, WholeFileRoundTrips) {
    const std::string l_text = std::string("line one\n\0\xff binary", 18);
    fileutil::set_file_content(path("t"), l_text);
    EXPECT_EQ(l_text, fileutil::string_with_file_content(path("t")));
    fileutil::set_file_content(path("t"), std::string());  // truncates
    EXPECT_EQ("", fileutil::string_with_file_content(path("t")));

    const nubase::buffer l_bytes(3, reinterpret_cast<const unsigned char*>("\x01\x02\x03"));
    fileutil::set_file_content(path("b"), l_bytes);
    nubase::buffer l_back;
    fileutil::get_file_content(path("b"), l_back);
    EXPECT_EQ(l_bytes, l_back);

    const auto text = [&] { return std::string(l_back.data(), l_back.data() + l_back.size()); };
    fileutil::set_file_content(path("h"), std::string("abc"));
    fileutil::get_file_bytes(path("h"), 2, l_back);
    EXPECT_EQ(std::string("ab"), text());
    // Past the end: zero bytes up to the size asked.
    fileutil::get_file_bytes(path("h"), 6, l_back);
    EXPECT_EQ(std::string("abc\0\0\0", 6), text());

    fileutil::remove_file(path("h"));
    EXPECT_NE(0, access(path("h").c_str(), F_OK));
}

TEST(FileUtil, SafeFilenameMapsEveryByte) {
    EXPECT_EQ("a_b_c.d.e", fileutil::create_safe_filename("a b/c:d.e"));
    EXPECT_EQ("", fileutil::create_safe_filename(""));
    const std::string k_kept = "!#%()+-=@[]", k_dots = ",.:;";
    for (int c = 0; c < 256; ++c) {
        const char ch = static_cast<char>(c);
        char expected = '_';
        if (std::isalnum(c) || k_kept.find(ch) != std::string::npos) expected = ch;
        if (k_dots.find(ch) != std::string::npos) expected = '.';
        EXPECT_EQ(std::string(1, expected), fileutil::create_safe_filename(std::string(1, ch)))
            << "byte " << c;
    }
}

}  // namespace
