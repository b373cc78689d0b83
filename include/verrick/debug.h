/**
 * @file
 * The entry points of debug output: DbgMsg and OutputDebugString. They produce none, so that a
 * program that calls them keeps working.
 */
#ifndef VERRICK_DEBUG_H
#define VERRICK_DEBUG_H

#include <verrick/flat/strings.h>

#endif
