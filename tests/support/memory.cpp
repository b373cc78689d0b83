#include "tests/support/memory.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kUnlimited = -1;
thread_local int t_granted = kUnlimited;

bool IsGranted() {
    if (t_granted == kUnlimited) {
        return true;
    }
    return t_granted > 0 && t_granted-- > 0;
}

} // namespace

MemoryShortage::MemoryShortage(int granted) {
    t_granted = granted;
}

MemoryShortage::~MemoryShortage() {
    t_granted = kUnlimited;
}

void* operator new(std::size_t size) {
    void* const memory = IsGranted() ? std::malloc(size) : nullptr;
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
