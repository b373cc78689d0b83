// All families of the library at once, on eight threads, with objects that come and go under load.
// It ends with a message if a result is wrong, or if an item is lost or doubled. scripts/soak
// watches the rest from outside: stalls, memory, descriptors and threads.
//
// Usage: soak SECONDS. A thread prints its number on standard error after each operation. The
// program waits for the end of standard input after it ended everything, so that what is left can
// be counted.
#include "fuzz/input.h"

#include <verrick/cpp/handle.h>
#include <verrick/ini_file_lock.h>

#include <array>
#include <shared_mutex>
#include <thread>

static constexpr unsigned int kThreads = 8;

// What went in and hasn't come out. Items count by their squares, so that no lost one makes up for
// a doubled one.
static std::atomic<std::uint32_t> g_lastId, g_inQueue, g_inRing, g_edits;
static DCriticalSection g_section;
static long g_inSemaphore; // guarded by the section

static MsgQueue* const g_queue = MsgQCreate(kThreads / 2, sizeof g_lastId);
static RingBuffer* const g_ring = RingCreate(kThreads / 2 * sizeof g_lastId);
static DSemaphore g_semaphore(0, 1000000000, L"soak");
static std::shared_mutex g_timerService; // held alone for its end

static void TakeItems(unsigned long timeoutMs) {
    std::uint32_t fromQueue = 0, fromRing = 0; // they stay 0 if there is none
    MsgQReceive(g_queue, &fromQueue, sizeof fromQueue, timeoutMs);
    g_inQueue -= fromQueue * fromQueue;
    RingBufGet(g_ring, reinterpret_cast<char*>(&fromRing), sizeof fromRing);
    g_inRing -= fromRing * fromRing;
}

// A call ends with every 64th item of all threads. Waits are rare and short, so that threads meet.
static void Items(unsigned int* seed) {
    for (std::uint32_t id = 0; id % 64 != 63; TakeItems(rand_r(seed) % 64 == 0 ? 1 : 0)) {
        id = ++g_lastId;
        g_inQueue += MsgQSend(g_queue, &id, sizeof id, id % 64 == 0, id % 2) ? 0 : id * id;
        g_inRing += RingBufPut(g_ring, reinterpret_cast<char const*>(&id), sizeof id) ? id * id : 0;
    }
}

static void Semaphore(unsigned int* seed) {
    DSemaphore same(0, 1000000000, L"soak");
    long change = rand_r(seed) % 3;
    same.Release(change);
    change -= same.Wait(rand_r(seed) % 3) == WAIT_RESULT_OK ? 1 : 0;
    DMonitor const monitor(g_section);
    g_inSemaphore += change;
}

// What a thread, a worker or a timer calls.
struct Callee : DThread, ITimerListener, IWorkerCallbackObj {
    Callee() : DThread("soak", 0, 0, 0) {}
    void Run() override { ++m_calls.at(0); }
    void DoCallback(void* id) override { OnTimerExpired(*static_cast<char*>(id)); }
    void OnTimerExpired(unsigned int id) override {
        ++m_calls.at(id);
        AGREE(SetEvent(m_called.Get()) == 1 || ReleaseSemaphore(m_called.Get(), 1, nullptr) == 1);
    }
    void Await(unsigned int id) {
        while (m_calls.at(id) == 0 && m_called.Wait() == WAIT_OBJECT_0) {
        }
    }
    std::array<std::atomic<int>, kThreads> m_calls{};
    verrick::Handle m_called{g_lastId % 2 == 0 ? CreateEvent(nullptr, 0, 0, nullptr)
                                               : CreateSemaphore(nullptr, 0, 1000000, nullptr)};
};

static void Worker(unsigned int*) {
    Callee callee;
    DWorkerThread worker("soak", 0, 0, 0);
    worker.AddCallbackObject(&callee);
    for (char id = 1; id < char{kThreads}; ++id) {
        AGREE(worker.DoWork(sizeof id, &id));
    }
    callee.Await(kThreads - 1);
    callee.Start();
    AGREE(callee.WaitForThreadDeath(-1) == WAIT_RESULT_OK && callee.m_calls.at(0) == 1);
}

// Ends the service that the timers before used. Timers with an odd id repeat, and the others expire
// once. The callee's own thread never starts.
static void Timers(unsigned int*) {
    g_timerService.lock();
    DTimeManager::DestroyInstance();
    g_timerService.unlock();
    Callee callee;
    std::shared_lock const inUse(g_timerService);
    ITimeManager* const timers = DTimeManager::GetInstance(0);
    for (unsigned int id = 0; id < kThreads; ++id) {
        AGREE(timers->CreateRelativeTimer(&callee, id, 5, 0, id % 2 * TIMER_REPEAT));
        callee.Await(id);
        AGREE(timers->Deactivate(&callee, id) == (id % 2 == 1));
        AGREE(timers->Destroy(&callee, id) && (id % 2 == 1 || callee.m_calls.at(id) == 1));
    }
}

static void IniFile(unsigned int* seed) {
    IniFileLock const lock(L"soak.ini", IniFileLock::Exclusive, INFINITE);
    wchar_t text[32];
    GetPrivateProfileString(L"soak", L"edits", L"0", text, 32, L"soak.ini");
    AGREE(_wcstol(text) == static_cast<long>(g_edits++));
    _sprintf(text, L"%0*u", rand_r(seed) % 20, g_edits.load());
    AGREE(WritePrivateProfileString(L"soak", L"edits", text, L"soak.ini") == 1);
}

// One thread at a time, because the thread sanitizer doesn't know the lock of the system's loader.
static void Files(unsigned int*) {
    DMonitor const monitor(g_section);
    DFileInfo info;
    AGREE(DDirList().FindFirst(L"?", &info)); // the folder itself
    void* const library = LoadLibrary(L"libresolv.so.2");
    AGREE(GetProcAddress(library, "malloc") != nullptr && FreeLibrary(library) == 1);
}

static void Work(std::stop_token const& stop, unsigned int thread) {
    // Those in front come most often, because the last ones take long.
    static constexpr std::array kOperations{Items, Semaphore, Worker, Files, IniFile, Timers};
    for (unsigned int seed = thread; !stop.stop_requested(); std::fprintf(stderr, "%u\n", thread)) {
        kOperations.at(rand_r(&seed) % (rand_r(&seed) % kOperations.size() + 1))(&seed);
    }
}

int main(int, char** arguments) {
    std::array<std::jthread, kThreads> threads;
    for (unsigned int i = 0; i < kThreads; ++i) {
        threads.at(i) = std::jthread(Work, i);
    }
    Sleep(1000 * std::atoi(arguments[1]));
    threads = {}; // ends them
    DTimeManager::DestroyInstance();
    for (unsigned int i = 0; i < kThreads; ++i) {
        TakeItems(0);
    }
    for (; g_semaphore.Wait(0) == WAIT_RESULT_OK; --g_inSemaphore) {
    }
    AGREE(g_inQueue == 0 && g_inRing == 0 && g_inSemaphore == 0);
    std::getchar();
}
