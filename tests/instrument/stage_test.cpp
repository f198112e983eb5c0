// The stage against the virtual controller and the virtual card, through the exported calls alone:
// the command lines, the volts at the outputs, and a connection that is lost.

#include "instrument_folder.h"

#include <quorvex-virtual/daq.h>
#include <quorvex-virtual/stage.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

using Lines = std::vector<std::string>;

class StageInstrument : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ZVC_Reset();
        (void)ZVC_SetPace(ZVC_PACE_MANUAL);
    }

    void TearDown() override
    {
        (void)ZVK_Stage_Shutdown(0);
        ZVC_Reset();
    }

    void Write(const std::string &backend, const std::string &trigger = "0") const
    {
        folder.Files().Write(
            "config.ini",
            "[STAGE]\r\nMI=1\r\nSIMULATE=0\r\nBACKEND=" + backend +
                "\r\nSCALE=0.1\r\nCLOCKRATE=1000\r\nEVERYNSAMPLES=10\r\n"
                "SAMPLESPERCHAN=100\r\nSPEED=10\r\nSTEPSIZE=0.01\r\nRANGE=100\r\n"
                "TRIGGER=" +
                trigger + "\r\nIP=\"127.0.0.1\"\r\nPORTNUM=" + std::to_string(controller.Port()) +
                "\r\nNUMBEROFAXES=3\r\n[SUBDAQ]\r\nDAQNAME=\"SUBDAQ\"\r\n");
    }

    void BringUp(const std::string &backend)
    {
        Write(backend);
        ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), backend == "16" ? ZVK_STAGE_NOT_FOUND : 0);
        (void)controller.TakeLines();
        Play();
    }

    // Lets the outputs play what was written last.
    static void Play() { EXPECT_EQ(ZVC_Advance(1.0), ZVC_OK); }

    Lines Asked()
    {
        Lines commands;
        for (const VirtualStageLine &line : controller.TakeLines())
            commands.push_back(line.command);
        return commands;
    }

    // Until all axes have arrived.
    static void AwaitArrival()
    {
        uint16_t arrived = 0;
        while (arrived == 0)
            ASSERT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), 0);
    }

    static std::vector<double> Written(const char *channel, uint64_t first)
    {
        std::vector<double> volts(ZVC_CountWritten(channel) - first);
        EXPECT_EQ(ZVC_CopyWritten(channel, first, volts.size(), volts.data()), volts.size());
        return volts;
    }

    static size_t OpenDescriptors()
    {
        size_t count = 0;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
            count += entry.path().empty() ? 0 : 1;
        return count;
    }

    VirtualStage controller;
    InstrumentFolder folder;
};

TEST_F(StageInstrument, BehindEachSettingTheErrorIsAskedFor)
{
    BringUp("1");
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 12.5), 0);
    AwaitArrival();
    (void)Asked();
    EXPECT_EQ(ZVK_Stage_SetSpeed(0, 2, 0.25, nullptr), 0);
    EXPECT_EQ(ZVK_Stage_MoveRelative(0, 1, -2.25), 0);
    EXPECT_EQ(Asked(), (Lines{"VEL 3 0.25", "ERR?", "MVR 2 -2.25", "ERR?", "MOV? 2"}));
    AwaitArrival();
    double position = 0.0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 1, &position), 0);
    EXPECT_NEAR(position, 10.25, 1e-6);
    EXPECT_EQ(folder.Files().Read("log.ini"), "");
}

TEST_F(StageInstrument, TheControllersGeneratorShakesTheAxisAndTriggersItsOutput)
{
    BringUp("1");
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 5.0), 0);
    AwaitArrival();
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 0.5, 32), 0);
    const VirtualStageAxis shaken = controller.State(0);
    EXPECT_TRUE(shaken.oscillates);
    EXPECT_TRUE(shaken.triggersOutput);
    EXPECT_NEAR(shaken.hertz, 32.0, 0.1);
    const double nowS = controller.Now();
    double lowest = 1e9;
    double highest = -1e9;
    for (int i = 0; i < 1000; ++i) {
        const double place = controller.PositionAt(0, nowS + i * 1e-4);
        lowest = std::min(lowest, place);
        highest = std::max(highest, place);
    }
    EXPECT_NEAR(lowest, 4.5, 1e-3);
    EXPECT_NEAR(highest, 5.5, 1e-3);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 0.0), ZVK_STAGE_OSCILLATING);
    EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), 0);
    EXPECT_FALSE(controller.State(0).oscillates);
    EXPECT_EQ(controller.State(0).target, 5.0);
}

TEST_F(StageInstrument, TheOutputsJumpAndAreReadBackByTheCard)
{
    BringUp("16");
    EXPECT_EQ(ZVC_CountTasks(), 3);
    EXPECT_EQ(ZVC_GetVolts("SUBDAQ/ao0"), 5.0);
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 20.0), 0);
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 1, -60.0), ZVK_STAGE_OUT_OF_RANGE);
    Play();
    double position = 0.0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), 0);
    EXPECT_NEAR(position, 20.0, 1e-9);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 1, &position), 0);
    EXPECT_NEAR(position, -50.0, 1e-9);
    EXPECT_NEAR(ZVC_GetVolts("SUBDAQ/ao0"), 7.0, 1e-12);
    EXPECT_NEAR(ZVC_GetVolts("SUBDAQ/ao1"), 0.0, 1e-12);
    EXPECT_EQ(ZVK_Stage_Shutdown(0), 0);
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

TEST_F(StageInstrument, TheOscillationRunsAtTheRateThatTheCardReallyGives)
{
    BringUp("16");
    ASSERT_EQ(ZVC_SetTimebase(100000.0), ZVC_OK);
    const uint64_t before = ZVC_CountWritten("SUBDAQ/ao0");
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 17), 0);
    ZVC_TaskInfo task = {};
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_DOUBLE_EQ(task.rate, 100000.0 / 15) << "6800 Hz were asked for";
    EXPECT_STREQ(task.clockSource, "");
    EXPECT_EQ(task.bufferSize, 400U);
    const std::vector<double> volts = Written("SUBDAQ/ao0", before);
    ASSERT_EQ(volts.size(), 400U);
    for (int i = 0; i < 400; ++i) {
        const double wave = std::sin(i * 360.0 / 400 * 0.017453292519943295);
        EXPECT_EQ(volts[i], (wave + 50.0) * 0.1) << i;
    }
    EXPECT_EQ(Written("SUBDAQ/ao1", before), std::vector<double>(400, 5.0));

    bool isToldThatRate = false;
    char line[256];
    for (uint64_t i = 0; i < ZVC_CountLog(); ++i) {
        ASSERT_EQ(ZVC_GetLog(i, line, sizeof line), ZVC_OK);
        isToldThatRate |= std::string(line).starts_with("DAQmxCfgSampClkTiming(t1, \"\", 6666.6");
    }
    EXPECT_TRUE(isToldThatRate);
}

TEST_F(StageInstrument, WithATriggerTheOscillationStillRunsOnTheCardsOwnClock)
{
    Write("16", "1");
    ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND);
    ZVC_TaskInfo task = {};
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_STREQ(task.clockSource, "SUBDAQ/pfi0");
    ASSERT_EQ(ZVK_Stage_StartOscillation(0, 1, 1.0, 10), 0);
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_STREQ(task.clockSource, "");
    ASSERT_EQ(ZVK_Stage_StopOscillation(0, 1), 0);
    ASSERT_EQ(ZVC_GetTask(0, &task), ZVC_OK);
    EXPECT_STREQ(task.clockSource, "SUBDAQ/pfi0");
    EXPECT_EQ(task.rate, 1000.0);
    EXPECT_EQ(task.bufferSize, 400U) << "the length stays";
}

TEST_F(StageInstrument, AConnectionClosedAtAnyByteIsAStatusAndAResetConnectsAnew)
{
    BringUp("1");
    for (int bytes = 0; bytes < 20; ++bytes) {
        VirtualStageFault fault;
        fault.closeBehindBytes = bytes;
        controller.Misbehave(fault);
        double position = 77.0;
        const int32_t status = ZVK_Stage_GetPosition(0, 0, &position);
        const bool whole = status == 0;
        EXPECT_TRUE(whole || status == ZVK_STAGE_NO_POSITION) << bytes;
        EXPECT_EQ(position == 77.0, !whole) << bytes;
        controller.Misbehave({});
        ASSERT_EQ(ZVK_Stage_Reset(0), 0) << bytes;
        ASSERT_EQ(ZVK_Stage_GetPosition(0, 0, &position), 0) << bytes;
    }
    EXPECT_TRUE(folder.Files().Holds("log.ini"));
}

TEST_F(StageInstrument, AnswersInPacketsOfOneByteAreUnderstood)
{
    VirtualStageFault fault;
    fault.byteByByte = true;
    controller.Misbehave(fault);
    BringUp("1");
    double low = 0.0;
    double high = 0.0;
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 2, &low, &high), 0);
    EXPECT_EQ(low, -50.0);
    EXPECT_EQ(high, 50.0);
    EXPECT_EQ(folder.Files().Read("log.ini").find("sense"), std::string::npos);
}

TEST_F(StageInstrument, AHundredRoundsLeakNoSocketAndNoTask)
{
    Write("17");
    size_t descriptors = 0;
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
        ASSERT_EQ(ZVC_CountTasks(), 3);
        ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 1.0), 0);
        ASSERT_EQ(ZVK_Stage_Shutdown(0), 0);
        while (controller.IsConnected())
            std::this_thread::yield();
        if (round == 0) descriptors = OpenDescriptors();
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_EQ(controller.Connections(), 100);
}

TEST_F(StageInstrument, ClientsAndACalibrationWaitForEachOther)
{
    BringUp("17");
    ASSERT_EQ(ZVK_Stage_Center(0), 0);
    Play();
    std::atomic<bool> ended = false;
    std::vector<std::thread> readers;
    for (int32_t axis = 0; axis < 2; ++axis) {
        readers.emplace_back([axis, &ended] {
            double position = 0.0;
            uint16_t arrived = 0;
            while (!ended) {
                EXPECT_EQ(ZVK_Stage_GetPosition(0, axis, &position), 0);
                EXPECT_EQ(ZVK_Stage_CheckMoveStatus(0, &arrived), 0);
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        const double place = round % 2 == 0 ? 5.0 : -5.0;
        EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, place), 0);
        EXPECT_EQ(ZVK_Stage_StartOscillation(0, 0, 1.0, 10), 0);
        EXPECT_EQ(ZVK_Stage_StopOscillation(0, 0), 0);
    }
    ended = true;
    for (std::thread &reader : readers)
        reader.join();
}
