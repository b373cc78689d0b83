#include <verrick/debug.h>
#include <verrick/printing.h>
#include <verrick/strings.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

TEST(Strings, AreCopiedRaisedAndReadAsNumbers) {
    std::unique_ptr<wchar_t[]> const copy(_strdup(L"a\u00dfz9"));
    EXPECT_STREQ(_strupr(copy.get()), L"A\u00dfZ9");
    EXPECT_EQ(_wcstol(L" -12ab"), -12);
    EXPECT_EQ(_wcstol(L"010"), 10) << "base 10";
    EXPECT_EQ(_wcstol(L"ab"), 0);
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

} // namespace
