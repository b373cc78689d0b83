#include <verrick/timers.h>

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <new>
#include <numeric>
#include <thread>

#include "hooks.h"
#include "tests/support/memory.h"

namespace {

using Ids = std::vector<unsigned int>;

// Notes the ids, and then calls a function.
struct Listener : ITimerListener {
    void OnTimerExpired(unsigned int id) override {
        noted.Note(id);
        then(id);
    }

    Recorder<unsigned int> noted;
    std::function<void(unsigned int)> then = [](unsigned int) {};
};

// The service, up to the end of the scope.
struct Service {
    ~Service() { DTimeManager::DestroyInstance(); }
    DTimeManager* operator->() const { return DTimeManager::GetInstance(10); }
};

TEST(Timers, FireOnTheTickGridNewestFirstAmongEquals) {
    Listener listener;
    Service const service;
    EXPECT_EQ(service->GetResolution(), 10U);
    while (service->GetTickCount() == 0) { // a new tick leaves ten milliseconds for all
        Sleep(1);
    }
    unsigned int const start = service->GetTickCount();
    service->CreateRelativeTimer(&listener, 1, 30, 0, 0);
    service->CreateRelativeTimer(&listener, 2, 30, 0, 0);
    service->CreateRelativeTimer(&listener, 3, 0, 0, 0);
    service->CreateRelativeTimer(&listener, 9, 25, 0, TIMER_REPEAT);
    if (service->GetTickCount() == start) {
        Ids ids = listener.noted.Await(6);
        ids.resize(6);
        EXPECT_GE(service->GetTickCount(), start + 90);
        EXPECT_EQ(ids, (Ids{3, 9, 2, 1, 9, 9}));
    }
}

TEST(Timers, MoveBetweenArmedAndNotAndRefuseWhatDoesNotFit) {
    Listener listener;
    Service const service;
    auto const create = [&](unsigned int id, int period, unsigned int flags) {
        return service->CreateRelativeTimer(&listener, id, period, 0, flags);
    };
    EXPECT_FALSE(create(1, 0, TIMER_REPEAT) || create(1, -1, TIMER_REPEAT));
    EXPECT_TRUE(create(1, 1000000, TIMER_REPEAT));
    EXPECT_FALSE(create(1, 10, 0) || service->CreateAbsoluteTimer(&listener, 1, 0, 0));
    EXPECT_FALSE(service->Activate(&listener, 1));
    EXPECT_TRUE(service->Deactivate(&listener, 1));
    EXPECT_FALSE(service->Deactivate(&listener, 1));
    EXPECT_TRUE(service->Activate(&listener, 1) && service->Destroy(&listener, 1));
    EXPECT_FALSE(service->Activate(&listener, 1) || service->Destroy(&listener, 1));

    // Period 0, first armed by Activate: due at once. Fired timers stay, and fire again.
    EXPECT_TRUE(create(3, 0, TIMER_INACTIVE));
    for (std::size_t round = 1; round <= 2; ++round) {
        EXPECT_TRUE(service->Activate(&listener, 3));
        EXPECT_EQ(listener.noted.Await(round), Ids(round, 3));
        EXPECT_FALSE(create(3, 10, 0));
    }

    {
        MemoryShortage const shortage;
        EXPECT_THROW(create(4, 10, 0), std::bad_alloc);
        EXPECT_THROW(service->CreateAbsoluteTimer(&listener, 4, 10, 0), std::bad_alloc);
    }
    std::thread([&] { EXPECT_TRUE(create(4, 10, 0)); }).join(); // the locks are free
}

TEST(Timers, AnAbsoluteTimerCountsTheDistanceWithoutItsSign) {
    Listener listener;
    Service const service;
    long const now = static_cast<long>(time(nullptr));
    unsigned int id = 0;
    for (long const when : {now - 1, now + 100000, std::numeric_limits<long>::max(), now}) {
        EXPECT_TRUE(service->CreateAbsoluteTimer(&listener, ++id, when, 0));
        EXPECT_TRUE(service->Activate(&listener, id));
    }
    EXPECT_EQ(listener.noted.Await(2), (Ids{4, 1}));
    EXPECT_GE(service->GetTickCount(), 900U);
    EXPECT_TRUE(service->Activate(&listener, 1)); // its time is over: the next tick
    EXPECT_EQ(listener.noted.Await(3), (Ids{4, 1, 1}));
}

TEST(Timers, TheDispatcherDeliversInOrderFromAFixedPool) {
    Gate gate;
    Listener listener;
    listener.then = [&](unsigned int) { gate.Pass(); };
    Listener other;
    testing::internal::CaptureStdout();
    {
        DTimerDispatch dispatch;
        dispatch.Start();
        dispatch.Enqueue(&listener, 0);
        listener.noted.Await(1);
        for (unsigned int i = 1; i <= 300; ++i) {
            dispatch.Enqueue(&listener, i); // the pool holds 255 beside the one under way
        }
        dispatch.FlushQueue(&listener, 0); // not what is under way
        dispatch.FlushQueue(&listener, 100);
        dispatch.Enqueue(&other, 1); // into the slot that came free
        dispatch.Enqueue(&other, 2); // dropped again
        gate.Open();
        EXPECT_EQ(other.noted.Await(1), Ids{1});
        Ids expected(256);
        std::iota(expected.begin(), expected.end(), 0);
        expected.erase(expected.begin() + 100);
        EXPECT_EQ(listener.noted.Await(0), expected);
        dispatch.Enqueue(&other, 3);
        EXPECT_EQ(other.noted.Await(2), (Ids{1, 3}));
    }
    DTimerDispatch{}; // never started: nothing to give up
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_detached successfull for thread (TimerDispatch Thread).\n");
}

TEST(Timers, DestroyInstanceReturnsWhenNoListenerRunsAnyMore) {
    for (int i = 0; i < 20; ++i) {
        Recorder<bool> ended;
        Listener listener;
        listener.then = [&](unsigned int) { Sleep(5), ended.Note(true); };
        testing::internal::CaptureStdout();
        DTimeManager* const manager = DTimeManager::GetInstance(10);
        EXPECT_EQ(DTimeManager::GetInstance(50), manager);
        EXPECT_LT(manager->GetTickCount(), 1000U); // a new service counts from 0
        manager->CreateRelativeTimer(&listener, 1, 10, 0, TIMER_REPEAT);
        listener.noted.Await(1);
        DTimeManager::DestroyInstance(); // beside a listener under way
        EXPECT_EQ(ended.Await(0).size(), listener.noted.Await(0).size());
        DTimeManager::DestroyInstance();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "pthread_detached successfull for thread (TimeManager Thread).\n"
                  "pthread_detached successfull for thread (TimerDispatch Thread).\n");
    }
}

TEST(Timers, AListenerMayDestroyTimersEndTheServiceAndBeginAnother) {
    Gate gate;
    Listener first;
    Listener second;
    Service const service;
    first.then = [&](unsigned int id) {
        gate.Pass();
        if (id == 1) {
            EXPECT_TRUE(service->Destroy(&first, 2)); // also drops it from the queue
        } else {
            DTimeManager::DestroyInstance();
            service->CreateRelativeTimer(&second, 7, 10, 0, 0);
        }
    };
    for (unsigned int const id : {1U, 2U, 3U, 4U}) {
        service->CreateRelativeTimer(&first, id, static_cast<int>(10 * id), 0, 0);
    }
    first.noted.Await(1);
    Sleep(80); // all of them are queued
    gate.Open();
    EXPECT_EQ(second.noted.Await(1), Ids{7});
    Sleep(20);
    EXPECT_EQ(first.noted.Await(0), (Ids{1, 3}));
}

} // namespace
