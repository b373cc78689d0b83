/*
 * The generic-text names of verrick/win32.h: all of them are the wide ones.
 *
 * Three differ from the calls that Win32 programs know:
 * - _tcstok is the library's _wcstok. It has one search for the whole process, not one a thread.
 * - _stprintf is the library's _sprintf. It prints 512 characters at most, and its %s with a flag,
 *   width or precision takes narrow text.
 * - _tcsicmp and _wcsicmp fold to upper case, and return -1, 0 or 1.
 *
 * There is no _tprintf. The C library's wide output takes %s for narrow text, and a stream that
 * printed wide text refuses narrow text afterwards.
 */
#ifndef VERRICK_DETAIL_WIN32_TEXT_H
#define VERRICK_DETAIL_WIN32_TEXT_H

#include <verrick/detail/win32_types.h>
#include <verrick/flat/strings.h>

#include <stdlib.h>
#include <wchar.h>

#define VERRICK_WIDE_LITERAL(text) L##text
#define TEXT(text) VERRICK_WIDE_LITERAL(text)
#define _T(text) VERRICK_WIDE_LITERAL(text)
#define _TEXT(text) VERRICK_WIDE_LITERAL(text)

/* Returns a copy that the caller releases with free, or null if memory is short or text is null.
 * The library's own _strdup returns one for delete[]. */
VERRICK_WIN32_CALL wchar_t* VerrickWideCopy(wchar_t const* text) {
    size_t const size = text != NULL ? wcslen(text) + 1 : 0;
    wchar_t* const copy = (wchar_t*)(size != 0 ? malloc(size * sizeof *text) : NULL);
    return copy != NULL ? wmemcpy(copy, text, size) : NULL;
}

#define _wcsdup VerrickWideCopy
#define _wcsicmp _stricmp
#define _wcsupr _strupr

#define _tcslen wcslen
#define _tcscpy wcscpy
#define _tcsncpy wcsncpy
#define _tcscat wcscat
#define _tcsncat wcsncat
#define _tcscmp wcscmp
#define _tcsncmp wcsncmp
#define _tcsicmp _stricmp
#define _tcschr wcschr
#define _tcsrchr wcsrchr
#define _tcsstr wcsstr
#define _tcsspn wcsspn
#define _tcscspn wcscspn
#define _tcspbrk wcspbrk
#define _tcstok _wcstok
#define _tcstol wcstol
#define _tcstoul wcstoul
#define _tcstod wcstod
#define _tcsdup VerrickWideCopy
#define _tcsupr _strupr
#define _stprintf _sprintf

#endif
