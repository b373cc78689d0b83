#include <verrick/tasks.h>
#include <verrick/thread.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>

#include "recorder.h"

namespace {

// Holds up the library's threads at two of their first steps: before they have touched their
// object, and inside it, on the way to being parked.
struct Brake {
    std::atomic<Gate*> beforeObject{nullptr};
    std::atomic<Gate*> insideObject{nullptr};
    std::atomic<bool> refuseCreation{false}; // the system has no thread to give
    pthread_t tester = pthread_self();
} g_brake;

void HoldAt(std::atomic<Gate*>& point) {
    if (pthread_equal(pthread_self(), g_brake.tester) == 0) {
        if (Gate* const gate = point.exchange(nullptr)) {
            gate->Pass();
        }
    }
}

std::string const kDetached = "pthread_detached successfull for thread (";
std::string const kNotStarted = "WaitForThreadDeath::Run not started. or invalid thread handle\n";

class Thread : public DThread {
public:
    explicit Thread(std::function<void()> body, char const* name = "tested", int priority = 0,
                    int flags = 0)
        : DThread(name, priority, 0, flags), m_body(std::move(body)) {}
    void Run() override {
        auto const body = m_body; // the object may go while it runs
        body();
    }

private:
    std::function<void()> m_body;
};

// Run touches nothing of the object, which may be gone.
class Reckless : public DThread {
public:
    Reckless() : DThread("reckless", 0, 0, 0) {}
    void Run() override { runs.fetch_add(1, std::memory_order_relaxed); }

    static inline std::atomic<int> runs{0};
};

std::string KernelName(int threadId) {
    std::ifstream file("/proc/self/task/" + std::to_string(threadId) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

} // namespace

extern "C" pid_t gettid() noexcept {
    HoldAt(g_brake.beforeObject);
    static auto* const real = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "gettid"));
    return real();
}

extern "C" int pthread_setcancelstate(int state, int* old) {
    HoldAt(g_brake.insideObject);
    static auto* const real =
        reinterpret_cast<int (*)(int, int*)>(dlsym(RTLD_NEXT, "pthread_setcancelstate"));
    return real(state, old);
}

// Called just before a thread is created: real-time scheduling of its own, without a priority, is
// what the system refuses.
extern "C" int pthread_attr_setscope(pthread_attr_t* attributes, int) noexcept {
    if (g_brake.refuseCreation) {
        pthread_attr_setinheritsched(attributes, PTHREAD_EXPLICIT_SCHED);
    }
    return 0;
}

namespace {

TEST(Thread, RunsOnceAfterStartAndIsJoinedOnce) {
    std::atomic<int> runs{0};
    std::atomic<int> id{0};
    testing::internal::CaptureStdout();
    {
        Thread thread([&] {
            id = gettid();
            ++runs;
        });
        EXPECT_EQ(thread.WaitForThreadDeath(0), WAIT_RESULT_FAILED);
        int const parkedId = thread.GetThreadId();
        EXPECT_EQ(runs, 0);
        thread.Start();
        thread.Start();
        EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_OK);
        EXPECT_EQ(runs, 1);
        EXPECT_EQ(id, parkedId);
        EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_OK);
        EXPECT_EQ(thread.GetThreadId(), -1);
        EXPECT_EQ(thread.SetPriority(5), -1);
        thread.SetName("after");
        EXPECT_STREQ(thread.GetName(), "after");
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kNotStarted);
}

TEST(Thread, NamesAreCutHereAndInTheKernel) {
    std::string const longest = "abcdefghijklmnopqrstuvwx";
    Thread thread([] {}, (longest + "yz").c_str());
    EXPECT_EQ(thread.GetName(), longest);
    thread.Start();
    int const id = thread.GetThreadId();
    thread.SetName(longest.c_str());
    EXPECT_EQ(thread.GetName(), longest);
    thread.SetName(nullptr);
    EXPECT_STREQ(thread.GetName(), "UNKNOWN");

    Gate gate;
    Recorder<std::string> seen;
    Thread other(
        [&] {
            seen.Note(KernelName(gettid()));
            gate.Pass();
            seen.Note(KernelName(gettid()));
        },
        longest.c_str());
    other.Start();
    EXPECT_EQ(seen.Await(1).at(0), longest.substr(0, 15));
    other.SetName("renamed");
    gate.Open();
    EXPECT_EQ(seen.Await(2).at(1), "renamed");
    other.WaitForThreadDeath(-1);
    thread.WaitForThreadDeath(-1);
    EXPECT_NE(id, -1);
}

TEST(Thread, WithoutAThreadOperationsAnswerAndCreateBringsOne) {
    std::atomic<int> runs{0};
    Thread thread([&] { ++runs; }, nullptr, 100, 1);
    thread.SetName("ignored");
    thread.Start();
    thread.Kill();
    EXPECT_STREQ(thread.GetName(), "UNKNOWN");
    EXPECT_EQ(thread.GetThreadId(), -1);
    EXPECT_EQ(thread.GetPriority(), 100);
    EXPECT_EQ(thread.SetPriority(10), -1);
    EXPECT_TRUE(DThread::Create(&thread, 100, 100000, 1));
    EXPECT_FALSE(DThread::Create(&thread, 100, 100000, 1));
    EXPECT_EQ(thread.SetPriority(0), -1);
    EXPECT_EQ(thread.SetPriority(100), -1);
    EXPECT_EQ(thread.GetPriority(), 100);
    thread.Start();
    EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_OK);
    EXPECT_EQ(runs, 1);
    thread.Kill();
    EXPECT_FALSE(DThread::Create(&thread, 0, 0, 0));
}

TEST(Thread, ThePriorityAskedForIsKeptAndPutInForceWhereAllowed) {
    sched_param parameters{};
    parameters.sched_priority = 1;
    bool const allowed = sched_setscheduler(0, SCHED_RR, &parameters) == 0;
    parameters.sched_priority = 0;
    sched_setscheduler(0, SCHED_OTHER, &parameters);
    for (bool const early : {true, false}) {
        std::atomic<int> inForce{0};
        Thread thread(
            [&] {
                int policy = 0;
                sched_param mine{};
                pthread_getschedparam(pthread_self(), &policy, &mine);
                inForce = mine.sched_priority;
            },
            "priority", 7);
        EXPECT_EQ(thread.GetPriority(), 7);
        if (!early) {
            thread.GetThreadId(); // it is on its way, and may be reading its priority
        }
        EXPECT_EQ(thread.SetPriority(9), 9);
        EXPECT_EQ(thread.GetPriority(), 9);
        thread.Start();
        thread.WaitForThreadDeath(-1);
        EXPECT_EQ(inForce, allowed ? 9 : 0);
    }
}

TEST(Thread, KillEndsAParkedThreadAndLetsAStartedOneRunOn) {
    testing::internal::CaptureStdout();
    Reckless parked;
    parked.Kill();
    parked.Start();
    EXPECT_EQ(Reckless::runs, 0);
    EXPECT_EQ(parked.WaitForThreadDeath(0), WAIT_RESULT_FAILED);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kNotStarted);

    Gate gate;
    Recorder<int> steps;
    testing::internal::CaptureStdout();
    {
        Thread started([&] {
            steps.Note(1);
            gate.Pass();
            steps.Note(2);
        });
        started.Start();
        steps.Await(1);
        started.Kill();
        started.Kill();
        EXPECT_EQ(started.WaitForThreadDeath(-1), WAIT_RESULT_FAILED);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kDetached + "tested).\n");
    gate.Open();
    EXPECT_EQ(steps.Await(2).size(), 2U);
    Sleep(20); // the detached thread's last steps use this stack's objects
}

TEST(Thread, OneCallerJoinsAndTheOthersAreReleasedWithIt) {
    Gate gate;
    Thread thread([&] {
        EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_FAILED);
        gate.Pass();
        EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_FAILED); // while others join
    });
    thread.Start();
    EXPECT_EQ(thread.WaitForThreadDeath(0), WAIT_RESULT_TIMEOUT);
    EXPECT_EQ(thread.WaitForThreadDeath(-500), WAIT_RESULT_TIMEOUT);

    auto const wait = [&](int timeoutMs) {
        auto result = std::async(std::launch::async, [&thread, timeoutMs] {
            return thread.WaitForThreadDeath(timeoutMs);
        });
        Sleep(50);
        return result;
    };
    auto joiner = wait(200);
    auto neighbour = wait(60000);
    EXPECT_EQ(joiner.get(), WAIT_RESULT_TIMEOUT);
    EXPECT_EQ(neighbour.get(), WAIT_RESULT_TIMEOUT);

    // Whoever comes beside a joining caller and leaves again takes nothing with it.
    auto first = wait(-1);
    EXPECT_EQ(wait(10).get(), WAIT_RESULT_TIMEOUT);
    auto second = wait(-1);
    auto third = wait(60000);
    gate.Open();
    for (auto* const result : {&first, &second, &third}) {
        EXPECT_EQ(result->get(), WAIT_RESULT_OK);
    }
}

TEST(Thread, StartedButNotYetInRunItNeverTouchesADestroyedObject) {
    for (auto* const point : {&g_brake.beforeObject, &g_brake.insideObject}) {
        Gate gate;
        *point = &gate;
        auto thread = std::make_unique<Reckless>();
        while (point->load() != nullptr) {
            Sleep(1);
        }
        thread->Start();
        std::thread opener;
        bool const inside = point == &g_brake.insideObject;
        if (inside) { // the destructor waits for it
            opener = std::thread([&] {
                Sleep(50);
                gate.Open();
            });
        }
        thread.reset();
        inside ? opener.join() : gate.Open();
        Sleep(50);
        EXPECT_EQ(Reckless::runs, 0);
    }
}

TEST(Thread, StartFollowedByDestructionNeverHarms) {
    testing::internal::CaptureStdout();
    for (int i = 0; i < Rounds(1000); ++i) {
        Reckless thread;
        thread.Start();
        if (i % 4 == 0) {
            std::this_thread::yield();
        } else if (i % 4 == 1) {
            Sleep(1);
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(Reckless::runs, 0);
}

TEST(Thread, RunMayDestroyItsObjectOrEndItsThread) {
    Recorder<int> ended;
    auto* self = new std::unique_ptr<DThread>;
    self->reset(new Thread([self, &ended] {
        delete self;
        ended.Note(1);
    }));
    DThread* const suicidal = self->get();
    suicidal->Start();
    EXPECT_EQ(ended.Await(1).size(), 1U);

    Thread leaver([] { pthread_exit(nullptr); });
    leaver.Start();
    EXPECT_EQ(leaver.WaitForThreadDeath(-1), WAIT_RESULT_OK);
}

TEST(Thread, AFailedCreationIsReportedAndLeavesNothing) {
    testing::internal::CaptureStdout();
    g_brake.refuseCreation = true;
    Reckless unborn;
    Thread late([] {}, "late", 0, 1);
    EXPECT_FALSE(DThread::Create(&late, 0, 0, 0));
    EXPECT_EQ(ThreadSpawn([](void*) { ++Reckless::runs; }, nullptr, 0, 1, 2, 0), 0);
    g_brake.refuseCreation = false;
    unborn.Start();
    unborn.Kill();
    EXPECT_EQ(unborn.GetThreadId(), -1);
    EXPECT_TRUE(DThread::Create(&late, 0, 0, 0));
    EXPECT_EQ(Reckless::runs, 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "DThread::Failed to create the thread.\n");
}

TEST(Task, RunsDetachedWithItsArgumentAndPriority) {
    static Recorder<int> noted;
    static int priorities[] = {0, 100, 1, 99};
    std::size_t count = 0;
    for (int& priority : priorities) {
        auto const entry = [](void* argument) {
            int policy = 0;
            sched_param mine{};
            pthread_getschedparam(pthread_self(), &policy, &mine);
            noted.Note(*static_cast<int*>(argument) * 1000 + mine.sched_priority);
        };
        EXPECT_EQ(ThreadSpawn(entry, &priority, priority, -1, -1, priority - 50), 1);
        int const result = noted.Await(++count).back();
        bool const inRange = priority == 1 || priority == 99;
        EXPECT_TRUE(result == priority * 1000 || (inRange && result == priority * 1001)) << result;
    }
}

} // namespace
