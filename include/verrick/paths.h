/**
 * @file
 * Names of files in wide text. These calls look at nothing in the file system except the current
 * directory. It belongs to the process, so they see its change by another thread.
 *
 * The library also exports stat and fstat, weak, with the same answers as those of libc. The
 * system's own header <sys/stat.h> declares them.
 */
#ifndef VERRICK_PATHS_H
#define VERRICK_PATHS_H

#include <verrick/detail/api.h>

/**
 * Stores the current directory. Stands for getcwd. Safe from any thread.
 *
 * @param buffer room for size wide characters. A null buffer is no error.
 * @param size in wide characters, with the terminator.
 *
 * Returns the length without the terminator. The directory is never cut: the result is 0 if it has
 * size bytes or more. It is 0 too if there is no current directory, if that can't be converted, and
 * for a null buffer. Then buffer is unchanged.
 */
VERRICK_API unsigned int GetCurrentDir(wchar_t* buffer, unsigned int size);

/**
 * Stores the absolute form of a name. White space at the front is removed, and backslashes become
 * slashes. A name that doesn't begin with a slash gets the current directory and a slash in front.
 * The file needn't exist. The components "." and ".." stay. Safe from any thread.
 *
 * @param name wide text. It may be the same buffer as the destination.
 * @param buffer room for size wide characters. What doesn't fit is cut.
 * @param size in wide characters, with the terminator.
 *
 * Returns buffer, always. A null name, a null buffer and a size of 0 leave it unchanged. If there
 * is no current directory, for example because it was removed, a relative name gets a slash alone
 * in front. If the current directory can't be converted, the result is the empty text. Throws
 * std::bad_alloc.
 */
VERRICK_API wchar_t* GetFullFilename(wchar_t const* name, wchar_t* buffer, unsigned int size);

#endif
