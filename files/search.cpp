#include <verrick/search.h>

#include "files/entry_status.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <unistd.h>

static_assert(sizeof FindData::name == sizeof dirent::d_name, "a record holds every entry's name");

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

// The whole text is the pattern: it moves behind the name of the current directory, if both fit.
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

// Splits m_path into directory and pattern. A slash that ends the text goes first, so that the
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

// A directory whose name leaves no room for the slash still counts it, so that no entry fits.
bool OpenDirectory(xDirStruct& search) {
    search.m_dir = opendir(search.m_path);
    if (search.m_dir == nullptr) {
        return false;
    }
    std::size_t const length = std::strlen(search.m_path);
    search.m_prefixLength = static_cast<unsigned int>(length + 1);
    if (search.m_prefixLength < sizeof search.m_fullName) {
        std::memcpy(search.m_fullName, search.m_path, length);
        search.m_fullName[length] = '/';
    }
    return true;
}

// All zero if the joined name doesn't fit or has no status.
struct stat StatusOf(xDirStruct& search, char const* name, std::size_t length) {
    struct stat status;
    if (search.m_prefixLength + length < sizeof search.m_fullName) {
        std::memcpy(search.m_fullName + search.m_prefixLength, name, length + 1);
        if (stat(search.m_fullName, &status) == 0) {
            return status;
        }
    }
    return {};
}

void Fill(FindData& data, xDirStruct& search, char const* name) {
    std::size_t const length = std::strlen(name);
    std::size_t const kept = std::min(length, sizeof data.name - 1);
    std::memcpy(data.name, name, kept);
    data.name[kept] = '\0';

    struct stat const status = StatusOf(search, name, length);
    data.createTime = verrick::TimeWord(status.st_ctime);
    data.accessTime = verrick::TimeWord(status.st_atime);
    data.writeTime = verrick::TimeWord(status.st_mtime);
    data.size = verrick::SizeWord(status.st_size);
}

// False if there are no more.
bool TakeNext(xDirStruct& search, FindData* data) {
    while (dirent const* const entry = readdir(search.m_dir)) {
        if (WildCardMatch(search.m_pattern, entry->d_name) != 0) {
            Fill(*data, search, entry->d_name);
            return true;
        }
    }
    return false;
}

int Fold(char c) {
    return std::toupper(static_cast<unsigned char>(c));
}

} // namespace

xDirStruct::xDirStruct() : m_dir(nullptr), m_pattern(nullptr), m_prefixLength(0) {
    m_path[0] = '\0';
    m_fullName[0] = '\0';
}

// errno comes last: closing and releasing may change it.
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
    return TakeNext(*SearchOf(handle), data) ? 0 : Fail(ENOENT);
}

int _findclose(long handle) {
    if (handle == kNoSearch || SearchOf(handle)->m_dir == nullptr) {
        return Fail(ENOENT);
    }
    EndSearch()(SearchOf(handle));
    return 0;
}

// DDirListImpl::WildCardMatch walks the same steps, but folds bytes above 127 in another way and
// takes no null name; neither is built on the other.
int WildCardMatch(char const* pattern, char const* name) {
    if (pattern == nullptr || std::strcmp(pattern, "*") == 0) {
        return 1;
    }
    for (; name != nullptr && *name != '\0'; ++name) {
        if (*pattern == '*') {
            if (*name == '.') {
                return 0;
            }
            int const behind = Fold(pattern[1]);
            if (behind == Fold(name[1])) {
                pattern += 1;
            } else if (behind == Fold(name[0])) {
                pattern += 2;
            }
        } else if (*pattern == '?' || Fold(*pattern) == Fold(*name)) {
            ++pattern;
        } else {
            return 0;
        }
    }
    bool const lastStar = pattern[0] == '*' && pattern[1] == '\0';
    return *pattern == '\0' || lastStar ? 1 : 0;
}
