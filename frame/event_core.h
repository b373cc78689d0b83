// An event: its steps (frame/event_steps.h) around a mutex and a condition. DEvent and the event
// behind a handle use it, each on its own fields.
//
// A wait and a signal are one atomic step each while no thread waits. A thread that must wait takes
// the mutex, counts itself, and waits on a condition. Where possible a thread is woken once the
// mutex is free: otherwise it would wake only to wait for the mutex.
//
// The end of an event wakes the threads that wait, and returns when they have left. It also waits
// for calls that still have to wake somebody, because a woken thread may end the event.
//
// If a thread waits on an auto-reset event, the wake-up of the condition is the signal. The state
// stays clear, so nothing makes up for a wake-up that goes astray. Therefore each thread waits on a
// condition that it has for itself. The first thread takes the event's condition, which can be
// signalled after the mutex is free. Others take one on their own stacks. It goes when they leave,
// so it is signalled under the mutex. All threads that wait on a manual-reset event share the
// event's condition, because a signal wakes all of them.
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

    // Wakes one thread at most, and leaves the event unsignalled.
    void Pulse() const {
        {
            MutexLock lock(this->Mutex());
            this->TryReset();
            bool const isWaking = this->IsAutoReset() ? HandOverToOne() : this->Waiters() > 0;
            this->ForgetHandedOver();
            if (!isWaking) {
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
            while (EventWaiter* const waiter = this->HandOver()) {
                TryWake(*waiter);
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

    // The calling thread's wait, for a scope under the mutex. The scope also ends when the thread
    // is cancelled. Otherwise the end of the event would wait for it for ever.
    class Waiter : public EventWaiter {
    public:
        explicit Waiter(EventCore const& event) : m_event(event) {}
        ~Waiter() {
            if (m_isUnderWay) {
                m_event.LetWakeUpPass(*this);
                m_event.Abandon(*this);
            }
            if (HasOwnCondition()) {
                pthread_cond_destroy(&m_own);
            }
        }
        Waiter(Waiter const&) = delete;
        Waiter& operator=(Waiter const&) = delete;

        // Returns false if the event is signalled: the caller took that.
        bool TryBegin() {
            m_isUnderWay = m_event.TryBeginWait(*this);
            return m_isUnderWay;
        }

        void End() {
            m_event.EndWait(*this);
            m_isUnderWay = false;
        }

        bool HasOwnCondition() const { return !this->UsesEventCondition(); }
        pthread_cond_t& Condition() { return HasOwnCondition() ? m_own : m_event.Condition(); }

    private:
        EventCore m_event;
        pthread_cond_t m_own = PTHREAD_COND_INITIALIZER;
        bool m_isUnderWay = false;
    };

    // Wakes a thread that waits on a condition of its own. Returns false for one that waits on the
    // event's: the caller signals that.
    static bool TryWake(EventWaiter& waiter) {
        auto& woken = static_cast<Waiter&>(waiter);
        if (woken.HasOwnCondition()) {
            pthread_cond_signal(&woken.Condition());
        }
        return woken.HasOwnCondition();
    }

    // Hands a signal over to one thread. Returns whether the event's condition still has to be
    // signalled for it.
    bool HandOverToOne() const {
        EventWaiter* const waiter = this->HandOver();
        return waiter != nullptr && !TryWake(*waiter);
    }

    // For a wait that ends without a wake-up, under the mutex. Nobody begins to signal meanwhile,
    // so this is soon over.
    void LetWakeUpPass(EventWaiter const& self) const {
        CancellationPutOff putOff;
        while (this->HasWakeUpToCome(self)) {
            SleepMs(1);
        }
    }

    // Ends the wait of a cancelled thread, under the mutex. A thread that gets its signal came
    // while it waited, and so has a condition of its own.
    void Abandon(Waiter& cancelled) const {
        if (EventWaiter* const next = this->AbandonWait(cancelled)) {
            TryWake(*next);
        }
    }

    // Out of line, like the next: an event that nobody waits for never comes here.
    [[gnu::noinline]] static int SignalWaiters(EventCore event) {
        {
            MutexLock lock(event.Mutex());
            if (event.TrySignal()) {
                return 0; // they have left meanwhile
            }
            if (!event.IsAutoReset()) {
                event.HandOverToAll();
            } else if (!event.HandOverToOne()) {
                return 0;
            }
            event.BeginWaking();
        }
        return event.Wake(event.IsAutoReset() ? pthread_cond_signal : pthread_cond_broadcast);
    }

    // A thread whose time runs out just when a signal is handed to it has that signal.
    template<typename Timeout>
    [[gnu::noinline]] static int BlockUntilSignalled(EventCore event, Timeout timeout) {
        MutexLock lock(event.Mutex());
        if (event.IsEnding()) {
            return kRefused;
        }
        Waiter self(event);
        if (!self.TryBegin()) {
            return 0;
        }
        int const error = event.AwaitWakeUp(self.Condition(), timeout);
        if (error != 0) {
            event.LetWakeUpPass(self);
        }
        self.End();
        return self.IsWoken() ? 0 : error;
    }

    // The state isn't looked at again after a wake-up: a signal to a waiting thread leaves it
    // clear. So every wake-up counts.
    template<typename Timeout>
    int AwaitWakeUp(pthread_cond_t& condition, Timeout timeout) const {
        if (timeout.IsForever()) {
            return WaitForever(condition);
        }
        timespec const deadline = timeout.Deadline();
        return pthread_cond_timedwait(&condition, &this->Mutex(), &deadline);
    }

    // The wait's result is its error: errno may hold anything.
    int WaitForever(pthread_cond_t& condition) const {
        for (;;) {
            int const error = pthread_cond_wait(&condition, &this->Mutex());
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

    // Not a cancellation point: a thread that were cancelled here would leave the event half ended.
    void AwaitUnused() const {
        for (int yields = 0; this->Waiters() == 0 && this->IsWaking() && yields < kDrainYields;
             ++yields) {
            sched_yield();
        }
        CancellationPutOff putOff;
        while (this->Waiters() > 0 || this->IsWaking()) {
            SleepMs(kDrainMs);
        }
    }
};

} // namespace verrick
