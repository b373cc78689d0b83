// A library for the tests of loading: a symbol, one outside ASCII, and a destructor that runs what
// the test left for it.
extern "C" {
extern int pluginAnswer, pluginSize __asm__("gr\u00F6\u00DFe\u20AC\U00010348");
extern void (*pluginAtUnload)();
int pluginAnswer = 42, pluginSize = 7;
void (*pluginAtUnload)() = nullptr;
}

[[gnu::destructor]] static void AtUnload() {
    if (pluginAtUnload != nullptr) {
        pluginAtUnload();
    }
}
