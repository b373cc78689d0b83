// The calls that wait on a queue, and why none of them sleeps on for ever.
//
// A queue has two sides: senders, which wait for room, and receivers, which wait for messages. Each
// side lists its waiting calls, the oldest first. A move is a send or a receive that moved a
// message. It wakes the oldest call of the other side: it takes that call off the list, and posts
// the semaphore of that call. No other thread waits on this semaphore, so the post can't get lost.
//
// This holds whenever the queue's lock is free:
//
//   While receivers are listed, there are no more messages than woken receivers that have not
//   looked at the queue yet. The same holds for senders and free slots.
//
// So no message lies there while all receivers sleep. Each step keeps the rule:
//
// 1. A receiver is listed when it finds no message.
// 2. A send makes one message, and it wakes one receiver if any is listed.
// 3. A woken receiver looks. It takes a message, or there is none left.
// 4. A woken receiver that is cancelled doesn't look. It wakes another one instead.
// 5. A receiver whose time runs out leaves the list. If it was woken just before, it looks.
//
// The post comes after the lock was freed. Otherwise the woken thread would only wait for the lock.
#pragma once

#include <verrick/list.h>

#include <cstdint>
#include <ctime>
#include <semaphore.h>
#include <utility>

namespace verrick {

enum Side { kSenders, kReceivers };

// A call that waits. It stands on the stack of its thread. The queue's lock guards it, but Sleep
// and Post are called without the lock.
class WaitingCall : public DListItem {
public:
    WaitingCall(Side side, std::uint32_t timeoutMs);
    ~WaitingCall();
    WaitingCall(WaitingCall const&) = delete;
    WaitingCall& operator=(WaitingCall const&) = delete;

    Side WaitsAmong() const { return m_side; }

    // Whether it was woken since it was last listed. The post may still be to come.
    bool IsWoken() const { return m_isWoken; }

    // When its time runs out.
    timespec Deadline() const { return m_deadline; }

    // Blocks until the post or the deadline. Is a cancellation point. Leaves errno alone.
    void Sleep(timespec const& deadline);

    // Blocks until the post that a woken call gets, unless Sleep has returned for it. That is soon:
    // the waking thread has freed the lock already.
    void AwaitPost();

    void Post() { sem_post(&m_post); }

private:
    friend class WaitingSides;

    void StartTime();

    sem_t m_post;
    Side const m_side;
    std::uint32_t const m_timeoutMs;
    timespec m_deadline;
    bool m_isWoken = false;
    bool m_hasPost = false; // it came and was taken; belongs to the waiting thread
};

// The lists of both sides. All operations are called under the queue's lock.
class WaitingSides {
public:
    bool IsEmpty() const { return m_count == 0; }

    // Lists a call that can't go on, and starts its time. A call that was woken in vain becomes the
    // oldest of its side again.
    void Add(WaitingCall& call);

    // Tells of a move that helps a side. Wakes the oldest call of that side. If there is none, the
    // oldest call of the other side starts its time anew, as if it had been woken in vain.
    void Moved(Side helped);

    // Ends a wait that got nothing: the time ran out or the thread was cancelled. canGoOn tells
    // whether there is something for the side of the call.
    void GiveUp(WaitingCall& call, bool canGoOn);

    // The call that was woken since the last TakeWoken, or null. Whoever frees the lock takes it
    // first, and posts it afterwards. Nobody wakes two calls while holding the lock once.
    WaitingCall* TakeWoken() {
        return m_woken == nullptr ? nullptr : std::exchange(m_woken, nullptr);
    }

private:
    // Returns false if no call of the side is listed.
    bool WakeOldest(Side side);

    DList m_lists[2];
    int m_count = 0; // calls in both lists
    WaitingCall* m_woken = nullptr;
};

} // namespace verrick
