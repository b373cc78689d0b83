// A directory of a test's own. It is the current directory while the object lives, and is removed
// at the end.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>
#include <unistd.h>

struct Scratch {
    Scratch() { std::filesystem::current_path(path = mkdtemp(path.data())); }
    ~Scratch() { std::filesystem::remove_all(path); }

    std::string path =
        std::filesystem::canonical(std::filesystem::temp_directory_path()) / "XXXXXX";
};

inline void WriteFile(std::string const& name, std::string const& text) {
    std::ofstream(name) << text;
}

// Returns the descriptor that the next file or directory gets.
inline int NextDescriptor() {
    int const next = dup(0);
    close(next);
    return next;
}
