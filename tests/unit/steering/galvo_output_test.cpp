#include "galvo_session.h"
#include "steering/galvo_gate.h"

#include <algorithm>
#include <cmath>

using GalvoOutput = GalvoSessionTest;
using Calls = std::vector<std::string>;

static const Calls kStartCalls = {
    "createTask(t1, \"\")",
    "createAOVoltageChan(t1, \"Dev1/ao0:3\", \"\", -10, 10, 10348, \"\")",
    "cfgSampClkTiming(t1, \"\", 10000, 10280, 10123, 100)",
    "setChanAttribute(t1, \"Dev1/ao0:3\", 0x183C, 10235)",
    "setChanAttribute(t1, \"Dev1/ao0:3\", 0x2A8F, 6195)",
    "setWriteAttribute(t1, 0x1453, 10158)",
    "registerEveryNSamplesEvent(t1, 2, 50, 0, callback)",
    "cfgOutputBuffer(t1, 100)",
    "writeAnalogF64(t1, 100, 0, 10, 0)",
    "startTask(t1)",
};

TEST_F(GalvoOutput, StartMakesTheToldCallsInTheirOrder)
{
    WriteConfig(0);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0);
    EXPECT_EQ(card->Calls(), kStartCalls);
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvoDaq.daqRunning, 1);
    EXPECT_EQ(g_galvoDaq.daqInitialized, 1);
    EXPECT_EQ(g_galvoDaq.autoUpdate, 1);
    EXPECT_DOUBLE_EQ(g_galvoDaq.maxStep, 0.0008);
    EXPECT_EQ(g_galvoDaq.everyNSamples, 50);
    EXPECT_EQ(AllSamples(), std::vector<double>(400, 0.0));
}

TEST_F(GalvoOutput, ATriggerTakesTheClockFromPfi1)
{
    WriteConfig(0, 7);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0);
    EXPECT_EQ(card->Calls()[2], "cfgSampClkTiming(t1, \"Dev1/pfi1\", 10000, 10280, 10123, 100)");
}

TEST_F(GalvoOutput, WithoutAutoUpdateNoEventIsRegistered)
{
    for (int32_t autoUpdate : {0, 2}) {
        WriteConfig(0);
        EXPECT_EQ(ZVK_Galvo_DaqInit(0, autoUpdate), 0);
        EXPECT_FALSE(card->HasEvent()) << autoUpdate;
        EXPECT_EQ(g_galvoDaq.autoUpdate, autoUpdate);
        ZVK_Galvo_DaqStop(0);
    }
}

TEST_F(GalvoOutput, OffsetsAreSetForInitializedPathsAlone)
{
    WriteConfig(0);
    g_galvo[1].initialized = 1;
    ASSERT_EQ(ZVK_Galvo_DaqInit(0, 1), 0);
    EXPECT_EQ(g_galvo[0].xSampleOffset, 0);
    EXPECT_EQ(g_galvo[0].ySampleOffset, 0);
    EXPECT_EQ(g_galvo[1].xSampleOffset, 200);
    EXPECT_EQ(g_galvo[1].ySampleOffset, 300);
}

TEST_F(GalvoOutput, ASecondStartIs601AndLeavesTheTaskAlone)
{
    BringUp(0);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 0), ZVK_GALVO_DAQ_ALREADY_INITIALIZED);
    EXPECT_EQ(card->Calls(), Calls{});
    EXPECT_EQ(g_galvoDaq.autoUpdate, 1);
}

TEST_F(GalvoOutput, AnEvenBackendIsRefusedOnHardwareOnly)
{
    WriteConfig(0, 0, 2);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(card->Calls(), Calls{});
    WriteConfig(1, 0, 0);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0);
    int32_t clockRate = 0;
    int32_t size = 0;
    ZVK_Galvo_GetBufferParameters(0, &clockRate, &size);
    EXPECT_EQ(clockRate, 10000);
    EXPECT_EQ(size, 400);
}

TEST_F(GalvoOutput, EachMissingKeyEndsTheStartAndEarlierOnesAreKept)
{
    for (const char *key : {"BACKEND", "CLOCKRATE", "SAMPLESPERCHAN", "EVERYNSAMPLES", "TRIGGER",
                            "SIMULATE", "DAQNAME"})
    {
        ResetGalvo();
        WriteConfigWithout(key);
        EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_EQ(card->Calls(), Calls{}) << key;
        EXPECT_EQ(g_galvoDaq.daqInitialized, 0);
        EXPECT_EQ(g_galvoDaq.maxStep, 0.0) << "set only behind the keys";
        const bool behindClock = std::string(key) != "BACKEND" && std::string(key) != "CLOCKRATE";
        EXPECT_EQ(g_galvoDaq.clockRate, behindClock ? 10000 : 0) << key;
    }
    ResetGalvo();
    EXPECT_EQ(g_galvoDaq.backend, 1);
}

TEST_F(GalvoOutput, AMissingFileEndsTheStart)
{
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), ZVK_CONFILE_NOT_READABLE);
}

TEST_F(GalvoOutput, AnImpossibleBlockSizeHasNoMemoryOrNoDriver)
{
    folder.Write("config.ini",
                 "[MAINDAQ]\r\nBACKEND=1\r\nCLOCKRATE=1\r\nSAMPLESPERCHAN=-5\r\nEVERYNSAMPLES=1\r\n"
                 "TRIGGER=0\r\nSIMULATE=1\r\nDAQNAME=\"d\"\r\n");
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), ZVK_GALVO_NO_MEMORY);
    EXPECT_TRUE(timers->Timers().empty()) << "the timer goes again";
    EXPECT_EQ(g_galvoDaq.simTimerId, -1);
}

TEST_F(GalvoOutput, EachRefusalOfTheCardHasItsStatusAndItsLog)
{
    constexpr int32_t kCode = -200999;
    const struct
    {
        int nth;
        int32_t status;
        bool logged;
    } rows[] = {{1, ZVK_GALVO_DAQ_FAILED, true},
                {2, ZVK_GALVO_DAQ_FAILED, true},
                {3, ZVK_GALVO_DAQ_FAILED, true},
                {4, kCode, false},
                {5, kCode, false},
                {6, kCode, false},
                {7, 0, false},
                {8, kCode, false},
                {9, kCode, false},
                {10, ZVK_GALVO_DAQ_FAILED, true}};
    for (const auto &row : rows) {
        ResetGalvo();
        WriteConfig(0);
        folder.Write("log.ini", "");
        card->ForgetCalls();
        card->FailAt(row.nth, kCode);
        card->SetErrorText("the card's own words, 100% of them");
        EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), row.status) << row.nth;
        EXPECT_TRUE(card->Failed());
        EXPECT_EQ(Log().find("the card's own words, 100% of them") != std::string::npos, row.logged)
            << row.nth;
        EXPECT_EQ(g_galvoDaq.daqInitialized, row.status == 0 ? 1 : 0) << row.nth;
        if (row.status == 0) continue;
        EXPECT_EQ(card->OpenTasks(), row.nth == 1 ? 0 : 1) << "the task is left as it stands";
        EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0) << "the next start works, " << row.nth;
        EXPECT_EQ(card->OpenTasks(), 1) << "and clears what was left";
    }
}

TEST_F(GalvoOutput, ShutdownClearsTheTaskOfAFailedStart)
{
    WriteConfig(0);
    card->FailCall("startTask", 1);
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), ZVK_GALVO_DAQ_FAILED);
    EXPECT_EQ(card->OpenTasks(), 1);
    EXPECT_EQ(ZVK_Galvo_Shutdown(0), 0);
    EXPECT_EQ(card->OpenTasks(), 0);
}

TEST_F(GalvoOutput, AWarningOfTheCardIsNoFailure)
{
    WriteConfig(0);
    for (int nth = 1; nth <= 10; ++nth) {
        card->FailAt(nth, 200010);
        EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0) << nth;
        ZVK_Galvo_DaqStop(0);
    }
}

TEST_F(GalvoOutput, SimulatedStartMakesATimerAndNothingElse)
{
    WriteConfig(1);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0);
    ASSERT_EQ(timers->Timers().size(), 1U);
    EXPECT_EQ(g_galvoDaq.simTimerId, timers->Timers()[0]);
    EXPECT_DOUBLE_EQ(timers->Interval(g_galvoDaq.simTimerId), 0.5);
    EXPECT_EQ(card->Calls(), Calls{});
    EXPECT_EQ(g_galvoDaq.dataReady, 0) << "not touched";
    EXPECT_EQ(g_galvoDaq.daqRunning, 0) << "not touched";
    EXPECT_EQ(g_galvo[1].ySampleOffset, 0);
}

TEST_F(GalvoOutput, SimulatedWithoutAutoUpdateHasNoTimer)
{
    WriteConfig(1);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 0), 0);
    EXPECT_TRUE(timers->Timers().empty());
    EXPECT_EQ(g_galvoDaq.simTimerId, -1);
}

TEST_F(GalvoOutput, SimulatedAnyAutoUpdateButZeroHasATimer)
{
    WriteConfig(1);
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 7), 0);
    EXPECT_EQ(timers->Timers().size(), 1U);
}

TEST_F(GalvoOutput, WritingNeedsAnOutputThenReadyData)
{
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), ZVK_GALVO_NOT_CONFIGURED);
    BringUp(0);
    g_galvoDaq.dataReady = 0;
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), ZVK_GALVO_NOT_READY);
    g_galvoDaq.dataReady = 1;
    g_galvoDaq.updating = 1;
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), ZVK_GALVO_NOT_READY);
    g_galvoDaq.updating = 0;
    EXPECT_EQ(card->Calls(), Calls{});
    g_galvoDaq.writeStatus = 0;
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), 0);
    EXPECT_EQ(card->Calls(), Calls{"writeAnalogF64(t1, 100, 0, 10, 0)"});
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoOutput, ARefusedWriteIsNotReported)
{
    BringUp(0);
    card->FailCall("writeAnalogF64", 1);
    g_galvoDaq.writeStatus = 0;
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), 0);
    int32_t status = 0;
    EXPECT_EQ(ZVK_Galvo_GetBufferWriteStatus(0, &status), 0);
    EXPECT_EQ(status, 1);
}

TEST_F(GalvoOutput, SimulatedWritingSendsNothing)
{
    BringUp(1);
    g_galvoDaq.writeStatus = 0;
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), 0);
    EXPECT_EQ(card->Calls(), Calls{});
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoOutput, WaypointCallsSendAtOnceWithFiveSeconds)
{
    BringUp(0);
    int32_t wp = 0;
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 1, &wp, 1, 1), 0);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 1, 1, 2, 2), 0);
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 1, 1), 0);
    EXPECT_EQ(card->Calls(), Calls(3, "writeAnalogF64(t1, 100, 0, 5, 0)"));
    const std::vector<std::vector<double>> blocks = card->Blocks();
    EXPECT_EQ(blocks[blocks.size() - 3][250], 1.0) << "the block has what the call has rebuilt";
    EXPECT_EQ(blocks[blocks.size() - 2][250], 2.0);
    EXPECT_EQ(blocks[blocks.size() - 1][250], 0.25);
}

TEST_F(GalvoOutput, ARefusedWaypointWriteIsNotReported)
{
    BringUp(0);
    int32_t wp = 0;
    card->FailCall("writeAnalogF64", 1);
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 1, 1), 0);
    EXPECT_TRUE(card->Failed());
    card->FailCall("writeAnalogF64", 1);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 1, 2, 2), 0);
    EXPECT_TRUE(card->Failed());
    card->FailCall("writeAnalogF64", 1);
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 1), 0);
    EXPECT_TRUE(card->Failed());
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoOutput, JumpingAllWritesThroughWriteBufferWithTenSeconds)
{
    BringUp(0);
    double x = 1;
    double y = 1;
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 1, &x, &y), 0);
    EXPECT_EQ(card->Calls(), Calls{"writeAnalogF64(t1, 100, 0, 10, 0)"});
    EXPECT_EQ(Channel(0), std::vector<double>(100, 1.0));
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoOutput, JumpingAllWithoutAnOutputIs613)
{
    BringUp(0);
    ZVK_Galvo_DaqStop(0);
    double x = 1;
    double y = 1;
    g_galvoDaq.writeStatus = 1;
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 1, &x, &y), ZVK_GALVO_NEW_BUFFER_FAILED);
    EXPECT_EQ(g_galvoDaq.writeStatus, 0) << "the samples have not been handed over";
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
}

TEST_F(GalvoOutput, CallsThatOnlySetSendNothing)
{
    BringUp(0);
    ZVK_Galvo_SetPositionTarget(0, 0, 0, 1, 1);
    ZVK_Galvo_SetSpeed(0, 0, 0, 1);
    ZVK_Galvo_SetMoveType(0, 0, 0, 2);
    ZVK_Galvo_SetLimits(0, 0, -1, 1, -1, 1);
    ZVK_Galvo_SetOffset(0, 0, 0, 0);
    double x = 0;
    double y = 0;
    const double speed = 1;
    const int32_t mode = 3;
    ZVK_Galvo_BufferConfigure(0, 0, 1, &x, &y, &speed, &mode);
    EXPECT_EQ(card->Calls(), Calls{});
}

TEST_F(GalvoOutput, StopClearsRunningFirstThenTheTaskAndWaitsASecond)
{
    BringUp(0);
    EXPECT_EQ(ZVK_Galvo_DaqStop(0), 0);
    EXPECT_EQ(card->Calls(), (Calls{"stopTask(t1)", "clearTask(t1)"}));
    EXPECT_EQ(clock->Delays(), std::vector<double>{1.0});
    EXPECT_EQ(g_galvoDaq.daqRunning, 0);
    EXPECT_EQ(g_galvoDaq.daqInitialized, 0);
    EXPECT_EQ(g_galvoDaq.taskHandle, nullptr);
    EXPECT_EQ(g_galvoDaq.buffer, nullptr);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1) << "waypoints stay";
    int32_t clockRate = 0;
    int32_t size = 0;
    ZVK_Galvo_GetBufferParameters(0, &clockRate, &size);
    EXPECT_EQ(size, 400) << "so does the block size";
}

TEST_F(GalvoOutput, StopWithoutAnOutputDoesNothing)
{
    EXPECT_EQ(ZVK_Galvo_DaqStop(0), 0);
    EXPECT_EQ(card->Calls(), Calls{});
    EXPECT_TRUE(clock->Delays().empty());
}

TEST_F(GalvoOutput, StopEndsTheSimulatedTimer)
{
    BringUp(1);
    EXPECT_EQ(ZVK_Galvo_DaqStop(0), 0);
    EXPECT_TRUE(timers->Timers().empty());
    EXPECT_EQ(g_galvoDaq.simTimerId, -1);
    EXPECT_NE(g_galvoDaq.buffer, nullptr) << "simulated samples stay";
    EXPECT_EQ(g_galvoDaq.daqInitialized, 0);
    EXPECT_EQ(card->Calls(), Calls{});
    EXPECT_TRUE(clock->Delays().empty());
}

TEST_F(GalvoOutput, ClockUpdateNeedsARunningOutput)
{
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(card->Calls(), Calls{});
}

TEST_F(GalvoOutput, ClockUpdateBuildsTheTaskAnew)
{
    BringUp(0);
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 0), 0);
    const Calls calls = card->Calls();
    ASSERT_GE(calls.size(), 3U);
    EXPECT_EQ(calls[0], "stopTask(t1)");
    EXPECT_EQ(calls[1], "clearTask(t1)");
    EXPECT_EQ(calls[2], "createTask(t2, \"\")");
    EXPECT_FALSE(card->HasEvent()) << "no event with 0";
    EXPECT_EQ(g_galvoDaq.daqInitialized, 1);
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), 0);
    EXPECT_TRUE(card->HasEvent());
}

TEST_F(GalvoOutput, ClockUpdateDropsTheResultOfTheStart)
{
    BringUp(0);
    card->FailCall("createTask", 1);
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), 0);
    EXPECT_EQ(g_galvoDaq.daqInitialized, 0);
    EXPECT_EQ(g_galvoDaq.daqRunning, 1) << "not touched";
    EXPECT_EQ(g_galvoDaq.dataReady, 1) << "not touched";
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), ZVK_GALVO_NOT_CONFIGURED);
}

TEST_F(GalvoOutput, SimulatedClockUpdateKeepsTheTicksAndNeverASecondTimer)
{
    BringUp(1);
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 0), 0);
    EXPECT_EQ(timers->Timers().size(), 1U) << "the ticks go on";
    EXPECT_EQ(card->Calls().size(), 2U) << "stop and clear are made with no task";
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), 0);
    EXPECT_EQ(timers->Timers().size(), 1U) << "the new timer takes the old one's place";
    EXPECT_EQ(g_galvoDaq.simTimerId, timers->Timers()[0]);
}

TEST_F(GalvoOutput, ShutdownEndsTheTimerOfAClockUpdateThatFailed)
{
    BringUp(1);
    folder.Write("config.ini", "");
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), 0);
    ZVK_Galvo_Shutdown(0);
    EXPECT_TRUE(timers->Timers().empty());
}

TEST_F(GalvoOutput, AClockUpdateThatLeavesSimulationEndsTheTimer)
{
    BringUp(1);
    WriteConfig(0);
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), 0);
    EXPECT_TRUE(timers->Timers().empty());
}

static bool AllFinite(const std::vector<double> &samples)
{
    return std::all_of(samples.begin(), samples.end(), [](double v) { return std::isfinite(v); });
}

TEST_F(GalvoOutput, WhatIsNotANumberNeverReachesTheCard)
{
    const double nan = std::nan("");
    const double inf = HUGE_VAL;
    for (double bad : {nan, inf, -inf}) {
        BringUp(0);
        int32_t wp = 0;
        EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, bad, 0.1), 0);
        EXPECT_EQ(g_galvoDaq.dataReady, 1) << bad;
        card->FireEvent();
        EXPECT_TRUE(AllFinite(card->Blocks().back())) << bad;
        EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, bad, bad), 0);
        EXPECT_TRUE(AllFinite(card->Blocks().back())) << bad;
        double x[2] = {bad, 1.0};
        double y[2] = {0.0, 1.0};
        double speed = 0;
        EXPECT_GE(ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &speed, 1), 0);
        ZVK_Galvo_SetMoveType(0, 0, 0, ZVK_MOVE_ONCE);
        card->FireEvent();
        EXPECT_TRUE(AllFinite(card->Blocks().back())) << bad;
        ZVK_Galvo_Shutdown(0);
    }
}

TEST_F(GalvoOutput, AnImpossibleBlockSizeOnHardwareLeavesNothingBehind)
{
    folder.Write("config.ini",
                 "[MAINDAQ]\r\nBACKEND=1\r\nCLOCKRATE=1\r\nSAMPLESPERCHAN=-5\r\nEVERYNSAMPLES=1\r\n"
                 "TRIGGER=0\r\nSIMULATE=0\r\nDAQNAME=\"d\"\r\n");
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), ZVK_GALVO_NO_MEMORY);
    ZVK_Galvo_Shutdown(0);
    EXPECT_EQ(card->OpenTasks(), 0);
}

static int32_t s_readyAtWrite = -1;

static int32_t NoteReady(ZVK_DaqTask, int32_t, uint32_t, double, uint32_t, const double *,
                         int32_t *, uint32_t *)
{
    s_readyAtWrite = LoadFlag(g_galvoDaq.dataReady);
    return 0;
}

TEST_F(GalvoOutput, AJumpIsReadyBeforeItIsSentAndAChangeOfTheListOnlyBehindIt)
{
    BringUp(0);
    ZVK_DaqTable noting = Daq();
    noting.writeAnalogF64 = NoteReady;
    const ZVK_DaqTable &recording = Daq();
    UseDaq(&noting);
    int32_t wp = 0;
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 1, 1), 0);
    EXPECT_EQ(s_readyAtWrite, 0);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 1, 2, 2), 0);
    EXPECT_EQ(s_readyAtWrite, 1);
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 1), 0);
    EXPECT_EQ(s_readyAtWrite, 0);
    UseDaq(&recording);
}

TEST_F(GalvoOutput, StopKeepsTheHandleUntilTheCardHasSettled)
{
    BringUp(0);
    bool held = false;
    clock->OnWait([&] { held = LoadTask() != nullptr; });
    EXPECT_EQ(ZVK_Galvo_DaqStop(0), 0);
    EXPECT_TRUE(held);
    EXPECT_EQ(LoadTask(), nullptr);
    clock->OnWait({});
}
