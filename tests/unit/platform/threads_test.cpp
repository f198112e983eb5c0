// The real pool and timer thread, and the told ones.

#include "platform/threads.h"

#include "platform/clock.h"
#include "test_timers.h"

#include <atomic>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <latch>
#include <mutex>
#include <thread>

// Something another thread does, and this one waits for.
class Event
{
public:
    void Set()
    {
        const std::lock_guard lock(m_guard);
        ++m_count;
        m_changed.notify_all();
    }

    void WaitFor(int count = 1)
    {
        std::unique_lock lock(m_guard);
        m_changed.wait(lock, [&] { return m_count >= count; });
    }

    int Count()
    {
        const std::lock_guard lock(m_guard);
        return m_count;
    }

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    int m_count = 0;
};

static int SetEvent(void *data)
{
    static_cast<Event *>(data)->Set();
    return 0;
}

struct Gate
{
    Event entered;
    Event open;
};

static int PassGate(void *data)
{
    Gate &gate = *static_cast<Gate *>(data);
    gate.entered.Set();
    gate.open.WaitFor();
    return 0;
}

TEST(Pool, RunsAFunctionOnceOnAnotherThread)
{
    struct Seen
    {
        std::thread::id thread;
        int runs = 0;
    } seen;
    int id = 0;
    ASSERT_EQ(Threads().schedule(
                  [](void *data) {
                      static_cast<Seen *>(data)->thread = std::this_thread::get_id();
                      return ++static_cast<Seen *>(data)->runs;
                  },
                  &seen, &id),
              0);
    EXPECT_GT(id, 0);
    EXPECT_EQ(Threads().wait(id), 0);
    EXPECT_EQ(seen.runs, 1);
    EXPECT_NE(seen.thread, std::this_thread::get_id());
    EXPECT_EQ(Threads().release(id), 0);
}

TEST(Pool, WaitReturnsAtOnceForAFunctionThatHasEnded)
{
    Event event;
    int id = 0;
    ASSERT_EQ(Threads().schedule(SetEvent, &event, &id), 0);
    EXPECT_EQ(Threads().wait(id), 0);
    EXPECT_EQ(Threads().wait(id), 0);
    EXPECT_EQ(Threads().release(id), 0);
}

TEST(Pool, ReleaseForgetsTheIdAndDoesNotWait)
{
    static Gate &gate = *new Gate;  // nothing tells when a released function has left it
    int id = 0;
    ASSERT_EQ(Threads().schedule(PassGate, &gate, &id), 0);
    gate.entered.WaitFor();
    EXPECT_EQ(Threads().release(id), 0);  // it runs on
    EXPECT_LT(Threads().wait(id), 0);
    EXPECT_LT(Threads().release(id), 0);
    gate.open.Set();
}

TEST(Pool, AWaitWithAnEndTellsThatTheFunctionStillRuns)
{
    Gate gate;
    int id = 0;
    ASSERT_EQ(Threads().schedule(PassGate, &gate, &id), 0);
    EXPECT_EQ(Threads().waitAtMost(id, 0.0), 1);
    EXPECT_EQ(Threads().waitAtMost(id, 0.001), 1);
    gate.open.Set();
    EXPECT_EQ(Threads().waitAtMost(id, 600.0), 0);
    EXPECT_EQ(Threads().waitAtMost(id, 0.0), 0) << "it has ended";
    EXPECT_EQ(Threads().release(id), 0);
    EXPECT_LT(Threads().waitAtMost(id, 0.0), 0);
}

TEST(Pool, UnknownIdsAreRefused)
{
    EXPECT_LT(Threads().waitAtMost(1'000'000, 1.0), 0);
    EXPECT_LT(Threads().wait(0), 0);
    EXPECT_LT(Threads().wait(-1), 0);
    EXPECT_LT(Threads().wait(1'000'000), 0);
    EXPECT_LT(Threads().release(1'000'000), 0);
}

TEST(Pool, NothingToRunIsRefused)
{
    int id = 7;
    EXPECT_LT(Threads().schedule(nullptr, nullptr, &id), 0);
    EXPECT_LT(Threads().schedule(SetEvent, nullptr, nullptr), 0);
    EXPECT_EQ(id, 7);
}

TEST(Pool, GrowsSoThatFunctionsThatNeverEndHoldUpNoOther)
{
    constexpr int kBlocked = 20;
    Gate gates[kBlocked];
    int ids[kBlocked] = {};
    for (int i = 0; i < kBlocked; ++i)
        ASSERT_EQ(Threads().schedule(PassGate, &gates[i], &ids[i]), 0);
    for (Gate &gate : gates)
        gate.entered.WaitFor();  // all of them run at the same time
    for (Gate &gate : gates)
        gate.open.Set();
    for (const int id : ids) {
        EXPECT_EQ(Threads().wait(id), 0);
        EXPECT_EQ(Threads().release(id), 0);
    }
}

TEST(Pool, AFunctionThatWaitsForItselfIsRefused)
{
    struct Self
    {
        std::atomic<int> id{0};
        Event idKnown;
        int result = 0;
    } self;
    int id = 0;
    ASSERT_EQ(Threads().schedule(
                  [](void *data) {
                      Self &me = *static_cast<Self *>(data);
                      me.idKnown.WaitFor();
                      me.result = Threads().wait(me.id);
                      return 0;
                  },
                  &self, &id),
              0);
    self.id = id;
    self.idKnown.Set();
    EXPECT_EQ(Threads().wait(id), 0);
    EXPECT_LT(self.result, 0);
    EXPECT_EQ(Threads().release(id), 0);
}

TEST(Pool, ManyThreadsMayScheduleAtOnce)
{
    Event event;
    std::vector<std::thread> clients;
    for (int i = 0; i < 4; ++i)
        clients.emplace_back([&] {
            for (int j = 0; j < 50; ++j) {
                int id = 0;
                EXPECT_EQ(Threads().schedule(SetEvent, &event, &id), 0);
                EXPECT_EQ(Threads().wait(id), 0);
                EXPECT_EQ(Threads().release(id), 0);
            }
        });
    for (std::thread &client : clients)
        client.join();
    EXPECT_EQ(event.Count(), 200);
}

struct TimerSeen
{
    Event ticks;
    Event discards;
    std::atomic<int> lastId{0};
    std::atomic<int> others{0};  // arguments that were not as told
};

static int SeeTimer(int reserved, int timerId, int event, void *data, int eventData1,
                    int eventData2)
{
    TimerSeen &seen = *static_cast<TimerSeen *>(data);
    if (reserved != 0 || eventData1 != 0 || eventData2 != 0) ++seen.others;
    seen.lastId = timerId;
    if (event == ZVK_EVENT_TIMER_TICK) seen.ticks.Set();
    if (event == ZVK_EVENT_DISCARD) seen.discards.Set();
    return 0;
}

TEST(Timer, TicksUntilDiscarded)
{
    TimerSeen seen;
    const int id = Threads().startTimer(0.001, SeeTimer, &seen);
    ASSERT_GT(id, 0);
    seen.ticks.WaitFor(3);
    EXPECT_EQ(seen.discards.Count(), 0);
    EXPECT_EQ(Threads().discardTimer(id), 0);
    const int ticks = seen.ticks.Count();
    EXPECT_EQ(seen.discards.Count(), 1);
    EXPECT_EQ(seen.lastId, id);
    EXPECT_EQ(seen.others, 0);

    TimerSeen
        other;  // its ticks show that the timer thread went on, and left the discarded one alone
    const int otherId = Threads().startTimer(0.001, SeeTimer, &other);
    other.ticks.WaitFor(3);
    EXPECT_EQ(seen.ticks.Count(), ticks);
    EXPECT_EQ(Threads().discardTimer(otherId), 0);
}

TEST(Timer, UnknownTimersAreRefused)
{
    TimerSeen seen;
    const int id = Threads().startTimer(100.0, SeeTimer, &seen);
    ASSERT_GT(id, 0);
    EXPECT_EQ(Threads().discardTimer(id), 0);
    EXPECT_LT(Threads().discardTimer(id), 0);
    EXPECT_LT(Threads().discardTimer(0), 0);
    EXPECT_LT(Threads().discardTimer(-3), 0);
    EXPECT_EQ(seen.discards.Count(), 1);
}

TEST(Timer, WhatCannotTickIsRefused)
{
    TimerSeen seen;
    EXPECT_LT(Threads().startTimer(0.0, SeeTimer, &seen), 0);
    EXPECT_LT(Threads().startTimer(-1.0, SeeTimer, &seen), 0);
    EXPECT_LT(Threads().startTimer(1e-30, SeeTimer, &seen), 0);
    EXPECT_LT(Threads().startTimer(std::nan(""), SeeTimer, &seen), 0);
    EXPECT_LT(Threads().startTimer(1.0, nullptr, &seen), 0);
}

TEST(Timer, AnEndlessIntervalCanBeDiscarded)
{
    TimerSeen seen;
    const int id = Threads().startTimer(HUGE_VAL, SeeTimer, &seen);
    ASSERT_GT(id, 0);
    EXPECT_EQ(Threads().discardTimer(id), 0);
    EXPECT_EQ(seen.ticks.Count(), 0);
}

TEST(Timer, LateTicksAreCaughtUp)
{
    struct Late
    {
        std::atomic<int> ticks{0};
        double start = 0.0;
    } late;
    constexpr double kIntervalS = 0.002;
    late.start = Clock().timer();
    const int id = Threads().startTimer(
        kIntervalS,
        [](int, int, int event, void *data, int, int) {
            Late &seen = *static_cast<Late *>(data);
            if (event != ZVK_EVENT_TIMER_TICK) return 0;
            if (seen.ticks == 0)  // the first tick takes as long as ten
                while (Clock().timer() < seen.start + 11 * kIntervalS)
                    Clock().breathe();
            ++seen.ticks;
            return 0;
        },
        &late);
    ASSERT_GT(id, 0);
    // Caught up when no tick that is due is missing. A timer that loses late ticks stays behind for
    // ever.
    bool caughtUp = false;
    for (int attempt = 0; attempt < 20'000 && !caughtUp; ++attempt) {
        const int due = static_cast<int>((Clock().timer() - late.start) / kIntervalS) - 1;
        caughtUp = due > 12 && late.ticks >= due;
        Clock().breathe();
    }
    EXPECT_TRUE(caughtUp);
    EXPECT_EQ(Threads().discardTimer(id), 0);
}

TEST(Timer, DiscardWaitsForARunningCallback)
{
    struct Running
    {
        Gate gate;
        std::atomic<bool> ended{false};
        std::atomic<bool> endedBeforeDiscardEvent{false};
    } running;
    const int id = Threads().startTimer(
        0.001,
        [](int, int, int event, void *data, int, int) {
            Running &seen = *static_cast<Running *>(data);
            if (event == ZVK_EVENT_DISCARD) {
                seen.endedBeforeDiscardEvent = seen.ended.load();
                return 0;
            }
            seen.gate.entered.Set();
            seen.gate.open.WaitFor();
            seen.ended = true;
            return 0;
        },
        &running);
    running.gate.entered.WaitFor();
    std::thread discarder([&] { EXPECT_EQ(Threads().discardTimer(id), 0); });
    running.gate.open.Set();
    discarder.join();
    EXPECT_TRUE(running.ended);
    EXPECT_TRUE(running.endedBeforeDiscardEvent);
}

TEST(Timer, ACallbackMayDiscardItsOwnTimer)
{
    struct Own
    {
        Event discarded;
        std::atomic<int> ticks{0};
        std::atomic<int> discards{0};
    } own;
    const int id = Threads().startTimer(
        0.001,
        [](int, int timerId, int event, void *data, int, int) {
            Own &seen = *static_cast<Own *>(data);
            if (event == ZVK_EVENT_DISCARD) return ++seen.discards;
            ++seen.ticks;
            EXPECT_EQ(Threads().discardTimer(timerId), 0);
            seen.discarded.Set();
            return 0;
        },
        &own);
    own.discarded.WaitFor();
    EXPECT_LT(Threads().discardTimer(id), 0);

    TimerSeen other;
    const int otherId = Threads().startTimer(0.001, SeeTimer, &other);
    other.ticks.WaitFor(3);
    EXPECT_EQ(Threads().discardTimer(otherId), 0);
    EXPECT_EQ(own.ticks, 1);
    EXPECT_EQ(own.discards, 1);
}

TEST(Timer, SeveralTimersShareOneThread)
{
    struct Shared
    {
        Event ticks;
        std::mutex guard;
        std::vector<std::thread::id> threads;
    } shared;
    const ZVK_TimerCallback keepThread = [](int, int, int event, void *data, int, int) {
        Shared &seen = *static_cast<Shared *>(data);
        if (event != ZVK_EVENT_TIMER_TICK) return 0;
        const std::lock_guard lock(seen.guard);
        seen.threads.push_back(std::this_thread::get_id());
        seen.ticks.Set();
        return 0;
    };
    const int first = Threads().startTimer(0.001, keepThread, &shared);
    const int second = Threads().startTimer(0.0015, keepThread, &shared);
    EXPECT_NE(first, second);
    shared.ticks.WaitFor(10);
    EXPECT_EQ(Threads().discardTimer(first), 0);
    EXPECT_EQ(Threads().discardTimer(second), 0);
    for (const std::thread::id thread : shared.threads)
        EXPECT_EQ(thread, shared.threads.front());
    EXPECT_NE(shared.threads.front(), std::this_thread::get_id());
}

// The whole process, run again: it leaves while the timer ticks and pool functions run.
[[noreturn]] static void LeaveWithThreadsRunning()
{
    // Never destroyed, as the library's own records aren't: the threads go on using them.
    TimerSeen &seen = *new TimerSeen;
    Gate &blocked = *new Gate;
    Event &busy = *new Event;
    for (int i = 0; i < 3; ++i)
        (void)Threads().startTimer(0.0001, SeeTimer, &seen);
    int id = 0;
    (void)Threads().schedule(PassGate, &blocked, &id);
    (void)Threads().schedule(
        [](void *data) {
            for (;;)
                SetEvent(data);
            return 0;
        },
        &busy, &id);
    seen.ticks.WaitFor(5);
    blocked.entered.WaitFor();
    busy.WaitFor(100);
    std::exit(0);
}

TEST(ProcessEndDeathTest, ThreadsThatRunDoNotDisturbTheExit)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (int i = 0; i < 5; ++i)
        EXPECT_EXIT(LeaveWithThreadsRunning(), testing::ExitedWithCode(0), "");
}

TEST(TestTimers_, TickWhenToldAndDiscard)
{
    TestTimers timers;
    TimerSeen seen;
    const int id = Threads().startTimer(0.5, SeeTimer, &seen);
    EXPECT_EQ(timers.Timers(), std::vector<int>{id});
    EXPECT_EQ(timers.Interval(id), 0.5);
    timers.Tick(id, 3);
    EXPECT_EQ(seen.ticks.Count(), 3);
    EXPECT_EQ(Threads().discardTimer(id), 0);
    EXPECT_EQ(seen.discards.Count(), 1);
    timers.Tick(id);
    EXPECT_EQ(seen.ticks.Count(), 3);
    EXPECT_LT(Threads().discardTimer(id), 0);
    EXPECT_TRUE(timers.Timers().empty());
}

TEST(TestTimers_, FunctionsRunWhenToldOrWaitedFor)
{
    TestTimers timers;
    Event event;
    int first = 0;
    int second = 0;
    ASSERT_EQ(Threads().schedule(SetEvent, &event, &first), 0);
    ASSERT_EQ(Threads().schedule(SetEvent, &event, &second), 0);
    EXPECT_EQ(event.Count(), 0);
    EXPECT_EQ(timers.Scheduled(), (std::vector<int>{first, second}));
    timers.Run(second);
    timers.Run(second);
    EXPECT_EQ(event.Count(), 1);
    EXPECT_EQ(Threads().wait(first), 0);
    EXPECT_EQ(event.Count(), 2);
    EXPECT_EQ(Threads().release(first), 0);
    EXPECT_LT(Threads().release(first), 0);
    EXPECT_EQ(timers.Held(), std::vector<int>{second});
}

TEST(TestTimers_, NextStartFailsWhenTold)
{
    TestTimers timers;
    TimerSeen seen;
    Event event;
    int id = 7;
    timers.FailNextStart(-12);
    EXPECT_EQ(Threads().startTimer(0.5, SeeTimer, &seen), -12);
    EXPECT_GT(Threads().startTimer(0.5, SeeTimer, &seen), 0);
    timers.FailNextStart(-13);
    EXPECT_EQ(Threads().schedule(SetEvent, &event, &id), -13);
    EXPECT_EQ(id, 7);
    EXPECT_TRUE(timers.Scheduled().empty());
}
