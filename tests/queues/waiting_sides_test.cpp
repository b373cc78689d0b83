// Every interleaving of two senders and two receivers that call again and again, run out of time,
// and are cancelled at any moment. The steps on the lists are the queue's own. The model adds what
// stands around them: the number of messages, and where each thread is.
#include "queues/waiting_sides.h"
#include "tests/support/test.h"

#include <verrick/flat/handles.h>

#include <set>

using verrick::kReceivers;
using verrick::kSenders;
using verrick::Side;

enum Action { kLook, kTimeOut, kCancel };

struct ModelThread {
    Side side = kSenders;
    std::optional<verrick::WaitingCall> wait;
    bool isCancelled = false;

    bool IsAsleep() const { return wait && !wait->IsWoken(); }
    bool IsWoken() const { return wait && wait->IsWoken(); }
    bool CanDo(Action action) const {
        return !isCancelled && (action == kLook ? !IsAsleep() : wait.has_value());
    }
};

struct Model {
    int capacity = 0;
    int messages = 0;
    verrick::WaitingSides sides;
    ModelThread threads[4];
    std::vector<int> asleep; // in the order of the lists
    bool isInOrder = true;   // the oldest call was woken each time, and waited for its post

    // Free slots or messages.
    int Supply(Side side) const { return side == kSenders ? capacity - messages : messages; }

    void Do(int number, Action action) {
        ModelThread& thread = threads[number];
        if (action == kLook || (action == kTimeOut && thread.IsWoken())) {
            Look(thread, number);
        } else {
            sides.GiveUp(*thread.wait, Supply(thread.side) > 0);
            thread.wait.reset();
            thread.isCancelled = action == kCancel;
        }
        if (verrick::WaitingCall* const woken = sides.TakeWoken()) {
            auto const isOfSide = [&](int each) { return threads[each].side == woken->m_side; };
            auto const oldest = std::ranges::find_if(asleep, isOfSide);
            isInOrder = isInOrder && woken == &*threads[*oldest].wait;
            woken->Post();
        }
        std::erase_if(asleep, [this](int each) { return !threads[each].IsAsleep(); });
    }

    // A post that doesn't come shows as the test's own time-out. One that isn't waited for would
    // come to a call that is gone.
    void Look(ModelThread& thread, int number) {
        if (thread.IsWoken()) {
            int posts = -1;
            thread.wait->AwaitPost();
            sem_getvalue(&thread.wait->m_post, &posts);
            isInOrder = isInOrder && posts == 0;
        }
        if (Supply(thread.side) > 0) {
            thread.wait.reset();
            messages += thread.side == kSenders ? 1 : -1;
            sides.Moved(thread.side == kSenders ? kReceivers : kSenders);
            return;
        }
        asleep.insert(thread.IsWoken() ? asleep.begin() : asleep.end(), number);
        if (!thread.wait) {
            thread.wait.emplace(thread.side, INFINITE);
        }
        sides.Add(*thread.wait);
    }

    // The rule at the head of queues/waiting_sides.h.
    bool KeepsTheRule(Side side) const {
        auto const count = [&](bool (ModelThread::*is)() const) {
            return std::ranges::count_if(
                threads, [&](auto& each) { return each.side == side && (each.*is)(); });
        };
        return count(&ModelThread::IsAsleep) == 0 || Supply(side) <= count(&ModelThread::IsWoken);
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

class WaitingSides : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Capacity, WaitingSides, testing::Values(1, 2));

TEST_P(WaitingSides, NeverLeaveAMessageOrASlotToSleepers) {
    std::set<std::vector<int>> seen;
    for (std::vector<std::vector<std::pair<int, Action>>> paths(1); !paths.empty();) {
        auto const path = std::move(paths.back());
        paths.pop_back();
        Model model;
        model.capacity = GetParam();
        model.threads[2].side = kReceivers;
        model.threads[3].side = kReceivers;
        for (auto const& [thread, action] : path) {
            model.Do(thread, action);
        }
        ASSERT_EQ(model.sides.IsEmpty(), model.asleep.empty());
        ASSERT_TRUE(model.isInOrder);
        ASSERT_TRUE(model.KeepsTheRule(kSenders));
        ASSERT_TRUE(model.KeepsTheRule(kReceivers));
        for (bool const isNew = seen.insert(model.State()).second; int thread : {0, 1, 2, 3}) {
            for (Action const action : {kLook, kTimeOut, kCancel}) {
                if (isNew && model.threads[thread].CanDo(action)) {
                    paths.push_back(path);
                    paths.back().emplace_back(thread, action);
                }
            }
        }
    }
    EXPECT_GT(seen.size(), 300U);
}
