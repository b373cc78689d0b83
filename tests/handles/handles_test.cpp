#include "tests/support/test.h"

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
    EXPECT_EQ(SetEvent(handle), 0);
    EXPECT_EQ(WaitForSingleObject(handle, INFINITE), WAIT_FAILED);
    EXPECT_EQ(deleted, 0);
    delete event;
    EXPECT_EQ(CloseHandle(static_cast<XHandleObject*>(new Event(0, 0))), 1);
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(Event(INT_MIN, 0).WaitForSingleObject(0),
              WAIT_OBJECT_0); // any value but 0 is a signal
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

} // namespace
