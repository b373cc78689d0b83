#include "tests/support/memory.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool t_short = false;

} // namespace

MemoryShortage::MemoryShortage() {
    t_short = true;
}

MemoryShortage::~MemoryShortage() {
    t_short = false;
}

void* operator new(std::size_t size) {
    void* const memory = t_short ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
