#include <verrick/tasks.h>

#include "threads/scheduling.h"
#include "threads/signals.h"

#include <cstdint>
#include <new>
#include <pthread.h>

namespace {

using Entry = void (*)(void*);

// The start values on their way to the new thread: words of the target, of which two stay 0.
using Word = std::uintptr_t;
enum : std::size_t { kEntry, kArgument, kPriority, kBlockWords = 5 };
static_assert(sizeof(Entry) == sizeof(Word));

// A thread may detach itself at any time. Another one could do so only while this one can't end.
void* DetachAndMain(void* block) {
    pthread_detach(pthread_self());
    return ThreadMain(block);
}

} // namespace

int ThreadSpawn(Entry entry, void* argument, int priority, long /*reserved1*/, long /*reserved2*/,
                int stackSize) {
    if (entry == nullptr) {
        return 0;
    }
    auto* const block = new (std::nothrow) Word[kBlockWords]{};
    if (block == nullptr) {
        return 0;
    }
    pthread_attr_t attributes{}; // the defaults, if the next call fails
    pthread_attr_init(&attributes);
    bool const beginsDetached =
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED) == 0;
    if (stackSize > 0) {
        pthread_attr_setstacksize(&attributes, static_cast<std::size_t>(stackSize));
    }
    pthread_attr_setschedpolicy(&attributes, SCHED_RR);
    pthread_attr_setscope(&attributes, PTHREAD_SCOPE_SYSTEM);
    verrick::ApplyMaskOfNewThreads(&attributes);

    block[kEntry] = reinterpret_cast<Word>(entry);
    block[kArgument] = reinterpret_cast<Word>(argument);
    block[kPriority] = static_cast<Word>(priority);
    pthread_t thread{};
    auto* const main = beginsDetached ? &ThreadMain : &DetachAndMain;
    bool const isCreated = pthread_create(&thread, &attributes, main, block) == 0;
    if (!isCreated) {
        delete[] block; // a created thread frees it itself
    }
    pthread_attr_destroy(&attributes);
    return isCreated ? 1 : 0;
}

void* ThreadMain(void* block) {
    auto* const words = static_cast<Word*>(block);
    auto const entry = reinterpret_cast<Entry>(words[kEntry]);
    auto* const argument = reinterpret_cast<void*>(words[kArgument]);
    int const priority = static_cast<int>(words[kPriority]);
    delete[] words;
    verrick::ApplyRealTimePriority(priority);
    entry(argument);
    return nullptr; // ends the thread as pthread_exit(nullptr) does
}
