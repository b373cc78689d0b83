// Work on a thread of its own, on a worker, and in a task.
#include <verrick/tasks.h>
#include <verrick/thread.h>
#include <verrick/time_primitives.h>
#include <verrick/worker_thread.h>

#include <atomic>
#include <cstdio>
#include <cstring>

// Adds up the numbers from 1 to a limit.
class Adder : public DThread {
public:
    explicit Adder(int limit) : DThread("Adder", 0, 0, 0), m_limit(limit) {}

    // Run uses the members below, so it has to be over before they go.
    ~Adder() override { WaitForThreadDeath(-1); }

    void Run() override {
        for (int number = 1; number <= m_limit; ++number) {
            m_sum += number;
        }
    }

    int Sum() const { return m_sum; } // once the thread has ended

private:
    int m_limit;
    int m_sum = 0;
};

// What travels to the worker. Its size isn't passed on, so all blocks have the same form here.
struct Job {
    int number;
};

class Squarer : public IWorkerCallbackObj {
public:
    void DoCallback(void* data) override {
        Job job;
        std::memcpy(&job, data, sizeof job);
        m_square = job.number * job.number;
        m_done.Signal();
    }

    int AwaitSquare() {
        m_done.Wait(-1);
        return m_square;
    }

private:
    int m_square = 0;
    DEvent m_done{false, true};
};

// Nobody can wait for a task's end, so it leaves its result in something that outlives it.
std::atomic<int> g_length(0);

void Measure(void* text) {
    g_length = static_cast<int>(std::strlen(static_cast<char const*>(text)));
}

int main() {
    Adder adder(100);
    adder.Start();
    bool const joined = adder.WaitForThreadDeath(5000) == WAIT_RESULT_OK;
    std::printf("the thread says %d\n", adder.Sum());

    Squarer squarer; // declared first, so that the worker, which calls it, goes first
    DWorkerThread worker("Squarer", 0, 0, 0);
    worker.AddCallbackObject(&squarer);
    Job job = {12};
    worker.DoWork(sizeof job, &job);
    int const square = squarer.AwaitSquare();
    std::printf("the worker says %d\n", square);

    static char text[] = "free-running";
    int const spawned = ThreadSpawn(Measure, text, 0, 0, 0, 0);
    while (spawned == 1 && g_length == 0) {
        Sleep(1);
    }
    std::printf("the task says %d\n", g_length.load());

    return joined && adder.Sum() == 5050 && square == 144 && g_length == 12 ? 0 : 1;
}
