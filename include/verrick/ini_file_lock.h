/**
 * @file
 * A lock for an INI file that several threads or processes use. Header only and opt in: no other
 * header includes it.
 *
 * The calls on INI files take no lock. Two writers at once lose edits or damage the file, and a
 * reader beside a writer may read a torn value. A program that isn't alone with its file holds this
 * lock around each read (Shared) and each edit (Exclusive):
 *
 *     IniFileLock const lock(L"./app.ini", IniFileLock::Exclusive, 5000);
 *     if (lock.Owns()) {
 *         WritePrivateProfileString(L"log", L"level", L"3", L"./app.ini");
 *     }
 *
 * To change a value that depends on the old one, hold one exclusive lock around both calls.
 *
 * The lock is on a companion file: the name of the INI file with ".lock" after it, in the same
 * folder. So it survives that a new INI file is renamed into place. The companion file is created
 * when it is missing. It is empty and stays; don't delete it while somebody may use it.
 *
 * The lock is advisory: it holds between those who take it. All of them must name the file by the
 * same name in the same folder. A symbolic link is another name.
 */
#ifndef VERRICK_INI_FILE_LOCK_H
#define VERRICK_INI_FILE_LOCK_H

#include <verrick/flat/ini.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <fcntl.h>
#include <unistd.h>

/**
 * Holds the lock of one INI file for a scope. It stands for an open-file-description lock of
 * fcntl(), which holds between processes and between threads of one process.
 *
 * The lock isn't inherited. A started program doesn't get its descriptor. In a child after fork()
 * the copy of the object owns nothing, and its destructor leaves the parent's lock alone.
 *
 * An object belongs to one thread. A thread that already holds the lock and asks for it again waits
 * for itself until the time runs out, unless both are Shared.
 *
 * Nothing here throws.
 */
class IniFileLock {
public:
    /** Shared: any number of holders at once, none of them exclusive. Exclusive: one holder. */
    enum mode_t { Shared, Exclusive };

    /**
     * Takes the lock, and waits for it if need be. A waiting writer keeps new readers out, so it
     * isn't starved by them.
     *
     * @param fileName the name of the INI file, as the other calls get it. The file needn't exist.
     * @param mode Shared or Exclusive. Shared needs the right to read the companion file, Exclusive
     * the right to write it.
     * @param timeoutMs how long to wait, in milliseconds of the monotonic clock. 0 tries once.
     * 0xFFFFFFFF (INFINITE) waits for ever; only the low 32 bits count.
     *
     * Owns() tells whether it worked. If not, errno is ETIMEDOUT when the time ran out,
     * ENAMETOOLONG or EINVAL for a name that can't be used, among them null, and otherwise what the
     * system said.
     */
    IniFileLock(wchar_t const* fileName, mode_t mode, unsigned long timeoutMs)
        : m_file(Open(fileName, mode)), m_process(getpid()), m_owns(false) {
        if (m_file.descriptor == -1) {
            return;
        }
        Deadline const deadline(timeoutMs);
        short const type = mode == Exclusive ? F_WRLCK : F_RDLCK;
        m_owns = Lock(type, GATE, deadline) && Lock(type, CONTENT, deadline);
        int const error = errno;
        Set(F_UNLCK, GATE, 1);
        errno = error;
    }

    /** Releases the lock. */
    ~IniFileLock() {
        if (Owns()) {
            Set(F_UNLCK, GATE, 0);
        }
    }

    /** Returns whether this object holds the lock in this process. Doesn't block. */
    bool Owns() const { return m_owns && m_process == getpid(); }

    IniFileLock(IniFileLock const&) = delete;
    IniFileLock& operator=(IniFileLock const&) = delete;

private:
    /*
     * What is locked are two bytes of the companion file. A holder keeps CONTENT. Who wants it
     * holds GATE while waiting for it.
     */
    enum byte_t { GATE = 0, CONTENT = 1 };

    enum { PATH_BYTES = 4096 };

    static constexpr char const* Suffix() { return ".lock"; }

    /* Closed also when a thread is cancelled while it waits. */
    struct File {
        explicit File(int opened) : descriptor(opened) {}
        ~File() {
            if (descriptor != -1) {
                close(descriptor);
            }
        }
        File(File const&) = delete;
        File& operator=(File const&) = delete;

        int const descriptor;
    };

    class Deadline {
    public:
        explicit Deadline(unsigned long timeoutMs)
            : m_timeoutMs(timeoutMs & 0xFFFFFFFFUL), m_startNs(NowNs()) {}

        /* Sleeps at most that long. Returns false, without a sleep, when the time is up. */
        bool Sleep(long long pauseNs) const {
            if (m_timeoutMs != 0xFFFFFFFFUL) {
                long long const leftNs = m_startNs + m_timeoutMs * 1000000LL - NowNs();
                if (leftNs <= 0) {
                    return false;
                }
                pauseNs = pauseNs < leftNs ? pauseNs : leftNs;
            }
            timespec const pause = {0, static_cast<long>(pauseNs)};
            nanosleep(&pause, nullptr);
            return true;
        }

    private:
        static long long NowNs() {
            timespec now = {0, 0};
            clock_gettime(CLOCK_MONOTONIC, &now);
            return now.tv_sec * 1000000000LL + now.tv_nsec;
        }

        long long const m_timeoutMs;
        long long const m_startNs;
    };

    static int Open(wchar_t const* fileName, mode_t mode) {
        char name[PATH_BYTES];
        std::size_t const limit = sizeof name - std::strlen(Suffix()) - 1;
        if (fileName == nullptr || std::wcslen(fileName) >= limit) {
            errno = fileName == nullptr ? EINVAL : ENAMETOOLONG;
            return -1;
        }
        if (MBSToAscii(name, fileName, static_cast<unsigned int>(limit)) == 0) {
            errno = EINVAL;
            return -1;
        }
        std::strcat(name, Suffix());
        int const flags = (mode == Exclusive ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY;
        int const descriptor = open(name, flags | O_NONBLOCK);
        return descriptor != -1 || errno != ENOENT ? descriptor : open(name, flags | O_CREAT, 0666);
    }

    /* Locks or unlocks bytes without waiting; no bytes stand for all. */
    bool Set(short type, byte_t first, int bytes) const {
        struct flock range = {};
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_start = first;
        range.l_len = bytes;
        return fcntl(m_file.descriptor, F_OFD_SETLK, &range) == 0;
    }

    /* The system has no bounded wait for such a lock, so it is tried again in short intervals. */
    bool Lock(short type, byte_t byte, Deadline const& deadline) const {
        long long const longestPauseNs = 1000000;
        for (long long pauseNs = 20000; !Set(type, byte, 1);) {
            if (errno != EAGAIN && errno != EACCES && errno != EINTR) {
                return false;
            }
            if (!deadline.Sleep(pauseNs)) {
                errno = ETIMEDOUT;
                return false;
            }
            pauseNs = 2 * pauseNs < longestPauseNs ? 2 * pauseNs : longestPauseNs;
        }
        return true;
    }

    File const m_file;
    pid_t const m_process;
    bool m_owns;
};

#endif
