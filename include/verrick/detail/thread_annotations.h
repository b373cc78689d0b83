/*
 * Marks that say which lock guards what. Clang checks them with -Wthread-safety; other compilers
 * see nothing. Nothing here is for applications.
 */
#ifndef VERRICK_DETAIL_THREAD_ANNOTATIONS_H
#define VERRICK_DETAIL_THREAD_ANNOTATIONS_H

#if defined(__clang__)
#define VERRICK_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VERRICK_THREAD_ATTRIBUTE(x)
#endif

/* A class that is a lock, and one that holds a lock for a scope. */
#define VERRICK_LOCK VERRICK_THREAD_ATTRIBUTE(capability("mutex"))
#define VERRICK_SCOPED_LOCK VERRICK_THREAD_ATTRIBUTE(scoped_lockable)

/* A member that is read and written under the lock only. */
#define VERRICK_GUARDED_BY(lock) VERRICK_THREAD_ATTRIBUTE(guarded_by(lock))

/* An operation that is called with the locks held, or without them because it takes them. */
#define VERRICK_REQUIRES(...) VERRICK_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define VERRICK_EXCLUDES(...) VERRICK_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))

/* An operation that takes a lock, or frees it. */
#define VERRICK_ACQUIRE(...) VERRICK_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VERRICK_RELEASE(...) VERRICK_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))

/* The place of a lock in the order: it is taken before the ones named. */
#define VERRICK_ACQUIRED_BEFORE(...) VERRICK_THREAD_ATTRIBUTE(acquired_before(__VA_ARGS__))

/* The body of an operation that Clang can't follow. Say why beside it. */
#define VERRICK_UNCHECKED_LOCKING VERRICK_THREAD_ATTRIBUTE(no_thread_safety_analysis)

#endif
