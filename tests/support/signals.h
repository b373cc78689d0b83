// The library's kinds of signals, for what they promise alike.
#pragma once

#include "tests/support/test.h"
#include <verrick/cpp/handle.h>

// A signal and the wait for it, of every kind that the library has.
struct Signal {
    std::function<void()> send;
    std::function<bool(int)> wait;
};

inline Signal OfHandle(HANDLE object) {
    auto const handle = std::make_shared<verrick::Handle>(object);
    return {[=] {
                if (SetEvent(handle->Get()) == 0) { // no event
                    ReleaseSemaphore(handle->Get(), 1, nullptr);
                }
            },
            [=](int ms) { return handle->Wait(ms) == WAIT_OBJECT_0; }};
}

inline std::vector<Signal> OneOfEachKind() {
    auto const event = std::make_shared<DEvent>(false, true);
    auto const semaphore = std::make_shared<DSemaphore>(0, 1, nullptr);
    std::shared_ptr<MsgQueue> const queue(MsgQCreate(1, 1), MsgQDelete);
    return {{[=] { event->Signal(); }, [=](int ms) { return event->Wait(ms) == WAIT_RESULT_OK; }},
            {[=] { semaphore->Release(1); },
             [=](int ms) { return semaphore->Wait(ms) == WAIT_RESULT_OK; }},
            OfHandle(CreateEvent(nullptr, 0, 0, nullptr)),
            OfHandle(CreateSemaphore(nullptr, 0, 1, nullptr)),
            {[=] { MsgQSend(queue.get(), "x", 1, 0, 0); },
             [=](int ms) { return MsgQReceive(queue.get(), nullptr, 0, ms) == 0; }}};
}
