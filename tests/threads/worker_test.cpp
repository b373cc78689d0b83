#include <verrick/worker_thread.h>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "hooks.h"

namespace {

using Texts = std::vector<std::string>;

// Notes the text of a block, and then calls a function with the block.
struct Callback : IWorkerCallbackObj {
    void DoCallback(void* data) override {
        seen.Note(static_cast<char*>(data));
        then(static_cast<char*>(data));
    }

    Recorder<std::string> seen;
    std::function<void(char*)> then = [](char*) {};
};

bool Give(DWorkerThread& worker, std::string text) {
    return worker.DoWork(static_cast<signed char>(text.size() + 1), text.data());
}

TEST(Worker, HandsOverTheNewestBlockAndKeepsItStableDuringTheCallback) {
    Gate gate;
    Callback callback;
    callback.then = [&](char* data) {
        gate.Pass();
        callback.seen.Note(data + std::strlen(data) + 1); // the tail of a longer block stays
    };
    DWorkerThread worker("worker", 0, 0, 0);
    EXPECT_TRUE(Give(worker, "dropped, for there is no callback"));
    Sleep(20);
    EXPECT_EQ(worker.AddCallbackObject(&callback), nullptr);
    EXPECT_EQ(worker.AddCallbackObject(&callback), &callback);
    EXPECT_TRUE(Give(worker, "one, longer"));
    callback.seen.Await(1);
    EXPECT_TRUE(Give(worker, "two") && Give(worker, "three"));
    EXPECT_FALSE(worker.DoWork(0, nullptr) || worker.DoWork(-1, nullptr));
    gate.Open();
    callback.seen.Await(4);
    Sleep(20);
    EXPECT_EQ(callback.seen.Await(0),
              (Texts{"one, longer", " there is no callback", "three", "onger"}));
}

TEST(Worker, EndsIdleOrBehindItsCallbackWhichItGivesUpAfterASecond) {
    Gate gate;
    Callback callback;
    callback.then = [&](char*) { Sleep(100); };
    testing::internal::CaptureStdout();
    {
        DWorkerThread idle("idle", 0, 0, 0);
        Sleep(50);
    }
    {
        DWorkerThread busy("busy", 0, 0, 0);
        busy.AddCallbackObject(&callback);
        Give(busy, "a");
        callback.seen.Await(1);
        Give(busy, "b"); // announced behind a callback under way, and never begun
    }
    callback.then = [&](char*) { gate.Pass(), callback.seen.Note("back"); };
    auto stuck = std::make_unique<DWorkerThread>("stuck", 0, 0, 0);
    stuck->AddCallbackObject(&callback);
    Give(*stuck, "c");
    EXPECT_EQ(callback.seen.Await(2), (Texts{"a", "c"}));
    stuck.reset();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_detached successfull for thread (stuck).\n");
    gate.Open();
    EXPECT_EQ(callback.seen.Await(3).back(), "back");
    Sleep(50); // on its way it touches nothing of the worker
}

TEST(Worker, ACallbackMayUseAndDestroyItsWorker) {
    Callback callback;
    auto worker = std::make_unique<DWorkerThread>("own", 0, 0, 0);
    callback.then = [&](char* data) {
        Give(*worker, "last");
        if (std::strcmp(data, "last") == 0) {
            worker.reset();
            callback.seen.Note("destroyed");
        }
    };
    worker->AddCallbackObject(&callback);
    Give(*worker, "again");
    EXPECT_EQ(callback.seen.Await(3), (Texts{"again", "last", "destroyed"}));
    Sleep(20);
}

TEST(Worker, TakesWorkForLaterAndAWakeUpForNothingNeitherStartsNorCallsAnything) {
    Callback callback;
    DWorkerThread worker("late", 0, 0, 1);
    auto const awaitWakeUps = [] {
        while (g_spuriousWakeUps > 0) {
            Sleep(1);
        }
        Sleep(20);
    };
    worker.AddCallbackObject(&callback);
    EXPECT_TRUE(Give(worker, "early"));
    g_spuriousWakeUps = 3;
    ASSERT_TRUE(DThread::Create(&worker, 0, 0, 0));
    awaitWakeUps(); // parked
    EXPECT_EQ(callback.seen.Await(0), Texts{});
    worker.Start();
    EXPECT_EQ(callback.seen.Await(1), Texts{"early"});
    g_spuriousWakeUps = 3;
    worker.Kill(); // gives the handle up, and the thread works on
    EXPECT_TRUE(Give(worker, "more"));
    awaitWakeUps(); // idle
    EXPECT_EQ(callback.seen.Await(2), (Texts{"early", "more"}));
}

} // namespace
