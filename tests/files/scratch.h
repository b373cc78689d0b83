// What a test has for itself while the object lives: an empty current directory, or a locale.
#pragma once

#include <gtest/gtest.h>

#include <clocale>
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

struct Utf8Locale {
    Utf8Locale() { EXPECT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }
    ~Utf8Locale() { std::setlocale(LC_ALL, "C"); }
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
