#include "tests/support/signals.h"

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

TEST(HandOff, ALookThatFindsNoSignalIsACancellationPoint) {
    auto kinds = OneOfEachKind();
    kinds.pop_back(); // a queue that is asked for no wait is no such point
    for (Signal const& signal : kinds) {
        bool isCancelled = true;
        std::thread([&] {
            pthread_cancel(pthread_self());
            signal.wait(0);
            isCancelled = false;
        }).join();
        EXPECT_TRUE(isCancelled);
    }
}
TEST(HandOff, LosesNoSignalAndShowsWhatWasWrittenBeforeIt) {
    constexpr int kRounds = 20000;
    auto const filled = OneOfEachKind(), emptied = OneOfEachKind();
    for (std::size_t kind = 0; kind < filled.size(); ++kind) {
        int slot = 0;
        std::jthread const writer([&] {
            for (int round = 1; round <= kRounds; ++round) {
                slot = round;
                filled[kind].send();
                EXPECT_TRUE(emptied[kind].wait(-1));
            }
        });
        for (int round = 1; round <= kRounds; ++round) {
            while (!filled[kind].wait(round % 2 - 1)) { // for ever, and without sleep
                std::this_thread::yield();
            }
            EXPECT_EQ(slot, round);
            emptied[kind].send();
        }
    }
}

} // namespace
