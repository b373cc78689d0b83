#include <verrick/queues.h>

#include "frame/errno_kept.h"
#include "frame/relaxed.h"
#include "handles/event_look.h"
#include "queues/brief_lock.h"
#include "queues/look_for_a_moment.h"
#include "queues/waiting_sides.h"
#include <verrick/detail/thread_annotations.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace {

using verrick::EventLook;
using verrick::kReceivers;
using verrick::kSenders;
using verrick::relaxed;
using verrick::Side;
using verrick::WaitingCall;

constexpr int kFailed = -1;

// What MsgQCreate makes: the record, and what the calls need besides. It is the queue's lock too.
// Lock order: the locks of the record's events come after it.
class VERRICK_LOCK Queue : public MsgQueue {
public:
    // cppcheck-suppress uninitDerivedMemberVar ; MsgQueue() clears the whole record
    Queue() : MsgQueue() {}
    ~Queue();
    Queue(Queue const&) = delete;
    Queue& operator=(Queue const&) = delete;

    void Lock() VERRICK_ACQUIRE() { m_lock.Lock(); }

    // Touches nothing of the queue once the lock is free: another thread may delete it then.
    void Unlock() VERRICK_RELEASE() {
        WaitingCall* const woken = m_waiting.TakeWoken();
        m_lock.Unlock();
        if (woken != nullptr) {
            woken->Post();
        }
    }

    verrick::WaitingSides m_waiting VERRICK_GUARDED_BY(this);

private:
    verrick::BriefLock m_lock;
};

// A queue that isn't whole yet has null in place of what is missing. CloseHandle ignores a null
// handle.
Queue::~Queue() {
    delete[] m_store;
    CloseHandle(m_wakeEvent);
    CloseHandle(m_notifyEvent);
    CloseHandle(m_lockEvent);
}

// Holds the lock for a scope.
class VERRICK_SCOPED_LOCK QueueLock {
public:
    explicit QueueLock(Queue& queue) VERRICK_ACQUIRE(queue) : m_queue(queue) { m_queue.Lock(); }
    ~QueueLock() VERRICK_RELEASE() { m_queue.Unlock(); }
    QueueLock(QueueLock const&) = delete;
    QueueLock& operator=(QueueLock const&) = delete;

private:
    Queue& m_queue;
};

// Lets go of the lock for a scope.
class Unlocked {
public:
    explicit Unlocked(Queue& queue) VERRICK_REQUIRES(queue) VERRICK_UNCHECKED_LOCKING
        : m_queue(queue) {
        m_queue.Unlock();
    }
    ~Unlocked() VERRICK_UNCHECKED_LOCKING { m_queue.Lock(); }
    Unlocked(Unlocked const&) = delete;
    Unlocked& operator=(Unlocked const&) = delete;

private:
    Queue& m_queue;
};

// A program that took m_lockEvent itself keeps the calls out until it sets the event.
void PassLockEvent(Queue& queue) VERRICK_REQUIRES(queue) {
    if (!EventLook::IsSet(queue.m_lockEvent)) {
        WaitForSingleObject(queue.m_lockEvent, INFINITE);
        SetEvent(queue.m_lockEvent);
    }
}

bool HasRoom(Queue const& queue) {
    return queue.m_numMsgs.load(relaxed) < queue.m_maxMsgs;
}

bool HasMessage(Queue const& queue) {
    return queue.m_numMsgs.load(relaxed) > 0;
}

bool CanGoOn(Queue const& queue, Side side) {
    return side == kSenders ? HasRoom(queue) : HasMessage(queue);
}

// One wait of a call, under the lock at both ends. It ends in one of three ways: the call is woken
// and looks again, its time runs out, or its thread is cancelled.
//
// The analysis can't tell that m_queue is the queue whose lock the constructor asks for.
class Wait {
public:
    Wait(Queue& queue, WaitingCall& call) VERRICK_REQUIRES(queue) : m_queue(queue), m_call(call) {
        m_queue.m_waiting.Add(m_call);
    }
    ~Wait() VERRICK_UNCHECKED_LOCKING {
        if (!m_looksAgain) {
            m_queue.m_waiting.GiveUp(m_call, CanGoOn(m_queue, m_call.WaitsAmong()));
        }
    }
    Wait(Wait const&) = delete;
    Wait& operator=(Wait const&) = delete;

    // Returns false if the time ran out. A deadline that was moved meanwhile is waited for, too.
    bool UntilWoken() VERRICK_UNCHECKED_LOCKING {
        timespec deadline{};
        do {
            deadline = m_call.Deadline();
            Unlocked const unlocked(m_queue);
            m_call.Sleep(deadline);
        } while (!m_call.IsWoken() && IsBefore(deadline, m_call.Deadline()));
        if (!m_call.IsWoken()) {
            return false;
        }
        m_call.AwaitPost();
        m_looksAgain = true;
        return true;
    }

private:
    static bool IsBefore(timespec const& left, timespec const& right) {
        return left.tv_sec < right.tv_sec ||
               (left.tv_sec == right.tv_sec && left.tv_nsec < right.tv_nsec);
    }

    Queue& m_queue;
    WaitingCall& m_call;
    bool m_looksAgain = false;
};

// Waits until the side can go on. Returns false if the time ran out first. Every wait takes a
// signal that the wake event may have kept, and is of the full time-out.
//
// A call that finds no other waiting looks for a moment first. A move that comes meanwhile is as if
// it had come before the call. The call isn't listed yet, so it owes nothing to anybody.
//
// Out of line, because a queue that moves never comes here.
[[gnu::noinline]] bool WaitUntilPossible(Queue& queue, Side side, std::uint32_t timeoutMs)
    VERRICK_REQUIRES(queue) {
    if (timeoutMs == 0) {
        return false;
    }
    if (queue.m_waiting.IsEmpty()) {
        Unlocked const unlocked(queue);
        verrick::LookForAMoment([&] { return CanGoOn(queue, side); });
    }
    WaitingCall call(side, timeoutMs);
    while (!CanGoOn(queue, side)) {
        ResetEvent(queue.m_wakeEvent);
        if (!Wait(queue, call).UntilWoken()) {
            return false;
        }
    }
    return true;
}

// One slot: a length in front, which may lie unaligned, then the bytes.
using Length = std::uint32_t;

char* SlotAt(Queue& queue, int index) {
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

int IndexAfter(Queue const& queue, int index) {
    return index + 1 == queue.m_maxMsgs ? 0 : index + 1;
}

int IndexBefore(Queue const& queue, int index) {
    return (index > 0 ? index : queue.m_maxMsgs) - 1;
}

// Adds the slot of the next message and returns it.
char* AddSlot(Queue& queue, bool urgent) VERRICK_REQUIRES(queue) {
    queue.m_numMsgs.store(queue.m_numMsgs.load(relaxed) + 1, relaxed);
    if (urgent) {
        queue.m_getIndex = IndexBefore(queue, queue.m_getIndex);
        return SlotAt(queue, queue.m_getIndex);
    }
    int const index = queue.m_putIndex;
    queue.m_putIndex = IndexAfter(queue, index);
    return SlotAt(queue, index);
}

// Takes the slot of the first message out and returns it.
char const* RemoveSlot(Queue& queue) VERRICK_REQUIRES(queue) {
    queue.m_numMsgs.store(queue.m_numMsgs.load(relaxed) - 1, relaxed);
    int const index = queue.m_getIndex;
    queue.m_getIndex = IndexAfter(queue, index);
    return SlotAt(queue, index);
}

// A thread that takes an old signal of m_notifyEvent and then makes a call on the queue sees this
// move, because the call comes for the lock. So an event that is set needs no further signal.
void SetUnlessSet(HANDLE event) {
    if (!EventLook::IsSet(event)) {
        SetEvent(event);
    }
}

// A move signals both events. While calls wait, the second signal is for one of them.
void TellOfMove(Queue& queue, Side helped) VERRICK_REQUIRES(queue) {
    SetUnlessSet(queue.m_notifyEvent);
    if (queue.m_waiting.IsEmpty()) {
        SetUnlessSet(queue.m_wakeEvent);
    } else {
        queue.m_waiting.Moved(helped);
    }
}

// The bytes of all slots, in 32 bits. Returns false if they don't fit.
bool StoreBytes(int maxMsgs, Length maxMsgLength, std::uint32_t& bytes) {
    std::uint32_t slotBytes = 0;
    return maxMsgs >= 0 && !__builtin_add_overflow(maxMsgLength, sizeof(Length), &slotBytes) &&
           !__builtin_mul_overflow(slotBytes, static_cast<std::uint32_t>(maxMsgs), &bytes);
}

} // namespace

MsgQueue* MsgQCreate(int maxMsgs, unsigned int maxMsgLength) try {
    verrick::ErrnoKept const kept;
    std::uint32_t bytes = 0;
    if (maxMsgLength > INT_MAX || !StoreBytes(maxMsgs, maxMsgLength, bytes)) {
        return nullptr;
    }
    auto queue = std::make_unique<Queue>();
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
    delete static_cast<Queue*>(queue);
    return 0;
}

int MsgQSend(MsgQueue* record, void const* message, unsigned int length, unsigned long timeoutMs,
             int priority) {
    if (record == nullptr) {
        return kFailed;
    }
    Queue& queue = *static_cast<Queue*>(record);
    QueueLock const lock(queue);
    PassLockEvent(queue);
    if (!HasRoom(queue) &&
        !WaitUntilPossible(queue, kSenders, static_cast<std::uint32_t>(timeoutMs))) {
        return kFailed;
    }
    WriteSlot(AddSlot(queue, priority == MSGQ_PRIORITY_URGENT), message,
              std::min(length, queue.m_maxMsgLength));
    TellOfMove(queue, kReceivers);
    return 0;
}

int MsgQReceive(MsgQueue* record, void* buffer, unsigned int bufferLength,
                unsigned long timeoutMs) {
    if (record == nullptr) {
        return kFailed;
    }
    Queue& queue = *static_cast<Queue*>(record);
    QueueLock const lock(queue);
    PassLockEvent(queue);
    if (!HasMessage(queue) &&
        !WaitUntilPossible(queue, kReceivers, static_cast<std::uint32_t>(timeoutMs))) {
        return kFailed;
    }
    Length const amount = ReadSlot(RemoveSlot(queue), buffer, bufferLength);
    TellOfMove(queue, kSenders);
    return static_cast<int>(amount);
}

int MsgQNumMsgs(MsgQueue* queue) {
    return queue != nullptr ? queue->m_numMsgs.load(relaxed) : kFailed;
}
