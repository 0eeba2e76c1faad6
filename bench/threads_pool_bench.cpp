// KelThreadsPool side by side with boost::asio::thread_pool: 1,000,000 empty
// tasks queued from one thread to the same number of workers, from starting
// the pool until every worker has ended.

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

namespace {

constexpr int kTasks = 1000000;

void emptyTask(void*) {}

// The reference's name, on the reference's side.
void setCounters(benchmark::State& state, const char* reference = nullptr) {
    state.SetItemsProcessed(state.iterations() * kTasks);
    if (reference != nullptr)
        state.SetLabel(reference);
}

void KelThreadsPool_EmptyTasks(benchmark::State& state) {
    const int workers = static_cast<int>(state.range(0));
    for (auto _ : state) {
        KelThreadsPool pool(workers);
        for (int i = 0; i < kTasks; ++i)
            pool.QueueTask(emptyTask, nullptr);
        pool.WaitForThreadsToFinishWork();
    }
    setCounters(state);
}

void AsioThreadPool_EmptyTasks(benchmark::State& state) {
    const int workers = static_cast<int>(state.range(0));
    void (*const function)(void*) = emptyTask;
    void* const argument = nullptr;
    for (auto _ : state) {
        boost::asio::thread_pool pool(static_cast<std::size_t>(workers));
        for (int i = 0; i < kTasks; ++i)
            boost::asio::post(pool, [function, argument] { function(argument); });
        pool.join();
    }
    setCounters(state, "boost::asio::thread_pool");
}

}  // namespace

// Real time: the work happens on the pools' threads, not on the timed one.
BENCHMARK(KelThreadsPool_EmptyTasks)
    ->Name("PoolEmptyTasks/kel")
    ->ArgName("workers")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(AsioThreadPool_EmptyTasks)
    ->Name("PoolEmptyTasks/reference")
    ->ArgName("workers")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
