// The one type of mutex that the library makes.
#pragma once

#include <pthread.h>

namespace verrick {

// Sets up attribute and mutex, error-checking and thus not recursive: a second lock by the holder
// fails with EDEADLK instead of blocking, an unlock by anybody else with EPERM. The attribute stays
// with the mutex until DestroyErrorCheckMutex. Stops at the first call that fails, and says
// nothing. Then the mutex is a plain one, which still locks.
inline void InitErrorCheckMutex(pthread_mutex_t& mutex, pthread_mutexattr_t& attribute) {
    mutex = PTHREAD_MUTEX_INITIALIZER;
    if (pthread_mutexattr_init(&attribute) == 0 &&
        pthread_mutexattr_settype(&attribute, PTHREAD_MUTEX_ERRORCHECK) == 0) {
        pthread_mutex_init(&mutex, &attribute);
    }
}

inline void DestroyErrorCheckMutex(pthread_mutex_t& mutex, pthread_mutexattr_t& attribute) {
    pthread_mutexattr_destroy(&attribute);
    pthread_mutex_destroy(&mutex);
}

// Holds a mutex for a scope.
class MutexLock {
public:
    explicit MutexLock(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
    ~MutexLock() { pthread_mutex_unlock(&m_mutex); }
    MutexLock(MutexLock const&) = delete;
    MutexLock& operator=(MutexLock const&) = delete;

private:
    pthread_mutex_t& m_mutex;
};

} // namespace verrick
