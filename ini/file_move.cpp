#include <verrick/ini.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr long kBlockSize = 2048;

// Slides the end of a file, block by block, through the descriptor and past any stream. A transfer
// that fails or comes out short ends the move at once.
class TailMover {
public:
    TailMover(int descriptor, char* block) : m_descriptor(descriptor), m_block(block) {}

    bool Move(long source, long target) {
        struct stat status {};
        if (fstat(m_descriptor, &status) != 0) {
            return false;
        }
        long const size = status.st_size;
        source = std::min(source, size);
        long const rest = size - source;
        if (source > target) {
            return MoveForward(source, target, rest) && Truncate(target + rest);
        }
        return source == target ||
               (target <= std::numeric_limits<long>::max() - rest && Extend(size, target + rest) &&
                MoveBackward(source, target, rest));
    }

private:
    // In either direction a block is read before anything that a later block needs is overwritten.
    // The first one is such that, moving forward, all others begin at multiples of the block size.
    static long FirstBlock(long target, long rest) {
        return rest <= kBlockSize ? rest : kBlockSize - target % kBlockSize;
    }

    bool MoveForward(long source, long target, long rest) {
        for (long bytes = FirstBlock(target, rest); rest > 0; bytes = std::min(rest, kBlockSize)) {
            if (!Read(source, bytes) || !Write(target, bytes)) {
                return false;
            }
            source += bytes;
            target += bytes;
            rest -= bytes;
        }
        return true;
    }

    bool MoveBackward(long source, long target, long rest) {
        for (long bytes = FirstBlock(target, rest); rest > 0; bytes = std::min(rest, kBlockSize)) {
            rest -= bytes;
            if (!Read(source + rest, bytes) || !Write(target + rest, bytes)) {
                return false;
            }
        }
        return true;
    }

    // Takes the space that the file will need before anything moves, by writing it: a disk without
    // that space leaves the file as it was.
    bool Extend(long size, long newSize) {
        std::memset(m_block, 0, kBlockSize);
        for (long at = size; at < newSize; at += kBlockSize) {
            if (!Write(at, std::min(newSize - at, kBlockSize))) {
                Truncate(size);
                return false;
            }
        }
        return true;
    }

    bool Truncate(long size) { return ftruncate(m_descriptor, size) == 0; }

    bool Read(long offset, long bytes) {
        return Transfer(offset, bytes, [this](long at, long done, long left) {
            return pread(m_descriptor, m_block + done, static_cast<std::size_t>(left), at);
        });
    }

    bool Write(long offset, long bytes) {
        return Transfer(offset, bytes, [this](long at, long done, long left) {
            return pwrite(m_descriptor, m_block + done, static_cast<std::size_t>(left), at);
        });
    }

    // Transfers the whole block, in several calls where the system makes several of it.
    template<typename Call>
    static bool Transfer(long offset, long bytes, Call call) {
        for (long done = 0; done < bytes;) {
            long const transferred = call(offset + done, done, bytes - done);
            if (transferred <= 0) {
                return false;
            }
            done += transferred;
        }
        return true;
    }

    int m_descriptor;
    char* m_block; // kBlockSize bytes
};

} // namespace

// The openings are virtual calls on purpose, and either may leave no stream.
bool DIniImpl::FileMove(long source, long target) {
    Open(m_fileName);
    if (m_file == nullptr) {
        return false;
    }
    auto const block = std::make_unique_for_overwrite<char[]>(kBlockSize);
    if (!TailMover(fileno(m_file), block.get()).Move(source, target)) {
        return false;
    }
    Open(m_fileName);
    return m_file != nullptr;
}
