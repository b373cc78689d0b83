/**
 * @file
 * The flat calls of every subsystem and the constants of files and timers, for C99 and C++
 * programs.
 */
#ifndef VERRICK_FLAT_H
#define VERRICK_FLAT_H

/* The order of the families. */
/* clang-format off */
#include <verrick/flat/frame.h>
#include <verrick/flat/threads.h>
#include <verrick/flat/ini.h>
#include <verrick/flat/handles.h>
#include <verrick/flat/queues.h>
#include <verrick/flat/files.h>
#include <verrick/flat/strings.h>
#include <verrick/flat/constants.h>
/* clang-format on */

#endif
