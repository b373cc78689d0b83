/**
 * @file
 * The constants of files and timers, for C99 and C++: the mode bits of IFile::Open and the flags of
 * ITimeManager::CreateRelativeTimer.
 *
 * The classes themselves are C++ only. They stand in file.h and timers.h, which include this
 * header. A C program can keep these values and hand them to C++ code.
 */
#ifndef VERRICK_FLAT_CONSTANTS_H
#define VERRICK_FLAT_CONSTANTS_H

/**
 * The bits of a mode for IFile::Open. Seven combinations of them are accepted:
 *
 * | bits | existing file | missing file | reads | writes |
 * |---|---|---|---|---|
 * | READ | kept | isn't made | yes | no |
 * | WRITE | kept | made | yes, from the start | at the end |
 * | READ, WRITE | kept | made | yes, from the start | at the end |
 * | WRITE, CREATE | emptied | made | no | at the position |
 * | READ, WRITE, CREATE | emptied | made | yes | at the position |
 * | WRITE, APPEND | kept | made | no | at the end |
 * | READ, WRITE, APPEND | kept | made | yes | at the end |
 */
#ifdef __cplusplus
enum : unsigned int {
#else
enum {
#endif
    FILE_MODE_READ = 1,   /**< read */
    FILE_MODE_WRITE = 2,  /**< write */
    FILE_MODE_CREATE = 4, /**< with WRITE: start from an empty file */
    FILE_MODE_APPEND = 8  /**< with WRITE: write at the end */
};

#ifdef __cplusplus
/** A flag of CreateRelativeTimer: the timer stays unarmed until Activate. */
constexpr unsigned int TIMER_INACTIVE = 1;
/** A flag of CreateRelativeTimer: the timer is armed again at each expiry. */
constexpr unsigned int TIMER_REPEAT = 2;
#else
enum { TIMER_INACTIVE = 1, TIMER_REPEAT = 2 };
#endif

#endif
