// The fragments as C++11, with all other headers after the one under test.
#include "tests/win32/fragments.c"

#include <verrick/verrick.h>
