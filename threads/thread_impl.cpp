// How a thread is made and let run.
#include "frame/limits.h"
#include "frame/relaxed.h"
#include "threads/object_use.h"
#include "threads/scheduling.h"
#include "threads/signals.h"
#include "threads/thread_steps.h"
#include "threads/thread_values.h"

#include <cstdio>

using verrick::DeathLock;
using verrick::kNoThread;
using verrick::kNoThreadId;
using verrick::kNoThreadYet;
using verrick::ObjectUse;
using verrick::relaxed;

namespace {

// The attributes of a new thread, for a scope. If the system refuses them they are zero, which
// stands for its defaults.
class Attributes {
public:
    Attributes() : m_attributes() { pthread_attr_init(&m_attributes); }
    ~Attributes() { pthread_attr_destroy(&m_attributes); }
    Attributes(Attributes const&) = delete;
    Attributes& operator=(Attributes const&) = delete;

    pthread_attr_t* operator&() { return &m_attributes; }

private:
    pthread_attr_t m_attributes;
};

// Stores the priority in the attributes, and returns what they hold then. Some C libraries compare
// it with the policy that the attributes have so far, and refuse it. Then the priority asked for
// counts. Either way PreRun is what puts it in force.
int StorePriority(Attributes& attributes, int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    if (pthread_attr_setschedparam(&attributes, &parameters) == 0) {
        pthread_attr_getschedparam(&attributes, &parameters);
    }
    return parameters.sched_priority;
}

} // namespace

// The condition is zeroed first, so that it is a plain one if the system refuses to make it.
DThreadImpl::DThreadImpl(char const* name, int priority, int stackSize, int flags, DThread* owner)
    : m_thread(kNoThread), m_priority(priority), m_threadId(kNoThreadId), m_continue(false, false),
      m_owner(owner), m_deathCond(), m_started(0), m_joined(0), m_killed(0), m_waiters(0),
      m_state(State::NoThread), m_joining(false), m_hasEnded(false),
      m_use(new ObjectUse(*this, owner)) {
    Steps::StoreName(*this, name);
    m_continue.Reset();
    pthread_cond_init(&m_deathCond, nullptr);
    verrick::InitErrorCheckMutex(m_deathMutex, m_deathMutexAttr);
    if ((flags & kNoThreadYet) == 0 && !Create(m_owner, priority, stackSize, flags)) {
        std::printf("DThreadImpl::Failed to create the thread.\n");
    }
}

DThreadImpl::~DThreadImpl() {
    DThreadImpl::Kill();
    m_use->Forbid();
    m_use->WaitUntilUnused();
    pthread_cond_broadcast(&m_deathCond);
    verrick::DestroyErrorCheckMutex(m_deathMutex, m_deathMutexAttr);
    pthread_cond_destroy(&m_deathCond);
    m_use->ReleaseReference();
}

bool DThreadImpl::Create(DThread* thread, int priority, int stackSize, int /*flags*/) {
    DThreadImpl& impl = *thread->m_impl;
    DeathLock const lock(impl.m_deathMutex);
    if (impl.m_state != State::NoThread) {
        return false;
    }
    Attributes attributes;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
    int const stackBytes =
        stackSize > verrick::kSmallestStackBytes ? stackSize : verrick::kSmallestStackBytes;
    pthread_attr_setstacksize(&attributes, static_cast<std::size_t>(stackBytes));
    if (verrick::IsRealTimePriority(priority)) {
        impl.m_priority.store(StorePriority(attributes, priority), relaxed);
    }
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    pthread_attr_setscope(&attributes, PTHREAD_SCOPE_SYSTEM);
    verrick::ApplyMaskOfNewThreads(&attributes);

    impl.m_use->AddReference(); // the new thread's
    pthread_t created{};
    if (pthread_create(&created, &attributes, &ThreadMain, impl.m_use) != 0) {
        impl.m_use->ReleaseReference();
        return false;
    }
    impl.m_thread.store(created, relaxed);
    impl.m_state = State::Parked;
    return true;
}

// The signal is given with the lock held: without it the thread could already have run, and Run
// could have destroyed the object.
void DThreadImpl::Start() {
    DeathLock const lock(m_deathMutex);
    if (m_state == State::Parked) {
        m_started.store(1, relaxed);
        m_state = State::Started;
        m_continue.Signal();
    }
}
