// A library for the tests of loading. It has symbols with special names, and calls the test while
// the loader loads it and unloads it.
extern "C" {
extern int pluginAnswer, pluginSize __asm__("gr\u00F6\u00DFe");
extern int LONGEST_NAME, TOO_LONG_NAME;
int pluginAnswer = 42, pluginSize = 7, LONGEST_NAME = 4095, TOO_LONG_NAME = 4096;

// The plug-in can be loaded only if its functions are bound when they are first called.
void NobodyDefinesThis();
void NobodyCallsThis();
void NobodyCallsThis() {
    NobodyDefinesThis();
}
extern void (*g_atLoad)();
extern void (*g_atUnload)();
}

static struct LoadedAndUnloaded {
    LoadedAndUnloaded() { g_atLoad(); }
    ~LoadedAndUnloaded() { g_atUnload(); }
} const g_loadedAndUnloaded;
