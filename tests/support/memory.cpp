#include "tests/support/memory.h"

#include <cerrno>
#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
    void* const memory = MemoryShortage::left != 0 ? std::malloc(size) : nullptr;
    if (memory == nullptr) {
        errno = ENOMEM; // as malloc leaves it
        throw std::bad_alloc();
    }
    MemoryShortage::left -= MemoryShortage::left > 0 ? 1 : 0;
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
