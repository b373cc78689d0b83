#include <verrick/search.h>

#include "files/entry_fields.h"
#include "frame/limits.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <unistd.h>

static_assert(sizeof FindData::name == verrick::kPathElements, "a record holds any name");

namespace {

constexpr long kNoSearch = -1;

int Fail(int error) {
    errno = error;
    return -1;
}

xDirStruct* SearchOf(long handle) {
    return reinterpret_cast<xDirStruct*>(handle);
}

struct EndSearch {
    void operator()(xDirStruct* search) const {
        if (search->m_dir != nullptr) {
            closedir(search->m_dir);
        }
        delete search;
    }
};

using OwnedSearch = std::unique_ptr<xDirStruct, EndSearch>;

bool CopyText(xDirStruct& search, char const* spec) {
    std::size_t const length = spec != nullptr ? strnlen(spec, sizeof search.m_path) : 0;
    if (length == sizeof search.m_path) {
        return false;
    }
    std::replace_copy(spec, spec + length, search.m_path, '\\', '/');
    search.m_path[length] = '\0';
    return true;
}

// The whole text is the pattern. It moves after the name of the current directory, if both fit.
bool TakeCurrentDirectory(xDirStruct& search) {
    std::size_t const patternSize = std::strlen(search.m_path) + 1;
    std::memcpy(search.m_fullName, search.m_path, patternSize);
    if (getcwd(search.m_path, sizeof search.m_path) == nullptr) {
        return false;
    }
    std::size_t const directorySize = std::strlen(search.m_path) + 1;
    if (patternSize > sizeof search.m_path - directorySize) {
        return false;
    }
    search.m_pattern = search.m_path + directorySize;
    std::memcpy(search.m_pattern, search.m_fullName, patternSize);
    return true;
}

// Splits m_path into directory and pattern. A slash that ends the text goes first. Then the
// component before it is the pattern.
bool SplitText(xDirStruct& search) {
    char* slash = std::strrchr(search.m_path, '/');
    if (slash != nullptr && slash != search.m_path && slash[1] == '\0') {
        *slash = '\0';
        slash = std::strrchr(search.m_path, '/');
    }
    if (slash == nullptr) {
        return TakeCurrentDirectory(search);
    }
    *slash = '\0';
    search.m_pattern = slash + 1;
    return true;
}

bool OpenDirectory(xDirStruct& search) {
    search.m_dir = opendir(search.m_path);
    return search.m_dir != nullptr;
}

// Returns false, and stores nothing, if the record has no room for the name.
bool StoreEntry(FindData& data, DIR* directory, char const* name) {
    std::size_t const size = std::strlen(name) + 1;
    if (size > sizeof data.name) {
        return false;
    }
    std::memcpy(data.name, name, size);
    verrick::EntryFields const fields = verrick::ReadEntryFields(directory, name);
    data.createTime = fields.changeTime;
    data.accessTime = fields.accessTime;
    data.writeTime = fields.writeTime;
    data.size = fields.size;
    return true;
}

// Returns false at the end with errno ENOENT, and after a failed read with the system's errno. On
// true errno is as it was.
bool TakeNext(xDirStruct& search, FindData* data) {
    int const errnoBefore = errno;
    errno = 0; // readdir sets it for an error only
    while (dirent const* const entry = readdir(search.m_dir)) {
        if (WildCardMatch(search.m_pattern, entry->d_name) != 0 &&
            StoreEntry(*data, search.m_dir, entry->d_name)) {
            errno = errnoBefore;
            return true;
        }
    }
    if (errno == 0) {
        errno = ENOENT;
    }
    return false;
}

int Fold(char c) {
    return std::toupper(static_cast<unsigned char>(c));
}

bool IsSame(char first, char second) {
    return first == second || Fold(first) == Fold(second);
}

} // namespace

xDirStruct::xDirStruct() : m_dir(nullptr), m_pattern(nullptr) {
    m_path[0] = '\0';
    m_fullName[0] = '\0';
}

// errno is set last, because closing and releasing may change it.
long _findfirst(char const* spec, FindData* data) {
    OwnedSearch search(new (std::nothrow) xDirStruct);
    if (search == nullptr) {
        return Fail(ENOMEM);
    }
    bool const found = CopyText(*search, spec) && SplitText(*search) && OpenDirectory(*search) &&
                       TakeNext(*search, data);
    if (!found) {
        search.reset();
        return Fail(ENOENT);
    }
    return reinterpret_cast<long>(search.release());
}

int _findnext(long handle, FindData* data) {
    if (handle == kNoSearch || SearchOf(handle)->m_dir == nullptr) {
        return Fail(ENOENT);
    }
    return TakeNext(*SearchOf(handle), data) ? 0 : -1;
}

int _findclose(long handle) {
    if (handle == kNoSearch || SearchOf(handle)->m_dir == nullptr) {
        return Fail(ENOENT);
    }
    EndSearch()(SearchOf(handle));
    return 0;
}

// DDirListImpl::WildCardMatch takes the same steps. But it folds bytes above 127 in another way and
// takes no null name. So neither is built on the other.
int WildCardMatch(char const* pattern, char const* name) {
    if (pattern == nullptr || std::strcmp(pattern, "*") == 0) {
        return 1;
    }
    for (; name != nullptr && *name != '\0'; ++name) {
        if (*pattern == '*') {
            if (*name == '.') {
                return 0;
            }
            if (IsSame(pattern[1], name[1])) {
                pattern += 1;
            } else if (IsSame(pattern[1], name[0])) {
                pattern += 2;
            }
        } else if (*pattern == '?' || IsSame(*pattern, *name)) {
            ++pattern;
        } else {
            return 0;
        }
    }
    bool const lastStar = pattern[0] == '*' && pattern[1] == '\0';
    return *pattern == '\0' || lastStar ? 1 : 0;
}
