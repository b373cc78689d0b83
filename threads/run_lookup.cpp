#include "threads/run_lookup.h"

#include <verrick/thread.h>

#include <cstddef>
#include <cxxabi.h>

// Known here: an object with virtual functions begins with the address of its table. The table is
// an array of plain function pointers in the order of declaration, the destructor taking two of
// them. A pure function is the C++ runtime's __cxa_pure_virtual. That holds for the targets below.
// It doesn't where a table holds descriptors (IA-64), offsets (Fuchsia) or signed pointers.
#if !defined(__GXX_ABI_VERSION) || defined(__Fuchsia__) || defined(__APPLE__) ||                   \
    !(defined(__x86_64__) || defined(__i386__) || defined(__powerpc__) || defined(__aarch64__) ||  \
      defined(__arm__) || defined(__riscv) || defined(__s390x__) || defined(__mips__) ||           \
      defined(__loongarch__))
#error "Say here how this target's C++ ABI lays out a table of virtual functions."
#endif

namespace verrick {
namespace {

// Run's place in IThread, counted from 0: two for the destructor, then Start, SetPriority,
// GetPriority, SetName, GetName, GetThreadId and WaitForThreadDeath.
constexpr std::size_t kRunSlot = 9;

// Reads the address of the table, once. A destructor of an application's class may write it at the
// same moment, and no lock of the library can keep it from that. See TryEnterRunLocked for why each
// value that can be read here is a right one. Thread sanitizer isn't asked: it sees a race in the
// read, and it can't see that argument.
__attribute__((noinline, no_sanitize("thread"))) RunFunction const*
ReadTable(DThread const& thread) {
    return *reinterpret_cast<RunFunction const* const volatile*>(&thread);
}

} // namespace

RunFunction FindRun(DThread const& thread) {
    RunFunction const run = ReadTable(thread)[kRunSlot];
    auto const pure = reinterpret_cast<RunFunction>(&abi::__cxa_pure_virtual);
    return run != pure ? run : nullptr;
}

} // namespace verrick
