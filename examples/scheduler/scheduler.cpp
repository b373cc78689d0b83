// A job scheduler that keeps everything in one INI file. It lists the file and makes a timer for
// each job in it. While it runs, it writes each job's run count and last run back into the file.
//
// Usage: scheduler [FILE]. A file without a section [job ...] is only listed.
#include <verrick/verrick.h>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace {

using Text = std::wstring;
using Texts = std::vector<Text>;

// Splits what the INI calls return: count characters, the terminators between the texts included.
Texts Split(Text const& buffer, unsigned int count) {
    Texts texts;
    for (std::size_t at = 0; at < count; at += texts.back().size() + 1) {
        texts.emplace_back(buffer.c_str() + at);
    }
    return texts;
}

// Calls fill(buffer, size) with ever more room until nothing is cut.
template<class Fill>
Texts ReadAll(Fill fill) {
    for (unsigned int size = 1024;; size *= 2) {
        Text buffer(size, L'\0');
        unsigned int const count = fill(&buffer[0], size);
        if (count < size - 2) {
            return Split(buffer, count);
        }
    }
}

// The file, through the private-profile calls: each opens, works and closes.
class Settings {
public:
    explicit Settings(Text file) : m_file(std::move(file)) {}

    Text Get(Text const& section, wchar_t const* key, wchar_t const* otherwise) const {
        wchar_t value[2048];
        GetPrivateProfileString(section.c_str(), key, otherwise, value, 2048, m_file.c_str());
        return value;
    }

    int GetNumber(Text const& section, wchar_t const* key, int otherwise) const {
        Text const value = Get(section, key, L"");
        return value.empty() ? otherwise : static_cast<int>(_wcstol(value.c_str()));
    }

    void Put(Text const& section, wchar_t const* key, Text const& value) const {
        if (WritePrivateProfileString(section.c_str(), key, value.c_str(), m_file.c_str()) == 0) {
            std::fprintf(stderr, "cannot write [%ls] %ls\n", section.c_str(), key);
        }
    }

private:
    Text m_file;
};

// One expiry on its way from the timer to the worker.
struct Firing : DListItem {
    unsigned int job;
    unsigned int tickMs;
    unsigned int elapsedMs;
};

struct Job {
    Text section;
    int periodMs;
    bool repeat;
    Text at;
    Text text;
    int runs;
};

class Scheduler : public ITimerListener, public IWorkerCallbackObj {
public:
    Scheduler(Settings const& settings, std::vector<Job> jobs, std::FILE* output)
        : m_settings(settings), m_jobs(std::move(jobs)), m_output(output),
          m_worker("scheduler work", 0, 0, 0) {
        m_worker.AddCallbackObject(this);
    }

    void Start(int tickPriority) {
        m_timers = DTimeManager::GetInstance(tickPriority);
        m_startMs = ::GetTickCount() - m_timers->GetTickCount();
        for (unsigned int id = 0; id < m_jobs.size(); ++id) {
            Job const& job = m_jobs[id];
            if (job.at.empty()) {
                m_timers->CreateRelativeTimer(this, id, job.periodMs, 0,
                                              job.repeat ? TIMER_REPEAT : 0);
            } else {
                m_timers->CreateAbsoluteTimer(this, id, CalendarTime(job.at), 0);
                m_timers->Activate(this, id);
            }
        }
    }

    // Ends the timers, waits for a delivery under way, and works off what was delivered.
    void Stop() {
        DTimeManager::DestroyInstance();
        WorkOff();
    }

    // On the dispatch thread: only notes the expiry, so that other timers aren't held up.
    void OnTimerExpired(unsigned int id) override {
        auto firing = std::make_unique<Firing>();
        firing->job = id;
        firing->tickMs = m_timers->GetTickCount();
        firing->elapsedMs = ::GetTickCount() - m_startMs;
        {
            DMonitor monitor(m_csFirings);
            m_firings.AddTail(firing.release());
        }
        char announcement = 0;
        m_worker.DoWork(sizeof announcement, &announcement);
    }

    // On the worker's thread. One announcement may stand for several firings.
    void DoCallback(void* /*data*/) override { WorkOff(); }

private:
    void WorkOff() {
        DMonitor working(m_csWork);
        while (std::unique_ptr<Firing> const firing{NextFiring()}) {
            Job& job = m_jobs[firing->job];
            ++job.runs;
            std::fprintf(m_output, "tick %5u ms, elapsed %5u ms: [%ls] run %d: %ls\n",
                         firing->tickMs, firing->elapsedMs, job.section.c_str(), job.runs,
                         job.text.c_str());
            std::fflush(m_output);
            m_settings.Put(job.section, L"runs", std::to_wstring(job.runs));
            m_settings.Put(job.section, L"last run", Now());
        }
    }

    Firing* NextFiring() {
        DMonitor monitor(m_csFirings);
        return static_cast<Firing*>(m_firings.RemoveHead());
    }

    static Text Now() {
        wchar_t text[64];
        std::time_t const now = std::time(nullptr);
        std::tm parts{};
        std::wcsftime(text, 64, L"%Y-%m-%d %H:%M:%S", localtime_r(&now, &parts));
        return text;
    }

    // "+SECONDS" from now, or the next time that the clock shows "HH:MM:SS".
    static long CalendarTime(Text const& at) {
        std::time_t const now = std::time(nullptr);
        if (at[0] == L'+') {
            return static_cast<long>(now) + _wcstol(at.c_str() + 1);
        }
        std::tm parts{};
        localtime_r(&now, &parts);
        parts.tm_sec = 0;
        std::swscanf(at.c_str(), L"%d:%d:%d", &parts.tm_hour, &parts.tm_min, &parts.tm_sec);
        if (std::mktime(&parts) < now) {
            ++parts.tm_mday;
        }
        return static_cast<long>(std::mktime(&parts));
    }

    Settings const& m_settings;
    std::vector<Job> m_jobs; // its run counts are guarded by m_csWork
    std::FILE* m_output;
    DTimeManager* m_timers = nullptr;
    unsigned int m_startMs = 0;
    DCriticalSection m_csWork;
    DCriticalSection m_csFirings;
    DList m_firings;        // guarded by m_csFirings
    DWorkerThread m_worker; // last: it ends before what it works on
};

// Prints the file's sections and keys, and gives the jobs among them.
std::vector<Job> ListFile(Text const& file, Settings const& settings) {
    DIni ini(file.c_str());
    std::vector<Job> jobs;
    auto const sections =
        ReadAll([&](wchar_t* out, unsigned int size) { return ini.GetSectionNames(out, size); });
    for (Text const& section : sections) {
        std::printf("[%ls]\n", section.c_str());
        auto const lines = ReadAll([&](wchar_t* out, unsigned int size) {
            return ini.GetSection(section.c_str(), out, size);
        });
        for (Text const& line : lines) {
            std::printf("  %ls\n", line.c_str());
        }
        if (section.compare(0, 4, L"job ") == 0) {
            jobs.push_back({section, settings.GetNumber(section, L"period", 1000),
                            _stricmp(settings.Get(section, L"repeat", L"no").c_str(), L"yes") == 0,
                            settings.Get(section, L"at", L""), settings.Get(section, L"text", L""),
                            settings.GetNumber(section, L"runs", 0)});
        }
    }
    return jobs;
}

// Waits for SIGINT or SIGTERM, runTimeMs milliseconds at most; 0 means for ever.
void AwaitEnd(sigset_t const& signals, int runTimeMs) {
    if (runTimeMs <= 0) {
        int signal = 0;
        sigwait(&signals, &signal);
    } else {
        timespec const period{runTimeMs / 1000, runTimeMs % 1000 * 1000000L};
        sigtimedwait(&signals, nullptr, &period);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (std::setlocale(LC_ALL, "") == nullptr || MB_CUR_MAX == 1) {
        std::setlocale(LC_ALL, "C.UTF-8");
    }
    char const* const name = argc > 1 ? argv[1] : "scheduler.ini";
    wchar_t file[4097];
    if (std::FILE* const probe = std::fopen(name, "rb")) {
        std::fclose(probe);
    } else {
        std::perror(name);
        return 1;
    }
    if (AsciiToMBS(file, name, 4096) == 0) {
        std::fprintf(stderr, "%s: not a name in this locale\n", name);
        return 1;
    }
    // Blocked here and thus in every thread that the library starts: they are waited for below.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    Settings const settings(file);
    auto const jobs = ListFile(file, settings);
    if (jobs.empty()) {
        std::puts("no job in it");
        return 0;
    }
    char outputName[4097] = "";
    MBSToAscii(outputName, settings.Get(L"scheduler", L"output", L"").c_str(), 4096);
    std::FILE* const output = outputName[0] != '\0' ? std::fopen(outputName, "a") : stdout;
    if (output == nullptr) {
        std::perror(outputName);
        return 1;
    }
    Scheduler scheduler(settings, jobs, output);
    scheduler.Start(settings.GetNumber(L"scheduler", L"tick priority", 0));
    AwaitEnd(signals, settings.GetNumber(L"scheduler", L"run time", 0));
    scheduler.Stop();
    std::puts("stopped");
    return 0;
}
