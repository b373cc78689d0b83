#include <verrick/conversion.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "ini/narrow.h"

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
    std::size_t const size = source.size() == limit ? limit + 1 : limit;
    std::vector<To> destination(size, To{'~'});
    int const result = convert(destination.data(), source.c_str(), limit);
    return {result, {destination.begin(), destination.end()}};
}

TEST_F(Conversion, ToNarrowCutsAtAWholeCharacterAndSaysWhatItOwes) {
    std::tuple<std::wstring, unsigned int, int, std::string> const cases[] = {
        {L"", 0, 1, "\0"s},
        {L"abc", 0, 0, ""s},
        {L"abc", 1, 1, "\0"s},
        {L"abc", 2, 1, "a\0"s},
        {L"abc", 3, 1, "abc\0"s},
        {L"\u00e4bc", 2, 1, "\0~"s},
        {L"\u00e4\u20ac", 2, 0, "\u00e4\0"s},
        {L"\u00e4\u20ac", 5, 0, "\u00e4\0~~"s},
        {L"\u00e4\u20ac", 6, 1, "\u00e4\u20ac\0"s},
        {L"a\xd800", 9, 0, "a~~~~~~~~"s},
        {L"ab\xd800", 2, 1, "a\0"s},
    };
    for (auto const& [source, limit, result, destination] : cases) {
        EXPECT_EQ(Convert(MBSToAscii, source, limit), std::pair(result, destination));
    }
}

TEST_F(Conversion, ToWideComparesTheLimitWithBytesAndCutsCharacters) {
    std::tuple<std::string, unsigned int, int, std::wstring> const cases[] = {
        {"", 0, 1, L"\0"s},
        {"\u00e4bc", 2, 1, L"\u00e4\0"s},
        {"\u00e4bc", 3, 1, L"\u00e4b\0"s},
        {"\u00e4bc", 4, 1, L"\u00e4bc\0~"s},
        {"a\xff", 9, 0, L"a~~~~~~~~"s},
    };
    for (auto const& [source, limit, result, destination] : cases) {
        EXPECT_EQ(Convert(AsciiToMBS, source, limit), std::pair(result, destination));
    }
}

TEST_F(Conversion, TakesNullAndHugeLimits) {
    char narrow[4];
    wchar_t wide[4];
    EXPECT_EQ(MBSToAscii(narrow, L"a\u00e4", 0xFFFFFFFF), 1);
    EXPECT_STREQ(narrow, "a\u00e4");
    EXPECT_EQ(AsciiToMBS(wide, "a\u00e4", 0xFFFFFFFF), 1);
    EXPECT_STREQ(wide, L"a\u00e4");
    EXPECT_EQ(MBSToAscii(nullptr, L"a", 4), 0);
    EXPECT_EQ(AsciiToMBS(wide, nullptr, 4), 0);
}

TEST_F(Conversion, NarrowTextIsWholeOrNotThere) {
    verrick::NarrowText const text(L"\u20ac\u00e4x");
    EXPECT_STREQ(text.Get(), "\u20ac\u00e4x");
    EXPECT_EQ(text.Length(), 6u);
    EXPECT_TRUE(verrick::NarrowText(L""));
    EXPECT_FALSE(verrick::NarrowText(L"a\xd800"));
    EXPECT_FALSE(verrick::NarrowText(nullptr));
}

TEST_F(Conversion, LinesLoseTheirEndAndWhatIsBeyondTheSize) {
    auto const text = "\nabc\nabcd\r\n\u00e4\u00e4\nx\xffy\nz\0z\na\rb\r\r\nlast\r"s;
    std::unique_ptr<FILE, int (*)(FILE*)> const stream(std::tmpfile(), std::fclose);
    std::fwrite(text.data(), 1, text.size(), stream.get());
    std::tuple<unsigned int, char const*, wchar_t const*> const cases[] = {
        {4, "", L""},
        {4, "abc", L"abc"},
        {4, "abc", L"abc"},
        {4, "\u00e4\xc3", L"\u00e4"},
        {4, "x\xffy", L"x"},
        {1, "", L""},
        {9, "a\rb\r", L"a\rb\r"},
        {9, "last\r", L"last\r"},
    };
    std::rewind(stream.get());
    wchar_t buffer[10] = L"~~~~~~~~~";
    for (auto const& [size, narrow, wide] : cases) {
        char narrowBuffer[10] = "~~~~~~~~~";
        long const start = std::ftell(stream.get());
        ASSERT_EQ(myfgets(narrowBuffer, size, stream.get()), narrowBuffer);
        EXPECT_STREQ(narrowBuffer, narrow);
        std::fseek(stream.get(), start, SEEK_SET);
        ASSERT_EQ(myfgetws(buffer, size, stream.get()), buffer);
        EXPECT_STREQ(buffer, wide);
    }
    EXPECT_EQ(myfgetws(buffer, 10, stream.get()), nullptr);
    EXPECT_EQ(myfgetws(buffer, 10, nullptr), nullptr);
    EXPECT_EQ(myfgetws(nullptr, 10, stream.get()), nullptr);
    EXPECT_STREQ(buffer, L"last\r");
}

} // namespace
