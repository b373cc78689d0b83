// Loads the mathematics library and calls a function of it, in two ways.
#include <verrick/libraries.h>

#include <cstdio>

using Function = double (*)(double);

int main() {
    // The object: it unloads at its end.
    double floored = 0;
    {
        DDynamicLibrary const library(L"libm.so.6");
        if (auto const floor = reinterpret_cast<Function>(library.GetProcedureByName(L"floor"))) {
            floored = floor(2.75);
        }
        std::printf("floor(2.75) is %.2f\n", floored);
    }

    // The flat calls: the handle is the caller's until FreeLibrary.
    double rounded = 0;
    void* const module = LoadLibrary(L"libm.so.6");
    if (auto const ceil = reinterpret_cast<Function>(GetProcAddress(module, "ceil"))) {
        rounded = ceil(2.25);
    }
    bool const absent = GetProcAddress(module, "no_such_function") == nullptr;
    std::printf("ceil(2.25) is %.2f, and no_such_function is %s\n", rounded,
                absent ? "absent" : "there");
    int const freed = FreeLibrary(module);

    // The empty name is the program itself. A name that isn't found is told on standard output.
    DDynamicLibrary self(L"");
    bool const loaded = self.IsLoaded();
    bool const refused = !self.Load(L"./no-such-library.so") && !self.IsLoaded();

    bool const called = floored == 2 && rounded == 3 && absent && freed == 1;
    return called && loaded && refused ? 0 : 1;
}
