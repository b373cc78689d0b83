// The timers of the service: found by their names, and the armed ones in the order of their expiry.
#pragma once

#include <verrick/timers.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <unordered_map>

// A timer. It is listed as the base class; the rest is the index's and the clock's.
struct DTimeManagerImpl::Timer : TimeListItem {
    // Armed timers with the same expiry, by the newest of them.
    using Groups = std::map<std::int64_t, Timer*>;

    // Sets the expiry. The list shows its low 32 bits.
    void SetDue(std::int64_t ms) {
        m_due = ms;
        m_expiry = static_cast<std::uint32_t>(ms);
    }

    std::int64_t m_due = 0; // on the service's clock, counted without a wrap
    std::uint64_t m_round = 0;
    Groups::node_type m_spare; // see TimerIndex
    bool m_armed = false;
};

// Owns all timers. The caller holds m_csActive.
//
// The list of armed timers is sorted by expiry, the newest first among equals. Timers with the same
// expiry stand side by side in it: they are a group. The index maps each expiry to the newest timer
// of its group, so the place of a timer is found among the groups alone.
//
// A round is the expiry of all timers that are due at a tick. It may take several steps, and other
// threads may arm and disarm timers between them.
//
// 1. A timer is made with one node of the map. So a tick allocates nothing.
// 2. In a group of n timers the newest has given its node to the map. The others keep theirs in
//    m_spare. A timer in no group has its own.
// 3. BeginRound dissolves the groups of the timers that are due. These timers stay at the head of
//    the list, in their order, until the round has taken them.
// 4. A timer that is armed during a round comes after the timers of 3, also when it is due already.
//    The next round takes it. So a round has an end.
class DTimeManagerImpl::TimerIndex {
public:
    explicit TimerIndex(DList& armed) : m_list(armed), m_recent(m_groups.end()) {}
    TimerIndex(TimerIndex const&) = delete;
    TimerIndex& operator=(TimerIndex const&) = delete;

    struct Name {
        ITimerListener* m_listener;
        unsigned int m_id;

        bool operator==(Name const&) const = default;
    };
    struct Hash {
        std::size_t operator()(Name const& name) const noexcept {
            return std::hash<ITimerListener*>()(name.m_listener) * 31 + name.m_id;
        }
    };
    using Timers = std::unordered_map<Name, Timer, Hash>;

    // Makes a timer that isn't armed. Returns null if the name is taken. Throws std::bad_alloc and
    // changes nothing.
    Timer* Create(ITimerListener* listener, unsigned int id);

    // Returns null if there is no such timer.
    Timer* Find(ITimerListener* listener, unsigned int id);

    // Takes a timer that isn't armed out of the index. It is freed with the result.
    Timers::node_type Remove(Timer& timer);

    // Lists a timer at the place of its expiry.
    void Arm(Timer& timer);

    // Takes a timer off the list.
    void Disarm(Timer& timer);

    // Begins the round of the tick at nowMs.
    void BeginRound(std::int64_t nowMs);

    // Returns the first timer of the round, or null at the end of the round. It is still armed.
    Timer* NextOfRound();

    // Disarms and frees all timers.
    void Clear();

private:
    using Groups = Timer::Groups;

    bool IsOfRound(Timer const& timer) const;
    void JoinGroup(Timer& timer);
    void LeaveGroup(Timer& timer);
    Groups::node_type RemoveGroup(Groups::iterator group);

    DList& m_list;
    Timers m_timers;
    Groups m_groups;
    // The group that was joined last, or the end: timers of one period are armed one after another.
    Groups::iterator m_recent;
    std::uint64_t m_round = 0;
    std::int64_t m_roundMs = -1;
};
