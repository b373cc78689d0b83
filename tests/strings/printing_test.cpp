#include <verrick/debug.h>
#include <verrick/printing.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

// A buffer of just the size that the call is promised shows an overrun to the sanitizer.
template<class... Values>
std::wstring Print(int count, std::wstring const& format, Values... values) {
    auto const buffer = std::make_unique<wchar_t[]>(512);
    EXPECT_EQ(_sprintf(buffer.get(), format.c_str(), values...), count);
    return buffer.get();
}

TEST(Printing, TakesAPlainStringConversionForWideWithinItsBounds) {
    EXPECT_EQ(Print(12, L"%s%s|%d|%ls|%.2s", L"ab", L"cd", -1, L"e", "fgh"), L"abcd|-1|e|fg");
    EXPECT_EQ(Print(6, L"%%s %%%s%%", L"x"), L"%s %x%");
    EXPECT_EQ(Print(511, L"%s", std::wstring(511, L'x').c_str()), std::wstring(511, L'x'));
    Print(-1, L"%s", std::wstring(512, L'x').c_str());
    EXPECT_EQ(Print(2, L"%s%" + std::wstring(4090, L'0') + L"d", L"a", 7), L"a7");
    EXPECT_EQ(Print(-1, L"%s%" + std::wstring(4091, L'0') + L"d", L"a", 7), L"");
    EXPECT_EQ(_sprintf(nullptr, L"%s", L"a"), -1);
    EXPECT_EQ(DbgMsg("%s", std::string(1000, 'x').c_str()), 1000);
    OutputDebugString(nullptr);
}

} // namespace
