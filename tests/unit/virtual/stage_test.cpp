// The virtual stage controller: its language, its axes, and its port by the real network.

#include <quorvex-virtual/stage.h>

#include "platform/stagelink.h"
#include "platform/tcp.h"

#include <gtest/gtest.h>

#include <cmath>

class VirtualStageTest : public ::testing::Test
{
protected:
    static VirtualStageSettings Told(double *now)
    {
        VirtualStageSettings settings;
        settings.clock = [now] { return *now; };
        return settings;
    }

    std::string Error() { return stage.Ask("ERR?"); }

    double now = 0.0;
    VirtualStage stage{Told(&now)};
};

TEST_F(VirtualStageTest, TellsItsAxesLineByLine)
{
    EXPECT_EQ(stage.Ask("SAI?"), "1 \n2 \n3\n");
    EXPECT_EQ(stage.Ask("CSV?"), "2.0\n");
    EXPECT_EQ(stage.Ask("POS? 2"), "2=4.000000000e+01\n");
}

TEST_F(VirtualStageTest, AMoveNeedsItsServoAndTravelsInTime)
{
    EXPECT_EQ(stage.Ask("MOV 1 50"), "");
    EXPECT_EQ(Error(), "5\n");
    EXPECT_EQ(Error(), "0\n") << "forgotten by telling";
    stage.Ask("SVO 1 1");
    stage.Ask("VEL 1 10");
    stage.Ask("MOV 1 50");
    EXPECT_EQ(Error(), "0\n");
    now = 1.0;
    EXPECT_NEAR(stage.State(0).position, 40.0, 1e-12);
    EXPECT_EQ(stage.Ask("ONT? 1"), "1=0\n");
    now = 2.5;
    EXPECT_EQ(stage.Ask("ONT? 1"), "1=1\n");
    EXPECT_EQ(stage.State(0).position, 50.0);
}

TEST_F(VirtualStageTest, ANewVelocityLeavesWhatIsTravelled)
{
    stage.Ask("SVO 1 1");
    stage.Ask("VEL 1 10");
    stage.Ask("MOV 1 50");
    now = 1.0;
    stage.Ask("VEL 1 1");
    EXPECT_NEAR(stage.State(0).position, 40.0, 1e-12);
    now = 3.0;
    EXPECT_NEAR(stage.State(0).position, 42.0, 1e-12);
    now = 20.0;
    stage.Ask("VEL 1 0.001");
    EXPECT_EQ(stage.State(0).position, 50.0);
    EXPECT_EQ(stage.Ask("ONT? 1"), "1=1\n");
}

TEST_F(VirtualStageTest, NoAxisMovesWhenOneTargetIsBad)
{
    stage.Ask("SVO 1 1 2 1");
    stage.Ask("MOV 1 50 2 500");
    EXPECT_EQ(Error(), "7\n");
    now = 10.0;
    EXPECT_EQ(stage.State(0).position, 30.0);
    stage.Ask("MOV 1 50 9 50");
    EXPECT_EQ(Error(), "15\n");
}

TEST_F(VirtualStageTest, AHomeShiftsPositionTargetAndLimits)
{
    stage.Ask("SVO 1 1");
    stage.Ask("DFH 1");
    EXPECT_EQ(stage.Ask("POS? 1"), "1=0.000000000e+00\n");
    EXPECT_EQ(stage.Ask("MOV? 1"), "1=0.000000000e+00\n");
    EXPECT_EQ(stage.Ask("PLM? 1"), "1=7.000000000e+01\n");
    EXPECT_EQ(stage.Ask("NLM? 1"), "1=-3.000000000e+01\n");
}

TEST_F(VirtualStageTest, AGeneratorShakesFromItsLowestPointAndRefusesMoves)
{
    stage.Ask("SVO 1 1");
    stage.Ask("WTR 1 1 0");
    stage.Ask("WAV 1 X SIN_P 400 2 29 400 0 200");
    stage.Ask("CTO 1 3 4");
    stage.Ask("WGO 1 17");
    EXPECT_EQ(Error(), "0\n");
    const double period = 400 * 50e-6;
    EXPECT_NEAR(stage.State(0).hertz, 1.0 / period, 1e-9);
    EXPECT_NEAR(stage.PositionAt(0, 0.0), 29.0, 1e-12);
    EXPECT_NEAR(stage.PositionAt(0, period / 2), 31.0, 1e-12);
    EXPECT_NEAR(stage.PositionAt(0, period / 4), 30.0, 1e-12);
    EXPECT_TRUE(stage.State(0).triggersOutput);
    stage.Ask("MOV 1 30");
    EXPECT_EQ(Error(), "73\n");
    stage.Ask("WGO 1 0");
    EXPECT_FALSE(stage.State(0).oscillates);
    stage.Ask("WCL 1");
    stage.Ask("WGO 1 17");
    EXPECT_EQ(Error(), "17\n") << "an empty table";
}

TEST_F(VirtualStageTest, AStopIsAnErrorOfItsOwn)
{
    stage.Ask("SVO 1 1");
    stage.Ask("VEL 1 10");
    stage.Ask("MOV 1 50");
    now = 0.5;
    stage.Ask("STP");
    EXPECT_EQ(Error(), "10\n");
    now = 5.0;
    EXPECT_NEAR(stage.State(0).position, 35.0, 1e-12);
}

TEST_F(VirtualStageTest, WhatItDoesNotKnowHasNoAnswer)
{
    EXPECT_EQ(stage.Ask("HUH? 1"), "");
    EXPECT_EQ(Error(), "2\n");
    EXPECT_EQ(stage.Ask(""), "");
    stage.Ask("MOV");
    EXPECT_EQ(Error(), "24\n");
    stage.Ask("WAV 1 X SIN_P");
    EXPECT_EQ(Error(), "24\n");
    stage.Ask("VEL 1 -1");
    EXPECT_EQ(Error(), "8\n");
}

TEST_F(VirtualStageTest, ItsPortSpeaksByTheRealNetworkWholeAndInPieces)
{
    for (const bool pieces : {false, true}) {
        VirtualStageFault fault;
        fault.byteByByte = pieces;
        stage.Misbehave(fault);
        const int32_t id = StageLink().connect("127.0.0.1", stage.Port());
        ASSERT_GE(id, 0);
        double values[3] = {};
        EXPECT_EQ(StageLink().queryPosition(id, "1 \n2 \n3 \n", values), 1);
        EXPECT_EQ(values[2], 50.0);
        EXPECT_EQ(StageLink().stop(id), 1);
        StageLink().close(id);
    }
    EXPECT_EQ(stage.Connections(), 2);
}

TEST_F(VirtualStageTest, ItHangsUpBehindAnyByteOfAnAnswer)
{
    const int length = static_cast<int>(std::string("1=3.000000000e+01\n").size());
    for (int bytes = 0; bytes < length; ++bytes) {
        VirtualStageFault fault;
        fault.closeBehindBytes = bytes;
        stage.Misbehave(fault);
        const int32_t id = StageLink().connect("127.0.0.1", stage.Port());
        ASSERT_GE(id, 0);
        double value = 7;
        EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &value), 0) << bytes;
        EXPECT_EQ(value, 7);
        StageLink().close(id);
    }
}

TEST_F(VirtualStageTest, TheNetworkRefusesWhereNobodyListens)
{
    int port = 0;
    {
        VirtualStage other;
        port = other.Port();
    }
    EXPECT_LT(Tcp().connect("127.0.0.1", port, 1.0), 0);
    EXPECT_LT(Tcp().connect("127.0.0.1", 0, 1.0), 0);
    EXPECT_LT(Tcp().connect("127.0.0.1", 70000, 1.0), 0);
    EXPECT_LT(Tcp().connect(nullptr, 50000, 1.0), 0);
    EXPECT_LT(Tcp().connect("no such host", 50000, 1.0), 0);
}

TEST_F(VirtualStageTest, AReceiveEndsAtItsTimeOutAndSeesTheEnd)
{
    const int connection = Tcp().connect("127.0.0.1", stage.Port(), 1.0);
    ASSERT_GE(connection, 0);
    char bytes[16];
    EXPECT_EQ(Tcp().receive(connection, bytes, sizeof bytes, 0.01), 0);
    stage.HangUp();
    EXPECT_LT(Tcp().receive(connection, bytes, sizeof bytes, 10.0), 0);
    Tcp().discard(connection);
    Tcp().close(connection);
}
