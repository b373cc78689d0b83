/**
 * @file
 * The version of the headers, as macros. GetDLLVersion (frame.h) tells the version of the library
 * that a program runs with.
 *
 * Opt in: no other header includes this one.
 */
#ifndef VERRICK_VERSION_H
#define VERRICK_VERSION_H

/* A test compares these with CMakeLists.txt and both changelogs. */
#define VERRICK_VERSION_MAJOR 2 /**< the number ahead of the point */
#define VERRICK_VERSION_MINOR 0 /**< the number after the point */

/** The version as GetDLLVersion writes it: the minor number always has two digits. */
#define VERRICK_VERSION "2.00"

/** The version as one number that grows with each version, for comparisons by the preprocessor. */
#define VERRICK_VERSION_NUMBER (VERRICK_VERSION_MAJOR * 100 + VERRICK_VERSION_MINOR)

#endif
