// The life of a thread.
//
// One state says where it stands. It is guarded by m_deathMutex, and so are the steps below, each
// as a whole. m_thread, m_started, m_joined and m_killed follow the state.
//
//   state     step                        next      what happens to the POSIX thread
//   NoThread  Create                      Parked    is created, and waits on m_continue
//   Parked    Start                       Started   is woken
//   Parked    Kill                        LetGo     is woken, ends without Run, is joined by Kill
//   Parked    it can't wait for Start     Parked    ends without Run
//   Started   it gets to Run              InRun     calls Run
//   Started   Kill                        LetGo     is detached, ends without Run
//   Started   WaitForThreadDeath          Joined    has ended and is joined
//   InRun     WaitForThreadDeath          Joined    has ended and is joined
//   InRun     Kill                        LetGo     is detached, goes on in Run
//   Joined    Kill                        LetGo     (none is left)
//
// Every other pair of a state and a step changes nothing. The destructor is Kill, and then a wait
// until the thread is on none of the object's own steps, which are short: see ObjectUse.
//
// Locks: m_deathMutex, then that of m_continue. No lock is held during a join, a message or Run.
#include "frame/deadline.h"
#include "frame/limits.h"
#include "frame/mutex.h"
#include "frame/relaxed.h"
#include "frame/sleep.h"
#include "frame/waiting.h"
#include "threads/object_use.h"
#include "threads/run_lookup.h"
#include "threads/scheduling.h"
#include "threads/signals.h"
#include "threads/thread_values.h"
#include <verrick/detail/thread_annotations.h>
#include <verrick/thread.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace verrick {

// Stands for the m_deathMutex of the object at hand, so that Clang checks who is called with it
// held. It is declared only.
class VERRICK_LOCK DeathMutex {};
extern DeathMutex g_deathMutex;

} // namespace verrick

using verrick::g_deathMutex;
using verrick::kForever;
using verrick::kNoThreadId;
using verrick::kNoThreadYet;
using verrick::ObjectUse;
using verrick::relaxed;
using verrick::RunFunction;
using verrick::UseScope;

namespace {

constexpr auto kNoThread = static_cast<pthread_t>(-1);
constexpr std::size_t kKernelNameSize = 16; // with the terminator
constexpr unsigned int kPureRunPollMs = 1;

// Holds the m_deathMutex of an object for a scope.
class VERRICK_SCOPED_LOCK DeathLock {
public:
    explicit DeathLock(pthread_mutex_t& deathMutex) VERRICK_ACQUIRE(g_deathMutex)
        : m_lock(deathMutex) {}
    ~DeathLock() VERRICK_RELEASE() {}
    DeathLock(DeathLock const&) = delete;
    DeathLock& operator=(DeathLock const&) = delete;

private:
    verrick::MutexLock m_lock;
};

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

enum class DThreadImpl::State : unsigned char { NoThread, Parked, Started, InRun, Joined, LetGo };

// The steps that are no operations. Those with Locked in their names are called with m_deathMutex
// held.
struct DThreadImpl::Steps {
    static void StoreName(DThreadImpl& impl, char const* name);
    static void ApplyNameLocked(DThreadImpl const& impl, pthread_t thread)
        VERRICK_REQUIRES(g_deathMutex);
    static bool HasLiveThreadLocked(DThreadImpl const& impl) VERRICK_REQUIRES(g_deathMutex);
    static RunFunction AwaitRun(DThreadImpl& impl);
    static RunFunction TryEnterRunLocked(DThreadImpl& impl) VERRICK_REQUIRES(g_deathMutex);
    static void LetGoLocked(DThreadImpl& impl) VERRICK_REQUIRES(g_deathMutex);
    static void WaitForEndOfParkedLocked(DThreadImpl& impl) VERRICK_REQUIRES(g_deathMutex);
    static int WaitForOtherJoinLocked(DThreadImpl& impl, int timeoutMs)
        VERRICK_REQUIRES(g_deathMutex);
};

// The turn of the one caller that joins. Begins with m_deathMutex held and ends without it. It
// ends, and wakes those who wait beside it, also when the caller is cancelled in its join.
class DThreadImpl::JoinTurn {
public:
    // Announces the turn.
    static void BeginLocked(DThreadImpl& impl) VERRICK_REQUIRES(g_deathMutex) {
        ++impl.m_waiters;
        impl.m_joining = true;
    }

    // Takes over the turn that has been announced.
    JoinTurn(DThreadImpl& impl, pthread_t thread) : m_impl(impl), m_thread(thread) {}
    ~JoinTurn();
    JoinTurn(JoinTurn const&) = delete;
    JoinTurn& operator=(JoinTurn const&) = delete;

    // Joins the thread. Returns the error, which is ETIMEDOUT if the thread doesn't end in time.
    int Join(int timeoutMs);

private:
    DThreadImpl& m_impl;
    pthread_t const m_thread;
    bool m_isJoined = false;
};

// A Kill of a parked thread joins too, but only WaitForThreadDeath notes it. A Kill that came
// during the join of another caller couldn't detach the thread, so that is done here.
DThreadImpl::JoinTurn::~JoinTurn() {
    DeathLock const lock(m_impl.m_deathMutex);
    --m_impl.m_waiters;
    m_impl.m_joining = false;
    bool const isLetGo = m_impl.m_state == State::LetGo;
    if (m_isJoined && m_impl.m_started.load(relaxed) != 0) {
        m_impl.m_joined.store(1, relaxed);
        m_impl.m_state = isLetGo ? State::LetGo : State::Joined;
    } else if (!m_isJoined && isLetGo) {
        m_impl.m_use->Detach(m_thread);
    }
    pthread_cond_broadcast(&m_impl.m_deathCond);
}

// Looks once if the time is already over. It is a cancellation point in every case.
int DThreadImpl::JoinTurn::Join(int timeoutMs) {
    int error = 0;
    if (timeoutMs == kForever) {
        error = pthread_join(m_thread, nullptr);
    } else if (timeoutMs > 0) {
        timespec const deadline = verrick::DeadlineAfter(timeoutMs);
        error = pthread_timedjoin_np(m_thread, nullptr, &deadline);
    } else {
        pthread_testcancel();
        error = pthread_tryjoin_np(m_thread, nullptr);
        error = error == EBUSY ? ETIMEDOUT : error;
    }
    m_isJoined = error == 0;
    return error;
}

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

// All is settled when the message is printed, which is where the caller may be cancelled.
void DThreadImpl::Kill() {
    char name[sizeof m_name] = {};
    bool isDetached = false;
    pthread_t thread{};
    State before{};
    {
        DeathLock const lock(m_deathMutex);
        before = m_state;
        thread = m_thread.load(relaxed);
        std::memcpy(name, m_name, sizeof name);
        switch (before) {
        case State::NoThread:
            return;
        case State::LetGo:
            Steps::WaitForEndOfParkedLocked(*this);
            return;
        case State::Parked:
            JoinTurn::BeginLocked(*this);
            break;
        case State::Started:
        case State::InRun:
            isDetached = m_joining || m_use->Detach(thread) == 0;
            break;
        case State::Joined:
            break;
        }
        Steps::LetGoLocked(*this);
    }
    if (before == State::Parked) {
        JoinTurn(*this, thread).Join(kForever);
    } else if (before != State::Joined) {
        std::printf(isDetached ? "pthread_detached successfull for thread (%s).\n"
                               : "pthread_detached failed for thread (%s).\n",
                    name);
    }
}

void DThreadImpl::Steps::LetGoLocked(DThreadImpl& impl) {
    bool const wasParked = impl.m_state == State::Parked;
    impl.m_state = State::LetGo;
    impl.m_killed.store(1, relaxed);
    impl.m_thread.store(kNoThread, relaxed);
    if (wasParked) {
        impl.m_continue.Signal();
    }
}

// Another Kill may be ending the thread, which was parked: then this one returns with that one.
void DThreadImpl::Steps::WaitForEndOfParkedLocked(DThreadImpl& impl) {
    while (impl.m_joining && impl.m_started.load(relaxed) == 0) {
        pthread_cond_wait(&impl.m_deathCond, &impl.m_deathMutex);
    }
}

// Whether m_thread may be given to the system. The lock keeps a thread that hasn't ended from
// ending, and so from being joined meanwhile.
bool DThreadImpl::Steps::HasLiveThreadLocked(DThreadImpl const& impl) {
    bool const hasThread = impl.m_state == State::Parked || impl.m_state == State::Started ||
                           impl.m_state == State::InRun;
    return hasThread && !impl.m_hasEnded;
}

int DThreadImpl::SetPriority(int priority) {
    DeathLock const lock(m_deathMutex);
    if (!verrick::IsRealTimePriority(priority) || m_state == State::NoThread ||
        m_state == State::Joined || m_state == State::LetGo) {
        return -1;
    }
    m_priority.store(priority, relaxed);
    if (Steps::HasLiveThreadLocked(*this)) {
        pthread_t const thread = m_thread.load(relaxed);
        int policy = 0;
        sched_param parameters{};
        pthread_getschedparam(thread, &policy, &parameters);
        parameters.sched_priority = priority;
        pthread_setschedparam(thread, policy, &parameters);
    }
    return priority;
}

int DThreadImpl::GetPriority() {
    return m_priority.load(relaxed);
}

void DThreadImpl::SetName(char const* name) {
    DeathLock const lock(m_deathMutex);
    if (m_state == State::NoThread || m_state == State::LetGo) {
        return;
    }
    Steps::StoreName(*this, name);
    if (Steps::HasLiveThreadLocked(*this)) {
        Steps::ApplyNameLocked(*this, m_thread.load(relaxed));
    }
}

char const* DThreadImpl::GetName() {
    return m_name;
}

void DThreadImpl::Steps::StoreName(DThreadImpl& impl, char const* name) {
    constexpr std::size_t last = sizeof impl.m_name - 1;
    std::strncpy(impl.m_name, name != nullptr ? name : "UNKNOWN", last);
    impl.m_name[last] = '\0';
}

void DThreadImpl::Steps::ApplyNameLocked(DThreadImpl const& impl, pthread_t thread) {
    char kernelName[kKernelNameSize] = {};
    std::memcpy(kernelName, impl.m_name, sizeof kernelName - 1);
    pthread_setname_np(thread, kernelName);
}

int DThreadImpl::GetThreadId() {
    if (m_thread.load(relaxed) == kNoThread || m_joined.load(relaxed) != 0) {
        return kNoThreadId;
    }
    int const id = m_use->WaitForKernelId();
    m_threadId.store(id, relaxed);
    return id;
}

// The thread itself must not even wait beside a joining caller, who waits for it. Its POSIX id
// wouldn't tell it: the system gives the id of a joined thread to another one.
int DThreadImpl::WaitForThreadDeath(int timeoutMs) {
    if (m_started.load(relaxed) == 0) {
        std::printf("WaitForThreadDeath::Run not started. or invalid thread handle\n");
        return WAIT_RESULT_FAILED;
    }
    pthread_t thread{};
    {
        DeathLock const lock(m_deathMutex);
        if (m_state == State::Joined) {
            return WAIT_RESULT_OK;
        }
        if (m_state == State::LetGo || ObjectUse::OfCallingThread() == m_use) {
            return WAIT_RESULT_FAILED;
        }
        if (m_joining) {
            return Steps::WaitForOtherJoinLocked(*this, timeoutMs);
        }
        thread = m_thread.load(relaxed);
        JoinTurn::BeginLocked(*this);
    }
    switch (JoinTurn(*this, thread).Join(timeoutMs)) {
    case 0:
        return WAIT_RESULT_OK;
    case ETIMEDOUT:
        return WAIT_RESULT_TIMEOUT;
    default:
        return WAIT_RESULT_FAILED;
    }
}

// Waits once: whatever wakes the caller ends its call.
int DThreadImpl::Steps::WaitForOtherJoinLocked(DThreadImpl& impl, int timeoutMs) {
    class Counted {
    public:
        explicit Counted(int& waiters) : m_waiters(waiters) { ++m_waiters; }
        ~Counted() { --m_waiters; }

    private:
        int& m_waiters;
    };
    Counted const counted(impl.m_waiters);
    if (timeoutMs == kForever) {
        pthread_cond_wait(&impl.m_deathCond, &impl.m_deathMutex);
    } else if (timeoutMs > 0) {
        timespec const deadline = verrick::DeadlineAfter(timeoutMs);
        pthread_cond_timedwait(&impl.m_deathCond, &impl.m_deathMutex, &deadline);
    } else {
        pthread_testcancel();
    }
    return impl.m_joined.load(relaxed) != 0 ? WAIT_RESULT_OK : WAIT_RESULT_TIMEOUT;
}
