// Every interleaving of two senders and two receivers that call again and again, run out of time,
// and are cancelled at any moment. The steps on the lists are the queue's own. The model adds what
// stands around them: the number of messages, and where each thread is.
#include "queues/waiting_sides.h"

#include <verrick/flat/handles.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

using verrick::kReceivers;
using verrick::kSenders;
using verrick::Side;

enum Step { kLooks, kTimesOut, kIsCancelled };

struct ModelThread {
    explicit ModelThread(Side ofSide) : side(ofSide) {}

    Side const side;
    std::optional<verrick::WaitingCall> wait;
    bool isCancelled = false;

    bool IsAsleep() const { return wait && !wait->IsWoken(); }
    bool IsWoken() const { return wait && wait->IsWoken(); }
    bool CanDo(Step step) const {
        return !isCancelled && (step == kLooks ? !IsAsleep() : wait.has_value());
    }
};

struct Model {
    explicit Model(int slots) : capacity(slots) {}

    int const capacity;
    int messages = 0;
    verrick::WaitingSides sides;
    ModelThread threads[4] = {ModelThread(kSenders), ModelThread(kSenders), ModelThread(kReceivers),
                              ModelThread(kReceivers)};
    std::vector<int> asleep; // in the order of the lists

    // What there is for a side: free slots or messages.
    int Supply(Side side) const { return side == kSenders ? capacity - messages : messages; }

    void Do(int number, Step step) {
        ModelThread& thread = threads[number];
        if (step == kLooks || (step == kTimesOut && thread.IsWoken())) {
            Look(number, thread);
        } else {
            sides.GiveUp(*thread.wait, Supply(thread.side) > 0);
            thread.wait.reset();
            thread.isCancelled = step == kIsCancelled;
        }
        if (verrick::WaitingCall* const woken = sides.TakeWoken()) {
            woken->Post();
        }
        std::erase_if(asleep, [this](int each) { return !threads[each].IsAsleep(); });
    }

    // A post that doesn't come shows as the test's own time-out.
    void Look(int number, ModelThread& thread) {
        if (thread.IsWoken()) {
            thread.wait->AwaitPost();
        }
        if (Supply(thread.side) == 0) {
            asleep.insert(thread.IsWoken() ? asleep.begin() : asleep.end(), number);
            if (!thread.wait) {
                thread.wait.emplace(thread.side, INFINITE);
            }
            sides.Add(*thread.wait);
        } else {
            thread.wait.reset();
            messages += thread.side == kSenders ? 1 : -1;
            sides.Moved(thread.side == kSenders ? kReceivers : kSenders);
        }
    }

    int Count(Side side, bool (ModelThread::*is)() const) const {
        return static_cast<int>(std::ranges::count_if(threads, [side, is](ModelThread const& each) {
            return each.side == side && (each.*is)();
        }));
    }

    // The rule at the head of queues/waiting_sides.h.
    bool KeepsTheRule(Side side) const {
        return Count(side, &ModelThread::IsAsleep) == 0 ||
               Supply(side) <= Count(side, &ModelThread::IsWoken);
    }

    // Two models of the same state go on in the same way.
    std::vector<int> State() const {
        std::vector<int> state = asleep;
        state.push_back(messages);
        for (ModelThread const& thread : threads) {
            state.insert(state.end(), {thread.IsAsleep(), thread.IsWoken(), thread.isCancelled});
        }
        return state;
    }
};

using Path = std::vector<std::pair<int, Step>>;

class WaitingSides : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Capacity, WaitingSides, testing::Values(1, 2));

TEST_P(WaitingSides, NeverLeaveAMessageOrASlotToSleepers) {
    std::set<std::vector<int>> seen;
    for (std::vector<Path> paths(1); !paths.empty();) {
        Path const path = std::move(paths.back());
        paths.pop_back();
        Model model(GetParam());
        for (auto const& [thread, step] : path) {
            model.Do(thread, step);
        }
        ASSERT_TRUE(model.KeepsTheRule(kSenders)) << testing::PrintToString(path);
        ASSERT_TRUE(model.KeepsTheRule(kReceivers)) << testing::PrintToString(path);
        if (!seen.insert(model.State()).second) {
            continue;
        }
        for (int thread = 0; thread < 4; ++thread) {
            for (Step const step : {kLooks, kTimesOut, kIsCancelled}) {
                if (model.threads[thread].CanDo(step)) {
                    paths.push_back(path);
                    paths.back().emplace_back(thread, step);
                }
            }
        }
    }
    EXPECT_GT(seen.size(), 300U);
}
