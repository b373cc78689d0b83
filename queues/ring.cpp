#include <verrick/rings.h>

#include "handles/section.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace {

// Holds a ring for a scope.
class RingLock {
public:
    explicit RingLock(RingBuffer& ring) : m_section(ring.m_lock) {
        verrick::EnterSection(m_section);
    }
    ~RingLock() { verrick::LeaveSection(m_section); }
    RingLock(RingLock const&) = delete;
    RingLock& operator=(RingLock const&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

// Walks an index through the ring's bytes: copy(at, done, piece) for the piece up to the end of the
// store, and for what is left from its start on.
template<typename Copy>
void Transfer(RingBuffer const& ring, int& index, int amount, Copy copy) {
    int const first = std::min(amount, ring.m_size - index);
    if (first > 0) {
        copy(ring.m_store + index, 0, static_cast<std::size_t>(first));
        index += first;
    }
    if (index == ring.m_size) {
        index = 0;
    }
    if (first < amount) {
        int const rest = amount - first;
        copy(ring.m_store + index, first, static_cast<std::size_t>(rest));
        index += rest;
    }
}

// Gives what work gives under the lock of the ring, or none for a null ring.
template<typename Work>
int UnderLock(RingBuffer* ring, int none, Work work) {
    if (ring == nullptr) {
        return none;
    }
    RingLock lock(*ring);
    return work(*ring);
}

constexpr int kNoRing = -1;

struct DeleteRing {
    void operator()(RingBuffer* ring) const { RingDelete(ring); }
};

} // namespace

RingBuffer* RingCreate(int size) try {
    if (size < 0) {
        return nullptr;
    }
    std::unique_ptr<RingBuffer, DeleteRing> ring(new RingBuffer());
    InitializeCriticalSection(&ring->m_lock);
    ring->m_size = size;
    ring->m_store = new (std::nothrow) char[static_cast<std::size_t>(size)];
    return ring->m_store != nullptr ? ring.release() : nullptr;
} catch (std::bad_alloc const&) {
    return nullptr;
}

void RingDelete(RingBuffer* ring) {
    if (ring == nullptr) {
        return;
    }
    delete[] ring->m_store;
    DeleteCriticalSection(&ring->m_lock);
    delete ring;
}

void RingFlush(RingBuffer* ring) {
    if (ring == nullptr) {
        return;
    }
    RingLock lock(*ring);
    ring->m_getIndex = 0;
    ring->m_putIndex = 0;
    ring->m_count = 0;
}

int RingBufGet(RingBuffer* ring, char* buffer, int nBytes) {
    return UnderLock(ring, kNoRing, [buffer, nBytes](RingBuffer& held) {
        int const amount = std::clamp(nBytes, 0, held.m_count);
        Transfer(held, held.m_getIndex, amount, [buffer](char const* at, int done, std::size_t n) {
            std::memcpy(buffer + done, at, n);
        });
        held.m_count -= amount;
        return amount;
    });
}

int RingBufPut(RingBuffer* ring, char const* buffer, int nBytes) {
    return UnderLock(ring, kNoRing, [buffer, nBytes](RingBuffer& held) {
        int const amount = std::clamp(nBytes, 0, held.m_size - held.m_count);
        Transfer(held, held.m_putIndex, amount, [buffer](char* at, int done, std::size_t n) {
            std::memcpy(at, buffer + done, n);
        });
        held.m_count += amount;
        return amount;
    });
}

int RingFreeBytes(RingBuffer* ring) {
    return UnderLock(ring, kNoRing,
                     [](RingBuffer const& held) { return held.m_size - held.m_count; });
}

int RingNBytes(RingBuffer* ring) {
    return UnderLock(ring, kNoRing, [](RingBuffer const& held) { return held.m_count; });
}

int RingIsEmpty(RingBuffer* ring) {
    return UnderLock(ring, 0, [](RingBuffer const& held) { return held.m_count == 0 ? 1 : 0; });
}

int RingIsFull(RingBuffer* ring) {
    return UnderLock(ring, 0,
                     [](RingBuffer const& held) { return held.m_count == held.m_size ? 1 : 0; });
}
