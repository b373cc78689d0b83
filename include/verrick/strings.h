/**
 * @file
 * Wide string calls under the names that the Win32 runtime has for them. All of them are flat calls
 * and stand in flat/strings.h.
 */
#ifndef VERRICK_STRINGS_H
#define VERRICK_STRINGS_H

#include <verrick/flat/strings.h>

#endif
