// Runs a target on each file of the folder that the argument names.

#include "fuzz/input.h"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int, char** arguments) {
    // A target may change the current directory.
    auto const folder = std::filesystem::absolute(arguments[1]);
    int files = 0;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        std::fprintf(stderr, "%s\n", entry.path().c_str());
        std::ifstream file(entry.path(), std::ios::binary);
        std::string const input((std::istreambuf_iterator<char>(file)), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(input.data()), input.size());
        ++files;
    }
    return files > 0 ? 0 : 1; // a folder without seeds tests nothing
}
