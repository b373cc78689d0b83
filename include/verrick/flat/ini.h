/**
 * @file
 * The flat calls of configuration text: conversion between wide and narrow text, line input, and
 * the private-profile calls on INI files.
 *
 * Narrow text is the multibyte encoding of the process's LC_CTYPE. The library never sets a locale.
 * In a program that sets none either, only ASCII can be converted.
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
 * Converts wide text to narrow, through wcsrtombs. In spite of the call's name, source is the wide
 * text, and the result may hold any character of the locale.
 *
 * @param destination the caller's buffer.
 * @param source wide text.
 * @param limit bytes of destination. A source of exactly limit characters is converted whole, and
 * its terminator comes on top. Then destination needs limit + 1 bytes.
 *
 * Returns 1 if destination holds terminated text. That is the whole text. If source has more than
 * limit characters, it is as many whole characters as fit into limit - 1 bytes.
 *
 * Returns 0 in these cases:
 * - An argument is null, or limit is 0 and source isn't empty. Nothing is written.
 * - source has at most limit characters but takes more bytes than destination has. Then destination
 *   holds as many whole characters as fit, terminated.
 * - The locale doesn't have a character. Then errno is EILSEQ, and destination may hold the text
 *   ahead of that character without a terminator.
 *
 * Safe from any thread, like every call here that doesn't say otherwise. Doesn't block.
 */
VERRICK_API int MBSToAscii(char* destination, wchar_t const* source, unsigned int limit);

/**
 * Converts narrow text to wide, through mbsrtowcs.
 *
 * @param destination the caller's buffer.
 * @param source narrow text.
 * @param limit wide characters of destination. It is compared with the bytes of source. A source of
 * exactly limit bytes is converted whole, and its terminator comes on top.
 *
 * Returns and writes what MBSToAscii does. Text of at most limit bytes always fits.
 */
VERRICK_API int AsciiToMBS(wchar_t* destination, char const* source, unsigned int limit);

/**
 * Reads one whole line and stores its first size - 1 bytes, terminated, without the line end (LF or
 * CR LF). The rest of a longer line is lost: unlike with fgets, the next call starts at the next
 * line. A zero byte ends the text of its line. The end of the file ends a line, and so does a read
 * error: the text before it is returned.
 *
 * @param buffer the caller's.
 * @param size bytes of buffer, at least 1.
 * @param stream the caller's, used by one thread at a time.
 *
 * Returns buffer. Returns null and leaves buffer alone at the end of the file, and for a null
 * argument or a size of 0. A read error before the first byte of a line is as the end of the file.
 * Blocks on the stream.
 */
VERRICK_API char* myfgets(char* buffer, unsigned int size, FILE* stream);

/**
 * Reads one line as myfgets does, and converts its first size - 1 bytes to wide text. Text that
 * can't be converted ends the line, and so does a character that the limit cuts in two.
 *
 * @param buffer the caller's.
 * @param size wide characters of buffer, at least 1.
 * @param stream the caller's, used by one thread at a time.
 *
 * Returns what myfgets returns. Throws std::bad_alloc before the stream is read.
 */
VERRICK_API wchar_t* myfgetws(wchar_t* buffer, unsigned int size, FILE* stream);

/**
 * @name The private-profile calls
 * Each does one operation of DIni (ini.h) on one file and leaves nothing open. What it wrote is in
 * the file when it returns. They stand for the Win32 calls of these names.
 *
 * Any thread may call them, but nothing guards the file. IniFileLock (ini_file_lock.h) does.
 *
 * fileName has at most 4095 characters; a null one can't be opened. A missing file is created,
 * empty, by a read too. Only regular files are edited. Each call blocks on the disk and throws
 * std::bad_alloc.
 *
 * For the read calls, size is the number of wide characters in out. They return the number of
 * characters stored, without the last terminator (of a multi-string: without both).
 * - For a size of 1 or 0, a null out, or a null section where one is needed, they return 0 and
 * leave out alone.
 * - If the file can't be opened or created, they return 0 and store two terminators. A default
 * isn't used then.
 * @{
 */

/**
 * Lists the names of all sections.
 *
 * @param out receives a multi-string, cut to size.
 */
VERRICK_API unsigned int GetPrivateProfileSectionNames(wchar_t* out, unsigned int size,
                                                       wchar_t const* fileName);

/**
 * Copies the value of a key.
 *
 * @param section the section's name. Null lists the sections as GetPrivateProfileSectionNames does.
 * @param key the key's name. Null is found nowhere.
 * @param defaultValue what to copy if there is no such key. Null stands for the empty string.
 * @param out receives the value or the default, cut to size - 1 characters.
 */
VERRICK_API unsigned int GetPrivateProfileString(wchar_t const* section, wchar_t const* key,
                                                 wchar_t const* defaultValue, wchar_t* out,
                                                 unsigned int size, wchar_t const* fileName);

/**
 * Lists the keys of a section, each as key=value.
 *
 * @param section the section's name. For one that doesn't exist the list is empty.
 * @param out receives a multi-string, cut to size.
 */
VERRICK_API unsigned int GetPrivateProfileSection(wchar_t const* section, wchar_t* out,
                                                  unsigned int size, wchar_t const* fileName);

/**
 * Writes or deletes a whole section.
 *
 * @param section the section's name.
 * @param lines a multi-string. Its strings become the section's lines. Null deletes the section.
 *
 * Returns 1, also if there is nothing to delete. Returns 0 for a null section and for a failed
 * edit.
 */
VERRICK_API int WritePrivateProfileSection(wchar_t const* section, wchar_t const* lines,
                                           wchar_t const* fileName);

/**
 * Writes or deletes a key.
 *
 * @param section the section's name. With a null one the file isn't touched.
 * @param key the key's name. With a null one a missing file is still created.
 * @param value the value. Null deletes the key.
 *
 * Returns 1, also if there is nothing to delete. Returns 0 for a null section or key and for a
 * failed edit.
 */
VERRICK_API int WritePrivateProfileString(wchar_t const* section, wchar_t const* key,
                                          wchar_t const* value, wchar_t const* fileName);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
