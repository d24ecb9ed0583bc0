// Handing a small call from a worker thread to a serving thread and back.
//
//   RoundTrip  the worker posts one call and blocks until the serving thread has run it (the call
//              queue's wait flag); the peers do the same ping-pong with their own primitives.
//   Batch1000  the worker posts 1000 calls without waiting, then one it waits for: posting
//              throughput plus the serving thread's draining of the batch.
//
// Peers, each with its own serving thread: a plain std::mutex + two std::condition_variable
// hand-off, GLib's GAsyncQueue (two queues, ping-pong) and POCO's NotificationQueue (two queues).
// Run pinned to one CPU (`taskset -c 0`) and on two.
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>

#include "nubase/callqueue.hpp"

#if defined(NUBASE_HAVE_GLIB_2_0)
#include <glib.h>
#endif
#if defined(NUBASE_HAVE_POCO)
#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#endif

namespace {

constexpr int k_batch = 1000;

// ---- nubase: the call queue, served by one thread for the whole program -------------------

struct count_call : nubase::callqueue_object {
    std::int64_t count = 0;
    void call() override { ++count; }
};

struct stop_call : nubase::callqueue_object {
    explicit stop_call(bool& a_stop) : stop(a_stop) {}
    void call() override { stop = true; }
    bool& stop;
};

// The queue's thread is the first caller of instance(), so one serving thread is started on
// first use and kept until the program ends.
class queue_server {
  public:
    static queue_server& get() {
        static queue_server s_server;
        return s_server;
    }
    ~queue_server() {
        nubase::callqueue::instance().add_call(new stop_call(m_stop), "stop",
                                               nubase::callqueue::flag_wait);
        m_thread.join();
    }

  private:
    queue_server() {
        std::atomic<bool> ready{false};
        m_thread = std::thread([this, &ready] {
            nubase::callqueue& q = nubase::callqueue::instance();
            ready = true;
            while (!m_stop) {
                q.wait_for_calls(nubase::timestamp(100, 1000));
                q.run();
            }
        });
        while (!ready)
            std::this_thread::yield();
    }
    bool m_stop = false;  // touched only by calls run on the serving thread
    std::thread m_thread;
};

// The poster's side: the batch's calls and the one waited for are two objects, as with the
// peers' items.
class nubase_client {
  public:
    nubase_client()
        : m_queue((queue_server::get(), nubase::callqueue::instance())),
          m_counter(new count_call),
          m_fence_counter(new count_call),
          m_call(m_counter),
          m_fence(m_fence_counter) {}
    void post() { m_queue.add_call(m_call, "", 0); }
    void post_and_wait() { m_queue.add_call(m_fence, "", nubase::callqueue::flag_wait); }
    std::int64_t count() const { return m_counter->count + m_fence_counter->count; }

  private:
    nubase::callqueue& m_queue;
    count_call* m_counter;
    count_call* m_fence_counter;
    const nubase::ptr_refcount<nubase::callqueue_object> m_call, m_fence;
};

// ---- std::mutex + std::condition_variable ------------------------------------------------

// A queue of requests (counts of calls) and a reply counter, one mutex, one condition each way.
class std_server {
  public:
    std_server()
        : m_thread([this] {
              std::unique_lock<std::mutex> hold(m_mutex);
              for (;;) {
                  m_request_ready.wait(hold, [this] { return m_stop || !m_requests.empty(); });
                  if (m_stop) return;
                  while (!m_requests.empty()) {
                      const bool reply = m_requests.front();
                      m_requests.pop_front();
                      ++m_count;
                      if (reply) {
                          ++m_replies;
                          m_reply_ready.notify_one();
                      }
                  }
              }
          }) {}
    ~std_server() {
        {
            std::lock_guard<std::mutex> hold(m_mutex);
            m_stop = true;
        }
        m_request_ready.notify_one();
        m_thread.join();
    }
    void post() {
        std::lock_guard<std::mutex> hold(m_mutex);
        m_requests.push_back(false);
        m_request_ready.notify_one();
    }
    void post_and_wait() {
        std::unique_lock<std::mutex> hold(m_mutex);
        const std::int64_t want = m_replies + 1;
        m_requests.push_back(true);
        m_request_ready.notify_one();
        m_reply_ready.wait(hold, [&] { return m_replies >= want; });
    }
    std::int64_t count() {
        std::lock_guard<std::mutex> hold(m_mutex);
        return m_count;
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_request_ready, m_reply_ready;
    std::deque<bool> m_requests;
    std::int64_t m_replies = 0, m_count = 0;
    bool m_stop = false;
    std::thread m_thread;
};

// ---- GLib GAsyncQueue --------------------------------------------------------------------

#if defined(NUBASE_HAVE_GLIB_2_0)
// Items are tagged pointers: 1 asks for no reply, 2 for a reply, 3 stops the server.
class glib_server {
  public:
    glib_server()
        : m_requests(g_async_queue_new()), m_replies(g_async_queue_new()), m_thread([this] {
              for (;;) {
                  const auto item = reinterpret_cast<std::uintptr_t>(g_async_queue_pop(m_requests));
                  if (item == 3) return;
                  ++m_count;
                  if (item == 2) g_async_queue_push(m_replies, GUINT_TO_POINTER(1));
              }
          }) {}
    ~glib_server() {
        g_async_queue_push(m_requests, GUINT_TO_POINTER(3));
        m_thread.join();
        g_async_queue_unref(m_requests);
        g_async_queue_unref(m_replies);
    }
    void post() { g_async_queue_push(m_requests, GUINT_TO_POINTER(1)); }
    void post_and_wait() {
        g_async_queue_push(m_requests, GUINT_TO_POINTER(2));
        g_async_queue_pop(m_replies);
    }
    std::int64_t count() const { return m_count; }  // read after a reply

  private:
    GAsyncQueue* m_requests;
    GAsyncQueue* m_replies;
    std::int64_t m_count = 0;
    std::thread m_thread;
};

#endif

// ---- POCO NotificationQueue --------------------------------------------------------------

#if defined(NUBASE_HAVE_POCO)
struct poco_item : Poco::Notification {
    explicit poco_item(int a_kind) : kind(a_kind) {}
    int kind;  // as the GLib items
};

class poco_server {
  public:
    poco_server()
        : m_post(new poco_item(1)), m_wait(new poco_item(2)), m_thread([this] {
              for (;;) {
                  Poco::AutoPtr<Poco::Notification> n(m_requests.waitDequeueNotification());
                  const int kind = static_cast<poco_item*>(n.get())->kind;
                  if (kind == 3) return;
                  ++m_count;
                  if (kind == 2) m_replies.enqueueNotification(n);
              }
          }) {}
    ~poco_server() {
        m_requests.enqueueNotification(new poco_item(3));
        m_thread.join();
    }
    void post() { m_requests.enqueueNotification(m_post); }
    void post_and_wait() {
        m_requests.enqueueNotification(m_wait);
        Poco::AutoPtr<Poco::Notification> reply(m_replies.waitDequeueNotification());
    }
    std::int64_t count() const { return m_count; }

  private:
    Poco::NotificationQueue m_requests, m_replies;
    Poco::AutoPtr<poco_item> m_post, m_wait;
    std::int64_t m_count = 0;
    std::thread m_thread;
};

#endif

// One posted call and its reply; `count()` is read after the last reply.
template <class Server>
void BM_RoundTrip(benchmark::State& state) {
    Server s;
    for (auto _ : state)
        s.post_and_wait();
    if (s.count() != state.iterations()) state.SkipWithError("lost calls");
}

// A batch of posted calls closed by one waited for.
template <class Server>
void BM_Batch1000(benchmark::State& state) {
    Server s;
    for (auto _ : state) {
        for (int i = 0; i < k_batch; ++i)
            s.post();
        s.post_and_wait();
    }
    if (s.count() != state.iterations() * (k_batch + 1)) state.SkipWithError("lost calls");
    state.SetItemsProcessed(state.iterations() * (k_batch + 1));
}

BENCHMARK_TEMPLATE(BM_RoundTrip, nubase_client)->UseRealTime();
BENCHMARK_TEMPLATE(BM_RoundTrip, std_server)->UseRealTime();
#if defined(NUBASE_HAVE_GLIB_2_0)
BENCHMARK_TEMPLATE(BM_RoundTrip, glib_server)->UseRealTime();
#endif
#if defined(NUBASE_HAVE_POCO)
BENCHMARK_TEMPLATE(BM_RoundTrip, poco_server)->UseRealTime();
#endif
BENCHMARK_TEMPLATE(BM_Batch1000, nubase_client)->UseRealTime();
BENCHMARK_TEMPLATE(BM_Batch1000, std_server)->UseRealTime();
#if defined(NUBASE_HAVE_GLIB_2_0)
BENCHMARK_TEMPLATE(BM_Batch1000, glib_server)->UseRealTime();
#endif
#if defined(NUBASE_HAVE_POCO)
BENCHMARK_TEMPLATE(BM_Batch1000, poco_server)->UseRealTime();
#endif

}  // namespace

BENCHMARK_MAIN();
