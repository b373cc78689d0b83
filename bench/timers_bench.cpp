// Timers against libuv and Boost.Asio, which are loops of one thread and need no lock.
#include <verrick/time_primitives.h>
#include <verrick/timers.h>

#include <benchmark/benchmark.h>
#include <boost/asio.hpp>
#include <uv.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kFarMs = 1000000;

class Silent : public ITimerListener {
    void OnTimerExpired(unsigned int /*id*/) override {}
};

// Making and destroying one timer among others, whose number is the argument. Their expiries differ
// and lie on both sides of the new one's.

void CreateDestroyVerrick(benchmark::State& state) {
    Silent listener;
    DTimeManager* const timers = DTimeManager::GetInstance(0);
    auto const pending = static_cast<unsigned int>(state.range(0));
    for (unsigned int id = 1; id <= pending; ++id) {
        timers->CreateRelativeTimer(&listener, id, kFarMs + static_cast<int>(id * 7919 % pending),
                                    0, 0);
    }
    for (auto _ : state) {
        timers->CreateRelativeTimer(&listener, 0, kFarMs + static_cast<int>(pending / 2), 0, 0);
        timers->Destroy(&listener, 0);
    }
    DTimeManager::DestroyInstance();
}

class UvLoop {
public:
    UvLoop() { uv_loop_init(&loop); }
    ~UvLoop() {
        uv_run(&loop, UV_RUN_NOWAIT); // what is closing
        uv_walk(
            &loop, [](uv_handle_t* handle, void*) { Close(reinterpret_cast<uv_timer_t*>(handle)); },
            nullptr);
        uv_run(&loop, UV_RUN_DEFAULT);
        uv_loop_close(&loop);
    }

    uv_timer_t* Create(int afterMs, int repeatMs) {
        auto* const timer = new uv_timer_t;
        uv_timer_init(&loop, timer);
        uv_timer_start(
            timer, [](uv_timer_t*) {}, static_cast<std::uint64_t>(afterMs),
            static_cast<std::uint64_t>(repeatMs));
        return timer;
    }

    static void Close(uv_timer_t* timer) {
        uv_close(reinterpret_cast<uv_handle_t*>(timer),
                 [](uv_handle_t* handle) { delete reinterpret_cast<uv_timer_t*>(handle); });
    }

    uv_loop_t loop;
};

// The loop frees closed timers once in 64 rounds.
void CreateDestroyUv(benchmark::State& state) {
    UvLoop uv;
    auto const pending = static_cast<int>(state.range(0));
    for (int i = 0; i < pending; ++i) {
        uv.Create(kFarMs + i * 7919 % pending, 0);
    }
    int round = 0;
    for (auto _ : state) {
        UvLoop::Close(uv.Create(kFarMs + pending / 2, 0));
        if (++round % 64 == 0) {
            uv_run(&uv.loop, UV_RUN_NOWAIT);
        }
    }
}

// Destroying a timer posts its cancelled handler, which the loop runs once in 64 rounds.
void CreateDestroyAsio(benchmark::State& state) {
    boost::asio::io_context loop(1);
    std::vector<std::unique_ptr<boost::asio::steady_timer>> others;
    auto const pending = static_cast<int>(state.range(0));
    auto const create = [&](int afterMs) {
        auto timer =
            std::make_unique<boost::asio::steady_timer>(loop, std::chrono::milliseconds(afterMs));
        timer->async_wait([](boost::system::error_code const&) {});
        return timer;
    };
    for (int i = 0; i < pending; ++i) {
        others.push_back(create(kFarMs + i * 7919 % pending));
    }
    int round = 0;
    for (auto _ : state) {
        create(kFarMs + pending / 2);
        if (++round % 64 == 0) {
            loop.poll();
        }
    }
}

BENCHMARK(CreateDestroyVerrick)
    ->Name("TimerCreateDestroy/Verrick")
    ->RangeMultiplier(10)
    ->Range(100, 10000);
BENCHMARK(CreateDestroyUv)
    ->Name("TimerCreateDestroy/libuv")
    ->RangeMultiplier(10)
    ->Range(100, 10000);
BENCHMARK(CreateDestroyAsio)
    ->Name("TimerCreateDestroy/asio")
    ->RangeMultiplier(10)
    ->Range(100, 10000);

// The processor time of a thread of this process, found by its name.
double ThreadSeconds(std::string const& name) {
    for (auto const& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string comm;
        std::getline(std::ifstream(task.path() / "comm"), comm);
        if (comm == name) {
            int const id = std::stoi(task.path().filename());
            timespec used{};
            constexpr unsigned int perThreadClock = 6;
            clock_gettime(
                static_cast<clockid_t>((~static_cast<unsigned int>(id) << 3) | perThreadClock),
                &used);
            return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
        }
    }
    return 0;
}

// One re-arm of a repeating timer in a tick in which all of them are due.

void RearmVerrick(benchmark::State& state) {
    Silent listener;
    DTimeManager* const timers = DTimeManager::GetInstance(0);
    auto const count = static_cast<unsigned int>(state.range(0));
    auto const resolution = timers->GetResolution();
    for (unsigned int id = 1; id <= count; ++id) {
        timers->CreateRelativeTimer(&listener, id, static_cast<int>(resolution), 0, TIMER_REPEAT);
    }
    Sleep(2 * resolution);
    for (auto _ : state) {
        unsigned int const beforeMs = timers->GetTickCount();
        double const before = ThreadSeconds("TimeManager Thr");
        Sleep(20 * resolution);
        double const used = ThreadSeconds("TimeManager Thr") - before;
        unsigned int const ticks = (timers->GetTickCount() - beforeMs) / resolution;
        state.SetIterationTime(used / ticks / count);
    }
    DTimeManager::DestroyInstance();
}

void RearmUv(benchmark::State& state) {
    UvLoop uv;
    auto const count = static_cast<int>(state.range(0));
    for (int i = 0; i < count; ++i) {
        uv.Create(1, 1);
    }
    for (auto _ : state) {
        Sleep(2);
        auto const before = std::chrono::steady_clock::now();
        uv_run(&uv.loop, UV_RUN_NOWAIT);
        std::chrono::duration<double> const used = std::chrono::steady_clock::now() - before;
        state.SetIterationTime(used.count() / count);
    }
}

struct AsioRepeater {
    void Arm() {
        timer.expires_after(std::chrono::milliseconds(40));
        timer.async_wait([this](boost::system::error_code const& error) {
            if (!error) {
                Arm();
            }
        });
    }

    boost::asio::steady_timer timer;
};

void RearmAsio(benchmark::State& state) {
    boost::asio::io_context loop(1);
    std::vector<std::unique_ptr<AsioRepeater>> timers;
    auto const count = static_cast<int>(state.range(0));
    for (int i = 0; i < count; ++i) {
        timers.push_back(
            std::make_unique<AsioRepeater>(AsioRepeater{boost::asio::steady_timer(loop)}));
        timers.back()->Arm();
    }
    for (auto _ : state) {
        Sleep(45);
        auto const before = std::chrono::steady_clock::now();
        std::size_t const fired = loop.poll();
        std::chrono::duration<double> const used = std::chrono::steady_clock::now() - before;
        state.SetIterationTime(used.count() / static_cast<double>(fired));
    }
    timers.clear();
    loop.poll();
}

BENCHMARK(RearmVerrick)
    ->Name("TimerRearm/Verrick")
    ->Arg(1000)
    ->Arg(20000)
    ->UseManualTime()
    ->Iterations(5);
BENCHMARK(RearmUv)
    ->Name("TimerRearm/libuv")
    ->Arg(1000)
    ->Arg(20000)
    ->UseManualTime()
    ->Iterations(50);
BENCHMARK(RearmAsio)
    ->Name("TimerRearm/asio")
    ->Arg(1000)
    ->Arg(20000)
    ->UseManualTime()
    ->Iterations(10);

// The real time in which the service's clock advances by a second, with 20,000 repeating timers of
// one period. It is taken from tick to tick, because the clock stands still in between. The sleeper
// is a loop of bare sleeps of one tick. It shows how late the system alone is.

// Waits for the next tick, and returns what the clock shows then.
unsigned int AwaitTick(DTimeManager& timers) {
    unsigned int const before = timers.GetTickCount();
    unsigned int now = before;
    while (now == before) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
        now = timers.GetTickCount();
    }
    return now;
}

void ClockVerrick(benchmark::State& state) {
    Silent listener;
    DTimeManager* const timers = DTimeManager::GetInstance(0);
    for (unsigned int id = 1; id <= 20000; ++id) {
        timers->CreateRelativeTimer(&listener, id, 100, 0, TIMER_REPEAT);
    }
    for (auto _ : state) {
        unsigned int const beforeMs = AwaitTick(*timers);
        auto const before = std::chrono::steady_clock::now();
        Sleep(1000);
        unsigned int const countedMs = AwaitTick(*timers) - beforeMs;
        std::chrono::duration<double> const real = std::chrono::steady_clock::now() - before;
        state.SetIterationTime(real.count() / countedMs * 1000);
    }
    DTimeManager::DestroyInstance();
}

void ClockSleeper(benchmark::State& state) {
    for (auto _ : state) {
        auto const before = std::chrono::steady_clock::now();
        for (int tick = 0; tick < 100; ++tick) {
            Sleep(10);
        }
        std::chrono::duration<double> const real = std::chrono::steady_clock::now() - before;
        state.SetIterationTime(real.count());
    }
}

void ClockReal(benchmark::State& state) {
    for (auto _ : state) {
        state.SetIterationTime(1);
    }
}

BENCHMARK(ClockVerrick)->Name("TimerClock20000/Verrick")->UseManualTime()->Iterations(2);
BENCHMARK(ClockSleeper)->Name("TimerClock20000/sleeper")->UseManualTime()->Iterations(2);
BENCHMARK(ClockReal)->Name("TimerClock20000/real_time_clock")->UseManualTime()->Iterations(1);

} // namespace

BENCHMARK_MAIN();
