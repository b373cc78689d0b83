// Senders and receivers wait on one auto-reset event, on which a signal can reach a thread that it
// doesn't help. No wake-up is lost all the same, because of this, which holds whenever the lock is
// free:
//
//   If an announced thread could go on (a sender with room, a receiver with a message), then the
//   wake event is set, or some announced thread is certain to take the lock and look again.
//
// Threads announce themselves under the lock before they let go of it to wait, and stay announced
// until they have it again. The steps that could break the rule keep it as follows:
//
// 1. A send or receive sets the event. That leaves it set, or, if it finds waiters, one of them
//    is on its way out of its wait: this signal woke it, or an earlier one, or its time-out.
// 2. A thread that comes to wait anew has taken no signal, and nobody counts on it yet. It makes
//    nobody able to go on, for there is neither room nor a message for its own side.
// 3. A thread that looks again in vain may have taken a signal. It passes that on, by setting the
//    event, if an announced thread could go on, which then is one of the other side, and none is
//    on its way to look; m_looking counts those. Passing on at all times would keep idle waiters
//    turning.
// 4. A thread that gives up, by time-out or cancellation, may have taken a signal, and does so too.
//
// Letting go of the lock and entering the wait are one step as far as the event's other waiters are
// concerned. Hence a signal that is passed on finds the thread that it is meant for in its wait, or
// on its way out of it, and isn't taken by the one that left it. Which waiter it wakes is the
// system's choice, though, and could be one of the wrong side again and again if those have higher
// priorities: after a few turns in which no message moves a thread sleeps with the lock free
// instead of waiting.
#include <verrick/queues.h>

#include "frame/relaxed.h"
#include "frame/sleep.h"
#include "handles/event_internals.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include <pthread.h>

namespace {

using verrick::EventInternals;

using verrick::relaxed;

constexpr int kFailed = -1;
constexpr int kPassesBeforeSleep = 4;
constexpr unsigned int kPassedOnSleepMs = 1;

void TakeLock(MsgQueue& queue) {
    EventInternals::Take(queue.m_lockEvent, queue.m_lockState);
}

void FreeLock(MsgQueue& queue) {
    EventInternals::Free(queue.m_lockEvent, queue.m_lockState);
}

unsigned long FreeLockAndWait(MsgQueue& queue, std::uint32_t timeoutMs) {
    return EventInternals::FreeAndWait(queue.m_lockEvent, queue.m_lockState, queue.m_wakeEvent,
                                       timeoutMs);
}

class QueueLock {
public:
    explicit QueueLock(MsgQueue& queue) : m_queue(queue) { TakeLock(m_queue); }
    ~QueueLock() { FreeLock(m_queue); }
    QueueLock(QueueLock const&) = delete;
    QueueLock& operator=(QueueLock const&) = delete;

private:
    MsgQueue& m_queue;
};

// Takes the lock at the end of a scope that lets go of it. That is no cancellation point: what
// follows counts on the lock, on the way out of a cancelled thread, too.
class LockTakenAgain {
public:
    explicit LockTakenAgain(MsgQueue& queue) : m_queue(queue) {}
    ~LockTakenAgain() {
        int state = 0;
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
        m_queue.m_looking.fetch_add(1, relaxed);
        TakeLock(m_queue);
        m_queue.m_looking.fetch_sub(1, relaxed);
        pthread_setcancelstate(state, nullptr);
    }
    LockTakenAgain(LockTakenAgain const&) = delete;
    LockTakenAgain& operator=(LockTakenAgain const&) = delete;

private:
    MsgQueue& m_queue;
};

bool HasRoom(MsgQueue const& queue) {
    return queue.m_numMsgs.load(relaxed) < queue.m_maxMsgs;
}

bool HasMessage(MsgQueue const& queue) {
    return queue.m_numMsgs.load(relaxed) > 0;
}

// Whether a signal would be missed: an announced thread could go on, and none is about to look.
bool OwesASignal(MsgQueue const& queue) {
    return queue.m_looking.load(relaxed) == 0 &&
           ((queue.m_announcedSenders > 0 && HasRoom(queue)) ||
            (queue.m_announcedReceivers > 0 && HasMessage(queue)));
}

// What one side waits for.
struct Side {
    int MsgQueue::*announced;
    bool (*canGoOn)(MsgQueue const& queue);
};

constexpr Side kSender = {&MsgQueue::m_announcedSenders, HasRoom};
constexpr Side kReceiver = {&MsgQueue::m_announcedReceivers, HasMessage};

// Announces the caller for a scope that begins and ends under the lock. Unless it says that it will
// look again, its end is a giving up.
class Announcement {
public:
    Announcement(MsgQueue& queue, Side const& side)
        : m_queue(queue), m_count(queue.*side.announced) {
        ++m_count;
    }
    ~Announcement() {
        --m_count;
        if (m_givesUp && OwesASignal(m_queue)) {
            SetEvent(m_queue.m_wakeEvent);
        }
    }
    void WillLookAgain() { m_givesUp = false; }
    Announcement(Announcement const&) = delete;
    Announcement& operator=(Announcement const&) = delete;

private:
    MsgQueue& m_queue;
    int& m_count;
    bool m_givesUp = true;
};

// Waits, under the lock, until the side can go on; false if it can't and the time ran out. Every
// wait is of the full time-out. Out of line, for a queue that moves never comes here.
[[gnu::noinline]] bool WaitUntilPossible(MsgQueue& queue, Side const& side,
                                         std::uint32_t timeoutMs) {
    int passedOn = 0; // since a message moved
    unsigned int moves = queue.m_moves;
    for (bool looksAgain = false; !side.canGoOn(queue); looksAgain = true) {
        if (timeoutMs == 0) {
            return false;
        }
        Announcement announcement(queue, side);
        bool const passesOn = looksAgain && OwesASignal(queue);
        if (passesOn) {
            SetEvent(queue.m_wakeEvent);
            passedOn = queue.m_moves == moves ? passedOn + 1 : 1;
            moves = queue.m_moves;
        }
        LockTakenAgain lock(queue);
        if (passesOn && passedOn > kPassesBeforeSleep) {
            FreeLock(queue);
            verrick::SleepMs(kPassedOnSleepMs);
        } else if (FreeLockAndWait(queue, timeoutMs) == WAIT_TIMEOUT) {
            return false;
        }
        announcement.WillLookAgain();
    }
    return true;
}

// One slot: a length in front, which may lie unaligned, and the bytes behind it.
using Length = std::uint32_t;

char* SlotAt(MsgQueue& queue, int index) {
    std::size_t const slotBytes = sizeof(Length) + std::size_t{queue.m_maxMsgLength};
    return queue.m_store + slotBytes * static_cast<std::size_t>(index);
}

void WriteSlot(char* slot, void const* message, Length length) {
    std::memcpy(slot, &length, sizeof length);
    if (length > 0) {
        std::memcpy(slot + sizeof length, message, length);
    }
}

Length ReadSlot(char const* slot, void* buffer, Length bufferLength) {
    Length length = 0;
    std::memcpy(&length, slot, sizeof length);
    Length const amount = std::min(length, bufferLength);
    if (amount > 0) {
        std::memcpy(buffer, slot + sizeof length, amount);
    }
    return amount;
}

int IndexBehind(MsgQueue const& queue, int index) {
    return index + 1 == queue.m_maxMsgs ? 0 : index + 1;
}

// Takes the slot of the next message, urgent or not, into the queue.
char* AddSlot(MsgQueue& queue, bool urgent) {
    int index = queue.m_putIndex;
    if (urgent) {
        index = (queue.m_getIndex > 0 ? queue.m_getIndex : queue.m_maxMsgs) - 1;
        queue.m_getIndex = index;
    } else {
        queue.m_putIndex = IndexBehind(queue, index);
    }
    queue.m_numMsgs.store(queue.m_numMsgs.load(relaxed) + 1, relaxed);
    return SlotAt(queue, index);
}

char const* RemoveSlot(MsgQueue& queue) {
    int const index = queue.m_getIndex;
    queue.m_getIndex = IndexBehind(queue, index);
    queue.m_numMsgs.store(queue.m_numMsgs.load(relaxed) - 1, relaxed);
    return SlotAt(queue, index);
}

void TellOfAMove(MsgQueue& queue) {
    ++queue.m_moves;
    EventInternals::SetUnlessSet(queue.m_notifyEvent);
    EventInternals::SetUnlessSet(queue.m_wakeEvent);
}

// The bytes of all slots, in 32 bits; false if they don't fit.
bool StoreBytes(int maxMsgs, std::uint32_t maxMsgLength, std::uint32_t& bytes) {
    std::uint32_t slotBytes = 0;
    return maxMsgs >= 0 && !__builtin_add_overflow(maxMsgLength, sizeof(Length), &slotBytes) &&
           !__builtin_mul_overflow(slotBytes, static_cast<std::uint32_t>(maxMsgs), &bytes);
}

struct DeleteQueue {
    void operator()(MsgQueue* queue) const { MsgQDelete(queue); }
};

} // namespace

// A record that is not whole yet has null in place of what is missing, which MsgQDelete passes
// over.
MsgQueue* MsgQCreate(int maxMsgs, unsigned int maxMsgLength) try {
    std::uint32_t bytes = 0;
    if (!StoreBytes(maxMsgs, maxMsgLength, bytes)) {
        return nullptr;
    }
    std::unique_ptr<MsgQueue, DeleteQueue> queue(new MsgQueue());
    queue->m_store = new (std::nothrow) char[bytes];
    if (queue->m_store == nullptr) {
        return nullptr;
    }
    queue->m_maxMsgLength = maxMsgLength;
    queue->m_maxMsgs = maxMsgs;
    queue->m_lockEvent = CreateEvent(nullptr, 0, 1, nullptr);
    queue->m_notifyEvent = CreateEvent(nullptr, 0, 0, nullptr);
    queue->m_wakeEvent = CreateEvent(nullptr, 0, 0, nullptr);
    return queue.release();
} catch (std::bad_alloc const&) {
    return nullptr;
}

int MsgQDelete(MsgQueue* queue) {
    if (queue != nullptr) {
        delete[] queue->m_store;
        CloseHandle(queue->m_wakeEvent);
        CloseHandle(queue->m_notifyEvent);
        CloseHandle(queue->m_lockEvent);
        delete queue;
    }
    return 0;
}

int MsgQSend(MsgQueue* queue, void const* message, unsigned int length, unsigned long timeoutMs,
             int priority) {
    if (queue == nullptr) {
        return kFailed;
    }
    QueueLock lock(*queue);
    if (!HasRoom(*queue) &&
        !WaitUntilPossible(*queue, kSender, static_cast<std::uint32_t>(timeoutMs))) {
        return kFailed;
    }
    WriteSlot(AddSlot(*queue, priority == MSGQ_PRIORITY_URGENT), message,
              std::min(length, queue->m_maxMsgLength));
    TellOfAMove(*queue);
    return 0;
}

int MsgQReceive(MsgQueue* queue, void* buffer, unsigned int bufferLength, unsigned long timeoutMs) {
    if (queue == nullptr) {
        return kFailed;
    }
    QueueLock lock(*queue);
    if (!HasMessage(*queue) &&
        !WaitUntilPossible(*queue, kReceiver, static_cast<std::uint32_t>(timeoutMs))) {
        return kFailed;
    }
    Length const amount = ReadSlot(RemoveSlot(*queue), buffer, bufferLength);
    TellOfAMove(*queue);
    return static_cast<int>(amount);
}

int MsgQNumMsgs(MsgQueue* queue) {
    return queue != nullptr ? queue->m_numMsgs.load(relaxed) : kFailed;
}
