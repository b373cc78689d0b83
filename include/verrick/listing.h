/**
 * @file
 * Listing of a directory in wide text, by a wildcard pattern: opendir, readdir and stat.
 *
 * It differs from _findfirst (search.h): relative names are made absolute, white space in front
 * goes, a slash at the end leaves an empty pattern that nothing fits, and `*.*` means every entry.
 *
 * An object serves one thread at a time; separate objects are independent.
 */
#ifndef VERRICK_LISTING_H
#define VERRICK_LISTING_H

#include <verrick/detail/api.h>

#include <cstdint>
#include <dirent.h>

/**
 * An entry that a listing found. What a 32-bit field can't hold comes as the value nearest to it.
 * time, size and isDirectory are 0 where the entry has no status, as a link that points nowhere.
 */
struct DFileInfo {
    std::int32_t time;  /**< of the last write, in seconds since the epoch */
    std::uint32_t size; /**< bytes */
    wchar_t name[4096]; /**< without its directory; ends ahead of a byte that can't be converted */
    bool isDirectory;   /**< also for a link to a directory */
};

/** The interface of listings. */
class VERRICK_API IDirList {
public:
    IDirList();

    /** Ends the search. */
    virtual ~IDirList();

    /**
     * Ends the search under way and starts another, for the entries of path's directory whose names
     * fit the pattern behind its last slash; GetFullFilename makes path absolute. Entries come
     * unsorted, the directory's own and its parent's among them.
     *
     * The pattern: `*.*` and `*` fit everything; else as told at WildCardMatch (flat/files.h).
     *
     * Gives true with the first entry in *info; false when nothing fits, the directory can't be
     * opened, memory is short, or path is null, can't be converted or takes more than 4096 bytes.
     * Then *info is as it was.
     */
    virtual bool FindFirst(wchar_t const* path, DFileInfo* info) = 0;

    /**
     * Gives true with the next entry in *info; false, and leaves *info and errno alone, when there
     * are no more and when no search is under way.
     */
    virtual bool FindNext(DFileInfo* info) = 0;

    /**
     * The directory of the search, absolute, without a slash at the end, also if it couldn't be
     * opened. The text is the object's and is good until the next call of this; empty before the
     * first search.
     */
    virtual wchar_t const* GetFullPath() = 0;

    IDirList(IDirList const&) = delete;
    IDirList& operator=(IDirList const&) = delete;
};

/** A listing, as an application creates it. */
class VERRICK_API DDirList : public IDirList {
public:
    /** Throws std::bad_alloc. */
    DDirList();
    ~DDirList() override;

    bool FindFirst(wchar_t const* path, DFileInfo* info) override;
    bool FindNext(DFileInfo* info) override;
    wchar_t const* GetFullPath() override;

private:
    IDirList* m_impl; /* owned; constant after construction */
};

/** The work behind DDirList. */
class VERRICK_API DDirListImpl : public IDirList {
public:
    DDirListImpl();
    ~DDirListImpl() override;

    bool FindFirst(wchar_t const* path, DFileInfo* info) override;
    bool FindNext(DFileInfo* info) override;
    wchar_t const* GetFullPath() override;

    /** Ends the search and releases what it holds. May be called twice. */
    void Close();

    /**
     * Tells whether name, which isn't null, fits pattern: 1 or 0. As the flat call of this name,
     * but for case, which folds through towupper, each byte taken as a character of its own.
     */
    static int WildCardMatch(char const* pattern, char const* name);

private:
    bool TakePath(wchar_t const* path);
    bool SplitPath();
    bool OpenDirectory();

    /*
     * 1. m_pattern, m_dirPath and m_entryPath are owned, from new[], and released by Close.
     * 2. While m_dir is open, the first m_prefixLength bytes of m_entryPath are the directory and a
     *    slash; the rest is free for the name of the entry under examination.
     */
    DIR* m_dir;
    char* m_pattern;          /* null: every entry fits */
    char* m_dirPath;          /* 4097 bytes, without a slash at the end */
    char* m_entryPath;        /* 4097 bytes */
    wchar_t m_widePath[4096]; /* what GetFullPath gives */
    unsigned int m_prefixLength;
};

#endif
