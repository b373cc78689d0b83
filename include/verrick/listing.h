/**
 * @file
 * Listing of a directory in wide text, by a wildcard pattern. It stands for opendir, readdir and
 * stat.
 *
 * It differs from _findfirst (flat/files.h) in these ways. A relative name is made absolute. White
 * space at the front is removed. A slash at the end leaves an empty pattern, which no entry fits.
 * And `*.*` means every entry.
 *
 * An object serves one thread at a time. Separate objects are independent. Every operation may
 * block on the disk.
 */
#ifndef VERRICK_LISTING_H
#define VERRICK_LISTING_H

#include <verrick/detail/api.h>

#include <cstdint>
#include <dirent.h>

/**
 * An entry that a listing found. A value that 32 bits can't hold becomes the nearest one. An entry
 * without a status, for example a link that points nowhere, has 0 as time, size and isDirectory.
 */
struct DFileInfo {
    std::int32_t time;  /**< of the last write, in seconds since the epoch */
    std::uint32_t size; /**< in bytes */
    wchar_t name[4096]; /**< without its directory; it ends before a byte that doesn't convert */
    bool isDirectory;   /**< true for a link to a directory too */
};

/** The interface of listings. */
class VERRICK_API IDirList {
public:
    IDirList();

    /** Ends the search. */
    virtual ~IDirList();

    /**
     * Ends the search under way and starts another one. Finds the entries of a directory whose
     * names fit a pattern, and stores the first one. Entries come unsorted. The directory's own
     * entry and its parent's are among them.
     *
     * @param path the directory and, after its last slash, the pattern. GetFullFilename (paths.h)
     * makes it absolute. What goes beyond 4096 characters or bytes of this is cut, which may cut
     * the pattern. The patterns `*.*` and `*` fit every entry. All others are explained at
     * WildCardMatch in flat/files.h.
     * @param info the caller's record. It isn't null.
     *
     * Returns true if there is an entry. On false *info is unchanged, and nothing is thrown. The
     * reasons are: no entry fits, the directory can't be opened or read, or memory is short. Others
     * are a path that is null or doesn't convert, and a relative path without a current directory.
     *
     * errno tells a system's error from an end: set it to 0 before the call. After false it is
     * still 0 if no entry fits.
     */
    virtual bool FindFirst(wchar_t const* path, DFileInfo* info) = 0;

    /**
     * Stores the next entry of the search in *info. The status is that of the entry in the open
     * directory, even if the directory was renamed or replaced since. An entry whose name has 4096
     * bytes or more is left out.
     *
     * Returns true if there is an entry. Returns false at the end, after an error, and if no search
     * is under way. Then *info is unchanged.
     *
     * errno tells an error from the end: set it to 0 before the call. After false it is still 0 at
     * the end, and else what the system said. On true errno is as it was.
     */
    virtual bool FindNext(DFileInfo* info) = 0;

    /**
     * Returns the directory of the search, absolute and without a slash at the end. It also does
     * so if the directory couldn't be opened. The text is empty before the first search, and
     * afterwards for a path that couldn't be used. It belongs to the object and is good until the
     * next call of this.
     */
    virtual wchar_t const* GetFullPath() = 0;

    IDirList(IDirList const&) = delete;
    IDirList& operator=(IDirList const&) = delete;
};

/** A listing, as an application creates it. */
class VERRICK_API DDirList : public IDirList {
public:
    /** Makes a listing without a search. Throws std::bad_alloc. */
    DDirList();

    /** Ends the search. */
    ~DDirList() override;

    bool FindFirst(wchar_t const* path, DFileInfo* info) override;
    bool FindNext(DFileInfo* info) override;
    wchar_t const* GetFullPath() override;

private:
    IDirList* m_impl; /* owned; constant after construction */
};

/** The implementation of DDirList. */
class VERRICK_API DDirListImpl : public IDirList {
public:
    /** Makes a listing without a search. */
    DDirListImpl();

    /** Ends the search. */
    ~DDirListImpl() override;

    bool FindFirst(wchar_t const* path, DFileInfo* info) override;
    bool FindNext(DFileInfo* info) override;
    wchar_t const* GetFullPath() override;

    /** Ends the search and releases what it holds. Does nothing if there is none. */
    void Close();

    /**
     * Returns 1 if name fits pattern, else 0. It works as the flat WildCardMatch does, with one
     * difference: each byte is folded through towupper, as if it were a character of its own. name
     * isn't null. Safe from any thread.
     */
    static int WildCardMatch(char const* pattern, char const* name);

private:
    struct Steps;

    /* The three char blocks are owned. They come from new[], and Close releases them. */
    DIR* m_dir;               /* owned; null while no directory is open */
    char* m_pattern;          /* null if every entry fits */
    char* m_dirPath;          /* 4097 bytes: the directory, without a slash at the end */
    char* m_entryPath;        /* 4097 bytes: the whole path, until FindFirst has split it */
    wchar_t m_widePath[4096]; /* what GetFullPath returns */
};

#endif
