/**
 * @file
 * Shared objects at run time: dlopen, dlsym and dlclose. LoadLibrary, GetProcAddress and
 * FreeLibrary are the same in flat calls, with a DDynamicLibrary behind the handle.
 *
 * A name goes to the loader unchanged, in the multibyte encoding of LC_CTYPE: without a slash the
 * loader's own rules find it, and the empty name is the program itself. Names and symbols have at
 * most 4095 characters, and at most 4095 bytes when converted; nothing is ever cut.
 *
 * One lock of the process covers every unloading and every look-up made through this header, so a
 * look-up may wait for another library's destructors. From inside such a destructor a look-up goes
 * through. One object is loaded and unloaded by one thread at a time; look-ups in it may come from
 * any thread while it stays loaded.
 */
#ifndef VERRICK_LIBRARIES_H
#define VERRICK_LIBRARIES_H

#include <verrick/detail/api.h>
#include <verrick/flat/files.h>

#include <atomic>

/** The interface of loaded shared objects. */
class VERRICK_API IDynamicLibrary {
public:
    IDynamicLibrary();

    /** Unloads. */
    virtual ~IDynamicLibrary();

    /**
     * Unloads what is loaded, then loads the library of that name. Gives whether a library is
     * loaded afterwards.
     *
     * If the loader finds none, a line on standard output says why. A null name and one that is too
     * long or can't be converted load nothing and print nothing; then the result is false, unless
     * the library before refused to go.
     */
    virtual bool Load(wchar_t const* libraryName) = 0;

    /**
     * Unloads. A refusal of the loader is told on standard output, and the library stays loaded.
     */
    virtual void Unload() = 0;

    /** Whether a library is loaded. */
    virtual bool IsLoaded() = 0;

    /**
     * The address of a symbol, good until the library is unloaded; null if there is none, if no
     * library is loaded, and for a name that is null, too long or can't be converted.
     */
    virtual void* GetProcedureByName(wchar_t const* procName) const = 0;

    IDynamicLibrary(IDynamicLibrary const&) = delete;
    IDynamicLibrary& operator=(IDynamicLibrary const&) = delete;
};

/** A shared object, as an application creates it; its destructor unloads. */
class VERRICK_API DDynamicLibrary : public IDynamicLibrary {
public:
    /** Loads the library of that name, none for null; IsLoaded tells. Throws std::bad_alloc. */
    explicit DDynamicLibrary(wchar_t const* libraryName);
    ~DDynamicLibrary() override;

    bool Load(wchar_t const* libraryName) override;
    void Unload() override;
    bool IsLoaded() override;
    void* GetProcedureByName(wchar_t const* procName) const override;

private:
    IDynamicLibrary* m_impl; /* owned; constant after construction */
};

/** The work behind DDynamicLibrary. */
class VERRICK_API DDynamicLibraryImpl : public IDynamicLibrary {
public:
    /** As DDynamicLibrary. */
    explicit DDynamicLibraryImpl(wchar_t const* libraryName);
    ~DDynamicLibraryImpl() override;

    bool Load(wchar_t const* libraryName) override;
    void Unload() override;
    bool IsLoaded() override;
    void* GetProcedureByName(wchar_t const* procName) const override;

private:
    /* What dlopen gave; null while nothing is loaded. Relaxed: the callers' order publishes it. */
    std::atomic<void*> m_handle;
};

#endif
