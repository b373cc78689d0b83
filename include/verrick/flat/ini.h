/**
 * @file
 * The flat calls of configuration text: conversion between wide and narrow text, line input, and
 * the private-profile calls on INI files.
 *
 * Narrow text is the multibyte encoding of the process's LC_CTYPE. The library never sets a locale,
 * so in a program that doesn't either, nothing but ASCII converts.
 */
#ifndef VERRICK_FLAT_INI_H
#define VERRICK_FLAT_INI_H

#include <verrick/detail/api.h>

#include <stddef.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Converts wide text to narrow, through wcsrtombs. In spite of the name, source is the wide text,
 * and the result may hold any character of the locale.
 *
 * @param destination the caller's buffer.
 * @param source wide text.
 * @param limit bytes of destination. A source of exactly limit characters is converted whole, with
 * its terminator on top, so destination then holds limit + 1 bytes.
 *
 * Gives 1 when destination holds terminated text: the whole of it, or, from a source of more than
 * limit characters, as many whole characters as fit into limit - 1 bytes. Gives 0
 * - and writes nothing for a null argument, or for a limit of 0 and a source that isn't empty;
 * - for a source of limit characters or fewer that takes more bytes than the destination has, which
 *   then holds as many whole characters as fit, terminated;
 * - for a character that the locale doesn't have: destination may then hold the text ahead of it,
 *   unterminated, and errno is EILSEQ.
 *
 * Safe from any thread, like every call here that doesn't say otherwise.
 */
VERRICK_API int MBSToAscii(char* destination, wchar_t const* source, unsigned int limit);

/**
 * Converts narrow text to wide, through mbsrtowcs: limit counts wide characters, and is compared
 * with the bytes of source. Otherwise the same as MBSToAscii, but that the text always fits where
 * source has limit bytes or fewer.
 */
VERRICK_API int AsciiToMBS(wchar_t* destination, char const* source, unsigned int limit);

/**
 * Reads one whole line of stream, stores its first size - 1 bytes, terminated and without the line
 * end (LF or CR LF), and gives buffer. The rest of a longer line is lost: the next call starts at
 * the next line, unlike with fgets. A zero byte ends the text of its line.
 *
 * @param buffer the caller's.
 * @param size bytes of buffer, at least 1.
 * @param stream the caller's, one thread at a time.
 *
 * Gives null at the end of the file, on a read error and for a
 * null argument, and leaves buffer alone.
 */
VERRICK_API char* myfgets(char* buffer, unsigned int size, FILE* stream);

/**
 * The same into wide text: a line's first size - 1 bytes, converted by AsciiToMBS. Text that
 * doesn't convert, a character cut by the limit among it, ends the line ahead of the fault.
 *
 * @param buffer the caller's.
 * @param size wide characters of buffer, at least 1.
 * @param stream as above.
 *
 * Throws std::bad_alloc, the stream being unread then.
 */
VERRICK_API wchar_t* myfgetws(wchar_t* buffer, unsigned int size, FILE* stream);

/**
 * @name The private-profile calls
 * Each does one operation of DIni (ini.h) on one file and leaves nothing open: what it wrote is in
 * the file when it returns. Any thread may call them, but nothing guards the file: the caller
 * serialises writers, and readers beside a writer. fileName is at most 4095 characters; a missing
 * file is created, empty, by reads as well. They throw std::bad_alloc.
 *
 * The read calls give the number of characters stored, without the last terminator (of a
 * multi-string: without both). size counts the wide characters of out. With a size of 1 or 0, a
 * null out, or a null section where one is needed they give 0 and leave out alone; where the file
 * can't be opened they give 0 and two terminators.
 * @{
 */

/** The names of all sections, as a multi-string, cut to size. */
VERRICK_API unsigned int GetPrivateProfileSectionNames(wchar_t* out, unsigned int size,
                                                       wchar_t const* fileName);

/**
 * The value of a key, or defaultValue where there is no such section or key (null stands for the
 * empty string), cut to size - 1 characters. With a null section: GetPrivateProfileSectionNames.
 */
VERRICK_API unsigned int GetPrivateProfileString(wchar_t const* section, wchar_t const* key,
                                                 wchar_t const* defaultValue, wchar_t* out,
                                                 unsigned int size, wchar_t const* fileName);

/** The keys of a section, each as key=value, as a multi-string, cut to size. */
VERRICK_API unsigned int GetPrivateProfileSection(wchar_t const* section, wchar_t* out,
                                                  unsigned int size, wchar_t const* fileName);

/**
 * Writes a section whole: lines is a multi-string whose strings become its lines; null deletes the
 * section. Gives 1, also when there is nothing to delete; 0 for a null section or a failed edit.
 */
VERRICK_API int WritePrivateProfileSection(wchar_t const* section, wchar_t const* lines,
                                           wchar_t const* fileName);

/**
 * Writes a key; a null value deletes it. Gives 1, also when there is nothing to delete; 0 for a
 * null section (the file isn't touched then), a null key (the file is created) or a failed edit.
 */
VERRICK_API int WritePrivateProfileString(wchar_t const* section, wchar_t const* key,
                                          wchar_t const* value, wchar_t const* fileName);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
