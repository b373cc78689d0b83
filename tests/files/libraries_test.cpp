#include "tests/files/scratch.h"
#include <verrick/libraries.h>

#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <dlfcn.h>
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

TEST(Libraries, AreReplacedByALoadThatFails) {
    for (std::string const& name : {std::string("./100%s%n.so"), std::string(4095, 'x')}) {
        DDynamicLibrary library(kWidePlugin.c_str());
        EXPECT_TRUE(library.Load(kWidePlugin.c_str()));
        EXPECT_NE(library.GetProcedureByName(L"pluginAnswer"), nullptr);
        std::wstring const wide(name.begin(), name.end());
        std::string const printed = Printed([&] { EXPECT_FALSE(library.Load(wide.c_str())); });
        dlopen(name.c_str(), RTLD_LAZY);
        EXPECT_EQ(printed, "\nDDynamicLib=> " + name + " error  = " + dlerror() + "\n");
        EXPECT_EQ(library.GetProcedureByName(L"pluginAnswer"), nullptr);
        EXPECT_EQ(dlopen(kPlugin.c_str(), RTLD_LAZY | RTLD_NOLOAD), nullptr);
    }
}

// A name that is cut, or that ends at what can't be converted, would be the name of the plug-in.
TEST(Libraries, NeverLoadOrFindPartOfAName) {
    std::wstring const padded = std::wstring(4095 - kPlugin.size(), L'/') + kWidePlugin;
    DDynamicLibrary library(padded.c_str());
    dlerror();
    EXPECT_EQ(library.GetProcedureByName(L"missing"), nullptr);
    EXPECT_NE(dlerror(), nullptr) << "the loader's error text is left alone";
    std::string const symbol = "pluginAnswer" + std::string(4096, 'x');
    EXPECT_EQ(library.GetProcedureByName(std::wstring(symbol.begin(), symbol.end()).c_str()),
              nullptr);
    EXPECT_EQ(library.GetProcedureByName(L"pluginAnswer\u00E9"), nullptr);
    EXPECT_EQ(GetProcAddress(&library, symbol.c_str()), nullptr);
    EXPECT_EQ(GetProcAddress(&library, "pluginAnswer\xC3"), nullptr);
    EXPECT_EQ(Printed([&] {
                  EXPECT_FALSE(library.Load((padded + L"x").c_str()));
                  EXPECT_FALSE(library.Load((kWidePlugin + L"\u00E9").c_str()));
                  EXPECT_EQ(LoadLibrary(nullptr), nullptr);
              }),
              "");
}

TEST(Libraries, StayLoadedWhenTheLoaderRefusesToUnload) {
    DDynamicLibrary library(L"libVerrick.so.1"); // in use by the program
    void* const handle = dlopen("libVerrick.so.1", RTLD_LAZY);
    ASSERT_EQ(dlclose(handle) + dlclose(handle), 0); // once behind the object's back
    ASSERT_EQ(dlclose(handle), -1);
    std::string const reason = dlerror();
    EXPECT_EQ(Printed([&] { EXPECT_TRUE(library.Load(nullptr)); }),
              "Library failed to unload due to error ( " + reason + ")\n");
}

TEST(Libraries, WorkThroughTheFlatCallsInAnyLanguage) {
    Scratch scratch;
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    std::filesystem::copy_file(kPlugin, "\u00E9\u20AC\U00010348.so");
    void* const module = LoadLibrary(L"./\u00E9\u20AC\U00010348.so");
    void* const size = GetProcAddress(module, "gr\u00F6\u00DFe\u20AC\U00010348");
    ASSERT_NE(size, nullptr);
    EXPECT_EQ(*static_cast<int*>(size), 7);
    EXPECT_EQ(GetProcAddress(module, nullptr), GetProcAddress(nullptr, "pluginAnswer"));
    EXPECT_EQ(FreeLibrary(module) + FreeLibrary(nullptr), 1);
}

DDynamicLibrary* g_library = nullptr;
void* g_found = nullptr;

// Under a plain lock the destructor would wait for itself.
TEST(Libraries, AreLookedUpByAPluginsDestructorWhileOthersComeAndGo) {
    DDynamicLibrary program(L"");
    g_library = &program;
    std::atomic<bool> done{false};
    std::thread reader([&] {
        do {
            EXPECT_NE(program.GetProcedureByName(L"LoadLibrary"), nullptr);
        } while (!done);
    });
    for (int i = 0; i < 100; ++i) {
        DDynamicLibrary library(kWidePlugin.c_str());
        auto* const atUnload =
            static_cast<void (**)()>(library.GetProcedureByName(L"pluginAtUnload"));
        *atUnload = [] { g_found = g_library->GetProcedureByName(L"LoadLibrary"); };
    }
    done = true;
    reader.join();
    EXPECT_NE(g_found, nullptr);
}

} // namespace
