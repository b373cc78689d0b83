/**
 * @file
 * The calls of debug output, DbgMsg and OutputDebugString. They print nothing, and are there for
 * programs that call them. They stand in flat/strings.h.
 */
#ifndef VERRICK_DEBUG_H
#define VERRICK_DEBUG_H

#include <verrick/flat/strings.h>

#endif
