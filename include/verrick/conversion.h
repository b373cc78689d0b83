/**
 * @file
 * Conversion between the library's wide text and the narrow text of files and of the system, and
 * line input. All of these are flat calls; this header adds nothing to them.
 */
#ifndef VERRICK_CONVERSION_H
#define VERRICK_CONVERSION_H

#include <verrick/flat/ini.h>

#endif
