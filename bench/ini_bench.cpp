// INI files: one key read, and one value changed, against other parsers.
#include <verrick/ini.h>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <ini.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <strings.h>

namespace {

// A file of its own for each benchmark: sections of 20 keys, each section with a comment.
class File {
public:
    explicit File(int sections, char comment = ';')
        : m_name(std::filesystem::temp_directory_path() / "ini_bench_XXXXXX") {
        std::fclose(fdopen(mkstemp(m_name.data()), "w"));
        std::ofstream file(m_name);
        for (int section = 0; section < sections; ++section) {
            file << comment << " what this section is for\n[section " << section << "]\n";
            for (int key = 0; key < 20; ++key) {
                file << "key" << key << " = the value " << section * 20 + key << '\n';
            }
            file << '\n';
        }
    }
    ~File() { std::remove(Name()); }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    char const* Name() const { return m_name.c_str(); }
    std::wstring WideName() const { return {m_name.begin(), m_name.end()}; }

private:
    std::string m_name;
};

constexpr int kLarge = 1000;
constexpr int kSmall = 5;
constexpr char kGKeyFileComment = '#'; // the only one that it takes

std::string SectionName(int number) {
    return "section " + std::to_string(number);
}

// Each reads the last key of the file, which for the small one is opened anew by both.
template<int sections>
void Read_Verrick(benchmark::State& state) {
    File const file(sections);
    std::string const name = SectionName(sections - 1);
    std::wstring const section(name.begin(), name.end());
    DIni ini(file.WideName().c_str());
    wchar_t value[64];
    for (auto _ : state) {
        if (ini.GetKeyValue(section.c_str(), L"key19", L"", value, 64) == 0) {
            state.SkipWithError("not found");
        }
    }
}

struct Wanted {
    std::string section;
    char value[64];
};

int TakeKey(void* user, char const* section, char const* name, char const* value) {
    auto* const wanted = static_cast<Wanted*>(user);
    if (strcasecmp(section, wanted->section.c_str()) != 0 || strcasecmp(name, "key19") != 0) {
        return 1;
    }
    std::snprintf(wanted->value, sizeof wanted->value, "%s", value);
    return 0; // asks for a stop
}

template<int sections>
void Read_Inih(benchmark::State& state) {
    File const file(sections);
    Wanted wanted{SectionName(sections - 1), ""};
    for (auto _ : state) {
        wanted.value[0] = '\0';
        ini_parse(file.Name(), TakeKey, &wanted);
        if (wanted.value[0] == '\0') {
            state.SkipWithError("not found");
        }
    }
}

void Change_Verrick(benchmark::State& state) {
    File const file(kLarge, kGKeyFileComment);
    std::wstring const fileName = file.WideName();
    bool longer = false;
    for (auto _ : state) {
        longer = !longer;
        if (WritePrivateProfileString(L"section 500", L"key10",
                                      longer ? L"a longer value" : L"short",
                                      fileName.c_str()) == 0) {
            state.SkipWithError("not written");
        }
    }
}

void Change_GKeyFile(benchmark::State& state) {
    File const file(kLarge, kGKeyFileComment);
    bool longer = false;
    for (auto _ : state) {
        longer = !longer;
        GKeyFile* const keys = g_key_file_new();
        auto const flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS);
        if (g_key_file_load_from_file(keys, file.Name(), flags, nullptr) == FALSE) {
            state.SkipWithError("not read");
        }
        g_key_file_set_string(keys, "section 500", "key10", longer ? "a longer value" : "short");
        if (g_key_file_save_to_file(keys, file.Name(), nullptr) == FALSE) {
            state.SkipWithError("not written");
        }
        g_key_file_free(keys);
    }
}

BENCHMARK(Read_Verrick<kLarge>)->Name("IniLastKeyOf1000Sections/Verrick");
BENCHMARK(Read_Inih<kLarge>)->Name("IniLastKeyOf1000Sections/inih");
BENCHMARK(Read_Verrick<kSmall>)->Name("IniLastKeyOf5Sections/Verrick");
BENCHMARK(Read_Inih<kSmall>)->Name("IniLastKeyOf5Sections/inih");
BENCHMARK(Change_Verrick)->Name("IniChangeOneValue/Verrick");
BENCHMARK(Change_GKeyFile)->Name("IniChangeOneValue/GKeyFile");

} // namespace

BENCHMARK_MAIN();
