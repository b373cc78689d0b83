#include "ini/line_scanner.h"

#include "strings/text_conversion.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace verrick {

// The first block needs no initial value, because nothing is read from it before it is filled.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
// cppcheck-suppress uninitMemberVar
LineScanner::LineScanner(int descriptor, long start) : m_descriptor(descriptor), m_offset(start) {}

bool LineScanner::NextAcrossBlocks() {
    m_line = m_next;
    m_droppedBytes = 0;
    char* lineFeed = nullptr;
    while (lineFeed == nullptr && MakeRoom()) {
        char* const unsearched = m_filled;
        if (!Fill()) {
            break;
        }
        lineFeed = static_cast<char*>(
            std::memchr(unsearched, '\n', static_cast<std::size_t>(m_filled - unsearched)));
    }
    m_textEnd = lineFeed != nullptr ? lineFeed : m_filled;
    m_next = lineFeed != nullptr ? lineFeed + 1 : m_filled;
    bool const isLine = m_next > m_line && !m_failed; // a part of a line is none
    if (m_droppedBytes > 0) {
        m_textEnd = m_line + kLineElements;
    }
    return isLine;
}

// Makes room in a full block: drops the lines that were taken, or the middle of a line that fills
// the block. Returns false if the file ends here all the same, or couldn't be read.
bool LineScanner::MakeRoom() {
    if (m_failed || m_filled != m_blockEnd) {
        return !m_failed;
    }
    if (m_block == m_firstBlock) {
        if (!MayReadOn()) {
            return false;
        }
        UseLargeBlock();
    }
    std::ptrdiff_t kept = m_filled - m_line;
    if (m_line != m_block) {
        std::memmove(m_block, m_line, static_cast<std::size_t>(kept));
    } else if (m_filled == m_blockEnd) {
        m_droppedBytes += static_cast<long>(kept - static_cast<std::ptrdiff_t>(kLineElements));
        kept = kLineElements;
    }
    m_line = m_block;
    m_filled = m_block + kept;
    return true;
}

// A device may deliver bytes for ever, and then a scan would never end.
bool LineScanner::MayReadOn() {
    if (m_isPipe) {
        return true;
    }
    struct stat status {};
    m_failed = fstat(m_descriptor, &status) != 0;
    return !m_failed && S_ISREG(status.st_mode);
}

// Without the memory for it, the small block has to do.
void LineScanner::UseLargeBlock() {
    m_largeBlock.reset(new (std::nothrow) char[kLargeBlockBytes + 1]);
    if (m_largeBlock == nullptr) {
        return;
    }
    auto const kept = m_filled - m_line;
    std::memcpy(m_largeBlock.get(), m_line, static_cast<std::size_t>(kept));
    m_block = m_largeBlock.get();
    m_blockEnd = m_block + kLargeBlockBytes;
    m_line = m_block;
    m_filled = m_block + kept;
}

// Reads what comes next. An interrupted read is made again.
ssize_t LineScanner::Read(char* buffer, std::size_t size) {
    for (;;) {
        ssize_t const got = m_isPipe ? read(m_descriptor, buffer, size)
                                     : pread(m_descriptor, buffer, size, m_offset);
        if (got < 0 && errno == ESPIPE && !m_isPipe) {
            m_isPipe = true;
            fcntl(m_descriptor, F_SETFL, 0); // blocks from now on: the writer may still send
        } else if (got >= 0 || errno != EINTR) {
            return got;
        }
    }
}

bool LineScanner::Fill() {
    ssize_t const got = Read(m_filled, static_cast<std::size_t>(m_blockEnd - m_filled));
    if (got <= 0) {
        m_failed |= got < 0;
        return false;
    }
    m_filled += got;
    m_offset += static_cast<long>(got);
    return true;
}

char const* LineScanner::TextEnd() const {
    char const* end = m_textEnd;
    bool const hasLineFeed = m_next > m_textEnd;
    if (hasLineFeed && end > m_line && end[-1] == '\r') {
        --end;
    }
    return std::min(end, static_cast<char const*>(m_line + kLineElements - 1));
}

// The terminator falls on the line's own end, or on bytes that nobody looks at any more.
void LineScanner::Widen(wchar_t* buffer) {
    m_line[TextEnd() - m_line] = '\0';
    WidenUpToFault(buffer, kLineElements, m_line);
}

} // namespace verrick
