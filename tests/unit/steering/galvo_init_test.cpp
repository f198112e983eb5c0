#include "galvo_session.h"

#include "steering/galvo_gate.h"

#include <thread>

using GalvoInit = GalvoSessionTest;

TEST_F(GalvoInit, BringsBothPathsUpAtTheirCentres)
{
    WriteConfig(0);
    EXPECT_EQ(ZVK_Galvo_Init(640, 1, 1), 0);
    const ZVK_GalvoState &a = g_galvo[0];
    EXPECT_EQ(a.initialized, 1);
    EXPECT_EQ(a.NumOfWP, 1);
    EXPECT_EQ(a.posX[0], 0.5);
    EXPECT_EQ(a.posY[0], -0.5);
    EXPECT_EQ(a.speeds[0], 1.0);
    EXPECT_EQ(a.moveMode[0], ZVK_MOVE_STAND);
    EXPECT_EQ(a.xMax, 5.0);
    EXPECT_EQ(a.xMin, -5.0);
    EXPECT_EQ(a.yMax, 4.0);
    EXPECT_EQ(a.yMin, -4.0);
    const ZVK_GalvoState &b = g_galvo[1];
    EXPECT_EQ(b.initialized, 1);
    EXPECT_EQ(b.posX[0], 0.25);
    EXPECT_EQ(b.yMax, 2.0);
    EXPECT_EQ(g_galvoDaq.writeStatus, 1);
    EXPECT_EQ(g_galvoDaq.autoUpdate, 1);
}

TEST_F(GalvoInit, OutputsStandAtZeroVoltsAlthoughWaypointsReportTheCentre)
{
    BringUp(0);
    EXPECT_EQ(AllSamples(), std::vector<double>(400, 0.0));
    for (const std::vector<double> &block : card->Blocks())
        EXPECT_EQ(block, std::vector<double>(400, 0.0));
    EXPECT_EQ(card->Blocks().size(), 2U) << "one before the start, one behind it";
    double x = 0;
    double y = 0;
    ZVK_Galvo_GetPositionCurrent(0, 0, 0, &x, &y);
    EXPECT_EQ(x, 0.5);
    ZVK_Galvo_SetPosition(0, 0, 0, x, y);
    EXPECT_EQ(Channel(0), std::vector<double>(100, 0.5))
        << "the first rebuild brings the mirrors there";
}

TEST_F(GalvoInit, ASecondInitAnswersZeroAndReadsNothing)
{
    BringUp(0);
    folder.Write("config.ini", "");
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), 0);
    EXPECT_TRUE(card->Calls().empty());
    g_galvo[0].initialized = 0;
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), 0) << "either path is enough";
    g_galvo[0].initialized = 1;
}

TEST_F(GalvoInit, EachMissingKeyIsTheStatusAndNothingComesUp)
{
    for (const char *key : {"OFFSETX", "OFFSETY", "MAXX", "MINX", "MAXY", "MINY"}) {
        ResetGalvo();
        WriteConfigWithout(key);
        EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_EQ(g_galvo[0].initialized, 0);
        EXPECT_TRUE(card->Calls().empty());
    }
    folder.Write("config.ini", "");
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), ZVK_CONFILE_NOT_READABLE);
}

TEST_F(GalvoInit, AFailedOutputLeavesThePathsInitialized)
{
    WriteConfig(0);
    card->FailCall("createTask", 1);
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), ZVK_GALVO_DAQ_FAILED);
    EXPECT_EQ(g_galvo[0].initialized, 1);
    EXPECT_EQ(g_galvo[1].initialized, 1);
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), 0) << "and a second Init says nothing of it";
}

TEST_F(GalvoInit, AnOutputThatIsUpAlreadyGivesItsWarning)
{
    WriteConfig(0);
    ASSERT_EQ(ZVK_Galvo_DaqInit(0, 1), 0);
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), ZVK_GALVO_DAQ_ALREADY_INITIALIZED);
    EXPECT_EQ(g_galvo[0].initialized, 1);
}

TEST_F(GalvoInit, InitWaitsForAnUpdateThatIsRunning)
{
    WriteConfig(1);
    SetUpdating(1);
    clock->OnWait([] { SetUpdating(0); });
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), 0);
    EXPECT_GE(clock->Breaths(), 1);
}

TEST_F(GalvoInit, ShutdownFreesBothPathsAndCanBeRepeated)
{
    BringUp(0);
    int32_t wp = 0;
    ZVK_Galvo_AddWaypoint(0, 0, &wp, 1, 1);
    ZVK_Galvo_SetPositionTarget(0, 0, 1, 2, 2);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(ZVK_Galvo_Shutdown(0), 0);
        for (const ZVK_GalvoState &row : g_galvo) {
            EXPECT_EQ(row.initialized, 0);
            EXPECT_EQ(row.posX, nullptr);
            EXPECT_EQ(row.posY, nullptr);
            EXPECT_EQ(row.targetX, nullptr);
            EXPECT_EQ(row.targetY, nullptr);
            EXPECT_EQ(row.speeds, nullptr);
        }
        EXPECT_EQ(g_galvoDaq.dataReady, 0);
        EXPECT_EQ(card->OpenTasks(), 0);
    }
    EXPECT_EQ(clock->Delays().size(), 1U);
}

TEST_F(GalvoInit, ShutdownAndInitWorkAnyNumberOfTimesOnBothBackEnds)
{
    for (int i = 0; i < 20; ++i) {
        BringUp(i % 2);
        int32_t wp = 0;
        ASSERT_EQ(ZVK_Galvo_AddWaypoint(0, i % 2, &wp, 1, 1), 0);
        EXPECT_EQ(wp, 2);
        if (i % 2 == 0) {
            EXPECT_EQ(g_galvo[1].ySampleOffset, 300);
        } else {
            EXPECT_EQ(g_galvo[1].ySampleOffset, 0) << "simulation finds all offsets at 0";
        }
        EXPECT_EQ(ZVK_Galvo_Shutdown(0), 0);
    }
}

TEST_F(GalvoInit, CallsBetweenShutdownAndInitHarmNothing)
{
    BringUp(0);
    ZVK_Galvo_Shutdown(0);
    double x = 7;
    double y = 7;
    EXPECT_LT(ZVK_Galvo_GetPositionCurrent(0, 0, 0, &x, &y), 0);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 1, 1), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(ZVK_Galvo_SetSpeed(0, 0, 0, 1), 0);
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), ZVK_GALVO_NOT_CONFIGURED);
    EXPECT_EQ(ZVK_Galvo_OnEveryNSamplesEvent(nullptr, 0, 0, nullptr), 0);
    int32_t wp = 0;
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 1, 1), 0);
    EXPECT_EQ(wp, 1);
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), 0);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
    EXPECT_EQ(g_galvo[0].posX[0], 0.5);
}

TEST_F(GalvoInit, PathAIsReadBeforePathB)
{
    folder.Write("config.ini",
                 "[GALVO 0]\r\nOFFSETX=1\r\nOFFSETY=2\r\nMAXX=5\r\nMINX=-5\r\nMAXY=4\r\n"
                 "MINY=-4\r\n[GALVO 1]\r\nOFFSETX=3\r\n");
    EXPECT_EQ(ZVK_Galvo_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(g_galvo[0].yMin, -4.0);
    EXPECT_EQ(g_galvo[1].xoff, 3.0);
    EXPECT_EQ(g_galvo[0].NumOfWP, 0);
}

TEST_F(GalvoInit, SavingTheCentreWritesTheFileAndNotTheState)
{
    BringUp(0);
    EXPECT_EQ(ZVK_Galvo_SaveOffset(0, 1, 1.125, -1.5), 0);
    EXPECT_EQ(g_galvo[1].xoff, 0.25);
    double x = 0;
    double y = 0;
    EXPECT_EQ(ZVK_Galvo_LoadOffset(0, 1, &x, &y), 0);
    EXPECT_EQ(x, 1.125);
    EXPECT_EQ(y, -1.5);
    EXPECT_EQ(g_galvo[1].xoff, 0.25);
    EXPECT_EQ(ZVK_Galvo_LoadOffset(0, 0, &x, &y), 0);
    EXPECT_EQ(x, 0.5) << "the other path's section";
}

TEST_F(GalvoInit, SavingOrLoadingTheCentreWithoutAFileGivesItsStatus)
{
    BringUp(0);
    folder.Write("config.ini", "");
    double x = 9;
    double y = 9;
    EXPECT_EQ(ZVK_Galvo_SaveOffset(0, 0, 1, 1), ZVK_CONFILE_NOT_READABLE);
    EXPECT_EQ(ZVK_Galvo_LoadOffset(0, 0, &x, &y), ZVK_CONFILE_NOT_READABLE);
    folder.Write("config.ini", "[GALVO 0]\r\nOFFSETX = 3\r\n");
    EXPECT_EQ(ZVK_Galvo_LoadOffset(0, 0, &x, &y), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(x, 3.0) << "read before the one that is missing";
    EXPECT_EQ(y, 9.0);
}
