// A look at an event that changes nothing.
#pragma once

#include <verrick/handles.h>

namespace verrick {

// For a handle that is known to be an event's.
struct EventLook {
    // Whether the event is signalled at this moment. Orders no memory.
    static bool IsSet(HANDLE event) {
        return static_cast<XEvent*>(static_cast<XHandleObject*>(event))->m_signaled != 0;
    }
};

} // namespace verrick
