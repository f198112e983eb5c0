// Analog inputs of the virtual card: reads, sources, triggers.

#include "card_fixture.h"

#include <cmath>
#include <thread>

using DaqCardInput = CardFixture;

constexpr double kTwoPi = 6.283185307179586;

TEST_F(DaqCardInput, AReadWaitsForItsWholeCount)
{
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 1.0, 0.5), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 100);
    std::vector<double> volts;
    std::thread reader([&] { volts = ReadSamples(task, 10); });  // the read starts the task
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(0.009), ZVC_OK);
    EXPECT_EQ(ZVC_CountWaiting(), 1);
    EXPECT_EQ(ZVC_Advance(0.001), ZVC_OK);
    reader.join();
    ASSERT_EQ(volts.size(), 10U);
    EXPECT_EQ(volts[0], 1.0);
    EXPECT_EQ(volts[9], 5.5);
    EXPECT_EQ(InfoOf(task).taken, 10U);
}

TEST_F(DaqCardInput, ATimeOutDeliversWhatHasCome)
{
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 0.0, 1.0), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 100);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    std::vector<double> volts;
    std::thread reader([&] { volts = ReadSamples(task, 50, -200284, 0.02); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(0.02), ZVC_OK);
    reader.join();
    EXPECT_EQ(volts.size(), 20U);
    EXPECT_EQ(LogLine(-1), "DAQmxReadAnalogF64(t1, 50, 0.02, 0, 50) = -200284, 20 samples");

    ASSERT_EQ(ZVC_Advance(0.03), ZVC_OK);
    volts = ReadSamples(task, 30);
    EXPECT_EQ(volts[0], 20.0);  // nothing is lost or given twice
}

TEST_F(DaqCardInput, ATimeOutOfZeroIsOneTry)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 100);
    EXPECT_TRUE(ReadSamples(task, 10, -200284, 0.0).empty());  // has started the task
    ASSERT_EQ(ZVC_Advance(0.004), ZVC_OK);
    EXPECT_EQ(ReadSamples(task, 10, -200284, 0.0).size(), 4U);
    ASSERT_EQ(ZVC_Advance(0.010), ZVC_OK);
    EXPECT_EQ(ReadSamples(task, 10, 0, 0.0).size(), 10U);
}

TEST_F(DaqCardInput, ATimeOutOfMinusOneIsForEver)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 10, 1e-3);
    std::thread reader([&] { EXPECT_EQ(ReadSamples(task, 10, 0, -1.0).size(), 10U); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(10000.0), ZVC_OK);
    reader.join();
}

TEST_F(DaqCardInput, SamplesComeByChannelOrByScan)
{
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 0.0, 1.0), ZVC_OK);
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai1", 100.0, 1.0), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0:1", 100);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);
    EXPECT_EQ(ReadSamples(task, 3, 0, 0.0, kByChannel),
              (std::vector<double>{0.0, 1.0, 2.0, 100.0, 101.0, 102.0}));
    EXPECT_EQ(ReadSamples(task, 3, 0, 0.0, kByScan),
              (std::vector<double>{3.0, 103.0, 4.0, 104.0, 5.0, 105.0}));
}

TEST_F(DaqCardInput, ReadsOfManySamplesAreWhole)
{
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 0.0, 1.0), ZVC_OK);
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai1", -1.0, -1.0), ZVC_OK);
    for (const int32_t layout : {kByChannel, kByScan}) {
        ZVC_Task task = MakeInput("Dev1/ai0:1", 20000, 20000.0);
        ASSERT_EQ(DAQmxStartTask(task), 0);
        ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
        const std::vector<double> volts = ReadSamples(task, 10001, 0, 0.0, layout);
        ASSERT_EQ(volts.size(), 20002U);
        for (size_t i = 0; i < 10001; ++i) {
            const double expected = static_cast<double>(i);
            ASSERT_EQ(volts[layout == kByScan ? 2 * i : i], expected);
            ASSERT_EQ(volts[layout == kByScan ? 2 * i + 1 : 10001 + i], -1.0 - expected);
        }
        ASSERT_EQ(DAQmxClearTask(task), 0);
    }
}

TEST_F(DaqCardInput, AReadPastTheEndDeliversTheRest)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 15);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    EXPECT_EQ(ReadSamples(task, 10).size(), 10U);
    EXPECT_EQ(ReadSamples(task, 10, -200278).size(), 5U);
    EXPECT_TRUE(ReadSamples(task, 10, -200278).empty());
}

TEST_F(DaqCardInput, AllMeansWhatThereIsOrTheWholeFiniteRun)
{
    std::vector<double> volts(100);
    int32_t read = -1;
    ZVC_Task running = MakeInput("Dev1/ai0", 100, 1000.0, kContinuous);
    ASSERT_EQ(DAQmxStartTask(running), 0);
    ASSERT_EQ(ZVC_Advance(0.042), ZVC_OK);
    EXPECT_EQ(DAQmxReadAnalogF64(running, -1, 10.0, 0, volts.data(), 100, &read, nullptr), 0);
    EXPECT_EQ(read, 42);
    EXPECT_EQ(DAQmxReadAnalogF64(running, -1, 10.0, 0, volts.data(), 100, &read, nullptr), 0);
    EXPECT_EQ(read, 0);

    ZVC_Task finite = MakeInput("Dev2/ai0", 100);
    ASSERT_EQ(DAQmxStartTask(finite), 0);
    EXPECT_EQ(DAQmxReadAnalogF64(finite, -1, 0.0, 0, volts.data(), 100, &read, nullptr), -200284);
    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);
    EXPECT_EQ(DAQmxReadAnalogF64(finite, -1, 0.0, 0, volts.data(), 99, &read, nullptr), -200229);
    EXPECT_EQ(DAQmxReadAnalogF64(finite, -1, 0.0, 0, volts.data(), 100, &read, nullptr), 0);
    EXPECT_EQ(read, 100);
}

TEST_F(DaqCardInput, OddArgumentsOfAReadHarmNothing)
{
    ZVC_Task task = MakeInput("Dev1/ai0:1", 100);
    double volts[4] = {7.0, 7.0, 7.0, 7.0};
    int32_t read = 7;
    EXPECT_EQ(DAQmxReadAnalogF64(task, 3, 1.0, 0, volts, 4, &read, nullptr), -200229);
    EXPECT_EQ(read, 0);
    EXPECT_EQ(DAQmxReadAnalogF64(task, -2, 1.0, 0, volts, 4, &read, nullptr), -200077);
    EXPECT_EQ(DAQmxReadAnalogF64(task, 1, 1.0, 2, volts, 4, &read, nullptr), -200077);
    EXPECT_EQ(DAQmxReadAnalogF64(task, 1, 1.0, 0, nullptr, 4, &read, nullptr), -200604);
    EXPECT_EQ(volts[0], 7.0);
    EXPECT_EQ(InfoOf(task).state, ZVC_IDLE);
    EXPECT_EQ(DAQmxReadAnalogF64(MakeStream(), 1, 1.0, 0, volts, 4, &read, nullptr), -200077);
    EXPECT_EQ(DAQmxReadAnalogF64(task, 0, 0.0, 0, volts, 4, nullptr, nullptr), 0);
}

TEST_F(DaqCardInput, AnInputThatIsNotReadInTimeIsOverrun)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 20000, 1000.0, kContinuous);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    EXPECT_EQ(InfoOf(task).bufferSize, 20000U);
    ASSERT_EQ(ZVC_Advance(20.0), ZVC_OK);
    EXPECT_EQ(ReadSamples(task, 1000).size(), 1000U);
    ASSERT_EQ(ZVC_Advance(1.001), ZVC_OK);
    EXPECT_TRUE(ReadSamples(task, 1000, -200279).empty());
    EXPECT_EQ(InfoOf(task).state, ZVC_FAILED);
    EXPECT_TRUE(ReadSamples(task, 1000, -200279).empty());

    EXPECT_EQ(DAQmxStopTask(task), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    EXPECT_EQ(ReadSamples(task, 1000).size(), 1000U);
}

TEST_F(DaqCardInput, ASmallContinuousBufferIsEnlargedByTheRate)
{
    const struct
    {
        double rate;
        uint32_t size;
    } rows[] = {{100.0, 1000}, {101.0, 10000}, {10000.0, 10000}, {10001.0, 100000}};
    for (const auto &row : rows) {
        ZVC_Task task = MakeInput("Dev1/ai0", 1000, row.rate, kContinuous);
        ASSERT_EQ(DAQmxStartTask(task), 0);
        EXPECT_EQ(InfoOf(task).bufferSize, row.size) << row.rate;
        ASSERT_EQ(DAQmxClearTask(task), 0);
    }
}

TEST_F(DaqCardInput, OnDemandAReadTakesTheValueOfNow)
{
    ZVC_Task task = MakeInput("Dev1/ai0");
    EXPECT_EQ(ReadSamples(task, 1), std::vector<double>{0.0});
    ASSERT_EQ(ZVC_SetConstant("dev1/AI0", 2.5), ZVC_OK);
    EXPECT_EQ(ReadSamples(task, 2), (std::vector<double>{2.5, 2.5}));
    EXPECT_EQ(InfoOf(task).state, ZVC_IDLE);  // and gives the converters back
    EXPECT_EQ(DAQmxStartTask(MakeInput("Dev1/ai1")), 0);
    EXPECT_TRUE(ReadSamples(task, 1, -50103).empty());
}

TEST_F(DaqCardInput, AReadByAStartedTaskLeavesItStarted)
{
    ZVC_Task task = MakeInput("Dev1/ai0");
    ASSERT_EQ(DAQmxStartTask(task), 0);
    EXPECT_EQ(ReadSamples(task, 1).size(), 1U);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
}

TEST_F(DaqCardInput, TheInnerInputsSeeTheOutputs)
{
    ZVC_Task output = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &output), 0);
    ASSERT_EQ(DAQmxCreateAOVoltageChan(output, "RWQS/ao1", "", -10.0, 10.0, kVolts, ""), 0);
    ASSERT_EQ(DAQmxWriteAnalogScalarF64(output, 1, 1.0, 4.25, nullptr), 0);
    EXPECT_EQ(ReadSamples(MakeInput("RWQS/_ao1_vs_aognd"), 1), std::vector<double>{4.25});
    EXPECT_EQ(ReadSamples(MakeInput("RWQS/_ao0_vs_aognd"), 1), std::vector<double>{0.0});
    EXPECT_EQ(ReadSamples(MakeInput("RWQS/_aognd_vs_aognd"), 1), std::vector<double>{0.0});
}

TEST_F(DaqCardInput, AnInnerInputFollowsAClockedOutputSampleBySample)
{
    (void)StartStream({.samples = 4, .regenerates = true});
    ZVC_Task input = MakeInput("Dev1/_ao0_vs_aognd", 100);
    ASSERT_EQ(DAQmxStartTask(input), 0);
    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);
    const std::vector<double> volts = ReadSamples(input, 100);
    for (size_t i = 0; i < volts.size(); ++i)
        ASSERT_DOUBLE_EQ(volts[i], static_cast<double>(i % 4) * 1e-3) << i;
}

TEST_F(DaqCardInput, ASineRunsInCardTime)
{
    ASSERT_EQ(ZVC_SetSine("Dev1/ai0:1", 0.5, 2.0, 10.0, 0.25), ZVC_OK);
    ASSERT_EQ(ZVC_Advance(0.333), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai1", 1000);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    const std::vector<double> volts = ReadSamples(task, 1000);
    for (size_t i = 0; i < volts.size(); ++i) {
        const double timeS = 0.333 + static_cast<double>(i + 1) * 1e-3;
        ASSERT_NEAR(volts[i], 0.5 + 2.0 * std::sin(kTwoPi * 10.0 * timeS + 0.25), 1e-9) << i;
    }
}

struct Asked
{
    std::vector<std::string> channels;
    std::vector<uint64_t> firsts;
    std::vector<uint32_t> counts;
    std::vector<double> starts;
    double rate = -1.0;
};

static void KeepAsked(const ZVC_Block *block, double *volts, void *data)
{
    auto &asked = *static_cast<Asked *>(data);
    asked.channels.emplace_back(block->channel);
    asked.firsts.push_back(block->firstSample);
    asked.counts.push_back(block->count);
    asked.starts.push_back(block->startS);
    asked.rate = block->rate;
    for (uint32_t i = 0; i < block->count; ++i)
        volts[i] = ZVC_Now();  // the controls may be called here
}

TEST_F(DaqCardInput, ASourceIsAskedForEachSampleOnceAndInOrder)
{
    Asked asked;
    ASSERT_EQ(ZVC_SetSource("Dev1/ai0:1", KeepAsked, &asked), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0:1", 100);
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);
    EXPECT_DOUBLE_EQ(ReadSamples(task, 40)[0], 1.1);
    (void)ReadSamples(task, 60, 0, 1.0, kByScan);

    EXPECT_EQ(asked.channels,
              (std::vector<std::string>{"dev1/ai0", "dev1/ai1", "dev1/ai0", "dev1/ai1"}));
    EXPECT_EQ(asked.firsts, (std::vector<uint64_t>{0, 0, 40, 40}));
    EXPECT_EQ(asked.counts, (std::vector<uint32_t>{40, 40, 60, 60}));
    EXPECT_DOUBLE_EQ(asked.starts[0], 1.001);
    EXPECT_DOUBLE_EQ(asked.starts[2], 1.041);
    EXPECT_EQ(asked.rate, 1000.0);

    ASSERT_EQ(DAQmxClearTask(task), 0);
    (void)ReadSamples(MakeInput("Dev1/ai0"), 1);
    EXPECT_EQ(asked.rate, 0.0);  // on demand
    ASSERT_EQ(ZVC_SetSource("Dev1/ai0:1", nullptr, nullptr), ZVC_OK);
    EXPECT_EQ(ReadSamples(MakeInput("Dev1/ai0"), 1), std::vector<double>{0.0});
    EXPECT_EQ(ZVC_SetSource("Dev1/ao0", KeepAsked, &asked), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_SetConstant(nullptr, 1.0), ZVC_BAD_ARGUMENT);
}

struct SlowSource
{
    Gate entered;
    Gate mayLeave;
    bool inside = false;
};

static void FillSlowly(const ZVC_Block *block, double *volts, void *data)
{
    auto &source = *static_cast<SlowSource *>(data);
    source.inside = true;
    source.entered.Open();
    source.mayLeave.Pass();
    for (uint32_t i = 0; i < block->count; ++i)
        volts[i] = 1.0;
    source.inside = false;
}

TEST_F(DaqCardInput, ASourceThatIsReplacedIsNoLongerInside)
{
    SlowSource source;
    ASSERT_EQ(ZVC_SetSource("Dev1/ai0", FillSlowly, &source), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0");
    std::thread reader([&] { EXPECT_EQ(ReadSamples(task, 1), std::vector<double>{1.0}); });
    source.entered.Pass();
    std::thread opener([&] { source.mayLeave.Open(); });

    ASSERT_EQ(ZVC_SetConstant("Dev1/ai0", 2.0), ZVC_OK);

    EXPECT_FALSE(source.inside);
    opener.join();
    reader.join();
    EXPECT_EQ(ReadSamples(task, 1), std::vector<double>{2.0});
}

TEST_F(DaqCardInput, ATaskMayBeClearedWhileASourceFills)
{
    SlowSource source;
    ASSERT_EQ(ZVC_SetSource("Dev1/ai0", FillSlowly, &source), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0");
    double volts = 0.0;
    int32_t result = -1;
    std::thread reader(
        [&] { result = DAQmxReadAnalogF64(task, 1, 1.0, 0, &volts, 1, nullptr, nullptr); });
    source.entered.Pass();
    EXPECT_EQ(DAQmxClearTask(task), 0);
    source.mayLeave.Open();
    reader.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(volts, 1.0);
    EXPECT_EQ(DAQmxStartTask(MakeInput("Dev1/ai0")), 0);  // nothing is left reserved
}

static ZVC_Task MakeTriggered(const char *terminal = "/Dev1/PFI0", int32_t edge = kRising)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 10);
    EXPECT_EQ(DAQmxCfgDigEdgeStartTrig(task, terminal, edge), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
    return task;
}

TEST_F(DaqCardInput, ATriggeredTaskWaitsForItsEdge)
{
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 0.0, 1.0), ZVC_OK);
    ZVC_Task task = MakeTriggered();
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    EXPECT_EQ(InfoOf(task).state, ZVC_ARMED);
    EXPECT_TRUE(ReadSamples(task, 10, -200284, 0.0).empty());

    EXPECT_EQ(ZVC_FireTrigger("/Dev1/PFI1"), 0);
    EXPECT_EQ(ZVC_FireTrigger("Dev2/pfi0"), 0);
    EXPECT_EQ(ZVC_FireTrigger("dev1/pfi0"), 1);
    EXPECT_EQ(ZVC_FireTrigger(nullptr), 0);  // it runs already

    ASSERT_EQ(ZVC_Advance(0.01), ZVC_OK);
    const std::vector<double> volts = ReadSamples(task, 10);
    EXPECT_EQ(volts[0], 0.0);
    EXPECT_EQ(volts[9], 9.0);
}

TEST_F(DaqCardInput, AReadThatWaitsForATriggerEndsWithIt)
{
    ZVC_Task task = MakeTriggered("PFI0");
    std::thread reader([&] { EXPECT_EQ(ReadSamples(task, 10, 0, -1.0).size(), 10U); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);
    ASSERT_EQ(ZVC_Advance(100.0), ZVC_OK);
    EXPECT_EQ(ZVC_CountWaiting(), 1);
    EXPECT_EQ(ZVC_FireTrigger("/Dev1/PFI0"), 1);  // a terminal without device is on any
    ASSERT_EQ(ZVC_Advance(0.01), ZVC_OK);
    reader.join();
}

TEST_F(DaqCardInput, EdgesMayComeByThemselves)
{
    ASSERT_EQ(ZVC_SetTriggerPeriod("/Dev1/PFI0", 0.1, 0.5), ZVC_OK);
    Asked asked;
    ASSERT_EQ(ZVC_SetSource("Dev1/ai0", KeepAsked, &asked), ZVC_OK);
    ASSERT_EQ(ZVC_Advance(0.2), ZVC_OK);
    ZVC_Task rising = MakeTriggered("/Dev1/PFI0", kRising);
    ASSERT_EQ(ZVC_Advance(0.5), ZVC_OK);
    EXPECT_EQ(ReadSamples(rising, 10).size(), 10U);
    EXPECT_DOUBLE_EQ(asked.starts[0], 0.601);
    ASSERT_EQ(DAQmxClearTask(rising), 0);

    ZVC_Task falling = MakeTriggered("/Dev1/PFI0", kFalling);  // now is 0.7
    ASSERT_EQ(ZVC_Advance(0.2), ZVC_OK);
    EXPECT_EQ(ReadSamples(falling, 10).size(), 10U);
    EXPECT_DOUBLE_EQ(asked.starts[1], 0.851);
    ASSERT_EQ(DAQmxClearTask(falling), 0);

    ZVC_Task waiting = MakeTriggered();
    ASSERT_EQ(ZVC_SetTriggerPeriod("/Dev1/PFI0", 0.0, 0.0), ZVC_OK);
    ASSERT_EQ(ZVC_Advance(10.0), ZVC_OK);
    EXPECT_EQ(InfoOf(waiting).state, ZVC_ARMED);
    EXPECT_EQ(ZVC_SetTriggerPeriod("nowhere", 0.0, 1.0), ZVC_BAD_ARGUMENT);
}

TEST_F(DaqCardInput, WithoutATriggerTheTaskStartsAtOnceAgain)
{
    ZVC_Task task = MakeInput("Dev1/ai0", 10);
    ASSERT_EQ(DAQmxCfgDigEdgeStartTrig(task, "PFI0", kRising), 0);
    ASSERT_EQ(DAQmxSetTrigAttribute(task, kAttributeStartTrigger, kNoTrigger), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
}

TEST_F(DaqCardInput, AnOutputMayHaveATriggerToo)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxCfgDigEdgeStartTrig(task, "PFI0", kRising), 0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 0U);
    EXPECT_EQ(ZVC_FireTrigger("PFI0"), 1);
    ASSERT_EQ(ZVC_Advance(0.01), ZVC_OK);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 10U);
}
