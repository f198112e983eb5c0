#ifndef QUORVEX_TESTS_CARD_FIXTURE_H
#define QUORVEX_TESTS_CARD_FIXTURE_H

// A virtual DAQ card as after its first use, in manual pace: time moves by ZVC_Advance alone.

#include "quorvex-virtual/daq.h"
#include "quorvex-virtual/daqmx_calls.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class CardFixture : public testing::Test
{
protected:
    CardFixture()
    {
        ZVC_Reset();
        (void)ZVC_SetPace(ZVC_PACE_MANUAL);
    }

    ~CardFixture() override { ZVC_Reset(); }
};

// An output task with a sample clock, not written and not started.
struct StreamSettings
{
    const char *channels = "Dev1/ao0";
    uint32_t samples = 100;  // of the buffer
    double rate = 1000.0;    // Hz
    bool regenerates = false;
};

ZVC_Task MakeStream(const StreamSettings &settings = {});

// Writes `count` samples a channel, sample i of channel c being from + i + 1000 c millivolts.
int32_t WriteSteps(ZVC_Task task, int32_t count, int32_t from = 0, double timeoutS = 10.0);

// What was written to an output, all of it, in millivolts.
std::vector<int> WrittenMillivolts(const char *channel);

std::string LastFailure();           // the extended text of this thread
std::string LogLine(int64_t index);  // of the call log; -1 is the last one
std::vector<std::string> WholeLog();
ZVC_TaskInfo InfoOf(ZVC_Task task);  // all zero when it isn't open

#endif
