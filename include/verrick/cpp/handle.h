/**
 * @file
 * A handle that closes itself. Opt in: no other header of the library includes this one, and
 * nothing here is exported.
 */
#ifndef VERRICK_CPP_HANDLE_H
#define VERRICK_CPP_HANDLE_H

#include <verrick/flat/handles.h>

namespace verrick {

/**
 * Owns a HANDLE and calls CloseHandle on it at its own end. It moves like std::unique_ptr and can't
 * be copied. It is for every handle that CloseHandle takes. What LoadLibrary returns is no such
 * handle.
 *
 * An object serves one thread at a time. The handle inside may be used from any thread. Closing the
 * handle of an event blocks until the threads that wait on it have left, as CloseHandle does.
 */
class Handle {
public:
    /** Takes over a handle, which may be null. */
    explicit Handle(HANDLE handle = nullptr) noexcept : m_handle(handle) {}
    ~Handle() { Reset(); }

    /** Takes over the handle of another object, which is null afterwards. */
    Handle(Handle&& other) noexcept : m_handle(other.Release()) {}
    /** The same. The handle that this object had is closed. */
    Handle& operator=(Handle&& other) noexcept {
        Reset(other.Release());
        return *this;
    }

    /** Returns the handle, which stays this object's. Null if there is none. */
    HANDLE Get() const noexcept { return m_handle; }

    /** Returns the handle and lets go of it. The caller closes it. */
    HANDLE Release() noexcept {
        HANDLE const handle = m_handle;
        m_handle = nullptr;
        return handle;
    }

    /** Takes over a handle and closes the one before. Does nothing for the handle it has. */
    void Reset(HANDLE handle = nullptr) noexcept {
        HANDLE const old = m_handle;
        m_handle = handle;
        if (old != nullptr && old != handle) {
            CloseHandle(old);
        }
    }

    /** Tells whether there is a handle. */
    explicit operator bool() const noexcept { return m_handle != nullptr; }

    /**
     * As WaitForSingleObject on the handle. Returns its result, which is WAIT_FAILED without a
     * handle. timeoutMs is in milliseconds; INFINITE waits for ever.
     */
    unsigned long Wait(unsigned long timeoutMs = INFINITE) const {
        return WaitForSingleObject(m_handle, timeoutMs);
    }

    Handle(Handle const&) = delete;
    Handle& operator=(Handle const&) = delete;

private:
    HANDLE m_handle; /* owned; may be null */
};

} // namespace verrick

#endif
