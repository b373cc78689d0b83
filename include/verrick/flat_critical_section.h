/**
 * @file
 * The flat critical-section calls, on a CRITICAL_SECTION of the caller's. They differ from
 * DCriticalSection (critical_section.h): they can try, take a null pointer, and print a line when
 * an unlock fails.
 */
#ifndef VERRICK_FLAT_CRITICAL_SECTION_H
#define VERRICK_FLAT_CRITICAL_SECTION_H

#include <verrick/flat/handles.h>

#endif
