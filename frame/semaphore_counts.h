// The counts of a POSIX semaphore, for DSemaphore and for the semaphore behind a handle.
//
// Releases and waits go to the system's semaphore. A release of very many counts would take as many
// calls. So it posts some and banks the rest, and the threads that wait draw from the bank.
//
// Whenever nobody is inside a call: if the bank holds a count, so does the semaphore. A release
// banks before it posts. Every thread that takes a count looks at the bank afterwards.
#pragma once

#include "frame/relaxed.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

#include <pthread.h>
#include <semaphore.h>

namespace verrick {

// How many counts a release posts, and a draw from the bank. The rest of a release is banked.
constexpr int kCountsPostedAtOnce = 1 << 16;

// PostCounts for any count. Out of line, like the next, because most releases are of one count.
[[gnu::noinline]] inline void PostManyCounts(sem_t& semaphore, std::atomic<int>& bank, int count) {
    int posts = std::min(count, kCountsPostedAtOnce);
    if (count > posts) {
        bank.fetch_add(count - posts, std::memory_order_release);
    }
    for (; posts > 0; --posts) {
        sem_post(&semaphore);
    }
}

[[gnu::noinline]] inline void DrawBankedCounts(sem_t& semaphore, std::atomic<int>& bank) {
    int banked = bank.load(relaxed);
    while (banked > 0) {
        int const draw = std::min(banked, kCountsPostedAtOnce);
        if (bank.compare_exchange_weak(banked, banked - draw, std::memory_order_acquire)) {
            PostManyCounts(semaphore, bank, draw);
            return;
        }
    }
}

// Raises the semaphore by count, which is not negative. The last post is the last touch of either
// object: the thread that takes the count may then destroy both. Async-signal-safe, without a lock.
inline void PostCounts(sem_t& semaphore, std::atomic<int>& bank, int count) {
    if (count == 1) {
        sem_post(&semaphore);
    } else {
        PostManyCounts(semaphore, bank, count);
    }
}

// Moves counts from the bank to the semaphore, after a count was taken.
inline void DrawFromBank(sem_t& semaphore, std::atomic<int>& bank) {
    if (bank.load(relaxed) > 0) {
        DrawBankedCounts(semaphore, bank);
    }
}

// Takes a count if there is one; else sets errno and returns -1. The system's timed wait would do
// the same, but sleep. It is a cancellation point, too, unless the time-out makes no valid
// deadline.
template<typename Timeout>
int TryTakeCount(sem_t& semaphore, Timeout timeout) {
    int const error = timeout.ErrorWhenOver();
    if (error == ETIMEDOUT) {
        pthread_testcancel();
    }
    if (sem_trywait(&semaphore) == 0) {
        return 0;
    }
    errno = error;
    return -1;
}

// Takes a count within the time-out. On failure sets errno and returns -1. An interrupted wait has
// failed; unlike an event's wait it isn't taken up again.
template<typename Timeout>
int TakeCount(sem_t& semaphore, Timeout timeout) {
    if (timeout.IsForever()) {
        return sem_wait(&semaphore);
    }
    if (timeout.IsOver()) {
        return TryTakeCount(semaphore, timeout);
    }
    timespec const deadline = timeout.Deadline();
    return sem_timedwait(&semaphore, &deadline);
}

} // namespace verrick
