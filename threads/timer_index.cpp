#include "threads/timer_index.h"

#include <utility>

namespace {

constexpr std::size_t kFirstBuckets = 64;

} // namespace

DTimeManagerImpl::TimerIndex::TimerIndex(DList& armed)
    : m_list(armed), m_buckets(kFirstBuckets), m_recent(m_groups.end()) {}

DTimeManagerImpl::TimerIndex::~TimerIndex() {
    Clear();
}

// All that can fail comes first.
DTimeManagerImpl::Timer* DTimeManagerImpl::TimerIndex::Create(ITimerListener* listener,
                                                              unsigned int id) {
    if (Find(listener, id) != nullptr) {
        return nullptr;
    }
    auto timer = std::make_unique<Timer>();
    if (m_nodes == m_count) {
        AddSpareNode();
    }
    if (m_buckets.size() == m_count) {
        GrowBuckets();
    }
    timer->m_listener = listener;
    timer->m_id = id;
    timer->m_nextInBucket = std::exchange(m_buckets[BucketOf(listener, id)], timer.get());
    ++m_count;
    return timer.release();
}

DTimeManagerImpl::Timer* DTimeManagerImpl::TimerIndex::Find(ITimerListener* listener,
                                                            unsigned int id) const {
    Timer* timer = m_buckets[BucketOf(listener, id)];
    while (timer != nullptr && (timer->m_listener != listener || timer->m_id != id)) {
        timer = timer->m_nextInBucket;
    }
    return timer;
}

std::unique_ptr<DTimeManagerImpl::Timer> DTimeManagerImpl::TimerIndex::Remove(Timer& timer) {
    Timer** link = &m_buckets[BucketOf(timer.m_listener, timer.m_id)];
    while (*link != &timer) {
        link = &(*link)->m_nextInBucket;
    }
    *link = timer.m_nextInBucket;
    --m_count;
    return std::unique_ptr<Timer>(&timer);
}

// Multiplies by an odd number with well-mixed bits. The high half of the product depends on all of
// the name.
std::size_t DTimeManagerImpl::TimerIndex::BucketOf(ITimerListener* listener,
                                                   unsigned int id) const {
    constexpr std::uint64_t mixer = 0x9E3779B97F4A7C15;
    std::uint64_t const name = (reinterpret_cast<std::uintptr_t>(listener) * mixer) ^ id;
    return static_cast<std::size_t>((name * mixer) >> 32) & (m_buckets.size() - 1);
}

void DTimeManagerImpl::TimerIndex::GrowBuckets() {
    std::vector<Timer*> const old = std::exchange(m_buckets, std::vector<Timer*>(2 * m_count));
    for (Timer* timer : old) {
        while (timer != nullptr) {
            Timer*& first = m_buckets[BucketOf(timer->m_listener, timer->m_id)];
            Timer* const next = std::exchange(timer->m_nextInBucket, first);
            first = timer;
            timer = next;
        }
    }
}

void DTimeManagerImpl::TimerIndex::AddSpareNode() {
    if (m_spareNodes.capacity() == m_nodes) {
        m_spareNodes.reserve(2 * m_nodes + 1);
    }
    Groups one;
    one.emplace(0, nullptr);
    m_spareNodes.push_back(one.extract(one.begin()));
    ++m_nodes;
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
        RemoveGroup(m_groups.begin());
    }
}

DTimeManagerImpl::Timer* DTimeManagerImpl::TimerIndex::NextOfRound() {
    auto* const first = static_cast<Timer*>(m_list.Next(nullptr));
    return first != nullptr && IsOfRound(*first) ? first : nullptr;
}

void DTimeManagerImpl::TimerIndex::Clear() {
    while (m_list.RemoveHead() != nullptr) {
    }
    while (!m_groups.empty()) {
        RemoveGroup(m_groups.begin());
    }
    for (Timer*& first : m_buckets) {
        while (first != nullptr) {
            std::unique_ptr<Timer> const freed(std::exchange(first, first->m_nextInBucket));
        }
    }
    m_count = 0;
}

// It was armed before the round and is due by it.
bool DTimeManagerImpl::TimerIndex::IsOfRound(Timer const& timer) const {
    return timer.m_round != m_round && timer.m_due <= m_roundMs;
}

// Returns the group with this expiry, or else the next later one.
DTimeManagerImpl::TimerIndex::Groups::iterator
DTimeManagerImpl::TimerIndex::FindGroup(std::int64_t due) {
    return m_recent != m_groups.end() && m_recent->first == due ? m_recent
                                                                : m_groups.lower_bound(due);
}

void DTimeManagerImpl::TimerIndex::JoinGroup(Timer& timer) {
    auto const found = FindGroup(timer.m_due);
    Timer* const later = found != m_groups.end() ? found->second : nullptr;
    m_list.Insert(&timer, m_list.Prev(later)); // at the tail if there is none
    if (later != nullptr && later->m_due == timer.m_due) {
        found->second = &timer;
        m_recent = found;
    } else {
        Groups::node_type& node = m_spareNodes.back();
        node.key() = timer.m_due;
        node.mapped() = &timer;
        m_recent = m_groups.insert(found, std::move(node));
        m_spareNodes.pop_back();
    }
}

// If the newest leaves, the next one takes its place in the map.
void DTimeManagerImpl::TimerIndex::LeaveGroup(Timer& timer) {
    auto const group = FindGroup(timer.m_due);
    if (group->second != &timer) {
        return;
    }
    auto* const next = static_cast<Timer*>(m_list.Next(&timer));
    if (next != nullptr && next->m_due == timer.m_due) {
        group->second = next;
    } else {
        RemoveGroup(group);
    }
}

void DTimeManagerImpl::TimerIndex::RemoveGroup(Groups::iterator group) {
    if (m_recent == group) {
        m_recent = m_groups.end();
    }
    m_spareNodes.push_back(m_groups.extract(group));
}
