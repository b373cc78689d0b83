#include "tests/support/test.h"
#include <initializer_list>

namespace {

TEST(Strings, MayBeNull) {
    wchar_t text[] = L"a";
    char narrow[] = "b";
    static FILE* const zeros = std::fopen("/dev/zero", "re");
    for (void const* const result : std::initializer_list<void const*>{
             _strdup(nullptr), _trim(nullptr), _strupr(nullptr), _wcstok(text, nullptr),
             myfgets(narrow, 2, nullptr), myfgets(nullptr, 2, zeros), myfgets(narrow, 0, zeros),
             myfgetws(text, 2, nullptr), myfgetws(nullptr, 2, zeros), myfgetws(text, 0, zeros)}) {
        EXPECT_EQ(result, nullptr);
    }
    EXPECT_EQ(_stricmp(nullptr, L""), -1);
    EXPECT_EQ(_stricmp(L"", nullptr), 1);
    for (int const result : {_stricmp(nullptr, nullptr), WildCardMatch("a", nullptr),
                             MBSToAscii(nullptr, L"a", 4), MBSToAscii(narrow, nullptr, 4),
                             AsciiToMBS(nullptr, "a", 4), AsciiToMBS(text, nullptr, 4)}) {
        EXPECT_EQ(result, 0);
    }
    EXPECT_EQ(_wcstol(nullptr), 0);
    EXPECT_EQ(WildCardMatch(nullptr, "a"), 1);
    EXPECT_EQ(WildCardMatch("", nullptr), 1);
    for (int const result :
         {_sprintf(nullptr, L"%s", L"a"), _sprintf(text, nullptr), DbgMsg(nullptr)}) {
        EXPECT_EQ(result, -1);
    }
    EXPECT_EQ(DbgMsg("%s", std::string(1000, 'x').c_str()), 1000);
    OutputDebugString(nullptr);
}

TEST(Strings, AreCutIntoTokensOfOneSearch) {
    wchar_t first[] = L",a,b", second[] = L"c";
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
