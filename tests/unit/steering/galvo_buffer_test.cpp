#include "galvo_fixture.h"
#include "steering/galvo_nodes.h"

#include <cmath>
#include <numeric>

using GalvoBuffer = GalvoTest;

TEST_F(GalvoBuffer, StateAtLoadIsAsTheRecordsTell)
{
    EXPECT_EQ(g_galvoDaq.backend, 1);
    EXPECT_EQ(g_galvoDaq.autoUpdate, 1);
    EXPECT_EQ(g_galvoDaq.simTimerId, -1);
    EXPECT_EQ(g_galvoDaq.dataReady, 0);
    EXPECT_EQ(g_galvoDaq.updating, 0);
    EXPECT_EQ(g_galvoDaq.buffer, nullptr);
    EXPECT_EQ(g_galvoDaq.samplesPerChan, 0);
    EXPECT_EQ(g_galvoDaq.maxStep, 0.0);
    for (const ZVK_GalvoState &row : g_galvo)
        EXPECT_EQ(row.NumOfWP, 0);
}

TEST_F(GalvoBuffer, BlocksStandInTheOrderOfTheOutputs)
{
    PrepareOutput(10);
    Configure(0, 1);
    double x = 3;
    double y = 4;
    const double speed = 1;
    const int32_t mode = 3;
    ASSERT_EQ(ZVK_Galvo_BufferConfigure(0, 1, 1, &x, &y, &speed, &mode), 0);
    EXPECT_EQ(Channel(0), std::vector<double>(10, 1.0));
    EXPECT_EQ(Channel(1), std::vector<double>(10, 2.0));
    EXPECT_EQ(Channel(2), std::vector<double>(10, 3.0));
    EXPECT_EQ(Channel(3), std::vector<double>(10, 4.0));
}

TEST_F(GalvoBuffer, SlotsShareABlockAndTheRestIsNeverRewritten)
{
    PrepareOutput(1000);
    g_galvoDaq.buffer[999] = 7.5;
    g_galvoDaq.buffer[1999] = 8.5;
    Configure(0, 3);  // 333 samples each
    const std::vector<double> x = Channel(0);
    EXPECT_EQ(x[0], 1.0);
    EXPECT_EQ(x[332], 1.0);
    EXPECT_EQ(x[333], 1.01);
    EXPECT_EQ(x[665], 1.01);
    EXPECT_EQ(x[666], 1.02);
    EXPECT_EQ(x[998], 1.02);
    EXPECT_EQ(x[999], 7.5);
    EXPECT_EQ(Channel(1)[999], 8.5);
}

TEST_F(GalvoBuffer, TheRestOfABlockKeepsAnOldSlotsValue)
{
    PrepareOutput(10);
    Configure(0, 1);
    Configure(0, 3);
    EXPECT_EQ(Channel(0)[9], 1.0) << "from when one waypoint had all ten samples";
}

TEST_F(GalvoBuffer, SimulatedOffsetsAreAllZeroAndTheLastWriteWins)
{
    PrepareOutput(10);
    for (ZVK_GalvoState &row : g_galvo)
        row.xSampleOffset = row.ySampleOffset = 0;
    Configure(0, 1);
    EXPECT_EQ(Channel(0), std::vector<double>(10, 2.0)) << "Y stands where X was written";
    EXPECT_EQ(Channel(1), std::vector<double>(10, 0.0));
    EXPECT_EQ(Channel(2), std::vector<double>(10, 0.0));
    EXPECT_EQ(Channel(3), std::vector<double>(10, 0.0));
}

TEST_F(GalvoBuffer, ConfigureChecksPathThenCountThenUpdate)
{
    PrepareOutput(10);
    g_galvoDaq.updating = 1;
    double x = 0;
    double y = 0;
    const double speed = 1;
    const int32_t mode = 3;
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 2, 0, &x, &y, &speed, &mode), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, -1, 1, &x, &y, &speed, &mode), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 0, &x, &y, &speed, &mode), ZVK_GALVO_NO_WAYPOINT);
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 0, -3, &x, &y, &speed, &mode), ZVK_GALVO_NO_WAYPOINT);
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 1, &x, &y, &speed, &mode), ZVK_GALVO_BUFFER_IN_USE);
    g_galvoDaq.updating = 0;
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 1, nullptr, &y, &speed, &mode),
              ZVK_GALVO_NO_WAYPOINT);
}

TEST_F(GalvoBuffer, ConfigureClampsIntoTheCallersArraysAndAnswers611)
{
    PrepareOutput(10);
    double x[2] = {12, 1};
    double y[2] = {1, -11};
    const double speeds[2] = {0.5, -4};
    const int32_t modes[2] = {1, 2};
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 1, 2, x, y, speeds, modes), ZVK_GALVO_CLAMPED);
    EXPECT_EQ(x[0], 10.0);
    EXPECT_EQ(y[1], -10.0);
    const ZVK_GalvoState &row = g_galvo[1];
    ASSERT_EQ(row.NumOfWP, 2);
    EXPECT_EQ(row.posX[0], 10.0);
    EXPECT_EQ(row.targetX[0], 10.0);
    EXPECT_EQ(row.posY[1], -10.0);
    EXPECT_EQ(row.targetY[1], -10.0);
    EXPECT_EQ(row.speeds[0], 0.5);
    EXPECT_EQ(row.speeds[1], -4.0);
    EXPECT_EQ(row.moveMode[0], 1);
    EXPECT_EQ(row.moveMode[1], 2);
    EXPECT_EQ(row.direction[0], 1);
    const ZVK_GalvoNode &node = *row.trajectory[0];
    EXPECT_EQ(node.x, 10.0);
    EXPECT_EQ(node.y, 1.0);
    EXPECT_EQ(node.count, 0);
    EXPECT_EQ(node.dwell, 1);
    EXPECT_TRUE(IsHead(node));
    EXPECT_TRUE(IsTail(node));
}

TEST_F(GalvoBuffer, ConfigureSetsTheFlagsAndSendsNothing)
{
    PrepareOutput(10);
    g_galvoDaq.writeStatus = 1;
    Configure(0, 1);
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvoDaq.writeStatus, 0);
}

TEST_F(GalvoBuffer, ConfigureNeedsNoInitializedPathAndNoSamples)
{
    double x[2] = {0, 0};
    double y[2] = {0, 0};
    const double speeds[2] = {1, 1};
    const int32_t modes[2] = {3, 3};
    ASSERT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 2, x, y, speeds, modes), 0);
    EXPECT_EQ(g_galvo[0].NumOfWP, 2);
    EXPECT_EQ(g_galvo[0].initialized, 0);
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvoDaq.buffer, nullptr);
}

TEST_F(GalvoBuffer, WhatIsNotANumberNeverReachesAMirror)
{
    PrepareOutput(10);
    double x = std::nan("");
    double y = 2;
    const double speed = 1;
    const int32_t mode = 3;
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 1, &x, &y, &speed, &mode), ZVK_GALVO_CLAMPED);
    EXPECT_EQ(x, -10.0);
    EXPECT_EQ(Channel(0), std::vector<double>(10, -10.0));
}

TEST_F(GalvoBuffer, OtherPathsSamplesAreNotTouched)
{
    PrepareOutput(10);
    Configure(1, 1);
    std::iota(g_galvoDaq.buffer + 20, g_galvoDaq.buffer + 40, 100.0);
    const std::vector<double> x = Channel(2);
    const std::vector<double> y = Channel(3);
    Configure(0, 2);
    int32_t wp = 0;
    ZVK_Galvo_AddWaypoint(0, 0, &wp, 5, 5);
    ZVK_Galvo_SetPosition(0, 0, 1, 6, 6);
    ZVK_Galvo_RemoveWaypoint(0, 0, 0);
    EXPECT_EQ(Channel(2), x);
    EXPECT_EQ(Channel(3), y);
}

TEST_F(GalvoBuffer, GetBufferGivesFourBlocksOrRefusesASmallerRoom)
{
    PrepareOutput(5);
    Configure(0, 1);
    std::vector<double> room(20, -1.0);
    EXPECT_EQ(ZVK_Galvo_GetBuffer(0, room.data(), 19), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(room[0], -1.0);
    EXPECT_EQ(ZVK_Galvo_GetBuffer(0, room.data(), 20), 0);
    EXPECT_EQ(room, AllSamples());
}

TEST_F(GalvoBuffer, GetBufferFillsNoMoreThanThereIs)
{
    PrepareOutput(5);
    std::vector<double> room(25, -1.0);
    EXPECT_EQ(ZVK_Galvo_GetBuffer(0, room.data(), 25), 0);
    EXPECT_EQ(room[19], 0.0);
    EXPECT_EQ(room[20], -1.0);
}

TEST_F(GalvoBuffer, GetBufferWithoutSamplesIsRefused)
{
    double room = -1;
    EXPECT_EQ(ZVK_Galvo_GetBuffer(0, &room, 1), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(ZVK_Galvo_GetBuffer(0, &room, 0), 0);
    EXPECT_EQ(room, -1.0);
}

TEST_F(GalvoBuffer, SetBufferChecksTheOutputThenTheSize)
{
    PrepareOutput(5);
    const std::vector<double> samples(21, 3.0);
    g_galvoDaq.daqInitialized = 0;
    EXPECT_EQ(ZVK_Galvo_SetBuffer(0, samples.data(), 21), ZVK_GALVO_NOT_CONFIGURED);
    g_galvoDaq.daqInitialized = 1;
    EXPECT_EQ(ZVK_Galvo_SetBuffer(0, samples.data(), 21), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(AllSamples(), std::vector<double>(20, 0.0));
}

TEST_F(GalvoBuffer, SetBufferTakesASmallerSizeAndKeepsTheRest)
{
    PrepareOutput(5);
    Configure(0, 1);
    const std::vector<double> samples(3, 9.0);
    g_galvoDaq.writeStatus = 1;
    g_galvoDaq.dataReady = 0;
    EXPECT_EQ(ZVK_Galvo_SetBuffer(0, samples.data(), 3), 0);
    EXPECT_EQ(Channel(0), (std::vector<double>{9, 9, 9, 1, 1}));
    EXPECT_EQ(g_galvoDaq.writeStatus, 0);
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    EXPECT_EQ(g_galvo[0].posX[0], 1.0) << "the waypoints do not learn of it";
    EXPECT_EQ(ZVK_Galvo_SetBuffer(0, samples.data(), -4), 0) << "nothing to copy";
    EXPECT_EQ(Channel(0)[3], 1.0);
}

TEST_F(GalvoBuffer, SamplesOfAnotherSizeAreNeverWrittenOutside)
{
    PrepareOutput(10);
    g_galvoDaq.samplesPerChan = 1000;  // a start that failed after its keys were read
    Configure(0, 2);
    EXPECT_EQ(g_galvo[0].NumOfWP, 2);
    EXPECT_EQ(g_galvoDaq.buffer[0], 0.0);
    g_galvoDaq.samplesPerChan = 10;
}
