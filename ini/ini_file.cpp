#include "ini/ini_file.h"

#include "ini/line_scanner.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <sys/resource.h>
#include <sys/stat.h>

namespace verrick {
namespace {

constexpr long kLongest = std::numeric_limits<long>::max();

// What moves in one step, and the most that a removal may take to be undone.
constexpr long kChunkBytes = 64L * 1024;

// From this byte on a line isn't seen, so it may be stretched there.
constexpr long kUnseenFrom = LineScanner::kLineElements;

constexpr char kBlankLine = '\n';
constexpr char kStretch = ' ';

// Where a chunk is cut, and what fills a gap at the cut.
struct Cut {
    long bytes;
    char filler;
};

// The chunk is full. A line that is longer is cut where it isn't seen.
Cut AfterFirstLine(char const* chunk) {
    auto const* const end = static_cast<char const*>(std::memchr(chunk, '\n', kChunkBytes - 1));
    return end != nullptr ? Cut{end + 1 - chunk, kBlankLine} : Cut{kUnseenFrom, kStretch};
}

Cut AfterLastLine(char const* chunk) {
    auto const* const end = static_cast<char const*>(memrchr(chunk, '\n', kChunkBytes));
    return end != nullptr ? Cut{end + 1 - chunk, kBlankLine} : Cut{kChunkBytes, kStretch};
}

void Fill(char* bytes, char filler, long count) {
    std::memset(bytes, filler, static_cast<std::size_t>(count));
}

void Copy(char* target, char const* source, long count) {
    if (count > 0) {
        std::memcpy(target, source, static_cast<std::size_t>(count));
    }
}

std::unique_ptr<char[]> Allocate(long bytes) {
    return std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(bytes));
}

// A write beyond this limit of the process would end it by a signal.
long FileSizeLimit() {
    rlimit limit{};
    bool const known = getrlimit(RLIMIT_FSIZE, &limit) == 0;
    return known && limit.rlim_cur < static_cast<rlim_t>(kLongest)
               ? static_cast<long>(limit.rlim_cur)
               : kLongest;
}

} // namespace

bool IniFile::IsRegular() const {
    struct stat status {};
    return fstat(Descriptor(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IniFile::IsLineStart(long offset, bool* isStart) const {
    char last = '\0';
    bool const read = Read(offset - 1, &last, 1);
    *isStart = last == '\n';
    return read;
}

bool IniFile::Replace(long start, long end, char const* text, std::size_t textBytes) {
    struct stat status {};
    if (fstat(Descriptor(), &status) != 0) {
        return false;
    }
    long const size = status.st_size;
    start = std::min(start, size);
    end = std::min(end, size);
    Bytes const fresh{text, static_cast<long>(textBytes)};
    long const removed = end - start;
    long const growth = fresh.count - removed;
    long const limit = FileSizeLimit();
    if (growth > 0 && (growth > kLongest - size || size + growth > limit)) {
        return false;
    }
    long const moved = growth != 0 ? size - end : 0;
    if (growth == 0 || fresh.count + moved == 0 || removed + moved <= kChunkBytes) {
        return ReplaceAtOnce(start, end, fresh, size, limit);
    }
    if (size > limit) {
        return false;
    }
    return growth > 0 ? Grow(start, end, fresh, size) : Shrink(start, end, fresh, size);
}

// One write for the text, for what stands after it, and for blank lines in what is left over. A
// removal at the end of the file needs no write.
bool IniFile::ReplaceAtOnce(long start, long end, Bytes text, long size, long limit) {
    long const growth = text.count - (end - start);
    long const moved = growth != 0 ? size - end : 0;
    long const freshBytes = text.count + moved;
    if (freshBytes == 0) {
        return growth == 0 || Truncate(start);
    }
    if (freshBytes > limit - start) {
        return false;
    }
    long const oldBytes = end - start + moved;
    long const blanks = std::clamp(limit - start - freshBytes, 0L, std::max(-growth, 0L));
    auto const block = Allocate(oldBytes + freshBytes + blanks);
    char* const old = block.get();
    char* const fresh = old + oldBytes;
    if (!Read(start, old, oldBytes)) {
        return false;
    }
    Copy(fresh, text.at, text.count);
    Copy(fresh + text.count, fresh - moved, moved);
    Fill(fresh + freshBytes, kBlankLine, blanks);
    if (!Overwrite(start, {fresh, freshBytes + blanks}, {old, oldBytes})) {
        return false;
    }
    if (growth < 0 && !Truncate(size + growth)) {
        Write(start, {old, oldBytes});
        return false;
    }
    return true;
}

// 1. Moves what stands after the old bytes. The file takes all the room that it needs in the first
//    step, so that a full disk is noticed there.
// 2. Writes the text over the old bytes and the room after them.
bool IniFile::Grow(long start, long end, Bytes text, long size) {
    long const removed = end - start;
    long const growth = text.count - removed;
    m_buffer = Allocate(kChunkBytes + 2 * growth);
    auto const old = Allocate(text.count);
    Fill(old.get() + removed, kBlankLine, growth);
    if (!Read(start, old.get(), removed)) {
        return false;
    }
    if (MoveUp(end, size, growth, size)) {
        if (Overwrite(start, text, {old.get(), text.count})) {
            return true;
        }
        m_undoing = true;
        MoveDown(end + growth, size + growth, growth);
    }
    Truncate(size);
    return false;
}

// 1. Makes the last lines of a long removal blank, so that the rest of it fits the memory.
// 2. Writes the text over the old bytes, and blank lines over what is left of them.
// 3. Moves what stands after them, and cuts off the end.
bool IniFile::Shrink(long start, long end, Bytes text, long size) {
    long const removed = end - start;
    long const excess = removed - text.count;
    bool const canBeUndone = excess <= kChunkBytes;
    m_buffer = Allocate(kChunkBytes + 2 * std::min(excess, kChunkBytes));
    auto const block = Allocate(2 * std::min(removed, text.count + kChunkBytes));
    long oldEnd = end;
    if (!BlankBackward(start + text.count, &oldEnd)) {
        return false;
    }
    long const oldBytes = oldEnd - start;
    char* const old = block.get();
    char* const fresh = old + oldBytes;
    Copy(fresh, text.at, text.count);
    Fill(fresh + text.count, kBlankLine, oldBytes - text.count);
    if (!Read(start, old, oldBytes) || !Overwrite(start, {fresh, oldBytes}, {old, oldBytes})) {
        return false;
    }
    if (MoveDown(end, size, excess)) {
        if (Truncate(size - excess)) {
            return true;
        }
        m_undoing = true;
        if (canBeUndone) {
            MoveUp(end - excess, size - excess, excess, size);
        }
    }
    if (canBeUndone) {
        Write(start, {old, oldBytes});
    }
    return false;
}

// Moves the bytes between two offsets up, the last ones first. The room after them is blank, or
// lies beyond the end of the file. Afterwards the room is ahead of them, and blank. A failed move
// is undone, except for the file's new end.
bool IniFile::MoveUp(long from, long to, long distance, long fileEnd) {
    long at = to;
    char filler = kBlankLine;
    while (at > from) {
        char* chunk = m_buffer.get() + distance;
        long offset = std::max(from, at - kChunkBytes);
        if (!Read(offset, chunk, at - offset)) {
            break;
        }
        Cut const cut = offset > from ? AfterFirstLine(chunk) : Cut{0, kBlankLine};
        chunk += cut.bytes;
        offset += cut.bytes;
        long const bytes = at - offset;
        Fill(chunk - distance, cut.filler, distance);
        Fill(chunk + bytes, filler, distance);
        Bytes const fresh{chunk - distance, distance + bytes};
        if (!Overwrite(offset, fresh, {chunk, at < fileEnd ? bytes + distance : bytes})) {
            break;
        }
        at = offset;
        filler = cut.filler;
    }
    if (at > from && !m_undoing) {
        m_undoing = true;
        MoveDown(at + distance, to + distance, distance);
    }
    return at == from;
}

// Moves the bytes between two offsets down, the first ones first. The room ahead of them is blank.
// Afterwards the room is after them, and blank. A failed move is undone if it can be.
bool IniFile::MoveDown(long from, long to, long distance) {
    long at = from;
    char filler = kBlankLine;
    while (at < to) {
        char* const chunk = m_buffer.get() + std::min(distance, kChunkBytes);
        long const readable = std::min(kChunkBytes, to - at);
        if (!Read(at, chunk, readable)) {
            break;
        }
        Cut const cut = at + readable < to ? AfterLastLine(chunk) : Cut{readable, kBlankLine};
        Fill(m_buffer.get(), filler, std::min(distance, kChunkBytes));
        if (!MoveChunkDown(at, cut.bytes, distance, cut.filler)) {
            break;
        }
        at += cut.bytes;
        filler = cut.filler;
    }
    if (at < to && distance <= kChunkBytes && !m_undoing) {
        m_undoing = true;
        MoveUp(from - distance, at - distance, distance, to);
    }
    return at == to;
}

// Over a short distance the chunk and the new room go into one write. Over a longer one the chunk
// stands in two places until its old place is blank.
bool IniFile::MoveChunkDown(long at, long bytes, long distance, char filler) {
    char* const room = m_buffer.get();
    if (distance <= kChunkBytes) {
        char* const chunk = room + distance;
        Fill(chunk + bytes, filler, distance);
        return Overwrite(at - distance, {chunk, bytes + distance}, {room, distance + bytes});
    }
    Bytes const chunk{room + kChunkBytes, bytes};
    Bytes const blank{room, bytes};
    return Overwrite(at - distance, chunk, blank) && Overwrite(at, blank, chunk);
}

// Makes lines ahead of *end blank, the last ones first, until no more than a chunk of old bytes is
// left after start. Then *end is where the blank lines begin.
bool IniFile::BlankBackward(long start, long* end) {
    while (*end - start > kChunkBytes) {
        long const offset = *end - kChunkBytes;
        char* const chunk = m_buffer.get();
        if (!Read(offset, chunk, kChunkBytes)) {
            return false;
        }
        Cut const cut = AfterFirstLine(chunk);
        long const bytes = kChunkBytes - cut.bytes;
        char* const blank = chunk + kChunkBytes;
        Fill(blank, kBlankLine, bytes);
        if (!Overwrite(offset + cut.bytes, {blank, bytes}, {chunk + cut.bytes, bytes})) {
            return false;
        }
        *end -= bytes;
    }
    return true;
}

bool IniFile::MoveTail(long source, long target) {
    struct stat status {};
    if (source < 0 || target < 0 || fstat(Descriptor(), &status) != 0) {
        return false;
    }
    source = std::min<long>(source, status.st_size);
    if (source >= target) {
        return Replace(target, source, nullptr, 0);
    }
    if (source == status.st_size) {
        return true;
    }
    long const bytes = target - source;
    auto const room = Allocate(bytes);
    Fill(room.get(), '\0', bytes);
    return Read(source, room.get(), std::min<long>(bytes, status.st_size - source)) &&
           Replace(source, source, room.get(), static_cast<std::size_t>(bytes));
}

} // namespace verrick
