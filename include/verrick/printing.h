/**
 * @file
 * Printing into wide text: _sprintf, whose `%s` takes a wide string. It stands in flat/strings.h.
 */
#ifndef VERRICK_PRINTING_H
#define VERRICK_PRINTING_H

#include <verrick/flat/strings.h>

#endif
