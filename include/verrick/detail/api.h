/*
 * Markers of the public headers. Nothing here is for applications.
 */
#ifndef VERRICK_DETAIL_API_H
#define VERRICK_DETAIL_API_H

/* What carries this mark is exported, provided that cmake/exports.list names it. */
#define VERRICK_API __attribute__((visibility("default")))

/* The same for calls so short that the linker's stub before them would show. */
#if defined(__GNUC__) && !defined(__clang__)
#define VERRICK_API_SHORT __attribute__((visibility("default"), noplt))
#else
#define VERRICK_API_SHORT VERRICK_API
#endif

/* A class inside an exported one that is not exported with it. */
#define VERRICK_INTERNAL __attribute__((visibility("hidden")))

#endif
