#include <verrick/critical_section.h>

#include "frame/mutex.h"

DCriticalSection::DCriticalSection() {
    verrick::InitErrorCheckMutex(m_mutex, m_attr);
}

DCriticalSection::~DCriticalSection() {
    verrick::DestroyErrorCheckMutex(m_mutex, m_attr);
}

void DCriticalSection::Enter() {
    pthread_mutex_lock(&m_mutex);
}

void DCriticalSection::Leave() {
    pthread_mutex_unlock(&m_mutex);
}

DMonitor::DMonitor(DCriticalSection& section) : m_section(section) {
    m_section.Enter();
}

DMonitor::~DMonitor() {
    m_section.Leave();
}
