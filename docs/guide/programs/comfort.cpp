// A program with the comfort headers.
#include <verrick/cpp/defaults.h>
#include <verrick/cpp/handle.h>
#include <verrick/cpp/ini_values.h>
#include <verrick/cpp/lock_guard.h>
#include <verrick/cpp/message_queue.h>

#include <cstdio>

struct Reading {
    int sensor;
    double celsius;
};

// Sums up the readings that arrive until one of a sensor under 0.
class Summary : public verrick::Thread {
public:
    explicit Summary(verrick::MessageQueue<Reading>& readings)
        : Thread("Summary"), m_readings(readings) {
        Start();
    }
    ~Summary() override { WaitForThreadDeath(-1); }

    void Run() override {
        Reading reading = {};
        while (m_readings.Receive(reading) && reading.sensor >= 0) {
            verrick::LockGuard<DCriticalSection> const guard(m_section);
            m_sum += reading.celsius;
        }
        SetEvent(m_done.Get());
    }

    bool WaitForAll() const { return m_done.Wait(5000) == WAIT_OBJECT_0; }

    double Sum() {
        verrick::LockGuard<DCriticalSection> const guard(m_section);
        return m_sum;
    }

private:
    verrick::MessageQueue<Reading>& m_readings;
    verrick::Handle m_done{CreateEvent(nullptr, 1, 0, nullptr)}; // closes itself
    DCriticalSection m_section;
    double m_sum = 0; // guarded by m_section
};

int main() {
    DIni ini(L"comfort.ini");
    ini.PutKeyValue(L"sensors", L"name", L"cellar");
    ini.PutKeyValue(L"sensors", L"count", L"2");
    std::wstring const name = verrick::ReadString(ini, L"sensors", L"name");
    int const count = verrick::ReadInt(ini, L"sensors", L"count", 1);
    bool const verbose = verrick::ReadBool(ini, L"sensors", L"verbose", true); // the default

    verrick::MessageQueue<Reading> readings(8);
    Summary summary(readings);
    for (int sensor = 0; sensor < count; ++sensor) {
        readings.Send({sensor, 20.5});
    }
    readings.Send({-1, 0});
    bool const complete = summary.WaitForAll();
    if (verbose) {
        std::printf("%ls: %.1f\n", name.c_str(), summary.Sum());
    }

    ini.Close();
    std::remove("comfort.ini");
    return complete && name == L"cellar" && summary.Sum() == 41.0 ? 0 : 1;
}
