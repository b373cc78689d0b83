#include <verrick/debug.h>

#include <cstdarg>
#include <cstdio>

int DbgMsg(char const* format, ...) {
    if (format == nullptr) {
        return -1;
    }
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    int const count = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return count;
}

void OutputDebugString(wchar_t const* /*text*/) {}
