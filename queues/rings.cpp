#include <verrick/rings.h>

#include "frame/errno_kept.h"
#include "handles/section.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <sys/single_threaded.h>

namespace {

constexpr int kNoRing = -1;

// Holds the ring's lock for a scope. While the process has one thread there is nobody to keep out.
// That can't change inside the scope, because the calls start no thread.
class RingLock {
public:
    explicit RingLock(RingBuffer& ring)
        : m_section(__libc_single_threaded != 0 ? nullptr : &ring.m_lock) {
        if (m_section != nullptr) {
            verrick::EnterSection(*m_section);
        }
    }
    ~RingLock() {
        if (m_section != nullptr) {
            verrick::LeaveSection(*m_section);
        }
    }
    RingLock(RingLock const&) = delete;
    RingLock& operator=(RingLock const&) = delete;

private:
    CRITICAL_SECTION* m_section;
};

// Rings often carry single bytes. Calling memcpy would cost more than such a copy.
void Copy(char* to, char const* from, int nBytes) {
    if (nBytes == 1) {
        *to = *from;
    } else if (nBytes > 0) {
        std::memcpy(to, from, static_cast<std::size_t>(nBytes));
    }
}

// The index that lies amount bytes after index.
int Advance(RingBuffer const& ring, int index, int amount) {
    int const toEnd = ring.m_size - index;
    return amount < toEnd ? index + amount : amount - toEnd;
}

// Returns what work returns under the lock of the ring, or missing for a null ring.
template<typename Work>
int UnderLock(RingBuffer* ring, int missing, Work work) {
    if (ring == nullptr) {
        return missing;
    }
    RingLock const lock(*ring);
    return work(*ring);
}

struct DeleteRing {
    void operator()(RingBuffer* ring) const { RingDelete(ring); }
};

} // namespace

RingBuffer* RingCreate(int size) try {
    verrick::ErrnoKept const kept;
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
    UnderLock(ring, kNoRing, [](RingBuffer& held) {
        held.m_getIndex = 0;
        held.m_putIndex = 0;
        held.m_count = 0;
        return 0;
    });
}

// Both transfers copy two pieces at most: up to the end of the store, and on from its start.
int RingBufGet(RingBuffer* ring, char* buffer, int nBytes) {
    return UnderLock(ring, kNoRing, [buffer, nBytes](RingBuffer& held) {
        int const amount = std::clamp(nBytes, 0, held.m_count);
        int const first = std::min(amount, held.m_size - held.m_getIndex);
        Copy(buffer, held.m_store + held.m_getIndex, first);
        if (first < amount) {
            Copy(buffer + first, held.m_store, amount - first);
        }
        held.m_getIndex = Advance(held, held.m_getIndex, amount);
        held.m_count -= amount;
        return amount;
    });
}

int RingBufPut(RingBuffer* ring, char const* buffer, int nBytes) {
    return UnderLock(ring, kNoRing, [buffer, nBytes](RingBuffer& held) {
        int const amount = std::clamp(nBytes, 0, held.m_size - held.m_count);
        int const first = std::min(amount, held.m_size - held.m_putIndex);
        Copy(held.m_store + held.m_putIndex, buffer, first);
        if (first < amount) {
            Copy(held.m_store, buffer + first, amount - first);
        }
        held.m_putIndex = Advance(held, held.m_putIndex, amount);
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
