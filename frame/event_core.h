// An event: its steps (frame/event_steps.h) around a mutex and a condition. DEvent and the event
// behind a handle use it, each on its own fields.
//
// A wait and a signal are one atomic step each while no thread waits. A thread that must wait takes
// the mutex, counts itself, and waits on the condition. Threads are woken once the mutex is free:
// otherwise they would wake only to wait for the mutex.
//
// The end of an event wakes the threads that wait, and returns when they have left. It also waits
// for calls that still have to wake somebody, because a woken thread may end the event.
//
// Lock order: the mutex is innermost. Nothing is taken under it.
#pragma once

#include "frame/cancellation.h"
#include "frame/event_steps.h"
#include "frame/mutex.h"
#include "frame/sleep.h"
#include "frame/waiting.h"

#include <cerrno>
#include <cstdio>

#include <pthread.h>
#include <sched.h>

namespace verrick {

// The fields of one event that the steps don't need.
struct EventParts {
    std::atomic<int>& ending; // 0, or 1 from the start of the end
    pthread_cond_t& condition;
    pthread_mutex_t& mutex;
    pthread_mutexattr_t& attribute;
    char const* waitFailed; // the line that is printed when a wait without time-out fails
};

template<typename Word>
class EventCore : public EventSteps<Word> {
public:
    EventCore(EventSteps<Word> const& steps, EventParts const& parts)
        : EventSteps<Word>(steps), m_parts(parts) {}

    // Makes condition and mutex. All calls are made, whatever their results.
    void Create() {
        pthread_cond_init(&m_parts.condition, nullptr);
        pthread_mutexattr_init(&m_parts.attribute);
        pthread_mutexattr_settype(&m_parts.attribute, PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutex_init(&m_parts.mutex, &m_parts.attribute);
    }

    bool IsEnding() const { return m_parts.ending.load(relaxed) != 0; }

    // Returns the error of the call that wakes the threads that wait; 0 if none does.
    int Signal() { return this->TrySignal() ? 0 : SignalWaiters(); }

    // Returns 0 when the event was signalled, ETIMEDOUT when the time ran out, or another error.
    template<typename Timeout>
    int Wait(Timeout timeout) {
        if (IsEnding()) {
            return kRefused;
        }
        if (this->TryTake()) {
            return 0;
        }
        return timeout.IsOver() ? GiveUp(timeout) : BlockUntilSignalled(timeout);
    }

    void Reset() {
        if (!this->TryReset()) {
            MutexLock lock(m_parts.mutex);
            this->TryReset();
            this->ForgetHandedOver();
        }
    }

    // Wakes one thread at most, and leaves the event unsignalled. That wake-up is no signal: nobody
    // puts it back.
    void Pulse() {
        {
            MutexLock lock(m_parts.mutex);
            this->TryReset();
            this->ForgetHandedOver();
            if (this->Waiters() == 0) {
                return;
            }
            BeginWaking();
        }
        Wake(pthread_cond_signal);
    }

    // Ends the event and destroys condition and mutex. Returns false, and does nothing, if the end
    // has begun already.
    //
    // The flag is written and the threads are woken under the mutex, and a thread looks at the flag
    // once more under the mutex before it waits. So none misses the wake-up. At last the mutex is
    // locked and unlocked, so that the last thread has let go of it.
    bool End() {
        {
            MutexLock lock(m_parts.mutex);
            if (m_parts.ending.exchange(1, relaxed) != 0) {
                return false;
            }
            this->ForgetHandedOver();
            pthread_cond_broadcast(&m_parts.condition);
        }
        AwaitUnused();
        pthread_mutex_lock(&m_parts.mutex);
        pthread_mutex_unlock(&m_parts.mutex);
        DestroyErrorCheckMutex(m_parts.mutex, m_parts.attribute);
        pthread_cond_destroy(&m_parts.condition);
        return true;
    }

    // Wait, by a thread that holds the mutex. It lets go of the mutex while it waits.
    template<typename Timeout>
    int WaitLocked(Timeout timeout) {
        if (IsEnding()) {
            return kRefused;
        }
        if (!this->TryBeginWait()) {
            return 0;
        }
        CountedWaiter counted(*this);
        int const error = AwaitWakeUp(timeout);
        counted.Returns();
        return error;
    }

private:
    static constexpr int kRefused = EINVAL;

    // Counts the caller as waiting for a scope, under the mutex. The scope also ends when the
    // waiting thread is cancelled. Otherwise the end of the event would wait for it for ever.
    class CountedWaiter {
    public:
        explicit CountedWaiter(EventCore& event) : m_event(event) {}
        ~CountedWaiter() {
            if (m_returns) {
                m_event.EndWait();
            } else if (m_event.AbandonWait()) {
                pthread_cond_signal(&m_event.m_parts.condition);
            }
        }
        void Returns() { m_returns = true; }
        CountedWaiter(CountedWaiter const&) = delete;
        CountedWaiter& operator=(CountedWaiter const&) = delete;

    private:
        EventCore& m_event;
        bool m_returns = false;
    };

    // Out of line, like the next: an event that nobody waits for never comes here.
    [[gnu::noinline]] int SignalWaiters() {
        {
            MutexLock lock(m_parts.mutex);
            if (this->TrySignal()) {
                return 0; // they have left meanwhile
            }
            BeginWaking();
            this->HandOver();
        }
        return Wake(this->IsAutoReset() ? pthread_cond_signal : pthread_cond_broadcast);
    }

    template<typename Timeout>
    [[gnu::noinline]] int BlockUntilSignalled(Timeout timeout) {
        MutexLock lock(m_parts.mutex);
        return WaitLocked(timeout);
    }

    // The state isn't looked at again after a wake-up: a signal to a waiting thread leaves it
    // clear.
    template<typename Timeout>
    int AwaitWakeUp(Timeout timeout) {
        bool const forever = timeout.IsForever();
        timespec const deadline = forever ? timespec{} : timeout.Deadline();
        for (;;) {
            int const error =
                forever ? WaitForever()
                        : pthread_cond_timedwait(&m_parts.condition, &m_parts.mutex, &deadline);
            if (error != 0 || this->TakeWakeUp()) {
                return error;
            }
        }
    }

    // The wait's result is its error: errno may hold anything.
    int WaitForever() {
        for (;;) {
            int const error = pthread_cond_wait(&m_parts.condition, &m_parts.mutex);
            if (error == 0) {
                return 0;
            }
            if (error != EINTR) {
                std::puts(m_parts.waitFailed);
                return error;
            }
            SleepMs(kRetryMs);
        }
    }

    // A look that doesn't wait isn't counted, so no signal can be lost to it. Like any wait that
    // takes time it is a cancellation point.
    template<typename Timeout>
    int GiveUp(Timeout timeout) {
        int const error = timeout.ErrorWhenOver();
        if (error == ETIMEDOUT) {
            pthread_testcancel();
        }
        return error;
    }

    void BeginWaking() { this->Handover().signalling.fetch_add(1, relaxed); }

    // The decrement is the last touch of the event: a release, paired with the acquire of
    // AwaitUnused.
    int Wake(int (*wake)(pthread_cond_t*)) {
        int const error = wake(&m_parts.condition);
        this->Handover().signalling.fetch_sub(1, std::memory_order_release);
        return error;
    }

    bool IsWaking() const {
        return this->Handover().signalling.load(std::memory_order_acquire) > 0;
    }

    // Not a cancellation point: a thread that were cancelled here would leave the event half ended.
    void AwaitUnused() {
        for (int yields = 0; this->Waiters() == 0 && IsWaking() && yields < kDrainYields;
             ++yields) {
            sched_yield();
        }
        CancellationPutOff putOff;
        while (this->Waiters() > 0 || IsWaking()) {
            SleepMs(kDrainMs);
        }
    }

    EventParts m_parts;
};

} // namespace verrick
