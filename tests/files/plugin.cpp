// A library for the tests of loading: one call, one symbol outside ASCII, and a destructor that
// runs what the test left for it.
extern "C" {

__attribute__((visibility("default"))) void (*pluginAtUnload)() = nullptr;

__attribute__((visibility("default"))) int PluginAnswer() {
    return 42;
}

__attribute__((visibility("default"))) int PluginSize() __asm__("gr\u00F6\u00DFe\u20AC\U00010348");
int PluginSize() {
    return 7;
}

} // extern "C"

namespace {

struct AtUnload {
    ~AtUnload() {
        if (pluginAtUnload != nullptr) {
            pluginAtUnload();
        }
    }
} atUnload;

} // namespace
