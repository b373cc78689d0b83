#include "tests/support/test.h"
#include <verrick/cpp/handle.h>

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

// A signal and the wait for it, of every kind that the library has.
struct Signal {
    std::function<void()> send;
    std::function<bool(int)> wait;
};

Signal OfHandle(HANDLE object) {
    auto const handle = std::make_shared<verrick::Handle>(object);
    return {[=] {
                if (SetEvent(handle->Get()) == 0) { // no event
                    ReleaseSemaphore(handle->Get(), 1, nullptr);
                }
            },
            [=](int timeoutMs) {
                return WaitForSingleObject(handle->Get(), timeoutMs < 0 ? INFINITE : 0) == 0;
            }};
}

std::vector<Signal> OneOfEachKind() {
    auto const event = std::make_shared<DEvent>(false, true);
    auto const semaphore = std::make_shared<DSemaphore>(0, 1, nullptr);
    std::shared_ptr<MsgQueue> const queue(MsgQCreate(1, 1), MsgQDelete);
    return {
        {[=] { event->Signal(); }, [=](int ms) { return event->Wait(ms) == WAIT_RESULT_OK; }},
        {[=] { semaphore->Release(1); },
         [=](int ms) { return semaphore->Wait(ms) == WAIT_RESULT_OK; }},
        {[=] { MsgQSend(queue.get(), "x", 1, 0, 0); },
         [=](int ms) { return MsgQReceive(queue.get(), nullptr, 0, ms < 0 ? INFINITE : 0) == 0; }},
        OfHandle(CreateEvent(nullptr, 0, 0, nullptr)),
        OfHandle(CreateSemaphore(nullptr, 0, 1, nullptr))};
}

TEST(HandOff, LosesNoSignalAndShowsWhatWasWrittenBeforeIt) {
    constexpr int kRounds = 20000;
    auto const filled = OneOfEachKind();
    auto const emptied = OneOfEachKind();
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
