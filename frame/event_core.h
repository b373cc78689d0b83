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
// If a thread waits on an auto-reset event, the wake-up of the condition is the signal. The state
// stays clear. So nothing makes up for a wake-up that the system loses. glibc before 2.41 may lose
// one while at least two threads are inside a wait on the condition. Two remedies were weighed. To
// wake all threads for each signal costs a change of threads for each of them. To look again after
// some time wakes threads of a program that rests. So docs/promises.md tells of the case. On the
// library's own events no two threads wait at once.
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

// Fields is what EventSteps asks for, and also has
// - Ending(), 0 or 1 from the start of the end;
// - Condition(), Mutex() and MutexAttribute();
// - kWaitFailed, the line that is printed when a wait without time-out fails.
template<class Fields>
class EventCore : public EventSteps<Fields> {
public:
    explicit EventCore(Fields const& fields) : EventSteps<Fields>(fields) {}

    // Makes condition and mutex. All calls are made, whatever their results. What the system
    // refuses to make is a plain one.
    void Create() const {
        this->Condition() = PTHREAD_COND_INITIALIZER;
        this->Mutex() = PTHREAD_MUTEX_INITIALIZER;
        this->MutexAttribute() = {};
        pthread_cond_init(&this->Condition(), nullptr);
        pthread_mutexattr_init(&this->MutexAttribute());
        pthread_mutexattr_settype(&this->MutexAttribute(), PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutex_init(&this->Mutex(), &this->MutexAttribute());
    }

    bool IsEnding() const { return this->Ending().load(relaxed) != 0; }

    // Returns the error of the call that wakes the threads that wait; 0 if none does.
    int Signal() const { return this->TrySignal() ? 0 : SignalWaiters(*this); }

    // Returns 0 when the event was signalled, ETIMEDOUT when the time ran out, or another error.
    template<typename Timeout>
    int Wait(Timeout timeout) const {
        if (IsEnding()) {
            return kRefused;
        }
        if (timeout.IsOver()) {
            return this->LookAndTake() ? 0 : GiveUp(timeout);
        }
        return this->TryTake() ? 0 : BlockUntilSignalled(*this, timeout);
    }

    void Reset() const {
        if (!this->TryReset()) {
            MutexLock lock(this->Mutex());
            this->TryReset();
            this->ForgetHandedOver();
        }
    }

    // Wakes one thread at most, and leaves the event unsignalled. That wake-up is no signal: nobody
    // puts it back.
    void Pulse() const {
        {
            MutexLock lock(this->Mutex());
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
    bool End() const {
        {
            MutexLock lock(this->Mutex());
            if (this->Ending().exchange(1, relaxed) != 0) {
                return false;
            }
            this->ForgetHandedOver();
            pthread_cond_broadcast(&this->Condition());
        }
        AwaitUnused();
        pthread_mutex_lock(&this->Mutex());
        pthread_mutex_unlock(&this->Mutex());
        DestroyErrorCheckMutex(this->Mutex(), this->MutexAttribute());
        pthread_cond_destroy(&this->Condition());
        return true;
    }

private:
    static constexpr int kRefused = EINVAL;

    // Counts the caller as waiting for a scope, under the mutex. The scope also ends when the
    // waiting thread is cancelled. Otherwise the end of the event would wait for it for ever.
    class CountedWaiter {
    public:
        explicit CountedWaiter(EventCore const& event) : m_event(event) {}
        ~CountedWaiter() {
            if (m_returns) {
                m_event.EndWait();
            } else if (m_event.AbandonWait()) {
                pthread_cond_signal(&m_event.Condition());
            }
        }
        void Returns() { m_returns = true; }
        CountedWaiter(CountedWaiter const&) = delete;
        CountedWaiter& operator=(CountedWaiter const&) = delete;

    private:
        EventCore m_event;
        bool m_returns = false;
    };

    // Out of line, like the next: an event that nobody waits for never comes here.
    [[gnu::noinline]] static int SignalWaiters(EventCore event) {
        {
            MutexLock lock(event.Mutex());
            if (event.TrySignal()) {
                return 0; // they have left meanwhile
            }
            event.BeginWaking();
            event.HandOver();
        }
        return event.Wake(event.IsAutoReset() ? pthread_cond_signal : pthread_cond_broadcast);
    }

    template<typename Timeout>
    [[gnu::noinline]] static int BlockUntilSignalled(EventCore event, Timeout timeout) {
        MutexLock lock(event.Mutex());
        if (event.IsEnding()) {
            return kRefused;
        }
        if (!event.TryBeginWait()) {
            return 0;
        }
        CountedWaiter counted(event);
        int const error = event.AwaitWakeUp(timeout);
        counted.Returns();
        return error;
    }

    // The state isn't looked at again after a wake-up: a signal to a waiting thread leaves it
    // clear.
    template<typename Timeout>
    int AwaitWakeUp(Timeout timeout) const {
        bool const forever = timeout.IsForever();
        timespec const deadline = forever ? timespec{} : timeout.Deadline();
        for (;;) {
            int const error =
                forever ? WaitForever()
                        : pthread_cond_timedwait(&this->Condition(), &this->Mutex(), &deadline);
            if (error != 0 || this->TakeWakeUp()) {
                return error;
            }
        }
    }

    // The wait's result is its error: errno may hold anything.
    int WaitForever() const {
        for (;;) {
            int const error = pthread_cond_wait(&this->Condition(), &this->Mutex());
            if (error == 0) {
                return 0;
            }
            if (error != EINTR) {
                std::puts(Fields::kWaitFailed);
                return error;
            }
            SleepMs(kRetryMs);
        }
    }

    // A look that doesn't wait isn't counted, so no signal can be lost to it. Like any wait that
    // takes time it is a cancellation point.
    template<typename Timeout>
    int GiveUp(Timeout timeout) const {
        int const error = timeout.ErrorWhenOver();
        if (error == ETIMEDOUT) {
            pthread_testcancel();
        }
        return error;
    }

    void BeginWaking() const { this->Handover().signalling.fetch_add(1, relaxed); }

    // The decrement is the last touch of the event: a release, paired with the acquire of
    // AwaitUnused.
    int Wake(int (*wake)(pthread_cond_t*)) const {
        int const error = wake(&this->Condition());
        this->Handover().signalling.fetch_sub(1, std::memory_order_release);
        return error;
    }

    bool IsWaking() const {
        return this->Handover().signalling.load(std::memory_order_acquire) > 0;
    }

    // Not a cancellation point: a thread that were cancelled here would leave the event half ended.
    void AwaitUnused() const {
        for (int yields = 0; this->Waiters() == 0 && IsWaking() && yields < kDrainYields;
             ++yields) {
            sched_yield();
        }
        CancellationPutOff putOff;
        while (this->Waiters() > 0 || IsWaking()) {
            SleepMs(kDrainMs);
        }
    }
};

} // namespace verrick
