// The lines of a file, read in blocks.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <sys/types.h>

namespace verrick {

// Goes through the lines of an open file, from an offset on. It reads through the descriptor and
// past any stream on it.
//
// Lines are those that myfgetws returns with a buffer of kLineElements:
// - A line ends at a line feed. A carriage return directly ahead of the line feed belongs to the
//   line end.
// - Only the first kLineElements - 1 bytes of a line are seen.
// - A zero byte ends what is seen, and so does a byte that can't be converted.
//
// A pipe has no offsets. It is read from where it stands, up to its end. Of a device only the first
// block is read, because a device may have no end.
class LineScanner {
public:
    static constexpr std::size_t kLineElements = 2048;

    // The descriptor stays the caller's. start is the offset of the first line.
    LineScanner(int descriptor, long start);
    LineScanner(LineScanner const&) = delete;
    LineScanner& operator=(LineScanner const&) = delete;

    // Goes to the next line. Returns false at the end of the file and after a read error. Of a line
    // that an error cuts, nothing is seen.
    bool Next() {
        char* const lineFeed = Find(m_next, '\n');
        if (lineFeed == nullptr) {
            return NextAcrossBlocks();
        }
        TakeUpTo(lineFeed);
        return true;
    }

    // Goes to the next line that holds the byte, or to one before it. Returns false as Next does.
    bool NextHolding(char byte) {
        char* const found = Find(m_next, byte);
        char* const lineFeed = found != nullptr ? Find(found, '\n') : nullptr;
        if (lineFeed == nullptr) {
            SkipTo(m_filled);
            return NextAcrossBlocks();
        }
        SkipTo(found);
        TakeUpTo(lineFeed);
        return true;
    }

    // The file offset of the line, and that of the next line.
    long Start() const { return m_offset - (m_filled - m_line) - m_droppedBytes; }
    long End() const { return m_offset - (m_filled - m_next); }

    // The bytes of the line that are seen.
    char const* Text() const { return m_line; }
    char const* TextEnd() const;

    // Converts what is seen into buffer, which has kLineElements elements, and terminates it.
    void Widen(wchar_t* buffer);

    // Returns whether a read error ended the lines.
    bool Failed() const { return m_failed; }

private:
    static constexpr std::size_t kFirstBlockBytes = 4096;
    static constexpr std::size_t kLargeBlockBytes = 32 * 1024;

    // Finds a byte among those that were read and not taken.
    char* Find(char* from, char byte) const {
        return static_cast<char*>(
            std::memchr(from, byte, static_cast<std::size_t>(m_filled - from)));
    }

    // Takes the line that begins at m_next.
    void TakeUpTo(char* lineFeed) {
        m_droppedBytes = 0;
        m_line = m_next;
        m_textEnd = lineFeed;
        m_next = lineFeed + 1;
    }

    // Passes over the lines ahead of the one that the byte is in.
    void SkipTo(char* byte) {
        auto* const lineFeed =
            static_cast<char*>(memrchr(m_next, '\n', static_cast<std::size_t>(byte - m_next)));
        if (lineFeed != nullptr) {
            m_next = lineFeed + 1;
        }
    }

    bool NextAcrossBlocks();
    bool MakeRoom();
    bool MayReadOn();
    void UseLargeBlock();
    bool Fill();
    ssize_t Read(char* buffer, std::size_t size);

    // 1. m_block <= m_line <= m_next <= m_filled. The bytes from m_next on are read but not taken.
    // 2. The byte at m_filled has the file offset m_offset.
    // 3. If a line is longer than the block, its first kLineElements bytes stay at the block's
    //    start. m_droppedBytes counts the bytes that came after them and are gone.
    int m_descriptor;
    bool m_failed = false;
    bool m_isPipe = false;
    long m_offset;
    long m_droppedBytes = 0;
    char* m_block = m_firstBlock;
    char* m_blockEnd = m_firstBlock + kFirstBlockBytes;
    char* m_line = m_firstBlock;
    char* m_textEnd = m_firstBlock; // of the line, ahead of its line feed
    char* m_next = m_firstBlock;    // the next line
    char* m_filled = m_firstBlock;
    std::unique_ptr<char[]> m_largeBlock;    // for what doesn't fit the first block
    char m_firstBlock[kFirstBlockBytes + 1]; // each block has room for a terminator
};

} // namespace verrick
