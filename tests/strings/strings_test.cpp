#include <verrick/verrick.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

TEST(Strings, MayBeNull) {
    EXPECT_EQ(std::unique_ptr<wchar_t[]>(_strdup(nullptr)), nullptr);
    EXPECT_EQ(_trim(nullptr), nullptr);
    EXPECT_EQ(_strupr(nullptr), nullptr);
    EXPECT_EQ(_wcstol(nullptr), 0);
    wchar_t text[] = L"a";
    char narrow[] = "b";
    EXPECT_EQ(_wcstok(text, nullptr), nullptr);
    EXPECT_EQ(_stricmp(nullptr, nullptr), 0);
    EXPECT_EQ(_stricmp(nullptr, L""), -1);
    EXPECT_EQ(_stricmp(L"", nullptr), 1);
    EXPECT_EQ(WildCardMatch(nullptr, "a"), 1);
    EXPECT_EQ(WildCardMatch("a", nullptr), 0);
    EXPECT_EQ(WildCardMatch("", nullptr), 1);
    EXPECT_EQ(MBSToAscii(nullptr, L"a", 4), 0);
    EXPECT_EQ(AsciiToMBS(text, nullptr, 4), 0);
    EXPECT_EQ(myfgets(narrow, 2, nullptr), nullptr);
    EXPECT_EQ(myfgetws(nullptr, 2, stdin), nullptr);
    EXPECT_EQ(myfgetws(text, 0, stdin), nullptr);
    EXPECT_EQ(_sprintf(nullptr, L"%s", L"a"), -1);
    EXPECT_EQ(_sprintf(text, nullptr), -1);
    EXPECT_EQ(DbgMsg(nullptr), -1);
    EXPECT_EQ(DbgMsg("%s", std::string(1000, 'x').c_str()), 1000);
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

// A fortified libc would end the program for a format that isn't constant.
TEST(Printing, StoresACountInTheMiddleAndTakesWholeConversions) {
    wchar_t text[512];
    int count = 0;
    std::wstring const format = L"%s%n!";
    EXPECT_EQ(_sprintf(text, format.c_str(), L"ab", &count), 3);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(_sprintf(text, L"%s%5", L"ab"), -1) << "a conversion without a letter";
}

} // namespace
