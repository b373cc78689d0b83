#include <verrick/worker_thread.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "hooks.h"
#include "recorder.h"

namespace {

class Callback : public IWorkerCallbackObj {
public:
    explicit Callback(std::function<void(char*)> body) : m_body(std::move(body)) {}
    void DoCallback(void* data) override { m_body(static_cast<char*>(data)); }

private:
    std::function<void(char*)> m_body;
};

bool Give(DWorkerThread& worker, std::string text) {
    return worker.DoWork(static_cast<signed char>(text.size() + 1), text.data());
}

TEST(Worker, HandsOverTheNewestBlockAndKeepsItStableDuringTheCallback) {
    Gate gate;
    Recorder<std::string> seen;
    Callback callback([&](char* data) {
        seen.Note(data);
        gate.Pass();
        seen.Note(data);
        seen.Note(data + std::strlen(data) + 1);
    });
    DWorkerThread worker("worker", 0, 0, 0);
    EXPECT_TRUE(Give(worker, "dropped, for there is no callback"));
    Sleep(20);
    EXPECT_EQ(worker.AddCallbackObject(&callback), nullptr);
    EXPECT_EQ(worker.AddCallbackObject(&callback), &callback);
    EXPECT_TRUE(Give(worker, "one, longer"));
    EXPECT_EQ(seen.Await(1).back(), "one, longer");
    EXPECT_TRUE(Give(worker, "two"));
    EXPECT_TRUE(Give(worker, "three"));
    EXPECT_FALSE(worker.DoWork(0, nullptr));
    EXPECT_FALSE(worker.DoWork(-1, nullptr));
    gate.Open();
    auto const all = seen.Await(6);
    EXPECT_EQ(all[1], "one, longer");
    EXPECT_EQ(all[3], "three");
    EXPECT_EQ(all[5], "onger"); // the tail of a longer block stays
    Sleep(20);
    EXPECT_EQ(seen.Await(0).size(), 6U); // and nothing called twice
}

TEST(Worker, EndsWithoutALineWhenItIsIdleOrItsCallbackReturnsInTime) {
    Recorder<int> calls;
    Callback callback([&](char*) {
        calls.Note(1);
        Sleep(100);
    });
    testing::internal::CaptureStdout();
    {
        DWorkerThread idle("idle", 0, 0, 0);
        Sleep(50);
    }
    {
        DWorkerThread busy("busy", 0, 0, 0);
        busy.AddCallbackObject(&callback);
        Give(busy, "a");
        calls.Await(1);
        Give(busy, "b"); // announced behind a callback under way, and never begun
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(calls.Await(0).size(), 1U);
}

TEST(Worker, AStuckCallbackIsGivenUpAfterASecondAndTouchesNothingLater) {
    Gate gate;
    Recorder<int> calls;
    Callback callback([&](char*) {
        calls.Note(1);
        gate.Pass();
        calls.Note(2);
    });
    testing::internal::CaptureStdout();
    auto worker = std::make_unique<DWorkerThread>("stuck", 0, 0, 0);
    worker->AddCallbackObject(&callback);
    Give(*worker, "a");
    calls.Await(1);
    worker.reset();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_detached successfull for thread (stuck).\n");
    gate.Open();
    calls.Await(2);
    Sleep(50);
}

TEST(Worker, ACallbackMayUseAndDestroyItsWorker) {
    auto worker = std::make_unique<DWorkerThread>("own", 0, 0, 0);
    Recorder<std::string> seen;
    Callback callback([&](char* data) {
        seen.Note(data);
        if (std::string(data) == "again") {
            Give(*worker, "last");
        } else {
            worker.reset();
            seen.Note("destroyed");
        }
    });
    worker->AddCallbackObject(&callback);
    Give(*worker, "again");
    EXPECT_EQ(seen.Await(3), (std::vector<std::string>{"again", "last", "destroyed"}));
    Sleep(20);
}

TEST(Worker, WithoutAThreadItTakesWorkForLater) {
    Recorder<std::string> seen;
    Callback callback([&](char* data) { seen.Note(data); });
    DWorkerThread worker("late", 0, 0, 1);
    worker.AddCallbackObject(&callback);
    EXPECT_TRUE(Give(worker, "early"));
    EXPECT_TRUE(DThread::Create(&worker, 0, 0, 0));
    worker.Start();
    EXPECT_EQ(seen.Await(1).front(), "early");
    worker.Kill(); // gives the handle up, and the thread works on
    EXPECT_TRUE(Give(worker, "more"));
    EXPECT_EQ(seen.Await(2).back(), "more");
}

TEST(Worker, AWakeUpForNothingNeitherStartsNorCallsAnything) {
    Recorder<int> calls;
    Callback callback([&](char*) { calls.Note(1); });
    DWorkerThread worker("worker", 0, 0, 1);
    worker.AddCallbackObject(&callback);
    auto const awaitWakeUps = [] {
        for (int i = 0; i < 5000 && SpuriousWakeUps() > 0; ++i) {
            Sleep(1);
        }
        EXPECT_LE(SpuriousWakeUps(), 0);
        Sleep(20);
    };
    SpuriousWakeUps() = 3;
    ASSERT_TRUE(DThread::Create(&worker, 0, 0, 0));
    awaitWakeUps(); // parked
    SpuriousWakeUps() = 3;
    worker.Start();
    awaitWakeUps(); // idle
    EXPECT_EQ(calls.Await(0).size(), 0U);
    Give(worker, "a");
    EXPECT_EQ(calls.Await(1).size(), 1U);
}

} // namespace
