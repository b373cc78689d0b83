#include "tests/support/test.h"
#include <verrick/cpp/handle.h>

#include <new>
#include <sys/mman.h>

static std::atomic<int> g_posts{0};
static std::atomic<int> g_ended{0}; // semaphores
static void* g_page = nullptr;      // is unmapped after the next post

extern "C" int sem_post(sem_t* semaphore) noexcept {
    static auto* const post =
        reinterpret_cast<int (*)(sem_t*)>(dlvsym(RTLD_NEXT, "sem_post", "GLIBC_2.34"));
    ++g_posts;
    int const result = post(semaphore);
    munmap(std::exchange(g_page, nullptr), sizeof(XSemaphore)); // nothing lies at null
    return result;
}

extern "C" int sem_destroy(sem_t* /*semaphore*/) noexcept {
    ++g_ended;
    return 0;
}

namespace {

// Takes what can be had, at most 300000 counts.
unsigned int Drain(ISemaphore& semaphore) {
    unsigned int taken = 0;
    while (taken < 300000 && semaphore.Wait(0) == WAIT_RESULT_OK) {
        ++taken;
    }
    return taken;
}

TEST(Semaphore, ReleasesWhatFitsUnderASignedMaximum) {
    // What it begins with, its maximum, what is released, and what is there then.
    constexpr unsigned int cases[][4] = {{0, 2, 3, 2},
                                         {3, 1, 5, 3},
                                         {1, 0x80000000U, 5, 1},
                                         {0, 3 * 65536 + 1, ~0U, 3 * 65536 + 1},
                                         {0x80000000U, ~0U, 0, 0},
                                         {INT_MAX - 1, INT_MAX, ~0U, 300000}};
    DSemaphore const unnamed(7, 9, L""); // is shared with none
    g_ended = 0;
    for (auto const& [initial, maximum, release, expected] : cases) {
        DSemaphore semaphore(initial, maximum, L"");
        semaphore.Release(release), semaphore.Release(release); // the second finds no room
        EXPECT_EQ(Drain(semaphore), expected) << maximum;
    }
    EXPECT_EQ(g_ended, 6);
}

// The creations of another thread don't revive a node that goes.
TEST(Semaphore, StandsCreationsOfTheSameNameOnTwoThreads) {
    DSemaphore const other(7, 9, L"another");
    auto const create = [] {
        for (int i = 0; i < 20000; ++i) {
            DSemaphore(1, 1, L"contended").Release(1);
        }
    };
    std::thread thread(create);
    create();
    thread.join();
    g_ended = 0;
    {
        DSemaphore last(2, 2, L"contended");
        DSemaphore const same(9, 9, L"Contended");
        EXPECT_EQ(Drain(last), 2U);
    }
    EXPECT_EQ(g_ended, 1);
}

TEST(SemaphoreHandle, ReleasesAllOrNothingUpToTheSystemsMaximum) {
    g_posts = 0;
    XSemaphore semaphore(1, LONG_MAX);
    long previous = 0;
    EXPECT_EQ(ReleaseSemaphore(&semaphore, -1, &previous), 0);
    EXPECT_EQ(ReleaseSemaphore(&semaphore, LONG_MAX, &previous), 0);
    EXPECT_EQ(ReleaseSemaphore(&semaphore, INT_MAX, &previous), 0);
    EXPECT_EQ(previous, 1);
    EXPECT_EQ(ReleaseSemaphore(&semaphore, INT_MAX - 1, nullptr), 1);
    EXPECT_EQ(ReleaseSemaphore(&semaphore, 1, &previous), 0);
    EXPECT_EQ(previous, INT_MAX);
    EXPECT_LT(g_posts, 100000);
    EXPECT_EQ(XSemaphore(INT_MAX, INT_MAX).SetToSignaledState(), 0);
    XSemaphore empty(0, LONG_MAX), other(0, LONG_MAX);
    EXPECT_EQ(ReleaseSemaphore(&empty, INT_MAX, nullptr), 1);
    EXPECT_EQ(ReleaseSemaphore(&other, 199999, nullptr), 1);
    EXPECT_EQ(other.SetToSignaledState(), 1);
    for (int i = 0; i < 200000; ++i) {
        ASSERT_EQ(other.WaitForSingleObject(0), WAIT_OBJECT_0);
    }
    EXPECT_EQ(other.WaitForSingleObject(0), WAIT_TIMEOUT);
}

TEST(SemaphoreHandle, BeginsWithAnyCountOf32BitsAndHasNoNameOrAttributes) {
    long previous = 0;
    EXPECT_EQ(CreateSemaphore(nullptr, 1, 2, L"twin"), nullptr);
    EXPECT_EQ(CreateSemaphore(&previous, 1, 2, nullptr), nullptr);
    for (long const far : {LONG_MIN, LONG_MAX}) {
        EXPECT_TRUE(LONG_MAX == INT_MAX || CreateSemaphore(nullptr, far, 1, nullptr) == nullptr);
    }
    for (long const initial : {long{INT_MIN}, -1L, long{INT_MAX}}) {
        verrick::Handle const semaphore(CreateSemaphore(nullptr, initial, 0, nullptr));
        EXPECT_EQ(ReleaseSemaphore(semaphore.Get(), 1, &previous), initial < 0 ? 1 : 0);
        EXPECT_EQ(previous, initial);
    }
}

TEST(SemaphoreHandle, IsNotTouchedAfterItsLastPost) {
    constexpr int how = MAP_PRIVATE | MAP_ANONYMOUS;
    g_page = mmap(nullptr, sizeof(XSemaphore), PROT_READ | PROT_WRITE, how, -1, 0);
    auto* const semaphore = new (g_page) XSemaphore(0, 9);
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, nullptr), 1);
}

} // namespace
