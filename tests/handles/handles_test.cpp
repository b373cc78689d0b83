#include <verrick/event.h>
#include <verrick/handles.h>

#include <gtest/gtest.h>

#include <future>

namespace {

TEST(EventHandle, IsDeletedByTheCloseThatEndsItAndByNoOther) {
    static int deleted = 0;
    struct Event : XEvent {
        using XEvent::XEvent;
        ~Event() override { ++deleted; }
    };
    auto* const event = new Event(0, 0);
    XHandleObject* const handle = event;
    EXPECT_EQ(event->CloseHandle(), 1);
    EXPECT_EQ(CloseHandle(handle), 0);
    EXPECT_EQ(deleted, 0);
    delete event;
    EXPECT_EQ(CloseHandle(static_cast<XHandleObject*>(new Event(0, 0))), 1);
    EXPECT_EQ(deleted, 2);
}

TEST(Handle, OfNoneOrOfTheWrongKindIsRefused) {
    XEvent event(0, 0);
    XSemaphore semaphore(0, 1);
    for (HANDLE const handle : {HANDLE{}, HANDLE{&semaphore}}) {
        EXPECT_EQ(SetEvent(handle), 0);
        EXPECT_EQ(PulseEvent(handle), 0);
        EXPECT_EQ(ResetEvent(handle), 0);
    }
    EXPECT_EQ(ReleaseSemaphore(&event, 1, nullptr), 0);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
}

TEST(EventTwins, DifferInTheSenseOfNegativeTimeOuts) {
    DEvent object(false, true);
    XEvent handle(0, 0);
    EXPECT_EQ(object.Wait(-2000), WAIT_RESULT_TIMEOUT); // in the past, where the other is far ahead
    auto waiter = std::async(std::launch::async, [&] {
        return handle.WaitForSingleObject(static_cast<unsigned long>(-2000));
    });
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(handle.CloseHandle(), 1);
    EXPECT_EQ(waiter.get(), WAIT_OBJECT_0);
    EXPECT_EQ(handle.SetToSignaledState(), 0);
    EXPECT_EQ(handle.WaitForSingleObject(0), WAIT_FAILED);
}

} // namespace
