// Threads against what stands below or beside them.
#include <verrick/tasks.h>
#include <verrick/thread.h>

#include <benchmark/benchmark.h>

#include <pthread.h>
#include <semaphore.h>

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

// The same with a name for the system's tools, which every DThread has.
void ThreadStartJoinNamed(benchmark::State& state) {
    auto const entry = [](void* argument) {
        pthread_setname_np(pthread_self(), "empty");
        return argument;
    };
    for (auto _ : state) {
        pthread_t thread{};
        pthread_create(&thread, nullptr, entry, nullptr);
        pthread_join(thread, nullptr);
    }
}
BENCHMARK(ThreadStartJoinNamed)->Name("ThreadStartJoin/named_pthread")->UseRealTime();

// A detached task that says when it is there.
void RunTask(void* semaphore) {
    sem_post(static_cast<sem_t*>(semaphore));
}

void TaskDetachedVerrick(benchmark::State& state) {
    sem_t isThere;
    sem_init(&isThere, 0, 0);
    for (auto _ : state) {
        ThreadSpawn(RunTask, &isThere, 0, 0, 0, 0);
        sem_wait(&isThere);
    }
}
BENCHMARK(TaskDetachedVerrick)->Name("TaskDetached/Verrick")->UseRealTime();

void TaskDetachedPthread(benchmark::State& state) {
    auto const entry = [](void* semaphore) -> void* {
        RunTask(semaphore);
        return nullptr;
    };
    sem_t isThere;
    sem_init(&isThere, 0, 0);
    for (auto _ : state) {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
        pthread_t thread{};
        pthread_create(&thread, &attributes, entry, &isThere);
        pthread_attr_destroy(&attributes);
        sem_wait(&isThere);
    }
}
BENCHMARK(TaskDetachedPthread)->Name("TaskDetached/pthread")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
