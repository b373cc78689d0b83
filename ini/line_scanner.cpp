#include "ini/line_scanner.h"

#include "strings/text_conversion.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace verrick {
namespace {

bool IsBlank(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// A pipe has no offsets: what it still holds is read instead.
ssize_t ReadAt(int descriptor, char* buffer, std::size_t size, long offset) {
    ssize_t const got = pread(descriptor, buffer, size, offset);
    return got < 0 && errno == ESPIPE ? read(descriptor, buffer, size) : got;
}

} // namespace

// The block needs no initial value: nothing of it is looked at before it was filled.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
LineScanner::LineScanner(int descriptor, long start)
    : m_descriptor(descriptor), m_offset(start), m_start(start), m_end(start) {}

bool LineScanner::Next() {
    m_start = m_end;
    m_line = m_next;
    bool longerThanBlock = false;
    std::size_t searched = m_line;
    for (;;) {
        auto const* const lineFeed =
            static_cast<char const*>(std::memchr(m_block + searched, '\n', m_filled - searched));
        bool const found = lineFeed != nullptr;
        if (!found) {
            longerThanBlock |= m_line == 0 && m_filled == kBlockSize;
            MakeRoom();
            searched = m_filled;
            if (Fill()) {
                continue;
            }
        }
        m_textEnd = found ? static_cast<std::size_t>(lineFeed - m_block) : m_filled;
        m_next = found ? m_textEnd + 1 : m_filled;
        m_end = m_offset - static_cast<long>(m_filled - m_next);
        if (longerThanBlock) {
            m_textEnd = kLineElements;
        } else if (found && m_textEnd > m_line && m_block[m_textEnd - 1] == '\r') {
            --m_textEnd;
        }
        return m_end > m_start;
    }
}

// Drops the lines that were taken, or else the middle of a line that is longer than the block.
void LineScanner::MakeRoom() {
    if (m_line > 0) {
        m_filled -= m_line;
        std::memmove(m_block, m_block + m_line, m_filled);
        m_line = 0;
    } else if (m_filled == kBlockSize) {
        m_filled = kLineElements;
    }
}

bool LineScanner::Fill() {
    ssize_t const got = ReadAt(m_descriptor, m_block + m_filled, kBlockSize - m_filled, m_offset);
    if (got <= 0) {
        m_failed |= got < 0;
        return false;
    }
    m_filled += static_cast<std::size_t>(got);
    m_offset += static_cast<long>(got);
    return true;
}

std::size_t LineScanner::Seen() const {
    return std::min(m_textEnd - m_line, kLineElements - 1);
}

unsigned char LineScanner::FirstByte() const {
    char const* const end = m_block + m_line + Seen();
    char const* const first = std::find_if_not(m_block + m_line, end, IsBlank);
    return first != end ? static_cast<unsigned char>(*first) : 0;
}

bool LineScanner::MayHold(char character) const {
    return std::memchr(m_block + m_line, character, Seen()) != nullptr;
}

// The terminator falls on the line's own end, or on bytes of it that nobody looks at any more.
void LineScanner::Widen(wchar_t* buffer) {
    char* const text = m_block + m_line;
    text[Seen()] = '\0';
    WidenUpToFault(buffer, kLineElements, text);
}

} // namespace verrick
