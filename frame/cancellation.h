// A scope that is no cancellation point.
#pragma once

#include <pthread.h>

namespace verrick {

// Puts off the cancellation of the calling thread to the end of the scope. The first cancellation
// point after it acts on a request that came meanwhile.
class CancellationPutOff {
public:
    CancellationPutOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_state); }
    ~CancellationPutOff() { pthread_setcancelstate(m_state, nullptr); }
    CancellationPutOff(CancellationPutOff const&) = delete;
    CancellationPutOff& operator=(CancellationPutOff const&) = delete;

private:
    int m_state = PTHREAD_CANCEL_ENABLE;
};

} // namespace verrick
