// Places at which the tests step in between the library and the C library.
#pragma once

#include <atomic>
#include <functional>

class Gate;

// Gates at which a thread of the library's is held up once: before it has touched its object, and
// inside it, on the way to being parked.
std::atomic<Gate*>& GateBeforeObject();
std::atomic<Gate*>& GateInsideObject();

// While set, the system refuses to create threads.
std::atomic<bool>& RefuseCreation();

// That many of the next waits without a time-out end at once, as if woken.
std::atomic<int>& SpuriousWakeUps();

// Called once, before the calling thread's next broadcast of a condition variable; behind it the
// thread pauses, so that those whom it woke queue for the mutex that it holds.
std::function<void()>& BeforeBroadcast();
