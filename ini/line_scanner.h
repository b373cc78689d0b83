// The lines of a file, read in blocks.
#pragma once

#include <cstddef>

namespace verrick {

// Walks the lines of an open file from an offset on, through one block and past the buffer of any
// stream on the descriptor. Lines are those of myfgetws on a buffer of kLineElements: they end at a
// line feed, which takes a carriage return directly ahead of it along; they are seen up to
// kLineElements - 1 bytes and up to a zero byte; a fault of the conversion ends them.
class LineScanner {
public:
    static constexpr std::size_t kLineElements = 2048;

    // The descriptor stays the caller's. start is the offset of the first line.
    LineScanner(int descriptor, long start);

    // Goes to the next line; false at the end of the file and after a read error.
    bool Next();

    // Offset of the line, and of what stands behind it with its line end.
    long Start() const { return m_start; }
    long End() const { return m_end; }

    // The first byte of the line that isn't a blank of ASCII; a zero byte if there is none. Which
    // bytes below 0x80 are white space is the same in every locale, and they stand for themselves.
    unsigned char FirstByte() const;

    // Whether the line may hold an ASCII character. It may still be a part of another character, or
    // lie beyond what is seen.
    bool MayHold(char character) const;

    // Converts what is seen of the line into buffer, kLineElements elements, terminated.
    void Widen(wchar_t* buffer);

    // Whether the walk ended at an error.
    bool Failed() const { return m_failed; }

private:
    std::size_t Seen() const;
    void MakeRoom();
    bool Fill();

    // 1. The line begins at m_line and the rest of the block, up to m_filled, is read but not
    // taken.
    // 2. The byte at m_filled lies at file offset m_offset.
    // 3. Of a line longer than the block, the first kLineElements bytes stand at the block's start.
    static constexpr std::size_t kBlockSize = 4096;
    int m_descriptor;
    long m_offset;
    long m_start;
    long m_end;
    std::size_t m_line = 0;
    std::size_t m_textEnd = 0; // of the line, without its line feed
    std::size_t m_next = 0;    // of the next line
    std::size_t m_filled = 0;
    bool m_failed = false;
    char m_block[kBlockSize + 1]; // with room for a terminator
};

} // namespace verrick
