#include "tests/support/memory.h"

#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
    void* const memory = MemoryShortage::left != 0 ? std::malloc(size) : nullptr;
    if (memory == nullptr) {
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

// The forms for arrays as well: a sanitizer's own don't come here.
void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    try {
        return operator new(size);
    } catch (std::bad_alloc const&) {
        return nullptr;
    }
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
