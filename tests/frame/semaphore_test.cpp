#include <verrick/handles.h>
#include <verrick/semaphore.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <new>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace {

std::atomic<int> g_posts{0};
bool g_refusePosts = false;
std::function<void()> g_afterNextPost;

} // namespace

extern "C" int sem_post(sem_t* semaphore) noexcept {
    static auto* const post =
        reinterpret_cast<int (*)(sem_t*)>(dlvsym(RTLD_NEXT, "sem_post", "GLIBC_2.34"));
    ++g_posts;
    if (g_refusePosts) {
        errno = EOVERFLOW;
        return -1;
    }
    int const result = post(semaphore);
    if (g_afterNextPost) {
        std::exchange(g_afterNextPost, nullptr)();
    }
    return result;
}

namespace {

// Takes what can be had, at most 300000 counts. No negative time-out but -1 blocks.
int Drain(ISemaphore& semaphore) {
    int taken = 0;
    while (taken < 300000 && semaphore.Wait(taken % 2 == 0 ? 0 : -1500) == WAIT_RESULT_OK) {
        ++taken;
    }
    return taken;
}

TEST(Semaphore, IsSharedByNameWithoutCaseUntilTheLastOwnerGoes) {
    auto first = std::make_unique<DSemaphore>(1, 2, L"Gate");
    auto second = std::make_unique<DSemaphore>(5, 9, L"gATE");
    DSemaphore unnamed(3, 3, L"");
    EXPECT_EQ(Drain(*second), 1);
    first->Release(9);
    first.reset();
    EXPECT_EQ(Drain(*second), 2);
    second.reset();
    DSemaphore again(3, 3, L"gate");
    EXPECT_EQ(Drain(again), 3);
    EXPECT_EQ(Drain(unnamed), 3);
}

TEST(Semaphore, ReleasesWhatFitsUnderASignedMaximum) {
    struct {
        unsigned int initial, maximum, release;
        int expected;
    } const cases[] = {{1, 2, 3, 2},
                       {0, 1, 0, 0},
                       {3, 1, 5, 3},
                       {1, 0x80000000U, 5, 1},
                       {0, INT_MAX, 50, 50},
                       {0, 200001, ~0U, 200001},
                       {0x80000000U, ~0U, 0, 0},
                       {INT_MAX - 1, INT_MAX, ~0U, 300000}};
    for (auto const& each : cases) {
        DSemaphore semaphore(each.initial, each.maximum, nullptr);
        semaphore.Release(each.release);
        EXPECT_EQ(Drain(semaphore), each.expected) << each.maximum;
    }
}

// The creations of another thread don't revive a node that goes.
TEST(Semaphore, StandsCreationsOfTheSameNameOnTwoThreads) {
    std::thread other([] {
        for (int i = 0; i < 20000; ++i) {
            DSemaphore(1, 1, L"contended").Release(1);
        }
    });
    for (int i = 0; i < 20000; ++i) {
        DSemaphore(1, 1, L"CONTENDED").Release(1);
    }
    other.join();
    DSemaphore last(2, 2, L"contended");
    EXPECT_EQ(Drain(last), 2);
}

TEST(SemaphoreHandle, ReleasesAllOrNothingAndSaysTheCountBefore) {
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
    CloseHandle(semaphore);
}

TEST(SemaphoreHandle, HoldsNoMoreThanTheSystemsSemaphore) {
    g_posts = 0;
    XSemaphore semaphore(1, LONG_MAX);
    long previous = 0;
    EXPECT_EQ(ReleaseSemaphore(&semaphore, INT_MAX, &previous), 0);
    EXPECT_EQ(ReleaseSemaphore(&semaphore, INT_MAX - 1, &previous), 1);
    EXPECT_EQ(ReleaseSemaphore(&semaphore, 1, &previous), 0);
    EXPECT_EQ(previous, INT_MAX);
    EXPECT_LT(g_posts, 100000);
    EXPECT_EQ(semaphore.CloseHandle(), 1);
}

TEST(SemaphoreHandle, CountsNoTakenAndNoFailedPost) {
    XSemaphore semaphore(0, 9);
    long previous = -9;
    g_afterNextPost = [&] {
        EXPECT_EQ(semaphore.WaitForSingleObject(0), WAIT_OBJECT_0);
        EXPECT_EQ(ReleaseSemaphore(&semaphore, 1, &previous), 1);
    };
    EXPECT_EQ(ReleaseSemaphore(&semaphore, 1, nullptr), 1);
    EXPECT_EQ(previous, 0);
    g_refusePosts = true;
    EXPECT_EQ(semaphore.SetToSignaledState(), 0);
    g_refusePosts = false;
    EXPECT_EQ(ReleaseSemaphore(&semaphore, 1, &previous), 1);
    EXPECT_EQ(previous, 1);
    EXPECT_EQ(semaphore.CloseHandle(), 1);
}

TEST(SemaphoreHandle, IsNotTouchedAfterItsLastPost) {
    auto const pageBytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* const page =
        mmap(nullptr, pageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    auto* const semaphore = new (page) XSemaphore(0, 9);
    g_afterNextPost = [=] { mprotect(page, pageBytes, PROT_NONE); };
    EXPECT_EQ(ReleaseSemaphore(semaphore, 1, nullptr), 1);
    EXPECT_EQ(munmap(page, pageBytes), 0);
}

TEST(SemaphoreHandle, BeginsEmptyWithANegativeCountAndRefusesNamesAttributesAndWhatIsNoInt) {
    alignas(XSemaphore) unsigned char memory[sizeof(XSemaphore)];
    std::memset(memory, 0xFF, sizeof memory);
    auto* const semaphore = new (memory) XSemaphore(-1, 9);
    EXPECT_EQ(semaphore->WaitForSingleObject(0), WAIT_TIMEOUT);
    EXPECT_EQ(semaphore->CloseHandle(), 1);
    EXPECT_EQ(CreateSemaphore(nullptr, 1, 2, L"twin"), nullptr);
    EXPECT_EQ(CreateSemaphore(memory, 1, 2, nullptr), nullptr);
    if (LONG_MAX > INT_MAX) {
        EXPECT_EQ(CreateSemaphore(nullptr, LONG_MAX, LONG_MAX, nullptr), nullptr);
    }
}

} // namespace
