// What a test of files needs besides its folder.
#pragma once

#include "tests/support/scratch_folder.h"
#include "tests/support/test.h"

#include <clocale>

struct Utf8Locale {
    Utf8Locale() { EXPECT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr); }
    ~Utf8Locale() { std::setlocale(LC_ALL, "C"); }
};

// Returns the descriptor that the next file or directory gets.
inline int NextDescriptor() {
    int const next = dup(0);
    close(next);
    return next;
}
