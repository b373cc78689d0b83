// What files_bench loads.
extern "C" __attribute__((visibility("default"))) int BenchAnswer() {
    return 42;
}
