// A directory of a test's own: the current directory while the object lives, gone afterwards.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>

class Scratch {
public:
    Scratch() : m_path(std::filesystem::temp_directory_path() / "verrick.XXXXXX") {
        m_path = mkdtemp(m_path.string().data());
        std::filesystem::current_path(m_path);
    }
    ~Scratch() {
        std::filesystem::current_path("/");
        std::filesystem::remove_all(m_path);
    }
    Scratch(Scratch const&) = delete;
    Scratch& operator=(Scratch const&) = delete;

    std::string Path() const { return std::filesystem::canonical(m_path); }

    static void Write(std::string const& name, std::string const& text) {
        std::ofstream(name) << text;
    }
    static std::string Read(std::string const& name) {
        std::ifstream file(name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path m_path;
};
