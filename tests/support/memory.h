// A program linked with memory.cpp can have its allocations refused.
#pragma once

// While one of these lives, operator new throws std::bad_alloc on the thread that made it.
class MemoryShortage {
public:
    MemoryShortage();
    ~MemoryShortage();
    MemoryShortage(MemoryShortage const&) = delete;
    MemoryShortage& operator=(MemoryShortage const&) = delete;
};
