#include <verrick/ini.h>

IIni::IIni() = default;
IIni::~IIni() = default;

DIni::DIni(wchar_t const* fileName) : m_impl(new DIniImpl(fileName)) {}

DIni::~DIni() {
    delete m_impl;
}

int DIni::Open(wchar_t const* fileName) {
    return m_impl != nullptr ? m_impl->Open(fileName) : 0;
}

void DIni::Close() {
    if (m_impl != nullptr) {
        m_impl->Close();
    }
}

unsigned int DIni::GetSectionNames(wchar_t* out, unsigned int size) {
    return m_impl != nullptr ? m_impl->GetSectionNames(out, size) : 0;
}

unsigned int DIni::GetKeyNames(wchar_t const* section, wchar_t* out, unsigned int size) {
    return m_impl != nullptr ? m_impl->GetKeyNames(section, out, size) : 0;
}

unsigned int DIni::GetSection(wchar_t const* section, wchar_t* out, unsigned int size) {
    return m_impl != nullptr ? m_impl->GetSection(section, out, size) : 0;
}

int DIni::PutSection(wchar_t const* section, wchar_t const* lines) {
    return m_impl != nullptr ? m_impl->PutSection(section, lines) : 0;
}

unsigned int DIni::GetKeyValue(wchar_t const* section, wchar_t const* key,
                               wchar_t const* defaultValue, wchar_t* out, unsigned int size) {
    return m_impl != nullptr ? m_impl->GetKeyValue(section, key, defaultValue, out, size) : 0;
}

int DIni::PutKeyValue(wchar_t const* section, wchar_t const* key, wchar_t const* value) {
    return m_impl != nullptr ? m_impl->PutKeyValue(section, key, value) : 0;
}
