#include "hooks.h"

namespace {

using Texts = std::vector<std::string>;
constexpr int kNoThreadYet = 1;

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

// The tail of a longer block stays, also if that block was dropped because nobody wanted it.
TEST(Worker, CallsBackOnceWithTheNewestOfTheBlocksThatWait) {
    Gate gate;
    Callback callback;
    callback.then = [&](char* data) {
        gate.Pass();
        callback.seen.Note(data); // no later block has changed it
        callback.seen.Note(data + std::strlen(data) + 1);
        g_spuriousWakeUps = 1; // which brings no work
    };
    DWorkerThread worker("worker", 0, 0, 0);
    EXPECT_TRUE(Give(worker, "dropped tail") && Give(worker, ""));
    AwaitOthersAsleep();
    EXPECT_EQ(worker.AddCallbackObject(&callback), nullptr);
    EXPECT_EQ(worker.AddCallbackObject(&callback), &callback);
    char data[] = "never seen";
    EXPECT_FALSE(worker.DoWork(0, data) || worker.DoWork(-1, data) || worker.DoWork(1, nullptr));
    EXPECT_TRUE(Give(worker, "first"));
    callback.seen.Await(1);
    EXPECT_TRUE(Give(worker, "other"));
    EXPECT_TRUE(Give(worker, "third"));
    gate.Open();
    callback.seen.Await(6);
    AwaitOthersAsleep();
    EXPECT_EQ(callback.seen.Await(0),
              (Texts{"first", "first", "d tail", "third", "third", "d tail"}));
}

TEST(Worker, EndsParkedDerivedIdleOrAfterItsCallbackAndBeginsNoOther) {
    Callback callback;
    callback.then = [&](char*) { Sleep(100); };
    struct DerivedDispatch : DTimerDispatch {
        DerivedDispatch() { Start(); }
        void Run() override {}
    };
    delete new DerivedDispatch;
    testing::internal::CaptureStdout();
    {
        DWorkerThread parked("parked", 0, 0, kNoThreadYet);
        DThread::Create(&parked, 0, 0, 0);
        struct Derived : DWorkerThread {
            using DWorkerThread::DWorkerThread;
            void Run() override {}
        } derived("derived", 0, 0, kNoThreadYet);
        DThread::Create(&derived, 0, 0, 0);
        derived.Start();
        DWorkerThread idle("idle", 0, 0, 0), worker("busy", 0, 0, 0);
        worker.AddCallbackObject(&callback);
        Give(worker, "first");
        callback.seen.Await(1);
        Give(worker, "second");
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "WaitForThreadDeath::Run not started. or invalid thread handle\n");
    EXPECT_EQ(callback.seen.Await(0), Texts{"first"});
}

TEST(Worker, GivesACallbackUpAfterASecond) {
    Gate gate;
    Callback callback;
    callback.then = [&](char*) {
        gate.Pass();
        callback.seen.Note("back");
    };
    auto worker = std::make_unique<DWorkerThread>("stuck", 0, 0, 0);
    worker->AddCallbackObject(&callback);
    Give(*worker, "stuck");
    callback.seen.Await(1);
    testing::internal::CaptureStdout();
    unsigned int const startMs = GetTickCount();
    worker.reset();
    unsigned int const elapsedMs = GetTickCount() - startMs;
    EXPECT_TRUE(elapsedMs >= 950 && elapsedMs < 2500) << elapsedMs;
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "pthread_detached successfull for thread (stuck).\n");
    gate.Open();
    EXPECT_EQ(callback.seen.Await(2).back(), "back");
    AwaitOthersAsleep(); // on its way it touches nothing of the worker
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
    AwaitOthersAsleep();
}

TEST(Worker, KeepsABlockUntilItHasAThreadThatIsStarted) {
    Callback callback;
    DWorkerThread worker("late", 0, 0, kNoThreadYet);
    callback.then = [&](char* data) { // on the thread that waits for the event
        if (std::strcmp(data, "early") == 0) {
            delete std::exchange(worker.m_stopEvent.m_impl, new SlowEvent);
        }
    };
    worker.AddCallbackObject(&callback);
    EXPECT_TRUE(Give(worker, "early"));
    g_spuriousWakeUps = 3; // which don't start it
    ASSERT_TRUE(DThread::Create(&worker, 0, 0, 0));
    Sleep(50);
    EXPECT_EQ(callback.seen.Await(0), Texts{});
    worker.Start();
    EXPECT_EQ(callback.seen.Await(1), Texts{"early"});
    worker.Kill(); // gives the handle up, and the thread works on
    EXPECT_TRUE(Give(worker, "more"));
    EXPECT_EQ(callback.seen.Await(2), (Texts{"early", "more"}));
    AwaitOthersAsleep(); // the thread is held up in the event, and the worker's end waits for it
}

} // namespace
