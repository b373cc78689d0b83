#include <verrick/ini.h>

namespace {

// What every read call begins with: whether there is room, which then holds an empty list.
bool Empty(wchar_t* out, unsigned int size) {
    if (size <= 1 || out == nullptr) {
        return false;
    }
    out[0] = L'\0';
    out[1] = L'\0';
    return true;
}

} // namespace

unsigned int GetPrivateProfileSectionNames(wchar_t* out, unsigned int size,
                                           wchar_t const* fileName) {
    DIni ini(nullptr);
    bool const open = Empty(out, size) && ini.Open(fileName) != 0;
    return open ? ini.GetSectionNames(out, size) : 0;
}

unsigned int GetPrivateProfileString(wchar_t const* section, wchar_t const* key,
                                     wchar_t const* defaultValue, wchar_t* out, unsigned int size,
                                     wchar_t const* fileName) {
    DIni ini(nullptr);
    if (!Empty(out, size) || ini.Open(fileName) == 0) {
        return 0;
    }
    return section == nullptr ? ini.GetSectionNames(out, size)
                              : ini.GetKeyValue(section, key, defaultValue, out, size);
}

unsigned int GetPrivateProfileSection(wchar_t const* section, wchar_t* out, unsigned int size,
                                      wchar_t const* fileName) {
    DIni ini(nullptr);
    bool const open = section != nullptr && Empty(out, size) && ini.Open(fileName) != 0;
    return open ? ini.GetSection(section, out, size) : 0;
}

int WritePrivateProfileSection(wchar_t const* section, wchar_t const* lines,
                               wchar_t const* fileName) {
    DIni ini(nullptr);
    return ini.Open(fileName) != 0 ? ini.PutSection(section, lines) : 0;
}

int WritePrivateProfileString(wchar_t const* section, wchar_t const* key, wchar_t const* value,
                              wchar_t const* fileName) {
    DIni ini(nullptr);
    bool const open = section != nullptr && ini.Open(fileName) != 0;
    return open ? ini.PutKeyValue(section, key, value) : 0;
}
