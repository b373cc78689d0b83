// The sleep behind Sleep, for the library's own waits.
#pragma once

namespace verrick {

// Blocks the calling thread for timeMs milliseconds. A signal ends the sleep early. It is a
// cancellation point, because select is one.
void SleepMs(unsigned int timeMs);

} // namespace verrick
