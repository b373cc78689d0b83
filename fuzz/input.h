// What all targets use: the library, and the bytes of one input, handed out as the values that a
// target asks for.
#pragma once

#include <verrick/verrick.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Every value is there: once the bytes are used up, they are zero.
class Input {
public:
    Input(std::uint8_t const* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool IsEmpty() const { return m_next == m_end; }

    std::uint8_t Byte() { return IsEmpty() ? 0 : *m_next++; }

    // A number from 0 to count - 1; count is at most 65,536.
    unsigned Below(unsigned count) {
        unsigned const low = Byte();
        return (count > 256 ? low + 256u * Byte() : low) % count;
    }

    // At most limit bytes, as many as the next number says.
    std::string Text(unsigned limit) {
        std::size_t const wanted = Below(limit + 1);
        auto const size = std::min(wanted, static_cast<std::size_t>(m_end - m_next));
        std::string const text(m_next, m_next + size);
        m_next += size;
        return text;
    }

private:
    std::uint8_t const* m_next;
    std::uint8_t const* m_end;
};

// Ends the program with a message if the library and the model differ.
#define AGREE(condition)                                                                           \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                   \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

// What each target defines. It runs one input and returns 0.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);
