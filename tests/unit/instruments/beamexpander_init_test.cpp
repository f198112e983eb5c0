// Beam expanders coming up and going down, simulated or not, and what each call answers before.

#include "beamexpander_fixture.h"

#include "quorvex/quorvex.h"

#include <limits>

using BeamExpanderInit = BeamExpanderTest;

TEST_F(BeamExpanderInit, APathOtherThanZeroAndOneIsRefusedFirst)
{
    WriteConfig();
    for (const int32_t path : {-1, 2, 1000}) {
        int32_t value = 7;
        EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, path), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_SetDefaultValues(path), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(m_BeamExpander_GotoInitPos(path), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, path, &value), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_GetLimits(0, path, &value, &value), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_GetPosition(0, path, &value), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_GetSpeed(0, path, &value), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, path, 0), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, path, &value), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, path, 5000), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, path, 1, 5000), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_Center(0, path), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamExpander_Reset(0, path), ZVK_BEAMEXPANDER_BAD_PATH);
        EXPECT_EQ(value, 7);
    }
    EXPECT_TRUE(ports.Calls().empty());
}

TEST_F(BeamExpanderInit, APathThatIsDownAnswersWithTheWarningOrDoesNothing)
{
    int32_t value = 7;
    EXPECT_EQ(ZVK_BeamExpander_SetDefaultValues(0), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_GetLimits(0, 0, &value, &value), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_GetPosition(0, 0, &value), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_GetSpeed(0, 0, &value), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 0), ZVK_BEAMEXPANDER_NOT_FOUND) << "before 209";
    EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, &value), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 99999), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 99999), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(m_BeamExpander_GotoInitPos(0), 0);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 99999), 0) << "before 201";
    EXPECT_EQ(ZVK_BeamExpander_Center(0, 0), 0);
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), 0);
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, 0, &value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_EQ(folder.CountFiles(), 0);
}

TEST_F(BeamExpanderInit, EachMissingKeyIsTheStatusAndTheKeysBeforeItCount)
{
    const char *const keys[] = {"MI",      "BACKEND",  "SIMULATE", "INITPOS",
                                "CWLIMIT", "CCWLIMIT", "INISEC"};
    for (size_t i = 0; i < std::size(keys); ++i) {
        g_beamExpander[1] = {};
        g_beamExpander[1].ccwLimit = 55;
        WriteConfigWithout(keys[i]);
        EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_CONFILE_NOT_FOUND) << keys[i];
        const ZVK_BeamExpanderState &row = g_beamExpander[1];
        EXPECT_EQ(row.mi, i > 0 ? 1 : 0) << keys[i];
        EXPECT_EQ(row.backend, i > 1 ? 1 : 0) << keys[i];
        EXPECT_EQ(row.initPos, i > 3 ? 100 : 0) << keys[i];
        EXPECT_EQ(row.cwLimit, i > 4 ? 1001 : 0) << keys[i];
        EXPECT_EQ(row.ccwLimit, i > 5 ? 0 : 55) << keys[i];
        EXPECT_EQ(row.initialized, 0);
    }
    EXPECT_TRUE(ports.Calls().empty());
}

TEST_F(BeamExpanderInit, WithoutAFileItGivesTheStatusOfTheRead)
{
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), ZVK_CONFILE_NOT_READABLE);
}

TEST_F(BeamExpanderInit, AllKeysAreReadBeforeMiIsLookedAt)
{
    WriteConfig({}, {.mi = 0});
    std::string text = folder.Read("config.ini");
    folder.Write("config.ini", text.substr(0, text.rfind("INISEC")));
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_CONFILE_NOT_FOUND);
}

TEST_F(BeamExpanderInit, APathWithoutAnExpanderStaysDownWithoutAWarning)
{
    WriteConfig({.mi = 0, .backend = 7, .simulate = 1});
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(g_beamExpander[0].initialized, 0);
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamExpanderInit, ASimulatedPathComesUpAtItsLastPositionWhateverTheBackend)
{
    WriteConfig({.backend = 7, .simulate = 1, .initPos = 42});
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(g_beamExpander[0].initialized, 1);
    EXPECT_EQ(Position(0), 42);
    EXPECT_EQ(g_beamExpander[0].maxSpeed, 0);
    EXPECT_EQ(ZVK_BeamExpander_SetDefaultValues(0), 0);
    EXPECT_EQ(g_beamExpander[0].speed, 0) << "there is no board to set up";
    EXPECT_TRUE(ports.Calls().empty());
}

TEST_F(BeamExpanderInit, ASimulatedStartAfterABoardHasNoHighestSpeed)
{
    BringUp(0);
    ASSERT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    BringUp(0, {.simulate = 1});
    EXPECT_EQ(g_beamExpander[0].maxSpeed, 0);
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 50), ZVK_BEAMEXPANDER_BAD_SPEED);
}

TEST_F(BeamExpanderInit, AnotherBackendGivesTheWarningAndStaysDown)
{
    for (const int32_t backend : {0, 2, 3}) {
        WriteConfig({.backend = backend});
        EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_NOT_FOUND) << backend;
        EXPECT_EQ(g_beamExpander[0].initialized, 0);
    }
    EXPECT_TRUE(ports.Calls().empty());
}

TEST_F(BeamExpanderInit, ASecondInitGivesTheWarningAndReadsNothing)
{
    BringUp(0);
    folder.Write("config.ini", "");
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_ALREADY_INITIALIZED);
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_TRUE(Captured().empty());
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_CONFILE_NOT_READABLE)
        << "the other path isn't";
}

TEST_F(BeamExpanderInit, NeitherHomesNorMovesNorAsksForThePosition)
{
    WriteConfig();
    ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
    for (const std::string &command : Commands())
        EXPECT_TRUE(command.starts_with("5: 5 ") || command.starts_with("5: 10 ")) << command;
    EXPECT_EQ(InitPos(0), "100");
    EXPECT_TRUE(clock.Delays().empty());
}

TEST_F(BeamExpanderInit, TheInitStatusIsOnePlusTheKeySimulate)
{
    int32_t status = -9;
    BringUp(0);
    EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, 0, &status), 0);
    EXPECT_EQ(status, 1);
    for (const int32_t simulate : {1, 5}) {
        g_beamExpander[1] = {};
        BringUp(1, {.simulate = simulate});
        EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, 1, &status), 0);
        EXPECT_EQ(status, 1 + simulate);
    }
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, 1, &status), 0);
    EXPECT_EQ(status, 0);
}

TEST_F(BeamExpanderInit, ANullOutputIsPassedOver)
{
    BringUp(0);
    EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_BeamExpander_GetLimits(0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_BeamExpander_GetPosition(0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_BeamExpander_GetSpeed(0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, nullptr), 0);
}

TEST_F(BeamExpanderInit, LimitsAndSpeedAreThoseOfKeysAndBoard)
{
    BringUp(0, {.cwLimit = 900, .ccwLimit = -50});
    int32_t cw = 0;
    int32_t ccw = 0;
    int32_t speed = 0;
    EXPECT_EQ(ZVK_BeamExpander_GetLimits(0, 0, &cw, &ccw), 0);
    EXPECT_EQ(cw, 900);
    EXPECT_EQ(ccw, -50);
    EXPECT_EQ(ZVK_BeamExpander_GetSpeed(0, 0, &speed), 0);
    EXPECT_EQ(speed, 80);
}

TEST_F(BeamExpanderInit, ThePositionOfASimulatedPathIsGivenBeforeItIsUp)
{
    g_beamExpander[0].simulate = 1;
    g_beamExpander[0].position = 12;
    int32_t position = 0;
    int32_t reached = 0;
    EXPECT_EQ(ZVK_BeamExpander_GetPosition(0, 0, &position), 0);
    EXPECT_EQ(position, 12);
    EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, &reached), 0);
    EXPECT_EQ(reached, 1);
}

TEST_F(BeamExpanderInit, ShutdownClosesThePortAndWritesThePosition)
{
    BringUpBoth({}, {.initPos = 300});
    g_beamExpander[0].position = 111;
    g_beamExpander[1].position = 222;
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_EQ(ports.Calls(), (Calls{"close(5)", "close(6)"})) << "the motors are told nothing";
    EXPECT_EQ(InitPos(0), "111");
    EXPECT_EQ(InitPos(1), "222");
    EXPECT_EQ(g_beamExpander[0].initialized, 0);
    EXPECT_EQ(g_beamExpander[1].initialized, 0);
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_EQ(ports.Calls().size(), 2U) << "a second one does nothing";
}

TEST_F(BeamExpanderInit, ShutdownOfASimulatedPathOnlyTakesItDown)
{
    BringUpBoth({.simulate = 1}, {});
    ASSERT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 77), 0);
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_EQ(InitPos(0), "100");
    EXPECT_EQ(g_beamExpander[0].initialized, 0);
    EXPECT_EQ(g_beamExpander[1].initialized, 0);
    EXPECT_EQ(ports.Calls(), Calls{"close(6)"});
}

TEST_F(BeamExpanderInit, ShutdownWithoutAWritableFileStillGivesZero)
{
    BringUp(0);
    folder.Remove("config.ini");
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_FALSE(folder.Holds("config.ini"));
    EXPECT_EQ(ports.OpenPorts(), 0);
}

TEST_F(BeamExpanderInit, AHundredRoundsLeaveNoPortOpen)
{
    for (int i = 0; i < 100; ++i) {
        BringUpBoth();
        ASSERT_EQ(ports.OpenPorts(), 2);
        ASSERT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
        ASSERT_EQ(ports.OpenPorts(), 0);
    }
}
