/**
 * @file
 * The flat calls of strings, printing and debug output. In spite of their names, all the string
 * calls but _stricmp_ascii work on wide text. To them a null string is never an error: each says
 * what it gives.
 *
 * Case and white space are what the process's LC_CTYPE says. Every call but _wcstok touches its
 * arguments alone and may run on any thread.
 */
#ifndef VERRICK_FLAT_STRINGS_H
#define VERRICK_FLAT_STRINGS_H

#include <verrick/detail/api.h>

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Gives a copy of text, which the caller owns and releases with delete[], never with free; null for
 * a null text. Throws std::bad_alloc. The wide wcsdup.
 */
VERRICK_API wchar_t* _strdup(wchar_t const* text);

/**
 * The decimal number at the start of text, behind white space and a sign: wcstol with base 10. What
 * stands behind the digits is ignored. 0 without digits, and for a null text.
 */
VERRICK_API long _wcstol(wchar_t const* text);

/**
 * Cuts tokens off a text: wcstok with one search for the whole process. A text that isn't null
 * begins a search and ends the one before; a null text goes on with the search under way.
 *
 * Gives the next token, which lies in the text and is terminated there, or null when there is none
 * and when no search is under way. The text must outlive its search. Threads that search at the
 * same time get each other's tokens.
 */
VERRICK_API wchar_t* _wcstok(wchar_t* text, wchar_t const* delimiters);

/**
 * Cuts the white space at the end of text, in place, and gives text. The first character stays,
 * even if it is white space.
 */
VERRICK_API wchar_t* _rtrim(wchar_t* text);

/** Removes the white space at the start of text, in place, and gives text. */
VERRICK_API wchar_t* _ltrim(wchar_t* text);

/** Removes the white space at both ends of text, in place, and gives text. */
VERRICK_API wchar_t* _trim(wchar_t* text);

/**
 * Compares without regard to case, folding to upper case: -1 if first sorts before second, 1 if it
 * sorts behind it, 0 if they are equal. Null sorts before the empty string and equals null.
 */
VERRICK_API int _stricmp(wchar_t const* first, wchar_t const* second);

/** The same for narrow text, byte by byte, bytes taken as unsigned. Not limited to ASCII. */
VERRICK_API int _stricmp_ascii(char const* first, char const* second);

/** Turns text to upper case, in place, and gives text. */
VERRICK_API wchar_t* _strupr(wchar_t* text);

/**
 * Prints to destination, which has room for 512 wide characters with the terminator, as vswprintf
 * does, but for one thing: a plain `%s` stands for a wide string. With a flag, a width or a
 * precision in between it stands for a narrow one; `%%s` prints a percent sign and an s.
 *
 * Gives the number of characters printed, without the terminator; a negative number when they don't
 * fit or can't be converted; -1 when destination or format is null, and when the format with `%ls`
 * in place of `%s` takes 4096 wide characters or more. Safe from any thread.
 */
VERRICK_API int _sprintf(wchar_t* destination, wchar_t const* format, ...);

/**
 * Formats a debug text as vsprintf does and drops it: there is no output. Gives the number of
 * characters of the whole text, however long it is. Safe from any thread.
 */
VERRICK_API int DbgMsg(char const* format, ...);

/** Does nothing: debug text has no place to go to. Safe from any thread. */
VERRICK_API void OutputDebugString(wchar_t const* text);

#ifdef __cplusplus
}
#endif

#endif
