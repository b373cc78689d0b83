#include <verrick/flat_critical_section.h>

#include "frame/mutex.h"
#include "handles/section.h"

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
        verrick::EnterSection(*section);
    }
}

void LeaveCriticalSection(CRITICAL_SECTION* section) {
    if (section != nullptr) {
        verrick::LeaveSection(*section);
    }
}

int TryEnterCriticalSection(CRITICAL_SECTION* section) {
    return section != nullptr && pthread_mutex_trylock(&section->mutex) == 0 ? 1 : 0;
}
