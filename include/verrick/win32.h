/**
 * @file
 * The types and names that programs with Win32 calls expect, over this library's calls.
 *
 * Opt in: no other header of the library includes this one. Everything here is a type, a macro or
 * an inline function, and nothing is exported. The header reads as C99 and as C++11, by GCC and by
 * Clang. It may stand before or after any other header of the library.
 *
 * Each call behaves as the Win32 call of its name, except where its comment says otherwise.
 *
 * Text is wide: TCHAR is wchar_t, which has 32 bits here. There are `...W` names and no `...A`
 * names. LONG, ULONG and DWORD have 32 bits on every target, so LONG is int and never long.
 *
 * Two macros change what the header does. Define them ahead of it, in every source of a program:
 *
 * - VERRICK_RECURSIVE_SECTIONS maps CRITICAL_SECTION and its calls onto sections that nest, so that
 *   code that enters a section twice works unchanged.
 * - VERRICK_WIN32_NO_THREADS leaves out the calls on threads and with them handles.h. Use it
 *   together with a header that has an XEvent of its own, such as Xlib.h.
 */
#ifndef VERRICK_WIN32_H
#define VERRICK_WIN32_H

/* All headers that use a name that is mapped below come first, so that they see the plain name. */
#include <verrick/flat.h>
#ifdef __cplusplus
#include <verrick/detail/section_calls.h>
#include <verrick/interlocked.h>
#include <verrick/rings.h>
#endif

#include <verrick/detail/win32_errors.h>
#include <verrick/detail/win32_interlocked.h>
#include <verrick/detail/win32_profile.h>
#include <verrick/detail/win32_search.h>
#include <verrick/detail/win32_sections.h>
#include <verrick/detail/win32_semaphores.h>
#include <verrick/detail/win32_text.h>
#include <verrick/detail/win32_types.h>
#if defined(__cplusplus) && !defined(VERRICK_WIN32_NO_THREADS)
#include <verrick/detail/win32_threads.h>
#endif

#endif
