#include "ini/file_bytes.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace verrick {
namespace {

constexpr mode_t kNewFileMode = 0666; // before the process's umask

// Makes a system call again until no signal interrupts it.
template<typename Call>
auto Uninterrupted(Call call) {
    for (;;) {
        auto const result = call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

// Without O_NONBLOCK the opening of a pipe would wait for its other side. A file that another
// process has leased refuses that flag, and the opening has to wait for the lease.
int OpenDescriptor(char const* name, int flags) {
    flags |= O_CLOEXEC | O_NOCTTY;
    int const descriptor =
        Uninterrupted([&] { return open(name, flags | O_NONBLOCK, kNewFileMode); });
    return descriptor != -1 || errno != EWOULDBLOCK
               ? descriptor
               : Uninterrupted([&] { return open(name, flags, kNewFileMode); });
}

} // namespace

FILE* OpenIniFile(char const* name, char const* mode) {
    int const access = std::strchr(mode, '+') != nullptr ? O_RDWR : O_RDONLY;
    int descriptor = OpenDescriptor(name, access);
    if (descriptor == -1 && errno == ENOENT) {
        // A file that another process creates meanwhile keeps what it holds.
        descriptor = OpenDescriptor(name, O_RDWR | O_CREAT);
        mode = "wb+";
    }
    FILE* const file = descriptor != -1 ? fdopen(descriptor, mode) : nullptr;
    if (file == nullptr && descriptor != -1) {
        close(descriptor);
    }
    return file;
}

bool FileBytes::Overwrite(long offset, Bytes fresh, Bytes old) const {
    if (Write(offset, fresh)) {
        return true;
    }
    Write(offset, old);
    if (old.count < fresh.count) {
        Truncate(offset + old.count);
    }
    return false;
}

// The system may transfer less than it was asked for, and then goes on from there.
bool FileBytes::Read(long offset, char* bytes, long count) const {
    while (count > 0) {
        long const got = Uninterrupted(
            [&] { return pread(m_descriptor, bytes, static_cast<std::size_t>(count), offset); });
        if (got <= 0) {
            return false;
        }
        bytes += got;
        offset += got;
        count -= got;
    }
    return true;
}

bool FileBytes::Write(long offset, Bytes bytes) const {
    while (bytes.count > 0) {
        long const written = Uninterrupted([&] {
            return pwrite(m_descriptor, bytes.at, static_cast<std::size_t>(bytes.count), offset);
        });
        if (written <= 0) {
            return false;
        }
        bytes.at += written;
        offset += written;
        bytes.count -= written;
    }
    return true;
}

bool FileBytes::Truncate(long size) const {
    return Uninterrupted([&] { return ftruncate(m_descriptor, size); }) == 0;
}

} // namespace verrick
