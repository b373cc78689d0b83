// What a wait of the object layer returns.
#pragma once

#include <verrick/frame.h>

#include <cerrno>

namespace verrick {

// The result of a wait that ended with this error of the system, or with 0.
inline wait_result_t WaitResultOf(int error) {
    switch (error) {
    case 0:
        return WAIT_RESULT_OK;
    case ETIMEDOUT:
        return WAIT_RESULT_TIMEOUT;
    default:
        return WAIT_RESULT_FAILED;
    }
}

} // namespace verrick
