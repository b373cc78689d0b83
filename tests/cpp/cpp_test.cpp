// The comfort headers of C++ programs.
#include "tests/files/scratch.h"
#include <verrick/cpp/handle.h>
#include <verrick/cpp/ini_values.h>
#include <verrick/cpp/lock_guard.h>
#include <verrick/cpp/message_queue.h>
#include <verrick/win32.h>

namespace {

// Counts its closings.
struct CountedHandle : XSemaphore {
    explicit CountedHandle(int& closings) : XSemaphore(0, 1), m_closings(closings) {}
    int CloseHandle() override { return ++m_closings; }
    int& m_closings;
};

HANDLE Counted(int& closings) {
    return static_cast<XHandleObject*>(new CountedHandle(closings));
}

TEST(Handle, EachHandleIsClosedOnceByItsLastOwner) {
    int first = 0, second = 0;
    {
        verrick::Handle owner(Counted(first));
        owner.Reset(owner.Get());
        verrick::Handle other(std::move(owner));
        EXPECT_EQ(other.Wait(0), WAIT_TIMEOUT);
        EXPECT_EQ(first, 0);
        other = verrick::Handle(Counted(second));
        EXPECT_EQ(first, 1);
        owner.Reset(other.Release());
        EXPECT_FALSE(other);
    }
    EXPECT_TRUE(first == 1 && second == 1);
}

TEST(LockGuard, HoldsARecordOfEitherKindForItsScope) {
    CRITICAL_SECTION record;
    InitializeCriticalSection(&record);
    RECURSIVE_SECTION nesting;
    InitializeRecursiveSection(&nesting);
    auto const othersMayEnter = [&] {
        return std::async(std::launch::async, TryEnterRecursiveSection, &nesting).get() != 0;
    };
    {
        verrick::LockGuard<CRITICAL_SECTION> const guard(record);
        verrick::LockGuard<RECURSIVE_SECTION> const guardOfNesting(nesting);
        EXPECT_EQ(TryEnterCriticalSection(&record), 0); // it doesn't nest
        EnterRecursiveSection(&nesting);
        LeaveRecursiveSection(&nesting);
        EXPECT_FALSE(othersMayEnter());
    }
    EXPECT_EQ(TryEnterCriticalSection(&record), 1);
    EXPECT_TRUE(othersMayEnter());
    RecursiveSection section;
    section.Enter();
    EXPECT_TRUE(section.TryEnter());
    section.Leave();
    section.Leave();
}

TEST(MessageQueue, DeliversUrgentMessagesFirstAndWaitsNoLongerThanItIsToldTo) {
    verrick::MessageQueue<int> queue(2);
    int message = 0;
    EXPECT_TRUE(queue.Send(1, 0) && queue.SendUrgent(2, 0) && !queue.Send(3, 0));
    EXPECT_TRUE(queue.Receive(message) && message == 2 && queue.Count() == 1);
    EXPECT_TRUE(queue.Receive(message) && message == 1 && !queue.Receive(message, 0));
    EXPECT_FALSE(verrick::MessageQueue<int>(-1));
}

TEST(IniValues, DefaultStandsForWhatIsMissingOrMalformed) {
    Scratch const currentFolder;
    WriteFile("a.ini", "[s]\nempty=\nname=Ann Lee\nYes=ON\nNo=OFF\n7=7\n-31=-0x1F\n32=0X20\n"
                       "1=2147483648\n2=-2147483649\n3=9223372036854775808\n4=5 ms\n5=\n");
    DIni ini(L"a.ini");
    std::wstring const longDefault(3000, L'x');
    EXPECT_EQ(verrick::ReadString(ini, L"s", L"name"), L"Ann Lee");
    EXPECT_EQ(verrick::ReadString(ini, L"s", L"empty", L"default"), L"");
    EXPECT_EQ(verrick::ReadString(ini, L"s", L"none", longDefault), longDefault);
    for (int const number : {7, -31, 32, 1, 2, 3, 4, 5}) { // the keys of 1 to 5 have no number
        EXPECT_EQ(verrick::ReadInt(ini, L"s", std::to_wstring(number).c_str(), 6),
                  number > 0 && number < 6 ? 6 : number);
    }
    EXPECT_TRUE(verrick::ReadBool(ini, L"s", L"yes", false));
    EXPECT_FALSE(verrick::ReadBool(ini, L"s", L"no", true));
    EXPECT_TRUE(verrick::ReadBool(ini, L"s", L"name", true));
    DIni closed(nullptr);
    EXPECT_EQ(verrick::ReadString(closed, L"s", L"name", L"default"), L"default");
}

} // namespace
