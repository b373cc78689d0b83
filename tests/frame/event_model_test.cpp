// Runs the steps of an auto-reset event in every order in which four threads can take them: two
// signal and two wait, or one signals and three wait. What a thread does under the event's mutex is
// one move.
#include "frame/event_steps.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

namespace {

enum Place : char { kStarts, kNeedsLock, kBlocked, kWoken, kWakes, kPassed, kTimedOut, kLeft };
enum Choice { kGoOn, kTimeOut, kCancel };

constexpr int kThreads = 4; // those who signal come first

struct World {
    verrick::EventState<int> state{0};
    std::atomic<int> waiters{0};
    verrick::EventHandover handover;
    Place places[kThreads] = {};
};

struct WorldFields {
    using Word = int;
    verrick::EventState<int>& State() const { return world->state; }
    std::atomic<int>& WaiterCount() const { return world->waiters; }
    verrick::EventHandover& Handover() const { return world->handover; }
    bool IsAutoReset() const { return true; }

    World* world;
};

using Steps = verrick::EventSteps<WorldFields>;

struct Explorer {
    int signallers;
    std::set<std::string> seen;

    // Tries every move from here on. A state that goes on only by a time-out or a cancellation is
    // an end, too, because nothing may happen to the threads that wait.
    void Explore(World const& start) {
        std::string const saved(reinterpret_cast<char const*>(&start), sizeof start);
        if (!seen.insert(saved).second) {
            return;
        }
        bool goesOn = false;
        for (int at = 0; at < kThreads * kThreads; ++at) {
            World world;
            std::memcpy(static_cast<void*>(&world), saved.data(), sizeof world);
            if (Move(world, at / kThreads, at % kThreads)) {
                goesOn = goesOn || start.places[at / kThreads] == kWakes || at % kThreads == kGoOn;
                Explore(world);
            }
        }
        if (!goesOn) {
            CheckEnd(start);
        }
    }

    // Returns false if the thread has no such choice.
    bool Move(World& world, int thread, int choice) const {
        Steps const steps(WorldFields{&world});
        Place& place = world.places[thread];
        Place const before = place;
        if (before == kWakes) {
            Wake(world, thread, choice);
        } else if (choice == kCancel && (before == kBlocked || before == kWoken)) {
            place = steps.AbandonWait() ? kWakes : kLeft;
        } else if (choice == kTimeOut && before == kBlocked) {
            steps.EndWait();
            place = kTimedOut;
        } else if (choice == kGoOn && thread < signallers) {
            Signal(steps, place);
        } else if (choice == kGoOn) {
            Wait(steps, place);
        }
        return place != before;
    }

    static void Signal(Steps const& steps, Place& place) {
        if (place == kStarts) {
            place = steps.TrySignal() ? kLeft : kNeedsLock;
        } else if (place == kNeedsLock) {
            place = steps.TrySignal() ? kLeft : kWakes;
            if (place == kWakes) {
                steps.HandOver();
            }
        }
    }

    static void Wait(Steps const& steps, Place& place) {
        if (place == kStarts) {
            place = steps.TryTake() ? kPassed : kNeedsLock;
        } else if (place == kNeedsLock) {
            place = steps.TryBeginWait() ? kBlocked : kPassed;
        } else if (place == kWoken) {
            place = steps.TakeWakeUp() ? kPassed : kBlocked;
            if (place == kPassed) {
                steps.EndWait();
            }
        }
    }

    // The choice is the thread that the call wakes. Without a blocked one it wakes nobody.
    static void Wake(World& world, int thread, int choice) {
        if (world.places[choice] == kBlocked) {
            world.places[choice] = kWoken;
            world.places[thread] = kLeft;
        } else if (Count(world, kBlocked) == 0) {
            world.places[thread] = kLeft;
        }
    }

    static long Count(World const& world, Place place) {
        return std::count(world.places, world.places + kThreads, place);
    }

    void CheckEnd(World const& world) const {
        bool const isSet = world.state != 0;
        long const passed = Count(world, kPassed);
        long const blocked = Count(world, kBlocked);
        EXPECT_EQ(world.waiters, blocked);
        EXPECT_FALSE(isSet && blocked > 0) << "a thread sleeps beside a signal";
        EXPECT_LE(passed, isSet ? signallers - 1 : signallers) << "one signal let two through";
        EXPECT_TRUE(passed > 0 || isSet || Count(world, kTimedOut) > 0) << "all signals are lost";
    }
};

TEST(EventModel, LosesAndInventsNoSignalInAnyOrderOfSteps) {
    for (int const signallers : {1, 2}) {
        Explorer explorer{signallers, {}};
        explorer.Explore(World());
        EXPECT_GT(explorer.seen.size(), 50U);
    }
}

} // namespace
