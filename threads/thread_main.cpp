// What the POSIX thread of an object does.
#include "frame/relaxed.h"
#include "frame/sleep.h"
#include "frame/waiting.h"
#include "threads/object_use.h"
#include "threads/scheduling.h"
#include "threads/thread_steps.h"

#include <cstdio>

using verrick::DeathLock;
using verrick::kForever;
using verrick::ObjectUse;
using verrick::relaxed;
using verrick::RunFunction;
using verrick::UseScope;

namespace {

constexpr unsigned int kPureRunPollMs = 1;

} // namespace

// What the POSIX thread does before and after everything else. The end is noted also when Run ends
// the thread or the thread is cancelled.
class DThreadImpl::ThreadScope {
public:
    explicit ThreadScope(ObjectUse& use) : m_use(use) { m_use.BecomeCallingThreads(); }
    ~ThreadScope() {
        if (m_use.Begin()) {
            UseScope const use(m_use);
            DeathLock const lock(m_use.Object().m_deathMutex);
            m_use.Object().m_hasEnded = true;
        }
        m_use.EndOfCallingThread();
    }
    ThreadScope(ThreadScope const&) = delete;
    ThreadScope& operator=(ThreadScope const&) = delete;

private:
    ObjectUse& m_use;
};

// The argument is the block that outlives the object, because the object may be gone by now. The
// return ends the thread as pthread_exit(nullptr) does, without unwinding its stack for that.
void* DThreadImpl::ThreadMain(void* arg) {
    auto& use = *static_cast<ObjectUse*>(arg);
    ThreadScope const scope(use);
    if (use.Begin()) {
        use.Object().PreRun();
    }
    return nullptr;
}

// The use of the object ends ahead of Run: from there on the object may be gone, and after Run it
// often is.
void DThreadImpl::PreRun() {
    UseScope use(*m_use);
    {
        DeathLock const lock(m_deathMutex);
        verrick::ApplyRealTimePriority(m_priority.load(relaxed));
        Steps::ApplyNameLocked(*this, pthread_self());
    }
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    DThread* const owner = m_owner;
    RunFunction const run = Steps::AwaitRun(*this);
    use.End();
    if (run != nullptr) {
        run(owner);
    }
}

// Returns the Run to call, or null if there is none to call. See TryEnterRunLocked for which.
//
// Waits until Start or Kill. A wake-up without either is no reason to go on. Then it waits until
// the object has a Run.
RunFunction DThreadImpl::Steps::AwaitRun(DThreadImpl& impl) {
    for (;;) {
        bool isParked = false;
        {
            DeathLock const lock(impl.m_deathMutex);
            RunFunction const run = TryEnterRunLocked(impl);
            isParked = impl.m_state == State::Parked;
            if (run != nullptr || (!isParked && impl.m_state != State::Started)) {
                return run;
            }
        }
        if (!isParked) {
            verrick::SleepMs(kPureRunPollMs);
        } else if (impl.m_continue.Wait(kForever) != WAIT_RESULT_OK) {
            std::puts("m_continue.Wait failed. DThreadImpl->PreRun returning");
            return nullptr;
        }
    }
}

// Returns the Run of a started thread, or null while there is none.
//
// The question is which Run, while another thread may be in a destructor of the object. Each
// destructor makes the object one of its own class first, and only that of DThread, the last one,
// gets to Kill. What can be found until then:
//
// 1. The Run of the whole object. It is the right one, also while the body of the most derived
//    destructor goes on: that one may be waiting for Run to end.
// 2. The Run of a base of the application's, whose destructor or constructor has begun. A virtual
//    call reaches the same one then. A class that is safe to destroy while a thread may be in Run
//    is just as safe here.
// 3. A pure Run: the object is still being built, or DThread's destructor has begun, or that of a
//    class without a Run. The thread looks again until there is a Run or the object lets it go.
//
// So a thread that isn't in Run when DThread's destructor or a Kill begins never gets there. A
// thread that gets there while destructors of the application's own classes are at work counts as
// one that was in Run before. Only one kind of class could tell the difference: its Run uses the
// object, and its destructor doesn't wait for the end of Run. Such a class is faulty in either
// case.
RunFunction DThreadImpl::Steps::TryEnterRunLocked(DThreadImpl& impl) {
    if (impl.m_state != State::Started) {
        return nullptr;
    }
    RunFunction const run = verrick::FindRun(*impl.m_owner);
    if (run != nullptr) {
        impl.m_state = State::InRun;
    }
    return run;
}

// Reached by nothing: the thread calls the owner's Run.
void DThreadImpl::Run() {
    std::puts("DThreadImpl::Default Run called (Should not be called).");
}
