/*
 * _finddata_t and the searches with it, for verrick/win32.h.
 */
#ifndef VERRICK_DETAIL_WIN32_SEARCH_H
#define VERRICK_DETAIL_WIN32_SEARCH_H

#include <verrick/detail/win32_types.h>
#include <verrick/flat/files.h>

#include <dirent.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#define _A_NORMAL 0x00U
#define _A_RDONLY 0x01U
#define _A_HIDDEN 0x02U
#define _A_SYSTEM 0x04U
#define _A_SUBDIR 0x10U
#define _A_ARCH 0x20U

typedef uint32_t _fsize_t;

/**
 * An entry of a search. attrib has _A_SUBDIR for a directory, and _A_RDONLY for an entry that its
 * owner may not write. It has _A_HIDDEN for a name that begins with a dot, other than "." and "..".
 * _A_SYSTEM and _A_ARCH never come. An entry without a status, such as a link that leads nowhere,
 * is _A_NORMAL with zeros.
 */
typedef struct _finddata_t {
    unsigned int attrib;
    time_t time_create; /* the last change of the entry's status */
    time_t time_access;
    time_t time_write;
    _fsize_t size; /* bytes, at most 0xFFFFFFFF */
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

VERRICK_WIN32_CALL unsigned int VerrickAttributes(char const* name, struct stat const* status) {
    int const isDots = strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
    return (S_ISDIR(status->st_mode) ? _A_SUBDIR : 0U) |
           ((status->st_mode & S_IWUSR) == 0 ? _A_RDONLY : 0U) |
           (name[0] == '.' && !isDots ? _A_HIDDEN : 0U);
}

/* Fills data for the entry that a search found. A search begins with its open directory. */
VERRICK_WIN32_CALL void VerrickFillFindData(long handle, FindData const* found, _finddata_t* data) {
    DIR* const* const directory = (DIR* const*)handle;
    struct stat status;
    data->attrib = _A_NORMAL;
    data->time_create = found->createTime;
    data->time_access = found->accessTime;
    data->time_write = found->writeTime;
    data->size = found->size;
    memcpy(data->name, found->name, strlen(found->name) + 1);
    if (fstatat(dirfd(*directory), found->name, &status, 0) == 0) {
        data->attrib = VerrickAttributes(found->name, &status);
        data->time_create = status.st_ctime; /* FindData has 32 bits for it */
        data->time_access = status.st_atime;
        data->time_write = status.st_mtime;
    }
}

/* Tells whether the last part of a search text is "*.*". */
VERRICK_WIN32_CALL int VerrickMeansAll(char const* spec, size_t length) {
    return length >= 3 && strcmp(spec + length - 3, "*.*") == 0 &&
           (length == 3 || spec[length - 4] == '/' || spec[length - 4] == '\\');
}

/**
 * As the library's _findfirst, for a _finddata_t. "*.*" as the last part of spec means every entry,
 * as Win32 programs mean it. All other patterns match as flat/files.h says: a star doesn't pass a
 * dot.
 */
VERRICK_WIN32_CALL long VerrickFindFirst(char const* spec, _finddata_t* data) {
    FindData found;
    char all[4096];
    size_t const length = spec != NULL ? strlen(spec) : 0;
    long handle = 0;
    if (length < sizeof all && VerrickMeansAll(spec, length)) {
        memcpy(all, spec, length - 2);
        all[length - 2] = '\0';
        spec = all;
    }
    handle = _findfirst(spec, &found);
    if (handle != -1) {
        VerrickFillFindData(handle, &found, data);
    }
    return handle;
}

/** As the library's _findnext, for a _finddata_t. */
VERRICK_WIN32_CALL int VerrickFindNext(long handle, _finddata_t* data) {
    FindData found;
    int const result = _findnext(handle, &found);
    if (result == 0) {
        VerrickFillFindData(handle, &found, data);
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
#else
#define VERRICK_IS_FIND_DATA(data) __builtin_types_compatible_p(__typeof__(data), FindData*)
#define _findfirst(spec, data)                                                                     \
    __builtin_choose_expr(VERRICK_IS_FIND_DATA(data), (_findfirst), VerrickFindFirst)((spec),      \
                                                                                      (data))
#define _findnext(handle, data)                                                                    \
    __builtin_choose_expr(VERRICK_IS_FIND_DATA(data), (_findnext), VerrickFindNext)((handle),      \
                                                                                    (data))
#endif

#endif
