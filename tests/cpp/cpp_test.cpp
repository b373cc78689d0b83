// The comfort headers of C++ programs.
#include "tests/files/scratch.h"
#include <verrick/cpp/handle.h>
#include <verrick/cpp/ini_values.h>
#include <verrick/cpp/lock_guard.h>
#include <verrick/cpp/message_queue.h>
#include <verrick/win32.h>

namespace {

// Counts its closings.
struct CountedHandle : XHandleObject {
    explicit CountedHandle(int& closings) : XHandleObject(0xC0DE), m_closings(closings) {}
    unsigned long WaitForSingleObject(unsigned long timeoutMs) override { return timeoutMs; }
    int CloseHandle() override { return ++m_closings; }
    int SetToSignaledState() override { return 0; }
    int& m_closings;
};

HANDLE Counted(int& closings) {
    return static_cast<XHandleObject*>(new CountedHandle(closings));
}

TEST(Handle, EachHandleIsClosedOnceByItsLastOwner) {
    int first = 0;
    int second = 0;
    {
        verrick::Handle owner(Counted(first));
        owner.Reset(owner.Get());
        verrick::Handle other(std::move(owner));
        EXPECT_EQ(other.Wait(5), 5U);
        EXPECT_EQ(first, 0);
        other = verrick::Handle(Counted(second));
        EXPECT_EQ(first, 1);
        owner.Reset(other.Release());
        EXPECT_FALSE(other);
    }
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

TEST(LockGuard, HoldsARecordOfEitherKindForItsScope) {
    CRITICAL_SECTION record;
    InitializeCriticalSection(&record);
    RECURSIVE_SECTION nesting;
    InitializeRecursiveSection(&nesting);
    {
        verrick::LockGuard<CRITICAL_SECTION> const guard(record);
        verrick::LockGuard<RECURSIVE_SECTION> const guardOfNesting(nesting);
        EXPECT_EQ(TryEnterCriticalSection(&record), 0); // it doesn't nest
        EXPECT_EQ(nesting.depth, 1U);
    }
    EXPECT_EQ(TryEnterCriticalSection(&record), 1);
    EXPECT_EQ(nesting.depth, 0U);
}

TEST(MessageQueue, DeliversWholeMessagesUrgentOnesFirst) {
    struct Order {
        char kind;
        double amount;
    };
    verrick::MessageQueue<Order> queue(2);
    EXPECT_TRUE(queue.Send({'a', 1.5}, 0));
    EXPECT_TRUE(queue.SendUrgent({'b', 2.5}, 0));
    EXPECT_FALSE(queue.Send({'c', 3.5}, 0));
    Order order = {};
    EXPECT_TRUE(queue.Receive(order));
    EXPECT_EQ(order.kind, 'b');
    EXPECT_TRUE(queue.Receive(order));
    EXPECT_EQ(order.amount, 1.5);
    EXPECT_FALSE(queue.Receive(order, 0));
    EXPECT_FALSE(verrick::MessageQueue<Order>(-1));
}

TEST(IniValues, DefaultStandsForWhatIsMissingOrMalformed) {
    Scratch const currentFolder;
    WriteFile("a.ini",
              "[s]\nempty=\nname=Ann Lee\nhex=-0x1F\nbig=2147483648\nunits=5 ms\nYes=ON\n");
    DIni ini(L"a.ini");
    std::wstring const longDefault(3000, L'x');
    EXPECT_EQ(verrick::ReadString(ini, L"s", L"name"), L"Ann Lee");
    EXPECT_EQ(verrick::ReadString(ini, L"s", L"empty", L"default"), L"");
    EXPECT_EQ(verrick::ReadString(ini, L"s", L"none", longDefault), longDefault);
    EXPECT_EQ(verrick::ReadInt(ini, L"s", L"hex", 7), -31);
    EXPECT_EQ(verrick::ReadInt(ini, L"s", L"big", 7), 7);
    EXPECT_EQ(verrick::ReadInt(ini, L"s", L"units", 7), 7);
    EXPECT_EQ(verrick::ReadInt(ini, L"s", L"empty", 7), 7);
    EXPECT_TRUE(verrick::ReadBool(ini, L"s", L"yes", false));
    EXPECT_TRUE(verrick::ReadBool(ini, L"s", L"name", true));
    DIni closed(nullptr);
    EXPECT_EQ(verrick::ReadString(closed, L"s", L"name", L"default"), L"default");
}

} // namespace
