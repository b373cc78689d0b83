// The timer engine beside a model of it. No thread runs: the input says when a tick comes, how long
// it is, and when the dispatcher delivers.
#include "fuzz/input.h"
#include "threads/timer_dispatch.h"

#include <cmath>
#include <ctime>
#include <map>

constexpr long kToday = 1700000000;
constexpr unsigned int kPoolSize = 256;
constexpr unsigned int kRow = 260; // timers at once: more than the pool can take

static int g_ticks = 0;              // still to come in this Run of the engine
static std::size_t g_stackBytes = 0; // of all threads
static int g_sleptMs = 0;

int DTimeManagerImplCallouts__CreatePeriodicTimer(void** /*timer*/) {
    return 10;
}

void DTimeManagerImplCallouts__DestroyPeriodicTimer(void** /*timer*/) {}

void DTimeManagerImplCallouts__Sleep(void* /*timer*/, int ms) {
    g_sleptMs = ms;
}

extern "C" time_t time(time_t* /*now*/) noexcept {
    return kToday;
}

// The engine's sources call the next three in the place of pthread_create,
// pthread_attr_setstacksize and pthread_cond_timedwait.
extern "C" int CreateNoThread(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*) noexcept {
    return EAGAIN;
}

// A listener that ends its own timer has nobody to wait for.
extern "C" int SetStackSize(pthread_attr_t* /*attributes*/, std::size_t bytes) noexcept {
    g_stackBytes += bytes;
    return 0;
}

extern "C" int WaitForOthers(pthread_cond_t*, pthread_mutex_t*, timespec const*) {
    AGREE(false);
}

namespace {

using Name = std::pair<ITimerListener*, unsigned int>;
using Place = std::pair<std::int64_t, long>; // on a list

struct EndOfRun {};

struct Timer {
    Name name;
    int periodMs;
    bool repeats;
    std::int64_t dueMs;
    bool isArmed = false;
    Place place = {};
    long armedInTick = 0;
};

// What the operations are promised to do.
struct Model {
    // Of armed timers with equal expiries the newest comes first.
    void List(Timer& timer, bool isArmed) {
        lists[timer.isArmed].erase(timer.place);
        ++moves;
        timer.isArmed = isArmed;
        timer.armedInTick = ticks;
        timer.place = isArmed ? Place(timer.dueMs, -moves) : Place(0, moves);
        lists[isArmed][timer.place] = &timer;
    }

    bool Create(Timer const& timer, bool isArmed) {
        bool const isMade = timer.name.first != nullptr && (!timer.repeats || timer.periodMs > 0) &&
                            timers.try_emplace(timer.name, timer).second;
        if (isMade) {
            List(timers.at(timer.name), isArmed);
        }
        return isMade;
    }

    bool Destroy(Name name) {
        std::erase(queue, name);
        auto const timer = timers.extract(name);
        if (!timer.empty()) {
            lists[timer.mapped().isArmed].erase(timer.mapped().place);
        }
        return !timer.empty();
    }

    // Activate or Deactivate.
    bool Switch(Name name, bool isArmed) {
        auto const found = timers.find(name);
        if (found == timers.end() || found->second.isArmed == isArmed) {
            return false;
        }
        Timer& timer = found->second;
        timer.dueMs = isArmed && timer.periodMs != 0 ? nowMs + timer.periodMs : timer.dueMs;
        List(timer, isArmed);
        return true;
    }

    // A step of a tick. A timer that is armed during the tick waits for the next. Returns whether
    // there may be more.
    bool ExpireSome() {
        int expired = 0;
        for (auto at = lists[true].begin();
             at != lists[true].end() && at->first.first <= nowMs && expired < 256;) {
            Timer& timer = *at++->second;
            if (timer.armedInTick != ticks) {
                ++expired;
                if (queue.size() + (isDelivering ? 1 : 0) < kPoolSize) {
                    queue.push_back(timer.name);
                }
                timer.dueMs = timer.repeats ? nowMs + timer.periodMs : timer.dueMs;
                List(timer, timer.repeats);
            }
        }
        return expired == 256;
    }

    std::map<Name, Timer> timers;
    std::map<Place, Timer*> lists[2]; // of those not armed and of the armed ones
    long moves = 0;
    long ticks = 0;
    int wakeUps = -1; // in this tick; -1 between the ticks
    std::int64_t nowMs = 0;
    std::deque<Name> queue;
    bool isDelivering = false; // which takes an entry of the pool
    bool isAwake = false;      // the dispatcher
};

struct Listener : ITimerListener {
    void OnTimerExpired(unsigned int /*id*/) override {}
};

struct Machine : Model {
    explicit Machine(Input& input) : m_input(input) {
        AGREE(m_engine.GetPriority() == 7 && m_dispatch.GetPriority() == 99);
        AGREE(g_stackBytes == 2 * 8196);
        g_stackBytes = 0;
        m_service.Sleep(5);
        AGREE(g_sleptMs == 5);
        m_dispatch.Enqueue(nullptr, UINT_MAX);
        DTimerDispatch::Parts::WakeUp(m_dispatch); // for nothing
        AGREE(m_dispatch.m_queueEvent.Wait(0) == WAIT_RESULT_TIMEOUT);
        m_engine.m_periodicTimer = this;
        delete std::exchange(m_dispatch.m_queueEvent.m_impl, new Event(*this));
        m_dispatch.Enqueue(&m_listeners[0], UINT_MAX);
        queue.emplace_back(&m_listeners[0], UINT_MAX);
        isAwake = true;
    }

    void Step() {
        constexpr void (Machine::*steps[])() = {&Machine::Tick, &Machine::Deliver,
                                                &Machine::Operate, &Machine::Operate};
        unsigned int const first = wakeUps < 0 ? 0 : 1;
        (this->*steps[std::max(first, m_input.Below(4))])();
        AGREE(m_service.GetResolution() == m_engine.m_resolution);
        AGREE(m_service.GetTickCount() == static_cast<std::uint32_t>(nowMs));
        AGREE(m_dispatch.m_queue.Size() == queue.size());
        AGREE((m_dispatch.m_queueEvent.Wait(0) == WAIT_RESULT_OK) == isAwake);
        if (wakeUps < 0 && (timers.size() <= 32 || m_input.IsEmpty())) { // long lists take time
            CompareList(m_engine.m_activeList, lists[true]);
            CompareList(m_engine.m_inactiveList, lists[false]);
        }
    }

    // A tick may have any length here, so that any age is near. It may stop at each wake-up of the
    // dispatcher, and others take steps meanwhile.
    void Tick() {
        constexpr unsigned int lengthsMs[] = {10, 10, 10, 10, 0, 1, 1000, 1U << 30, UINT_MAX};
        m_engine.m_resolution = lengthsMs[m_input.Below(9)];
        unsigned int const choice = m_input.Below(256);
        g_ticks = static_cast<int>(choice % 6);
        m_mayStop = choice >= 250;
        try {
            m_engine.Run();
        } catch (EndOfRun const&) {
        }
        wakeUps = -1;
    }

    void BeginTick() {
        nowMs += m_engine.m_resolution;
        ++ticks;
        wakeUps = 0;
    }

    // Each of the first eight steps of a tick wakes the dispatcher, and so does the last.
    void OnWakeUp() {
        ++wakeUps;
        while (ExpireSome() && wakeUps > 8) {
        }
        isAwake = true;
        m_dispatch.m_csQueue.Leave();
        for (unsigned int steps = m_mayStop ? m_input.Below(4) : 0; steps > 0; --steps) {
            Step();
        }
        m_dispatch.m_csQueue.Enter();
    }

    // What the dispatcher does between two looks at its event, once or until it would sleep. In the
    // place of a listener's call there are steps, as a listener or another thread may take them.
    void Deliver() {
        using Parts = DTimerDispatch::Parts;
        int most = m_input.Below(8) == 7 ? INT_MAX : 1;
        for (; most > 0 && isAwake && !isDelivering; --most) {
            auto* const item = Parts::BeginDelivery(m_dispatch);
            AGREE((item == nullptr) == queue.empty());
            if (item != nullptr) {
                verrick::EndOfListenerCall const end(m_dispatch.m_parts->m_call);
                AGREE(Name(item->m_listener, item->m_id) == queue.front());
                queue.pop_front();
                isDelivering = true;
                for (unsigned int steps = m_input.Below(4); steps > 0; --steps) {
                    Step();
                }
                isDelivering = false;
            }
            isAwake = !queue.empty();
            AGREE(Parts::EndDelivery(m_dispatch, item) == isAwake);
        }
    }

    // An operation on one timer, or on a row that the pool can't take.
    void Operate() {
        constexpr int periodsMs[] = {0, -1, INT_MIN, INT_MAX, 1 << 30, 1000};
        constexpr long distances[] = {
            0, 5, -5, 2147484, -4294967, 4294968, LONG_MAX - kToday, LONG_MIN + kToday};
        unsigned int const operation = m_input.Below(8);
        unsigned int const who = m_input.Below(18);
        unsigned int const firstId = m_input.Below(6);
        unsigned int const row = m_input.Below(64); // 62: of listeners, 63: of ids
        unsigned int const choice = m_input.Below(66);
        unsigned int const flags = m_input.Below(8);
        int const periodMs = choice < 60 ? static_cast<int>(choice) : periodsMs[choice - 60];
        long const distance = distances[choice % 8];
        auto const distanceMs = static_cast<std::int64_t>(
            std::min(std::abs(static_cast<double>(distance)) * 1000, 4294967295.0));
        for (unsigned int i = 0; i < (row < 62 ? 1 : kRow); ++i) {
            auto* const listener =
                who == 17 ? nullptr : &m_listeners[(who + (row == 62 ? i : 0)) % kRow];
            unsigned int const id = firstId + (row == 63 ? i : 0);
            Name const name{listener, id};
            if (operation < 3) {
                bool const repeats = (flags & TIMER_REPEAT) != 0;
                bool const isMade = Create({name, periodMs, repeats, nowMs + periodMs},
                                           (flags & TIMER_INACTIVE) == 0);
                AGREE(m_service.CreateRelativeTimer(listener, id, periodMs, 0, flags) == isMade);
            } else if (operation == 3) {
                bool const isMade = Create({name, 0, false, nowMs + distanceMs}, false);
                AGREE(m_service.CreateAbsoluteTimer(listener, id, kToday + distance, 0) == isMade);
            } else if (operation == 4) {
                AGREE(m_service.Destroy(listener, id) == Destroy(name));
            } else if (operation == 5) {
                AGREE(m_service.Activate(listener, id) == Switch(name, true));
            } else {
                AGREE(m_service.Deactivate(listener, id) == Switch(name, false));
            }
        }
    }

    void CompareList(DList& list, std::map<Place, Timer*> const& expected) {
        AGREE(list.Size() == expected.size());
        AGREE(!m_engine.AlreadyPresentInList(list, nullptr, 0));
        DListItem* at = nullptr;
        for (auto const& [place, timer] : expected) {
            at = list.Next(at);
            auto const& item = static_cast<DTimeManagerImpl::TimeListItem&>(*at);
            AGREE(timer->name == Name(item.m_listener, item.m_id));
            AGREE(m_engine.RetrieveMatchingItem(list, item.m_listener, item.m_id) == at);
            AGREE(item.m_period == timer->periodMs && item.m_repeat == timer->repeats);
            AGREE(item.m_expiry == static_cast<std::uint32_t>(timer->dueMs));
        }
    }

    // The dispatcher's.
    struct Event : DEventImpl {
        explicit Event(Machine& machine) : DEventImpl(false, false), m_machine(machine) {}
        void Signal() override {
            DEventImpl::Signal();
            if (m_machine.wakeUps >= 0) { // not at the end
                m_machine.OnWakeUp();
            }
        }
        Machine& m_machine;
    };

    Input& m_input;
    bool m_mayStop = false;
    Listener m_listeners[kRow];
    DTimeManager m_service{7};
    DTimeManagerImpl& m_engine = static_cast<DTimeManagerImpl&>(*m_service.m_impl);
    DTimerDispatch& m_dispatch = *m_engine.m_dispatch;
};

} // namespace

// Fails once after the last tick. That is no tick.
bool DTimeManagerImplCallouts__WaitForTimerExpiration(void* machine) {
    if (g_ticks < 0) {
        throw EndOfRun();
    }
    if (g_ticks > 0) {
        static_cast<Machine*>(machine)->BeginTick();
    }
    return g_ticks-- > 0;
}

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Input input(data, size);
    for (Machine machine(input); !input.IsEmpty();) {
        machine.Step();
    }
    return 0;
}
