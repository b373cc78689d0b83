#include <verrick/debug.h>
#include <verrick/printing.h>
#include <verrick/strings.h>

#include <gtest/gtest.h>

#include <clocale>
#include <memory>
#include <string>
#include <tuple>

namespace {

TEST(Strings, AreTrimmedKeepingTheFirstCharacterOnTheRightOnly) {
    wchar_t const* const cases[][4] = {{L"", L"", L"", L""},
                                       {L" \t\r\n", L" ", L"", L""},
                                       {L"\ta b \n", L"\ta b", L"a b \n", L"a b"},
                                       {L"ab", L"ab", L"ab", L"ab"}};
    for (auto const& [source, right, left, both] : cases) {
        auto const apply = [text = source](wchar_t* (*trim)(wchar_t*)) {
            std::wstring copy(text);
            EXPECT_EQ(trim(copy.data()), copy.data());
            return std::wstring(copy.c_str());
        };
        EXPECT_EQ(apply(_rtrim), right);
        EXPECT_EQ(apply(_ltrim), left);
        EXPECT_EQ(apply(_trim), both);
    }
}

TEST(Strings, FoldToUpperCaseAndSortNullFirst) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    std::tuple<wchar_t const*, wchar_t const*, int> const cases[] = {
        {nullptr, nullptr, 0}, {nullptr, L"", -1},       {L"abc", L"ABCD", -1},
        {L"aBc", L"AbC", 0},   {L"a_", L"ab", 1},        {L"\u00e4", L"\u00c4", 0},
        {L"a", L"\u0436", -1}, {L"\U0010ffff", L"z", 1}, {L"ab", L"ab", 0},
        {L"ab", L"abc", -1}};
    for (auto const& [first, second, expected] : cases) {
        EXPECT_EQ(_stricmp(first, second), expected);
        EXPECT_EQ(_stricmp(second, first), -expected);
    }
    EXPECT_EQ(_stricmp_ascii("a_\xff", "AB"), 1);
    EXPECT_EQ(_stricmp_ascii("z", "\xff"), -1);
    EXPECT_EQ(_stricmp_ascii("Key", "kEY"), 0);
}

TEST(Strings, AreReadAsDecimalNumbers) {
    EXPECT_EQ(_wcstol(L" -010ab"), -10);
}

TEST(Strings, MayBeNull) {
    EXPECT_EQ(_strdup(nullptr), nullptr);
    EXPECT_EQ(_trim(nullptr), nullptr);
    EXPECT_EQ(_strupr(nullptr), nullptr);
    EXPECT_EQ(_wcstol(nullptr), 0);
    wchar_t text[] = L"a";
    EXPECT_EQ(_wcstok(text, nullptr), nullptr);
    EXPECT_EQ(_sprintf(nullptr, L"%s", L"a"), -1);
    EXPECT_EQ(_sprintf(text, nullptr), -1);
    EXPECT_EQ(DbgMsg(nullptr), -1);
    OutputDebugString(nullptr);
}

TEST(Strings, AreCutIntoTokensOfOneSearch) {
    wchar_t first[] = L",a,b";
    wchar_t second[] = L"c";
    EXPECT_EQ(_wcstok(nullptr, L","), nullptr);
    EXPECT_STREQ(_wcstok(first, L","), L"a");
    EXPECT_EQ(_wcstok(nullptr, nullptr), nullptr);
    EXPECT_STREQ(_wcstok(nullptr, L","), L"b");
    EXPECT_STREQ(_wcstok(second, L","), L"c");
    EXPECT_EQ(_wcstok(nullptr, L","), nullptr);
}

// A buffer of just the size that the call is promised shows an overrun to the sanitizer.
template<class... Values>
std::wstring Print(int count, std::wstring const& format, Values... values) {
    auto const buffer = std::make_unique<wchar_t[]>(512);
    EXPECT_EQ(_sprintf(buffer.get(), format.c_str(), values...), count);
    return buffer.get();
}

TEST(Printing, TakesAPlainStringConversionForWide) {
    EXPECT_EQ(Print(12, L"%s%s|%d|%ls|%.2s", L"ab", L"cd", -1, L"e", "fgh"), L"abcd|-1|e|fg");
    EXPECT_EQ(Print(7, L"%%s %%%s%%", L"xy"), L"%s %xy%");
    EXPECT_EQ(Print(4, L"%-%%s|", L"wi"), L"%wi|") << "a percent sign, then a conversion";
    EXPECT_EQ(Print(3, L"%5%%s", L"wi"), L"%wi");
    EXPECT_EQ(Print(3, L"%5%s"), L"%ls");
}

// A fortified libc would end the program for a format that isn't constant.
TEST(Printing, StoresACountInTheMiddle) {
    int count = 0;
    std::wstring const format = L"%s%n!";
    EXPECT_EQ(Print(3, format, L"ab", &count), L"ab!");
    EXPECT_EQ(count, 2);
}

TEST(Printing, StaysWithinItsBounds) {
    EXPECT_EQ(Print(511, L"%s", std::wstring(511, L'x').c_str()), std::wstring(511, L'x'));
    Print(-1, L"%s", std::wstring(512, L'x').c_str());
    EXPECT_EQ(Print(2, L"%s%" + std::wstring(4090, L'0') + L"d", L"a", 7), L"a7");
    EXPECT_EQ(Print(-1, L"%s%" + std::wstring(4091, L'0') + L"d", L"a", 7), L"");
    EXPECT_EQ(DbgMsg("%s", std::string(1000, 'x').c_str()), 1000);
}

} // namespace
