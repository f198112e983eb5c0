// The mirrors' output against the virtual card, through the exported calls alone. Card time moves
// only when the test says so, but where a call has to wait for the card.

#include "instrument_folder.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

constexpr int32_t kSamples = 100;  // a channel, and between two events
constexpr SessionHandle kVi = 640;

static const char kConfig[] =
    "[GALVO 0]\r\nOFFSETX=0.5\r\nOFFSETY=-0.5\r\nMAXX=5\r\nMINX=-5\r\nMAXY=4\r\nMINY=-4\r\n"
    "[GALVO 1]\r\nOFFSETX=0.25\r\nOFFSETY=-0.25\r\nMAXX=3\r\nMINX=-3\r\nMAXY=2\r\nMINY=-2\r\n"
    "[MAINDAQ]\r\nBACKEND=1\r\nCLOCKRATE=10000\r\nSAMPLESPERCHAN=100\r\nEVERYNSAMPLES=100\r\n"
    "TRIGGER=0\r\nSIMULATE=0\r\nDAQNAME=\"Dev1\"\r\n";

// Repeats a call for as long as the output event is in its way: 609, or -610 from a write.
template <class Call>
static int32_t Repeat(Call &&call)
{
    int32_t status = call();
    while (status == ZVK_GALVO_BUFFER_IN_USE || status == ZVK_GALVO_NOT_READY) {
        std::this_thread::yield();
        status = call();
    }
    return status;
}

class GalvoOnTheCard : public ::testing::Test
{
protected:
    void SetUp() override { ZVC_Reset(); }

    void TearDown() override
    {
        ZVC_SetPace(ZVC_PACE_FAST);  // what still waits comes to its end
        EXPECT_EQ(ZVK_Galvo_Shutdown(kVi), 0);
        EXPECT_EQ(ZVC_CountTasks(), 0) << "a task leaked";
    }

    // Up, with card time in the test's hand behind it.
    void BringUp()
    {
        ZVC_SetPace(ZVC_PACE_FAST);
        ASSERT_EQ(ZVK_Galvo_Init(kVi, 0, 0), 0);
        ASSERT_EQ(ZVC_SetPace(ZVC_PACE_MANUAL), ZVC_OK);
    }

    // Lets the card play a block, which calls the output event. The event may still wait for room
    // behind it, since a block or two are queued.
    static void PlayBlock() { ASSERT_GE(ZVC_AdvanceSamples("Dev1/ao0", kSamples), ZVC_OK); }

    // The last block that was written to an output.
    static std::vector<double> LastBlock(const char *channel)
    {
        std::vector<double> block(kSamples);
        const uint64_t written = ZVC_CountWritten(channel);
        EXPECT_EQ(ZVC_CopyWritten(channel, written - kSamples, kSamples, block.data()),
                  block.size());
        return block;
    }

    std::string Log() const { return folder.Files().Read("log.ini"); }

    InstrumentFolder folder{{{"config.ini", kConfig}}};
};

TEST_F(GalvoOnTheCard, InitRunsOneContinuousTaskOverFourOutputs)
{
    BringUp();
    ASSERT_EQ(ZVC_CountTasks(), 1);
    ZVC_TaskInfo task;
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_EQ(task.kind, ZVC_OUTPUT);
    EXPECT_EQ(task.state, ZVC_RUNNING);
    EXPECT_EQ(task.channelCount, 4);
    EXPECT_EQ(task.minVolts, -10.0);
    EXPECT_EQ(task.maxVolts, 10.0);
    EXPECT_EQ(task.rate, 10000.0);
    EXPECT_EQ(task.mode, 10123);
    EXPECT_EQ(task.bufferSize, 100U);
    EXPECT_EQ(task.regeneration, 10158);
    EXPECT_EQ(task.transferCondition, 10235);
    EXPECT_EQ(task.usbRequestSize, 6195U);
    EXPECT_EQ(task.eventType, 2);
    EXPECT_EQ(task.eventInterval, 100U);
    EXPECT_STREQ(task.clockSource, "");
    EXPECT_EQ(LastBlock("Dev1/ao0"), std::vector<double>(kSamples, 0.0))
        << "0 V until slots are rebuilt";
}

TEST_F(GalvoOnTheCard, AMoveReachesTheMirrorBlockByBlock)
{
    BringUp();
    ASSERT_EQ(ZVK_Galvo_SetPositionTarget(kVi, 0, 0, 0.55, -0.5), 0);  // 500 samples, 5 blocks
    int32_t mode = ZVK_MOVE_ONCE;
    double before = 0.4999;
    int blocks = 0;
    while (mode == ZVK_MOVE_ONCE && blocks < 20) {
        PlayBlock();
        ++blocks;
        const std::vector<double> x = LastBlock("Dev1/ao0");
        EXPECT_GE(x.front(), before) << "no step back between blocks";
        for (size_t s = 1; s < x.size(); ++s) {
            ASSERT_GE(x[s], x[s - 1]);
            ASSERT_LE(x[s] - x[s - 1], 0.00081);
        }
        before = x.back();
        ASSERT_EQ(ZVK_Galvo_GetMoveType(kVi, 0, 0, &mode), 0);
    }
    EXPECT_GE(blocks, 4)
        << "500 samples of 100 a block, of which the first may have been under way";
    EXPECT_LE(blocks, 7);
    EXPECT_DOUBLE_EQ(before, 0.55);
    PlayBlock();
    PlayBlock();
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("Dev1/ao0"), 0.55) << "the mirror stands there";
    EXPECT_EQ(ZVC_GetVolts("Dev1/ao2"), 0.0) << "the other path has not moved";
}

TEST_F(GalvoOnTheCard, AJumpAddsABlockBehindWhatIsQueued)
{
    BringUp();
    ZVC_SetPace(ZVC_PACE_FAST);
    ASSERT_EQ(Repeat([&] { return ZVK_Galvo_SetPosition(kVi, 1, 0, 1.5, -1.5); }), 0);
    ASSERT_EQ(Repeat([&] { return ZVK_Galvo_WriteBuffer(kVi); }), 0);
    ZVC_SetPace(ZVC_PACE_MANUAL);
    PlayBlock();
    PlayBlock();
    EXPECT_EQ(ZVC_GetVolts("Dev1/ao2"), 1.5);
    EXPECT_EQ(ZVC_GetVolts("Dev1/ao3"), -1.5);
}

TEST_F(GalvoOnTheCard, TimeSharedSlotsAreWhatIsPlayed)
{
    BringUp();
    ZVC_SetPace(ZVC_PACE_FAST);
    int32_t count = 0;
    ASSERT_EQ(Repeat([&] { return ZVK_Galvo_AddWaypoint(kVi, 0, &count, 1.0, 2.0); }), 0);
    ASSERT_EQ(Repeat([&] { return ZVK_Galvo_SetPosition(kVi, 0, 0, 0.5, -0.5); }), 0);
    ZVC_SetPace(ZVC_PACE_MANUAL);
    PlayBlock();
    const std::vector<double> x = LastBlock("Dev1/ao0");
    const std::vector<double> y = LastBlock("Dev1/ao1");
    for (int s = 0; s < kSamples; ++s) {
        ASSERT_EQ(x[s], s < 50 ? 0.5 : 1.0) << s;
        ASSERT_EQ(y[s], s < 50 ? -0.5 : 2.0) << s;
    }
}

TEST_F(GalvoOnTheCard, ARefusedBlockBuildsTheTaskAnew)
{
    BringUp();
    ZVC_TaskInfo task;
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    const int32_t first = task.number;
    ZVC_FailCall("DAQmxWriteAnalogF64", 1, -200290);
    PlayBlock();
    EXPECT_EQ(ZVC_CountFaults(), 0);
    ASSERT_EQ(ZVC_CountTasks(), 1);
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_NE(task.number, first);
    EXPECT_EQ(task.state, ZVC_RUNNING);
    PlayBlock();
    EXPECT_EQ(LastBlock("Dev1/ao0"), std::vector<double>(kSamples, 0.0));
}

TEST_F(GalvoOnTheCard, AnOutputThatIsNotFedRunsDryAndIsRebuiltByClockUpdate)
{
    BringUp();
    ZVC_SetPace(ZVC_PACE_FAST);
    ASSERT_EQ(ZVK_Galvo_DaqClkUpdate(kVi, 0), 0);
    ZVC_TaskInfo task;
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_EQ(task.eventType, 0) << "no event";
    ZVC_SetPace(ZVC_PACE_MANUAL);
    ASSERT_GE(ZVC_Advance(10.0), 0);
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(kVi), 0) << "a refused write is not reported";
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_EQ(task.state, ZVC_FAILED) << "nothing was fed: the output has run dry";
    ZVC_SetPace(ZVC_PACE_FAST);
    ASSERT_EQ(ZVK_Galvo_DaqClkUpdate(kVi, 1), 0);
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_EQ(task.state, ZVC_RUNNING);
    EXPECT_EQ(task.eventType, 2);
}

TEST_F(GalvoOnTheCard, EachRefusedCallOfTheStartHasItsStatusAndTheNextStartWorks)
{
    const struct
    {
        const char *call;
        uint64_t nth;
        int32_t status;
        bool logged;
    } rows[] = {{"DAQmxCreateTask", 1, ZVK_GALVO_DAQ_FAILED, true},
                {"DAQmxCreateAOVoltageChan", 1, ZVK_GALVO_DAQ_FAILED, true},
                {"DAQmxCfgSampClkTiming", 1, ZVK_GALVO_DAQ_FAILED, true},
                {"DAQmxSetChanAttribute", 1, -200452, false},
                {"DAQmxSetChanAttribute", 2, -200452, false},
                {"DAQmxSetWriteAttribute", 1, -200452, false},
                {"DAQmxCfgOutputBuffer", 1, -200452, false},
                {"DAQmxWriteAnalogF64", 1, -200452, false},
                {"DAQmxStartTask", 1, ZVK_GALVO_DAQ_FAILED, true}};
    ZVC_SetPace(ZVC_PACE_FAST);
    for (const auto &row : rows) {
        folder.Files().Write("log.ini", "");
        ZVC_FailCall(row.call, row.nth, -200452);
        EXPECT_EQ(ZVK_Galvo_DaqInit(kVi, 0), row.status) << row.call;
        EXPECT_EQ(ZVC_CountFaults(), 0);
        EXPECT_EQ(Log().find("-200452") != std::string::npos, row.logged)
            << row.call << ": " << Log();
        EXPECT_EQ(ZVK_Galvo_DaqInit(kVi, 0), 0) << "after " << row.call;
        EXPECT_EQ(ZVC_CountTasks(), 1) << "after " << row.call;
        EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(kVi, 0), 0);
        // Stopping takes a second of settling: the task is taken down by the next round's shutdown
        // alone.
        ZVC_FailCall("DAQmxCreateTask", 1, -1);
        EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(kVi, 0), 0);
        EXPECT_EQ(ZVC_CountTasks(), 0);
    }
}

TEST_F(GalvoOnTheCard, ACardOnTheBusThatDoesNotKnowTheUsbRequestSizeEndsTheStart)
{
    ZVC_SetPace(ZVC_PACE_FAST);
    ZVC_SetUsb(0);
    EXPECT_EQ(ZVK_Galvo_DaqInit(kVi, 1), -200452);
    ZVC_SetUsb(1);
    EXPECT_EQ(ZVK_Galvo_DaqInit(kVi, 1), 0);
}

TEST_F(GalvoOnTheCard, ShutdownThenInitAgainWithWaypointsMoving)
{
    for (int round = 0; round < 2; ++round) {
        ZVC_SetPace(ZVC_PACE_FAST);
        ASSERT_EQ(ZVK_Galvo_Init(kVi, 0, 0), 0);
        int32_t count = 0;
        ASSERT_EQ(Repeat([&] { return ZVK_Galvo_AddWaypoint(kVi, 0, &count, 1, 1); }), 0);
        EXPECT_EQ(count, 2);
        ASSERT_EQ(ZVK_Galvo_SetPositionTarget(kVi, 0, 1, 2, 2), 0);
        ASSERT_EQ(ZVK_Galvo_Shutdown(kVi), 0);
        EXPECT_EQ(ZVC_CountTasks(), 0);
    }
}
