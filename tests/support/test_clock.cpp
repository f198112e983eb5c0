#include "test_clock.h"

#include <mutex>
#include <thread>

constexpr ZVK_LocalTime kStartTime = {12, 34, 56, 7, 8, 2024};
constexpr int64_t kStartUnixSeconds = 1720442096;

struct ClockRecord
{
    std::mutex guard;  // of all below
    double now = 0.0;
    ZVK_LocalTime localTime = kStartTime;
    int64_t unixSeconds = kStartUnixSeconds;
    std::vector<double> delays;
    int64_t breaths = 0;
    std::function<void()> onWait;
};

static ClockRecord s_record;

static double ToldTimer()
{
    const std::lock_guard lock(s_record.guard);
    return s_record.now;
}

static int64_t ToldUnixSeconds()
{
    const std::lock_guard lock(s_record.guard);
    return s_record.unixSeconds;
}

static ZVK_LocalTime ToldLocalTime()
{
    const std::lock_guard lock(s_record.guard);
    return s_record.localTime;
}

// Copied under the lock and called without it: it may use the clock itself.
static std::function<void()> CountDelay(double seconds)
{
    const std::lock_guard lock(s_record.guard);
    s_record.delays.push_back(seconds);
    if (seconds > 0.0) s_record.now += seconds;
    return s_record.onWait;
}

static std::function<void()> CountBreath()
{
    const std::lock_guard lock(s_record.guard);
    ++s_record.breaths;
    return s_record.onWait;
}

static void DelayAtOnce(double seconds)
{
    const std::function<void()> call = CountDelay(seconds);
    if (call) call();
}

static void Yield()
{
    const std::function<void()> call = CountBreath();
    if (call) call();
    std::this_thread::yield();
}

static constexpr ZVK_ClockTable kTable = {
    .timer = ToldTimer,
    .unixSeconds = ToldUnixSeconds,
    .localTime = ToldLocalTime,
    .delay = DelayAtOnce,
    .breathe = Yield,
};

TestClock::TestClock()
{
    const std::lock_guard lock(s_record.guard);
    s_record.now = 0.0;
    s_record.localTime = kStartTime;
    s_record.unixSeconds = kStartUnixSeconds;
    s_record.delays.clear();
    s_record.breaths = 0;
    s_record.onWait = nullptr;
    UseClock(&kTable);
}

TestClock::~TestClock()
{
    UseClock(nullptr);
    OnWait(nullptr);
}

void TestClock::Advance(double seconds)
{
    const std::lock_guard lock(s_record.guard);
    s_record.now += seconds;
}

double TestClock::Now() const { return ToldTimer(); }

void TestClock::SetLocalTime(const ZVK_LocalTime &time)
{
    const std::lock_guard lock(s_record.guard);
    s_record.localTime = time;
}

void TestClock::SetUnixSeconds(int64_t seconds)
{
    const std::lock_guard lock(s_record.guard);
    s_record.unixSeconds = seconds;
}

std::vector<double> TestClock::Delays() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.delays;
}

int64_t TestClock::Breaths() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.breaths;
}

void TestClock::OnWait(std::function<void()> call)
{
    const std::lock_guard lock(s_record.guard);
    s_record.onWait = std::move(call);
}
