#include "files/entry_fields.h"

#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <utility>

namespace verrick {

namespace {

template<class Word, class Value>
Word NearestWord(Value value) {
    using Limits = std::numeric_limits<Word>;
    if (std::in_range<Word>(value)) {
        return static_cast<Word>(value);
    }
    return std::cmp_less(value, Limits::min()) ? Limits::min() : Limits::max();
}

std::int32_t TimeWord(time_t seconds) {
    return NearestWord<std::int32_t>(seconds);
}

} // namespace

EntryFields ReadEntryFields(DIR* directory, char const* name) {
    struct stat status;
    if (fstatat(dirfd(directory), name, &status, 0) != 0) {
        return {};
    }
    return {TimeWord(status.st_ctime), TimeWord(status.st_atime), TimeWord(status.st_mtime),
            NearestWord<std::uint32_t>(status.st_size), S_ISDIR(status.st_mode)};
}

} // namespace verrick
