#include "tests/files/scratch.h"
#include <verrick/conversion.h>

#include <memory>
#include <tuple>
#include <vector>

namespace {

using namespace std::string_literals;

class Conversion : public testing::Test {
    Utf8Locale const utf8;
};

// What a conversion leaves in a destination of exactly the elements that the caller owes, so that
// the address sanitizer sees one more. '~' is what was there before.
template<typename To, typename From>
std::basic_string<To> Convert(int (*convert)(To*, From const*, unsigned int),
                              std::basic_string<From> const& source, unsigned int limit,
                              int result) {
    std::vector<To> destination(source.size() == limit ? limit + 1 : limit, To{'~'});
    EXPECT_EQ(convert(destination.data(), source.c_str(), limit), result);
    return {destination.begin(), destination.end()};
}

TEST_F(Conversion, ToNarrowCutsAtAWholeCharacter) {
    EXPECT_EQ(Convert(MBSToAscii, L""s, 0, 1), "\0"s);
    EXPECT_EQ(Convert(MBSToAscii, L"abc"s, 2, 1), "a\0"s);
    EXPECT_EQ(Convert(MBSToAscii, L"abc"s, 3, 1), "abc\0"s);
    EXPECT_EQ(Convert(MBSToAscii, L"\u00e4bc"s, 2, 1), "\0~"s);
    EXPECT_EQ(Convert(MBSToAscii, L"\u00e4\u20ac"s, 5, 0), "\u00e4\0~~"s);
    EXPECT_EQ(Convert(MBSToAscii, L"\u00e4\u20ac"s, 6, 1), "\u00e4\u20ac\0"s);
    EXPECT_EQ(Convert(MBSToAscii, L"a\xd800"s, 9, 0), "a~~~~~~~~"s);
}

TEST_F(Conversion, ToWideComparesTheLimitWithBytesAndCutsCharacters) {
    EXPECT_EQ(Convert(AsciiToMBS, ""s, 0, 1), L"\0"s);
    EXPECT_EQ(Convert(AsciiToMBS, "\u00e4bc"s, 2, 1), L"\u00e4\0"s);
    EXPECT_EQ(Convert(AsciiToMBS, "\u00e4bc"s, 4, 1), L"\u00e4bc\0~"s);
    EXPECT_EQ(Convert(AsciiToMBS, "a\xff"s, 9, 0), L"a~~~~~~~~"s);
}

TEST_F(Conversion, TakesNullAndHugeLimits) {
    char narrow[4];
    wchar_t wide[4] = L"~~~";
    EXPECT_EQ(MBSToAscii(nullptr, L"a", 4), 0);
    EXPECT_EQ(MBSToAscii(narrow, L"a", 0), 0);
    EXPECT_EQ(AsciiToMBS(wide, nullptr, 4), 0);
    EXPECT_EQ(AsciiToMBS(wide, "a", 0), 0);
    EXPECT_STREQ(wide, L"~~~");
    EXPECT_EQ(MBSToAscii(narrow, L"a\u00e4", 0xFFFFFFFF), 1);
    EXPECT_STREQ(narrow, "a\u00e4");
    EXPECT_EQ(AsciiToMBS(wide, narrow, 0xFFFFFFFF), 1);
    EXPECT_STREQ(wide, L"a\u00e4");
}

TEST_F(Conversion, LinesLoseTheirEndAndWhatIsBeyondTheSize) {
    auto const text = "\nabc\nabcd\r\n\u00e4\u00e4\nx\xffy\nz\0z\na\rb\r\r\nlast\r"s;
    std::unique_ptr<FILE, int (*)(FILE*)> const stream(std::tmpfile(), std::fclose);
    std::fwrite(text.data(), 1, text.size(), stream.get());
    std::rewind(stream.get());
    wchar_t wide[10] = L"~~~~~~~~~";
    EXPECT_EQ(myfgets(nullptr, 4, stream.get()), nullptr);
    EXPECT_EQ(myfgetws(nullptr, 4, stream.get()), nullptr);
    EXPECT_EQ(myfgetws(wide, 4, nullptr), nullptr);
    std::tuple<unsigned int, char const*, wchar_t const*> const lines[] = {
        {4, "", L""},
        {4, "abc", L"abc"},
        {4, "abc", L"abc"},
        {4, "\u00e4\xc3", L"\u00e4"},
        {4, "x\xffy", L"x"},
        {1, "", L""},
        {9, "a\rb\r", L"a\rb\r"},
        {9, "last\r", L"last\r"}};
    for (auto const& [size, narrowLine, wideLine] : lines) {
        char narrow[10] = "~~~~~~~~~";
        long const start = std::ftell(stream.get());
        EXPECT_STREQ(myfgets(narrow, size, stream.get()), narrowLine);
        std::fseek(stream.get(), start, SEEK_SET);
        EXPECT_STREQ(myfgetws(wide, size, stream.get()), wideLine);
    }
    EXPECT_EQ(myfgetws(wide, 10, stream.get()), nullptr);
}

} // namespace
