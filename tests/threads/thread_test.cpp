#include <verrick/tasks.h>
#include <verrick/thread.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>

#include "hooks.h"
#include "recorder.h"

namespace {

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

TEST(Thread, ACallerThatComesAsTheJoiningOneLeavesJoinsItself) {
    Gate gate;
    Thread thread([&] { gate.Pass(); });
    thread.Start();
    std::future<int> late;
    auto joiner = std::async(std::launch::async, [&] {
        BeforeBroadcast() = [&] { // it holds the mutex, for which the late caller queues first
            late = std::async(std::launch::async, [&] { return thread.WaitForThreadDeath(-1); });
            Sleep(50);
        };
        return thread.WaitForThreadDeath(100);
    });
    Sleep(50);
    auto neighbour =
        std::async(std::launch::async, [&] { return thread.WaitForThreadDeath(60000); });
    EXPECT_EQ(joiner.get(), WAIT_RESULT_TIMEOUT);
    EXPECT_EQ(neighbour.get(), WAIT_RESULT_TIMEOUT);
    gate.Open();
    EXPECT_EQ(late.get(), WAIT_RESULT_OK);
}

TEST(Thread, StartedButNotYetInRunItNeverTouchesADestroyedObject) {
    for (auto* const point : {&GateBeforeObject(), &GateInsideObject()}) {
        Gate gate;
        *point = &gate;
        auto thread = std::make_unique<Reckless>();
        while (point->load() != nullptr) {
            Sleep(1);
        }
        thread->Start();
        std::thread opener;
        bool const inside = point == &GateInsideObject();
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
    RefuseCreation() = true;
    Reckless unborn;
    Thread late([] {}, "late", 0, 1);
    EXPECT_FALSE(DThread::Create(&late, 0, 0, 0));
    EXPECT_EQ(ThreadSpawn([](void*) { ++Reckless::runs; }, nullptr, 0, 1, 2, 0), 0);
    RefuseCreation() = false;
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
