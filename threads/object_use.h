// The use of a thread object by its POSIX thread.
#pragma once

#include "threads/thread_exit.h"

#include <atomic>

class DThread;
class DThreadImpl;

namespace verrick {

// Settles whether the POSIX thread may touch its object. It is a block on the heap that both share,
// because either of them may go first.
//
// 1. The library's code on the thread touches the object only between Begin and End.
// 2. Begin returns false once the use is forbidden.
// 3. A destructor forbids the use and then waits until the object is unused.
// 4. During a use the library calls no code of the application. So a destructor that the thread
//    itself calls never waits for a use by its own thread.
//
// An application's Run is no use in this sense. Its class answers for its own members.
//
// All that takes atomics alone, and no lock.
class ObjectUse final : ThreadExit {
public:
    // Holds one reference, the object's.
    ObjectUse(DThreadImpl& object, DThread* owner);

    // Returns that of a live object.
    static ObjectUse& Of(DThread& thread);

    // Returns that of the object whose thread calls. Returns null on all other threads.
    static ObjectUse* OfCallingThread();

    void AddReference();
    void ReleaseReference();

    // Begins a use. Returns false, and begins none, if the use is forbidden.
    bool Begin();
    // Ends a use. After the last one the object may be gone.
    void End();

    void Forbid();
    bool IsForbidden() const;
    // Blocks until no use is under way. Called when the use is forbidden. It is no cancellation
    // point.
    void WaitUntilUnused() const;

    // The new thread's first step: announces its kernel id, and makes this the calling thread's.
    void BecomeCallingThreads();
    // The thread's last step in the library's own code. The thread's reference goes when the thread
    // exits.
    void EndOfCallingThread();
    // Detaches the thread, which nobody joins. See ThreadExit::Detach.
    int Detach(pthread_t thread);
    // Blocks until the thread, which exists, has announced its kernel id. Returns the id.
    int WaitForKernelId() const;

    // The object, to be touched during a use only.
    DThreadImpl& Object() const { return m_object; }
    // Whether this is the use of that object. Compares addresses alone: the object may be gone.
    bool IsOf(DThread const& thread) const { return m_owner == &thread; }

private:
    ~ObjectUse() = default;

    void OnExit() override { ReleaseReference(); }

    DThreadImpl& m_object;
    DThread const* const m_owner;
    std::atomic<int> m_references;
    std::atomic<int> m_kernelId; // 0 until announced
    // Twice the number of uses under way, plus 1 if the use is forbidden.
    std::atomic<unsigned int> m_uses;
    bool m_isToldOfExit; // the thread's own
};

// A use under way, for a scope. It ends on every way out: also when the thread is cancelled, and
// when a callback ends it.
class UseScope {
public:
    // Takes over a use that has begun.
    explicit UseScope(ObjectUse& use) : UseScope(use, true) {}
    ~UseScope();
    UseScope(UseScope const&) = delete;
    UseScope& operator=(UseScope const&) = delete;

    // Begins the use by a Run of the library's own, as the first step of that Run. The object may
    // be gone by then if the caller is its own thread. An application may also call such a Run on a
    // thread of its own: then the object lives.
    static UseScope OfRun(DThread& thread);

    // Whether the object may be touched. It becomes false in the middle of a use when a destructor
    // forbids the use: that destructor waits, so the use should end soon.
    bool IsAllowed() const { return m_isInUse && !m_use.IsForbidden(); }

    void End();

    // Ends the use for the time of a callback, for which the object's destructor doesn't wait.
    // Returns false if the callback must not begin. Then the use goes on.
    bool PauseForCallback();
    // Begins the use again after the callback. Returns false if the object may be gone.
    bool Resume();

private:
    UseScope(ObjectUse& use, bool isInUse);

    ObjectUse& m_use;
    bool m_isInUse;
};

} // namespace verrick
