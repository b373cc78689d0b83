#include "support/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> g_untilFailure{0};
std::atomic<bool> g_failed{false};
} // namespace

void FailAllocation(int n) {
    g_failed = false;
    g_untilFailure = n;
}

bool AllocationFailed() {
    return g_failed;
}

void* operator new(std::size_t size) {
    if (g_untilFailure > 0 && --g_untilFailure == 0) {
        g_failed = true;
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(size > 0 ? size : 1);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
