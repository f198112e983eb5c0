// The real clock.

#include "platform/backends.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>

using Seconds = std::chrono::duration<double>;

// Longer waits end after a day; none of the system's is near it, and a chrono count must not
// overflow.
constexpr double kLongestDelayS = 86400.0;

constexpr auto kBreath = std::chrono::milliseconds(1);

static double SecondsSinceFirstCall()
{
    static const auto start = std::chrono::steady_clock::now();
    return Seconds(std::chrono::steady_clock::now() - start).count();
}

static int64_t UnixSeconds() { return static_cast<int64_t>(std::time(nullptr)); }

static ZVK_LocalTime LocalTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    return {.hours = parts.tm_hour,
            .minutes = parts.tm_min,
            .seconds = parts.tm_sec,
            .month = parts.tm_mon + 1,
            .day = parts.tm_mday,
            .year = parts.tm_year + 1900};
}

static void DelaySeconds(double seconds)
{
    if (!(seconds > 0.0)) return;  // also not a number
    std::this_thread::sleep_for(Seconds(std::min(seconds, kLongestDelayS)));
}

static void Breathe() { std::this_thread::sleep_for(kBreath); }

const ZVK_ClockTable &SystemClock()
{
    static constexpr ZVK_ClockTable kTable = {
        .timer = SecondsSinceFirstCall,
        .unixSeconds = UnixSeconds,
        .localTime = LocalTime,
        .delay = DelaySeconds,
        .breathe = Breathe,
    };
    return kTable;
}
