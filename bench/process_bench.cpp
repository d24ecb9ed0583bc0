// Starting /bin/true and collecting its exit status: nubase::process (fork, exec and a monitor
// thread that reaps the child) beside posix_spawn + waitpid and GLib's g_spawn_sync.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

#include "nubase/process.hpp"

#if defined(NUBASE_HAVE_GLIB_2_0)
#include <glib.h>
#endif

extern char** environ;

namespace {

struct waiter : nubase::process::status {
    nubase::semaphore done{0};
    void finished(nubase::process&) override { done.post(); }
};

void BM_nubase_process(benchmark::State& state) {
    for (auto _ : state) {
        waiter l_waiter;
        nubase::process l_p("true", "/bin/true", {}, {}, "", "", 0, &l_waiter);
        l_waiter.done.wait();
        if (l_p.get_status() != 0) state.SkipWithError("bad status");
    }
}
BENCHMARK(BM_nubase_process)->UseRealTime();

void BM_nubase_process_pipes(benchmark::State& state) {
    for (auto _ : state) {
        waiter l_waiter;
        nubase::process l_p("true", "/bin/true", {}, {}, "", "", nubase::process::flag_pipes,
                            &l_waiter);
        l_waiter.done.wait();
        if (l_p.get_status() != 0) state.SkipWithError("bad status");
    }
}
BENCHMARK(BM_nubase_process_pipes)->UseRealTime();

void BM_posix_spawn_waitpid(benchmark::State& state) {
    char l_path[] = "/bin/true";
    char* const l_argv[] = {l_path, nullptr};
    for (auto _ : state) {
        pid_t l_pid;
        if (posix_spawn(&l_pid, l_path, nullptr, nullptr, l_argv, environ) != 0) {
            state.SkipWithError("posix_spawn failed");
            break;
        }
        int l_status = 0;
        waitpid(l_pid, &l_status, 0);
        if (!WIFEXITED(l_status) || WEXITSTATUS(l_status) != 0) state.SkipWithError("bad status");
    }
}
BENCHMARK(BM_posix_spawn_waitpid)->UseRealTime();

#if defined(NUBASE_HAVE_GLIB_2_0)
void BM_glib_spawn_sync(benchmark::State& state) {
    char l_path[] = "/bin/true";
    char* l_argv[] = {l_path, nullptr};
    for (auto _ : state) {
        gint l_status = 0;
        GError* l_error = nullptr;
        if (!g_spawn_sync(nullptr, l_argv, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr,
                          nullptr, &l_status, &l_error)) {
            state.SkipWithError("g_spawn_sync failed");
            g_clear_error(&l_error);
            break;
        }
        if (l_status != 0) state.SkipWithError("bad status");
    }
}
BENCHMARK(BM_glib_spawn_sync)->UseRealTime();
#endif

}  // namespace

BENCHMARK_MAIN();
