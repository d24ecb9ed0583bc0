// Known timecode labels and texts, shared by the tests and the benchmarks.
//
// Labels: the counter is h x 3600 x base + m x 60 x base + s x base + f; with drop-frame the
// frame count is the counter less the labels skipped (;00 and ;01 at 29.97, ;00 to ;03 at 59.94,
// in every minute not divisible by ten). Texts: what the text constructor makes of each input
// when read as "%d:%d:%d%*c%d@%s" with the base left at 1 (counter = h x 3600 + m x 60 + s + f).
#ifndef NUBASE_TESTS_VECTORS_TIMECODE_HPP
#define NUBASE_TESTS_VECTORS_TIMECODE_HPP

#include "nubase/timecode.hpp"

namespace nubase_vectors {
namespace timecode_vectors {

struct label {
    nubase::timecode::mode_type mode;
    const char* text;  // with standard separators
    unsigned int hour, minute, second, frame;
    unsigned int counter;
    unsigned int total_frames;
};

constexpr label k_labels[] = {
    {nubase::timecode::mode_29_97_drop, "00:00:59;29", 0, 0, 59, 29, 1799, 1799},
    {nubase::timecode::mode_29_97_drop, "00:01:00;02", 0, 1, 0, 2, 1802, 1800},
    {nubase::timecode::mode_29_97_drop, "00:10:00;00", 0, 10, 0, 0, 18000, 17982},
    {nubase::timecode::mode_29_97_drop, "10:08:59;29", 10, 8, 59, 29, 1096199, 1095103},
    {nubase::timecode::mode_29_97_drop, "24:00:00;00", 24, 0, 0, 0, 2592000, 2589408},
    {nubase::timecode::mode_59_94_drop, "00:01:00;04", 0, 1, 0, 4, 3604, 3600},
    {nubase::timecode::mode_59_94_drop, "24:00:00;00", 24, 0, 0, 0, 5184000, 5178816},
    {nubase::timecode::mode_23_976, "01:00:00;00", 1, 0, 0, 0, 86400, 86400},
    {nubase::timecode::mode_24, "100:00:00:00", 100, 0, 0, 0, 8640000, 8640000},
    {nubase::timecode::mode_25, "01:02:03:04", 1, 2, 3, 4, 93079, 93079},
    {nubase::timecode::mode_60, "00:00:01:59", 0, 0, 1, 59, 119, 119},
};

struct text {
    const char* text;
    bool accepted;  // false: the constructor raises es::arg
    nubase::timecode::mode_type mode;
    unsigned int counter;
};

constexpr text k_texts[] = {
    {"01:00:00:00@25", true, nubase::timecode::mode_25, 3600},
    {"01:02:03:04", true, nubase::timecode::mode_invalid, 3727},
    {"01:02:03;04@29.97", true, nubase::timecode::mode_29_97_drop, 3727},
    {"01:02:03:04@59.94", true, nubase::timecode::mode_invalid, 3727},
    {"1:2:3:4@ 23.976 rest", true, nubase::timecode::mode_23_976, 3727},
    {"1:2:3:4@", true, nubase::timecode::mode_invalid, 3727},
    {" 1: +2:\t3 4", true, nubase::timecode::mode_invalid, 3727},
    {"01:02:03:04:05@25", true, nubase::timecode::mode_invalid, 3727},
    {"0:61:0:0@30", true, nubase::timecode::mode_30, 3660},
    {"0:0:0:-1@30", true, nubase::timecode::mode_30, 0xFFFFFFFFu},
    {"", false, nubase::timecode::mode_invalid, 0},
    {"01:02:03", false, nubase::timecode::mode_invalid, 0},
    {"01 :02:03:04", false, nubase::timecode::mode_invalid, 0},
    {"01:02:03:+", false, nubase::timecode::mode_invalid, 0},
};

}  // namespace timecode_vectors
}  // namespace nubase_vectors

#endif  // NUBASE_TESTS_VECTORS_TIMECODE_HPP
