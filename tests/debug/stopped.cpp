// A program with objects in states that check_printers.sh knows. Then it stops itself.
#include "tests/support/asleep.h"
#include <verrick/verrick.h>

#include <csignal>

namespace {

struct Sleeper : DThread {
    explicit Sleeper(char const* name) : DThread(name, 0, 0, 0) {}
    void Run() override { event.Wait(-1); }
    DEvent event{false, false};
};

struct Listener : ITimerListener {
    void OnTimerExpired(unsigned int) override {}
};

struct OwnKind : XHandleObject {
    OwnKind() : XHandleObject(0x77) {}
    unsigned long WaitForSingleObject(unsigned long) override { return WAIT_OBJECT_0; }
    int CloseHandle() override { return 1; }
    int SetToSignaledState() override { return 0; }
};

HANDLE const g_taken = CreateSemaphore(nullptr, 0, 5, nullptr);

void Send(void* queue) {
    MsgQSend(static_cast<MsgQueue*>(queue), "x", 1, INFINITE, 0);
}

} // namespace

int main() {
    Sleeper running("running");
    Sleeper const parked("parked");
    running.Start();
    [[maybe_unused]] HANDLE const event = CreateEvent(nullptr, 0, 1, nullptr);
    [[maybe_unused]] HANDLE const own = new OwnKind;
    DSemaphore const named(2, 7, L"name");
    MsgQueue* const empty = MsgQCreate(4, 8);
    MsgQueue* const full = MsgQCreate(1, 8);
    Send(full);
    RingBuffer* const ring = RingCreate(8);
    RingBufPut(ring, "abc", 3);
    std::thread(WaitForSingleObject, g_taken, INFINITE).detach();
    std::thread(MsgQReceive, empty, nullptr, 0, INFINITE).detach();
    std::thread(Send, full).detach();
    std::thread(Send, full).detach();
    AwaitOthersAsleep();
    Listener listener;
    DTimeManager* const timers = DTimeManager::GetInstance(0);
    timers->CreateRelativeTimer(&listener, 7, 3600000, 0, TIMER_REPEAT);
    timers->CreateRelativeTimer(&listener, 8, 500, 0, TIMER_INACTIVE);
    return std::raise(SIGTRAP);
}
