#include "threads/signals.h"

#include <pthread.h>

namespace verrick {

SignalsBlocked::SignalsBlocked() : m_previous() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_previous);
}

SignalsBlocked::~SignalsBlocked() {
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
}

} // namespace verrick
