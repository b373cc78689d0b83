// Checks that both matchers do what the tables of patterns in a header and in two pages say. The
// argument is the root of the tree.
#include <verrick/listing.h>
#include <verrick/search.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr int kRows = 18; // of each table

// Returns whether the table of a file has all its rows, and each of them is right.
bool IsRight(std::string const& file) {
    std::ifstream text(file);
    int rows = 0;
    bool isRight = true;
    char pattern[16], name[16], fits[4];
    for (std::string line; std::getline(text, line);) {
        char const* const row = line.c_str() + std::min(line.find('|'), line.size());
        if (std::sscanf(row, "| `%15[^`]` | `%15[^`]` | %3[a-z] |", pattern, name, fits) == 3) {
            int const expected = fits == std::string("yes") ? 1 : 0;
            if (WildCardMatch(pattern, name) != expected ||
                DDirListImpl::WildCardMatch(pattern, name) != expected) {
                std::printf("%s: %s %s\n", file.c_str(), pattern, name);
                isRight = false;
            }
            ++rows;
        }
    }
    if (rows != kRows) {
        std::printf("%s: %d rows\n", file.c_str(), rows);
    }
    return isRight && rows == kRows;
}

} // namespace

int main(int, char** arguments) {
    bool isRight = true;
    for (char const* const file :
         {"/include/verrick/flat/files.h", "/docs/guide/files.md", "/docs/porting.md"}) {
        isRight = IsRight(std::string(arguments[1]) + file) && isRight;
    }
    return isRight ? 0 : 1;
}
