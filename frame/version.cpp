#include <verrick/frame.h>
#include <verrick/version.h>

#include <cstring>

void GetDLLVersion(char* version) {
    static constexpr char text[] = VERRICK_VERSION;
    static_assert(sizeof text == 5, "callers provide five bytes");
    std::memcpy(version, text, sizeof text);
}
