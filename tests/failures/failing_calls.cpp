// Goes through a scenario with each call failing in turn. Its arguments are the name of the
// scenario, the number of a Kind, an errno, and the calls. For each time it prints what the
// scenario prints, and what is then in use that wasn't before. A line with "=" ends this: the
// variant, n, and the call that failed. n is 0 while none was to fail. The last n of a variant is
// beyond its calls. check_failures.py starts this program.
#include "tests/failures/calls.h"

#include <array>
#include <csignal>
#include <filesystem>
#include <map>
#include <thread>
#include <unistd.h>

namespace {

#define SCENARIO(name, variants) {#name, {name, variants}},
std::map<std::string, std::pair<void (*)(int), int>> const kScenarios = {
#include "tests/failures/scenarios.def"
};

// Descriptors, threads and mutexes.
std::array<long, 3> InUse() {
    auto const entries = [](char const* directory) {
        return std::distance(std::filesystem::directory_iterator(directory), {});
    };
    return {entries("/proc/self/fd"), entries("/proc/self/task"), g_heldMutexes};
}

void Try(void (*scenario)(int), int variant, Failure const& failure) {
    g_failure = failure;
    auto const before = InUse();
    GoOnAfter([&] { scenario(variant); });
    // The comparison goes from left to right. So a thread from before that has ended hides a held
    // mutex this once. The next time it is seen.
    auto after = InUse();
    for (int i = 0; i < 5000 && after > before; ++i) {
        usleep(1000); // threads may be ending
        after = InUse();
    }
    if (after > before) {
        Say{"left", after[0] - before[0], after[1] - before[1], after[2] - before[2]};
        std::exit(1); // or each later time would wait in vain
    }
    std::cout << "\n= " << variant << ' ' << failure.n << ' ' << g_failure.happened << std::endl;
}

} // namespace

int main(int, char** arguments) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    std::thread([] {}).join(); // now a sanitizer has its own thread, too
    auto const& [scenario, variants] = kScenarios.at(arguments[1]);
    Failure failure{Kind{std::stoi(arguments[2])}, std::stoi(arguments[3]), arguments[4], 0};
    for (int variant = 0; variant < variants; ++variant) {
        Try(scenario, variant, {});
        for (failure.n = 1; failure.n == 1 || *g_failure.happened != '\0'; ++failure.n) {
            Try(scenario, variant, failure);
        }
        Try(scenario, variant, {}); // works as before
    }
}
