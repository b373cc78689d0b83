// A kind of handle of the application's own: a latch that opens when its count is down to 0.
#include <verrick/handles.h>
#include <verrick/thread.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>

class Latch : public XHandleObject {
public:
    explicit Latch(int count) : XHandleObject(TYPE_TAG), m_count(count) {}

    // What WaitForSingleObject does with the handle of a latch.
    unsigned long WaitForSingleObject(unsigned long timeoutMs) override {
        std::uint32_t const ms = static_cast<std::uint32_t>(timeoutMs); // only these bits count
        std::unique_lock<std::mutex> lock(m_lock);
        auto const isOpen = [this] { return m_count == 0; };
        if (ms == INFINITE) {
            m_opened.wait(lock, isOpen);
            return WAIT_OBJECT_0;
        }
        bool const opened = m_opened.wait_for(lock, std::chrono::milliseconds(ms), isOpen);
        return opened ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
    }

    // What CloseHandle does before it deletes the object. Nobody may wait on a latch by then.
    int CloseHandle() override { return 1; }

    // SetEvent and ReleaseSemaphore refuse a latch, so nobody else calls this.
    int SetToSignaledState() override {
        std::lock_guard<std::mutex> const lock(m_lock);
        if (m_count == 0) {
            return 0;
        }
        if (--m_count == 0) {
            m_opened.notify_all();
        }
        return 1;
    }

    // Returns the latch behind a handle, or null if the handle is of another kind.
    static Latch* FromHandle(HANDLE handle) {
        return static_cast<Latch*>(ObjectFromHandle(handle, TYPE_TAG));
    }

private:
    static constexpr unsigned long TYPE_TAG = 0x4C617463; // differs from all other kinds

    std::mutex m_lock;
    std::condition_variable m_opened;
    int m_count; // guarded by m_lock
};

// The calls of the new kind, in the style of the others.
HANDLE CreateLatch(int count) {
    XHandleObject* const object = new Latch(count);
    return object; // a handle is the address of the XHandleObject
}

int CountDown(HANDLE handle) {
    Latch* const latch = Latch::FromHandle(handle);
    return latch != nullptr ? latch->SetToSignaledState() : 0;
}

// A part of the start of a program, which takes some time.
class Loader : public DThread {
public:
    explicit Loader(HANDLE ready) : DThread("Loader", 0, 0, 0), m_ready(ready) { Start(); }
    ~Loader() override { WaitForThreadDeath(-1); }
    void Run() override { CountDown(m_ready); }

private:
    HANDLE m_ready;
};

int main() {
    HANDLE const ready = CreateLatch(3);
    unsigned long const early = WaitForSingleObject(ready, 0);
    unsigned long late = WAIT_FAILED;
    {
        Loader first(ready);
        Loader second(ready);
        Loader third(ready);
        late = WaitForSingleObject(ready, INFINITE);
    } // the loaders have ended, so nobody uses the handle any more
    std::printf("early %lu, late %lu\n", early, late);

    HANDLE const event = CreateEvent(nullptr, 1, 0, nullptr);
    int const wrongKind = CountDown(event);     // refused
    int const otherWrongKind = SetEvent(ready); // refused, too
    bool const closed = CloseHandle(event) == 1 && CloseHandle(ready) == 1;

    bool const waited = early == WAIT_TIMEOUT && late == WAIT_OBJECT_0;
    return waited && wrongKind == 0 && otherWrongKind == 0 && closed ? 0 : 1;
}
