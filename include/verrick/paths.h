/**
 * @file
 * Names of files in wide text. Nothing here looks at the file system but for the current directory,
 * which belongs to the process: a change of it on another thread shows in these calls.
 *
 * The library also exports stat and fstat for the whole process, weak, with the answers of libc;
 * they are declared by the system's own <sys/stat.h>.
 */
#ifndef VERRICK_PATHS_H
#define VERRICK_PATHS_H

#include <verrick/detail/api.h>

/**
 * Stores the current directory, as getcwd gives it, in buffer, which has room for size wide
 * characters. Gives its length without the terminator; 0 if it doesn't fit with its terminator,
 * can't be had or can't be converted, and then buffer is as it was. A directory is never cut. Safe
 * from any thread.
 */
VERRICK_API unsigned int GetCurrentDir(wchar_t* buffer, unsigned int size);

/**
 * Stores name as an absolute name in buffer, which has room for size wide characters: white space
 * at the front removed, backslashes turned into slashes, and the current directory and a slash
 * ahead of a name that doesn't begin with a slash. The name needn't exist; its "." and ".." stay.
 *
 * Gives buffer, always. What doesn't fit is cut. If there is no current directory its text is
 * empty; if that can't be converted, buffer becomes the empty text. A null name, a null buffer and
 * a size of 0 leave buffer as it was. Throws std::bad_alloc. Safe from any thread.
 */
VERRICK_API wchar_t* GetFullFilename(wchar_t const* name, wchar_t* buffer, unsigned int size);

#endif
