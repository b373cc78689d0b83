#include <verrick/listing.h>
#include <verrick/search.h>

#include <gtest/gtest.h>

#include <clocale>
#include <cwctype>
#include <random>
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
    *    -        1    *x   -     0)";

// The rules as they are told, on texts that end where they end.
template<class Fold>
bool Fits(std::string const& pattern, std::string const& name, Fold fold, std::size_t p = 0,
          std::size_t n = 0) {
    auto const at = [&](std::string const& text, std::size_t position) {
        unsigned char const c = position < text.size() ? text.at(position) : '\0';
        return static_cast<int>(fold(c));
    };
    if (pattern == "*" || n == name.size()) {
        return pattern == "*" || pattern.substr(p).empty() || pattern.substr(p) == "*";
    }
    if (at(pattern, p) != '*') {
        return (at(pattern, p) == '?' || at(pattern, p) == at(name, n)) &&
               Fits(pattern, name, fold, p + 1, n + 1);
    }
    bool const endsNext = at(pattern, p + 1) == at(name, n + 1);
    bool const endsHere = at(pattern, p + 1) == at(name, n);
    p += endsNext ? 1 : endsHere ? 2 : 0;
    return name[n] != '.' && Fits(pattern, name, fold, p, n + 1);
}

TEST(Matcher, GivesTheWorkedResults) {
    std::istringstream rows(kWorked);
    for (std::string pattern, name, result; rows >> pattern >> name >> result;) {
        char const* const p = pattern == "-" ? "" : pattern.c_str();
        char const* const n = name == "-" ? "" : name.c_str();
        EXPECT_EQ(WildCardMatch(p, n), std::stoi(result)) << p << ' ' << n;
        EXPECT_EQ(DDirListImpl::WildCardMatch(p, n), std::stoi(result)) << p << ' ' << n;
    }
    EXPECT_EQ(WildCardMatch("a", nullptr) + WildCardMatch("", nullptr), 1);
}

// The bytes above 127 are one letter in two cases to towupper, and two things to toupper.
TEST(Matcher, FollowsItsRulesOnAnyText) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    std::mt19937 random(20);
    for (int i = 0; i < 100000; ++i) {
        std::string text[2];
        for (auto left = random() % 14; left > 0; --left) {
            text[left % 2] += "**??.aAb\xE9\xC9"[random() % 10];
        }
        auto const& [pattern, name] = text;
        ASSERT_EQ(WildCardMatch(pattern.c_str(), name.c_str()), Fits(pattern, name, toupper))
            << pattern << ' ' << name;
        ASSERT_EQ(DDirListImpl::WildCardMatch(pattern.c_str(), name.c_str()),
                  Fits(pattern, name, towupper))
            << pattern << ' ' << name;
    }
}

} // namespace
