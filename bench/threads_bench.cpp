// Threads and timers against what stands below or beside them.
#include <verrick/thread.h>
#include <verrick/timers.h>

#include <benchmark/benchmark.h>

#include <pthread.h>

namespace {

class Empty : public DThread {
public:
    Empty() : DThread("empty", 0, 0, 0) {}
    void Run() override {}
};

void ThreadStartJoinVerrick(benchmark::State& state) {
    for (auto _ : state) {
        Empty thread;
        thread.Start();
        thread.WaitForThreadDeath(-1);
    }
}
BENCHMARK(ThreadStartJoinVerrick)->Name("ThreadStartJoin/Verrick")->UseRealTime();

void ThreadStartJoinPthread(benchmark::State& state) {
    for (auto _ : state) {
        pthread_t thread{};
        pthread_create(
            &thread, nullptr, [](void* argument) { return argument; }, nullptr);
        pthread_join(thread, nullptr);
    }
}
BENCHMARK(ThreadStartJoinPthread)->Name("ThreadStartJoin/pthread")->UseRealTime();

class Silent : public ITimerListener {
    void OnTimerExpired(unsigned int /*id*/) override {}
};

// With a thousand others pending; the goal is an absolute one, 20 us.
void TimerCreateDestroy(benchmark::State& state) {
    Silent listener;
    DTimeManager* const timers = DTimeManager::GetInstance(0);
    for (unsigned int id = 1; id <= 1000; ++id) {
        timers->CreateRelativeTimer(&listener, id, 1000000 + static_cast<int>(id), 0, 0);
    }
    for (auto _ : state) {
        timers->CreateRelativeTimer(&listener, 0, 1000500, 0, 0);
        timers->Destroy(&listener, 0);
    }
    DTimeManager::DestroyInstance();
}
BENCHMARK(TimerCreateDestroy)->Name("TimerCreateDestroy/Verrick");

} // namespace

BENCHMARK_MAIN();
