// How the units of time convert.
#pragma once

namespace verrick {

constexpr int kMsPerSecond = 1000;
constexpr int kNsPerMs = 1000000;
constexpr int kNsPerSecond = 1000000000;

} // namespace verrick
