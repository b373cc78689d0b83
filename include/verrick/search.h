/**
 * @file
 * Wildcard search of a directory in narrow text: _findfirst, _findnext, _findclose and their
 * matcher WildCardMatch. DDirList (listing.h) does the like in wide text, with a matcher of its own
 * and other rules; the two share nothing.
 */
#ifndef VERRICK_SEARCH_H
#define VERRICK_SEARCH_H

#include <verrick/detail/api.h>
#include <verrick/flat/files.h>

#include <dirent.h>

/**
 * One search. Its address is the handle that _findfirst gives; applications see no more of it. The
 * search owns the stream.
 *
 * 1. m_path holds the directory, terminated, and m_pattern points into the same array behind that
 *    terminator.
 * 2. The first m_prefixLength bytes of m_fullName are the directory and a slash; the rest is free
 *    for the name of the entry under examination.
 */
class VERRICK_API xDirStruct {
public:
    /** Begins without a directory. */
    xDirStruct();

    xDirStruct(xDirStruct const&) = delete;
    xDirStruct& operator=(xDirStruct const&) = delete;

    DIR* m_dir;                  /**< owned; null while no directory is open */
    char m_path[4096];           /**< the directory */
    char m_fullName[4096];       /**< also holds the search text for a moment */
    char* m_pattern;             /**< in m_path, behind the directory */
    unsigned int m_prefixLength; /**< bytes of m_fullName that stay from entry to entry */
};

#endif
