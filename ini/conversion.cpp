#include <verrick/conversion.h>

#include "strings/text_conversion.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

// The elements that a destination is known to have, by the meaning of a limit: a source of exactly
// limit elements gets one more for its terminator.
std::size_t Room(std::size_t sourceLength, unsigned int limit) {
    std::size_t const limitElements = limit;
    return sourceLength == limitElements ? limitElements + 1 : limitElements;
}

} // namespace

// A huge limit is bounded by what the source can need, since the C library adds it to an address.
int MBSToAscii(char* destination, wchar_t const* source, unsigned int limit) {
    if (destination == nullptr || source == nullptr) {
        return 0;
    }
    std::size_t const length = std::wcslen(source);
    std::uint64_t const needed = std::uint64_t{length} * MB_CUR_MAX + 1;
    std::size_t const owned = Room(length, limit);
    std::size_t const room = needed < owned ? static_cast<std::size_t>(needed) : owned;
    if (room == 0) {
        return 0;
    }
    verrick::Narrowed const narrowed = verrick::Narrow(destination, room, source);
    bool const mayBeCut = length > limit;
    return narrowed.whole || (narrowed.converted && mayBeCut) ? 1 : 0;
}

int AsciiToMBS(wchar_t* destination, char const* source, unsigned int limit) {
    if (destination == nullptr || source == nullptr) {
        return 0;
    }
    std::size_t const length = std::strlen(source);
    std::size_t const room = std::min(length + 1, Room(length, limit));
    if (room == 0) {
        return 0;
    }
    std::mbstate_t state{};
    std::size_t const characters = std::mbsrtowcs(destination, &source, room - 1, &state);
    if (characters == verrick::kConversionFault) {
        return 0;
    }
    destination[characters] = L'\0';
    return 1;
}

char* myfgets(char* buffer, unsigned int size, FILE* stream) {
    if (buffer == nullptr || size == 0 || stream == nullptr) {
        return nullptr;
    }
    struct Line {
        ~Line() { std::free(text); }
        char* text = nullptr;
        std::size_t capacity = 0;
    } line;
    if (getline(&line.text, &line.capacity, stream) == -1) {
        return nullptr;
    }
    for (char const* const lineEnd : {"\r\n", "\n"}) {
        if (char* const found = std::strstr(line.text, lineEnd)) {
            *found = '\0';
        }
    }
    std::size_t const length = std::min(std::strlen(line.text), std::size_t{size} - 1);
    std::memcpy(buffer, line.text, length);
    buffer[length] = '\0';
    return buffer;
}

wchar_t* myfgetws(wchar_t* buffer, unsigned int size, FILE* stream) {
    if (buffer == nullptr || size == 0 || stream == nullptr) {
        return nullptr;
    }
    auto const line = std::make_unique_for_overwrite<char[]>(size);
    if (myfgets(line.get(), size, stream) == nullptr) {
        return nullptr;
    }
    verrick::WidenUpToFault(buffer, size, line.get());
    return buffer;
}
