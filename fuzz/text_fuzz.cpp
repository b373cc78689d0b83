// Calls on text and patterns.
#include "fuzz/text_model.h"

#include <cctype>

namespace {

using model::Converted;

template<typename To, typename From>
void CheckConversion(int (*convert)(To*, From const*, unsigned int),
                     std::basic_string<From> const& source, unsigned int limit,
                     Converted<To> (*convertByModel)(std::basic_string<From> const&, std::size_t)) {
    std::size_t const room = limit + std::size_t{source.size() == limit ? 1U : 0U};
    auto const [text, fault] = convertByModel(source, std::max<std::size_t>(room, 1) - 1);
    Array<To> out(std::clamp<std::size_t>(room, 1, 300));
    bool const isStored = room > 0 && !fault;
    Converted<To> const whole = convertByModel(source, model::kAll);
    bool const isWhole = whole.text == text && !whole.fault;
    AGREE(convert(out.data(), source.c_str(), limit) ==
          (isStored && (isWhole || source.size() > limit) ? 1 : 0));
    AGREE(room > 0 ? !isStored || out.Holds(text) : out == Array<To>(1));
}

void CheckConversions(Input& input) {
    unsigned int const number = input.Below(65);
    unsigned int const limit = number < 64 ? number : 0xFFFFFFFF;
    CheckConversion(MBSToAscii, WideText(input.Text(40)), limit, model::Narrow);
    CheckConversion(AsciiToMBS, model::UpToZero(input.Text(60)), limit, model::Widen);
}

void CheckLines(Input& input) {
    unsigned int const size = input.Below(19) + 1;
    std::string text = input.Text(500);
    std::unique_ptr<FILE, int (*)(FILE*)> const stream(fmemopen(text.data(), text.size(), "r"),
                                                       std::fclose);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line.erase(line.size() - (line.ends_with('\r') && !lines.eof() ? 1 : 0));
        std::string const seen = model::UpToZero(line).substr(0, size - 1);
        Array<char> narrow(size);
        Array<wchar_t> wide(size);
        long const start = std::ftell(stream.get());
        AGREE(myfgets(narrow.data(), size, stream.get()) == narrow.data() && narrow.Holds(seen));
        std::fseek(stream.get(), start, SEEK_SET);
        AGREE(myfgetws(wide.data(), size, stream.get()) == wide.data());
        AGREE(model::Widen(seen).text == wide.data());
    }
    AGREE(myfgetws(Array<wchar_t>(size).data(), size, stream.get()) == nullptr);
}

// Formats in the library's form and in libc's. They take up to four wide strings.
void CheckPrinting(Input& input) {
    constexpr wchar_t const* pieces[][2] = {
        {L"%s", L"%ls"}, {L"%%s", L"%%s"}, {L"%5%s", L"%5%ls"}, {L"%-%%s|", L"%-%%ls|"}};
    std::wstring text = WideText(input.Text(9));
    text.append(input.Below(512), L'x');
    std::wstring const zeros(input.Below(8) == 7 ? 4070 + input.Below(40) : 0, L'0');
    std::wstring format = L"%" + zeros + L"ls";
    std::wstring libcs = format;
    for (unsigned count = input.Below(4); count > 0; --count) {
        auto const& [piece, libcPiece] = pieces[input.Below(4)];
        format += piece;
        libcs += libcPiece;
    }
    Array<wchar_t> out(512);
    wchar_t expected[512] = {};
    wchar_t const* const t = text.c_str();
    int count = std::swprintf(expected, 512, libcs.c_str(), t, t, t, t);
    count = libcs.size() < 4096 || libcs == format ? count : -1;
    AGREE(_sprintf(out.data(), format.c_str(), t, t, t, t) == count);
    AGREE(count < 0 || out.Holds(expected));
}

void CheckStrings(Input& input) {
    std::string narrow[] = {model::UpToZero(input.Text(20)), model::UpToZero(input.Text(20))};
    std::wstring const text = WideText(narrow[0]);
    std::wstring const other = WideText(narrow[1]);
    auto const after = [&](wchar_t* (*change)(wchar_t*)) {
        std::unique_ptr<wchar_t[]> const copy(_strdup(text.c_str()));
        AGREE(change(copy.get()) == copy.get());
        return std::wstring(copy.get());
    };
    AGREE(after(_ltrim) == model::TrimLeft(text));
    AGREE(after(_rtrim) == text.substr(0, 1) + model::TrimRight(text.substr(!text.empty())));
    AGREE(after(_trim) == model::TrimLeft(model::TrimRight(text)));
    AGREE(after(_strupr) == model::Upper(text));
    AGREE(_wcstol(text.c_str()) == std::wcstol(text.c_str(), nullptr, 10));
    auto const sign = [](int result) { return result < 0 ? -1 : result > 0 ? 1 : 0; };
    int const expected = sign(model::Upper(text).compare(model::Upper(other)));
    AGREE(_stricmp(text.c_str(), other.c_str()) == expected);
    int const result = _stricmp_ascii(narrow[0].c_str(), narrow[1].c_str());
    for (std::string& bytes : narrow) {
        std::transform(bytes.begin(), bytes.end(), bytes.begin(),
                       [](std::uint8_t byte) { return std::toupper(byte); });
    }
    AGREE(result == sign(narrow[0].compare(narrow[1])));
}

// The steps of a match, one character of the name at a time.
template<typename Fold>
bool FitsFrom(char const* pattern, char const* name, Fold fold) {
    auto const same = [&](std::uint8_t a, std::uint8_t b) { return fold(a) == fold(b); };
    if (*name == '\0') {
        return *pattern == '\0' || pattern == std::string("*");
    }
    bool const isStar = *pattern == '*';
    bool const fits = isStar ? *name != '.' : *pattern == '?' || same(*pattern, *name);
    bool const endsHere = !isStar || same(pattern[1], name[1]);
    int const used = endsHere ? 1 : same(pattern[1], *name) ? 2 : 0;
    return fits && FitsFrom(pattern + used, name + 1, fold);
}

template<typename Fold>
bool Fits(std::string const& pattern, std::string const& name, Fold fold) {
    return pattern == "*" || FitsFrom(pattern.c_str(), name.c_str(), fold);
}

void CheckMatching(Input& input) {
    std::string const pattern = model::UpToZero(input.Text(20));
    std::string const name = model::UpToZero(input.Text(20));
    bool const fits[] = {Fits(pattern, name, toupper), Fits(pattern, name, std::towupper)};
    AGREE(WildCardMatch(pattern.c_str(), name.c_str()) == (fits[0] ? 1 : 0));
    AGREE(DDirListImpl::WildCardMatch(pattern.c_str(), name.c_str()) == (fits[1] ? 1 : 0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    constexpr void (*checks[])(Input&) = {CheckConversions, CheckLines, CheckPrinting, CheckStrings,
                                          CheckMatching};
    Input input(data, size);
    for (int calls = 0; calls < 40 && !input.IsEmpty(); ++calls) {
        unsigned const check = input.Below(10);
        AGREE(std::setlocale(LC_ALL, check < 5 ? "C.UTF-8" : "C") != nullptr);
        checks[check % 5](input);
    }
    return 0;
}
