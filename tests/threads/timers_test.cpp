#include <signal.h>
#include <sys/wait.h>

#include "hooks.h"

namespace {

// The service, up to the end of the scope.
struct Service {
    ~Service() { DTimeManager::DestroyInstance(); }
    DTimeManager* operator->() const { return DTimeManager::GetInstance(10); }
};

TEST(Timers, DestroyAndDestroyInstanceWaitForACallUnderWay) {
    unsigned int const startMs = GetTickCount();
    for (bool const endsService : {false, true, true, true, true}) {
        Gate gate;
        Listener other;
        Service const service;
        DTimeManager* const manager = DTimeManager::GetInstance(10);
        auto listener = std::make_unique<Listener>();
        listener->then = [&](unsigned int) {
            gate.Pass();
            manager->CreateRelativeTimer(&other, 2, 10, 0, 0);      // perhaps too late to be of use
            endsService ? DTimeManager::DestroyInstance() : void(); // doesn't wait for the other
        };
        manager->CreateRelativeTimer(listener.get(), 1, 10, 0, TIMER_REPEAT);
        listener->noted.Await(1);
        manager->Destroy(listener.get(), 2); // doesn't wait for another timer's call
        auto const end = std::async(std::launch::async, [&] {
            if (endsService) {
                DTimeManager::DestroyInstance();
            } else {
                EXPECT_TRUE(manager->Destroy(listener.get(), 1));
            }
            listener.reset();
        });
        EXPECT_FALSE(IsOver(end));
        gate.Open();
    }
    EXPECT_LT(GetTickCount(), startMs + 4000); // none of them waits out its second
}

TEST(Timers, AListenerMayEndTheServiceAndBeginAnother) {
    Listener first, second;
    Service const service;
    first.then = [&](unsigned int) {
        Sleep(50); // the other timer's expiry waits by then
        DTimeManager::DestroyInstance();
        service->CreateRelativeTimer(&second, 7, 10, 0, 0);
    };
    service->CreateRelativeTimer(&first, 1, 10, 0, 0);
    service->CreateRelativeTimer(&first, 2, 20, 0, 0);
    EXPECT_EQ(second.noted.Await(1), Ids{7});
    AwaitOthersAsleep(); // with nothing to deliver
    EXPECT_EQ(first.noted.Await(0), Ids{1});
}

// Nobody waits for the listener any more, and its thread uses the objects to its end. So they stay.
TEST(Timers, DestroyAndDestroyInstanceGiveUpOnACallThatNeverReturns) {
    static Gate& gate = *new Gate;
    static Listener& listener = *new Listener;
    listener.then = [](unsigned int) {
        gate.Pass();
        listener.noted.Note(2);
    };
    DTimeManager::GetInstance(10)->CreateRelativeTimer(&listener, 1, 10, 0, TIMER_REPEAT);
    listener.noted.Await(1);
    EXPECT_TRUE(DTimeManager::GetInstance(10)->Destroy(&listener, 1));
    DTimeManager::DestroyInstance();
    EXPECT_EQ(listener.noted.Await(0), Ids{1});
    gate.Open();
    AwaitOthersAsleep();
    EXPECT_EQ(listener.noted.Await(0), (Ids{1, 2}));
}

TEST(Timers, OfSeveralDestroyInstanceOneEndsTheService) {
    static Listener& listener = *new Listener; // stays, as above
    listener.then = [](unsigned int) { DTimeManager::DestroyInstance(); };
    testing::internal::CaptureStdout();
    DTimeManager::GetInstance(10)->CreateRelativeTimer(&listener, 1, 0, 0, 0);
    listener.noted.Await(1);
    std::thread other(DTimeManager::DestroyInstance);
    DTimeManager::DestroyInstance();
    other.join();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_detached successfull for thread (TimeManager Thread).\n"
              "pthread_detached successfull for thread (TimerDispatch Thread).\n");
}

// The child has no threads of the service, but its locks may look taken for ever. The parent ends
// the service at exit.
TEST(Timers, AForkChildExitsThoughItEndsTheService) {
    Listener listener;
    static Service const service;
    service->CreateRelativeTimer(&listener, 1, 10, 0, TIMER_REPEAT);
    for (int i = 0; i < 20; ++i) {
        pid_t const child = fork();
        if (child == 0) {
            alarm(20);
            DTimeManager::DestroyInstance();
            _exit(4);
        }
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFEXITED(status));
    }
    EXPECT_TRUE(service->Destroy(&listener, 1)); // here it goes on
}

// Notes which of two signals are blocked on the calling thread.
void ReadMask(void* blocked) {
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    auto const is = [&](int signal) { return sigismember(&mask, signal); };
    static_cast<Recorder<int>*>(blocked)->Note(10 * is(SIGUSR1) + is(SIGUSR2));
}

// The second signal is blocked here only after the threads of the service were made.
TEST(Timers, SignalsReachNoThreadOfTheServiceButThoseThatAListenerStarts) {
    Recorder<int> blocked;
    Listener listener;
    listener.then = [&](unsigned int) {
        ReadMask(&blocked);
        Thread reader([&] { ReadMask(&blocked); });
        reader.Start();
        reader.WaitForThreadDeath(-1);
        ThreadSpawn(ReadMask, &blocked, 0, 0, 0, 0);
    };
    DTimeManager::DestroyInstance(); // another test's
    Service const service;
    sigset_t set{};
    sigaddset(&set, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    for (unsigned int const start = service->GetTickCount(); service->GetTickCount() == start;) {
    } // reads the clock beside a tick
    sigaddset(&set, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    kill(getpid(), SIGUSR2); // would end the process
    sigwaitinfo(&set, nullptr);
    service->CreateRelativeTimer(&listener, 1, 10, 0, 0);
    EXPECT_EQ(blocked.Await(3), (std::vector<int>{11, 10, 10}));
}

} // namespace
