/**
 * @file
 * Everything that the library declares. Each header can also be included alone, in any order.
 */
#ifndef VERRICK_VERRICK_H
#define VERRICK_VERRICK_H

/* The order of the families. */
/* clang-format off */
#include <verrick/frame.h>
#include <verrick/critical_section.h>
#include <verrick/event.h>
#include <verrick/list.h>
#include <verrick/interlocked.h>
#include <verrick/semaphore.h>
#include <verrick/time_primitives.h>
#include <verrick/thread.h>
#include <verrick/worker_thread.h>
#include <verrick/timers.h>
#include <verrick/tasks.h>
#include <verrick/conversion.h>
#include <verrick/ini.h>
#include <verrick/handles.h>
#include <verrick/flat_critical_section.h>
#include <verrick/rings.h>
#include <verrick/queues.h>
#include <verrick/file.h>
#include <verrick/search.h>
#include <verrick/listing.h>
#include <verrick/paths.h>
#include <verrick/libraries.h>
#include <verrick/strings.h>
#include <verrick/printing.h>
#include <verrick/debug.h>
/* clang-format on */

#endif
