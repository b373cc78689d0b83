#include "tests/files/scratch.h"
#include <verrick/listing.h>
#include <verrick/search.h>

#include <algorithm>
#include <cstdio>

namespace {

void ExpectBoth(char const* pattern, char const* name, int fits) {
    EXPECT_EQ(WildCardMatch(pattern, name), fits) << pattern << ' ' << name;
    EXPECT_EQ(DDirListImpl::WildCardMatch(pattern, name), fits) << pattern << ' ' << name;
}

// The examples stand in a header and in two pages.
TEST(Matcher, WorksAsTheTablesOfExamplesSay) {
    for (char const* file :
         {"include/verrick/flat/files.h", "docs/guide/files.md", "docs/porting.md"}) {
        std::ifstream text(std::string(VERRICK_SOURCE_DIR "/") + file);
        int rows = 0;
        char pattern[16], name[16], fits[4];
        for (std::string line; std::getline(text, line);) {
            char const* const row = line.c_str() + std::min(line.find('|'), line.size());
            if (std::sscanf(row, "| `%15[^`]` | `%15[^`]` | %3[a-z] |", pattern, name, fits) == 3) {
                ExpectBoth(pattern, name, fits == std::string("yes") ? 1 : 0);
                ++rows;
            }
        }
        EXPECT_EQ(rows, 18) << file;
    }
}

} // namespace
