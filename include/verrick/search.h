/**
 * @file
 * Wildcard search of a directory in narrow text. The calls stand in flat/files.h; here is the
 * record of a search, which belongs to these calls alone.
 *
 * DDirList (listing.h) does similar work in wide text, by other rules. The two are independent.
 */
#ifndef VERRICK_SEARCH_H
#define VERRICK_SEARCH_H

#include <verrick/detail/api.h>
#include <verrick/flat/files.h>

#include <dirent.h>

/** One search. Its address is the handle that _findfirst returns. It serves one thread at a time.
 */
class VERRICK_API xDirStruct {
public:
    /** Makes a record without a directory. */
    xDirStruct();

    xDirStruct(xDirStruct const&) = delete;
    xDirStruct& operator=(xDirStruct const&) = delete;

    DIR* m_dir;            /**< owned by the search; null while no directory is open */
    char m_path[4096];     /**< the directory, terminated, and after it the pattern */
    char m_fullName[4096]; /**< holds the search text for a moment in _findfirst */
    char* m_pattern;       /**< the pattern, which stands in m_path */
};

#endif
