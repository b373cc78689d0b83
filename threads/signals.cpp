#include "threads/signals.h"

#include <utility>

namespace verrick {
namespace {

thread_local sigset_t const* t_maskOfNewThreads = nullptr;

} // namespace

sigset_t MaskOfNewThreads() {
    sigset_t mask{};
    if (t_maskOfNewThreads != nullptr) {
        mask = *t_maskOfNewThreads;
    } else {
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    }
    return mask;
}

void SetMaskOfNewThreads(sigset_t const* mask) {
    t_maskOfNewThreads = mask;
}

// The system itself hands on the mask of the caller.
void ApplyMaskOfNewThreads(pthread_attr_t* attributes) {
    if (t_maskOfNewThreads != nullptr) {
        pthread_attr_setsigmask_np(attributes, t_maskOfNewThreads);
    }
}

SignalsBlocked::SignalsBlocked()
    : m_previous(), m_previousOfNewThreads(std::exchange(t_maskOfNewThreads, nullptr)) {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &m_previous);
}

SignalsBlocked::~SignalsBlocked() {
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
    t_maskOfNewThreads = m_previousOfNewThreads;
}

} // namespace verrick
