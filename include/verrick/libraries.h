/**
 * @file
 * Shared objects at run time. The classes stand for dlopen, dlsym and dlclose. The flat calls
 * LoadLibrary, GetProcAddress and FreeLibrary (flat/files.h) do the same.
 *
 * A name goes to the system's loader unchanged, in the encoding of LC_CTYPE. Without a slash the
 * loader's own rules find it. The empty name is the program itself. A name of a library or a symbol
 * has at most 4095 characters, and at most 4095 bytes when converted. It is never cut.
 *
 * One object is loaded and unloaded by one thread at a time. While it stays loaded, look-ups in it
 * may come from any thread.
 *
 * The library takes no lock here. The loader itself puts all loading, unloading and looking up of
 * the process in order. So a call here may wait for another library's constructors or destructors,
 * which the loader runs. They may use all calls of this header, in this library and in others. But
 * they must not wait for another thread that makes such a call.
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

    /** Unloads, as Unload does. */
    virtual ~IDynamicLibrary();

    /**
     * Unloads what is loaded, then loads a library. Stands for dlopen with RTLD_LAZY.
     *
     * @param libraryName the name, or null to load nothing.
     *
     * Returns whether a library is loaded afterwards. If the loader refuses the name, a line on
     * standard output tells its reason. Nothing is loaded or printed for a name that is null, too
     * long or can't be converted. The result is then false, unless the loader refused to unload the
     * library before. After such a refusal a name that loads takes the place of the old library,
     * which stays in the process.
     */
    virtual bool Load(wchar_t const* libraryName) = 0;

    /**
     * Unloads the library. Stands for dlclose. Addresses in it are no longer good, unless somebody
     * else in the process has it loaded too. If the loader refuses, a line on standard output tells
     * its reason, and the library stays loaded. Does nothing if none is loaded.
     */
    virtual void Unload() = 0;

    /** Returns whether a library is loaded. Doesn't block. */
    virtual bool IsLoaded() = 0;

    /**
     * Looks up a symbol. Stands for dlsym.
     *
     * Returns its address, which is good until the library is unloaded. Returns null if there is no
     * such symbol or no library is loaded. It does so too for a name that is null, too long or
     * can't be converted. Nothing is printed, and the text of dlerror is left to the caller.
     */
    virtual void* GetProcedureByName(wchar_t const* procName) const = 0;

    IDynamicLibrary(IDynamicLibrary const&) = delete;
    IDynamicLibrary& operator=(IDynamicLibrary const&) = delete;
};

/** A shared object, as an application creates it. */
class VERRICK_API DDynamicLibrary : public IDynamicLibrary {
public:
    /**
     * Loads a library, as Load does. A null name loads none. IsLoaded tells the outcome. Throws
     * std::bad_alloc.
     */
    explicit DDynamicLibrary(wchar_t const* libraryName);

    /** Unloads, as Unload does. */
    ~DDynamicLibrary() override;

    bool Load(wchar_t const* libraryName) override;
    void Unload() override;
    bool IsLoaded() override;
    void* GetProcedureByName(wchar_t const* procName) const override;

private:
    IDynamicLibrary* m_impl; /* owned; constant after construction */
};

/** The implementation of DDynamicLibrary. */
class VERRICK_API DDynamicLibraryImpl : public IDynamicLibrary {
public:
    /** Loads a library, as DDynamicLibrary's constructor does. */
    explicit DDynamicLibraryImpl(wchar_t const* libraryName);

    /** Unloads, as Unload does. */
    ~DDynamicLibraryImpl() override;

    bool Load(wchar_t const* libraryName) override;
    void Unload() override;
    bool IsLoaded() override;
    void* GetProcedureByName(wchar_t const* procName) const override;

private:
    /* What dlopen returned; null while nothing is loaded. Written and read without a lock. Relaxed
     * is enough, because the caller hands the loaded object to other threads. */
    std::atomic<void*> m_handle;
};

#endif
