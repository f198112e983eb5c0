#include "galvo_session.h"

using GalvoEvents = GalvoSessionTest;
using Calls = std::vector<std::string>;

TEST_F(GalvoEvents, AnEventAdvancesAndSendsABlock)
{
    BringUp(0);
    ASSERT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 1.5, -0.5), 0);
    g_galvoDaq.writeStatus = 0;
    EXPECT_EQ(card->FireEvent(), 0);
    EXPECT_EQ(card->Calls(), Calls{"writeAnalogF64(t1, 100, 0, 10, 0)"});
    EXPECT_EQ(card->Blocks().back(), AllSamples());
    EXPECT_GT(Channel(0)[99], 0.5);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoEvents, AnEventWhileDataIsNotReadySendsTheOldSamples)
{
    BringUp(0);
    ASSERT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 1.5, -0.5), 0);
    g_galvoDaq.dataReady = 0;
    const std::vector<double> before = AllSamples();
    EXPECT_EQ(card->FireEvent(), 0);
    EXPECT_EQ(card->Blocks().back(), before);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoEvents, AnEventBehindAClearedRunningFlagUpdatesButSendsNothing)
{
    BringUp(0);
    ASSERT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 1.5, -0.5), 0);
    g_galvoDaq.daqRunning = 0;
    EXPECT_EQ(card->FireEvent(), 0);
    EXPECT_EQ(card->Calls(), Calls{});
    EXPECT_GT(g_galvo[0].posX[0], 0.5);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoEvents, AnEventWithoutATaskDoesNothing)
{
    BringUp(0);
    ZVK_Galvo_DaqStop(0);
    card->ForgetCalls();
    g_galvoDaq.writeStatus = 0;
    EXPECT_EQ(ZVK_Galvo_OnEveryNSamplesEvent(nullptr, 2, 50, nullptr), 0);
    EXPECT_EQ(card->Calls(), Calls{});
    EXPECT_EQ(g_galvoDaq.writeStatus, 0);
}

TEST_F(GalvoEvents, ARefusedBlockBuildsTheTaskAnewAtZeroVolts)
{
    BringUp(0);
    int32_t wp = 0;
    ASSERT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 1, 1), 0);
    card->ForgetCalls();
    card->FailCall("writeAnalogF64", 1);
    EXPECT_EQ(card->FireEvent(), 0);
    const Calls calls = card->Calls();
    ASSERT_EQ(calls.size(), 13U);
    EXPECT_EQ(calls[0], "writeAnalogF64(t1, 100, 0, 10, 0)");
    EXPECT_EQ(calls[1], "stopTask(t1)");
    EXPECT_EQ(calls[2], "clearTask(t1)");
    EXPECT_EQ(calls[3], "createTask(t2, \"\")");
    EXPECT_EQ(calls[12], "startTask(t2)");
    EXPECT_EQ(card->OpenTasks(), 1);
    EXPECT_EQ(AllSamples(), std::vector<double>(400, 0.0));
    EXPECT_EQ(g_galvo[0].NumOfWP, 2) << "the waypoints stay";
    EXPECT_EQ(g_galvo[0].posX[1], 1.0);
    EXPECT_EQ(g_galvoDaq.writeStatus, 0);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 1, 2, 2), 0);
    EXPECT_EQ(Channel(0)[50], 2.0) << "the next rebuild brings the mirrors back";
}

TEST_F(GalvoEvents, ATickAdvancesOneBlockAndTellsSo)
{
    BringUp(1);
    ASSERT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 1.5, -0.5), 0);
    g_galvoDaq.writeStatus = 0;
    timers->Tick(g_galvoDaq.simTimerId);
    EXPECT_NEAR(g_galvo[0].posX[0], 0.5 + 12 * 0.0008, 1e-9) << "100 samples, 8 a point";
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
    EXPECT_EQ(g_galvoDaq.updating, 0);
}

TEST_F(GalvoEvents, ATickWhileDataIsNotReadyAdvancesNothing)
{
    BringUp(1);
    ASSERT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 1.5, -0.5), 0);
    g_galvoDaq.dataReady = 0;
    g_galvoDaq.writeStatus = 0;
    timers->Tick(g_galvoDaq.simTimerId);
    EXPECT_EQ(g_galvo[0].posX[0], 0.5);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
}

TEST_F(GalvoEvents, TheDiscardEventForgetsTheTimerAndOthersDoNothing)
{
    BringUp(1);
    const int32_t id = g_galvoDaq.simTimerId;
    g_galvoDaq.writeStatus = 0;
    EXPECT_EQ(ZVK_Galvo_SimEveryNSamplesEvent(0, id, 3, nullptr, 0, 0), 0);
    EXPECT_EQ(g_galvoDaq.simTimerId, id);
    EXPECT_EQ(g_galvoDaq.writeStatus, 0);
    EXPECT_EQ(ZVK_Galvo_SimEveryNSamplesEvent(0, id, 16, nullptr, 0, 0), 0);
    EXPECT_EQ(g_galvoDaq.simTimerId, -1);
    g_galvoDaq.simTimerId = id;
}
