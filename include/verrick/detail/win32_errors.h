/*
 * GetLastError and the thread's id, for verrick/win32.h.
 */
#ifndef VERRICK_DETAIL_WIN32_ERRORS_H
#define VERRICK_DETAIL_WIN32_ERRORS_H

#include <verrick/detail/win32_types.h>

#include <errno.h>
#include <sys/syscall.h>
#include <unistd.h>

#define NO_ERROR 0U
#define ERROR_SUCCESS 0U
#define ERROR_FILE_NOT_FOUND 2U
#define ERROR_PATH_NOT_FOUND 3U
#define ERROR_TOO_MANY_OPEN_FILES 4U
#define ERROR_ACCESS_DENIED 5U
#define ERROR_INVALID_HANDLE 6U
#define ERROR_NOT_ENOUGH_MEMORY 8U
#define ERROR_NO_MORE_FILES 18U
#define ERROR_WRITE_PROTECT 19U
#define ERROR_GEN_FAILURE 31U
#define ERROR_SHARING_VIOLATION 32U
#define ERROR_FILE_EXISTS 80U
#define ERROR_INVALID_PARAMETER 87U
#define ERROR_DISK_FULL 112U
#define ERROR_SEM_TIMEOUT 121U
#define ERROR_INSUFFICIENT_BUFFER 122U
#define ERROR_ALREADY_EXISTS 183U
#define ERROR_FILENAME_EXCED_RANGE 206U
#define ERROR_NO_SYSTEM_RESOURCES 1450U

/**
 * Returns the Win32 code for the calling thread's errno. ERROR_GEN_FAILURE stands for everything
 * that has no code here.
 *
 * The library keeps no error code of its own, so this is as good as errno. A call that fails
 * because a system call fails leaves that one's errno. A call that refuses an argument leaves errno
 * alone. Look at it after a failure only.
 */
VERRICK_WIN32_CALL DWORD GetLastError(void) {
    switch (errno) {
    case 0:
        return ERROR_SUCCESS;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
        return ERROR_ACCESS_DENIED;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EROFS:
        return ERROR_WRITE_PROTECT;
    case EBUSY:
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case EEXIST:
        return ERROR_FILE_EXISTS;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    case EAGAIN:
        return ERROR_NO_SYSTEM_RESOURCES;
    case ENOSPC:
        return ERROR_DISK_FULL;
    case ETIMEDOUT:
        return ERROR_SEM_TIMEOUT;
    case ERANGE:
        return ERROR_INSUFFICIENT_BUFFER;
    case ENAMETOOLONG:
        return ERROR_FILENAME_EXCED_RANGE;
    default:
        return ERROR_GEN_FAILURE;
    }
}

#ifndef __cplusplus
/* The C library shows it only to programs that ask for more than C. */
extern long syscall(long number, ...);
#endif

/** Returns the kernel's id of the calling thread, which IThread::GetThreadId returns too. */
VERRICK_WIN32_CALL DWORD GetCurrentThreadId(void) {
    return (DWORD)syscall(SYS_gettid);
}

#endif
