// What the records of both directory scans hold about an entry.
#pragma once

#include <cstdint>
#include <dirent.h>

namespace verrick {

// The times are in seconds since the epoch. A value that 32 bits can't hold becomes the nearest
// one.
struct EntryFields {
    std::int32_t changeTime; // of the status
    std::int32_t accessTime;
    std::int32_t writeTime;
    std::uint32_t size; // in bytes
    bool isDirectory;
};

// Returns the fields of an entry of an open directory. A link is followed. All fields are 0 if the
// entry has no status, for example a link that points nowhere.
//
// The entry is looked up in the open directory itself. So its path may change meanwhile, or be
// longer than the system takes.
EntryFields ReadEntryFields(DIR* directory, char const* name);

} // namespace verrick
