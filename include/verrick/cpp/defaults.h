/**
 * @file
 * Calls with many arguments, with the usual values as defaults. Opt in, and nothing here is
 * exported.
 */
#ifndef VERRICK_CPP_DEFAULTS_H
#define VERRICK_CPP_DEFAULTS_H

#include <verrick/tasks.h>
#include <verrick/thread.h>
#include <verrick/timers.h>

namespace verrick {

/**
 * As ITimeManager::CreateRelativeTimer, without the argument that it ignores. Without flags the
 * timer is armed at once and fires once, periodMs milliseconds from now.
 */
inline bool CreateTimer(ITimeManager& manager, ITimerListener& listener, unsigned int id,
                        int periodMs, unsigned int timerFlags = 0) {
    return manager.CreateRelativeTimer(&listener, id, periodMs, 0, timerFlags);
}

/**
 * As ThreadSpawn, without the arguments that it ignores. The thread gets the default stack and the
 * scheduling of its creator. Returns true if the thread was created.
 */
inline bool SpawnTask(void (*entry)(void*), void* argument = nullptr, int priority = 0,
                      int stackSize = 0) {
    return ThreadSpawn(entry, argument, priority, 0, 0, stackSize) == 1;
}

/** DThread for classes that give a name at most. All contracts are those of DThread. */
class Thread : public DThread {
public:
    /** As DThread. The thread keeps the scheduling of its creator, and is made at once. */
    explicit Thread(char const* name = nullptr, int priority = 0, int stackSize = 0, int flags = 0)
        : DThread(name, priority, stackSize, flags) {}
};

} // namespace verrick

#endif
