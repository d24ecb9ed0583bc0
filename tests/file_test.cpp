// Files: the descriptor handle's strict errors and copy rule, the path classifiers, whole-file
// helpers and safe file names.
#include "nubase/file.hpp"

#include "nubase/es.hpp"
#include "descriptors.hpp"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <set>
#include <string>

namespace {

using nubase::file;
namespace fileutil = nubase::fileutil;

using nubase_test::open_descriptors;

class Files : public ::testing::Test {
  protected:
    void SetUp() override {
        char l_template[] = "/tmp/nubase_file_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(l_template));
        m_dir = l_template;
        m_fds = open_descriptors();
    }
    void TearDown() override {
        EXPECT_EQ(m_fds, open_descriptors()) << "a descriptor leaked";
        std::string l_cmd = "rm -rf '" + m_dir + "'";
        EXPECT_EQ(0, std::system(l_cmd.c_str()));
    }
    std::string path(const char* a_name) const { return m_dir + "/" + a_name; }

    std::string m_dir;
    int m_fds = 0;
};

// Runs `a_call`, which must raise es::file, and checks the action, line and message.
template <class F>
void expect_file_error(F a_call, const char* a_action, unsigned a_line, const std::string& a_what) {
    try {
        a_call();
        ADD_FAILURE() << "no es::file for " << a_action;
    } catch (const nubase::es::file& e) {
        EXPECT_EQ(a_action, e.action());
        EXPECT_EQ(a_line, e.line());
        EXPECT_EQ(a_what, e.what());
        EXPECT_STREQ("lib/nubase/src/darwin/file", static_cast<const nubase::es::base&>(e).file());
    }
}

TEST_F(Files, OpenFailureNamesPathAndReason) {
    const std::string l_missing = path("missing");
    expect_file_error([&] { file f(l_missing, O_RDONLY, 0644); }, "open", 83,
                      "Failed to open file " + l_missing + " (No such file or directory)");

    file l_empty("", O_RDONLY, 0644);  // an empty path opens nothing and raises nothing
    EXPECT_FALSE(l_empty.is_open());
    EXPECT_EQ(-1, l_empty.get_fd());
}

TEST_F(Files, ReadWriteSeekTellSize) {
    file f(path("a"), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ASSERT_TRUE(f.is_open());
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
}

TEST_F(Files, FailedCallsRaiseWithTheOperationName) {
    {
        file f(path("ro"), O_RDONLY | O_CREAT, 0600);
        expect_file_error([&] { f.write("x", 1); }, "write", 120,
                          "Failed to write file  (Bad file descriptor)");
        f.close();
    }
    file l_closed(-1);
    expect_file_error(
        [&] {
            char c;
            l_closed.read(&c, 1);
        },
        "read", 110, "Failed to read file  (Bad file descriptor)");
    expect_file_error([&] { l_closed.size(); }, "stat", 155,
                      "Failed to stat file  (Bad file descriptor)");
    expect_file_error([&] { l_closed.seek(0, SEEK_SET); }, "seek", 140,
                      "Failed to seek file  (Bad file descriptor)");

    int l_pipe[2];
    ASSERT_EQ(0, pipe(l_pipe));
    file l_reader(l_pipe[0]);
    expect_file_error([&] { l_reader.tell(); }, "tell", 130, "Failed to tell file  (Illegal seek)");
    l_reader.close();
    ::close(l_pipe[1]);
}

TEST_F(Files, CopiesShareTheNumberButNotTheState) {
    file a(path("c"), O_WRONLY | O_CREAT, 0600);
    const int l_fd = a.get_fd();
    file b(a);
    file c(-1);
    c = a;
    a.close();
    EXPECT_EQ(-1, a.get_fd());
    EXPECT_EQ(l_fd, b.get_fd());  // still shows the old descriptor
    EXPECT_EQ(l_fd, c.get_fd());
    b.set_fd(-1);
    c.set_fd(-1);

    std::set<file, nubase::file_cmp> l_files{file(7), file(3), file(5)};
    EXPECT_EQ(3, l_files.begin()->get_fd());
}

TEST_F(Files, DescriptorZeroCountsAsClosed) {
    file f(0);
    EXPECT_FALSE(f.is_open());
    f.close();  // must not close standard input
    EXPECT_EQ(0, f.get_fd());
    EXPECT_NE(-1, fcntl(0, F_GETFD));
}

TEST_F(Files, CloseOnExecSetsTheFlag) {
    file f(path("x"), O_WRONLY | O_CREAT, 0600);
    EXPECT_EQ(0, fcntl(f.get_fd(), F_GETFD) & FD_CLOEXEC);
    f.close_on_exec();
    EXPECT_NE(0, fcntl(f.get_fd(), F_GETFD) & FD_CLOEXEC);
    f.close();
}

TEST(FilePaths, HiddenFilesAndAliases) {
    const struct {
        const char* path;
        bool hidden;
    } k_rows[] = {{"a/", true},   {".profile", true}, {"a/.b", true}, {"", true},
                  {"a/b", false}, {"b.", false},      {".a/b", false}};
    for (const auto& r : k_rows)
        EXPECT_EQ(r.hidden, file::is_hidden_file(r.path)) << r.path;

    EXPECT_FALSE(file::is_system_file("/etc/passwd"));
    EXPECT_FALSE(file::is_alias("/tmp"));
    EXPECT_FALSE(file::is_alias_to_directory("/tmp"));
    EXPECT_FALSE(file::is_alias_to_file("/etc/passwd"));

    const struct {
        const char *in, *out;
    } k_resolved[] = {{"", "/"},        {"/", "/"},    {"a//b/", "/a/b"},
                      {"/x/y", "/x/y"}, {"//x", "/x"}, {"a/../b", "/a/../b"}};
    for (const auto& r : k_resolved)
        EXPECT_EQ(r.out, file::resolve_alias(r.in)) << r.in;
}

TEST_F(Files, WholeFileRoundTrips) {
    std::string l_text = "line one\n";
    l_text += std::string("\0\xff binary", 9);
    fileutil::set_file_content(path("t"), l_text);
    EXPECT_EQ(l_text, fileutil::string_with_file_content(path("t")));

    nubase::buffer l_bytes(reinterpret_cast<const unsigned char*>("\x01\x02\x03"),
                           reinterpret_cast<const unsigned char*>("\x01\x02\x03") + 3);
    fileutil::set_file_content(path("b"), l_bytes);
    nubase::buffer l_back;
    fileutil::get_file_content(path("b"), l_back);
    EXPECT_EQ(l_bytes, l_back);

    fileutil::set_file_content(path("t"), std::string());  // truncates
    EXPECT_EQ("", fileutil::string_with_file_content(path("t")));

    nubase::buffer l_head;
    fileutil::set_file_content(path("h"), std::string("abc"));
    fileutil::get_file_bytes(path("h"), 2, l_head);
    EXPECT_EQ(std::string("ab"), std::string(l_head.data(), l_head.data() + l_head.size()));
    fileutil::get_file_bytes(path("h"), 6, l_head);  // asks past the end: keeps the size
    EXPECT_EQ(std::string("abc\0\0\0", 6), std::string(l_head.data(), l_head.data() + 6));

    fileutil::remove_file(path("h"));
    EXPECT_NE(0, access(path("h").c_str(), F_OK));
}

TEST_F(Files, WholeFileFailures) {
    std::string l_content = "kept";
    const std::string l_missing = path("missing");
    // A missing file raises the open failure of `file`, and the content stays.
    expect_file_error([&] { fileutil::get_file_content(l_missing, l_content); }, "open", 83,
                      "Failed to open file " + l_missing + " (No such file or directory)");
    EXPECT_EQ("kept", l_content);

    struct row {
        const char* what;
        void (*call)();
        unsigned line;
        const char* message;
    };
    const row k_rows[] = {
        {"read string",
         [] {
             std::string s;
             fileutil::get_file_content("", s);
         },
         680, "failed to open file ''"},
        {"read buffer",
         [] {
             nubase::buffer b;
             fileutil::get_file_content("", b);
         },
         721, "failed to open file ''"},
        {"write string", [] { fileutil::set_file_content("", std::string("x")); }, 694,
         "failed to open/create file ''"},
        {"write buffer", [] { fileutil::set_file_content("", nubase::buffer()); }, 735,
         "failed to open/create file ''"},
        {"bytes",
         [] {
             nubase::buffer b;
             fileutil::get_file_bytes("", 4, b);
         },
         754, "failed to open file ''"},
        {"remove", [] { fileutil::remove_file("/nonexistent/nubase"); }, 766,
         "failed to remove file '/nonexistent/nubase' (No such file or directory)"},
    };
    for (const auto& r : k_rows) {
        SCOPED_TRACE(r.what);
        try {
            r.call();
            ADD_FAILURE() << "no es::arg";
        } catch (const nubase::es::arg& e) {
            EXPECT_EQ(r.line, e.line());
            EXPECT_STREQ(r.message, e.what());
            EXPECT_STREQ("lib/nubase/src/utility", e.file());
        }
    }
}

TEST(FileUtil, SafeFilenameMapsEveryByte) {
    EXPECT_EQ("a_b_c.d.e", fileutil::create_safe_filename("a b/c:d.e"));
    EXPECT_EQ("_x", fileutil::create_safe_filename("~x"));
    EXPECT_EQ("", fileutil::create_safe_filename(""));

    const std::string k_kept = "!#%()+-=@[]";
    const std::string k_dots = ",.:;";
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
