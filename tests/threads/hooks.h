// What the tests of threads and timers share. A test records what happens on other threads. It also
// steps in where the library calls the C library.
#pragma once

#include "tests/support/test.h"
#include <condition_variable>
#include <mutex>

// Values noted on one thread and waited for on another.
template<class T>
class Recorder {
public:
    void Note(T value) {
        std::lock_guard lock(m_mutex);
        m_values.push_back(value);
        m_changed.notify_all();
    }

    // Returns the values as soon as there are count of them, or after ten seconds.
    std::vector<T> Await(std::size_t count) {
        std::unique_lock lock(m_mutex);
        auto const enough = [&] { return m_values.size() >= count; };
        m_changed.wait_for(lock, std::chrono::seconds(10), enough);
        return m_values;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<T> m_values;
};

// Closed until opened. Pass blocks meanwhile.
class Gate {
public:
    void Open() { m_opened.Note(true); }
    void Pass() { m_opened.Await(1); }

private:
    Recorder<bool> m_opened;
};

// Returns whether a call on another thread is over, or will be soon.
template<class Result>
bool IsOver(std::future<Result> const& call) {
    return call.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready;
}

struct Thread : DThread {
    explicit Thread(std::function<void()> run, char const* name = "tested", int priority = 0,
                    int stackSize = 0)
        : DThread(name, priority, stackSize, 0), body(std::move(run)) {}
    void Run() override { std::function<void()>{body}(); } // the object may go meanwhile

    std::function<void()> const body;
};

using Ids = std::vector<unsigned int>;

// Notes the ids, and then calls a function.
struct Listener : ITimerListener {
    void OnTimerExpired(unsigned int id) override {
        noted.Note(id);
        std::function<void(unsigned int)>{then}(id); // the listener may go meanwhile
    }

    Recorder<unsigned int> noted;
    std::function<void(unsigned int)> then = [](unsigned int) {};
};

// Takes the place of an event of the library's, on the thread that waits for it. Holds that thread
// up, and must live until the thread has left.
struct SlowEvent : DEventImpl {
    SlowEvent() : DEventImpl(false, false) {}
    ~SlowEvent() override { EXPECT_FALSE(isInUse); }
    wait_result_t Wait(int timeoutMs) override {
        isInUse = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        isInUse = false;
        return DEventImpl::Wait(timeoutMs);
    }

    std::atomic<bool> isInUse = false;
};

// If set, the next thread of the library passes this gate inside its object, on the way to being
// parked. The pointer becomes null, with a notice, when a thread gets there.
inline std::atomic<Gate*> g_insideObject{nullptr};

// That many of the next waits without a time-out end at once, as if woken.
inline std::atomic<int> g_spuriousWakeUps{0};

// Called once, inside the calling thread's next change of a thread's priority.
inline thread_local std::function<void()> g_beforePriority;
