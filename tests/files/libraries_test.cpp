#include "tests/files/scratch.h"
#include <verrick/libraries.h>

#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <dlfcn.h>
#include <memory>
#include <thread>

namespace {

std::string const kPlugin = VERRICK_TEST_PLUGIN; // its path
std::wstring const kWidePlugin(kPlugin.begin(), kPlugin.end());

template<class Action>
std::string Printed(Action action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

std::string LoadMessage(std::string const& name) {
    dlopen(name.c_str(), RTLD_LAZY);
    return "\nDDynamicLib=> " + name + " error  = " + dlerror() + "\n";
}

bool PluginIsLoaded() {
    void* const handle = dlopen(kPlugin.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    return handle != nullptr && dlclose(handle) == 0;
}

int Call(void* function) {
    return function != nullptr ? reinterpret_cast<int (*)()>(function)() : -1;
}

TEST(Libraries, AreReplacedByALoadThatFails) {
    for (std::string const& name : {std::string("./100%s%n.so"), std::string(4095, 'x')}) {
        DDynamicLibrary library(kWidePlugin.c_str());
        EXPECT_EQ(Call(library.GetProcedureByName(L"PluginAnswer")), 42);
        EXPECT_TRUE(library.Load(kWidePlugin.c_str()));
        std::wstring const wide(name.begin(), name.end());
        EXPECT_EQ(Printed([&] { EXPECT_FALSE(library.Load(wide.c_str())); }), LoadMessage(name));
        EXPECT_FALSE(library.IsLoaded() || PluginIsLoaded());
        EXPECT_EQ(library.GetProcedureByName(L"PluginAnswer"), nullptr);
    }
}

// A name that is cut, or that ends at what can't be converted, would be the name of the plug-in.
TEST(Libraries, NeverLoadOrFindPartOfAName) {
    std::wstring const padded = std::wstring(4095 - kPlugin.size(), L'/') + kWidePlugin;
    std::wstring const symbol = std::wstring(4096, L'x');
    DDynamicLibrary library(nullptr);
    EXPECT_TRUE(library.Load(padded.c_str()));
    dlerror();
    EXPECT_EQ(library.GetProcedureByName(L"missing"), nullptr);
    EXPECT_NE(dlerror(), nullptr) << "the loader's error text is left alone";
    EXPECT_EQ(library.GetProcedureByName((L"PluginAnswer" + symbol).c_str()), nullptr);
    EXPECT_EQ(library.GetProcedureByName(L"PluginAnswer\u00E9"), nullptr);
    EXPECT_EQ(library.GetProcedureByName(nullptr), nullptr);
    EXPECT_EQ(GetProcAddress(&library, ("PluginAnswer" + std::string(4096, 'x')).c_str()), nullptr);
    EXPECT_EQ(GetProcAddress(&library, "PluginAnswer\xC3"), nullptr);
    EXPECT_EQ(Printed([&] {
                  EXPECT_FALSE(library.Load((padded + L"x").c_str()));
                  EXPECT_FALSE(library.Load((kWidePlugin + L"\u00E9").c_str()));
                  EXPECT_FALSE(library.Load(nullptr));
                  EXPECT_EQ(LoadLibrary(nullptr), nullptr);
              }),
              "");
    EXPECT_TRUE(library.Load(L"")) << "the program itself";
    EXPECT_NE(library.GetProcedureByName(L"main"), library.GetProcedureByName(L"LoadLibrary"));
    EXPECT_NE(library.GetProcedureByName(L"LoadLibrary"), nullptr);
}

TEST(Libraries, StayLoadedWhenTheLoaderRefusesToUnload) {
    auto library = std::make_unique<DDynamicLibrary>(L"libVerrick.so.1"); // in use by the program
    void* const handle = dlopen("libVerrick.so.1", RTLD_LAZY);
    ASSERT_EQ(dlclose(handle) + dlclose(handle), 0); // once behind the object's back
    ASSERT_EQ(dlclose(handle), -1);
    std::string const message =
        std::string("Library failed to unload due to error ( ") + dlerror() + ")\n";
    EXPECT_EQ(Printed([&] { library->Unload(); }), message);
    EXPECT_TRUE(library->IsLoaded());
    EXPECT_EQ(Printed([&] { EXPECT_TRUE(library->Load(nullptr)); }), message);
    EXPECT_EQ(Printed([&] { library.reset(); }), message);
}

TEST(Libraries, WorkThroughTheFlatCallsInAnyLanguage) {
    Scratch scratch;
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    std::filesystem::copy_file(kPlugin, "\u00E9\u20AC\U00010348.so");
    void* const module = LoadLibrary(L"./\u00E9\u20AC\U00010348.so");
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(Call(GetProcAddress(module, "PluginAnswer")), 42);
    EXPECT_EQ(Call(GetProcAddress(module, "gr\u00F6\u00DFe\u20AC\U00010348")), 7);
    EXPECT_EQ(GetProcAddress(module, nullptr), nullptr);
    EXPECT_EQ(GetProcAddress(nullptr, "PluginAnswer"), nullptr);
    EXPECT_EQ(FreeLibrary(module), 1);
    EXPECT_EQ(FreeLibrary(nullptr), 0);
    EXPECT_EQ(Printed([] { EXPECT_EQ(LoadLibrary(L"./\u00E9.so"), nullptr); }),
              LoadMessage("./\u00E9.so"));
}

DDynamicLibrary* g_library = nullptr;
void* g_found = nullptr;

// Under a plain lock the destructor would wait for itself.
TEST(Libraries, LetAPluginsDestructorLookSymbolsUp) {
    DDynamicLibrary library(kWidePlugin.c_str());
    DDynamicLibrary program(L"");
    g_library = &program;
    auto const atUnload = static_cast<void (**)()>(library.GetProcedureByName(L"pluginAtUnload"));
    *atUnload = [] { g_found = g_library->GetProcedureByName(L"LoadLibrary"); };
    library.Unload();
    EXPECT_NE(g_found, nullptr);
    EXPECT_FALSE(library.IsLoaded());
}

TEST(Libraries, AreLookedUpWhileOthersComeAndGo) {
    DDynamicLibrary library(L"");
    std::atomic<bool> done{false};
    std::thread reader([&] {
        do {
            EXPECT_NE(library.GetProcedureByName(L"LoadLibrary"), nullptr);
        } while (!done);
    });
    for (int i = 0; i < 200; ++i) {
        EXPECT_TRUE(DDynamicLibrary(kWidePlugin.c_str()).IsLoaded());
    }
    done = true;
    reader.join();
}

} // namespace
