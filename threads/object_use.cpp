#include "threads/object_use.h"

#include "frame/cancellation.h"
#include "frame/errno_kept.h"
#include "frame/relaxed.h"
#include "frame/sleep.h"
#include "frame/waiting.h"
#include <verrick/thread.h>

#include <climits>
#include <csignal>

#include <sched.h>
#include <unistd.h>

namespace verrick {
namespace {

constexpr unsigned int kForbidden = 1;
constexpr unsigned int kOneUse = 2;

// The model lets the thread get at it without an allocation, also where the library was loaded at
// run time.
__attribute__((tls_model("initial-exec"))) thread_local ObjectUse* t_ofCallingThread = nullptr;

// The round of key destructors in which a thread counts as exiting. The one after it is left to
// whatever must be the very last on a thread.
constexpr int kExitRound = PTHREAD_DESTRUCTOR_ITERATIONS - 1;

} // namespace

// The destructor of a key is the last code on a thread that the C library calls. All threads have
// this one. It is never deleted, as the library is never unloaded.
struct ObjectUse::ExitKey {
    ExitKey() : key(), exists(pthread_key_create(&key, &ObjectUse::OnExitRound) == 0) {}

    pthread_key_t key;
    bool const exists;

    static ExitKey const& Get() {
        static ExitKey const s_key;
        return s_key;
    }
};

ObjectUse::ObjectUse(DThreadImpl& object, DThread* owner)
    : m_object(object), m_owner(owner), m_references(1), m_kernelId(0), m_uses(0),
      m_isToldOfExit(false), m_exitRounds(0), m_exits(false) {}

ObjectUse& ObjectUse::Of(DThread& thread) {
    return *thread.m_impl->m_use;
}

ObjectUse* ObjectUse::OfCallingThread() {
    return t_ofCallingThread;
}

void ObjectUse::AddReference() {
    m_references.fetch_add(1, relaxed);
}

void ObjectUse::ReleaseReference() {
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

bool ObjectUse::Begin() {
    unsigned int uses = m_uses.load(relaxed);
    while ((uses & kForbidden) == 0) {
        if (m_uses.compare_exchange_weak(uses, uses + kOneUse, relaxed)) {
            return true;
        }
    }
    return false;
}

// A release; it pairs with the acquire in WaitUntilUnused. The memory of the object may go after
// that. It is sequentially consistent as well: notify_all looks whether a thread sleeps, and that
// look must not come before the change.
void ObjectUse::End() {
    if ((m_uses.fetch_sub(kOneUse, std::memory_order_seq_cst) & kForbidden) != 0) {
        m_uses.notify_all();
    }
}

void ObjectUse::Forbid() {
    m_uses.fetch_or(kForbidden, relaxed);
}

bool ObjectUse::IsForbidden() const {
    return (m_uses.load(relaxed) & kForbidden) != 0;
}

void ObjectUse::WaitUntilUnused() const {
    unsigned int uses = m_uses.load(std::memory_order_acquire);
    while (uses > kForbidden) {
        m_uses.wait(uses, std::memory_order_acquire);
        uses = m_uses.load(std::memory_order_acquire);
    }
}

// If the system has no more keys, nothing tells of the exit.
void ObjectUse::BecomeCallingThreads() {
    t_ofCallingThread = this;
    ExitKey const& exit = ExitKey::Get();
    m_isToldOfExit = exit.exists && pthread_setspecific(exit.key, this) == 0;
    m_kernelId.store(gettid(), std::memory_order_seq_cst); // as in End
    m_kernelId.notify_all();
}

void ObjectUse::EndOfCallingThread() {
    t_ofCallingThread = nullptr;
    if (!m_isToldOfExit) {
        ReleaseReference();
    }
}

// The thread_local objects are gone by now. The thread's other keys get two rounds first.
void ObjectUse::OnExitRound(void* use) {
    auto& self = *static_cast<ObjectUse*>(use);
    if (++self.m_exitRounds < kExitRound && pthread_setspecific(ExitKey::Get().key, use) == 0) {
        return;
    }
    {
        std::lock_guard const lock(self.m_exitLock);
        self.m_exits = true;
    }
    self.ReleaseReference();
}

// glibc's pthread_detach lets the thread free itself, and then reads of it once more (its bug
// 19951). So the thread mustn't end meanwhile: either it can't exit yet, or it is gone already.
int ObjectUse::Detach(pthread_t thread) {
    std::lock_guard const lock(m_exitLock);
    if (m_exits) {
        AwaitExit();
    }
    return pthread_detach(thread);
}

// The exit takes microseconds. A thread that another destructor of its own holds up is waited for
// no longer than a callback. The calling thread is such a one, too, and isn't waited for.
void ObjectUse::AwaitExit() const {
    ErrnoKept const kept;
    CancellationPutOff const putOff;
    int const id = m_kernelId.load(relaxed);
    for (int looks = gettid() == id ? INT_MAX : 0;
         looks < kDrainYields + kStuckCallMs && tgkill(getpid(), id, 0) == 0; ++looks) {
        if (looks < kDrainYields) {
            sched_yield();
        } else {
            SleepMs(1);
        }
    }
}

int ObjectUse::WaitForKernelId() const {
    m_kernelId.wait(0, relaxed);
    return m_kernelId.load(relaxed);
}

UseScope::UseScope(ObjectUse& use, bool isInUse) : m_use(use), m_isInUse(isInUse) {
    m_use.AddReference();
}

UseScope::~UseScope() {
    End();
    m_use.ReleaseReference();
}

UseScope UseScope::OfRun(DThread& thread) {
    ObjectUse* const own = ObjectUse::OfCallingThread();
    ObjectUse& use = own != nullptr && own->IsOf(thread) ? *own : ObjectUse::Of(thread);
    return {use, use.Begin()};
}

void UseScope::End() {
    if (m_isInUse) {
        m_isInUse = false;
        m_use.End();
    }
}

bool UseScope::PauseForCallback() {
    if (!IsAllowed()) {
        return false;
    }
    End();
    return true;
}

bool UseScope::Resume() {
    m_isInUse = m_use.Begin();
    return m_isInUse;
}

} // namespace verrick
