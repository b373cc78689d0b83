// Rings in a process that never had a second thread. There the mutexes of glibc need no atomic
// step, so the figures differ from those in queues_bench.cpp.
#include "rings.h"

BENCHMARK(RingOneThread<VerrickRing, 1>)->Name("Ring1/Verrick");
BENCHMARK(RingOneThread<MutexRing, 1>)->Name("Ring1/mutex_ring");
BENCHMARK(RingOneThread<VerrickRing, kMessageBytes>)->Name("Ring64/Verrick");
BENCHMARK(RingOneThread<MutexRing, kMessageBytes>)->Name("Ring64/mutex_ring");

BENCHMARK_MAIN();
