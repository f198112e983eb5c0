#ifndef QUORVEX_TESTS_TEST_TIMERS_H
#define QUORVEX_TESTS_TEST_TIMERS_H

// Timers and pool functions that run when the test says so, on the thread that says it. In use as
// long as the object lives.

#include "platform/threads.h"

#include <vector>

class TestTimers
{
public:
    TestTimers();
    ~TestTimers();
    TestTimers(const TestTimers &) = delete;
    TestTimers &operator=(const TestTimers &) = delete;

    void Tick(int timerId, int times = 1);  // nothing when there is no such timer
    std::vector<int> Timers() const;        // those that run, the oldest first
    double Interval(int timerId) const;     // 0.0 when there is no such timer

    // Runs a scheduled function that has not run yet; both waits of Threads() run it as well.
    void Run(int functionId);
    std::vector<int> Scheduled() const;  // those that have not run
    std::vector<int> Held() const;       // ids that were not released

    // The answer of the next startTimer or schedule, which then does nothing.
    void FailNextStart(int code);
};

#endif
