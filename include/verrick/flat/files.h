/**
 * @file
 * The flat calls of files: wildcard search of a directory, and loading of shared objects.
 */
#ifndef VERRICK_FLAT_FILES_H
#define VERRICK_FLAT_FILES_H

#include <verrick/detail/api.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * An entry that a search found. What a 32-bit field can't hold comes as the value nearest to it:
 * sizes from 4 GiB as 4294967295, times from 2038 on as 2147483647. The three times and the size
 * are 0 where the entry has no status, as a link that points nowhere.
 */
typedef struct FindData {
    uint32_t attributes; /**< never written: keeps what the caller had there */
    int32_t createTime;  /**< these three in seconds since the epoch: st_ctime, */
    int32_t accessTime;  /**< st_atime, */
    int32_t writeTime;   /**< st_mtime */
    uint32_t size;       /**< bytes */
    char name[256];      /**< as the directory gives it, terminated */
} FindData;

/**
 * Starts a search for the entries of one directory whose names fit a wildcard pattern (see
 * WildCardMatch), and stores the first of them in *data. Entries come unsorted, the directory's own
 * and its parent's among them; for every entry the pattern is `*`, not `*.*`. Stands for opendir.
 *
 * @param spec directory, a slash or backslash, and pattern, of at most 4095 bytes. Without a slash
 * the search is in the current directory. One slash at the end is dropped first, so "a/b/" looks
 * for b in a. A null or empty text finds nothing.
 * @param data written on success only.
 *
 * Gives the handle of the search, to be released with _findclose; or -1 with errno 2 when nothing
 * fits, the directory can't be opened or the text is too long, or 12 when memory is short. Then
 * nothing stays open and *data is as it was. Searches on different threads are independent; one
 * search serves one thread at a time.
 */
VERRICK_API long _findfirst(char const* spec, FindData* data);

/**
 * Stores the next entry of a search in *data and gives 0; gives -1 with errno 2, and leaves *data
 * alone, when there are no more, as often as it is called, and for the handle -1.
 */
VERRICK_API int _findnext(long handle, FindData* data);

/** Ends a search and gives 0; gives -1 with errno 2 for the handle -1. Stands for closedir. */
VERRICK_API int _findclose(long handle);

/**
 * Tells whether name fits pattern: 1 or 0. A null pattern and `*` fit everything; a null name
 * counts as empty. Letters compare blind to case, byte by byte through toupper.
 *
 * A question mark takes one character. A star takes any number of them up to the first place where
 * the character behind it fits, and never gets past a dot, so that `*.*` means exactly one dot, not
 * at the start. There is no second try: `x*y` doesn't fit xyzy. Safe from any thread.
 */
VERRICK_API int WildCardMatch(char const* pattern, char const* name);

/**
 * Loads a shared object, as dlopen does with RTLD_LAZY, and gives the handle that the caller owns
 * until FreeLibrary; it is a DDynamicLibrary, not for CloseHandle.
 *
 * @param libraryName wide, at most 4095 characters, and at most 4095 bytes when converted. It goes
 * to the loader unchanged; the empty name is the program itself.
 *
 * Gives null on failure; for a name that the loader refused there is a line about it on standard
 * output. Throws std::bad_alloc. Safe from any thread.
 */
VERRICK_API void* LoadLibrary(wchar_t const* libraryName);

/**
 * The address of a symbol, as dlsym gives it; null if there is none, for a null module or procName,
 * and for a name of 4096 bytes or more. Safe from any thread while the library stays loaded.
 */
VERRICK_API void* GetProcAddress(void* module, char const* procName);

/** Unloads, as dlclose does. Gives 1, and the handle is dead then; 0 for null. */
VERRICK_API int FreeLibrary(void* module);

#ifdef __cplusplus
}
#endif

#endif
