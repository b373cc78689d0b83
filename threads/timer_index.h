// The timers of the service: found by their names, and the armed ones in the order of their expiry.
#pragma once

#include <verrick/timers.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

// A timer. The lists show it as the base class. The rest belongs to the index.
struct DTimeManagerImpl::Timer : TimeListItem {
    // Sets the expiry. The base class shows its low 32 bits.
    void SetDue(std::int64_t ms) {
        m_due = ms;
        m_expiry = static_cast<std::uint32_t>(ms);
    }

    std::int64_t m_due = 0;    // on the service's clock, counted without a wrap
    std::uint64_t m_round = 0; // in which the timer was armed
    Timer* m_nextInBucket = nullptr;
    bool m_armed = false;
    bool m_hasExpired = false; // so the dispatcher may know of it
};

// Owns all timers. The caller holds m_csActive.
//
// The list of armed timers is sorted by expiry, the newest first among equals. Timers with the same
// expiry stand side by side in it. They are a group. A map leads from each expiry to the newest
// timer of its group. So the place of a timer is found among the groups alone.
//
// A round is the expiry of all timers that are due at a tick. It may take several steps. Other
// threads may arm and disarm timers between them.
//
// 1. There are as many nodes for the map as there have been timers at once. Those that the map
//    doesn't use are in m_spareNodes. So a tick allocates nothing.
// 2. BeginRound dissolves the groups of the timers that are due. These timers stay at the head of
//    the list, in their order, until the round has taken them.
// 3. A timer that is armed during a round comes after those of rule 2, also when it is due already.
//    The next round takes it. So a round has an end.
class DTimeManagerImpl::TimerIndex {
public:
    explicit TimerIndex(DList& armed);
    ~TimerIndex();
    TimerIndex(TimerIndex const&) = delete;
    TimerIndex& operator=(TimerIndex const&) = delete;

    // Makes a timer that isn't armed. Returns null if the name is taken. Throws std::bad_alloc and
    // changes nothing.
    Timer* Create(ITimerListener* listener, unsigned int id);

    // Returns null if there is no such timer.
    Timer* Find(ITimerListener* listener, unsigned int id) const;

    // Takes a timer that isn't armed out of the index.
    std::unique_ptr<Timer> Remove(Timer& timer);

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
    using Groups = std::map<std::int64_t, Timer*>;

    std::size_t BucketOf(ITimerListener* listener, unsigned int id) const;
    void GrowBuckets();
    void AddSpareNode();
    bool IsOfRound(Timer const& timer) const;
    Groups::iterator FindGroup(std::int64_t due);
    void JoinGroup(Timer& timer);
    void LeaveGroup(Timer& timer);
    void RemoveGroup(Groups::iterator group);

    DList& m_list;
    std::vector<Timer*> m_buckets; // by name; a power of two of them, at least as many as timers
    std::size_t m_count = 0;
    Groups m_groups;
    std::vector<Groups::node_type> m_spareNodes;
    std::size_t m_nodes = 0; // in m_groups and m_spareNodes together
    // The group that was joined last, or the end: timers of one period are armed one after another.
    Groups::iterator m_recent;
    std::uint64_t m_round = 0;
    std::int64_t m_roundMs = -1;
};
