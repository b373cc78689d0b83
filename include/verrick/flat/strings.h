/**
 * @file
 * The flat calls of strings, printing and debug output. All the string calls except _stricmp_ascii
 * take wide text, in spite of their names. A null string is never an error: each call says what it
 * returns.
 *
 * Case and white space are what the process's LC_CTYPE says. No call blocks. Every call except
 * _wcstok touches its arguments alone and is safe from any thread.
 */
#ifndef VERRICK_FLAT_STRINGS_H
#define VERRICK_FLAT_STRINGS_H

#include <verrick/detail/api.h>

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Copies a text. Stands for wcsdup. Returns the copy, which the caller owns and releases with
 * delete[], never with free. Returns null for a null text. Throws std::bad_alloc.
 */
VERRICK_API wchar_t* _strdup(wchar_t const* text);

/**
 * Reads a decimal number at the start of a text. Stands for wcstol with base 10. White space and a
 * sign may stand in front. What follows the digits is ignored.
 *
 * Returns the number, or the nearest long if it doesn't fit. Returns 0 without digits and for a
 * null text.
 */
VERRICK_API long _wcstol(wchar_t const* text);

/**
 * Cuts a token off a text. Stands for wcstok, but there is one search for the whole process.
 * Threads that search at the same time get each other's tokens.
 *
 * @param text begins a search and ends the one before. Null goes on with the search under way. The
 * text is changed, and must stay until its search ends.
 * @param delimiters the characters between tokens. They may differ from call to call.
 *
 * Returns the next token, which lies in the text and is terminated there. Returns null if there is
 * none and if no search is under way. Null delimiters return null, too, and change nothing.
 */
VERRICK_API wchar_t* _wcstok(wchar_t* text, wchar_t const* delimiters);

/**
 * Removes the white space at the end of text, in place. The first character stays, even if it is
 * white space. Returns text, which may be null.
 */
VERRICK_API wchar_t* _rtrim(wchar_t* text);

/** Removes the white space at the start of text, in place. Returns text, which may be null. */
VERRICK_API wchar_t* _ltrim(wchar_t* text);

/**
 * Removes the white space at the end and at the start of text, in place. Returns text, which may be
 * null.
 */
VERRICK_API wchar_t* _trim(wchar_t* text);

/**
 * Compares two texts without regard to case. Stands for wcscasecmp, but folds to upper case.
 *
 * Returns -1 if first sorts before second, 1 if it sorts after it, and 0 if they are equal. A null
 * text sorts before the empty one and equals another null.
 */
VERRICK_API int _stricmp(wchar_t const* first, wchar_t const* second);

/**
 * Compares two narrow texts without regard to case, byte by byte. Bytes count as unsigned, and are
 * not limited to ASCII. Returns what _stricmp returns.
 */
VERRICK_API int _stricmp_ascii(char const* first, char const* second);

/** Turns text to upper case, in place. Returns text, which may be null. */
VERRICK_API wchar_t* _strupr(wchar_t* text);

/**
 * Prints wide text. Stands for vswprintf, with one difference: a plain `%s` takes a wide string.
 * With a flag, a width or a precision in between it takes a narrow one. `%%s` prints a percent sign
 * and an s.
 *
 * @param destination room for 512 wide characters, with the terminator.
 * @param format wide text, followed by its arguments.
 *
 * Returns the number of characters printed, without the terminator. Returns a negative number if
 * they don't fit or can't be converted; destination may then hold a part. Returns -1 for a null
 * destination or format. It does so too if the format takes 4096 wide characters or more with `%ls`
 * in place of `%s`.
 */
VERRICK_API int _sprintf(wchar_t* destination, wchar_t const* format, ...);

/**
 * Formats a debug text as vsprintf does, and drops it: there is no output.
 *
 * Returns the number of bytes of the whole text, however long it is. Returns a negative number if
 * it can't be converted, and -1 for a null format.
 */
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
VERRICK_API int
DbgMsg(char const* format, ...);

/** Does nothing, because debug text has no place to go to. text may be null. */
VERRICK_API void OutputDebugString(wchar_t const* text);

#ifdef __cplusplus
}
#endif

#endif
