// The absolute form of a name, for GetFullFilename and for directory listings.
#pragma once

#include <cstddef>

namespace verrick {

// Stores the absolute form of name in buffer. It is cut to size wide characters, which
// count the terminator and are at least 1. Neither name nor buffer is null, and they don't overlap.
//
// Returns false if the name is relative and there is no current directory that can be used. Then
// buffer holds what GetFullFilename stores in this case. Allocates nothing.
bool MakeFullFilename(wchar_t const* name, wchar_t* buffer, std::size_t size);

} // namespace verrick
