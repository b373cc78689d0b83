// Counters, locks and semaphores against what they stand on or compete with.
#include <verrick/critical_section.h>
#include <verrick/flat_critical_section.h>
#include <verrick/handles.h>
#include <verrick/interlocked.h>

#include <benchmark/benchmark.h>

#include <atomic>

#include <pthread.h>
#include <semaphore.h>

namespace {

void Counter_Verrick(benchmark::State& state) {
    int word = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(InterlockedIncrement(&word));
    }
}
BENCHMARK(Counter_Verrick)->Name("InterlockedIncrement/Verrick");

void Counter_FetchAdd(benchmark::State& state) {
    std::atomic<int> word{0};
    for (auto _ : state) {
        benchmark::DoNotOptimize(word.fetch_add(1, std::memory_order_relaxed));
    }
}
BENCHMARK(Counter_FetchAdd)->Name("InterlockedIncrement/fetch_add");

void Section_Object(benchmark::State& state) {
    DCriticalSection section;
    for (auto _ : state) {
        section.Enter();
        section.Leave();
    }
}
BENCHMARK(Section_Object)->Name("DCriticalSection/Verrick");

void Section_Flat(benchmark::State& state) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    for (auto _ : state) {
        EnterCriticalSection(&section);
        LeaveCriticalSection(&section);
    }
    DeleteCriticalSection(&section);
}
BENCHMARK(Section_Flat)->Name("CRITICAL_SECTION/Verrick");

void Section_Mutex(benchmark::State& state) {
    pthread_mutexattr_t attribute;
    pthread_mutexattr_init(&attribute);
    pthread_mutexattr_settype(&attribute, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_t mutex;
    pthread_mutex_init(&mutex, &attribute);
    for (auto _ : state) {
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
    }
    pthread_mutex_destroy(&mutex);
    pthread_mutexattr_destroy(&attribute);
}
BENCHMARK(Section_Mutex)->Name("DCriticalSection/pthread_mutex");
BENCHMARK(Section_Mutex)->Name("CRITICAL_SECTION/pthread_mutex");

void Semaphore_Handle(benchmark::State& state) {
    HANDLE const semaphore = CreateSemaphore(nullptr, 0, 1, nullptr);
    for (auto _ : state) {
        ReleaseSemaphore(semaphore, 1, nullptr);
        WaitForSingleObject(semaphore, INFINITE);
    }
    CloseHandle(semaphore);
}
BENCHMARK(Semaphore_Handle)->Name("SemaphoreHandle/Verrick");

void Semaphore_Posix(benchmark::State& state) {
    sem_t semaphore;
    sem_init(&semaphore, 0, 0);
    for (auto _ : state) {
        sem_post(&semaphore);
        sem_wait(&semaphore);
    }
    sem_destroy(&semaphore);
}
BENCHMARK(Semaphore_Posix)->Name("SemaphoreHandle/sem_t");

} // namespace

BENCHMARK_MAIN();
