#ifndef QUORVEX_TESTS_CARD_FIXTURE_H
#define QUORVEX_TESTS_CARD_FIXTURE_H

// A virtual DAQ card as after its first use, in manual pace: time moves by ZVC_Advance alone.

#include "quorvex-virtual/daq.h"
#include "quorvex-virtual/daqmx_calls.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

// The card vendor's values.
enum : int32_t
{
    kVolts = 10348,
    kRising = 10280,
    kFalling = 10171,
    kContinuous = 10123,
    kFinite = 10178,
    kDifferential = 10106,
    kByChannel = 0,
    kByScan = 1,
    kAcquired = 1,
    kTransferred = 2,
    kForAllLines = 1,
    kAttributeRegeneration = 0x1453,
    kRegeneration = 10097,
    kNoRegeneration = 10158,
    kAttributeRelativeTo = 0x190C,
    kFromFirstSample = 10424,
    kFromCurrentPosition = 10430,
    kAttributeTransferCondition = 0x183C,
    kMemoryEmpty = 10235,
    kAttributeUsbRequestSize = 0x2A8F,
    kAttributeSampleRate = 0x1344,
    kAttributeStartTrigger = 0x1393,
    kNoTrigger = 10230
};

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

// The same, with a first block written and started.
ZVC_Task StartStream(const StreamSettings &settings = {});

// An input task, not started; finite or continuous with `samples`, on demand when they are 0.
ZVC_Task MakeInput(const char *channels = "Dev1/ai0", uint64_t samples = 0, double rate = 1000.0,
                   int32_t mode = kFinite);

ZVC_Task MakeLines(const char *lines = "Dev1/port0/line0:7");  // started

// Writes `count` samples a channel, sample i of channel c being from + i + 1000 c millivolts.
int32_t WriteSteps(ZVC_Task task, int32_t count, int32_t from = 0, double timeoutS = 10.0);

// What was written to an output, all of it, in millivolts.
std::vector<int> WrittenMillivolts(const char *channel);

// Reads `count` samples a channel; fewer when the call gave fewer.
std::vector<double> ReadSamples(ZVC_Task task, int32_t count, int32_t expectedResult = 0,
                                double timeoutS = 10.0, int32_t layout = kByChannel);

// Holds back a thread until another one lets it go on.
class Gate
{
public:
    void Open();
    void Pass();  // waits until it is open
    bool PassWithin(double wallSeconds);

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    bool m_open = false;
};

std::string LastFailure();           // the extended text of this thread
std::string LogLine(int64_t index);  // of the call log; -1 is the last one
std::vector<std::string> WholeLog();
ZVC_TaskInfo InfoOf(ZVC_Task task);  // all zero when it isn't open

#endif
