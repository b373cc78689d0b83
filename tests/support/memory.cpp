#include "tests/support/memory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

void* operator new(std::size_t size) {
    void* const memory = MemoryShortage::left != 0 ? std::malloc(size) : nullptr;
    if (memory == nullptr) {
        errno = ENOMEM; // as malloc leaves it
        throw std::bad_alloc();
    }
    MemoryShortage::left -= MemoryShortage::left > 0 ? 1 : 0;
    std::memset(memory, 'x', size); // a missing initial value shows
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

// The standard library's other forms come to the two above. A sanitizer's own don't, so they are
// replaced too.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    try {
        return operator new(size);
    } catch (std::bad_alloc const&) {
        return nullptr;
    }
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, std::nothrow_t const& tag) noexcept {
    return operator new(size, tag);
}

void operator delete[](void* memory) noexcept {
    operator delete(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    operator delete(memory);
}
