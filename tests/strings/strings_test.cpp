#include <verrick/strings.h>

#include <gtest/gtest.h>

#include <clocale>
#include <memory>
#include <string>
#include <tuple>

namespace {

TEST(Trimming, KeepsTheFirstCharacterOnTheRightOnly) {
    wchar_t const* const cases[][4] = {
        {L"", L"", L"", L""},         {L" ", L" ", L"", L""},
        {L" \t\r\n", L" ", L"", L""}, {L"\ta b \n", L"\ta b", L"a b \n", L"a b"},
        {L"ab", L"ab", L"ab", L"ab"},
    };
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

TEST(Comparison, FoldsToUpperCaseAndSortsNullFirst) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    std::tuple<wchar_t const*, wchar_t const*, int> const cases[] = {
        {nullptr, nullptr, 0}, {nullptr, L"", -1},       {L"abc", L"ABCD", -1},
        {L"aBc", L"AbC", 0},   {L"a_", L"ab", 1},        {L"\u00e4", L"\u00c4", 0},
        {L"a", L"\u0436", -1}, {L"\U0010ffff", L"z", 1},
    };
    for (auto const& [first, second, expected] : cases) {
        EXPECT_EQ(_stricmp(first, second), expected);
        EXPECT_EQ(_stricmp(second, first), -expected);
    }
    EXPECT_EQ(_stricmp_ascii("a_\xff", "AB"), 1);
    EXPECT_EQ(_stricmp_ascii("z", "\xff"), -1);
    EXPECT_EQ(_stricmp_ascii("Key", "kEY"), 0);
    EXPECT_EQ(_stricmp_ascii(nullptr, ""), -1);
}

TEST(Tokens, BelongToOneSearchOfTheProcess) {
    EXPECT_EQ(_wcstok(nullptr, L","), nullptr);
    wchar_t first[] = L",a,b";
    wchar_t second[] = L"c";
    EXPECT_STREQ(_wcstok(first, L","), L"a");
    EXPECT_STREQ(_wcstok(second, L","), L"c");
    EXPECT_EQ(_wcstok(nullptr, L","), nullptr);
    EXPECT_EQ(_wcstok(nullptr, L","), nullptr);
}

TEST(WideText, IsCopiedReadAsANumberAndRaised) {
    std::unique_ptr<wchar_t[]> const copy(_strdup(L"a\u00dfz9"));
    EXPECT_EQ(_strupr(copy.get()), copy.get());
    EXPECT_STREQ(copy.get(), L"A\u00dfZ9");
    EXPECT_EQ(std::unique_ptr<wchar_t[]>(_strdup(L""))[0], L'\0');
    EXPECT_EQ(_wcstol(L" -12ab"), -12);
    EXPECT_EQ(_wcstol(L"ab"), 0);
    EXPECT_EQ(_wcstol(nullptr), 0);
    EXPECT_EQ(_strdup(nullptr), nullptr);
    EXPECT_EQ(_trim(nullptr), nullptr);
    EXPECT_EQ(_strupr(nullptr), nullptr);
}

} // namespace
