#include <verrick/frame.h>

#include <cstring>

void GetDLLVersion(char* version) {
    static constexpr char text[] = "2.00";
    std::memcpy(version, text, sizeof text);
}
