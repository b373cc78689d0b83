#include <verrick/conversion.h>

#include <gtest/gtest.h>

#include <clocale>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "strings/text_conversion.h"

namespace {

using namespace std::string_literals;

class Conversion : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
};

// What a conversion leaves in a destination of exactly the elements that the caller owes, so that
// the address sanitizer sees one more; '~' is what was there before.
template<typename To, typename From>
std::pair<int, std::basic_string<To>> Convert(int (*convert)(To*, From const*, unsigned int),
                                              std::basic_string<From> const& source,
                                              unsigned int limit) {
    std::vector<To> destination(source.size() == limit ? limit + 1 : limit, To{'~'});
    int const result = convert(destination.data(), source.c_str(), limit);
    return {result, {destination.begin(), destination.end()}};
}

TEST_F(Conversion, CutsAtAWholeCharacterAndSaysWhatItOwes) {
    using ToNarrow = std::tuple<std::wstring, unsigned int, int, std::string>;
    for (auto const& [source, limit, result, destination] :
         {ToNarrow(L"", 0, 1, "\0"s),
          {L"abc", 0, 0, ""s},
          {L"abc", 2, 1, "a\0"s},
          {L"abc", 3, 1, "abc\0"s},
          {L"\u00e4bc", 2, 1, "\0~"s},
          {L"\u00e4\u20ac", 2, 0, "\u00e4\0"s},
          {L"\u00e4\u20ac", 5, 0, "\u00e4\0~~"s},
          {L"\u00e4\u20ac", 6, 1, "\u00e4\u20ac\0"s},
          {L"a\xd800", 9, 0, "a~~~~~~~~"s}}) {
        EXPECT_EQ(Convert(MBSToAscii, source, limit), std::pair(result, destination));
    }
    // Here the limit is compared with bytes and cuts characters.
    using ToWide = std::tuple<std::string, unsigned int, int, std::wstring>;
    for (auto const& [source, limit, result, destination] : {ToWide("", 0, 1, L"\0"s),
                                                             {"\u00e4bc", 2, 1, L"\u00e4\0"s},
                                                             {"\u00e4bc", 4, 1, L"\u00e4bc\0~"s},
                                                             {"a\xff", 9, 0, L"a~~~~~~~~"s}}) {
        EXPECT_EQ(Convert(AsciiToMBS, source, limit), std::pair(result, destination));
    }
}

TEST_F(Conversion, TakesNullAndHugeLimitsAndNarrowTextIsWholeOrNotThere) {
    char narrow[4];
    wchar_t wide[4];
    EXPECT_EQ(MBSToAscii(narrow, L"a\u00e4", 0xFFFFFFFF), 1);
    EXPECT_STREQ(narrow, "a\u00e4");
    EXPECT_EQ(AsciiToMBS(wide, "a\u00e4", 0xFFFFFFFF), 1);
    EXPECT_STREQ(wide, L"a\u00e4");
    EXPECT_EQ(MBSToAscii(nullptr, L"a", 4) + AsciiToMBS(wide, nullptr, 4), 0);
    verrick::NarrowText const text(L"\u20ac\u00e4x");
    EXPECT_STREQ(text.Get(), "\u20ac\u00e4x");
    EXPECT_EQ(text.Length(), 6u);
    EXPECT_FALSE(verrick::NarrowText(L"a\xd800") || verrick::NarrowText(nullptr));
}

TEST_F(Conversion, LinesLoseTheirEndAndWhatIsBeyondTheSize) {
    auto const text = "\nabc\nabcd\r\n\u00e4\u00e4\nx\xffy\nz\0z\na\rb\r\r\nlast\r"s;
    std::unique_ptr<FILE, int (*)(FILE*)> const stream(std::tmpfile(), std::fclose);
    std::fwrite(text.data(), 1, text.size(), stream.get());
    std::rewind(stream.get());
    wchar_t wide[10] = L"~~~~~~~~~";
    using Case = std::tuple<unsigned int, char const*, wchar_t const*>;
    for (auto const& [size, narrowLine, wideLine] : {Case(4, "", L""),
                                                     {4, "abc", L"abc"},
                                                     {4, "abc", L"abc"},
                                                     {4, "\u00e4\xc3", L"\u00e4"},
                                                     {4, "x\xffy", L"x"},
                                                     {1, "", L""},
                                                     {9, "a\rb\r", L"a\rb\r"},
                                                     {9, "last\r", L"last\r"}}) {
        char narrow[10] = "~~~~~~~~~";
        long const start = std::ftell(stream.get());
        EXPECT_STREQ(myfgets(narrow, size, stream.get()), narrowLine);
        std::fseek(stream.get(), start, SEEK_SET);
        EXPECT_STREQ(myfgetws(wide, size, stream.get()), wideLine);
    }
    EXPECT_EQ(myfgetws(wide, 10, stream.get()), nullptr);
    EXPECT_EQ(myfgetws(wide, 10, nullptr), nullptr);
    EXPECT_EQ(myfgetws(nullptr, 10, stream.get()), nullptr);
    EXPECT_STREQ(wide, L"last\r");
}

} // namespace
