// Prints the answers of stat to the paths of the command line, and of fstat to their descriptors
// and to some bad ones. It is built with the library and without it. check_status.sh compares them.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>

template<class Call, class What>
void Print(Call call, What what) {
    struct stat record;
    std::memset(&record, 0xA5, sizeof record);
    errno = 0;
    int const result = call(what, &record);
    std::printf("%d errno %d\n", result, errno);
    std::fwrite(&record, sizeof record, 1, stdout);
}

int main(int argc, char** argv) {
    bool const wanted = std::strcmp(argv[1], "with") == 0;
    for (int i = 2; i < argc; ++i) {
        Print(stat, argv[i]);
        Print(fstat, open(argv[i], O_PATH));
    }
    for (int const bad : {-1, AT_FDCWD, 1000}) {
        Print(fstat, bad);
    }
    return (dlopen("libVerrick.so.1", RTLD_LAZY | RTLD_NOLOAD) != nullptr) == wanted ? 0 : 3;
}
