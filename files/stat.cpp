// The exported stat and fstat. A program that is linked with the library reaches these two instead
// of libc's own, so they must answer exactly as those do. They are weak: a program's own definition
// wins without a clash. The library itself doesn't use them.
//
// They stand on fstatat, because libc has no other entry point that would do. Its stat is this very
// function again. Its versioned entry points take another version number on every target.
//
// This file is compiled with the target's own file offsets (cmake/Sources.cmake). With larger ones
// a 32-bit target's headers would turn the names into stat64 and fstat64.
#include <verrick/detail/api.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

extern "C" {

VERRICK_API __attribute__((weak)) int stat(char const* path, struct stat* buf) noexcept {
    return fstatat(AT_FDCWD, path, buf, 0);
}

// AT_FDCWD is negative too, and fstatat would take it for the current directory.
VERRICK_API __attribute__((weak)) int fstat(int fd, struct stat* buf) noexcept {
    if (fd < 0) {
        errno = EBADF;
        return -1;
    }
    return fstatat(fd, "", buf, AT_EMPTY_PATH);
}

} // extern "C"
