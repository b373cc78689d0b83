#include "hooks.h"
#include "tests/support/detach.h"

namespace {

// Run touches nothing of the object, which may be gone.
struct Reckless : DThread {
    Reckless() : DThread("reckless", 0, 0, 0) {}
    void Run() override { ++runs; }

    static inline std::atomic<int> runs{0};
};

// Returns an object whose thread is held at the gate, inside the object.
std::unique_ptr<Reckless> HeldInside(Gate& gate) {
    g_insideObject = &gate;
    auto thread = std::make_unique<Reckless>();
    g_insideObject.wait(&gate);
    return thread;
}

// Calls a function on another thread, and returns once that call is over or blocks.
template<class Function>
auto Call(Function function) {
    auto result = std::async(std::launch::async, function);
    AwaitOthersAsleep();
    return result;
}

auto WaitFor(DThread& thread, int timeoutMs) {
    return Call([&thread, timeoutMs] { return thread.WaitForThreadDeath(timeoutMs); });
}

// The name, priority and stack of the calling thread.
struct Properties {
    Properties() {
        pthread_getname_np(pthread_self(), name, sizeof name);
        sched_getparam(0, &scheduling);
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &stackBytes);
        pthread_attr_destroy(&attributes);
    }

    char name[16];
    sched_param scheduling;
    std::size_t stackBytes = 0;
};

// Returns the priority as it comes into force: 0 where the process has no right to it.
int Allowed(int priority) {
    sched_param const parameters[] = {{0}, {priority}};
    bool const isAllowed = sched_setscheduler(0, SCHED_RR, &parameters[1]) == 0;
    sched_setscheduler(0, SCHED_OTHER, &parameters[0]);
    return isAllowed ? priority : 0;
}

TEST(Thread, HasItsNamePriorityAndStackInRunAndTakesNewOnes) {
    Gate gate;
    Recorder<Properties> seen;
    auto const run = [&] {
        seen.Note({});
        gate.Pass();
        seen.Note({});
    };
    Thread thread(run, "abcdefghijklmnopqrstuvwxyz", 7, 1 << 20);
    EXPECT_STREQ(thread.GetName(), "abcdefghijklmnopqrstuvwx");
    EXPECT_EQ(thread.SetPriority(9), 9); // it is on its way, and may be reading its priority
    EXPECT_EQ(thread.SetPriority(0), -1);
    EXPECT_EQ(thread.SetPriority(100), -1);
    thread.Start();
    Properties const first = seen.Await(1).at(0);
    EXPECT_STREQ(first.name, "abcdefghijklmno");
    EXPECT_EQ(first.scheduling.sched_priority, Allowed(9));
    EXPECT_EQ(first.stackBytes, 1U << 20);
    thread.SetName(nullptr);
    EXPECT_EQ(thread.SetPriority(11), 11);
    EXPECT_EQ(thread.GetPriority(), 11);
    gate.Open();
    Properties const second = seen.Await(2).at(1);
    EXPECT_STREQ(second.name, "UNKNOWN");
    EXPECT_EQ(second.scheduling.sched_priority, Allowed(11));
    thread.WaitForThreadDeath(-1);
}

// Run may begin before the members of its class are built.
TEST(Thread, StartInABaseConstructorReachesTheRunOfTheWholeObject) {
    static Recorder<int> s_runs;
    struct Base : DThread {
        Base() : DThread("tested", 0, 0, 0) {
            Start();
            Sleep(50); // Run is pure all that time
        }
    };
    struct Derived : Base {
        void Run() override { s_runs.Note(1); }
    } derived;
    EXPECT_EQ(derived.WaitForThreadDeath(-1), WAIT_RESULT_OK);
    EXPECT_EQ(s_runs.Await(0).size(), 1U);
}

TEST(Thread, DestructionWaitsForOneOnItsWayToRunWhichNeverGetsThere) {
    Gate gate;
    auto thread = HeldInside(gate);
    thread->Start();
    auto destruction = Call([&] { thread.reset(); });
    EXPECT_FALSE(IsOver(destruction));
    gate.Open();
    destruction.get();
    AwaitOthersAsleep();
    EXPECT_EQ(Reckless::runs, 0);
}

TEST(Thread, TwoKillsOfAParkedOneBothReturnAfterItsEnd) {
    Gate gate;
    auto const thread = HeldInside(gate);
    auto first = Call([&] { thread->Kill(); });
    auto second = Call([&] { thread->Kill(); });
    thread->Start(); // too late
    EXPECT_FALSE(IsOver(first) || IsOver(second));
    gate.Open();
    first.get();
    second.get();
    EXPECT_EQ(Reckless::runs, 0);
}

// It is detached once: by Kill, or by the caller that waits beside it.
TEST(Thread, KillLetsOneInRunGoOnWithoutItsObject) {
    for (int const timeoutMs : {0, -999, 300}) {
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
            auto waiter = WaitFor(started, timeoutMs);
            g_detached = 0;
            started.Kill();
            EXPECT_EQ(started.WaitForThreadDeath(-1), WAIT_RESULT_FAILED);
            EXPECT_EQ(waiter.get(), WAIT_RESULT_TIMEOUT);
            EXPECT_EQ(g_detached, 1);
        }
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "pthread_detached successfull for thread (tested).\n");
        gate.Open();
        EXPECT_EQ(steps.Await(2).size(), 2U);
        AwaitOthersAsleep(); // the detached thread's last steps use this stack's objects
    }
}

// The destructors of keys may set the keys again, for the next round. This one does so before it
// passes the gate.
struct ExitsThroughGate {
    static void Pass(void* held) {
        auto& self = *static_cast<ExitsThroughGate*>(held);
        self.rounds.Note(1);
        bool const isLast = self.rounds.Await(0).size() == self.lastRound;
        isLast ? self.gate.Pass() : static_cast<void>(pthread_setspecific(self.key, held));
    }

    unsigned int lastRound;
    Recorder<int> rounds{};
    Gate gate{};
    pthread_key_t key{};
};

#if defined __SANITIZE_THREAD__ || defined __SANITIZE_ADDRESS__
constexpr unsigned int kLastRound = 1; // the sanitizers have ended before
#else
constexpr unsigned int kLastRound = PTHREAD_DESTRUCTOR_ITERATIONS;
#endif

TEST(Thread, CannotExitDuringItsDetachment) {
    for (unsigned int const lastRound : {1U, (kLastRound + 1) / 2, kLastRound}) {
        ExitsThroughGate exit{lastRound};
        Thread thread([&] {
            pthread_key_create(&exit.key, ExitsThroughGate::Pass);
            pthread_setspecific(exit.key, &exit);
        });
        thread.Start();
        exit.rounds.Await(lastRound);
        g_idOfLetGo = static_cast<unsigned int>(thread.GetThreadId());
        g_letGo = [&] { exit.gate.Open(); };
        auto kill = std::async(std::launch::async, [&] { thread.Kill(); });
        bool const isTooLate = lastRound == PTHREAD_DESTRUCTOR_ITERATIONS;
        EXPECT_FALSE(isTooLate && IsOver(kill));
        isTooLate ? exit.gate.Open() : void();
        kill.get();
        EXPECT_FALSE(g_hasExited);
        AwaitOthersAsleep(); // the thread is gone
        exit.gate.Open();    // what it did at the gate comes before the gate's end
    }
}

TEST(Thread, RunMayEndItsThreadAndThenAChangeOfPriorityLeavesItAlone) {
    Thread thread([] { pthread_exit(nullptr); });
    thread.Start();
    AwaitOthersAsleep(); // it has ended
    bool isTouched = false;
    g_beforePriority = [&] { isTouched = true; };
    EXPECT_EQ(thread.SetPriority(1), 1);
    g_beforePriority = {};
    EXPECT_FALSE(isTouched);
    EXPECT_EQ(thread.WaitForThreadDeath(0), WAIT_RESULT_OK);
}

TEST(Thread, AKillThatIsCancelledAtItsMessageHasLetGo) {
    Gate gate;
    Thread thread([&] { gate.Pass(); });
    thread.Start();
    std::setvbuf(stdout, nullptr, _IONBF, 0); // so that the message is a cancellation point
    std::thread([&] {
        pthread_cancel(pthread_self());
        thread.Kill();
    }).join();
    EXPECT_EQ(thread.GetThreadId(), -1);
    gate.Open();
    AwaitOthersAsleep(); // as above
}
TEST(Thread, AllOthersWhoWaitAreReleasedWithTheOneThatJoins) {
    Gate gate;
    Thread thread([&] {
        gate.Pass();
        EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_FAILED); // of itself
    });
    thread.Start();
    unsigned int const startMs = GetTickCount();
    EXPECT_EQ(thread.WaitForThreadDeath(1), WAIT_RESULT_TIMEOUT);
    EXPECT_NE(GetTickCount(), startMs);
    auto joining = WaitFor(thread, -1);
    for (int const timeoutMs : {0, 10}) { // they leave and take nothing with them
        EXPECT_EQ(WaitFor(thread, timeoutMs).get(), WAIT_RESULT_TIMEOUT);
    }
    std::future<int> others[] = {WaitFor(thread, -1), WaitFor(thread, 60000)};
    gate.Open();
    EXPECT_EQ(joining.get(), WAIT_RESULT_OK);
    EXPECT_EQ(others[0].get(), WAIT_RESULT_OK);
    EXPECT_EQ(others[1].get(), WAIT_RESULT_OK);
}

TEST(Thread, HasOnePosixThreadAtMostAndTakesNothingWithoutIt) {
    testing::internal::CaptureStdout();
    struct Late : DThread {
        Late() : DThread("late", 7, 0, 1) {}
        void Run() override { ids.Note(gettid()); }
        Recorder<int> ids;
    } thread;
    auto const takesNothing = [&](int priority) {
        thread.SetName("other");
        EXPECT_STREQ(thread.GetName(), "late");
        EXPECT_EQ(thread.SetPriority(9), -1);
        EXPECT_EQ(thread.GetPriority(), priority);
        EXPECT_EQ(thread.GetThreadId(), -1);
    };
    takesNothing(7);
    DThreadImpl own("own", 5, 0, 0, &thread); // creates the owner's thread, with a new priority
    DThreadImpl second("second", 7, 0, 0, &thread);
    second.Run();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "DThreadImpl::Failed to create the thread.\n"
              "DThreadImpl::Default Run called (Should not be called).\n");
    int const id = thread.GetThreadId(); // also before it has begun
    thread.Start();
    thread.Start();
    EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_OK);
    EXPECT_EQ(thread.WaitForThreadDeath(0), WAIT_RESULT_OK);
    EXPECT_EQ(thread.ids.Await(0), std::vector<int>{id});
    EXPECT_FALSE(DThread::Create(&thread, 0, 0, 0));
    EXPECT_EQ(thread.SetPriority(9), -1);
    EXPECT_EQ(thread.GetThreadId(), -1);
    thread.Kill();
    takesNothing(5);
}

TEST(Task, RunsWithItsArgumentPriorityAndStack) {
    static Recorder<Properties> seen;
    auto const entry = [](void* to) { static_cast<Recorder<Properties>*>(to)->Note({}); };
    EXPECT_EQ(ThreadSpawn(entry, &seen, 99, -1, -1, 1 << 20), 1);
    Properties const properties = seen.Await(1).back();
    EXPECT_EQ(properties.scheduling.sched_priority, Allowed(99));
    EXPECT_EQ(properties.stackBytes, 1U << 20);
    EXPECT_EQ(ThreadSpawn(nullptr, &seen, 0, 0, 0, 0), 0);
}

} // namespace
