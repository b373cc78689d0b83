// Runs the steps of an auto-reset event in every order in which four threads can take them: two
// signal and two wait, or one signals and three wait. What a thread does under the event's mutex is
// one move.
#include "frame/event_steps.h"
#include "tests/support/test.h"

#include <set>

namespace {

enum Place : char { kStarts, kNeedsLock, kBlocked, kWoken, kWakes, kPassed, kTimedOut, kLeft };
enum Choice { kGoOn, kTimeOut, kCancel };

constexpr int kThreads = 4; // those who signal come first

struct World {
    verrick::EventState<int> state{0};
    std::atomic<int> waiters{0};
    verrick::EventHandover handover;
    verrick::EventWaiter waits[kThreads];
    Place places[kThreads] = {};
};

// The world that the steps work on. It stays in its place, because waits point to each other.
World g_world;

struct WorldFields {
    using Word = int;
    verrick::EventState<int>& State() const { return g_world.state; }
    std::atomic<int>& WaiterCount() const { return g_world.waiters; }
    verrick::EventHandover& Handover() const { return g_world.handover; }
    bool IsAutoReset() const { return true; }
};

using Steps = verrick::EventSteps<WorldFields>;

struct Explorer {
    int signallers;
    std::set<std::string> seen;

    // Tries every move from here on. A state that goes on only by a time-out or a cancellation is
    // an end, too, because nothing may happen to the threads that wait.
    void Explore() {
        std::string const saved(reinterpret_cast<char const*>(&g_world), sizeof g_world);
        if (!seen.insert(saved).second) {
            return;
        }
        bool goesOn = false;
        for (int thread = 0; thread < kThreads; ++thread) {
            for (Choice const choice : {kGoOn, kTimeOut, kCancel}) {
                if (Move(thread, choice)) {
                    goesOn = goesOn || choice == kGoOn;
                    Explore();
                    std::memcpy(static_cast<void*>(&g_world), saved.data(), sizeof g_world);
                }
            }
        }
        if (!goesOn) {
            CheckEnd();
        }
    }

    // Returns false if the thread has no such choice.
    bool Move(int thread, Choice choice) const {
        Place& place = g_world.places[thread];
        verrick::EventWaiter& wait = g_world.waits[thread];
        Place const before = place;
        bool const waits = before == kBlocked && !steps.HasWakeUpToCome(wait);
        if (choice == kCancel && (waits || before == kWoken)) {
            place = kLeft;
            if (verrick::EventWaiter const* const next = steps.AbandonWait(wait)) {
                Wake(*next);
            }
        } else if (choice == kTimeOut && waits) {
            steps.EndWait(wait);
            place = wait.IsWoken() ? kPassed : kTimedOut;
        } else if (choice == kGoOn && thread < signallers) {
            Signal(place);
        } else if (choice == kGoOn) {
            Wait(place, wait);
        }
        if (place > kWakes) {
            wait = verrick::EventWaiter();
        }
        return place != before;
    }

    void Signal(Place& place) const {
        if (place == kStarts) {
            place = steps.TrySignal() ? kLeft : kNeedsLock;
        } else if (place == kNeedsLock) {
            place = kLeft;
            verrick::EventWaiter const* const wait = steps.TrySignal() ? nullptr : steps.HandOver();
            if (wait != nullptr && wait->UsesEventCondition()) {
                place = kWakes;
                ++g_world.handover.signalling;
            } else if (wait != nullptr) {
                Wake(*wait);
            }
        } else if (place == kWakes) {
            place = kLeft;
            Wake(verrick::EventWaiter());
            --g_world.handover.signalling;
        }
    }

    void Wait(Place& place, verrick::EventWaiter& wait) const {
        if (place == kStarts) {
            place = steps.TryTake() ? kPassed : kNeedsLock;
        } else if (place == kNeedsLock) {
            place = steps.TryBeginWait(wait) ? kBlocked : kPassed;
        } else if (place == kWoken) {
            steps.EndWait(wait);
            place = kPassed;
        }
    }

    // Signals the condition of that wait: its own, or the event's with whoever waits there.
    static void Wake(verrick::EventWaiter const& wait) {
        for (int thread = 0; thread < kThreads; ++thread) {
            bool const sharesIt =
                wait.UsesEventCondition() && g_world.waits[thread].UsesEventCondition();
            if ((&g_world.waits[thread] == &wait || sharesIt) &&
                g_world.places[thread] == kBlocked) {
                g_world.places[thread] = kWoken;
                return;
            }
        }
    }

    static long Count(Place place) {
        return std::count(g_world.places, g_world.places + kThreads, place);
    }

    void CheckEnd() const {
        int const isSet = g_world.state != 0 ? 1 : 0;
        long const passed = Count(kPassed);
        EXPECT_EQ(g_world.waiters, Count(kBlocked));
        EXPECT_FALSE(isSet != 0 && Count(kBlocked) > 0) << "a thread sleeps beside a signal";
        EXPECT_LE(passed + isSet, signallers) << "one signal let two through";
        EXPECT_GE(passed + isSet, 1) << "all signals are lost";
    }

    Steps const steps{WorldFields()};
};

TEST(EventModel, LosesAndInventsNoSignalInAnyOrderOfSteps) {
    for (int const signallers : {1, 2}) {
        Explorer explorer{signallers, {}};
        explorer.Explore();
        EXPECT_GT(explorer.seen.size(), 50U);
    }
}

} // namespace
