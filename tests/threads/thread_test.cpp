#include <verrick/tasks.h>
#include <verrick/thread.h>

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <unistd.h>

#include "hooks.h"

namespace {

using Ints = std::vector<int>;

struct Thread : DThread {
    explicit Thread(std::function<void()> run, char const* name = "tested", int priority = 0,
                    int flags = 0)
        : DThread(name, priority, 0, flags), body(std::move(run)) {}
    void Run() override { std::function<void()>{body}(); } // the object may go meanwhile

    std::function<void()> const body;
};

// Run touches nothing of the object, which may be gone.
struct Reckless : DThread {
    Reckless() : DThread("reckless", 0, 0, 0) {}
    void Run() override { runs.fetch_add(1, std::memory_order_relaxed); }

    static inline std::atomic<int> runs{0};
};

// Starts a wait on another thread and returns once it can be taken to block.
std::future<int> WaitFor(DThread& thread, int timeoutMs) {
    auto wait = std::async(std::launch::async, &DThread::WaitForThreadDeath, &thread, timeoutMs);
    Sleep(50);
    return wait;
}

// The calling thread's name and priority.
std::pair<std::string, int> InForce() {
    char name[16];
    pthread_getname_np(pthread_self(), name, sizeof name);
    sched_param parameters{};
    sched_getparam(0, &parameters);
    return {name, parameters.sched_priority};
}

// A real-time priority as it comes into force: not at all where the process has no right to it.
int Allowed(int priority) {
    sched_param const parameters[] = {{0}, {priority}};
    bool const allowed = sched_setscheduler(0, SCHED_RR, &parameters[1]) == 0;
    sched_setscheduler(0, SCHED_OTHER, &parameters[0]);
    return allowed ? priority : 0;
}

TEST(Thread, RunsOnceIsJoinedOnceAndAnswersBeforeAndAfter) {
    std::atomic<int> runs{0};
    std::atomic<int> id{0};
    Thread thread([&] { ++runs, id = gettid(); }, nullptr, 100, 1);
    auto const answers = [&] {
        return Ints{thread.GetThreadId(), thread.SetPriority(10),
                    DThread::Create(&thread, 100, 100000, 1) ? 1 : 0};
    };
    testing::internal::CaptureStdout();
    thread.SetName("ignored, for there is no thread yet");
    thread.Start();
    thread.Kill();
    EXPECT_STREQ(thread.GetName(), "UNKNOWN");
    EXPECT_EQ(answers(), (Ints{-1, -1, 1}));
    Ints const refused{thread.SetPriority(0), thread.SetPriority(100), thread.GetPriority()};
    EXPECT_EQ(refused, (Ints{-1, -1, 100}));
    EXPECT_EQ(thread.WaitForThreadDeath(0), WAIT_RESULT_FAILED);
    int const parkedId = thread.GetThreadId();
    EXPECT_EQ(answers(), (Ints{parkedId, 10, 0}));
    EXPECT_EQ(runs, 0);
    thread.Start();
    thread.Start();
    EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_OK);
    EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_OK);
    EXPECT_EQ((Ints{runs, id}), (Ints{1, parkedId}));
    thread.SetName("after");
    EXPECT_STREQ(thread.GetName(), "after");
    EXPECT_EQ(answers(), (Ints{-1, -1, 0}));
    thread.Kill();
    EXPECT_EQ(answers(), (Ints{-1, -1, 0}));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "WaitForThreadDeath::Run not started. or invalid thread handle\n");
}

TEST(Thread, NameAndPriorityAreKeptHereAndPutInForceAsFarAsTheKernelTakesThem) {
    std::string const longest = "abcdefghijklmnopqrstuvwx";
    Gate gate;
    Recorder<std::pair<std::string, int>> seen;
    auto const run = [&] {
        seen.Note(InForce());
        gate.Pass();
        seen.Note(InForce());
    };
    Thread thread(run, (longest + "yz").c_str(), 7);
    EXPECT_EQ(thread.GetName(), longest);
    EXPECT_EQ(thread.GetPriority(), 7);
    EXPECT_EQ(thread.SetPriority(9), 9); // it is on its way, and may be reading its priority
    thread.Start();
    EXPECT_EQ(seen.Await(1).at(0), std::pair(longest.substr(0, 15), Allowed(9)));
    thread.SetName(nullptr);
    thread.SetPriority(11);
    EXPECT_EQ(thread.GetPriority(), 11);
    gate.Open();
    EXPECT_EQ(seen.Await(2).at(1), std::pair(std::string("UNKNOWN"), Allowed(11)));
    thread.WaitForThreadDeath(-1);
}

TEST(Thread, OneThatIsNotYetInRunNeverGetsThereOnceItIsKilledOrDestroyed) {
    static struct { // for a thread whose object is gone
        std::atomic<Gate*>& point;
        bool killed;
        Gate gate;
    } cases[] = {
        {g_beforeObject, false, {}}, {g_insideObject, false, {}}, {g_insideObject, true, {}}};
    for (auto& each : cases) {
        each.point = &each.gate;
        auto thread = std::make_unique<Reckless>();
        each.point.wait(&each.gate);
        if (!each.killed) {
            thread->Start();
        }
        std::thread opener([&] {
            Sleep(100);
            if (each.killed) {
                thread->Start(); // too late
            }
            each.gate.Open();
        });
        each.killed ? thread->Kill() : thread.reset(); // waits for a thread inside the object
        opener.join();
        Sleep(50);
        EXPECT_EQ(Reckless::runs, 0);
    }
}

TEST(Thread, KillLetsAStartedOneRunOnWithoutItsObject) {
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
        EXPECT_EQ(started.WaitForThreadDeath(-1), WAIT_RESULT_FAILED);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_detached successfull for thread (tested).\n");
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
    EXPECT_EQ(thread.WaitForThreadDeath(-500), WAIT_RESULT_TIMEOUT);

    // A caller that comes as the joining one leaves joins itself.
    std::future<int> late;
    auto joining = std::async(std::launch::async, [&] {
        g_beforeBroadcast = [&] { late = WaitFor(thread, -1); }; // first in line for the mutex
        return thread.WaitForThreadDeath(500);
    });
    Sleep(50);
    EXPECT_EQ(WaitFor(thread, 60000).get(), WAIT_RESULT_TIMEOUT);
    EXPECT_EQ(joining.get(), WAIT_RESULT_TIMEOUT);

    // Whoever comes beside a joining caller and leaves again takes nothing with it.
    EXPECT_EQ(WaitFor(thread, 10).get(), WAIT_RESULT_TIMEOUT);
    std::future<int> others[] = {WaitFor(thread, -1), WaitFor(thread, 60000), std::move(late)};
    gate.Open();
    for (auto& other : others) {
        EXPECT_EQ(other.get(), WAIT_RESULT_OK);
    }
}

TEST(Thread, StartFollowedByDestructionNeverHarms) {
    testing::internal::CaptureStdout();
    for (unsigned int i = 0; i < 1000; ++i) {
        Reckless thread;
        thread.Start();
        Sleep(i % 2);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(Reckless::runs, 0);
}

TEST(Thread, RunMayDestroyItsObjectOrEndItsThread) {
    Recorder<int> ended;
    DThread* own = nullptr;
    own = new Thread([&] { delete own, ended.Note(1); });
    own->Start();
    EXPECT_EQ(ended.Await(1).size(), 1U);
    Thread leaver([] { pthread_exit(nullptr); });
    leaver.Start();
    EXPECT_EQ(leaver.WaitForThreadDeath(-1), WAIT_RESULT_OK);
}

TEST(Thread, AFailedCreationIsReportedAndLeavesNothing) {
    testing::internal::CaptureStdout();
    g_refuseCreation = true;
    Reckless unborn;
    EXPECT_EQ(ThreadSpawn([](void*) { std::abort(); }, nullptr, 0, 1, 2, 0), 0);
    g_refuseCreation = false;
    unborn.Kill();
    EXPECT_EQ(unborn.GetThreadId(), -1);
    EXPECT_TRUE(DThread::Create(&unborn, 0, 0, 0));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "DThread::Failed to create the thread.\n");
}

TEST(Task, RunsDetachedWithItsArgumentAndPriority) {
    static Recorder<int> noted;
    auto const entry = [](void* argument) {
        static_cast<Recorder<int>*>(argument)->Note(InForce().second);
    };
    std::size_t count = 0;
    for (int const priority : {0, 100, 1, 99}) {
        EXPECT_EQ(ThreadSpawn(entry, &noted, priority, -1, -1, priority - 50), 1);
        bool const inRange = priority == 1 || priority == 99;
        EXPECT_EQ(noted.Await(++count).back(), inRange ? Allowed(priority) : 0);
    }
}

} // namespace
