#include <verrick/file.h>

#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

namespace {

// The fopen mode for each value of the mode bits, null where the combination isn't accepted. The
// "e" keeps the file from programs that the application starts.
constexpr char const* kStreamModes[] = {nullptr, "rbe",  "a+be",  "a+be",  nullptr, nullptr,
                                        "wbe",   "w+be", nullptr, nullptr, "abe",   "a+be"};

constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END}; // by IFile::origin_t

FileStatus StatusOfOpenError(int error) {
    switch (error) {
    case ENOENT:
        return FILE_STATUS_NOT_FOUND;
    case EACCES:
        return FILE_STATUS_ACCESS_DENIED;
    default:
        return FILE_STATUS_FAILED;
    }
}

// Returns the stream's position. Returns 0 if there is none, or none that an int can hold.
int Tell(std::FILE* stream) {
    long const position = std::ftell(stream);
    return position > 0 && std::in_range<int>(position) ? static_cast<int>(position) : 0;
}

// The object is the stream's only user, so this needs no lock.
FileStatus StatusOfTransfer(std::FILE* stream) {
    return ferror_unlocked(stream) != 0 ? FILE_STATUS_FAILED : FILE_STATUS_OK;
}

void Store(unsigned int* count, std::size_t done) {
    if (count != nullptr) {
        *count = static_cast<unsigned int>(done);
    }
}

} // namespace

IFile::IFile() = default;
IFile::~IFile() = default;

DFile::DFile() : m_name(), m_stream(nullptr) {}

DFile::~DFile() {
    DFile::Close();
}

FileStatus DFile::Open(char const* path, unsigned int mode) {
    if (m_stream != nullptr || path == nullptr || mode >= std::size(kStreamModes) ||
        kStreamModes[mode] == nullptr) {
        return FILE_STATUS_FAILED;
    }
    m_stream = std::fopen(path, kStreamModes[mode]);
    if (m_stream == nullptr) {
        return StatusOfOpenError(errno);
    }
    // libc doesn't say where an appending stream starts. These two modes read from the start.
    if (mode == FILE_MODE_WRITE || mode == (FILE_MODE_READ | FILE_MODE_WRITE)) {
        std::fseek(m_stream, 0, SEEK_SET);
    }
    std::memcpy(m_name, path, strnlen(path, sizeof m_name - 1)); // the rest is zero
    return FILE_STATUS_OK;
}

void DFile::Close() {
    if (m_stream != nullptr) {
        std::fclose(m_stream);
        m_stream = nullptr;
    }
    std::memset(m_name, 0, sizeof m_name);
}

// The end of the file is tested first, because the stream may still have the mark of an old error.
FileStatus DFile::Read(void* buffer, unsigned int count, unsigned int* countDone) {
    if (m_stream == nullptr) {
        return FILE_STATUS_NOT_FOUND;
    }
    std::size_t const done = std::fread(buffer, 1, count, m_stream);
    Store(countDone, done);
    if (done == 0 && std::feof(m_stream) != 0) {
        return FILE_STATUS_END_OF_FILE;
    }
    return StatusOfTransfer(m_stream);
}

FileStatus DFile::Write(void* buffer, unsigned int count, unsigned int* countDone) {
    if (m_stream == nullptr) {
        return FILE_STATUS_NOT_FOUND;
    }
    Store(countDone, std::fwrite(buffer, 1, count, m_stream));
    return StatusOfTransfer(m_stream);
}

void DFile::Flush() {
    if (m_stream != nullptr) {
        std::fflush(m_stream);
    }
}

FileStatus DFile::Seek(int offset, IFile::origin_t origin) {
    if (m_stream == nullptr) {
        return FILE_STATUS_NOT_FOUND;
    }
    if (origin < ORIGIN_BEGIN || origin > ORIGIN_END) {
        return FILE_STATUS_FAILED;
    }
    return std::fseek(m_stream, offset, kWhence[origin]) == 0 ? FILE_STATUS_OK : FILE_STATUS_FAILED;
}

int DFile::Position() {
    return m_stream != nullptr ? Tell(m_stream) : 0;
}

int DFile::Size() {
    std::fpos_t position;
    if (m_stream == nullptr || std::fgetpos(m_stream, &position) != 0) {
        return 0;
    }
    std::fflush(m_stream);
    bool const atEnd = std::fseek(m_stream, 0, SEEK_END) == 0;
    std::clearerr(m_stream);
    if (!atEnd) {
        return 0;
    }
    int const size = Tell(m_stream);
    std::fsetpos(m_stream, &position);
    return size;
}

char const* DFile::Name() {
    return m_stream != nullptr ? m_name : nullptr;
}
