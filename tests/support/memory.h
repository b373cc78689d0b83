// A program linked with memory.cpp can have its allocations refused.
#pragma once

// While one of these lives, operator new throws std::bad_alloc on the thread that made it, once the
// granted number of allocations is used up.
struct MemoryShortage {
    explicit MemoryShortage(int granted = 0) { left = granted; }
    ~MemoryShortage() { left = -1; }
    MemoryShortage(MemoryShortage const&) = delete;
    MemoryShortage& operator=(MemoryShortage const&) = delete;

    static inline thread_local int left = -1; // negative: no shortage
};

// Returns what work returns while only the granted number of allocations is there.
template<typename Work>
auto WithMemoryFor(int granted, Work work) {
    MemoryShortage const shortage(granted);
    return work();
}
