#include <verrick/handles.h>
#include <verrick/semaphore.h>

#include <gtest/gtest.h>

#include <climits>
#include <dlfcn.h>
#include <new>
#include <sys/mman.h>
#include <thread>
#include <utility>

namespace {

std::atomic<int> g_posts{0};
void* g_page = nullptr; // is unmapped after the next post

} // namespace

extern "C" int sem_post(sem_t* semaphore) noexcept {
    static auto* const post =
        reinterpret_cast<int (*)(sem_t*)>(dlvsym(RTLD_NEXT, "sem_post", "GLIBC_2.34"));
    ++g_posts;
    int const result = post(semaphore);
    munmap(std::exchange(g_page, nullptr), sizeof(XSemaphore)); // nothing lies at null
    return result;
}

namespace {

// Takes what can be had, at most 300000 counts. No negative time-out but -1 blocks.
unsigned int Drain(ISemaphore& semaphore) {
    unsigned int taken = 0;
    while (taken < 300000 && semaphore.Wait(taken % 2 == 0 ? 0 : -1500) == WAIT_RESULT_OK) {
        ++taken;
    }
    return taken;
}

TEST(Semaphore, ReleasesWhatFitsUnderASignedMaximum) {
    // What it begins with, its maximum, what is released, and what is there then.
    constexpr unsigned int cases[][4] = {{1, 2, 3, 2},
                                         {3, 1, 5, 3},
                                         {1, 0x80000000U, 5, 1},
                                         {0, 200001, ~0U, 200001},
                                         {0x80000000U, ~0U, 0, 0},
                                         {INT_MAX - 1, INT_MAX, ~0U, 300000}};
    DSemaphore const unnamed(7, 9, L""); // is shared with none
    for (auto const& [initial, maximum, release, expected] : cases) {
        DSemaphore semaphore(initial, maximum, L"");
        semaphore.Release(release);
        EXPECT_EQ(Drain(semaphore), expected) << maximum;
    }
}

// The creations of another thread don't revive a node that goes.
TEST(Semaphore, StandsCreationsOfTheSameNameOnTwoThreads) {
    auto const create = [] {
        for (int i = 0; i < 20000; ++i) {
            DSemaphore(1, 1, L"contended").Release(1);
        }
    };
    std::thread other(create);
    create();
    other.join();
    DSemaphore last(2, 2, L"contended");
    EXPECT_EQ(Drain(last), 2U);
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
    EXPECT_EQ(CreateSemaphore(nullptr, 1, 2, L"twin"), nullptr);
    EXPECT_EQ(CreateSemaphore(&previous, 1, 2, nullptr), nullptr);
    EXPECT_TRUE(LONG_MAX == INT_MAX || CreateSemaphore(nullptr, LONG_MAX, 1, nullptr) == nullptr);
}

TEST(SemaphoreHandle, IsNotTouchedAfterItsLastPost) {
    constexpr int how = MAP_PRIVATE | MAP_ANONYMOUS;
    g_page = mmap(nullptr, sizeof(XSemaphore), PROT_READ | PROT_WRITE, how, -1, 0);
    auto* const semaphore = new (g_page) XSemaphore(0, 9);
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, nullptr), 1);
}

} // namespace
