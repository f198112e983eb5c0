// Analog outputs with a sample clock and without.

#include "card_fixture.h"

#include <numeric>
#include <thread>

using DaqCardOutput = CardFixture;

static std::vector<int> Steps(int from, int count)
{
    std::vector<int> steps(static_cast<size_t>(count));
    std::iota(steps.begin(), steps.end(), from);
    return steps;
}

TEST_F(DaqCardOutput, PlaysWhatWasWrittenAtTheSampleClock)
{
    ZVC_Task task = MakeStream({.channels = "Dev1/ao0:3"});
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 0U);

    ASSERT_EQ(ZVC_Advance(0.030), ZVC_OK);

    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 30U);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.029);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("/dev1/AO3"), 3.029);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 0.030);
    EXPECT_EQ(WrittenMillivolts("Dev1/ao2"), Steps(2000, 100));
}

TEST_F(DaqCardOutput, AWriteThatFindsNoRoomWaitsForIt)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    int32_t result = -1;
    std::thread writer([&] { result = WriteSteps(task, 100, 100); });
    ASSERT_EQ(ZVC_AwaitWaiting(1, 10.0), ZVC_OK);

    EXPECT_EQ(ZVC_Advance(0.099), ZVC_OK);
    EXPECT_EQ(ZVC_CountWaiting(), 1);
    EXPECT_EQ(ZVC_Advance(0.001), ZVC_OK);
    writer.join();

    EXPECT_EQ(result, 0);
    EXPECT_EQ(WrittenMillivolts("Dev1/ao0"), Steps(0, 200));
}

TEST_F(DaqCardOutput, AWriteThatIsTooLateTellsHowMuchFoundRoom)
{
    ZVC_Task task = MakeStream();
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 20), ZVC_OK);
    const std::vector<double> block(100, 1.0);
    int32_t written = -1;

    EXPECT_EQ(DAQmxWriteAnalogF64(task, 100, 0, 0.0, 0, block.data(), &written, nullptr), -200292);

    EXPECT_EQ(written, 20);
    EXPECT_EQ(LogLine(-1), "DAQmxWriteAnalogF64(t1, 100, 0, 0, 0) = -200292, 20 samples");
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 120U);
}
