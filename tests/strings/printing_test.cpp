#include <verrick/debug.h>
#include <verrick/printing.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

// A buffer of just the size that the call is promised shows an overrun to the sanitizer.
template<class... Arguments>
std::wstring Print(int count, std::wstring const& format, Arguments... arguments) {
    auto const buffer = std::make_unique<wchar_t[]>(512);
    EXPECT_EQ(_sprintf(buffer.get(), format.c_str(), arguments...), count);
    return buffer.get();
}

TEST(Printing, TakesAPlainStringConversionForWide) {
    EXPECT_EQ(Print(4, L"%s%s", L"ab", L"cd"), L"abcd");
    EXPECT_EQ(Print(9, L"<%s|%d|%ls>", L"a", -12, L"b"), L"<a|-12|b>");
    EXPECT_EQ(Print(5, L"%3s%.2s", "a", "bcd"), L"  abc");
    EXPECT_EQ(Print(0, L""), L"");
    EXPECT_EQ(Print(6, L"%%s %%%s%%", L"x"), L"%s %x%");
}

TEST(Printing, StopsAtTheRoomOfDestinationAndFormat) {
    EXPECT_EQ(Print(511, L"%s", std::wstring(511, L'x').c_str()), std::wstring(511, L'x'));
    Print(-1, L"%s", std::wstring(512, L'x').c_str());
    EXPECT_EQ(Print(2, L"%s%" + std::wstring(4090, L'0') + L"d", L"a", 7), L"a7");
    EXPECT_EQ(Print(-1, L"%s%" + std::wstring(4091, L'0') + L"d", L"a", 7), L"");
    EXPECT_EQ(_sprintf(nullptr, L"%s", L"a"), -1);
    wchar_t untouched[] = L"text";
    EXPECT_EQ(_sprintf(untouched, nullptr), -1);
    EXPECT_STREQ(untouched, L"text");
}

TEST(Debug, CountsTheWholeTextAndPrintsNothing) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(DbgMsg("%s", "12345"), 5);
    EXPECT_EQ(DbgMsg("%s", std::string(1000, 'x').c_str()), 1000);
    OutputDebugString(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

} // namespace
