// Repeating timers, all on one thread. Each tick is due one interval after the tick before it,
// however late that one came, so that late ticks are caught up one after the other.

#include "platform/thread_backends.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

using SteadyClock = std::chrono::steady_clock;

constexpr int kNoSuchTimer = -1;
constexpr int kBadInterval = -2;
constexpr int kNoRoom = -3;  // memory or threads ran out

constexpr double kLongestIntervalS = 86400.0;

struct Timer
{
    SteadyClock::duration interval{};
    SteadyClock::time_point due;
    ZVK_TimerCallback callback = nullptr;
    void *data = nullptr;
};

struct TimerThread
{
    std::mutex guard;  // of all below
    std::condition_variable changed;
    std::condition_variable callbackEnded;
    std::map<int, Timer> timers;
    int lastId = 0;
    int running = 0;  // the timer whose callback runs now, 0 for none
    std::thread::id thread;
    bool started = false;
};

static TimerThread &TheTimers()
{
    static NeverDestroyed<TimerThread> timers;
    return timers.Get();
}

static std::map<int, Timer>::iterator EarliestTimer(std::map<int, Timer> &timers)
{
    auto earliest = timers.begin();
    for (auto timer = timers.begin(); timer != timers.end(); ++timer)
        if (timer->second.due < earliest->second.due) earliest = timer;
    return earliest;
}

static void SendTick(TimerThread &state, int id, const Timer &timer,
                     std::unique_lock<std::mutex> &lock)
{
    state.running = id;
    lock.unlock();
    (void)timer.callback(0, id, ZVK_EVENT_TIMER_TICK, timer.data, 0, 0);
    lock.lock();
    state.running = 0;
    state.callbackEnded.notify_all();
}

static void TimerLoop(TimerThread &state) noexcept
{
    std::unique_lock lock(state.guard);
    state.thread = std::this_thread::get_id();
    for (;;) {
        if (state.timers.empty()) {
            state.changed.wait(lock);
            continue;
        }
        const auto next = EarliestTimer(state.timers);
        if (SteadyClock::now() < next->second.due) {
            const SteadyClock::time_point due = next->second.due;
            state.changed.wait_until(lock, due);
            continue;
        }
        next->second.due += next->second.interval;
        const Timer timer = next->second;  // the row may go while its callback runs
        SendTick(state, next->first, timer, lock);
    }
}

static void StartThreadOnce(TimerThread &state)
{
    if (state.started) return;
    std::thread([&state] { TimerLoop(state); }).detach();
    state.started = true;
}

static int NextId(TimerThread &state)
{
    do {
        state.lastId = state.lastId == INT32_MAX ? 1 : state.lastId + 1;
    } while (state.timers.contains(state.lastId));
    return state.lastId;
}

int TimerStart(double intervalS, ZVK_TimerCallback callback, void *data)
{
    if (!callback || !(intervalS > 0.0)) return kBadInterval;
    const auto interval = std::chrono::duration_cast<SteadyClock::duration>(
        std::chrono::duration<double>(std::min(intervalS, kLongestIntervalS)));
    if (interval.count() <= 0) return kBadInterval;
    try {
        TimerThread &state = TheTimers();
        const std::lock_guard lock(state.guard);
        StartThreadOnce(state);
        const int id = NextId(state);
        state.timers[id] = {interval, SteadyClock::now() + interval, callback, data};
        state.changed.notify_one();
        return id;
    } catch (const std::exception &) {
        return kNoRoom;
    }
}

// Takes the timer out of the table, and waits for a tick that another thread is delivering.
static bool TakeOut(TimerThread &state, int timerId, Timer &timer)
{
    std::unique_lock lock(state.guard);
    const auto found = state.timers.find(timerId);
    if (found == state.timers.end()) return false;
    timer = found->second;
    state.timers.erase(found);
    if (state.thread == std::this_thread::get_id()) return true;
    state.callbackEnded.wait(lock, [&] { return state.running != timerId; });
    return true;
}

int TimerDiscard(int timerId)
{
    if (timerId <= 0) return kNoSuchTimer;
    Timer timer;
    if (!TakeOut(TheTimers(), timerId, timer)) return kNoSuchTimer;
    (void)timer.callback(0, timerId, ZVK_EVENT_DISCARD, timer.data, 0, 0);
    return 0;
}
