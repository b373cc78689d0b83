#include "tests/files/scratch.h"

// What the plug-in calls while the loader loads it and unloads it.
extern "C" {
extern void (*g_atLoad)();
extern void (*g_atUnload)();
void (*g_atLoad)() = [] {};
void (*g_atUnload)() = [] {};
}

namespace {

std::string const kPlugin = VERRICK_TEST_PLUGIN; // its path
std::wstring const kWidePlugin(kPlugin.begin(), kPlugin.end());

TEST(Libraries, AreReplacedByALoadThatFails) {
    DDynamicLibrary library(kWidePlugin.c_str());
    EXPECT_TRUE(library.Load(kWidePlugin.c_str()));
    EXPECT_NE(library.GetProcedureByName(L"pluginAnswer"), nullptr);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "pluginAnswer"), nullptr) << "only through the object";
    testing::internal::CaptureStdout();
    EXPECT_FALSE(library.Load(L"./100%s%n.so"));
    dlopen("./100%s%n.so", RTLD_LAZY);
    std::string const reason = dlerror();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nDDynamicLib=> ./100%s%n.so error  = " + reason + "\n");
    EXPECT_EQ(library.GetProcedureByName(L"pluginAnswer"), nullptr);
    EXPECT_EQ(dlopen(kPlugin.c_str(), RTLD_LAZY | RTLD_NOLOAD), nullptr);
}

// A name that is cut, or that ends at what can't be converted, would be the name of the plug-in.
TEST(Libraries, NeverLoadOrFindPartOfAName) {
    std::wstring const padded = std::wstring(4095 - kPlugin.size(), L'/') + kWidePlugin;
    DDynamicLibrary library(padded.c_str());
    dlerror();
    EXPECT_EQ(library.GetProcedureByName(L"missing"), nullptr);
    EXPECT_NE(dlerror(), nullptr) << "the loader's error text is left alone";
    EXPECT_NE(GetProcAddress(&library, std::string(4095, 'n').c_str()), nullptr);
    EXPECT_EQ(GetProcAddress(&library, std::string(4096, 'n').c_str()), nullptr);
    EXPECT_EQ(library.GetProcedureByName(std::wstring(4096, L'n').c_str()), nullptr);
    EXPECT_EQ(library.GetProcedureByName(L"pluginAnswer\u00E9"), nullptr);
    EXPECT_EQ(GetProcAddress(&library, "pluginAnswer\xC3"), nullptr);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(library.Load((padded + L"x").c_str()));
    EXPECT_FALSE(library.Load((kWidePlugin + L"\u00E9").c_str()));
    EXPECT_EQ(LoadLibrary(nullptr), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Libraries, WorkThroughTheFlatCallsInAnyLanguage) {
    Scratch const scratch;
    Utf8Locale const utf8;
    std::filesystem::copy_file(kPlugin, "\u20AC.so");
    void* const module = LoadLibrary(L"./\u20AC.so");
    void* const size = GetProcAddress(module, "gr\u00F6\u00DFe");
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(*static_cast<int*>(size), 7);
    EXPECT_EQ(GetProcAddress(module, nullptr), nullptr);
    EXPECT_EQ(GetProcAddress(nullptr, "pluginAnswer"), nullptr);
    EXPECT_EQ(FreeLibrary(module), 1);
    EXPECT_EQ(FreeLibrary(nullptr), 0);
}

// The loader keeps its lock while it runs the plug-in's code. A test that stands still fails.
TEST(Libraries, AreLookedUpByAPluginBesideAThreadThatDoesTheSame) {
    static DDynamicLibrary program(L"");
    g_atLoad = g_atUnload = [] {
        AwaitOthersAsleep(); // the other thread is blocked in a look-up, waiting for the loader
        EXPECT_NE(GetProcAddress(&program, "FreeLibrary"), nullptr);
    };
    std::jthread const other([&](std::stop_token const& stop) {
        while (!stop.stop_requested()) {
            program.GetProcedureByName(L"LoadLibrary");
        }
    });
    FreeLibrary(LoadLibrary(kWidePlugin.c_str()));
    dlclose(dlopen(kPlugin.c_str(), RTLD_LAZY));
}

} // namespace
