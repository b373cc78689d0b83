/*
 * Markers of the public headers. Nothing here is for applications.
 */
#ifndef VERRICK_DETAIL_API_H
#define VERRICK_DETAIL_API_H

/* What carries this mark is exported, provided that cmake/exports.list names it. */
#define VERRICK_API __attribute__((visibility("default")))

#endif
