// The timer engine: its clock, its tick, and the operations on timers.
#include "frame/limits.h"
#include "frame/relaxed.h"
#include "frame/time_units.h"
#include "threads/object_use.h"
#include "threads/scheduling.h"
#include "threads/signals.h"
#include "threads/thread_values.h"
#include "threads/timer_dispatch.h"
#include "threads/timer_index.h"
#include <verrick/time_primitives.h>

#include <array>
#include <atomic>
#include <cmath>
#include <ctime>
#include <limits>
#include <memory>

namespace {

// How many timers expire before the tick lets others have m_csActive.
constexpr std::size_t kExpiriesPerStep = 256;

// After how many steps of a tick the dispatcher is woken, beside the last. It may run on the same
// processor ahead of the tick, so more deliveries would make the clock lag.
constexpr int kStepsWithDelivery = 8;

// Returns the milliseconds from now to a calendar time, or as many since it. Too many are cut
// before they are converted, because processors differ in what they make of them.
std::uint32_t DistanceInMs(time_t when) {
    double const distance = std::fabs(difftime(when, time(nullptr)) * verrick::kMsPerSecond);
    constexpr std::uint32_t farthest = std::numeric_limits<std::uint32_t>::max();
    return distance >= static_cast<double>(farthest) ? farthest
                                                     : static_cast<std::uint32_t>(distance);
}

} // namespace

struct DTimeManagerImpl::Parts {
    explicit Parts(DList& activeList) : m_index(activeList) {}

    static std::int64_t NowLocked(DTimeManagerImpl& engine) VERRICK_REQUIRES(engine.m_csActive);
    static void AdvanceClockLocked(DTimeManagerImpl& engine) VERRICK_REQUIRES(engine.m_csActive);
    static void Tick(DTimeManagerImpl& engine);
    static bool ExpireSome(DTimeManagerImpl& engine);
    static void FreeTimers(DTimeManagerImpl& engine);

    TimerIndex m_index;       // guarded by m_csActive
    std::int64_t m_wraps = 0; // of m_ticks; guarded by m_csActive
    // Taken on the way to m_csActive while a tick expires timers, see ActiveLock.
    DCriticalSection m_csTurn;
    std::atomic<bool> m_isExpiring{false}; // written by the tick, read before any lock is held
};

// Holds m_csActive for a scope.
//
// While the tick expires timers it gives m_csActive up between its steps. It would take it again
// before a thread that waits for it could wake up. So all who come then queue for m_csTurn first,
// the tick too, and the tick comes after the thread that waits.
class VERRICK_SCOPED_LOCK DTimeManagerImpl::ActiveLock {
public:
    explicit ActiveLock(DTimeManagerImpl& engine)
        VERRICK_ACQUIRE(engine.m_csActive) VERRICK_UNCHECKED_LOCKING : m_active(engine.m_csActive) {
        if (engine.m_parts->m_isExpiring.load(verrick::relaxed)) {
            DMonitor const turn(engine.m_parts->m_csTurn);
            m_active.Enter();
        } else {
            m_active.Enter();
        }
    }
    ~ActiveLock() VERRICK_RELEASE() { m_active.Leave(); }
    ActiveLock(ActiveLock const&) = delete;
    ActiveLock& operator=(ActiveLock const&) = delete;

private:
    DCriticalSection& m_active;
};

// The threads begin last, on a whole object: first the dispatcher's, then this one's.
DTimeManagerImpl::DTimeManagerImpl(int priority)
    : DThread(verrick::SignalsBlocked().During("TimeManager Thread"), priority,
              verrick::kSmallestStackBytes, verrick::kCreateParked),
      m_ticks(0), m_resolution(0), m_dispatch(nullptr), m_periodicTimer(nullptr), m_parts(nullptr) {
    auto parts = std::make_unique<Parts>(m_activeList);
    auto dispatch = std::make_unique<DTimerDispatch>();
    m_resolution =
        static_cast<unsigned int>(DTimeManagerImplCallouts__CreatePeriodicTimer(&m_periodicTimer));
    m_parts = parts.release();
    m_dispatch = dispatch.release();
    m_dispatch->Start();
    DThread::Start();
}

DTimeManagerImpl::~DTimeManagerImpl() {
    verrick::ObjectUse& use = verrick::ObjectUse::Of(*this);
    use.Forbid();
    Parts::FreeTimers(*this);
    DThread::Kill();
    use.WaitUntilUnused();
    delete m_dispatch;
    DTimeManagerImplCallouts__DestroyPeriodicTimer(&m_periodicTimer);
    delete m_parts; // with timers that a listener made meanwhile
}

void DTimeManagerImpl::Parts::FreeTimers(DTimeManagerImpl& engine) {
    DMonitor const active(engine.m_csActive);
    DMonitor const inactive(engine.m_csInactive);
    while (engine.m_inactiveList.RemoveHead() != nullptr) {
    }
    engine.m_parts->m_index.Clear();
}

bool DTimeManagerImpl::CreateRelativeTimer(ITimerListener* listener, unsigned int id, int periodMs,
                                           int /*reserved*/, unsigned int timerFlags) {
    bool const repeat = (timerFlags & TIMER_REPEAT) != 0;
    if (listener == nullptr || (repeat && periodMs <= 0)) {
        return false;
    }
    ActiveLock const active(*this);
    Timer* const timer = m_parts->m_index.Create(listener, id);
    if (timer == nullptr) {
        return false;
    }
    timer->m_period = periodMs;
    timer->m_repeat = repeat;
    timer->SetDue(Parts::NowLocked(*this) + periodMs);
    if ((timerFlags & TIMER_INACTIVE) == 0) {
        m_parts->m_index.Arm(*timer);
    } else {
        DMonitor const inactive(m_csInactive);
        m_inactiveList.AddTail(timer);
    }
    return true;
}

bool DTimeManagerImpl::CreateAbsoluteTimer(ITimerListener* listener, unsigned int id, long when,
                                           int /*reserved*/) {
    if (listener == nullptr) {
        return false;
    }
    ActiveLock const active(*this);
    Timer* const timer = m_parts->m_index.Create(listener, id);
    if (timer == nullptr) {
        return false;
    }
    timer->m_period = 0;
    timer->m_repeat = false;
    timer->SetDue(Parts::NowLocked(*this) + DistanceInMs(when));
    DMonitor const inactive(m_csInactive);
    m_inactiveList.AddTail(timer);
    return true;
}

bool DTimeManagerImpl::Destroy(ITimerListener* listener, unsigned int id) {
    std::unique_ptr<Timer> removed; // freed after the lock
    {
        ActiveLock const active(*this);
        if (Timer* const timer = m_parts->m_index.Find(listener, id)) {
            if (timer->m_armed) {
                m_parts->m_index.Disarm(*timer);
            } else {
                DMonitor const inactive(m_csInactive);
                m_inactiveList.Remove(timer);
            }
            removed = m_parts->m_index.Remove(*timer);
        }
    }
    if (removed == nullptr || removed->m_hasExpired) {
        m_dispatch->FlushQueue(listener, id);
    }
    DTimerDispatch::Parts::AwaitEndOfCall(*m_dispatch, listener, id);
    return removed != nullptr;
}

bool DTimeManagerImpl::Activate(ITimerListener* listener, unsigned int id) {
    ActiveLock const active(*this);
    Timer* const timer = m_parts->m_index.Find(listener, id);
    if (timer == nullptr || timer->m_armed) {
        return false;
    }
    {
        DMonitor const inactive(m_csInactive);
        m_inactiveList.Remove(timer);
    }
    if (timer->m_period != 0) { // an absolute timer keeps its expiry
        timer->SetDue(Parts::NowLocked(*this) + timer->m_period);
    }
    m_parts->m_index.Arm(*timer);
    return true;
}

bool DTimeManagerImpl::Deactivate(ITimerListener* listener, unsigned int id) {
    ActiveLock const active(*this);
    Timer* const timer = m_parts->m_index.Find(listener, id);
    if (timer == nullptr || !timer->m_armed) {
        return false;
    }
    m_parts->m_index.Disarm(*timer);
    DMonitor const inactive(m_csInactive);
    m_inactiveList.AddTail(timer);
    return true;
}

void DTimeManagerImpl::Sleep(int ms) {
    DTimeManagerImplCallouts__Sleep(m_periodicTimer, ms);
}

unsigned int DTimeManagerImpl::GetTickCount() {
    DMonitor const ticks(m_csTicks);
    return m_ticks;
}

unsigned int DTimeManagerImpl::GetResolution() {
    return m_resolution;
}

// The whole loop is one use of the object. The destructor waits for its end, a tick at most.
void DTimeManagerImpl::Run() {
    verrick::SleepWithoutSlack(); // the clock would lag by it at each tick
    verrick::UseScope const use = verrick::UseScope::OfRun(*this);
    while (use.IsAllowed()) {
        if (DTimeManagerImplCallouts__WaitForTimerExpiration(m_periodicTimer) && use.IsAllowed()) {
            Parts::Tick(*this);
        }
    }
}

// The clock with its wraps counted. Expiries are reckoned and compared in it, so that they don't
// depend on the age of the service. The clock changes under m_csActive and m_csTicks, so either of
// them is enough to read it.
std::int64_t
DTimeManagerImpl::Parts::NowLocked(DTimeManagerImpl& engine) VERRICK_UNCHECKED_LOCKING {
    return (engine.m_parts->m_wraps << 32) + engine.m_ticks;
}

void DTimeManagerImpl::Parts::AdvanceClockLocked(DTimeManagerImpl& engine) {
    DMonitor const ticks(engine.m_csTicks);
    engine.m_ticks += engine.m_resolution;
    if (engine.m_ticks < engine.m_resolution) {
        ++engine.m_parts->m_wraps;
    }
}

void DTimeManagerImpl::Parts::Tick(DTimeManagerImpl& engine) {
    Parts& parts = *engine.m_parts;
    {
        ActiveLock const active(engine);
        AdvanceClockLocked(engine);
        parts.m_index.BeginRound(NowLocked(engine));
        parts.m_isExpiring.store(parts.m_index.NextOfRound() != nullptr, verrick::relaxed);
    }
    for (int step = 1; parts.m_isExpiring.load(verrick::relaxed); ++step) {
        bool const isMore = ExpireSome(engine);
        parts.m_isExpiring.store(isMore, verrick::relaxed);
        if (step <= kStepsWithDelivery || !isMore) {
            DTimerDispatch::Parts::WakeUp(*engine.m_dispatch);
        }
    }
}

// Moves some of the due timers on, as if their expiries were delivered already. Allocates nothing.
// Returns false if no more are due.
bool DTimeManagerImpl::Parts::ExpireSome(DTimeManagerImpl& engine) {
    std::array<DTimerDispatch::Parts::Expiry, kExpiriesPerStep> expired;
    std::size_t count = 0;
    TimerIndex& index = engine.m_parts->m_index;
    ActiveLock const active(engine);
    DMonitor const inactive(engine.m_csInactive);
    std::int64_t const nowMs = NowLocked(engine);
    for (; count != expired.size(); ++count) {
        Timer* const timer = index.NextOfRound();
        if (timer == nullptr) {
            break;
        }
        expired[count] = {timer->m_listener, timer->m_id};
        index.Disarm(*timer);
        timer->m_hasExpired = true;
        if (timer->m_repeat) {
            timer->SetDue(nowMs + timer->m_period);
            index.Arm(*timer);
        } else {
            engine.m_inactiveList.AddTail(timer);
        }
    }
    DTimerDispatch::Parts::EnqueueAll(*engine.m_dispatch, expired.data(), count);
    return count == expired.size();
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
