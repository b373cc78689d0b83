/*
 * The types of verrick/win32.h, and the names that are types or constants only.
 */
#ifndef VERRICK_DETAIL_WIN32_TYPES_H
#define VERRICK_DETAIL_WIN32_TYPES_H

#include <verrick/flat/files.h>
#include <verrick/flat/handles.h>

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

/* What stands before each function of these headers. */
#ifdef __cplusplus
#define VERRICK_WIN32_CALL inline
#else
#define VERRICK_WIN32_CALL static inline
#endif

typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef unsigned int UINT;
typedef int INT;
typedef int BOOL;
typedef int LONG;
typedef unsigned int ULONG;
typedef short SHORT;
typedef unsigned short USHORT;
typedef char CHAR;
typedef unsigned char UCHAR;
typedef wchar_t WCHAR;
typedef wchar_t TCHAR;
typedef wchar_t _TCHAR;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef size_t SIZE_T;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;

typedef void* LPVOID;
typedef void* PVOID;
typedef void const* LPCVOID;
typedef BYTE* LPBYTE;
typedef BYTE* PBYTE;
typedef WORD* LPWORD;
typedef DWORD* LPDWORD;
typedef DWORD* PDWORD;
typedef UINT* PUINT;
typedef LONG* LPLONG;
typedef LONG* PLONG;
typedef BOOL* LPBOOL;
typedef HANDLE* LPHANDLE;
typedef HANDLE* PHANDLE;
typedef char* LPSTR;
typedef char const* LPCSTR;
typedef wchar_t* LPWSTR;
typedef wchar_t const* LPCWSTR;
typedef wchar_t* LPTSTR;
typedef wchar_t const* LPCTSTR;

typedef void* HINSTANCE;
typedef void* HMODULE;
typedef CRITICAL_SECTION* LPCRITICAL_SECTION;
typedef CRITICAL_SECTION* PCRITICAL_SECTION;
typedef void* LPSECURITY_ATTRIBUTES; /* null is all that the calls take */

/* What GetProcAddress returns. Cast it to the type of the function before the call. */
typedef void (*FARPROC)(void);

/* The body of a thread. The result is the thread's exit code. */
typedef DWORD (*LPTHREAD_START_ROUTINE)(LPVOID argument);

typedef LPTHREAD_START_ROUTINE PTHREAD_START_ROUTINE;

#ifndef VOID
#define VOID void
#endif
#ifndef CONST
#define CONST const
#endif
#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

/* There is one calling convention, so these say nothing. */
#ifndef WINAPI
#define WINAPI
#endif
#ifndef APIENTRY
#define APIENTRY
#endif
#ifndef CALLBACK
#define CALLBACK
#endif
#ifndef __stdcall
#define __stdcall
#endif
#ifndef __cdecl
#define __cdecl
#endif

/* No call returns this value, and no call takes it: the library doesn't detect a false handle. */
#define INVALID_HANDLE_VALUE ((HANDLE)(intptr_t)-1)

/* For switches over a wait's result. No wait returns it, because there are no mutex handles. */
#define WAIT_ABANDONED 0x80U

/* Characters of a path with its terminator, as Win32 programs size their buffers. The system's own
 * paths may be longer. A call that takes a size says in its own header what it does with those. */
#ifndef MAX_PATH
#define MAX_PATH 260
#endif

#ifndef UNREFERENCED_PARAMETER
#define UNREFERENCED_PARAMETER(parameter) ((void)(parameter))
#endif

#ifndef _countof
#define _countof(array) (sizeof(array) / sizeof((array)[0]))
#endif

/* The wide forms of calls whose plain name is wide here. */
#define CreateEventW CreateEvent
#define CreateSemaphoreW CreateSemaphore
#define LoadLibraryW LoadLibrary
#define OutputDebugStringW OutputDebugString
#define GetPrivateProfileIntW GetPrivateProfileInt
#define GetPrivateProfileSectionNamesW GetPrivateProfileSectionNames
#define GetPrivateProfileSectionW GetPrivateProfileSection
#define GetPrivateProfileStringW GetPrivateProfileString
#define WritePrivateProfileSectionW WritePrivateProfileSection
#define WritePrivateProfileStringW WritePrivateProfileString

/* As the library's GetProcAddress, but it returns a function pointer. C++ doesn't convert the void*
 * of the library's call to one. */
VERRICK_WIN32_CALL FARPROC VerrickGetProcAddress(HMODULE module, LPCSTR procName) {
    union {
        void* address;
        FARPROC function;
    } symbol;
    symbol.address = GetProcAddress(module, procName);
    return symbol.function;
}
#define GetProcAddress VerrickGetProcAddress

#endif
