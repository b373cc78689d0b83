/*
 * The flat calls of the object frame: the library's version.
 */
#ifndef VERRICK_FLAT_FRAME_H
#define VERRICK_FLAT_FRAME_H

#include <verrick/detail/api.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Copies the library's version, the five bytes of "2.00" with the terminator, to the caller's
 * buffer, which holds five bytes at least. Safe from any thread.
 */
VERRICK_API void GetDLLVersion(char* version);

#ifdef __cplusplus
}
#endif

#endif
