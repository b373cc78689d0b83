/**
 * @file
 * The flat critical-section calls, on a CRITICAL_SECTION of the caller's. They differ from
 * DCriticalSection (critical_section.h): they can try, accept a null pointer, and report a failed
 * unlock on standard output.
 */
#ifndef VERRICK_FLAT_CRITICAL_SECTION_H
#define VERRICK_FLAT_CRITICAL_SECTION_H

#include <verrick/flat/handles.h>

#endif
