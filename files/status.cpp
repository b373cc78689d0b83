// File status for the whole process: a program that is linked with the library reaches these two
// instead of libc's own, so they answer exactly as those do. They are weak, so that a program's own
// definition of the names wins without a clash.
//
// Neither libc's stat nor its versioned entry points will do behind them: the first is this very
// function again, the second take another version number on every target. This file is compiled
// with the target's own file offsets (cmake/Sources.cmake): with larger ones on a 32-bit target the
// headers would turn the names into stat64 and fstat64.
#include <verrick/detail/api.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

extern "C" {

VERRICK_API __attribute__((weak)) int stat(char const* path, struct stat* buf) noexcept {
    return fstatat(AT_FDCWD, path, buf, 0);
}

// AT_FDCWD is a negative descriptor that fstatat takes for the current directory.
VERRICK_API __attribute__((weak)) int fstat(int fd, struct stat* buf) noexcept {
    if (fd < 0) {
        errno = EBADF;
        return -1;
    }
    return fstatat(fd, "", buf, AT_EMPTY_PATH);
}

} // extern "C"
