#include "frame/limits.h"
#include "threads/object_use.h"
#include <verrick/time_primitives.h>
#include <verrick/timers.h>

#include <cmath>
#include <ctime>
#include <limits>
#include <memory>

namespace {

constexpr int kCreateParked = 2; // no bit of it has an effect: bit 0 is clear
constexpr double kMsPerSecond = 1000.0;

// Milliseconds from now to a calendar time, or as many since it. What doesn't fit is cut before it
// is converted, for processors differ in what they make of it.
unsigned int DistanceInMs(time_t when) {
    double const distance = std::fabs(difftime(when, time(nullptr)) * kMsPerSecond);
    constexpr unsigned int farthest = std::numeric_limits<unsigned int>::max();
    return distance >= static_cast<double>(farthest) ? farthest
                                                     : static_cast<unsigned int>(distance);
}

} // namespace

// The threads begin last, on a whole object: first the dispatcher's, then this one's.
DTimeManagerImpl::DTimeManagerImpl(int priority)
    : DThread("TimeManager Thread", priority, verrick::kSmallestStackBytes, kCreateParked),
      m_ticks(0), m_resolution(0), m_dispatch(nullptr), m_periodicTimer(nullptr) {
    m_resolution =
        static_cast<unsigned int>(DTimeManagerImplCallouts__CreatePeriodicTimer(&m_periodicTimer));
    // No destructor of this class runs if the next allocation fails.
    std::unique_ptr<void*, decltype(&DTimeManagerImplCallouts__DestroyPeriodicTimer)> timer(
        &m_periodicTimer, &DTimeManagerImplCallouts__DestroyPeriodicTimer);
    m_dispatch = new DTimerDispatch;
    static_cast<void>(timer.release());
    m_dispatch->Start();
    DThread::Start();
}

DTimeManagerImpl::~DTimeManagerImpl() {
    verrick::ObjectUse& use = verrick::ObjectUse::Of(*this);
    use.Forbid();
    FreeTimers();
    DThread::Kill();
    use.WaitUntilUnused();
    delete m_dispatch;
    DTimeManagerImplCallouts__DestroyPeriodicTimer(&m_periodicTimer);
    FreeTimers(); // which a listener call under way, now over, may have made
}

void DTimeManagerImpl::FreeTimers() {
    DMonitor active(m_csActive);
    DMonitor inactive(m_csInactive);
    for (DList* const list : {&m_activeList, &m_inactiveList}) {
        while (DListItem* const item = list->RemoveHead()) {
            delete static_cast<TimeListItem*>(item);
        }
    }
}

bool DTimeManagerImpl::CreateRelativeTimer(ITimerListener* listener, unsigned int id, int periodMs,
                                           int /*reserved*/, unsigned int timerFlags) {
    bool const repeat = (timerFlags & TIMER_REPEAT) != 0;
    if (repeat && periodMs <= 0) {
        return false; // it would be due again at once, for ever
    }
    DMonitor active(m_csActive);
    DMonitor inactive(m_csInactive);
    if (Exists(listener, id)) {
        return false;
    }
    auto* const item = new TimeListItem;
    item->m_listener = listener;
    item->m_id = id;
    item->m_period = periodMs;
    item->m_repeat = repeat;
    item->m_expirySet = false;
    if ((timerFlags & TIMER_INACTIVE) != 0) {
        m_inactiveList.AddTail(item);
    } else {
        SetExpiry(item, static_cast<unsigned int>(periodMs));
        InsertByExpiry(item);
    }
    return true;
}

bool DTimeManagerImpl::CreateAbsoluteTimer(ITimerListener* listener, unsigned int id, long when,
                                           int /*reserved*/) {
    DMonitor active(m_csActive);
    DMonitor inactive(m_csInactive);
    if (Exists(listener, id)) {
        return false;
    }
    auto* const item = new TimeListItem;
    item->m_listener = listener;
    item->m_id = id;
    item->m_period = 0;
    item->m_repeat = false;
    SetExpiry(item, DistanceInMs(when));
    m_inactiveList.AddTail(item);
    return true;
}

// The two lists are looked at one after the other, and the queue with no lock of the engine held.
bool DTimeManagerImpl::Destroy(ITimerListener* listener, unsigned int id) {
    std::unique_ptr<TimeListItem> item(Extract(m_activeList, m_csActive, listener, id));
    if (item == nullptr) {
        item.reset(Extract(m_inactiveList, m_csInactive, listener, id));
    }
    m_dispatch->FlushQueue(listener, id);
    return item != nullptr;
}

bool DTimeManagerImpl::Activate(ITimerListener* listener, unsigned int id) {
    DMonitor active(m_csActive);
    if (RetrieveMatchingItem(m_activeList, listener, id) != nullptr) {
        return false;
    }
    DMonitor inactive(m_csInactive);
    TimeListItem* const item = RetrieveMatchingItem(m_inactiveList, listener, id);
    if (item == nullptr) {
        return false;
    }
    m_inactiveList.Remove(item);
    // An absolute timer keeps its place on the clock, also one that lies in the past.
    if (item->m_period != 0 || !item->m_expirySet) {
        SetExpiry(item, static_cast<unsigned int>(item->m_period));
    }
    InsertByExpiry(item);
    return true;
}

bool DTimeManagerImpl::Deactivate(ITimerListener* listener, unsigned int id) {
    DMonitor active(m_csActive);
    TimeListItem* const item = RetrieveMatchingItem(m_activeList, listener, id);
    if (item == nullptr) {
        return false;
    }
    m_activeList.Remove(item);
    DMonitor inactive(m_csInactive);
    m_inactiveList.AddTail(item);
    return true;
}

void DTimeManagerImpl::Sleep(int ms) {
    DTimeManagerImplCallouts__Sleep(m_periodicTimer, ms);
}

unsigned int DTimeManagerImpl::GetTickCount() {
    DMonitor monitor(m_csTicks);
    return m_ticks;
}

unsigned int DTimeManagerImpl::GetResolution() {
    return m_resolution;
}

// The whole loop is one visit to the object, so that the destructor, which waits for its end, is
// held up by a tick at most.
void DTimeManagerImpl::Run() {
    verrick::UseScope const use = verrick::UseScope::OfRun(*this);
    while (use.IsAllowed()) {
        if (DTimeManagerImplCallouts__WaitForTimerExpiration(m_periodicTimer) && use.IsAllowed()) {
            Tick();
        }
    }
}

void DTimeManagerImpl::Tick() {
    unsigned int now = 0;
    {
        DMonitor monitor(m_csTicks);
        m_ticks += m_resolution;
        now = m_ticks;
    }
    DMonitor active(m_csActive);
    while (DListItem* const head = m_activeList.Next(nullptr)) {
        auto* const item = static_cast<TimeListItem*>(head);
        if (item->m_expiry > now) {
            break;
        }
        m_activeList.Remove(item);
        Expire(item, now);
    }
}

// Moves the timer on as if its expiry were delivered already; allocates nothing.
void DTimeManagerImpl::Expire(TimeListItem* item, unsigned int now) {
    if (item->m_repeat) {
        item->m_expiry = static_cast<unsigned int>(item->m_period) + now;
        InsertByExpiry(item);
    } else {
        DMonitor inactive(m_csInactive);
        m_inactiveList.AddTail(item);
    }
    m_dispatch->Enqueue(item->m_listener, item->m_id);
}

void DTimeManagerImpl::SetExpiry(TimeListItem* item, unsigned int distanceMs) {
    DMonitor monitor(m_csTicks);
    item->m_expiry = m_ticks + distanceMs;
    item->m_expirySet = true;
}

// From the tail, since a new expiry usually lies behind those present. Among equals the newest
// comes first.
void DTimeManagerImpl::InsertByExpiry(TimeListItem* item) {
    DListItem* at = m_activeList.Prev(nullptr);
    while (at != nullptr && static_cast<TimeListItem*>(at)->m_expiry >= item->m_expiry) {
        at = m_activeList.Prev(at);
    }
    m_activeList.Insert(item, at);
}

bool DTimeManagerImpl::Exists(ITimerListener* listener, unsigned int id) {
    return AlreadyPresentInList(m_inactiveList, listener, id) ||
           AlreadyPresentInList(m_activeList, listener, id);
}

bool DTimeManagerImpl::AlreadyPresentInList(DList& list, ITimerListener* listener,
                                            unsigned int id) {
    return RetrieveMatchingItem(list, listener, id) != nullptr;
}

DTimeManagerImpl::TimeListItem*
DTimeManagerImpl::RetrieveMatchingItem(DList& list, ITimerListener* listener, unsigned int id) {
    for (DListItem* at = list.Next(nullptr); at != nullptr; at = list.Next(at)) {
        auto* const item = static_cast<TimeListItem*>(at);
        if (item->m_listener == listener && item->m_id == id) {
            return item;
        }
    }
    return nullptr;
}

DTimeManagerImpl::TimeListItem* DTimeManagerImpl::Extract(DList& list, DCriticalSection& section,
                                                          ITimerListener* listener,
                                                          unsigned int id) {
    DMonitor monitor(section);
    TimeListItem* const item = RetrieveMatchingItem(list, listener, id);
    if (item != nullptr) {
        list.Remove(item);
    }
    return item;
}
