#include <verrick/listing.h>
#include <verrick/search.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

void ExpectBoth(std::string const& pattern, std::string const& name, int fits) {
    EXPECT_EQ(WildCardMatch(pattern.c_str(), name.c_str()), fits) << pattern << ' ' << name;
    EXPECT_EQ(DDirListImpl::WildCardMatch(pattern.c_str(), name.c_str()), fits)
        << pattern << ' ' << name;
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

// Pattern, name and result of what the tables leave out. A hyphen stands for an empty text.
constexpr char const* kMore = R"(
    *    ..       1    *.*  .profile 0    *.*  .     0    a*   abc   1    a.*  a.    1
    a.*  a        0    *b   b        1    *ab  aab   1    *ab  acab  0    x*y  xyy   1
    **   ab       0    -    -        1    -    a     0    *    -     1    *x   -     0
    a?c* AbCd     1    a**b axxb     0    *a*b xaxb  1    ?*b  ab    1    A*.? abc.d 1
    *.c* x.cpp    1    ab   abc      0    ?    -     0)";

TEST(Matcher, TriesNoSecondPlaceAndTakesEmptyTexts) {
    std::istringstream rows(kMore);
    int fits = 0;
    for (std::string pattern, name; rows >> pattern >> name >> fits;) {
        ExpectBoth(pattern == "-" ? "" : pattern, name == "-" ? "" : name, fits);
    }
    EXPECT_EQ(WildCardMatch("a", nullptr), 0);
    EXPECT_EQ(WildCardMatch("", nullptr), 1);
}

// One letter in two cases to towupper, and two things to toupper.
TEST(Matcher, FoldsForeignBytesInTheWayOfEachFace) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    for (auto const& [pattern, name] :
         {std::pair("\xE9", "\xC9"), {"*\xE9", "ab\xC9"}, {"x*\xE9z", "xa\xC9z"}}) {
        EXPECT_EQ(WildCardMatch(pattern, name), 0);
        EXPECT_EQ(DDirListImpl::WildCardMatch(pattern, name), 1);
    }
}

} // namespace
