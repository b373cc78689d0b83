// An INI file as bytes: opening it, and whole transfers.
#pragma once

#include <cstdio>

namespace verrick {

// Opens a file with the mode "rb" or "rb+" of fopen. A missing file is created, empty. Returns null
// if that fails, with errno set. The descriptor isn't inherited by started programs, and opening a
// pipe doesn't wait for the other side.
FILE* OpenIniFile(char const* name, char const* mode);

// Transfers bytes to and from an open file. A signal ends no transfer, and what the system moves in
// parts is moved to its end. Each operation returns false if it fails.
class FileBytes {
protected:
    struct Bytes {
        char const* at;
        long count;
    };

    // The descriptor stays the caller's.
    explicit FileBytes(int descriptor) : m_descriptor(descriptor) {}

    int Descriptor() const { return m_descriptor; }

    // Fails at the end of the file, too.
    bool Read(long offset, char* bytes, long count) const;

    // A failed write may have stored some of the bytes.
    bool Write(long offset, Bytes bytes) const;

    // Writes the fresh bytes. If that fails, the old ones are written back. If there are fewer of
    // them, the file ended there, and ends there again.
    bool Overwrite(long offset, Bytes fresh, Bytes old) const;

    bool Truncate(long size) const;

private:
    int const m_descriptor;
};

} // namespace verrick
