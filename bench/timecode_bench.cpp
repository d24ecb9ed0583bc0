// Timecode text and stepping at 29.97 drop-frame: formatting labels, parsing label text and
// stepping frame by frame, beside FFmpeg libavutil and GStreamer's video time codes, each through
// its own natural interface:
//   format  nubase string_with_timecode(timecode)    | av_timecode_make_string(frame number)
//                                                    | gst_video_time_code_to_string (allocates)
//   parse   nubase timecode("hh:mm:ss;ff@29.97")     | av_timecode_init_from_string
//                                                    | gst_video_time_code_new_from_string
//   step    nubase ++timecode                        | av_timecode_adjust_ntsc_framenum2(n + 1)
//                                                    | gst_video_time_code_add_frames(1)
// The same 1024 labels, spread over 17 hours, feed every contender; the set-up checks that all
// of them produce the same texts, so that each does the same work.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "nubase/timecode.hpp"
#include "vectors/timecode.hpp"

#if defined(NUBASE_HAVE_LIBAVUTIL)
extern "C" {
#include <libavutil/timecode.h>
}
#endif
#if defined(NUBASE_HAVE_GSTREAMER_VIDEO_1_0)
#include <gst/gst.h>
#include <gst/video/video.h>
#endif

namespace {

using nubase::timecode;

constexpr std::size_t k_count = 1024;
constexpr std::size_t k_mask = k_count - 1;
// Less than a minute of frames, so every step lands on the right label.
constexpr unsigned int k_spacing = 1789;

struct label_set {
    std::vector<timecode> labels;
    std::vector<int> frames;          // real frame numbers
    std::vector<std::string> texts;   // "hh:mm:ss;ff"
    std::vector<std::string> parsed;  // "hh:mm:ss;ff@29.97"
};

const label_set& labels() {
    static const label_set set = [] {
        label_set s;
        timecode tc(timecode::mode_29_97_drop);
        for (std::size_t i = 0; i < k_count; ++i) {
            s.labels.push_back(tc);
            s.frames.push_back(static_cast<int>(tc.total_frames()));
            s.texts.push_back(nubase::string_with_timecode(tc, true));
            s.parsed.push_back(s.texts.back() + "@29.97");
            tc += k_spacing;
        }
        // The shared known labels must read the same here as in the tests.
        for (const auto& v : nubase_vectors::timecode_vectors::k_labels) {
            const timecode known(v.mode, v.hour, v.minute, v.second, v.frame);
            if (nubase::string_with_timecode(known, true) != v.text) std::abort();
        }
        return s;
    }();
    return set;
}

[[maybe_unused]] void check_same(const std::string& a_expected, const char* a_got, const char* a_who) {
    if (a_expected != a_got) {
        std::fprintf(stderr, "%s disagrees: %s != %s\n", a_who, a_got, a_expected.c_str());
        std::abort();
    }
}

void BM_format_nubase(benchmark::State& state) {
    const label_set& s = labels();
    std::size_t i = 0;
    for (auto _ : state) {
        std::string text = nubase::string_with_timecode(s.labels[i++ & k_mask], true);
        benchmark::DoNotOptimize(text);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void BM_parse_nubase(benchmark::State& state) {
    const label_set& s = labels();
    for (std::size_t i = 0; i < k_count; ++i) {
        // The text form counts at one label a second (its base stays 1).
        const timecode& l = s.labels[i];
        const timecode tc(s.parsed[i]);
        if (tc.mode() != timecode::mode_29_97_drop ||
            tc.counter() != l.hour() * 3600 + l.minute() * 60 + l.second() + l.frame()) {
            std::abort();
        }
    }
    std::size_t i = 0;
    for (auto _ : state) {
        timecode tc(s.parsed[i++ & k_mask]);
        benchmark::DoNotOptimize(tc);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void BM_step_nubase(benchmark::State& state) {
    timecode tc(timecode::mode_29_97_drop);
    for (auto _ : state) {
        ++tc;
        benchmark::DoNotOptimize(tc);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

#if defined(NUBASE_HAVE_LIBAVUTIL)
AVTimecode ffmpeg_timecode() {
    AVTimecode tc;
    if (av_timecode_init(&tc, AVRational{30000, 1001}, AV_TIMECODE_FLAG_DROPFRAME, 0, nullptr) !=
        0) {
        std::abort();
    }
    return tc;
}

void BM_format_ffmpeg(benchmark::State& state) {
    const label_set& s = labels();
    const AVTimecode tc = ffmpeg_timecode();
    char buf[AV_TIMECODE_STR_SIZE];
    for (std::size_t i = 0; i < k_count; ++i) {
        check_same(s.texts[i], av_timecode_make_string(&tc, buf, s.frames[i]), "FFmpeg");
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(av_timecode_make_string(&tc, buf, s.frames[i++ & k_mask]));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void BM_parse_ffmpeg(benchmark::State& state) {
    const label_set& s = labels();
    AVTimecode tc;
    std::size_t i = 0;
    for (auto _ : state) {
        const int rc = av_timecode_init_from_string(&tc, AVRational{30000, 1001},
                                                    s.texts[i++ & k_mask].c_str(), nullptr);
        benchmark::DoNotOptimize(rc);
        benchmark::DoNotOptimize(tc);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void BM_step_ffmpeg(benchmark::State& state) {
    int frame = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(av_timecode_adjust_ntsc_framenum2(++frame, 30));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
#endif

#if defined(NUBASE_HAVE_GSTREAMER_VIDEO_1_0)
std::vector<GstVideoTimeCode> gstreamer_labels() {
    const label_set& s = labels();
    std::vector<GstVideoTimeCode> out(k_count);
    for (std::size_t i = 0; i < k_count; ++i) {
        const timecode& l = s.labels[i];
        gst_video_time_code_init(&out[i], 30000, 1001, nullptr,
                                 GST_VIDEO_TIME_CODE_FLAGS_DROP_FRAME, l.hour(), l.minute(),
                                 l.second(), l.frame(), 0);
        gchar* text = gst_video_time_code_to_string(&out[i]);
        check_same(s.texts[i], text, "GStreamer");
        g_free(text);
    }
    return out;
}

void BM_format_gstreamer(benchmark::State& state) {
    const std::vector<GstVideoTimeCode> tcs = gstreamer_labels();
    std::size_t i = 0;
    for (auto _ : state) {
        gchar* text = gst_video_time_code_to_string(&tcs[i++ & k_mask]);
        benchmark::DoNotOptimize(text);
        g_free(text);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void BM_parse_gstreamer(benchmark::State& state) {
    const label_set& s = labels();
    std::size_t i = 0;
    for (auto _ : state) {
        GstVideoTimeCode* tc = gst_video_time_code_new_from_string(s.texts[i++ & k_mask].c_str());
        benchmark::DoNotOptimize(tc);
        gst_video_time_code_free(tc);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void BM_step_gstreamer(benchmark::State& state) {
    GstVideoTimeCode tc;
    gst_video_time_code_init(&tc, 30000, 1001, nullptr, GST_VIDEO_TIME_CODE_FLAGS_DROP_FRAME, 0, 0,
                             0, 0, 0);
    for (auto _ : state) {
        gst_video_time_code_add_frames(&tc, 1);
        benchmark::DoNotOptimize(tc);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
#endif

}  // namespace

BENCHMARK(BM_format_nubase);
BENCHMARK(BM_parse_nubase);
BENCHMARK(BM_step_nubase);
#if defined(NUBASE_HAVE_LIBAVUTIL)
BENCHMARK(BM_format_ffmpeg);
BENCHMARK(BM_parse_ffmpeg);
BENCHMARK(BM_step_ffmpeg);
#endif
#if defined(NUBASE_HAVE_GSTREAMER_VIDEO_1_0)
BENCHMARK(BM_format_gstreamer);
BENCHMARK(BM_parse_gstreamer);
BENCHMARK(BM_step_gstreamer);
#endif

int main(int argc, char** argv) {
#if defined(NUBASE_HAVE_GSTREAMER_VIDEO_1_0)
    gst_init(nullptr, nullptr);
#endif
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
