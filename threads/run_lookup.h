// The one place that looks into an object's table of virtual functions.
#pragma once

class DThread;

namespace verrick {

using RunFunction = void (*)(DThread*);

// Returns the most derived Run that the object has at this moment, to be called with the object. It
// is what a virtual call would reach. Returns null while that Run is pure, where such a call would
// abort the process: the object is then still being built, or is being destroyed already.
//
// The object's memory must exist. A constructor or destructor may be at work on it on another
// thread.
RunFunction FindRun(DThread const& thread);

} // namespace verrick
