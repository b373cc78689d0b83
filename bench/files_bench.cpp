// Files, searches and loading against the C library's calls for the same work.
#include <verrick/file.h>
#include <verrick/libraries.h>
#include <verrick/listing.h>
#include <verrick/search.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <glob.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr int kFiles = 2000;
constexpr unsigned int kBlockBytes = 4096;
constexpr int kBlocks = 256;

// A folder of 2,000 files, half of which fit "*.txt", and one file of 1 MiB.
class Folder {
public:
    Folder() {
        std::string name = std::filesystem::temp_directory_path() / "verrick_bench.XXXXXX";
        m_path = mkdtemp(name.data());
        std::filesystem::create_directory(m_path + "/many");
        for (int i = 0; i < kFiles; ++i) {
            std::ofstream(m_path + "/many/file" + std::to_string(i) + (i % 2 ? ".txt" : ".dat"));
        }
        std::ofstream(Blocks()) << std::string(std::size_t{kBlockBytes} * kBlocks, 'x');
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(Folder const&) = delete;
    Folder& operator=(Folder const&) = delete;

    std::string Spec() const { return m_path + "/many/*.txt"; }
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

void Search_Verrick(benchmark::State& state) {
    std::string const spec = Input().Spec();
    for (auto _ : state) {
        FindData data;
        long const handle = _findfirst(spec.c_str(), &data);
        int count = handle != -1 ? 1 : 0;
        while (_findnext(handle, &data) == 0) {
            benchmark::DoNotOptimize(data);
            ++count;
        }
        _findclose(handle);
        Expect(state, count == kFiles / 2);
    }
}
BENCHMARK(Search_Verrick)->Name("FindFirst/Verrick");

void Listing_Verrick(benchmark::State& state) {
    std::wstring const spec = Wide(Input().Spec());
    for (auto _ : state) {
        DDirList list;
        DFileInfo info;
        int count = 0;
        for (bool more = list.FindFirst(spec.c_str(), &info); more; more = list.FindNext(&info)) {
            benchmark::DoNotOptimize(info.size);
            ++count;
        }
        Expect(state, count == kFiles / 2);
    }
}
BENCHMARK(Listing_Verrick)->Name("DirList/Verrick");

void Search_Glob(benchmark::State& state) {
    std::string const spec = Input().Spec();
    for (auto _ : state) {
        glob_t found;
        int count = 0;
        if (glob(spec.c_str(), 0, nullptr, &found) == 0) {
            for (std::size_t i = 0; i < found.gl_pathc; ++i) {
                struct stat status;
                count += stat(found.gl_pathv[i], &status) == 0 ? 1 : 0;
                benchmark::DoNotOptimize(status);
            }
            globfree(&found);
        }
        Expect(state, count == kFiles / 2);
    }
}
BENCHMARK(Search_Glob)->Name("FindFirst/glob_stat");
BENCHMARK(Search_Glob)->Name("DirList/glob_stat");

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
