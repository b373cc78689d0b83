// What the facades return while they have no implementation, and what thread objects return while
// they have no thread.
#include <verrick/event.h>
#include <verrick/interlocked.h>
#include <verrick/semaphore.h>

#include "hooks.h"

namespace {

template<class Facade>
Facade& WithoutImplementation(Facade& facade) {
    delete std::exchange(facade.m_impl, nullptr);
    return facade;
}

TEST(Facade, ReturnsFixedResultsWithoutItsImplementation) {
    DEvent event(true, true);
    WithoutImplementation(event).Signal();
    event.Reset();
    EXPECT_EQ(event.Wait(0), WAIT_RESULT_FAILED);

    DSemaphore semaphore(1, 2, nullptr);
    DSemaphoreImpl implementation(1, 2, nullptr);
    std::exchange(implementation.m_node, nullptr)->Release();
    for (ISemaphore* const each :
         std::initializer_list<ISemaphore*>{&implementation, &WithoutImplementation(semaphore)}) {
        each->Release(1);
        EXPECT_EQ(each->Wait(0), WAIT_RESULT_FAILED);
    }

    DInterlockedValue value(7);
    EXPECT_EQ(WithoutImplementation(value).Increment(), 0);
    EXPECT_EQ(value.Decrement(), 0);
    EXPECT_EQ(value.Add(1), 0);
    EXPECT_EQ(value.SetValue(1), 0);
    EXPECT_EQ(value.GetValue(), 0);

    Thread thread([] {});
    WithoutImplementation(thread).Start();
    thread.SetName("new");
    thread.Kill();
    EXPECT_EQ(thread.SetPriority(5), 1);
    EXPECT_EQ(thread.GetPriority(), 1);
    EXPECT_STREQ(thread.GetName(), "THREAD_UNIMPLEMENTED");
    EXPECT_EQ(thread.GetThreadId(), -1);
    EXPECT_EQ(thread.WaitForThreadDeath(0), WAIT_RESULT_FAILED);

    Listener listener;
    DTimeManager timers(10);
    WithoutImplementation(timers).Sleep(1);
    EXPECT_FALSE(timers.CreateRelativeTimer(&listener, 1, 10, 0, 0));
    EXPECT_FALSE(timers.CreateAbsoluteTimer(&listener, 1, 0, 0));
    EXPECT_FALSE(timers.Activate(&listener, 1));
    EXPECT_FALSE(timers.Deactivate(&listener, 1));
    EXPECT_FALSE(timers.Destroy(&listener, 1));
    EXPECT_EQ(timers.GetTickCount(), 0U);
    EXPECT_EQ(timers.GetResolution(), 0U);
}

TEST(Thread, TakesNoNameAndNoPriorityBeforeItsCreationAndAfterKill) {
    testing::internal::CaptureStdout();
    struct Quiet : DThread {
        Quiet() : DThread("first", 7, 0, 1) {}
        void Run() override {}
    } thread;
    auto const refuses = [&] {
        thread.SetName("second");
        EXPECT_STREQ(thread.GetName(), "first");
        EXPECT_EQ(thread.SetPriority(9), -1);
        EXPECT_EQ(thread.GetPriority(), 7);
        EXPECT_EQ(thread.GetThreadId(), -1);
    };
    refuses();
    DThreadImpl own("own", 7, 0, 0, &thread); // creates the owner's thread
    DThreadImpl second("second", 7, 0, 0, &thread);
    second.Run();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "DThreadImpl::Failed to create the thread.\n"
              "DThreadImpl::Default Run called (Should not be called).\n");
    thread.Start();
    EXPECT_EQ(thread.WaitForThreadDeath(-1), WAIT_RESULT_OK);
    EXPECT_EQ(thread.SetPriority(9), -1);
    EXPECT_EQ(thread.GetThreadId(), -1);
    thread.Kill();
    refuses();
}

} // namespace
