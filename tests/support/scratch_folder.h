// What a test has for itself while the object lives: an empty current directory.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>

struct Scratch {
    Scratch() { std::filesystem::current_path(path = mkdtemp(path.data())); }
    ~Scratch() { std::filesystem::remove_all(path); }

    std::string path =
        std::filesystem::canonical(std::filesystem::temp_directory_path()) / "XXXXXX";
};

inline void WriteFile(std::string const& name, std::string const& text) {
    std::ofstream(name) << text;
}
