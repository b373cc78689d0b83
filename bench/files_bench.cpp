// Files, directories, loading and comparing, against libc and other libraries at the same work.
#include <verrick/file.h>
#include <verrick/libraries.h>
#include <verrick/listing.h>
#include <verrick/search.h>
#include <verrick/strings.h>

#include <Poco/DirectoryIterator.h>
#include <Poco/Timestamp.h>
#include <benchmark/benchmark.h>
#include <glib.h>
#include <glib/gstdio.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <glob.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr unsigned int kBlockBytes = 4096;
constexpr int kBlocks = 256;

// A folder of its own for the run.
class Folder {
public:
    Folder() {
        std::string name = std::filesystem::temp_directory_path() / "verrick_bench.XXXXXX";
        m_path = mkdtemp(name.data());
        std::ofstream(Blocks()) << std::string(std::size_t{kBlockBytes} * kBlocks, 'x');
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(Folder const&) = delete;
    Folder& operator=(Folder const&) = delete;

    // Returns a folder with that number of files. It is made at the first call, some levels deep,
    // as the folders of applications are.
    std::string Many(std::int64_t files) const {
        std::string const path = m_path + "/project/shared/data/" + std::to_string(files);
        if (std::filesystem::create_directories(path)) {
            for (std::int64_t i = 0; i < files; ++i) {
                std::ofstream(path + "/file" + std::to_string(i) + ".txt");
            }
        }
        return path;
    }

    // Returns the name of a file of 1 MiB.
    std::string Blocks() const { return m_path + "/blocks"; }

private:
    std::string m_path;
};

Folder const& Input() {
    static Folder const folder;
    return folder;
}

std::wstring Wide(std::string const& text) {
    return {text.begin(), text.end()};
}

void Expect(benchmark::State& state, bool fulfilled) {
    if (!fulfilled) {
        state.SkipWithError("the work was not done");
    }
}

// One iteration gets the names, sizes and times of all files of a folder. Reader is called with the
// folder's name, and returns the number of files.
template<std::int64_t (*reader)(std::string const&)>
void ReadFolder(benchmark::State& state) {
    std::string const path = Input().Many(state.range(0));
    for (auto _ : state) {
        Expect(state, reader(path) == state.range(0));
    }
}

std::int64_t Search(std::string const& path) {
    FindData data;
    long const handle = _findfirst((path + "/file*.txt").c_str(), &data);
    std::int64_t count = handle != -1 ? 1 : 0;
    while (_findnext(handle, &data) == 0) {
        benchmark::DoNotOptimize(data);
        ++count;
    }
    _findclose(handle);
    return count;
}

std::int64_t List(std::string const& path) {
    DDirList list;
    DFileInfo info;
    std::int64_t count = 0;
    std::wstring const text = Wide(path + "/file*.txt");
    for (bool more = list.FindFirst(text.c_str(), &info); more; more = list.FindNext(&info)) {
        benchmark::DoNotOptimize(info.size);
        ++count;
    }
    return count;
}

std::int64_t Glob(std::string const& path) {
    glob_t found;
    std::int64_t count = 0;
    if (glob((path + "/file*.txt").c_str(), 0, nullptr, &found) == 0) {
        for (std::size_t i = 0; i < found.gl_pathc; ++i) {
            struct stat status;
            count += stat(found.gl_pathv[i], &status) == 0 ? 1 : 0;
            benchmark::DoNotOptimize(status);
        }
        globfree(&found);
    }
    return count;
}

std::int64_t GLib(std::string const& path) {
    GDir* const folder = g_dir_open(path.c_str(), 0, nullptr);
    std::int64_t count = 0;
    while (char const* const name = g_dir_read_name(folder)) {
        char* const full = g_build_filename(path.c_str(), name, nullptr);
        GStatBuf status;
        count += g_stat(full, &status) == 0 ? 1 : 0;
        benchmark::DoNotOptimize(status);
        g_free(full);
    }
    g_dir_close(folder);
    return count;
}

std::int64_t Poco(std::string const& path) {
    std::int64_t count = 0;
    for (Poco::DirectoryIterator entry(path), end; entry != end; ++entry) {
        benchmark::DoNotOptimize(entry->getSize());
        benchmark::DoNotOptimize(entry->getLastModified());
        ++count;
    }
    return count;
}

std::int64_t StdFilesystem(std::string const& path) {
    std::int64_t count = 0;
    for (auto const& entry : std::filesystem::directory_iterator(path)) {
        benchmark::DoNotOptimize(entry.file_size());
        benchmark::DoNotOptimize(entry.last_write_time());
        ++count;
    }
    return count;
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(2'000)->Arg(100'000);
}
BENCHMARK(ReadFolder<Search>)->Name("FindFirst/Verrick")->Apply(Sizes);
BENCHMARK(ReadFolder<Glob>)->Name("FindFirst/glob_stat")->Apply(Sizes);
BENCHMARK(ReadFolder<GLib>)->Name("FindFirst/GLib")->Apply(Sizes);
BENCHMARK(ReadFolder<List>)->Name("DirList/Verrick")->Apply(Sizes);
BENCHMARK(ReadFolder<Glob>)->Name("DirList/glob_stat")->Apply(Sizes);
BENCHMARK(ReadFolder<GLib>)->Name("DirList/GLib")->Apply(Sizes);
BENCHMARK(ReadFolder<Poco>)->Name("DirList/POCO")->Apply(Sizes);
BENCHMARK(ReadFolder<StdFilesystem>)->Name("DirList/std_filesystem")->Apply(Sizes);

// Compares two equal texts of 10 characters.
template<int (*compare)(wchar_t const*, wchar_t const*)>
void CompareEqual(benchmark::State& state) {
    wchar_t first[] = L"a key name";
    wchar_t second[] = L"a key name";
    for (auto _ : state) {
        benchmark::DoNotOptimize(first);
        benchmark::DoNotOptimize(second);
        benchmark::DoNotOptimize(compare(first, second));
    }
}
BENCHMARK(CompareEqual<_stricmp>)->Name("StricmpEqual/Verrick");
BENCHMARK(CompareEqual<std::wcscmp>)->Name("StricmpEqual/wcscmp");

void Load_Verrick(benchmark::State& state) {
    std::wstring const name = Wide(VERRICK_BENCH_PLUGIN);
    for (auto _ : state) {
        void* const library = LoadLibrary(name.c_str());
        Expect(state, GetProcAddress(library, "BenchAnswer") != nullptr);
        FreeLibrary(library);
    }
}
BENCHMARK(Load_Verrick)->Name("LoadSymbolUnload/Verrick");

void Load_Raw(benchmark::State& state) {
    for (auto _ : state) {
        void* const library = dlopen(VERRICK_BENCH_PLUGIN, RTLD_LAZY);
        Expect(state, dlsym(library, "BenchAnswer") != nullptr);
        dlclose(library);
    }
}
BENCHMARK(Load_Raw)->Name("LoadSymbolUnload/dlopen");

// One iteration reads or writes the whole file of 256 blocks of 4 KB, from opening to closing.
void Read_Verrick(benchmark::State& state) {
    std::string const path = Input().Blocks();
    std::vector<char> block(kBlockBytes);
    for (auto _ : state) {
        DFile file;
        file.Open(path.c_str(), FILE_MODE_READ);
        unsigned int done = 0;
        int count = 0;
        while (file.Read(block.data(), kBlockBytes, &done) == FILE_STATUS_OK) {
            ++count;
        }
        Expect(state, count == kBlocks);
    }
}
BENCHMARK(Read_Verrick)->Name("Read4KB/Verrick");

void Read_Raw(benchmark::State& state) {
    std::string const path = Input().Blocks();
    std::vector<char> block(kBlockBytes);
    for (auto _ : state) {
        std::FILE* const file = std::fopen(path.c_str(), "rb");
        int count = 0;
        while (std::fread(block.data(), 1, kBlockBytes, file) == kBlockBytes) {
            ++count;
        }
        std::fclose(file);
        Expect(state, count == kBlocks);
    }
}
BENCHMARK(Read_Raw)->Name("Read4KB/stdio");

void Write_Verrick(benchmark::State& state) {
    std::string const path = Input().Blocks();
    std::vector<char> block(kBlockBytes, 'x');
    for (auto _ : state) {
        DFile file;
        file.Open(path.c_str(), FILE_MODE_WRITE | FILE_MODE_CREATE);
        for (int i = 0; i < kBlocks; ++i) {
            unsigned int done = 0;
            Expect(state, file.Write(block.data(), kBlockBytes, &done) == FILE_STATUS_OK);
        }
    }
}
BENCHMARK(Write_Verrick)->Name("Write4KB/Verrick");

void Write_Raw(benchmark::State& state) {
    std::string const path = Input().Blocks();
    std::vector<char> block(kBlockBytes, 'x');
    for (auto _ : state) {
        std::FILE* const file = std::fopen(path.c_str(), "wb");
        for (int i = 0; i < kBlocks; ++i) {
            Expect(state, std::fwrite(block.data(), 1, kBlockBytes, file) == kBlockBytes);
        }
        std::fclose(file);
    }
}
BENCHMARK(Write_Raw)->Name("Write4KB/stdio");

} // namespace

BENCHMARK_MAIN();
