// Wide text from a line of a file.
#pragma once

#include <cstddef>

namespace verrick {

// Converts a terminated line of fewer than size bytes into buffer, which holds size wide
// characters. A fault ends the line, here and in buffer, so that buffer always is terminated.
void WidenLine(wchar_t* buffer, char* line, std::size_t size);

} // namespace verrick
