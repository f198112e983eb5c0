// Moves of the beam expanders: limits, what goes to the boards, and what stays in config.ini.

#include "beamexpander_fixture.h"

#include "quorvex/quorvex.h"

#include <limits>

using BeamExpanderMotion = BeamExpanderTest;

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

TEST_F(BeamExpanderMotion, APositionIsReachedByARelativeMoveAndKept)
{
    BringUp(0);
    AnswerMove(5, 250);
    AnswerMove(5, -340);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 350), 0);
    EXPECT_EQ(ports.Wire().size(), 2U);
    EXPECT_EQ(Commands(), Calls{"5: 4 1 0 = 250"});
    EXPECT_EQ(Position(0), 350);
    EXPECT_EQ(InitPos(0), "350");
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 10), 0);
    EXPECT_EQ(Commands(), Calls{"5: 4 1 0 = -340"});
    EXPECT_EQ(InitPos(0), "10");
    EXPECT_EQ(InitPos(1), "100") << "the other path's";
}

TEST_F(BeamExpanderMotion, APositionMayBeALimitButNotBeyond)
{
    BringUp(0, {.simulate = 1});
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 1001), 0);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 0), 0);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 1002), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, -1), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(Position(0), 0);
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamExpanderMotion, AMoveMayNotEndAtALimit)
{
    BringUp(0, {.simulate = 1});
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 901), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, -1, 100), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(Position(0), 100);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 900), 0);
    EXPECT_EQ(Position(0), 1000);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, -1, 999), 0);
    EXPECT_EQ(Position(0), 1);
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamExpanderMotion, TheDirectionIsAFactorOfTheSteps)
{
    BringUp(0);
    AnswerMove(5, -60);
    AnswerMove(5, 200);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, -3, 20), 0);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, -2, -100), 0);
    EXPECT_EQ(Commands(), (Calls{"5: 4 1 0 = -60", "5: 4 1 0 = 200"}));
    EXPECT_EQ(Position(0), 240);
    EXPECT_EQ(InitPos(0), "240");
}

TEST_F(BeamExpanderMotion, NoProductOfLargeNumbersGetsRound)
{
    BringUp(0, {.cwLimit = kHighest, .ccwLimit = kLowest});
    const int32_t cases[][2] = {{kHighest, kHighest}, {kLowest, kLowest}, {kLowest, kHighest},
                                {65536, 65536},       {2, kHighest},      {1, kHighest}};
    for (const auto &[dir, steps] : cases) {
        EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, dir, steps), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
        g_beamExpander[1] = g_beamExpander[0];
        EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, dir, steps), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    }
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_EQ(Position(0), 100);
}

TEST_F(BeamExpanderMotion, MoreStepsThanAMoveCanTellAreOutOfRangeAlsoInsideTheLimits)
{
    BringUpBoth({.initPos = kLowest + 1, .cwLimit = kHighest, .ccwLimit = kLowest},
                {.initPos = kLowest + 1, .cwLimit = kHighest, .ccwLimit = kLowest});
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 2, kHighest - 1), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 2, kHighest - 1), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_EQ(Position(0), kLowest + 1);
}

TEST_F(BeamExpanderMotion, ATargetFartherOffThanAMoveCanTellIsOutOfRange)
{
    BringUp(0, {.initPos = kLowest, .cwLimit = kHighest, .ccwLimit = kLowest});
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, kHighest), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_EQ(Position(0), kLowest);
}

TEST_F(BeamExpanderMotion, OnlyASimulatedRelativeMoveRewritesTheFile)
{
    BringUp(0, {.simulate = 1});
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 500), 0);
    EXPECT_EQ(Position(0), 500);
    EXPECT_EQ(InitPos(0), "100");
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 20), 0);
    EXPECT_EQ(Position(0), 520);
    EXPECT_EQ(InitPos(0), "520");
    EXPECT_TRUE(ports.Calls().empty());
}

TEST_F(BeamExpanderMotion, ABadReplyLeavesPositionAndFileAlone)
{
    BringUp(0);
    std::string damaged = ReplyBytes(4, 50);
    ++damaged[8];
    const struct
    {
        std::string reply;
        int32_t status;
    } cases[] = {{"", ZVK_BEAMEXPANDER_NO_REPLY}, {damaged, ZVK_BEAMEXPANDER_BAD_CHECKSUM}};
    for (const auto &[reply, status] : cases) {
        AnswerCommand(5, 4, 1, 0, 50, reply);
        EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 150), status);
        EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), status);
        EXPECT_EQ(Position(0), 100);
        EXPECT_EQ(InitPos(0), "100");
    }
    EXPECT_EQ(Commands().size(), 4U);
}

TEST_F(BeamExpanderMotion, AFileThatRefusesThePositionChangesNothingElse)
{
    BringUp(0);
    AnswerMove(5, 50);
    folder.Remove("config.ini");
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 150), 0);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), 0);
    EXPECT_EQ(Position(0), 200);
}

TEST_F(BeamExpanderMotion, AnotherBackendMovesNothing)
{
    BringUp(0);
    g_beamExpander[0].backend = 2;
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), 0);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 50), 0);
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), 0);
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 50), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 0), ZVK_BEAMEXPANDER_BAD_SPEED) << "range first";
    int32_t reached = 7;
    EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, &reached), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(reached, 7);
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_EQ(Position(0), 100);
}

TEST_F(BeamExpanderMotion, AnotherBackendOfPathAKeepsBothMotorsStillAndTheStartPositionAway)
{
    BringUpBoth({}, {.initPos = 400});
    g_beamExpander[0].backend = 2;
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 30), 0);
    g_beamExpander[0].position = 130;
    EXPECT_EQ(m_BeamExpander_GotoInitPos(0), 0);
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_EQ(Position(0), 130);
    EXPECT_EQ(Position(1), 400);
}

TEST_F(BeamExpanderMotion, BothMotorsStartBeforeEitherAnswerIsRead)
{
    BringUpBoth({}, {.initPos = 400});
    AnswerMove(5, -30);
    AnswerMove(6, -30);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, -1, 30), 0);
    const Calls wire = ports.Wire();
    ASSERT_EQ(wire.size(), 4U);
    EXPECT_TRUE(wire[0].starts_with("write(5"));
    EXPECT_TRUE(wire[1].starts_with("write(6"));
    EXPECT_TRUE(wire[2].starts_with("read(5"));
    EXPECT_TRUE(wire[3].starts_with("read(6"));
    EXPECT_EQ(Commands(), (Calls{"5: 4 1 0 = -30", "6: 4 1 0 = -30"}));
    EXPECT_EQ(Position(0), 70);
    EXPECT_EQ(Position(1), 370);
    EXPECT_EQ(InitPos(0), "70");
    EXPECT_EQ(InitPos(1), "370");
}

TEST_F(BeamExpanderMotion, BothPathsMustBeUpAndStayInsideBeforeBothMove)
{
    BringUpBoth({}, {.initPos = 400});
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 601), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, -1, 100), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    for (const int32_t path : {0, 1}) {
        g_beamExpander[path].initialized = 0;
        EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 9999), ZVK_BEAMEXPANDER_NOT_FOUND);
        g_beamExpander[path].initialized = 1;
    }
    EXPECT_TRUE(ports.Calls().empty());
}

TEST_F(BeamExpanderMotion, WithOnePathSimulatedBothStand)
{
    for (const int32_t simulated : {0, 1}) {
        TearDown();
        BringUpBoth({.simulate = simulated == 0 ? 1 : 0}, {.simulate = simulated});
        EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 9999), ZVK_BEAMEXPANDER_OUT_OF_RANGE)
            << "range first";
        EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 10), 0);
        EXPECT_TRUE(ports.Calls().empty());
        EXPECT_EQ(Position(0), 100);
        EXPECT_EQ(Position(1), 100);
        EXPECT_EQ(InitPos(0), "100");
    }
}

TEST_F(BeamExpanderMotion, OneBadAnswerLeavesBothPositionsAlone)
{
    for (const int port : {5, 6}) {
        TearDown();
        BringUpBoth();
        AnswerMove(5, 10);
        AnswerMove(6, 10);
        AnswerCommand(port, 4, 1, 0, 10, "");
        EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 10), ZVK_BEAMEXPANDER_NO_REPLY);
        EXPECT_EQ(Commands().size(), 2U);
        EXPECT_EQ(Position(0), 100);
        EXPECT_EQ(Position(1), 100);
        EXPECT_EQ(InitPos(0), "100");
        EXPECT_EQ(InitPos(1), "100");
    }
}

TEST_F(BeamExpanderMotion, TheSpeedMustBeFromOneToTheBoardsHighest)
{
    BringUp(0);
    int32_t speed = 0;
    for (const int32_t bad : {0, -1, 2048, kHighest}) {
        EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, bad), ZVK_BEAMEXPANDER_BAD_SPEED) << bad;
        EXPECT_EQ(ZVK_BeamExpander_GetSpeed(0, 0, &speed), 0);
        EXPECT_EQ(speed, 80);
    }
    EXPECT_TRUE(ports.Calls().empty());
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 1), 0) << "the board needn't answer";
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 2047), 0);
    EXPECT_EQ(Commands(), (Calls{"5: 5 4 0 = 1", "5: 5 4 0 = 2047"}));
    EXPECT_EQ(ZVK_BeamExpander_GetSpeed(0, 0, &speed), 0);
    EXPECT_EQ(speed, 2047);
}

TEST_F(BeamExpanderMotion, ASimulatedPathRefusesEachSpeed)
{
    BringUp(0, {.simulate = 1});
    for (const int32_t speed : {-1, 0, 1, 80, 2047})
        EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, speed), ZVK_BEAMEXPANDER_BAD_SPEED) << speed;
}

TEST_F(BeamExpanderMotion, WhetherTheTargetIsReachedComesFromTheBoardAsItStands)
{
    BringUp(0);
    for (const int32_t value : {0, 1, -5}) {
        AnswerCommand(5, 6, 8, 0, 0, ReplyBytes(6, value));
        int32_t reached = 7;
        EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, &reached), 0);
        EXPECT_EQ(reached, value);
        EXPECT_EQ(Commands(), Calls{"5: 6 8 0 = 0"});
    }
    AnswerCommand(5, 6, 8, 0, 0, "");
    int32_t reached = 7;
    EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, &reached), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_EQ(reached, 7);
}

TEST_F(BeamExpanderMotion, TheMiddleIsRoundedTowardsTheUpperLimit)
{
    BringUp(0);
    AnswerMove(5, 401);
    EXPECT_EQ(ZVK_BeamExpander_Center(0, 0), 0);
    EXPECT_EQ(Position(0), 501);
    g_beamExpander[0] = {};
    BringUp(0, {.simulate = 1, .cwLimit = kHighest, .ccwLimit = kLowest});
    EXPECT_EQ(ZVK_BeamExpander_Center(0, 0), 0);
    EXPECT_EQ(Position(0), 0);
}

TEST_F(BeamExpanderMotion, AWarningOfTheMoveToTheMiddleIsCapturedAndGiven)
{
    BringUp(0, {.cwLimit = 0, .ccwLimit = 100});
    EXPECT_EQ(ZVK_BeamExpander_Center(0, 0), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(Captured(), std::vector<int32_t>{ZVK_BEAMEXPANDER_OUT_OF_RANGE});
    g_beamExpander[0] = {};
    BringUp(0);
    EXPECT_EQ(ZVK_BeamExpander_Center(0, 0), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamExpanderMotion, ResetRunsIntoTheStopCallsItZeroAndGoesToTheMiddle)
{
    BringUp(0);
    AnswerMove(5, 501);
    size_t beforeWait = 0;
    clock.OnWait([&] { beforeWait = ports.Wire().size(); });
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), 0);
    clock.OnWait({});
    EXPECT_EQ(clock.Delays(), std::vector<double>{12.0});
    EXPECT_EQ(beforeWait, 20U) << "eight settings, stop and rotation, with their answers";
    EXPECT_EQ(Commands(),
              (Calls{"5: 5 6 0 = 80", "5: 5 204 0 = 0", "5: 5 203 0 = 2048", "5: 5 4 0 = 100",
                     "5: 5 4 0 = 80", "5: 5 138 0 = 0", "5: 5 5 0 = 100", "5: 5 7 0 = 0",
                     "5: 3 0 0 = 0", "5: 2 1 0 = 150", "5: 3 0 0 = 0", "5: 5 1 0 = 0",
                     "5: 6 1 0 = 0", "5: 4 1 0 = 501"}));
    EXPECT_EQ(Position(0), 501);
    EXPECT_EQ(InitPos(0), "501");
    EXPECT_NE(Log().find("BE Path 0 Reset, Setpoint 3\n"), std::string::npos) << Log();
}

TEST_F(BeamExpanderMotion, ResetGoesOnWithoutAnswersUntilThePositionIsReadBack)
{
    BringUp(0);
    ports.ForgetAnswers();
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_EQ(Commands().size(), 13U) << "no move to the middle";
    EXPECT_EQ(clock.Delays(), std::vector<double>{12.0});
    EXPECT_EQ(Position(0), 100);
    EXPECT_EQ(InitPos(0), "100");
    EXPECT_EQ(Log(), "");
}

TEST_F(BeamExpanderMotion, ResetDropsTheStatusOfTheMoveToTheMiddle)
{
    BringUp(0);
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), 0) << "the board doesn't answer that move";
    EXPECT_EQ(Position(0), 0);
    EXPECT_EQ(InitPos(0), "0");
}

TEST_F(BeamExpanderMotion, ResetOfASimulatedPathDoesNothing)
{
    BringUp(0, {.simulate = 1});
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), 0);
    EXPECT_EQ(Position(0), 100);
    EXPECT_TRUE(clock.Delays().empty());
    EXPECT_EQ(Log(), "");
}

TEST_F(BeamExpanderMotion, TheStartPositionIsGoneBackTo)
{
    BringUpBoth({.simulate = 1}, {});
    ASSERT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 500), 0);
    EXPECT_EQ(m_BeamExpander_GotoInitPos(0), 0);
    EXPECT_EQ(Position(0), 100);

    g_beamExpander[1].position = 130;
    EXPECT_EQ(m_BeamExpander_GotoInitPos(1), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_EQ(Position(1), 130);
    AnswerMove(6, -30);
    EXPECT_EQ(m_BeamExpander_GotoInitPos(1), 0);
    EXPECT_EQ(Position(1), 100);
    g_beamExpander[1].initPos = 5000;
    EXPECT_EQ(m_BeamExpander_GotoInitPos(1), ZVK_BEAMEXPANDER_OUT_OF_RANGE);
    EXPECT_EQ(Position(1), 100);
}
