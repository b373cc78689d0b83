#include "threads/timer_index.h"

#include <utility>

DTimeManagerImpl::Timer* DTimeManagerImpl::TimerIndex::Create(ITimerListener* listener,
                                                              unsigned int id) {
    Groups oneNode;
    oneNode.emplace(0, nullptr);
    auto const [place, isNew] = m_timers.try_emplace(Name{listener, id});
    if (!isNew) {
        return nullptr;
    }
    Timer& timer = place->second;
    timer.m_listener = listener;
    timer.m_id = id;
    timer.m_spare = oneNode.extract(oneNode.begin());
    return &timer;
}

DTimeManagerImpl::Timer* DTimeManagerImpl::TimerIndex::Find(ITimerListener* listener,
                                                            unsigned int id) {
    auto const found = m_timers.find(Name{listener, id});
    return found != m_timers.end() ? &found->second : nullptr;
}

DTimeManagerImpl::TimerIndex::Timers::node_type
DTimeManagerImpl::TimerIndex::Remove(Timer& timer) {
    return m_timers.extract(Name{timer.m_listener, timer.m_id});
}

void DTimeManagerImpl::TimerIndex::Arm(Timer& timer) {
    timer.m_round = m_round;
    timer.m_armed = true;
    JoinGroup(timer);
}

void DTimeManagerImpl::TimerIndex::Disarm(Timer& timer) {
    if (!IsOfRound(timer)) {
        LeaveGroup(timer);
    }
    m_list.Remove(&timer);
    timer.m_armed = false;
}

void DTimeManagerImpl::TimerIndex::BeginRound(std::int64_t nowMs) {
    ++m_round;
    m_roundMs = nowMs;
    while (!m_groups.empty() && m_groups.begin()->first <= nowMs) {
        Timer& newest = *m_groups.begin()->second;
        newest.m_spare = RemoveGroup(m_groups.begin());
    }
}

DTimeManagerImpl::Timer* DTimeManagerImpl::TimerIndex::NextOfRound() {
    auto* const first = static_cast<Timer*>(m_list.Next(nullptr));
    return first != nullptr && IsOfRound(*first) ? first : nullptr;
}

void DTimeManagerImpl::TimerIndex::Clear() {
    while (m_list.RemoveHead() != nullptr) {
    }
    m_groups.clear();
    m_recent = m_groups.end();
    m_timers.clear();
}

// What is left of an earlier round, and due by this one.
bool DTimeManagerImpl::TimerIndex::IsOfRound(Timer const& timer) const {
    return timer.m_round != m_round && timer.m_due <= m_roundMs;
}

void DTimeManagerImpl::TimerIndex::JoinGroup(Timer& timer) {
    if (m_recent == m_groups.end() || m_recent->first != timer.m_due) {
        m_recent = m_groups.lower_bound(timer.m_due);
    }
    if (m_recent != m_groups.end() && m_recent->first == timer.m_due) {
        Timer& older = *std::exchange(m_recent->second, &timer);
        older.m_spare = std::move(timer.m_spare);
        m_list.Insert(&timer, m_list.Prev(&older));
    } else {
        Timer* const later = m_recent != m_groups.end() ? m_recent->second : nullptr;
        m_list.Insert(&timer, m_list.Prev(later));
        timer.m_spare.key() = timer.m_due;
        timer.m_spare.mapped() = &timer;
        m_recent = m_groups.insert(m_recent, std::move(timer.m_spare));
    }
}

// If the newest leaves, the next one takes its place in the map.
void DTimeManagerImpl::TimerIndex::LeaveGroup(Timer& timer) {
    if (!timer.m_spare.empty()) {
        return;
    }
    auto const group = m_groups.find(timer.m_due);
    auto* const next = static_cast<Timer*>(m_list.Next(&timer));
    if (next != nullptr && next->m_due == timer.m_due) {
        group->second = next;
        timer.m_spare = std::move(next->m_spare);
    } else {
        timer.m_spare = RemoveGroup(group);
    }
}

DTimeManagerImpl::Timer::Groups::node_type
DTimeManagerImpl::TimerIndex::RemoveGroup(Groups::iterator group) {
    if (m_recent == group) {
        m_recent = m_groups.end();
    }
    return m_groups.extract(group);
}
