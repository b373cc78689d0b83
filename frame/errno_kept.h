// For calls that promise to leave errno alone.
#pragma once

#include <cerrno>

namespace verrick {

// Puts errno back at the end of a scope, whatever the scope's calls did to it.
class ErrnoKept {
public:
    ErrnoKept() : m_errno(errno) {}
    ~ErrnoKept() { errno = m_errno; }
    ErrnoKept(ErrnoKept const&) = delete;
    ErrnoKept& operator=(ErrnoKept const&) = delete;

private:
    int m_errno;
};

} // namespace verrick
