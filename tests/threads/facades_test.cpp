// What the facades return while they have no implementation, and what thread objects return while
// they have no thread.

#include "hooks.h"

namespace {

// Takes its implementation from a facade.
template<class Facade>
Facade& Drop(Facade& facade) {
    delete std::exchange(facade.m_impl, nullptr);
    return facade;
}

TEST(Facade, ReturnsFixedResultsWithoutItsImplementation) {
    DEvent event(true, true);
    DSemaphore semaphore(1, 2, nullptr);
    DSemaphoreImpl withoutNode(1, 2, nullptr);
    std::exchange(withoutNode.m_node, nullptr)->Release();
    Thread thread([] {});
    Drop(event).Signal();
    Drop(semaphore).Release(1);
    withoutNode.Release(1);
    Drop(thread).Start();
    thread.SetName("new");
    thread.Kill();
    for (int const failed : {int{event.Wait(0)}, int{semaphore.Wait(0)}, int{withoutNode.Wait(0)},
                             thread.WaitForThreadDeath(0)}) {
        EXPECT_EQ(failed, WAIT_RESULT_FAILED);
    }
    EXPECT_EQ(thread.SetPriority(5), 1);
    EXPECT_EQ(thread.GetPriority(), 1);
    EXPECT_STREQ(thread.GetName(), "THREAD_UNIMPLEMENTED");
    EXPECT_EQ(thread.GetThreadId(), -1);

    Listener listener;
    DInterlockedValue value(7);
    DTimeManager timers(10);
    Drop(value);
    Drop(timers).Sleep(1);
    for (unsigned int const nothing :
         {1U * value.Increment(), 1U * value.Decrement(), 1U * value.Add(1), 1U * value.SetValue(1),
          1U * value.GetValue(), 1U * timers.CreateRelativeTimer(&listener, 1, 10, 0, 0),
          1U * timers.CreateAbsoluteTimer(&listener, 1, 0, 0), 1U * timers.Activate(&listener, 1),
          1U * timers.Deactivate(&listener, 1), 1U * timers.Destroy(&listener, 1),
          timers.GetTickCount(), timers.GetResolution()}) {
        EXPECT_EQ(nothing, 0U);
    }
}

TEST(Thread, HasOnePosixThreadAtMostAndTakesNothingWithoutIt) {
    testing::internal::CaptureStdout();
    struct Late : DThread {
        Late() : DThread("late", 7, 0, 1) {}
        void Run() override { ids.Note(gettid()); }
        Recorder<int> ids;
    } thread;
    auto const takesNothing = [&] {
        thread.SetName("other");
        EXPECT_STREQ(thread.GetName(), "late");
        EXPECT_EQ(thread.SetPriority(9), -1);
        EXPECT_EQ(thread.GetPriority(), 7);
        EXPECT_EQ(thread.GetThreadId(), -1);
    };
    takesNothing();
    DThreadImpl own("own", 7, 0, 0, &thread); // creates the owner's thread
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
    takesNothing();
}

} // namespace
