// What is left of a file when an edit is killed, fails, or is disturbed.
#include "tests/ini/ini_files.h"
#include "tests/support/memory.h"

#include <algorithm>
#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <new>
#include <sys/resource.h>
#include <sys/stat.h>

// The library's calls of pread, pwrite and ftruncate come to this file, and one of them is
// disturbed.
namespace {

enum class Disturbance { kNone, kFailure, kLateFailure, kInterruption, kShort, kKill, kRename };

thread_local struct {
    Disturbance kind;
    int callsBefore;
    bool happened;
} g_disturbed;

void Disturb(Disturbance kind, int callsBefore) {
    g_disturbed = {kind, callsBefore, false};
}

// Returns whether the system makes the call. A short transfer gets half the size. After half of a
// failing one the next call fails. After a kill no call has an effect any more.
bool PassesOn(size_t* size) {
    if (g_disturbed.kind == Disturbance::kNone || g_disturbed.callsBefore-- != 0) {
        return true;
    }
    g_disturbed.happened = true;
    if (g_disturbed.kind == Disturbance::kRename) {
        std::filesystem::rename("new", "f\u00fc.ini");
        return true;
    }
    if (g_disturbed.kind == Disturbance::kKill) {
        g_disturbed.callsBefore = 0;
    }
    errno = g_disturbed.kind == Disturbance::kInterruption ? EINTR : EIO;
    *size = (*size + 1) / 2;
    if (g_disturbed.kind == Disturbance::kLateFailure && *size > 0) {
        Disturb(Disturbance::kFailure, 0);
        g_disturbed.happened = true;
        return true;
    }
    return g_disturbed.kind == Disturbance::kShort;
}

template<typename Call>
Call Real(char const* name, Call) {
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" ssize_t pread(int file, void* bytes, size_t size, off_t at) {
    return PassesOn(&size) ? Real("pread", pread)(file, bytes, size, at) : -1;
}
extern "C" ssize_t pwrite(int file, void const* bytes, size_t size, off_t at) {
    return PassesOn(&size) ? Real("pwrite", pwrite)(file, bytes, size, at) : -1;
}
extern "C" int ftruncate(int file, off_t size) __THROW {
    size_t none = 0;
    return PassesOn(&none) ? Real("ftruncate", ftruncate)(file, size) : -1;
}

namespace {

using namespace std::string_literals;

constexpr Edit kEdits[] = {
    {L"s0", L"k1", L"a value that is longer than the one before"},
    {L"s0", L"k1", L"short"},
    {L"s0", L"k1", L"nineteen bytes, too"},
    {L"s0", L"new", L"value"},
    {L"new", L"k", L"value"},
    {L"s0", L"k1", nullptr},
    {L"s0", nullptr, nullptr},
    {L"s1", nullptr, L"first=1\0second=2\0"},
    // s7 is the last section of the smallest file.
    {L"s7", L"new", L"value"},
    {L"s7", L"k2", nullptr},
    {L"s7", nullptr, nullptr},
};

// Sections of three keys each, up to about that size.
std::string TextOfSize(std::size_t bytes) {
    std::string text = "; made for a test\r\n";
    for (int section = 0; text.size() < bytes; ++section) {
        text += "[s" + std::to_string(section) + "]\r\n";
        for (char const* const key : {"k0", "k1", "k2"}) {
            text += std::string(key) + "=nineteen bytes long\r\n";
        }
    }
    return text;
}

std::string WithoutBlankLines(std::string text) {
    auto const areLineEnds = [](char last, char next) { return last == '\n' && next == '\n'; };
    text.erase(std::unique(text.begin(), text.end(), areLineEnds), text.end());
    return text;
}

class IniEdits : public IniFiles {
protected:
    // Calls check for each edit of files that fit one block, several blocks, and several moves,
    // with the text before and after the edit.
    void
    ForEachEdit(std::function<void(Edit const&, std::string const&, std::string const&)> check) {
        for (std::size_t const bytes : {600, 13000, 270000}) {
            std::string const before = TextOfSize(bytes);
            for (Edit const& edit : kEdits) {
                SCOPED_TRACE(testing::Message() << bytes << " bytes, edit " << &edit - kEdits);
                Store(before);
                DIni ini(Name().c_str());
                ASSERT_EQ(edit.Apply(ini), 1);
                check(edit, before, Stored());
            }
        }
    }

    // Applies the edit to the text before it again and again, with each call disturbed in turn.
    void DisturbEachCall(Disturbance kind, Edit const& edit, std::string const& before, int result,
                         std::function<bool()> isWhole) {
        bool happened = true;
        for (int call = 0; happened; ++call) {
            Store(before);
            DIni ini(Name().c_str());
            Disturb(kind, call);
            int const given = edit.Apply(ini);
            happened = g_disturbed.happened;
            Disturb(Disturbance::kNone, 0);
            if (happened) {
                ASSERT_EQ(given, result) << "call " << call;
                ASSERT_TRUE(isWhole()) << "call " << call;
            }
        }
    }
};

TEST_F(IniEdits, AKilledEditLeavesTheOldLinesOrTheNewOnesAndAtMostBlankLinesMore) {
    ForEachEdit([&](Edit const& edit, std::string const& before, std::string const& after) {
        DisturbEachCall(Disturbance::kKill, edit, before, 0, [&] {
            std::string const left = WithoutBlankLines(Stored());
            return left == WithoutBlankLines(before) || left == WithoutBlankLines(after);
        });
    });
}

TEST_F(IniEdits, AFailedCallFailsTheEditAndLeavesTheFileAsItWas) {
    ForEachEdit([&](Edit const& edit, std::string const& before, std::string const&) {
        auto const isUnchanged = [&] { return Stored() == before; };
        DisturbEachCall(Disturbance::kFailure, edit, before, 0, isUnchanged);
        DisturbEachCall(Disturbance::kLateFailure, edit, before, 0, isUnchanged);
    });
}

// It is more than what an edit keeps to undo itself.
TEST_F(IniEdits, AFailedRemovalOfManyLinesKeepsTheOthers) {
    std::string lines;
    while (lines.size() < 150000) {
        lines += "a line of a long section\n";
    }
    std::string const before = "[a]\nk=1\n[long]\n" + lines + "[z]\nk=2\n" + TextOfSize(100000);
    DisturbEachCall(Disturbance::kFailure, {L"long", nullptr, nullptr}, before, 0,
                    [&] { return Value(L"a", L"k") == L"1" && Value(L"z", L"k") == L"2"; });
}

TEST_F(IniEdits, AnInterruptedOrShortTransferGoesOn) {
    ForEachEdit([&](Edit const& edit, std::string const& before, std::string const& after) {
        auto const isEdited = [&] { return Stored() == after; };
        DisturbEachCall(Disturbance::kInterruption, edit, before, 1, isEdited);
        DisturbEachCall(Disturbance::kShort, edit, before, 1, isEdited);
    });
}

TEST_F(IniEdits, ShortMemoryLeavesTheFileAsItWas) {
    std::string const before = TextOfSize(270000);
    Store(before);
    DIni ini(Name().c_str());
    int result = 0;
    for (int granted = 0; result == 0; ++granted) {
        ASSERT_TRUE(Stored() == before) << granted << " allocations";
        MemoryShortage const shortage(granted);
        try {
            result = kEdits[0].Apply(ini);
        } catch (std::bad_alloc const&) {
        }
    }
}

// An application's class that refuses one opening.
struct OpeningIni : DIniImpl {
    using DIniImpl::DIniImpl;
    int Open(wchar_t const* fileName) override {
        Close();
        return ++openings != refused ? DIniImpl::Open(fileName) : 0;
    }
    int openings = 0;
    int refused = 0;
};

TEST_F(IniEdits, ARefusedOpeningChangesNothing) {
    for (int refused = 1; refused <= 3; ++refused) {
        Store(TextOfSize(600));
        OpeningIni ini(Name().c_str());
        ini.refused = refused;
        EXPECT_EQ(kEdits[0].Apply(ini), 0);
        EXPECT_EQ(ini.openings, refused);
        EXPECT_EQ(Stored(), TextOfSize(600));
    }
}

TEST_F(IniEdits, AFileThatIsRenamedIntoPlaceDuringAnEditStaysWhole) {
    std::string const replacement = "[another]\nfile=of its own\n[with]\nother=offsets\n";
    DIni plain(Name().c_str());
    OpeningIni reopening(Name().c_str());
    for (IIni* const ini : {static_cast<IIni*>(&plain), static_cast<IIni*>(&reopening)}) {
        WriteFile("new", replacement);
        Store(TextOfSize(600));
        Disturb(Disturbance::kRename, 0);
        EXPECT_EQ(kEdits[0].Apply(*ini), 1);
        EXPECT_EQ(Stored(), replacement);
    }
}

TEST_F(IniEdits, AFileSizeLimitNeitherKillsNorDamages) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    ForEachEdit([&](Edit const& edit, std::string const& text, std::string const& after) {
        for (std::size_t const limit : {text.size() / 2, text.size() + 1}) {
            Store(text);
            DIni ini(Name().c_str());
            rlimit const tight{limit, before.rlim_max};
            setrlimit(RLIMIT_FSIZE, &tight);
            int const result = edit.Apply(ini);
            setrlimit(RLIMIT_FSIZE, &before);
            ASSERT_TRUE(Stored() == (result == 1 ? after : text)) << "limit " << limit;
        }
    });
}

TEST_F(IniEdits, OnlyARegularFileIsEditedAndNoneMakesTheCallWaitForEver) {
    ASSERT_EQ(mkfifo(Path("/pipe").c_str(), 0600), 0);
    for (std::wstring const& name : {Name(L"/pipe"), Name(L""), L"/dev/null"s, L"/dev/zero"s}) {
        wchar_t out[8];
        EXPECT_EQ(WritePrivateProfileString(L"a", L"k", L"v", name.c_str()), 0);
        EXPECT_EQ(WritePrivateProfileSection(L"a", nullptr, name.c_str()), 0);
        EXPECT_EQ(GetPrivateProfileString(L"a", L"k", L"none", out, 8, name.c_str()), 4u);
    }
}

TEST_F(IniEdits, ProfileCallsCheckTheirArgumentsBeforeTheyCreateTheFile) {
    wchar_t out[4] = L"~~~";
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"d", out, 1, Name().c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileSection(nullptr, out, 4, Name().c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileSectionNames(nullptr, 4, Name().c_str()), 0u);
    EXPECT_EQ(WritePrivateProfileString(nullptr, L"k", L"v", Name().c_str()), 0);
    EXPECT_STREQ(out, L"~~~");
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"d", out, 4, Name(L"/no/f").c_str()), 0u);
    EXPECT_EQ(std::wstring(out, 4), L"\0\0~\0"s) << "no default";
    EXPECT_FALSE(std::filesystem::exists(Path()));
    EXPECT_EQ(WritePrivateProfileString(L"s", nullptr, nullptr, Name().c_str()), 0);
    EXPECT_EQ(Stored(), "");
}

TEST_F(IniEdits, ABadNameReplacesTheNameBefore) {
    Store("[a]\n");
    for (std::wstring const& bad : {std::wstring(4096, L'x'), L"\xd800"s}) {
        DIni ini(Name().c_str());
        EXPECT_EQ(ini.Open(bad.c_str()), 0);
        EXPECT_EQ(ini.PutKeyValue(L"a", L"k", L"new"), 0);
    }
    EXPECT_EQ(Stored(), "[a]\n");
}

TEST_F(IniEdits, AStartedProgramDoesNotInheritTheFile) {
    int const next = NextDescriptor();
    DIni const ini(Name().c_str());
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
}

} // namespace
