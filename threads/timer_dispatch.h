// What the timer engine needs of its dispatcher beside the public operations.
#pragma once

#include "threads/listener_call.h"
#include <verrick/timers.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace verrick {

// Which of a fixed number of entries are free. The lowest is found in a few steps.
class FreeEntries {
public:
    static constexpr std::size_t kCount = 256;

    FreeEntries() { m_words.fill(~std::uint64_t{0}); }

    // Takes the lowest free entry. Returns kCount if there is none.
    std::size_t Take();
    void Return(std::size_t entry);

private:
    static constexpr std::size_t kBits = 64;

    std::array<std::uint64_t, kCount / kBits> m_words; // a bit that is set: free
};

} // namespace verrick

struct DTimerDispatch::Parts {
    struct Expiry {
        ITimerListener* m_listener;
        unsigned int m_id;
    };

    // Queues expiries in their order. WakeUp must follow: until then the thread may sleep.
    static void EnqueueAll(DTimerDispatch& dispatch, Expiry const* first, std::size_t count);

    // Wakes the thread if something waits for delivery. Its priority is the highest, so it may take
    // the processor at once. The caller holds no lock that a listener may want.
    static void WakeUp(DTimerDispatch& dispatch);

    // Waits for a call of this listener with this id, see ListenerCall.
    static void AwaitEndOfCall(DTimerDispatch& dispatch, ITimerListener* listener, unsigned int id);

    static void EnqueueLocked(DTimerDispatch& dispatch, Expiry const& expiry)
        VERRICK_REQUIRES(dispatch.m_csQueue);
    static TimerListItem* BeginDelivery(DTimerDispatch& dispatch);
    static bool EndDelivery(DTimerDispatch& dispatch, TimerListItem* item);
    static void FreeEntry(DTimerDispatch& dispatch, TimerListItem* item)
        VERRICK_REQUIRES(dispatch.m_csQueue);

    std::shared_ptr<verrick::ListenerCall> const m_call = std::make_shared<verrick::ListenerCall>();
    verrick::FreeEntries m_free; // guarded by m_csQueue
};
