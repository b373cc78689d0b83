#ifndef VERRICK_TESTS_WIN32_FRAGMENTS_H
#define VERRICK_TESTS_WIN32_FRAGMENTS_H

#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

int NestedSectionStaysTakenUntilTheLastLeave(void);
int SemaphoreReportsThePreviousCountAsLong(void);
int FindAllTellsFilesFromFolders(char const* folder);
int ProfileNumbersAreRead(wchar_t const* fileName);
int GenericTextIsWide(void);
int LastErrorTellsOfTheMissingFile(void);

#ifdef __cplusplus
}
#endif

#endif
