#include <verrick/listing.h>
#include <verrick/search.h>

#include <gtest/gtest.h>

#include <clocale>
#include <sstream>

namespace {

// Pattern, name and result; a hyphen stands for an empty text.
constexpr char const* kWorked = R"(
    *    .profile 1    *    ..    1    *.*  a.txt    1    *.*   README    0    *.*   .profile 0
    *.*  a.tar.gz 0    *.*  .     0    *.txt NOTES.TXT 1  *.txt a.b.txt   0    a*    a        1
    a*   abc      1    a*   a.b   0    a*.c ab.c     1    a*.c  a.c       0    a.*   a.       1
    a.*  a        0    ?    .     1    a?   a        0    *b    b         1    *b    ab       1
    *b   abb      0    *ab  aab   1    *ab  acab     0    x*y   xy        1    x*y   xyy      1
    x*y  xyzy     0    *?   ab    0    **   ab       0    -     -         1    -     a        0
    *    -        1    *x   -     0    a?c* AbCd     1    a**b  axxb      0    *a*b  xaxb     1
    ?*b  ab       1    A*.? abc.d 1    *.c* x.cpp    1    ab    abc       0    ?     -        0)";

TEST(Matcher, GivesTheWorkedResultsAndFoldsForeignBytesInItsOwnWay) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    std::istringstream rows(kWorked);
    for (std::string pattern, name, result; rows >> pattern >> name >> result;) {
        char const* const p = pattern == "-" ? "" : pattern.c_str();
        char const* const n = name == "-" ? "" : name.c_str();
        EXPECT_EQ(WildCardMatch(p, n), std::stoi(result)) << p << ' ' << n;
        EXPECT_EQ(DDirListImpl::WildCardMatch(p, n), std::stoi(result)) << p << ' ' << n;
    }
    EXPECT_EQ(WildCardMatch("a", nullptr) + WildCardMatch("", nullptr), 1);
    // One letter in two cases to towupper, and two things to toupper.
    for (auto const& [pattern, name] :
         {std::pair("\xE9", "\xC9"), {"*\xE9", "ab\xC9"}, {"x*\xE9z", "xa\xC9z"}}) {
        EXPECT_EQ(WildCardMatch(pattern, name), 0);
        EXPECT_EQ(DDirListImpl::WildCardMatch(pattern, name), 1);
    }
}

} // namespace
