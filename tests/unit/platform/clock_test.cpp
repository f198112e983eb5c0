// The real clock as far as it can be told without waiting, and the test clock.

#include "platform/clock.h"

#include "test_clock.h"

#include <cmath>
#include <ctime>
#include <limits>

TEST(RealClock, TimerNeverRunsBackwards)
{
    double last = Clock().timer();
    EXPECT_GE(last, 0.0);
    for (int i = 0; i < 1000; ++i) {
        const double now = Clock().timer();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(RealClock, DelayAndBreathMoveTheTimerOn)
{
    const double start = Clock().timer();
    Clock().delay(0.002);
    const double behindDelay = Clock().timer();
    Clock().breathe();
    EXPECT_GE(behindDelay - start, 0.002);
    EXPECT_GE(Clock().timer() - behindDelay, 0.001);
}

TEST(RealClock, DelayOfNothingOrLessReturns)
{
    Clock().delay(0.0);
    Clock().delay(-5.0);
    Clock().delay(-std::numeric_limits<double>::infinity());
    Clock().delay(std::nan(""));
}

TEST(RealClock, LocalTimeIsThatOfTheMachineWithTheFullYear)
{
    // The second may change between the two readings, so one of two has to fit.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::time_t before = std::time(nullptr);
        const ZVK_LocalTime time = Clock().localTime();
        if (before != std::time(nullptr)) continue;
        std::tm parts{};
        localtime_r(&before, &parts);
        EXPECT_EQ(time.hours, parts.tm_hour);
        EXPECT_EQ(time.minutes, parts.tm_min);
        EXPECT_EQ(time.seconds, parts.tm_sec);
        EXPECT_EQ(time.month, parts.tm_mon + 1);
        EXPECT_EQ(time.day, parts.tm_mday);
        EXPECT_EQ(time.year, parts.tm_year + 1900);
        EXPECT_GE(Clock().unixSeconds(), before);
        return;
    }
    FAIL() << "two changes of the second in a row";
}

TEST(TestClock_, StandsStillUntilTold)
{
    TestClock clock;
    EXPECT_EQ(Clock().timer(), 0.0);
    EXPECT_EQ(Clock().timer(), 0.0);
    clock.Advance(1.5);
    EXPECT_EQ(Clock().timer(), 1.5);
}

TEST(TestClock_, DelayMovesItOnAndIsKept)
{
    TestClock clock;
    Clock().delay(0.25);
    Clock().delay(2.0);
    EXPECT_EQ(clock.Delays(), (std::vector<double>{0.25, 2.0}));
    EXPECT_EQ(Clock().timer(), 2.25);
}

TEST(TestClock_, BreathsAreCountedAndDoNotMoveIt)
{
    TestClock clock;
    int calls = 0;
    clock.OnWait([&] { ++calls; });
    Clock().breathe();
    Clock().breathe();
    EXPECT_EQ(clock.Breaths(), 2);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(clock.Now(), 0.0);
}

TEST(TestClock_, GivesTheDateItWasTold)
{
    TestClock clock;
    clock.SetLocalTime({1, 2, 3, 4, 5, 2006});
    clock.SetUnixSeconds(42);
    EXPECT_EQ(Clock().localTime().year, 2006);
    EXPECT_EQ(Clock().localTime().month, 4);
    EXPECT_EQ(Clock().unixSeconds(), 42);
}
