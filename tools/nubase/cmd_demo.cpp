// The demo: the library's two typical roads on embedded data.
//
// Road 1: a worker thread parses an in-memory QuickTime header with a byte-stream reader, finds
// the timecode sample, turns it into a timecode and posts a named call with the wait flag to the
// call queue, which the main thread (the queue's thread) runs.
// Road 2: typed file names become "file:" URLs and come back as Windows or UNC paths.
#include <atomic>
#include <cstdio>
#include <string>
#include <utility>

#include "labels.hpp"
#include "media/movie_writer.hpp"
#include "nubase/callqueue.hpp"
#include "nubase/es.hpp"
#include "nubase/stream.hpp"
#include "nubase/thread.hpp"
#include "nubase/timecode.hpp"
#include "nubase/timestamp.hpp"
#include "nubase/urlpath.hpp"
#include "media/quicktime.hpp"
#include "tool.hpp"

namespace nubase_tool {
namespace {

// The call the worker posts: shows the timecode on the queue's thread.
class show_timecode : public nubase::callqueue_object {
  public:
    show_timecode(std::string a_label, std::atomic<bool>& a_shown)
        : m_label(std::move(a_label)), m_shown(a_shown) {}
    void call() override {
        std::printf("road 1: call '%s' ran on the main thread: start timecode %s\n",
                    get_id().c_str(), m_label.c_str());
        m_shown = true;
    }

  private:
    std::string m_label;
    std::atomic<bool>& m_shown;
};

// The worker: parse, convert, post and wait.
class parse_header : public nubase::thread_base {
  public:
    explicit parse_header(const nubase::buffer& a_movie) : m_movie(a_movie) {}

    void operator()() override {
        nubase::stream::mem l_source(const_cast<unsigned char*>(m_movie.data()), m_movie.size());
        const movie_timecode l_movie = read_quicktime(l_source, &l_source);
        if (l_movie.tracks.empty()) return;
        const timecode_source& l_track = l_movie.tracks.front();
        const std::uint32_t l_frame = l_track.sample_value;
        // The library's timecode of the sample's frame; drop-frame at 29.97.
        const nubase::timecode l_tc =
            nubase::timecode_with_frame_number(nubase::timecode::mode_29_97_drop, l_frame, 1);
        std::printf(
            "road 1: worker parsed a %llu-byte QuickTime header: timecode track %s fps %s, "
            "first sample frame %u (tmcd 0x%08x)\n",
            m_movie.size(), rate_text(l_track.time_scale, l_track.frame_duration).c_str(),
            l_track.drop_frame() ? "drop-frame" : "non-drop", l_frame, l_tc.as_quicktime_tmcd());
        std::fflush(stdout);
        const nubase::ptr_refcount<show_timecode> l_job(
            new show_timecode(nubase::string_with_timecode(l_tc), m_shown));
        nubase::callqueue::instance().add_call(l_job, "show timecode",
                                               nubase::callqueue::flag_wait);
    }

    // Set by the call, on the queue's thread.
    bool shown() const { return m_shown; }

  private:
    const nubase::buffer& m_movie;
    std::atomic<bool> m_shown{false};
};

}  // namespace

int run_demo(const arguments&) {
    // The main thread becomes the call queue's thread by asking first.
    nubase::callqueue& l_queue = nubase::callqueue::instance();
    const nubase::buffer l_movie = write_movie(movie_layout());
    parse_header l_work(l_movie);
    {
        nubase::thread l_worker(l_work);
        // Serve the queue until the worker's call has run (bounded: 5 s).
        for (int l_round = 0; l_round < 50 && !l_work.shown(); ++l_round) {
            l_queue.wait_for_calls(nubase::timestamp(100, 1000));
            l_queue.run();
        }
        l_worker.join();
    }
    if (!l_work.shown()) return user_error("demo: the worker's call did not arrive");

    // Each typed name becomes a URL and comes back in the form a peer on another platform would
    // use; what each conversion does is the library's documented rule, said beside it.
    const std::pair<const char*, const char*> l_typed[] = {
        {"/Volumes/Media/Day 1/clip 01.mov",
         "a file URL without a host comes back with its leading / dropped and backslashes: the "
         "volume name leads"},
        {"\\\\fileserver\\media\\Day 1\\clip 01.mov",
         "a UNC path becomes an smb URL and comes back with the host in capitals"},
        {"C:\\Media\\Day 1\\clip 01.mov",
         "a drive path becomes a file URL and comes back as it was"}};
    for (const auto& [l_name, l_rule] : l_typed) {
        const std::string l_url = nubase::url_create_from_url_or_path(l_name, "/");
        std::printf("road 2: typed \"%s\" -> %s -> %s (%s)\n", l_name, l_url.c_str(),
                    nubase::url_extract_to_unc_or_windows_path(l_url).c_str(), l_rule);
    }
    return k_exit_ok;
}

}  // namespace nubase_tool
