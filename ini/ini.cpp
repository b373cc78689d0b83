#include <verrick/ini.h>

#include "frame/facade.h"
IIni::IIni() = default;
IIni::~IIni() = default;

DIni::DIni(wchar_t const* fileName) : m_impl(new DIniImpl(fileName)) {}

DIni::~DIni() {
    delete m_impl;
}

int DIni::Open(wchar_t const* fileName) {
    return verrick::ForwardOr(0, m_impl, &IIni::Open, fileName);
}

void DIni::Close() {
    verrick::Forward(m_impl, &IIni::Close);
}

unsigned int DIni::GetSectionNames(wchar_t* out, unsigned int size) {
    return verrick::ForwardOr(0, m_impl, &IIni::GetSectionNames, out, size);
}

unsigned int DIni::GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) {
    return verrick::ForwardOr(0, m_impl, &IIni::GetKeyNames, section, out, size);
}

unsigned int DIni::GetSection(wchar_t const* section, wchar_t* out, unsigned int size) {
    return verrick::ForwardOr(0, m_impl, &IIni::GetSection, section, out, size);
}

int DIni::PutSection(wchar_t const* section, wchar_t const* lines) {
    return verrick::ForwardOr(0, m_impl, &IIni::PutSection, section, lines);
}

unsigned int DIni::GetKeyValue(wchar_t const* section, wchar_t const* key,
                               wchar_t const* defaultValue, wchar_t* out, unsigned int size) {
    return verrick::ForwardOr(0, m_impl, &IIni::GetKeyValue, section, key, defaultValue, out, size);
}

int DIni::PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) {
    return verrick::ForwardOr(0, m_impl, &IIni::PutKeyValue, section, key, value);
}
