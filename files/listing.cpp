#include <verrick/listing.h>

#include "files/entry_fields.h"
#include "files/full_filename.h"
#include "frame/facade.h"
#include "frame/limits.h"
#include "strings/text_conversion.h"

#include <cerrno>
#include <cstring>
#include <cwctype>
#include <iterator>
#include <new>

namespace {

constexpr std::size_t kPathElements = verrick::kListingPathElements;

std::wint_t Fold(char c) {
    return std::towupper(static_cast<unsigned char>(c));
}

bool IsSame(char first, char second) {
    return first == second || Fold(first) == Fold(second);
}

// Returns false, and stores nothing, if the record has no room for the name.
bool StoreEntry(DFileInfo& info, DIR* directory, char const* name) {
    if (std::strlen(name) >= std::size(info.name)) {
        return false;
    }
    verrick::WidenUpToFault(info.name, std::size(info.name), name);
    verrick::EntryFields const fields = verrick::ReadEntryFields(directory, name);
    info.time = fields.writeTime;
    info.size = fields.size;
    info.isDirectory = fields.isDirectory;
    return true;
}

} // namespace

IDirList::IDirList() = default;
IDirList::~IDirList() = default;

DDirList::DDirList() : m_impl(new DDirListImpl) {}

DDirList::~DDirList() {
    delete m_impl;
}

bool DDirList::FindFirst(wchar_t const* path, DFileInfo* info) {
    return verrick::ForwardOr(false, m_impl, &IDirList::FindFirst, path, info);
}

bool DDirList::FindNext(DFileInfo* info) {
    return verrick::ForwardOr(false, m_impl, &IDirList::FindNext, info);
}

wchar_t const* DDirList::GetFullPath() {
    return verrick::ForwardOr(nullptr, m_impl, &IDirList::GetFullPath);
}

// The steps of FindFirst. Each returns false if the search ends there. They aren't exported with
// the class.
struct [[gnu::visibility("hidden")]] DDirListImpl::Steps {
    static bool Allocate(DDirListImpl & list);
    static bool TakePath(DDirListImpl & list, wchar_t const* path);
    static bool SplitPath(DDirListImpl & list);
    static bool OpenDirectory(DDirListImpl & list);
};

DDirListImpl::DDirListImpl()
    : m_dir(nullptr), m_pattern(nullptr), m_dirPath(nullptr), m_entryPath(nullptr) {
    m_widePath[0] = L'\0';
}

DDirListImpl::~DDirListImpl() {
    Close();
}

bool DDirListImpl::FindFirst(wchar_t const* path, DFileInfo* info) {
    Close();
    return Steps::Allocate(*this) && Steps::TakePath(*this, path) && Steps::SplitPath(*this) &&
           Steps::OpenDirectory(*this) && FindNext(info);
}

bool DDirListImpl::Steps::Allocate(DDirListImpl& list) {
    list.m_entryPath = new (std::nothrow) char[kPathElements];
    if (list.m_entryPath == nullptr) {
        return false;
    }
    list.m_dirPath = new (std::nothrow) char[kPathElements];
    if (list.m_dirPath == nullptr) {
        return false;
    }
    list.m_dirPath[0] = '\0';
    return true;
}

// Stores the whole path in m_entryPath. What doesn't fit is cut, first in wide characters and then
// in bytes.
bool DDirListImpl::Steps::TakePath(DDirListImpl& list, wchar_t const* path) {
    wchar_t full[kPathElements];
    return path != nullptr && verrick::MakeFullFilename(path, full, kPathElements) &&
           verrick::Narrow(list.m_entryPath, kPathElements, full).converted;
}

// There is a slash, because the path is absolute.
bool DDirListImpl::Steps::SplitPath(DDirListImpl& list) {
    char const* const slash = std::strrchr(list.m_entryPath, '/');
    auto const directoryLength = static_cast<std::size_t>(slash - list.m_entryPath);
    std::memcpy(list.m_dirPath, list.m_entryPath, directoryLength);
    list.m_dirPath[directoryLength] = '\0';

    char const* const pattern = slash + 1;
    if (std::strcmp(pattern, "*.*") == 0 || std::strcmp(pattern, "*") == 0) {
        return true;
    }
    std::size_t const size = std::strlen(pattern) + 1;
    list.m_pattern = new (std::nothrow) char[size];
    if (list.m_pattern == nullptr) {
        return false;
    }
    std::memcpy(list.m_pattern, pattern, size);
    return true;
}

bool DDirListImpl::Steps::OpenDirectory(DDirListImpl& list) {
    list.m_dir = opendir(list.m_dirPath);
    return list.m_dir != nullptr;
}

// errno tells an error from the end: only readdir's own failure changes it.
bool DDirListImpl::FindNext(DFileInfo* info) {
    if (m_dir == nullptr) {
        return false;
    }
    int const errnoBefore = errno;
    while (dirent const* const entry = readdir(m_dir)) {
        if (WildCardMatch(m_pattern, entry->d_name) != 0 &&
            StoreEntry(*info, m_dir, entry->d_name)) {
            errno = errnoBefore;
            return true;
        }
    }
    return false;
}

// The directory has at most 4095 bytes, because the slash after it is cut off.
wchar_t const* DDirListImpl::GetFullPath() {
    if (m_dirPath != nullptr) {
        verrick::WidenUpToFault(m_widePath, std::size(m_widePath), m_dirPath);
    }
    return m_widePath;
}

void DDirListImpl::Close() {
    delete[] m_pattern;
    if (m_dir != nullptr) {
        closedir(m_dir);
    }
    delete[] m_dirPath;
    delete[] m_entryPath;
    m_pattern = nullptr;
    m_dir = nullptr;
    m_dirPath = nullptr;
    m_entryPath = nullptr;
}

// The flat WildCardMatch takes the same steps. But it folds bytes above 127 in another way and
// takes a null name. So neither is built on the other.
int DDirListImpl::WildCardMatch(char const* pattern, char const* name) {
    if (pattern == nullptr || std::strcmp(pattern, "*") == 0) {
        return 1;
    }
    for (; *name != '\0'; ++name) {
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
    return *pattern == '\0' || std::strcmp(pattern, "*") == 0 ? 1 : 0;
}
