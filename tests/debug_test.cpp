// Debug output channels: the mask and its growth, run printing, the hex-dump layout, dumps to a
// file and the assertion abort.
#include "nubase/debug.hpp"

#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace og = nubase::ds_og;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// Each test starts from the mask the library loads with: channels 0 to 4 on.
class DebugChannels : public ::testing::Test {
  protected:
    void SetUp() override { reset(); }
    void TearDown() override { reset(); }
    static void reset() {
        og::mask_clear_range(0, ~0ULL);
        og::mask_set_range(0, 4);
    }
    static std::string printed_mask(unsigned long long a_channel = 0) {
        CaptureStderr();
        og::mask_print(a_channel);
        return GetCapturedStderr();
    }
};

TEST_F(DebugChannels, DefaultsAndGrowth) {
    EXPECT_FALSE(og::mask_bit(~0ULL));
    og::mask_clear_bit(5000000);  // beyond the mask: no growth, no effect
    EXPECT_FALSE(og::mask_bit(5000000));
    og::mask_set_bit(2000);
    EXPECT_EQ("{ [0..4], 2000, }\n", printed_mask()) << "the new words start out zero";

    og::mask_set_bit(70000);
    og::mask_clear_bit(70000);
    EXPECT_EQ("{ [0..4], 2000, }\n", printed_mask()) << "old words are kept across growth";
}

TEST_F(DebugChannels, RangesListsAndRunPrinting) {
    og::mask_set_range(10, 12);
    EXPECT_EQ("{ [0..4], [10..12], }\n", printed_mask());

    og::mask_set_range(9, 8);  // first > last: nothing
    og::mask_clear_range(0, 2);
    EXPECT_EQ("{ 3, 4, [10..12], }\n", printed_mask(3));

    // Runs that cross 32-bit word boundaries.
    og::mask_clear_range(0, 100);
    og::mask_set_range(30, 65);
    EXPECT_EQ("{ [30..65], }\n", printed_mask(30));
    og::mask_clear_range(31, 64);
    EXPECT_EQ("{ 30, 65, }\n", printed_mask(30));

    const unsigned long long k_list[] = {7, 8, 1023};
    og::mask_set_bits(k_list, 3);
    og::mask_set_bits(nullptr, 3);
    og::mask_clear_bits(k_list + 2, 1);
    EXPECT_EQ("{ 7, 8, 30, 65, }\n", printed_mask(7));
    EXPECT_EQ("", printed_mask(1)) << "channel 1 is off";
}

TEST_F(DebugChannels, PrintAndFlushFollowTheMask) {
    CaptureStderr();
    og::print(5, "off %d\n", 1);
    og::print(4, "on %d\n", 2);
    og::flush(4);
    EXPECT_EQ("on 2\n", GetCapturedStderr());
}

TEST_F(DebugChannels, HexDumpLayout) {
    const unsigned char k_three[] = {0x41, 0x00, 0x7F};
    CaptureStderr();
    og::print_buf(0, k_three, 3);
    og::print_buf(0, nullptr, 3);
    og::print_buf(0, k_three, 0);
    og::print_buf(9, k_three, 3);
    EXPECT_EQ("00000000  41 00 7f " + std::string(41, ' ') + "|A.." + std::string(13, ' ') + "|\n",
              GetCapturedStderr());

    unsigned char l_bytes[33];
    for (unsigned i = 0; i < sizeof l_bytes; ++i)
        l_bytes[i] = static_cast<unsigned char>(0x20 + i * 3);
    CaptureStderr();
    og::print_buf(1, l_bytes, sizeof l_bytes);
    EXPECT_EQ(
        "00000000  20 23 26 29 2c 2f 32 35 38 3b 3e 41 44 47 4a 4d   | #&),/258;>ADGJM|\n"
        "00000010  50 53 56 59 5c 5f 62 65 68 6b 6e 71 74 77 7a 7d   |PSVY\\_behknqtwz}|\n"
        "00000020  80 " +
            std::string(47, ' ') + "|." + std::string(15, ' ') + "|\n",
        GetCapturedStderr());
}

TEST_F(DebugChannels, DumpToFileNeverRaises) {
    char l_template[] = "/tmp/nubase_dump_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(l_template));
    const std::string l_path = std::string(l_template) + "/dump.bin";
    { std::ofstream(l_path) << "a much longer earlier content"; }
    CaptureStderr();
    og::dump_buf(2, l_path.c_str(), "\x01\x00\x02", 3);
    og::dump_buf(8, (l_path + "x").c_str(), "zz", 2);  // off: no file
    og::dump_buf(2, (std::string(l_template) + "/no/such/dir").c_str(), "x", 1);
    og::dump_buf(2, nullptr, "x", 1);
    og::dump_buf(2, l_path.c_str(), nullptr, 1);
    og::dump_buf(2, "/dev/full", "x", 1);
    EXPECT_EQ(
        "error: debug dump failed: couldn't open file\n"
        "error: debug dump failed: couldn't open file\n"
        "error: debug dump failed: failed to write file\n"
        "error: debug dump failed: failed to write file\n",
        GetCapturedStderr());
    EXPECT_NE(0, access((l_path + "x").c_str(), F_OK));

    og::dump_buf(2, l_path.c_str(), "\x01\x00\x02", 3);
    std::ifstream l_in(l_path, std::ios::binary);
    const std::string l_read{std::istreambuf_iterator<char>(l_in), {}};
    EXPECT_EQ(std::string("\x01\x00\x02", 3), l_read);  // exactly the bytes, from the start
    std::filesystem::remove_all(l_template);
}

TEST(DebugChannelsDeathTest, AbortReportsOnChannelZeroAndRaisesSigabrt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    og::abort_if(false, "never", __FILE__, __LINE__);  // returns at once
    EXPECT_EXIT(og::abort_if(true, "p != 0", "frame.cpp", 42), testing::KilledBySignal(SIGABRT),
                "abort: 'p != 0' \\[ frame.cpp:42 \\]");
    // A handler that returns does not save the process: the default action is restored.
    EXPECT_EXIT(
        {
            std::signal(SIGABRT, [](int) {});
            og::abort("x", "f", 1);
        },
        testing::KilledBySignal(SIGABRT), "abort: 'x'");
    // With channel 0 off the report is silent, and the process still ends.
    EXPECT_EXIT(
        {
            og::mask_clear_bit(0);
            NUBASE_ABORT_IF(1 + 1 == 2);
        },
        testing::KilledBySignal(SIGABRT), "^$");
}

}  // namespace
