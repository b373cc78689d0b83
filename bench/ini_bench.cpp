// INI files: reading and changing keys, against other parsers and against a floor.
//
// The floor is what no implementation can do without: open the file, read up to what is wanted,
// look for it byte by byte with memchr, and close the file.
#include <verrick/ini.h>

#include <benchmark/benchmark.h>
#include <glib.h>
#include <ini.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <strings.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kSmall = 5;    // sections of a file of 2 KB
constexpr int kLarge = 2300; // sections of a file of 1 MB
constexpr int kKeys = 20;
constexpr char kGKeyFileComment = '#'; // the only one that it takes

std::string SectionName(int number) {
    return "section " + std::to_string(number);
}

// A file of its own for each benchmark. Each section has a comment and 20 keys.
class File {
public:
    explicit File(int sections, char comment = ';')
        : m_name(std::filesystem::temp_directory_path() / "ini_bench_XXXXXX") {
        std::fclose(fdopen(mkstemp(m_name.data()), "w"));
        std::ofstream file(m_name);
        for (int section = 0; section < sections; ++section) {
            file << comment << " what this section is for\n[" << SectionName(section) << "]\n";
            for (int key = 0; key < kKeys; ++key) {
                file << "key" << key << " = the value " << section * kKeys + key << '\n';
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

// The key that a benchmark reads or changes.
struct Wanted {
    std::string section;
    std::string key;

    std::wstring WideSection() const { return {section.begin(), section.end()}; }
    std::wstring WideKey() const { return {key.begin(), key.end()}; }
};

Wanted First() {
    return {SectionName(0), "key0"};
}
Wanted Middle(int sections) {
    return {SectionName(sections / 2), "key10"};
}
Wanted Last(int sections) {
    return {SectionName(sections - 1), "key19"};
}

// The floor: the bytes of a file, block by block.
class FloorFile {
public:
    FloorFile(char const* name, int access) : m_descriptor(open(name, access | O_CLOEXEC)) {}
    ~FloorFile() { close(m_descriptor); }
    FloorFile(FloorFile const&) = delete;
    FloorFile& operator=(FloorFile const&) = delete;

    // Calls visit with each piece that ends in the byte and with the piece's offset, until it
    // returns true.
    template<typename Visit>
    void ForEachPiece(char end, Visit visit) {
        std::size_t kept = 0;
        long offset = 0;
        std::size_t wanted = 4096; // little at first, for a file may be small
        for (;;) {
            ssize_t const got = pread(m_descriptor, m_block + kept, wanted - kept,
                                      offset + static_cast<long>(kept));
            if (got <= 0) {
                return;
            }
            std::string_view rest(m_block, kept + static_cast<std::size_t>(got));
            while (auto const* found =
                       static_cast<char const*>(std::memchr(rest.data(), end, rest.size()))) {
                std::string_view const piece(rest.data(),
                                             static_cast<std::size_t>(found + 1 - rest.data()));
                if (visit(piece, offset + (piece.data() - m_block))) {
                    return;
                }
                rest.remove_prefix(piece.size());
            }
            offset += rest.data() - m_block;
            kept = rest.size();
            std::memmove(m_block, rest.data(), kept);
            wanted = sizeof m_block;
        }
    }

    // Finds a line by its key, in a section.
    bool FindKey(Wanted const& wanted, long* start, long* end) {
        std::string const header = "[" + wanted.section + "]";
        std::string const key = wanted.key + " ";
        bool inSection = false;
        bool found = false;
        ForEachPiece('\n', [&](std::string_view line, long offset) {
            if (line[0] == '[') {
                inSection = line.compare(0, header.size(), header) == 0;
            }
            found = inSection && line.compare(0, key.size(), key) == 0;
            *start = offset;
            *end = offset + static_cast<long>(line.size());
            return found;
        });
        return found;
    }

    // Writes text in the place of a line, and moves what stands after it.
    bool Replace(long start, long end, std::string text) {
        std::size_t const textBytes = text.size();
        std::size_t const tailBytes =
            static_cast<std::size_t>(lseek(m_descriptor, 0, SEEK_END) - end);
        text.resize(textBytes + tailBytes);
        bool const read = pread(m_descriptor, &text[textBytes], tailBytes, end) >= 0;
        return read && pwrite(m_descriptor, text.data(), text.size(), start) > 0 &&
               ftruncate(m_descriptor, start + static_cast<long>(text.size())) == 0;
    }

private:
    int m_descriptor;
    char m_block[64 * 1024];
};

void Read_Verrick(benchmark::State& state, int sections, Wanted const& wanted) {
    File const file(sections);
    std::wstring const section = wanted.WideSection();
    std::wstring const key = wanted.WideKey();
    DIni ini(file.WideName().c_str());
    wchar_t value[64];
    for (auto _ : state) {
        if (ini.GetKeyValue(section.c_str(), key.c_str(), L"", value, 64) == 0) {
            state.SkipWithError("not found");
        }
    }
}

void Read_Floor(benchmark::State& state, int sections, Wanted const& wanted) {
    File const file(sections);
    for (auto _ : state) {
        long start = 0;
        long end = 0;
        if (!FloorFile(file.Name(), O_RDONLY).FindKey(wanted, &start, &end)) {
            state.SkipWithError("not found");
        }
    }
}

// inih has no way to stop, so its reader says that the file ends.
struct InihSearch {
    Wanted const& wanted;
    FILE* file;
    bool found;

    static char* ReadLine(char* line, int size, void* self) {
        auto const* const search = static_cast<InihSearch*>(self);
        return search->found ? nullptr : std::fgets(line, size, search->file);
    }
    static int TakeKey(void* self, char const* section, char const* name, char const* value) {
        auto* const search = static_cast<InihSearch*>(self);
        search->found = strcasecmp(section, search->wanted.section.c_str()) == 0 &&
                        strcasecmp(name, search->wanted.key.c_str()) == 0 && *value != '\0';
        return 1;
    }
};

void Read_Inih(benchmark::State& state, int sections, Wanted const& wanted) {
    File const file(sections);
    for (auto _ : state) {
        InihSearch search{wanted, std::fopen(file.Name(), "r"), false};
        ini_parse_stream(InihSearch::ReadLine, &search, InihSearch::TakeKey, &search);
        std::fclose(search.file);
        if (!search.found) {
            state.SkipWithError("not found");
        }
    }
}

void Names_Verrick(benchmark::State& state, int sections) {
    File const file(sections);
    DIni ini(file.WideName().c_str());
    std::vector<wchar_t> names(1 << 16);
    for (auto _ : state) {
        if (ini.GetSectionNames(names.data(), 1 << 16) == 0) {
            state.SkipWithError("not found");
        }
    }
}

// A header stands at the start of a line. So this floor looks for every line end, and for a bracket
// after it. It stores no name. The library looks for the bracket alone, and then for the ends of
// the line around it. So it may need less time than this floor.
void Names_Floor(benchmark::State& state, int sections) {
    File const file(sections);
    for (auto _ : state) {
        int found = 0;
        FloorFile(file.Name(), O_RDONLY).ForEachPiece('\n', [&](std::string_view line, long) {
            found += line[0] == '[' ? 1 : 0;
            return false;
        });
        if (found != sections) {
            state.SkipWithError("not found");
        }
    }
}

wchar_t const* const kValues[] = {L"short", L"a longer value"};

void Change_Verrick(benchmark::State& state, int sections, char comment) {
    File const file(sections, comment);
    Wanted const wanted = Middle(sections);
    std::wstring const section = wanted.WideSection();
    std::wstring const key = wanted.WideKey();
    DIni ini(file.WideName().c_str());
    unsigned int changes = 0;
    for (auto _ : state) {
        if (ini.PutKeyValue(section.c_str(), key.c_str(), kValues[++changes % 2]) == 0) {
            state.SkipWithError("not written");
        }
    }
}

void Change_Floor(benchmark::State& state, int sections) {
    File const file(sections);
    Wanted const wanted = Middle(sections);
    unsigned int changes = 0;
    for (auto _ : state) {
        FloorFile floor(file.Name(), O_RDWR);
        long start = 0;
        long end = 0;
        std::string const value = ++changes % 2 == 0 ? "short" : "a longer value";
        if (!floor.FindKey(wanted, &start, &end) ||
            !floor.Replace(start, end, wanted.key + " = " + value + "\r\n")) {
            state.SkipWithError("not written");
        }
    }
}

void Change_GKeyFile(benchmark::State& state, int sections) {
    File const file(sections, kGKeyFileComment);
    Wanted const wanted = Middle(sections);
    unsigned int changes = 0;
    for (auto _ : state) {
        GKeyFile* const keys = g_key_file_new();
        auto const flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS);
        if (g_key_file_load_from_file(keys, file.Name(), flags, nullptr) == FALSE) {
            state.SkipWithError("not read");
        }
        g_key_file_set_string(keys, wanted.section.c_str(), wanted.key.c_str(),
                              ++changes % 2 == 0 ? "short" : "a longer value");
        if (g_key_file_save_to_file(keys, file.Name(), nullptr) == FALSE) {
            state.SkipWithError("not written");
        }
        g_key_file_free(keys);
    }
}

BENCHMARK_CAPTURE(Read_Verrick, key, kSmall, Last(kSmall))->Name("IniKeyOf2KB/Verrick");
BENCHMARK_CAPTURE(Read_Floor, key, kSmall, Last(kSmall))->Name("IniKeyOf2KB/floor");
BENCHMARK_CAPTURE(Read_Inih, key, kSmall, Last(kSmall))->Name("IniKeyOf2KB/inih");
BENCHMARK_CAPTURE(Names_Verrick, names, kSmall)->Name("IniNamesOf2KB/Verrick");
BENCHMARK_CAPTURE(Names_Floor, names, kSmall)->Name("IniNamesOf2KB/floor");
BENCHMARK_CAPTURE(Change_Verrick, change, kSmall, ';')->Name("IniChangeIn2KB/Verrick");
BENCHMARK_CAPTURE(Change_Floor, change, kSmall)->Name("IniChangeIn2KB/floor");
BENCHMARK_CAPTURE(Read_Verrick, first, kLarge, First())->Name("IniFirstKeyOf1MB/Verrick");
BENCHMARK_CAPTURE(Read_Inih, first, kLarge, First())->Name("IniFirstKeyOf1MB/inih");
BENCHMARK_CAPTURE(Read_Verrick, last, kLarge, Last(kLarge))->Name("IniLastKeyOf1MB/Verrick");
BENCHMARK_CAPTURE(Read_Floor, last, kLarge, Last(kLarge))->Name("IniLastKeyOf1MB/floor");
BENCHMARK_CAPTURE(Read_Inih, last, kLarge, Last(kLarge))->Name("IniLastKeyOf1MB/inih");
BENCHMARK_CAPTURE(Names_Verrick, names, kLarge)->Name("IniNamesOf1MB/Verrick");
BENCHMARK_CAPTURE(Names_Floor, names, kLarge)->Name("IniNamesOf1MB/floor");
BENCHMARK_CAPTURE(Change_Verrick, change, kLarge, kGKeyFileComment)->Name("IniChangeIn1MB/Verrick");
BENCHMARK_CAPTURE(Change_Floor, change, kLarge)->Name("IniChangeIn1MB/floor");
BENCHMARK_CAPTURE(Change_GKeyFile, change, kLarge)->Name("IniChangeIn1MB/GKeyFile");

} // namespace

BENCHMARK_MAIN();
