// Prints the answers of stat to the paths of the command line, and of fstat to their descriptors
// and to some bad ones. Built with the library and without it; check_status.sh compares the two.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

void Print(char const* call, char const* what, int result, struct stat const& record) {
    std::printf("%s %s: %d errno %d\n", call, what, result, errno);
    auto const* bytes = reinterpret_cast<unsigned char const*>(&record);
    for (std::size_t i = 0; i < sizeof record; ++i) {
        std::printf("%02x", bytes[i]);
    }
    std::puts("");
}

void Stat(char const* path) {
    struct stat record;
    std::memset(&record, 0xA5, sizeof record);
    errno = 0;
    int const result = stat(path, &record);
    Print("stat", path, result, record);
}

void Fstat(char const* what, int descriptor) {
    struct stat record;
    std::memset(&record, 0xA5, sizeof record);
    errno = 0;
    int const result = fstat(descriptor, &record);
    Print("fstat", what, result, record);
}

} // namespace

int main(int argc, char** argv) {
    bool const wanted = std::strcmp(argv[1], "with") == 0;
    if ((dlopen("libVerrick.so.1", RTLD_LAZY | RTLD_NOLOAD) != nullptr) != wanted) {
        return 3;
    }
    for (int i = 2; i < argc; ++i) {
        Stat(argv[i]);
        Fstat(argv[i], open(argv[i], O_PATH));
    }
    Fstat("-1", -1);
    Fstat("AT_FDCWD", AT_FDCWD);
    Fstat("closed", 1000);
    return 0;
}
