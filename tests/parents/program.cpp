// The parent's program: prints the version of the library that it was linked with.
#include <verrick/verrick.h>

#include <cstdio>

char const* Greeting();

int main() {
    char version[5];
    GetDLLVersion(version);
    std::printf("%s %s\n", Greeting(), version);
}
