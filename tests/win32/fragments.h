/* What fragments.c offers, once as C99 and once as C++11. FRAGMENTS is the name that is compiled. A
 * null pointer ends the list. */
#pragma once

#ifdef __cplusplus
#define FRAGMENTS g_fragmentsInCpp11
extern "C" int (*const g_fragmentsInC99[])(void);
extern "C" int (*const g_fragmentsInCpp11[])(void);
#else
#define FRAGMENTS g_fragmentsInC99
#endif
