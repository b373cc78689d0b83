#include <verrick/event.h>
#include <verrick/handles.h>
#include <verrick/time_primitives.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <future>
#include <thread>

namespace {

using Wait = std::future<unsigned long>;

// Starts a wait on another thread and returns once it can be taken to block.
Wait BlockOn(HANDLE handle, unsigned long timeoutMs) {
    auto wait = std::async(std::launch::async, WaitForSingleObject, handle, timeoutMs);
    Sleep(100);
    return wait;
}

int CountReturned(std::vector<Wait>& waits) {
    Sleep(100);
    int returned = 0;
    for (auto& wait : waits) {
        returned += wait.wait_for(std::chrono::seconds(0)) == std::future_status::ready ? 1 : 0;
    }
    return returned;
}

// How many of three blocked waiters a call frees, and whether it leaves the event signalled.
TEST(EventHandle, FreesItsWaitersAsItsKindSays) {
    auto const setAndReset = [](HANDLE event) { return SetEvent(event) & ResetEvent(event); };
    auto const setTwice = [](HANDLE event) { return SetEvent(event) & SetEvent(event); };
    struct {
        int manualReset;
        int (*call)(HANDLE);
        int freed;
        unsigned long stateAfterwards;
    } const cases[] = {
        {1, SetEvent, 3, WAIT_OBJECT_0},   {1, PulseEvent, 1, WAIT_TIMEOUT},
        {1, setAndReset, 3, WAIT_TIMEOUT}, {0, SetEvent, 1, WAIT_TIMEOUT},
        {0, PulseEvent, 1, WAIT_TIMEOUT},  {0, setTwice, 2, WAIT_TIMEOUT},
    };
    for (auto const& each : cases) {
        HANDLE const event = CreateEvent(nullptr, each.manualReset, 0, L"shares nothing");
        std::vector<Wait> waits;
        for (unsigned long const timeoutMs : {INFINITE, 60000UL, INFINITE | ~0xFFFFFFFFUL}) {
            waits.push_back(std::async(std::launch::async, WaitForSingleObject, event, timeoutMs));
        }
        EXPECT_EQ(CountReturned(waits), 0);
        EXPECT_EQ(each.call(event), 1);
        EXPECT_EQ(CountReturned(waits), each.freed);
        EXPECT_EQ(WaitForSingleObject(event, 0), each.stateAfterwards);
        EXPECT_EQ(CloseHandle(event), 1); // frees the rest
        for (auto& wait : waits) {
            EXPECT_EQ(wait.get(), WAIT_OBJECT_0);
        }
    }
}

TEST(EventHandle, PulseLeavesASignalledEventUnsignalled) {
    HANDLE const event = CreateEvent(nullptr, 1, 1, nullptr);
    EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(PulseEvent(event), 1);
    EXPECT_EQ(WaitForSingleObject(event, 5), WAIT_TIMEOUT);
    CloseHandle(event);
}

TEST(EventHandle, ACancelledWaiterDoesNotHoldUpClosing) {
    HANDLE const event = CreateEvent(nullptr, 0, 0, nullptr);
    pthread_t waiter{};
    ASSERT_EQ(pthread_create(
                  &waiter, nullptr,
                  [](void* handle) -> void* {
                      WaitForSingleObject(handle, INFINITE);
                      return nullptr;
                  },
                  event),
              0);
    Sleep(50);
    pthread_cancel(waiter);
    pthread_join(waiter, nullptr);
    EXPECT_EQ(CloseHandle(event), 1);
}

TEST(SemaphoreHandle, ReleasesAllOrNothing) {
    HANDLE const semaphore = CreateSemaphore(nullptr, 1, 2, nullptr);
    struct {
        long count;
        int result;
        long previous;
    } const cases[] = {{0, 0, -9}, {-1, 0, -9}, {2, 0, 1}, {LONG_MAX, 0, 1}, {1, 1, 1}, {1, 0, 2}};
    for (auto const& each : cases) {
        long previous = -9;
        EXPECT_EQ(ReleaseSemaphore(semaphore, each.count, &previous), each.result) << each.count;
        EXPECT_EQ(previous, each.previous) << each.count;
    }
    for (unsigned long const expected : {WAIT_OBJECT_0, WAIT_OBJECT_0, WAIT_TIMEOUT}) {
        EXPECT_EQ(WaitForSingleObject(semaphore, 0), expected);
    }
    EXPECT_EQ(CloseHandle(semaphore), 1);

    HANDLE const refused = CreateSemaphore(nullptr, -1, 1, nullptr); // beyond what sem_init takes
    EXPECT_EQ(WaitForSingleObject(refused, 0), WAIT_TIMEOUT);
    EXPECT_EQ(ReleaseSemaphore(refused, LONG_MAX, nullptr), 0);
    CloseHandle(refused);
    int attributes = 0;
    EXPECT_EQ(CreateSemaphore(&attributes, 0, 1, nullptr), nullptr);
}

TEST(Handle, OfNoneOrOfTheWrongKindIsRefused) {
    HANDLE const event = CreateEvent(nullptr, 0, 0, nullptr);
    HANDLE const semaphore = CreateSemaphore(nullptr, 0, 1, nullptr);
    for (HANDLE const handle : {HANDLE{}, semaphore}) {
        EXPECT_EQ(SetEvent(handle) + PulseEvent(handle) + ResetEvent(handle), 0);
    }
    EXPECT_EQ(ReleaseSemaphore(event, 1, nullptr) + ReleaseSemaphore(nullptr, 1, nullptr), 0);
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), 0xFFFFFFFFUL);
    EXPECT_EQ(CloseHandle(nullptr), 0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_TIMEOUT);
    CloseHandle(event);
    CloseHandle(semaphore);
}

TEST(Handle, LosesItsTypeWithItsObject) {
    alignas(XSemaphore) unsigned char memory[sizeof(XSemaphore)];
    auto const type = [&memory] {
        unsigned long word = 0;
        std::memcpy(&word, memory + sizeof(void*), sizeof word);
        return word;
    };
    auto* const object = new (memory) XSemaphore(1, 1);
    EXPECT_EQ(type(), XSEMAPHORE_TYPE_TAG);
    EXPECT_EQ(XHandleObject::ObjectFromHandle(object, XSEMAPHORE_TYPE_TAG), object);
    EXPECT_EQ(XHandleObject::ObjectFromHandle(object, XEVENT_TYPE_TAG), nullptr);
    object->CloseHandle();
    object->~XSemaphore();
    EXPECT_EQ(type(), 0UL);
}

// Where the two kinds of event differ.
TEST(EventTwins, DifferInTheirFlagsTimeOutsResultsAndTeardown) {
    DEvent object(false, false);
    HANDLE const handle = CreateEvent(nullptr, 0, 0, nullptr);
    object.Signal();
    EXPECT_EQ(SetEvent(handle), 1);
    EXPECT_EQ(object.Wait(0), WAIT_RESULT_OK);
    EXPECT_EQ(object.Wait(0), WAIT_RESULT_OK); // manual-reset
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(handle, 0), 258UL); // auto-reset

    object.Reset();
    EXPECT_EQ(object.Wait(-2000), WAIT_RESULT_TIMEOUT); // in the past
    auto wait = BlockOn(handle, static_cast<unsigned long>(-2000));
    EXPECT_EQ(wait.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    SetEvent(handle);
    EXPECT_EQ(wait.get(), WAIT_OBJECT_0);

    auto* const closing = new XEvent(1, 0); // the arguments of CreateEvent the other way about
    EXPECT_EQ(closing->WaitForSingleObject(0), WAIT_OBJECT_0);
    EXPECT_EQ(closing->CloseHandle(), 1);
    EXPECT_EQ(closing->CloseHandle(), 0);
    EXPECT_EQ(closing->SetToSignaledState(), 0);
    EXPECT_EQ(closing->WaitForSingleObject(0), WAIT_FAILED);
    delete closing;
    CloseHandle(handle);
}

// Passes a signal to and fro between two threads; VERRICK_HANDOFFS sets how many times.
void PassToAndFro(std::function<void(int)> const& signal, std::function<bool(int)> const& wait) {
    char const* const text = std::getenv("VERRICK_HANDOFFS");
    int const rounds = (text != nullptr ? std::atoi(text) : 50000) / 2;
    auto const pass = [&](int self, bool first) {
        for (int i = 0; i < rounds; ++i) {
            if (first || i > 0) {
                signal(1 - self);
            }
            ASSERT_TRUE(wait(self));
        }
    };
    std::thread other([&] {
        pass(1, false);
        signal(0);
    });
    pass(0, true);
    other.join();
}

TEST(EventTwins, HandOverEverySignalBetweenTwoThreads) {
    DEvent objects[] = {{false, true}, {false, true}};
    PassToAndFro([&](int to) { objects[to].Signal(); },
                 [&](int self) { return objects[self].Wait(-1) == WAIT_RESULT_OK; });
    HANDLE const handles[] = {CreateEvent(nullptr, 0, 0, nullptr),
                              CreateEvent(nullptr, 0, 0, nullptr)};
    PassToAndFro(
        [&](int to) { SetEvent(handles[to]); },
        [&](int self) { return WaitForSingleObject(handles[self], INFINITE) == WAIT_OBJECT_0; });
    for (HANDLE const handle : handles) {
        EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_TIMEOUT);
        CloseHandle(handle);
    }
}

} // namespace
