// A folder with one INI file, for the tests of this folder.
#pragma once

#include "tests/files/scratch.h"
#include <verrick/ini.h>

#include <iterator>

class IniFiles : public testing::Test {
protected:
    std::string Path(char const* file = "/f\u00fc.ini") const { return scratch.path + file; }
    std::wstring Name(wchar_t const* file = L"/f\u00fc.ini") const {
        return std::wstring(scratch.path.begin(), scratch.path.end()) + file;
    }

    std::string Stored() const {
        std::ifstream file(Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

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
