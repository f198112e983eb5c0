#include "test_timers.h"

#include <map>
#include <mutex>

struct ToldTimer
{
    double intervalS = 0.0;
    ZVK_TimerCallback callback = nullptr;
    void *data = nullptr;
};

struct ToldFunction
{
    ZVK_PoolFunction function = nullptr;
    void *data = nullptr;
    bool hasRun = false;
    bool released = false;
};

struct TimersRecord
{
    std::mutex guard;  // of all below; never held while a callback runs
    std::map<int, ToldTimer> timers;
    std::map<int, ToldFunction> functions;
    int lastId = 0;
    int nextFailure = 0;  // 0: none
};

static TimersRecord s_record;

static bool TakeFailure(int &code)
{
    code = s_record.nextFailure;
    s_record.nextFailure = 0;
    return code != 0;
}

static int StartToldTimer(double intervalS, ZVK_TimerCallback callback, void *data)
{
    const std::lock_guard lock(s_record.guard);
    int code = 0;
    if (TakeFailure(code)) return code;
    s_record.timers[++s_record.lastId] = {intervalS, callback, data};
    return s_record.lastId;
}

static bool FindTimer(int timerId, ToldTimer &timer)
{
    const std::lock_guard lock(s_record.guard);
    const auto found = s_record.timers.find(timerId);
    if (found == s_record.timers.end()) return false;
    timer = found->second;
    return true;
}

static int DiscardToldTimer(int timerId)
{
    ToldTimer timer;
    if (!FindTimer(timerId, timer)) return -1;
    {
        const std::lock_guard lock(s_record.guard);
        s_record.timers.erase(timerId);
    }
    (void)timer.callback(0, timerId, ZVK_EVENT_DISCARD, timer.data, 0, 0);
    return 0;
}

static int Schedule(ZVK_PoolFunction function, void *data, int *functionId)
{
    const std::lock_guard lock(s_record.guard);
    int code = 0;
    if (TakeFailure(code)) return code;
    *functionId = ++s_record.lastId;
    s_record.functions[*functionId] = {function, data, false, false};
    return 0;
}

static bool TakeToRun(int functionId, ToldFunction &function)
{
    const std::lock_guard lock(s_record.guard);
    const auto found = s_record.functions.find(functionId);
    if (found == s_record.functions.end() || found->second.hasRun) return false;
    found->second.hasRun = true;
    function = found->second;
    return true;
}

static bool IsHeld(int functionId)
{
    const std::lock_guard lock(s_record.guard);
    const auto found = s_record.functions.find(functionId);
    return found != s_record.functions.end() && !found->second.released;
}

static void RunOnce(int functionId)
{
    ToldFunction function;
    if (TakeToRun(functionId, function)) (void)function.function(function.data);
}

static int WaitForFunction(int functionId)
{
    if (!IsHeld(functionId)) return -1;
    RunOnce(functionId);
    return 0;
}

static int WaitAtMost(int functionId, double) { return WaitForFunction(functionId); }

static int ReleaseFunction(int functionId)
{
    const std::lock_guard lock(s_record.guard);
    const auto found = s_record.functions.find(functionId);
    if (found == s_record.functions.end() || found->second.released) return -1;
    found->second.released = true;
    return 0;
}

static constexpr ZVK_ThreadTable kTable = {
    .startTimer = StartToldTimer,
    .discardTimer = DiscardToldTimer,
    .schedule = Schedule,
    .wait = WaitForFunction,
    .waitAtMost = WaitAtMost,
    .release = ReleaseFunction,
};

TestTimers::TestTimers()
{
    const std::lock_guard lock(s_record.guard);
    s_record.timers.clear();
    s_record.functions.clear();
    s_record.lastId = s_record.nextFailure = 0;
    UseThreads(&kTable);
}

TestTimers::~TestTimers() { UseThreads(nullptr); }

// Looked up before each tick: the callback may discard its own timer.
void TestTimers::Tick(int timerId, int times)
{
    ToldTimer timer;
    for (int i = 0; i < times && FindTimer(timerId, timer); ++i)
        (void)timer.callback(0, timerId, ZVK_EVENT_TIMER_TICK, timer.data, 0, 0);
}

std::vector<int> TestTimers::Timers() const
{
    const std::lock_guard lock(s_record.guard);
    std::vector<int> ids;
    for (const auto &row : s_record.timers)
        ids.push_back(row.first);
    return ids;
}

double TestTimers::Interval(int timerId) const
{
    ToldTimer timer;
    return FindTimer(timerId, timer) ? timer.intervalS : 0.0;
}

void TestTimers::Run(int functionId) { RunOnce(functionId); }

std::vector<int> TestTimers::Scheduled() const
{
    const std::lock_guard lock(s_record.guard);
    std::vector<int> ids;
    for (const auto &row : s_record.functions)
        if (!row.second.hasRun) ids.push_back(row.first);
    return ids;
}

std::vector<int> TestTimers::Held() const
{
    const std::lock_guard lock(s_record.guard);
    std::vector<int> ids;
    for (const auto &row : s_record.functions)
        if (!row.second.released) ids.push_back(row.first);
    return ids;
}

void TestTimers::FailNextStart(int code)
{
    const std::lock_guard lock(s_record.guard);
    s_record.nextFailure = code;
}
