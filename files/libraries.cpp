#include <verrick/libraries.h>

#include "ini/narrow.h"
#include <verrick/conversion.h>
#include <verrick/critical_section.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <dlfcn.h>
#include <memory>

namespace {

constexpr std::size_t kNameElements = 4096;
constexpr auto relaxed = std::memory_order_relaxed;

// Held for dlclose and dlsym, and for the message of a failed unload. Nothing else is taken under
// it, except by a library's destructors.
DCriticalSection m_csDynamicLibrary;

// The name for the loader, in a buffer of kNameElements. False for one that is null, too long or
// can't be converted: part of it would name something else.
bool ToNarrow(char* narrow, wchar_t const* name) {
    return name != nullptr && wcsnlen(name, kNameElements) < kNameElements &&
           verrick::Narrow(narrow, kNameElements, name).whole;
}

} // namespace

IDynamicLibrary::IDynamicLibrary() = default;
IDynamicLibrary::~IDynamicLibrary() = default;

DDynamicLibrary::DDynamicLibrary(wchar_t const* libraryName)
    : m_impl(new DDynamicLibraryImpl(libraryName)) {}

DDynamicLibrary::~DDynamicLibrary() {
    delete m_impl;
}

bool DDynamicLibrary::Load(wchar_t const* libraryName) {
    return m_impl != nullptr && m_impl->Load(libraryName);
}

void DDynamicLibrary::Unload() {
    if (m_impl != nullptr) {
        m_impl->Unload();
    }
}

bool DDynamicLibrary::IsLoaded() {
    return m_impl != nullptr && m_impl->IsLoaded();
}

void* DDynamicLibrary::GetProcedureByName(wchar_t const* procName) const {
    return m_impl != nullptr ? m_impl->GetProcedureByName(procName) : nullptr;
}

DDynamicLibraryImpl::DDynamicLibraryImpl(wchar_t const* libraryName) : m_handle(nullptr) {
    if (libraryName != nullptr) {
        DDynamicLibraryImpl::Load(libraryName);
    }
}

DDynamicLibraryImpl::~DDynamicLibraryImpl() {
    DDynamicLibraryImpl::Unload();
}

bool DDynamicLibraryImpl::Load(wchar_t const* libraryName) {
    Unload();
    char name[kNameElements];
    if (!ToNarrow(name, libraryName)) {
        return IsLoaded();
    }
    void* const handle = dlopen(name, RTLD_LAZY);
    m_handle.store(handle, relaxed);
    if (handle == nullptr) {
        std::printf("\nDDynamicLib=> %s error  = %s\n", name, dlerror());
    }
    return handle != nullptr;
}

void DDynamicLibraryImpl::Unload() {
    void* const handle = m_handle.load(relaxed);
    if (handle == nullptr) {
        return;
    }
    DMonitor monitor(m_csDynamicLibrary);
    if (dlclose(handle) == 0) {
        m_handle.store(nullptr, relaxed);
    } else {
        std::printf("Library failed to unload due to error ( %s)\n", dlerror());
    }
}

bool DDynamicLibraryImpl::IsLoaded() {
    return m_handle.load(relaxed) != nullptr;
}

void* DDynamicLibraryImpl::GetProcedureByName(wchar_t const* procName) const {
    void* const handle = m_handle.load(relaxed);
    if (handle == nullptr) {
        return nullptr;
    }
    DMonitor monitor(m_csDynamicLibrary);
    char name[kNameElements];
    return ToNarrow(name, procName) ? dlsym(handle, name) : nullptr;
}

void* LoadLibrary(wchar_t const* libraryName) {
    auto library = std::make_unique<DDynamicLibrary>(nullptr);
    return library->Load(libraryName) ? library.release() : nullptr;
}

void* GetProcAddress(void* module, char const* procName) {
    if (module == nullptr || procName == nullptr) {
        return nullptr;
    }
    wchar_t name[kNameElements];
    std::size_t const length = strnlen(procName, kNameElements);
    if (length == kNameElements ||
        AsciiToMBS(name, procName, static_cast<unsigned int>(length)) == 0) {
        return nullptr;
    }
    return static_cast<DDynamicLibrary*>(module)->GetProcedureByName(name);
}

int FreeLibrary(void* module) {
    if (module == nullptr) {
        return 0;
    }
    delete static_cast<DDynamicLibrary*>(module);
    return 1;
}
