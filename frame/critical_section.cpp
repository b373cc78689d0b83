#include <verrick/critical_section.h>

#include "frame/mutex.h"

DCriticalSection::DCriticalSection() {
    verrick::InitErrorCheckMutex(m_mutex, m_attr);
}

DCriticalSection::~DCriticalSection() {
    verrick::DestroyErrorCheckMutex(m_mutex, m_attr);
}

// POSIX locks carry no marks, so Clang can't follow the bodies below.
void DCriticalSection::Enter() VERRICK_UNCHECKED_LOCKING {
    pthread_mutex_lock(&m_mutex);
}

void DCriticalSection::Leave() VERRICK_UNCHECKED_LOCKING {
    pthread_mutex_unlock(&m_mutex);
}

DMonitor::DMonitor(DCriticalSection& section) VERRICK_UNCHECKED_LOCKING : m_section(section) {
    m_section.Enter();
}

DMonitor::~DMonitor() VERRICK_UNCHECKED_LOCKING {
    m_section.Leave();
}
