// A program linked with memory.cpp can have its allocations refused.
#pragma once

// While one of these lives, operator new throws std::bad_alloc on the thread that made it, once the
// granted number of allocations is used up.
class MemoryShortage {
public:
    explicit MemoryShortage(int granted = 0);
    ~MemoryShortage();
    MemoryShortage(MemoryShortage const&) = delete;
    MemoryShortage& operator=(MemoryShortage const&) = delete;
};
