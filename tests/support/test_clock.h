#ifndef QUORVEX_TESTS_TEST_CLOCK_H
#define QUORVEX_TESTS_TEST_CLOCK_H

// A clock that moves only when told. It is in use as long as the object lives, and starts at 0 s.
// A delay returns at once with the clock moved on by its length; a breath yields to other threads.

#include "platform/clock.h"

#include <functional>
#include <vector>

class TestClock
{
public:
    TestClock();
    ~TestClock();
    TestClock(const TestClock &) = delete;
    TestClock &operator=(const TestClock &) = delete;

    void Advance(double seconds);
    double Now() const;

    void SetLocalTime(
        const ZVK_LocalTime &time);        // at the start 12:34:56 on 7/8/2024, the month first
    void SetUnixSeconds(int64_t seconds);  // at the start 1720442096

    std::vector<double> Delays() const;  // the lengths, in their order
    int64_t Breaths() const;

    // Called at each breath and each delay, on the thread that waits: lets a test with one thread
    // play the other one.
    void OnWait(std::function<void()> call);
};

#endif
