#include <verrick/flat_critical_section.h>

#include "frame/mutex.h"

#include <cstdio>

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    if (section != nullptr) {
        verrick::InitErrorCheckMutex(section->mutex, section->attr);
    }
}

void DeleteCriticalSection(CRITICAL_SECTION* section) {
    if (section != nullptr) {
        verrick::DestroyErrorCheckMutex(section->mutex, section->attr);
    }
}

void EnterCriticalSection(CRITICAL_SECTION* section) {
    if (section != nullptr) {
        pthread_mutex_lock(&section->mutex);
    }
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    if (section != nullptr && pthread_mutex_unlock(&section->mutex) != 0) {
        std::puts("pthread_mutex_unlock failed..");
    }
}

int TryEnterCriticalSection(CRITICAL_SECTION* section) {
    return section != nullptr && pthread_mutex_trylock(&section->mutex) == 0 ? 1 : 0;
}
