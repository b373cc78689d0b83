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
 * An entry that a search found. A value that 32 bits can't hold becomes the nearest one: sizes from
 * 4 GiB on 4294967295, times from 2038 on 2147483647. The times and the size are 0 if the entry has
 * no status, for example a link that points nowhere.
 */
typedef struct FindData {
    uint32_t attributes; /**< never written: it keeps what the caller stored there */
    int32_t createTime;  /**< st_ctime, in seconds since the epoch */
    int32_t accessTime;  /**< st_atime, likewise */
    int32_t writeTime;   /**< st_mtime, likewise */
    uint32_t size;       /**< in bytes */
    char name[4096];     /**< as the directory has it, terminated */
} FindData;

/**
 * Starts a search for the entries of one directory whose names fit a pattern, and stores the first
 * one. Entries come unsorted. The directory's own entry and its parent's are among them. For every
 * entry the pattern is `*`, not `*.*`. Stands for opendir and readdir.
 *
 * @param spec the directory, a slash or backslash, and a pattern for WildCardMatch. It has at most
 * 4095 bytes. Without a slash the search is in the current directory. One slash at the end is
 * dropped first, so "a/b/" looks for b in a. No entry fits a null or empty text.
 * @param data the caller's record. It isn't null.
 *
 * Returns the handle of the search, which the caller releases with _findclose. Returns -1 with
 * errno 12 when memory is short. For any other failure it returns -1 with errno 2. The system's own
 * reason is lost: a missing directory, one without permission (EACCES) and a lack of descriptors
 * (EMFILE) look alike. So do a text that is too long and a pattern that no entry fits. After -1
 * nothing stays open and *data is unchanged.
 *
 * Searches on different threads are independent. One search serves one thread at a time. The call
 * may block on the disk.
 */
VERRICK_API long _findfirst(char const* spec, FindData* data);

/**
 * Stores the next entry of a search in *data. The status is that of the entry in the open
 * directory, even if the directory was renamed or replaced since. An entry whose name has 4096
 * bytes or more is left out. Stands for readdir and stat.
 *
 * Returns 0 with an entry; errno is then unchanged. Returns -1 with errno 2 at the end, as often as
 * it is called, and for the handle -1. Returns -1 with the system's own errno if the directory
 * can't be read any further. After -1 *data is unchanged. May block on the disk.
 */
VERRICK_API int _findnext(long handle, FindData* data);

/**
 * Ends a search and releases its handle. Stands for closedir. Returns 0. Returns -1 with errno 2
 * for the handle -1.
 */
VERRICK_API int _findclose(long handle);

/**
 * Returns 1 if name fits pattern, else 0. A null pattern and `*` fit every name. A null name counts
 * as empty. Case doesn't count: letters are compared byte by byte through toupper. Safe from any
 * thread.
 *
 * A question mark takes one character, which may be a dot. A star takes characters up to the first
 * place where the character after it in the pattern comes next. There is no second try if the rest
 * doesn't fit. A star never takes a dot, and it fails in front of one even if it took nothing. The
 * character after a star stands for itself, even if it is a question mark or a star.
 *
 * | pattern | name | fits |
 * |---|---|---|
 * | `*` | `.profile` | yes |
 * | `*.*` | `a.txt` | yes |
 * | `*.*` | `README` | no |
 * | `*.*` | `a.tar.gz` | no |
 * | `*.txt` | `NOTES.TXT` | yes |
 * | `*.txt` | `.txt` | no |
 * | `*.txt` | `a.b.txt` | no |
 * | `a*` | `a` | yes |
 * | `a*` | `a.b` | no |
 * | `a*.c` | `ab.c` | yes |
 * | `a*.c` | `a.c` | no |
 * | `*b` | `ab` | yes |
 * | `*b` | `abb` | no |
 * | `x*y` | `xy` | yes |
 * | `x*y` | `xyzy` | no |
 * | `?` | `.` | yes |
 * | `a?` | `a` | no |
 * | `*?` | `ab` | no |
 */
VERRICK_API int WildCardMatch(char const* pattern, char const* name);

/**
 * Loads a shared object. Stands for dlopen with RTLD_LAZY. Safe from any thread. It runs the
 * library's constructors, and may wait for those of others (see libraries.h).
 *
 * @param libraryName wide, at most 4095 characters, and at most 4095 bytes when converted. It goes
 * to the loader unchanged. The empty name is the program itself.
 *
 * Returns a handle, which the caller owns until FreeLibrary. It is a DDynamicLibrary and not for
 * CloseHandle. Returns null on failure. If the loader refused the name, a line on standard output
 * tells its reason. Throws std::bad_alloc.
 */
VERRICK_API void* LoadLibrary(wchar_t const* libraryName);

/**
 * Looks up a symbol. Stands for dlsym. Safe from any thread while the library stays loaded. It may
 * wait for another library's constructors or destructors.
 *
 * @param module a handle of LoadLibrary.
 * @param procName the symbol's name in narrow text.
 *
 * Returns the address, which is good until FreeLibrary. Returns null if there is no such symbol. It
 * does so too for a null module or procName, and for a name of 4096 bytes or more.
 */
VERRICK_API void* GetProcAddress(void* module, char const* procName);

/**
 * Unloads a library and releases its handle. Stands for dlclose. Returns 1, also if the loader
 * refused, which a line on standard output tells. Returns 0 for a null module.
 */
VERRICK_API int FreeLibrary(void* module);

#ifdef __cplusplus
}
#endif

#endif
