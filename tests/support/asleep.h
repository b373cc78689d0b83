// Certainty that threads which were started to block do so.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <unistd.h>

inline bool OthersAreAsleep() {
    std::error_code gone;
    for (auto const& task : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        std::string line;
        std::getline(std::ifstream(task.path() / "stat"), line);
        bool const own = task.path().filename() == std::to_string(gettid());
        if (!own && !line.empty() && line.find(") S") == std::string::npos) {
            return false;
        }
    }
    return true;
}

// Returns once all other threads of the process sleep, and go on sleeping.
inline void AwaitOthersAsleep() {
    for (int seen = 0; seen < 5; seen = OthersAreAsleep() ? seen + 1 : 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}
