/**
 * @file
 * Wide string calls under the names that the Win32 runtime has for such work. All of them are flat
 * calls; this header adds nothing to them.
 */
#ifndef VERRICK_STRINGS_H
#define VERRICK_STRINGS_H

#include <verrick/flat/strings.h>

#endif
