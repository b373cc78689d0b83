#include <verrick/listing.h>

#include "files/entry_status.h"
#include "frame/facade.h"
#include "frame/limits.h"
#include "strings/text_conversion.h"
#include <verrick/paths.h>

#include <cstring>
#include <cwchar>
#include <cwctype>
#include <iterator>
#include <new>

namespace {

constexpr std::size_t kPathBytes = verrick::kListingPathElements;

std::wint_t Fold(char c) {
    return std::towupper(static_cast<unsigned char>(c));
}

// Joins name to the first prefixLength bytes of entryPath and gets its status. False if the joined
// name doesn't fit or has no status.
bool EntryStatus(char* entryPath, std::size_t prefixLength, char const* name, struct stat& status) {
    std::size_t const size = std::strlen(name) + 1;
    if (size > kPathBytes - prefixLength) {
        return false;
    }
    std::memcpy(entryPath + prefixLength, name, size);
    return stat(entryPath, &status) == 0;
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

DDirListImpl::DDirListImpl()
    : m_dir(nullptr), m_pattern(nullptr), m_dirPath(nullptr), m_entryPath(nullptr),
      m_prefixLength(0) {
    m_widePath[0] = L'\0';
}

DDirListImpl::~DDirListImpl() {
    Close();
}

bool DDirListImpl::FindFirst(wchar_t const* path, DFileInfo* info) {
    Close();
    m_entryPath = new (std::nothrow) char[kPathBytes];
    m_dirPath = m_entryPath != nullptr ? new (std::nothrow) char[kPathBytes] : nullptr;
    return m_dirPath != nullptr && TakePath(path) && SplitPath() && OpenDirectory() &&
           FindNext(info);
}

// GetFullFilename cuts what doesn't fit, so it gets one element more than a path may take.
bool DDirListImpl::TakePath(wchar_t const* path) {
    m_dirPath[0] = '\0';
    wchar_t full[kPathBytes + 1];
    full[0] = L'\0';
    GetFullFilename(path, full, kPathBytes + 1);
    bool const taken = verrick::NarrowName(m_dirPath, kPathBytes, full);
    if (!taken) {
        m_dirPath[0] = '\0'; // may hold the part ahead of a fault
    }
    return taken;
}

bool DDirListImpl::SplitPath() {
    char* const slash = std::strrchr(m_dirPath, '/');
    if (slash == nullptr) {
        return false;
    }
    *slash = '\0';
    char const* const pattern = slash + 1;
    if (std::strcmp(pattern, "*.*") == 0 || std::strcmp(pattern, "*") == 0) {
        return true;
    }
    std::size_t const size = std::strlen(pattern) + 1;
    m_pattern = new (std::nothrow) char[size];
    if (m_pattern == nullptr) {
        return false;
    }
    std::memcpy(m_pattern, pattern, size);
    return true;
}

bool DDirListImpl::OpenDirectory() {
    m_dir = opendir(m_dirPath);
    if (m_dir == nullptr) {
        return false;
    }
    std::size_t const length = std::strlen(m_dirPath);
    std::memcpy(m_entryPath, m_dirPath, length);
    m_entryPath[length] = '/';
    m_prefixLength = static_cast<unsigned int>(length + 1);
    return true;
}

bool DDirListImpl::FindNext(DFileInfo* info) {
    if (m_dir == nullptr) {
        return false;
    }
    dirent const* entry = nullptr;
    do {
        entry = readdir(m_dir);
        if (entry == nullptr) {
            return false;
        }
    } while (WildCardMatch(m_pattern, entry->d_name) == 0);

    verrick::WidenUpToFault(info->name, std::size(info->name), entry->d_name);
    struct stat status;
    bool const known = EntryStatus(m_entryPath, m_prefixLength, entry->d_name, status);
    info->time = known ? verrick::TimeWord(status.st_mtime) : 0;
    info->size = known ? verrick::SizeWord(status.st_size) : 0;
    info->isDirectory = known && S_ISDIR(status.st_mode);
    return true;
}

// The directory is at most 4095 bytes long, for a slash behind it is gone.
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

// The flat WildCardMatch walks the same steps, but folds bytes above 127 in another way and takes a
// null name; neither is built on the other.
int DDirListImpl::WildCardMatch(char const* pattern, char const* name) {
    if (pattern == nullptr || std::strcmp(pattern, "*") == 0) {
        return 1;
    }
    std::wint_t here = Fold(*name);
    for (; *name != '\0'; ++name) {
        std::wint_t const next = Fold(name[1]);
        if (*pattern == '*') {
            if (*name == '.') {
                return 0;
            }
            std::wint_t const behind = Fold(pattern[1]);
            pattern += behind == next ? 1 : behind == here ? 2 : 0;
        } else if (*pattern == '?' || Fold(*pattern) == here) {
            ++pattern;
        } else {
            return 0;
        }
        here = next;
    }
    return *pattern == '\0' || std::strcmp(pattern, "*") == 0 ? 1 : 0;
}
