// The changes of an INI file in place.
#pragma once

#include "ini/file_bytes.h"

#include <cstddef>
#include <memory>

namespace verrick {

// Changes an open file in place. All bytes go through one descriptor, so that a file that gets the
// same name meanwhile isn't touched.
//
// A process may be killed between two system calls. What it leaves then:
// 1. If both the replaced bytes and what stands after them fit a buffer, one write makes the edit.
//    The file is the old one, the new one, or the new one with blank lines after it.
// 2. Else whole lines move, one buffer at a time. The room that they move into holds blank lines.
//    Each line outside the replaced bytes is in the file at each step, ahead of any stale copy.
// 3. If more than a buffer is removed, its lines become blank first, from the last one backward.
class IniFile : FileBytes {
public:
    // The descriptor stays the caller's and must be open for reading and writing.
    explicit IniFile(int descriptor) : FileBytes(descriptor) {}

    // Returns whether this is a regular file. Nothing else is edited.
    bool IsRegular() const;

    // Tells in *isStart whether a line may begin at the offset, which is above 0. At the end of a
    // file whose last line has no line end none may. Returns false if the file can't be read.
    bool IsLineStart(long offset, bool* isStart) const;

    // Puts text in the place of the bytes from start to end. Offsets beyond the end of the file
    // stand for its end. start is the beginning of a line, or the end of the file.
    //
    // Returns true if the file holds the edit. On false the file is as it was: room that the disk
    // or a limit doesn't have is noticed, and what was written is undone. Two things are beyond
    // undoing: a failure that persists, and the removal of more than a buffer.
    //
    // Throws std::bad_alloc before the file is changed.
    bool Replace(long start, long end, char const* text, std::size_t textBytes);

    // Moves the bytes from source to the end of the file to target. If they move up, the room keeps
    // its old bytes, and zeros where it had none. If there are no bytes to move up, the file
    // doesn't grow. Returns and throws as Replace.
    bool MoveTail(long source, long target);

private:
    bool ReplaceAtOnce(long start, long end, Bytes text, long size, long limit);
    bool Grow(long start, long end, Bytes text, long size);
    bool Shrink(long start, long end, Bytes text, long size);

    bool MoveUp(long from, long to, long distance, long fileEnd);
    bool MoveDown(long from, long to, long distance);
    bool MoveChunkDown(long at, long bytes, long distance, char filler);
    bool BlankBackward(long start, long* end);

    bool m_undoing = false;
    std::unique_ptr<char[]> m_buffer; // fillers, a chunk, and fillers again
};

} // namespace verrick
