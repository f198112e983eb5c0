#include "force_fixture.h"

#include "failing_memory.h"
#include "platform/daqmx.h"
#include "platform/memory.h"

#include <cmath>
#include <cstdlib>
#include <numeric>
#include <thread>

using ForceAcquire = ForceTest;
using Calls = std::vector<std::string>;

static std::vector<double> Ramp(int64_t count)
{
    std::vector<double> values(count);
    std::iota(values.begin(), values.end(), 0.0);
    return values;
}

TEST_F(ForceAcquire, MakesATaskReadsPiecesOfThousandAndClearsIt)
{
    BringUp();
    card->SupplySamples(Ramp(6000));
    HandedBlock data;
    int32_t channels = 0;
    EXPECT_EQ(ZVK_Force_Acquire(0, 50000.0, 2000, 2.5, &data, 1, &channels), 0);
    EXPECT_EQ(
        card->Calls(),
        (Calls{"createTask(t2, \"ForceTask\")",
               "createAIVoltageChan(t2, \"/Dev2/ai0:2\", \"\", 10106, -10, 10, 10348, null)",
               "getSampClkMaxRate(t2)", "cfgSampClkTiming(t2, \"\", 50000, 10280, 10178, 2000)",
               "setTrigAttribute(t2, 0x1393, 10230)", "readAnalogF64(t2, 1000, 2.5, 1, 3000)",
               "readAnalogF64(t2, 1000, 2.5, 1, 3000)", "stopTask(t2)", "clearTask(t2)"}));
    EXPECT_EQ(channels, 3);
    EXPECT_EQ(data.Values(6000), Ramp(6000)) << "scan by scan, as they came";
    EXPECT_EQ(g_force.Busy, 0);
    EXPECT_EQ(g_force.TaskHandle, nullptr);
    std::free(data.data);  // it comes from malloc
    data.data = nullptr;
}

TEST_F(ForceAcquire, TheMaskNamesChannelsAlwaysInTheSameOrder)
{
    const struct
    {
        int32_t mask;
        const char *list;
        int32_t channels;
    } rows[] = {{1, "/Dev2/ai0:2", 3},
                {2, "/Dev2/ai4:6", 3},
                {3, "/Dev2/ai0:2,/Dev2/ai4:6", 6},
                {4, "/Dev2/ai3", 1},
                {5, "/Dev2/ai0:2,/Dev2/ai3", 4},
                {6, "/Dev2/ai4:6,/Dev2/ai3", 4},
                {7, "/Dev2/ai0:2,/Dev2/ai4:6,/Dev2/ai3", 7}};
    BringUp();
    for (const auto &row : rows) {
        HandedBlock data;
        int32_t channels = 0;
        EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, row.mask, &channels), 0);
        EXPECT_STREQ(g_force.ChannelList, row.list);
        EXPECT_EQ(channels, row.channels) << row.mask;
    }
}

TEST_F(ForceAcquire, ChecksBusyFirstThenInitThenTheSamples)
{
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 5, 1.0, &data, 9, nullptr), ZVK_FORCE_NOT_INITIALIZED);
    BringUp();
    g_force.Busy = 1;
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 5, 1.0, &data, 9, nullptr), ZVK_FORCE_BUSY);
    g_force.Busy = 0;
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 5, 1.0, &data, 9, nullptr), ZVK_FORCE_TOO_FEW_SAMPLES);
    g_force.Busy = 0;
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, -5, 1.0, &data, 9, nullptr), ZVK_FORCE_TOO_FEW_SAMPLES)
        << "the status for less than one sample is out of reach";
    g_force.Busy = 0;
    EXPECT_EQ(ZVK_Force_Acquire(0, -7.0, 1000, 1.0, &data, 9, nullptr), ZVK_FORCE_BAD_CHANNELS);
    EXPECT_EQ(g_force.Busy, 0);
    EXPECT_TRUE(card->Calls().empty());
    EXPECT_EQ(data.data, nullptr);
}

TEST_F(ForceAcquire, NotInitializedAndTooFewSamplesLeaveTheModuleBusy)
{
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 1000, 1.0, &data, 1, nullptr), ZVK_FORCE_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 1000, 1.0, &data, 1, nullptr), ZVK_FORCE_BUSY);
    ResetForce();
    BringUp();
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 999, 1.0, &data, 1, nullptr), ZVK_FORCE_TOO_FEW_SAMPLES);
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 1000, 1.0, &data, 1, nullptr), ZVK_FORCE_BUSY);
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 1000, 1.0, &data, 1, nullptr), ZVK_FORCE_BUSY)
        << "every later one";
}

TEST_F(ForceAcquire, TheMasksAtBothEndsAreRefusedAndLeaveItIdle)
{
    BringUp();
    for (const int32_t mask : {0, 8, -1}) {
        HandedBlock data;
        EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, mask, nullptr),
                  ZVK_FORCE_BAD_CHANNELS);
        EXPECT_EQ(g_force.Busy, 0);
    }
}

TEST_F(ForceAcquire, MinusOneWithinATenThousandthAsksForTheFastestRate)
{
    BringUp();
    card->SetMaxRate(123456.0);
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.00005, 1000, 1.0, &data, 4, nullptr), 0);
    EXPECT_EQ(card->Calls()[3], "cfgSampClkTiming(t2, \"\", 123456, 10280, 10178, 1000)");
}

TEST_F(ForceAcquire, ARateOutOfRangeLeavesItBusyWithTheTaskOpenUntilAStop)
{
    BringUp();
    card->SetMaxRate(1000.0);
    for (const double rate : {-2.0, -0.5, 1000.5}) {
        HandedBlock data;
        int32_t channels = 55;
        EXPECT_EQ(ZVK_Force_Acquire(0, rate, 1000, 1.0, &data, 4, &channels),
                  ZVK_FORCE_BAD_SAMPLE_RATE);
        EXPECT_EQ(channels, 55);
        EXPECT_EQ(g_force.Busy, 1);
        EXPECT_EQ(card->OpenTasks(), 1);
        EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_BUSY);
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
        EXPECT_EQ(card->OpenTasks(), 0);
        EXPECT_EQ(g_force.Busy, 0);
    }
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, 0.0, 1000, 1.0, &data, 4, nullptr), 0) << "0 is in range";
}

TEST_F(ForceAcquire, ATriggerThatFailsIsReturnedWithTheTaskLeftOpen)
{
    BringUp();
    g_force.TriggerType = 3;
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_BAD_TRIGGER_TYPE);
    EXPECT_EQ(g_force.Busy, 1);
    EXPECT_EQ(card->OpenTasks(), 1);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);

    g_force.TriggerType = 4;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), 0);
    const Calls calls = card->Calls();
    EXPECT_EQ(calls[calls.size() - 4], "cfgDigEdgeStartTrig(t3, \"/Dev2/PFI1\", 10280)")
        << "behind the clock and before the first read";
}

TEST_F(ForceAcquire, FurtherFromMinusOneIsOutOfRange)
{
    for (const double rate : {-1.0002, -0.9998}) {
        ResetForce();
        BringUp();
        HandedBlock data;
        EXPECT_EQ(ZVK_Force_Acquire(0, rate, 1000, 1.0, &data, 4, nullptr),
                  ZVK_FORCE_BAD_SAMPLE_RATE);
    }
}

TEST_F(ForceAcquire, ATimeOutOfZeroIsOneTry)
{
    BringUp();
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 0.0, &data, 4, nullptr), 0);
    EXPECT_EQ(card->Calls()[5], "readAnalogF64(t2, 1000, 0, 1, 1000)");
}

// Fails every second read.
static int s_readsSoFar;
static const ZVK_DaqTable *s_behind;

static int32_t ReadEverySecondTime(ZVK_DaqTask task, int32_t samples, double timeoutS,
                                   uint32_t layout, double *out, uint32_t room, int32_t *read,
                                   uint32_t *reserved)
{
    if (s_readsSoFar++ % 2 == 0) {
        *read = 0;
        return -50103;
    }
    return s_behind->readAnalogF64(task, samples, timeoutS, layout, out, room, read, reserved);
}

TEST_F(ForceAcquire, OnlyReadsInARowThatGiveNothingCountAsACardThatIsGone)
{
    BringUp();
    card->SupplySamples(Ramp(20000));
    s_readsSoFar = 0;
    s_behind = &Daq();
    ZVK_DaqTable table = *s_behind;
    table.readAnalogF64 = ReadEverySecondTime;
    UseDaq(&table);
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 20000, 1.0, &data, 4, nullptr), 0);
    EXPECT_EQ(data.Values(20000), Ramp(20000));
    EXPECT_EQ(s_readsSoFar, 40);

    s_readsSoFar = 0;
    card->SupplySamples(Ramp(20000));
    int32_t channels = 0;
    ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, 2, 10000, 1.0, 4, &channels), 0);
    while (LoadShared(g_force.ThreadOwed) != 0)  // up to the overrun
        std::this_thread::yield();
    EXPECT_EQ(messages->Posts().size(), 2U);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    UseDaq(s_behind);
}

TEST_F(ForceAcquire, ANegativeTimeOutWaitsForEver)
{
    BringUp();
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, -3.5, &data, 4, nullptr), 0);
    EXPECT_EQ(card->Calls()[5], "readAnalogF64(t2, 1000, -1, 1, 1000)");
}

TEST_F(ForceAcquire, ATimeOutKeepsWhatCameBeforeAndEndsTheTask)
{
    BringUp();
    card->SupplySamples(Ramp(3000));
    card->FailCall("readAnalogF64", 2, -200284);
    HandedBlock data;
    int32_t channels = 0;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 3000, 1.0, &data, 4, &channels), ZVK_FORCE_NO_TRIGGER);
    std::vector<double> expected = Ramp(1000);
    expected.resize(3000, 0.0);
    EXPECT_EQ(data.Values(3000), expected) << "nothing of the read that timed out";
    EXPECT_EQ(channels, 1);
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_EQ(g_force.Busy, 0);
}

TEST_F(ForceAcquire, AnotherRefusalOfAReadIsPassedOver)
{
    BringUp();
    card->SupplySamples(Ramp(2000));
    card->FailCall("readAnalogF64", 1, -200279);
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 2000, 1.0, &data, 4, nullptr), 0);
    EXPECT_EQ(data.Values(2000), Ramp(2000));
}

TEST_F(ForceAcquire, ACardThatIsGoneEndsItInsteadOfHangingIt)
{
    BringUp();
    card->FailCall("createTask", 1);  // each later call meets a task that isn't there
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_NO_TRIGGER);
    EXPECT_EQ(g_force.Busy, 0);
    const Calls calls = card->Calls();
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const auto &call) { return call.starts_with("readAnalogF64"); }),
              10);
    EXPECT_GT(card->Misuses(), 0);
    card.emplace();
}

TEST_F(ForceAcquire, SamplesBeyondTheBlockAreDropped)
{
    BringUp();
    card->SupplySamples(Ramp(2000));
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1500, 1.0, &data, 4, nullptr), 0);
    EXPECT_EQ(data.Values(1500), Ramp(1500));
}

TEST_F(ForceAcquire, EachOutsideCallMayFailOnceWithoutALeakOrAHang)
{
    for (int nth = 1; nth <= 8; ++nth) {
        ResetForce();
        card.emplace();
        BringUp();
        card->FailAt(nth);
        HandedBlock data;
        (void)ZVK_Force_Acquire(0, 1000.0, 1000, 1.0, &data, 1, nullptr);
        EXPECT_TRUE(card->Failed()) << nth;
        (void)ZVK_Force_StopAcquireBuffered(0);
        EXPECT_EQ(card->OpenTasks(), 0) << nth;
        card.emplace();
    }
}

TEST_F(ForceAcquire, SimulatedGivesZeroVoltsOnceAndIsBusyAfterwards)
{
    folder.Write("config.ini", "[FORCE]\r\nMI = 1\r\nSIMULATE = 1\r\n");
    ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    HandedBlock data;
    int32_t channels = 55;
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 1000, 1.0, &data, 7, &channels), 0);
    EXPECT_EQ(data.Values(7000), std::vector<double>(7000, 0.0));
    EXPECT_EQ(channels, 55) << "unwritten";
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 1000, 1.0, &data, 7, nullptr), ZVK_FORCE_BUSY);
    EXPECT_TRUE(card->Calls().empty());
}

TEST_F(ForceAcquire, TheOldBlockIsFreedAndMissingMemoryIsAStatus)
{
    BringUp();
    FailingMemory memory;
    double *data = nullptr;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), 0);
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), 0);
    EXPECT_EQ(memory.Live(), 1) << "scratch and old block are gone";
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_NO_MEMORY);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(memory.Live(), 0);
    EXPECT_EQ(g_force.Busy, 0);
    memory.FailAt(2);
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_NO_MEMORY);
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_EQ(g_force.Busy, 0);
    std::free(data);
}

TEST_F(ForceAcquire, ARateThatIsNoNumberIsOutOfRange)
{
    BringUp();
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, std::nan(""), 1000, 1.0, &data, 4, nullptr),
              ZVK_FORCE_BAD_SAMPLE_RATE);
    EXPECT_EQ(card->Calls().size(), 3U) << "no clock is set";
}

TEST_F(ForceAcquire, WithoutAPlaceForTheBlockNothingIsAcquired)
{
    BringUp();
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, nullptr, 4, nullptr), ZVK_FORCE_NO_MEMORY);
    EXPECT_EQ(g_force.Busy, 0);
    EXPECT_TRUE(card->Calls().empty());
}

TEST_F(ForceAcquire, SamplesOfEveryKindComeAsTheyAre)
{
    BringUp();
    card->SupplySamples({std::nan(""), HUGE_VAL, -HUGE_VAL, 5e-324});
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), 0);
    EXPECT_TRUE(std::isnan(data.data[996]));
    EXPECT_EQ(data.data[997], HUGE_VAL);
    EXPECT_EQ(data.data[999], 5e-324);
}

TEST_F(ForceAcquire, WhileABufferedOneIsToStartItIsBusyAndRaisesNothing)
{
    BringUp();
    g_force.ThreadOwed = 1;
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 999, 1.0, &data, 4, nullptr), ZVK_FORCE_BUSY);
    EXPECT_EQ(g_force.Busy, 0);
    g_force.ThreadOwed = 0;
}

class ForceReshape : public ForceTest
{
protected:
    void SetUp() override
    {
        ForceTest::SetUp();
        g_force.Initialised = 1;
    }
};

TEST_F(ForceReshape, PutsScansChannelByChannel)
{
    double scans[] = {1, 10, 100, 2, 20, 200};
    HandedBlock planes;
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, scans, 2, 3, &planes), 0);
    EXPECT_EQ(planes.Values(6), (std::vector<double>{1, 2, 10, 20, 100, 200}));
    EXPECT_EQ(scans[1], 10.0);
}

TEST_F(ForceReshape, InPlaceItKeepsTheBlock)
{
    FailingMemory memory;
    auto *block = static_cast<double *>(std::calloc(6, sizeof(double)));
    for (int i = 0; i < 6; ++i)
        block[i] = i;
    double *same = block;
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, block, 3, 2, &same), 0);
    EXPECT_EQ(same, block);
    EXPECT_EQ(std::vector<double>(block, block + 6), (std::vector<double>{0, 2, 4, 1, 3, 5}));
    EXPECT_EQ(memory.Live(), 0) << "the copy is released";
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, block, 3, 2, &same), ZVK_FORCE_NO_MEMORY);
    EXPECT_EQ(block[1], 2.0) << "as it was";
    std::free(block);
}

TEST_F(ForceReshape, SlicesCopyEachSignalIntoItsOwnArray)
{
    const double planes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    HandedBlock c[7];
    const auto expectPlanes = [&](int count) {
        for (int k = 0; k < count; ++k) {
            EXPECT_EQ(c[k].Values(2), (std::vector<double>{2.0 * k + 1, 2.0 * k + 2})) << k;
            c[k].data[0] = -1.0;  // so that the next call has to write it
        }
    };
    EXPECT_EQ(ZVK_Force_Slice3(0, planes, 2, &c[0], &c[1], &c[2]), 0);
    expectPlanes(3);
    EXPECT_EQ(ZVK_Force_Slice4(0, planes, 2, &c[0], &c[1], &c[2], &c[3]), 0);
    expectPlanes(4);
    EXPECT_EQ(ZVK_Force_Slice6(0, planes, 2, &c[0], &c[1], &c[2], &c[3], &c[4], &c[5]), 0);
    expectPlanes(6);
    EXPECT_EQ(ZVK_Force_Slice7(0, planes, 2, &c[0], &c[1], &c[2], &c[3], &c[4], &c[5], &c[6]), 0);
    expectPlanes(7);
}

TEST_F(ForceReshape, TheBlockThatIsSplitMayBeOneOfTheOldArrays)
{
    FailingMemory memory;
    double *c[3] = {AllocateArray<double>(6), AllocateArray<double>(1), nullptr};
    std::iota(c[0], c[0] + 6, 1.0);
    EXPECT_EQ(ZVK_Force_Slice3(0, c[0], 2, &c[0], &c[1], &c[2]), 0);
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(c[k][0], 2.0 * k + 1);
        EXPECT_EQ(c[k][1], 2.0 * k + 2);
    }
    EXPECT_EQ(memory.Live(), 3) << "the old ones are released";
    for (double *&array : c)
        Release(array);
    double *both = nullptr;
    const double planes[] = {1, 2, 3};
    EXPECT_EQ(ZVK_Force_Slice3(0, planes, 1, &both, &both, nullptr), 0);
    EXPECT_EQ(both[0], 2.0) << "the later one stands";
    EXPECT_EQ(memory.Live(), 1);
    Release(both);
}

TEST_F(ForceReshape, TheOldResultIsReleased)
{
    FailingMemory memory;
    double scans[] = {1, 2};
    double *planes = AllocateArray<double>(9);
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, scans, 1, 2, &planes), 0);
    EXPECT_EQ(memory.Live(), 1);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, scans, 1, 2, &planes), ZVK_FORCE_NO_MEMORY);
    EXPECT_EQ(planes, nullptr);
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(ForceReshape, CountsBelowZeroWriteNothing)
{
    double scans[] = {1, 2, 3, 4};
    for (const auto &[samples, channels] : {std::pair{-2, 2}, {2, -2}, {-2, -2}, {0, 3}, {3, 0}}) {
        HandedBlock planes;
        EXPECT_EQ(ZVK_Force_Chunky2Planar(0, scans, samples, channels, &planes), 0);
        HandedBlock zeros;
        EXPECT_EQ(ZVK_Force_Chunky2Planar(0, nullptr, samples, channels, &zeros), 0);
        double *same = scans;
        EXPECT_EQ(ZVK_Force_Chunky2Planar(0, scans, samples, channels, &same), 0);
        EXPECT_EQ(same, scans);
    }
    EXPECT_EQ(scans[1], 2.0);
    HandedBlock c[3];
    EXPECT_EQ(ZVK_Force_Slice3(0, scans, -4, &c[0], &c[1], &c[2]), 0);
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, scans, 1, 1, nullptr), 0) << "no place, no result";
}

TEST_F(ForceReshape, NotInitializedTouchesNothing)
{
    g_force.Initialised = 0;
    double *kept = nullptr;
    double scans[3] = {};
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, scans, 1, 3, &kept), ZVK_FORCE_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Force_Slice3(0, scans, 1, &kept, &kept, &kept), ZVK_FORCE_NOT_INITIALIZED);
    EXPECT_EQ(kept, nullptr);
}

TEST_F(ForceReshape, ANullBlockCountsAsZeroVolts)
{
    HandedBlock planes;
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, nullptr, 2, 3, &planes), 0);
    EXPECT_EQ(planes.Values(6), std::vector<double>(6, 0.0));
    HandedBlock c[3];
    EXPECT_EQ(ZVK_Force_Slice3(0, nullptr, 4, &c[0], &c[1], &c[2]), 0);
    EXPECT_EQ(c[1].Values(4), std::vector<double>(4, 0.0));
    EXPECT_EQ(ZVK_Force_Slice3(0, nullptr, 4, nullptr, nullptr, &c[2]), 0);
    EXPECT_EQ(ZVK_Force_Chunky2Planar(0, nullptr, -2, 3, &planes), 0);
}

TEST_F(ForceReshape, EachAllocationThatFailsLeavesNoArrays)
{
    const double planes[] = {1, 2, 3};
    for (int nth = 1; nth <= 3; ++nth) {
        FailingMemory memory;
        double *c[3] = {};
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Force_Slice3(0, planes, 1, &c[0], &c[1], &c[2]), ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(c[0], nullptr);
        EXPECT_EQ(c[2], nullptr);
        EXPECT_EQ(memory.Live(), 0);
    }
}
