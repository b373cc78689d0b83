/**
 * @file
 * Formatted printing into wide text: _sprintf, whose `%s` takes a wide string.
 */
#ifndef VERRICK_PRINTING_H
#define VERRICK_PRINTING_H

#include <verrick/flat/strings.h>

#endif
