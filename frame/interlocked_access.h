// The word of a DInterlockedValue, for the library's own steps that the class doesn't offer.
#pragma once

#include <verrick/interlocked.h>

namespace verrick {

struct InterlockedAccess {
    static std::atomic<int>& WordOf(DInterlockedValue& value) {
        return static_cast<DInterlockedValueImpl*>(value.m_impl)->m_value;
    }
};

} // namespace verrick
