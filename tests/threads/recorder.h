// What the tests of threads and timers share.
#pragma once

#include <verrick/time_primitives.h>

#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <vector>

// Values noted on one thread and waited for on another.
template<class T>
class Recorder {
public:
    void Note(T value) {
        std::lock_guard lock(m_mutex);
        m_values.push_back(value);
        m_changed.notify_all();
    }

    // The values, once there are at least count of them or ten seconds have gone by.
    std::vector<T> Await(std::size_t count) {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(10),
                           [&] { return m_values.size() >= count; });
        return m_values;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<T> m_values;
};

// Closed until opened; Pass blocks meanwhile.
class Gate {
public:
    void Open() { m_opened.Note(true); }
    void Pass() { m_opened.Await(1); }

private:
    Recorder<bool> m_opened;
};

// How often a test of luck is repeated; VERRICK_TEST_ROUNDS multiplies the usual number.
inline int Rounds(int usual) {
    char const* const factor = std::getenv("VERRICK_TEST_ROUNDS");
    return factor != nullptr ? usual * std::atoi(factor) : usual;
}
