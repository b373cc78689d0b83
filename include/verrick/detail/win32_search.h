/*
 * _finddata_t and the searches with it, for verrick/win32.h.
 */
#ifndef VERRICK_DETAIL_WIN32_SEARCH_H
#define VERRICK_DETAIL_WIN32_SEARCH_H

#include <verrick/detail/win32_types.h>
#include <verrick/flat/files.h>

#include <dirent.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#define _A_NORMAL 0x00U
#define _A_RDONLY 0x01U
#define _A_HIDDEN 0x02U
#define _A_SYSTEM 0x04U
#define _A_SUBDIR 0x10U
#define _A_ARCH 0x20U

/**
 * An entry of a search. attrib has _A_SUBDIR for a directory, _A_RDONLY for an entry that its owner
 * may not write, and _A_HIDDEN for a name that begins with a dot. _A_SYSTEM and _A_ARCH never come.
 * An entry without a status, such as a link that leads nowhere, is _A_NORMAL with zeros.
 */
typedef struct _finddata_t {
    unsigned int attrib;
    time_t time_create; /* the last change of the entry's status */
    time_t time_access;
    time_t time_write;
    uint32_t size; /* bytes, at most 0xFFFFFFFF */
    char name[sizeof((FindData*)0)->name];
} _finddata_t;

/* The C library shows these two only to programs that ask for more than C. A program that asks for
 * large files alone gets the call for its kind of record. */
#if !defined(__cplusplus) && !defined(__USE_XOPEN2K8)
#if defined(__USE_TIME_BITS64)
#define VERRICK_FSTATAT_NAME __asm__("__fstatat64_time64")
#elif defined(__USE_FILE_OFFSET64) && !defined(__LP64__)
#define VERRICK_FSTATAT_NAME __asm__("fstatat64")
#else
#define VERRICK_FSTATAT_NAME
#endif
extern int fstatat(int directory, char const* path, struct stat* status,
                   int flags) VERRICK_FSTATAT_NAME;
extern int dirfd(DIR* directory);
#endif

static inline unsigned int VerrickAttributes(char const* name, struct stat const* status) {
    int const isDots = strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
    return (S_ISDIR(status->st_mode) ? _A_SUBDIR : 0U) |
           ((status->st_mode & S_IWUSR) == 0 ? _A_RDONLY : 0U) |
           (name[0] == '.' && !isDots ? _A_HIDDEN : 0U);
}

/* Fills data for the entry that the search just found. A search begins with the open directory. */
static inline void VerrickFillFindData(long handle, char const* name, _finddata_t* data) {
    DIR* const* const directory = (DIR* const*)handle;
    struct stat status;
    memset(data, 0, sizeof *data);
    strcpy(data->name, name);
    if (fstatat(dirfd(*directory), name, &status, 0) == 0) {
        data->attrib = VerrickAttributes(name, &status);
        data->time_create = status.st_ctime;
        data->time_access = status.st_atime;
        data->time_write = status.st_mtime;
        data->size =
            (uint64_t)status.st_size < 0xFFFFFFFFU ? (uint32_t)status.st_size : 0xFFFFFFFFU;
    }
}

/**
 * As the library's _findfirst, for a _finddata_t. "*.*" as the last part of spec means every entry,
 * as Win32 programs mean it. All other patterns match as files.h says: a star doesn't pass a dot.
 * errno stays as the search left it.
 */
static inline long VerrickFindFirst(char const* spec, _finddata_t* data) {
    FindData found;
    char all[4096];
    size_t const length = spec != NULL ? strlen(spec) : 0;
    int const isAll = length >= 3 && length < sizeof all && strcmp(spec + length - 3, "*.*") == 0 &&
                      (length == 3 || spec[length - 4] == '/' || spec[length - 4] == '\\');
    long handle = 0;
    if (isAll) {
        memcpy(all, spec, length - 2);
        all[length - 2] = '\0';
    }
    handle = _findfirst(isAll ? all : spec, &found);
    if (handle != -1) {
        VerrickFillFindData(handle, found.name, data);
    }
    return handle;
}

/** As the library's _findnext, for a _finddata_t. */
static inline int VerrickFindNext(long handle, _finddata_t* data) {
    FindData found;
    int const result = _findnext(handle, &found);
    if (result == 0) {
        VerrickFillFindData(handle, found.name, data);
    }
    return result;
}

#ifdef __cplusplus
inline long _findfirst(char const* spec, _finddata_t* data) {
    return VerrickFindFirst(spec, data);
}
inline int _findnext(long handle, _finddata_t* data) {
    return VerrickFindNext(handle, data);
}
#elif __STDC_VERSION__ >= 201112L
#define _findfirst(spec, data)                                                                     \
    _Generic((data), _finddata_t * : VerrickFindFirst, default : (_findfirst))((spec), (data))
#define _findnext(handle, data)                                                                    \
    _Generic((data), _finddata_t * : VerrickFindNext, default : (_findnext))((handle), (data))
#else
#define _findfirst VerrickFindFirst
#define _findnext VerrickFindNext
#endif

#endif
