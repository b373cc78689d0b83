// Rings and queues in a process that never had a second thread. The mutexes of glibc need no atomic
// step there, so the figures differ from those of queues_bench.cpp.
#include "rings_and_queues.h"

BENCHMARK(RingOneThread<VerrickRing, 1>)->Name("Ring1/Verrick");
BENCHMARK(RingOneThread<MutexRing, 1>)->Name("Ring1/mutex_ring");
BENCHMARK(RingOneThread<VerrickRing, kMessageBytes>)->Name("Ring64/Verrick");
BENCHMARK(RingOneThread<MutexRing, kMessageBytes>)->Name("Ring64/mutex_ring");
BENCHMARK(QueueOneThread<VerrickQueue>)->Name("QueueOneThread64/Verrick");
BENCHMARK(QueueOneThread<BoostQueue>)->Name("QueueOneThread64/boost_message_queue");

BENCHMARK_MAIN();
