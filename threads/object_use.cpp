#include "threads/object_use.h"

#include "frame/relaxed.h"
#include <verrick/thread.h>

#include <unistd.h>

namespace verrick {
namespace {

constexpr unsigned int kForbidden = 1;
constexpr unsigned int kOneUse = 2;

// The model lets the thread get at it without an allocation, also where the library was loaded at
// run time.
__attribute__((tls_model("initial-exec"))) thread_local ObjectUse* t_ofCallingThread = nullptr;

} // namespace

ObjectUse::ObjectUse(DThreadImpl& object, DThread* owner)
    : m_object(object), m_owner(owner), m_references(1), m_kernelId(0), m_uses(0),
      m_isToldOfExit(false) {}

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

void ObjectUse::BecomeCallingThreads() {
    t_ofCallingThread = this;
    m_isToldOfExit = BeToldOfExit();
    m_kernelId.store(gettid(), std::memory_order_seq_cst); // as in End
    m_kernelId.notify_all();
}

void ObjectUse::EndOfCallingThread() {
    t_ofCallingThread = nullptr;
    if (!m_isToldOfExit) {
        ReleaseReference();
    }
}

int ObjectUse::Detach(pthread_t thread) {
    return ThreadExit::Detach(thread, m_kernelId.load(relaxed));
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
