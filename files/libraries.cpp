#include <verrick/libraries.h>

#include "frame/facade.h"
#include "frame/limits.h"
#include "frame/relaxed.h"
#include "strings/text_conversion.h"

#include <cstdio>
#include <dlfcn.h>
#include <memory>

// This file takes no lock, because the loader has one of its own. The loader keeps it while it runs
// a plug-in's constructors and destructors, and these may come back to this file. With a second
// lock here, two threads could each hold one of the two and wait for the other.

using verrick::kPathElements;
using verrick::relaxed;

IDynamicLibrary::IDynamicLibrary() = default;
IDynamicLibrary::~IDynamicLibrary() = default;

DDynamicLibrary::DDynamicLibrary(wchar_t const* libraryName)
    : m_impl(new DDynamicLibraryImpl(libraryName)) {}

DDynamicLibrary::~DDynamicLibrary() {
    delete m_impl;
}

bool DDynamicLibrary::Load(wchar_t const* libraryName) {
    return verrick::ForwardOr(false, m_impl, &IDynamicLibrary::Load, libraryName);
}

void DDynamicLibrary::Unload() {
    verrick::Forward(m_impl, &IDynamicLibrary::Unload);
}

bool DDynamicLibrary::IsLoaded() {
    return verrick::ForwardOr(false, m_impl, &IDynamicLibrary::IsLoaded);
}

void* DDynamicLibrary::GetProcedureByName(wchar_t const* procName) const {
    return verrick::ForwardOr(nullptr, m_impl, &IDynamicLibrary::GetProcedureByName, procName);
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
    char name[kPathElements];
    if (!verrick::NarrowName(name, sizeof name, libraryName)) {
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
    char name[kPathElements];
    return verrick::NarrowName(name, sizeof name, procName) ? dlsym(handle, name) : nullptr;
}

void* LoadLibrary(wchar_t const* libraryName) {
    auto library = std::make_unique<DDynamicLibrary>(nullptr);
    return library->Load(libraryName) ? library.release() : nullptr;
}

void* GetProcAddress(void* module, char const* procName) {
    if (module == nullptr || procName == nullptr) {
        return nullptr;
    }
    wchar_t name[kPathElements];
    if (!verrick::Widen(name, kPathElements, procName)) {
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
