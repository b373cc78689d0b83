#include <verrick/listing.h>
#include <verrick/search.h>

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <cwctype>
#include <random>
#include <sstream>
#include <string_view>

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
struct Model {
    std::string_view pattern;
    std::string_view name;
    int (*fold)(int);

    int At(std::string_view text, std::size_t at) const {
        return at < text.size() ? fold(static_cast<unsigned char>(text[at])) : 0;
    }
    bool Fits(std::size_t p = 0, std::size_t n = 0) const {
        if (pattern == "*") {
            return true;
        }
        if (n == name.size()) {
            return pattern.substr(p).empty() || pattern.substr(p) == "*";
        }
        if (At(pattern, p) == '?') {
            return Fits(p + 1, n + 1);
        }
        if (At(pattern, p) != '*') {
            return At(pattern, p) == At(name, n) && Fits(p + 1, n + 1);
        }
        bool const endsNext = At(pattern, p + 1) == At(name, n + 1);
        bool const endsHere = At(pattern, p + 1) == At(name, n);
        return name[n] != '.' && Fits(p + (endsNext ? 1 : endsHere ? 2 : 0), n + 1);
    }
};

TEST(Matcher, GivesTheWorkedResults) {
    std::istringstream rows(kWorked);
    int count = 0;
    for (std::string pattern, name, result; rows >> pattern >> name >> result; ++count) {
        SCOPED_TRACE(pattern + ' ' + name);
        pattern = pattern == "-" ? "" : pattern;
        name = name == "-" ? "" : name;
        EXPECT_EQ(WildCardMatch(pattern.c_str(), name.c_str()), std::stoi(result));
        EXPECT_EQ(DDirListImpl::WildCardMatch(pattern.c_str(), name.c_str()), std::stoi(result));
    }
    EXPECT_EQ(count, 32);
    EXPECT_EQ(WildCardMatch(nullptr, "a") + DDirListImpl::WildCardMatch(nullptr, "a"), 2);
    EXPECT_EQ(WildCardMatch("a", nullptr), 0);
    EXPECT_EQ(WildCardMatch("", nullptr), 1);
}

// The bytes above 127 are one letter in two cases to towupper, and two things to toupper.
TEST(Matcher, FollowsItsRulesOnAnyText) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    std::mt19937 random(20);
    auto const text = [&] {
        std::string made(random() % 7, ' ');
        for (char& c : made) {
            c = "**??.aAb\xE9\xC9"[random() % 10];
        }
        return made;
    };
    int fits = 0;
    for (int i = 0; i < 200000; ++i) {
        std::string const pattern = text();
        std::string const name = text();
        bool const flat = Model{pattern, name, std::toupper}.Fits();
        auto const fold = [](int c) {
            return static_cast<int>(std::towupper(static_cast<wint_t>(c)));
        };
        bool const wide = Model{pattern, name, fold}.Fits();
        ASSERT_EQ(WildCardMatch(pattern.c_str(), name.c_str()), flat) << pattern << ' ' << name;
        ASSERT_EQ(DDirListImpl::WildCardMatch(pattern.c_str(), name.c_str()), wide)
            << pattern << ' ' << name;
        fits += wide ? 1 : 0;
    }
    EXPECT_GT(fits, 5000);
    EXPECT_NE(WildCardMatch("\xE9", "\xC9"), DDirListImpl::WildCardMatch("\xE9", "\xC9"));
}

} // namespace
