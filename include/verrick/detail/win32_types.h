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
typedef DWORD* LPDWORD;
typedef LONG* LPLONG;
typedef BOOL* LPBOOL;
typedef char* LPSTR;
typedef char const* LPCSTR;
typedef wchar_t* LPWSTR;
typedef wchar_t const* LPCWSTR;
typedef wchar_t* LPTSTR;
typedef wchar_t const* LPCTSTR;

typedef void* HINSTANCE;
typedef void* HMODULE;
typedef CRITICAL_SECTION* LPCRITICAL_SECTION;

/* What GetProcAddress returns. Cast it to the type of the function before the call. */
typedef void (*FARPROC)(void);

/* The body of a thread. The result is the thread's exit code. */
typedef DWORD (*LPTHREAD_START_ROUTINE)(LPVOID argument);

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

#define WINAPI
#define APIENTRY
#define CALLBACK

#define INVALID_HANDLE_VALUE ((HANDLE)(intptr_t)-1)

/* Characters of a path with its terminator, as Win32 programs size their buffers. The system's own
 * paths may be longer: a call that takes a size refuses or cuts those as its own header says. */
#define MAX_PATH 260

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

/* Returns the address of a symbol as a function pointer. The library's own call returns void*,
 * which C++ doesn't convert to FARPROC by itself. */
static inline FARPROC VerrickGetProcAddress(HMODULE module, LPCSTR procName) {
    union {
        void* address;
        FARPROC function;
    } symbol;
    symbol.address = GetProcAddress(module, procName);
    return symbol.function;
}
#define GetProcAddress VerrickGetProcAddress

#endif
