// A folder with one INI file, for the tests of this folder.
#pragma once

#include "tests/files/scratch.h"

constexpr char kPath[] = "f\u00fc.ini";
constexpr wchar_t kName[] = L"f\u00fc.ini";

inline std::string Stored(char const* path = kPath) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct IniFiles : testing::Test {
    Utf8Locale const utf8;
    Scratch const scratch;
};

// One change. Without a key it writes the section whole, without a value it deletes.
struct Edit {
    wchar_t const* section;
    wchar_t const* key;
    wchar_t const* value;

    int Apply(IIni& ini) const {
        return key != nullptr ? ini.PutKeyValue(section, key, value)
                              : ini.PutSection(section, value);
    }
};
