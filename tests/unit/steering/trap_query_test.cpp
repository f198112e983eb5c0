// What traps there are, where they are, and the fields that only clients look at.

#include "steering_fixture.h"

#include <cmath>
#include <limits>

using Numbers = std::vector<int32_t>;
using Values = std::vector<double>;

// Three traps on path A: the first at the centre, then (1, -1.5) and (-2.003, 2.507) V.
class TrapQuery : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        bringUp();
        middle = addTrap(0, 1.0, -1.5, "middle");
        newest = addTrap(0, -2.003, 2.507, "newest");
        oldest = indexOf(0, 2);
        ASSERT_EQ(ZVK_Trap_SetSpeed(0, 0, middle, 2.5, ZVK_UNIT_VOLT), 0);
    }
    int32_t oldest = 0;
    int32_t middle = 0;
    int32_t newest = 0;
};

TEST_F(TrapQuery, TheCountIsThatOfThePath)
{
    int32_t count = 42;
    EXPECT_EQ(ZVK_Trap_GetNumberOfTraps(0, 0, &count), 0);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(ZVK_Trap_GetNumberOfTraps(0, 1, &count), 0);
    EXPECT_EQ(count, 1);
}

TEST_F(TrapQuery, NoTrapsAreCountedAndRefused)
{
    ZVK_Trap_Shutdown(0);
    int32_t count = 42;
    EXPECT_EQ(ZVK_Trap_GetNumberOfTraps(0, 0, &count), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(count, 0);
    int32_t list[1] = {42};
    EXPECT_EQ(ZVK_Trap_GetIndexList(0, 0, list), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(list[0], 42);
    double x = 42.0;
    double y = 42.0;
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, &x, &y, nullptr, nullptr, 99), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(x, 42.0);
    double range[4] = {42.0, 42.0, 42.0, 42.0};
    EXPECT_EQ(ZVK_Trap_GetHardwareLimits(0, 0, range), ZVK_TRAP_NOT_INITIALIZED);
    EXPECT_EQ(range[0], 42.0);
}

TEST_F(TrapQuery, AnUnknownPathIsRefusedFirstAndWritesNothing)
{
    ZVK_Trap_Shutdown(0);  // which alone would be refused by another status
    for (const int32_t path : {-1, 2, 77}) {
        int32_t number = 42;
        double value = 42.0;
        EXPECT_EQ(ZVK_Trap_GetNumberOfTraps(0, path, &number), ZVK_TRAP_BAD_PATH);
        EXPECT_EQ(ZVK_Trap_GetIndexList(0, path, &number), ZVK_TRAP_BAD_PATH);
        EXPECT_EQ(ZVK_Trap_GetArray(0, path, &value, &value, nullptr, nullptr, 1),
                  ZVK_TRAP_BAD_PATH);
        EXPECT_EQ(ZVK_Trap_GetStatus(0, path, 1, &number), ZVK_TRAP_BAD_PATH);
        EXPECT_EQ(ZVK_Trap_SetName(0, path, 1, "x"), ZVK_TRAP_BAD_PATH);
        EXPECT_EQ(ZVK_Trap_GetWayPointInfo(0, path, 1, &number), ZVK_TRAP_BAD_PATH);
        EXPECT_EQ(ZVK_Trap_GetHardwareLimits(0, path, &value), ZVK_TRAP_BAD_PATH);
        EXPECT_EQ(number, 42);
        EXPECT_EQ(value, 42.0);
    }
}

TEST_F(TrapQuery, AnUnknownIndexIsRefusedAndWritesNothing)
{
    int32_t number = 42;
    EXPECT_EQ(ZVK_Trap_GetStatus(0, 0, 1, &number), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_SetActive(0, 0, 1, 1, 1), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_SetName(0, 0, 1, "x"), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_GetWayPointInfo(0, 0, 1, &number), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_GetStatus(0, 1, newest, &number), ZVK_TRAP_BAD_INDEX);  // the other path's
    EXPECT_EQ(number, 42);
}

TEST_F(TrapQuery, IndicesAreListedNewestFirst)
{
    Numbers list(3);
    EXPECT_EQ(ZVK_Trap_GetIndexList(0, 0, list.data()), 0);
    EXPECT_EQ(list, (Numbers{newest, middle, oldest}));
}

TEST_F(TrapQuery, TheArrayInVoltsIsWhereTheMirrorsAreAndBecomesTheSetPosition)
{
    ASSERT_EQ(ZVK_Galvo_SetPosition(0, 0, 1, 0.125, 0.375), 0);
    Values x(3);
    Values y(3);
    Values speeds(3);
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), speeds.data(), nullptr, ZVK_UNIT_VOLT),
              0);
    EXPECT_EQ(x, (Values{-2.003, 0.125, 0.5}));
    EXPECT_EQ(y, (Values{2.507, 0.375, -0.25}));
    EXPECT_EQ(speeds, (Values{1.0, 2.5, 1.0}));
    EXPECT_EQ((Position{node(0, 1)->xPos, node(0, 1)->yPos}), (Position{0.125, 0.375}));
}

TEST_F(TrapQuery, TheArrayInPixelsIsCutToWholePixelsAndLeavesTheSetPosition)
{
    ASSERT_EQ(ZVK_Galvo_SetPosition(0, 0, 1, 0.125, 0.375), 0);
    Values x(3);
    Values y(3);
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_PIXEL), 0);
    EXPECT_EQ(x, (Values{299.0, 512.0, 550.0}));  // 299.7, 512.5, 550
    EXPECT_EQ(y, (Values{650.0, 437.0, 375.0}));  // 650.7, 437.5, 375
    EXPECT_EQ((Position{node(0, 1)->xPos, node(0, 1)->yPos}), (Position{1.0, -1.5}));
}

TEST_F(TrapQuery, PixelsAreCutTowardsZeroWhateverTheirSignAndSize)
{
    struct Row
    {
        double pixel;
        double expected;
    };
    const double inf = std::numeric_limits<double>::infinity();
    for (const Row &row : {Row{-0.5, 0.0}, Row{-1.5, -1.0}, Row{1.999, 1.0}, Row{3e9, 3e9},
                           Row{-1e300, -1e300}, Row{inf, inf}, Row{-inf, -inf}})
    {
        const double limits[4] = {};
        const double table[1] = {row.pixel};
        ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 1, table, table, table, table, limits),
                  0);
        Values x(3);
        Values y(3);
        EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_PIXEL), 0);
        EXPECT_EQ(x[0], row.expected);
        EXPECT_FALSE(row.expected == 0.0 && std::signbit(x[0]));
        EXPECT_EQ(y[2], row.expected);
    }
}

TEST_F(TrapQuery, APixelThatIsNotANumberStaysSo)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double limits[4] = {};
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 1, &nan, &nan, &nan, &nan, limits), 0);
    Values x(3);
    Values y(3);
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_PIXEL), 0);
    EXPECT_TRUE(std::isnan(x[0]));
}

TEST_F(TrapQuery, LabelsAreCopiedWhenThereIsRoomForThem)
{
    ASSERT_EQ(ZVK_Trap_SetName(0, 0, middle, std::string(400, 'm').c_str()), 0);
    char labels[3][kTrapLabelRoom];
    char *pointers[3] = {labels[0], labels[1], labels[2]};
    Values x(3);
    Values y(3);
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), nullptr, pointers, ZVK_UNIT_VOLT), 0);
    EXPECT_STREQ(labels[0], "newest");
    EXPECT_EQ(std::string(labels[1]), std::string(256, 'm'));
    EXPECT_STREQ(labels[2], "A_1");
}

TEST_F(TrapQuery, OtherUnitsAreRefusedAndWriteNothing)
{
    for (const int32_t unit : {ZVK_UNIT_MICROMETER + 0, 0, 4, -1}) {
        Values x(3, 42.0);
        Values y(3, 42.0);
        Values speeds(3, 42.0);
        char label[kTrapLabelRoom] = "kept";
        char *labels[3] = {label, label, label};
        EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), speeds.data(), labels, unit),
                  ZVK_COORDINATES_BAD_UNIT);
        EXPECT_EQ(x, Values(3, 42.0));
        EXPECT_EQ(speeds, Values(3, 42.0));
        EXPECT_STREQ(label, "kept");
    }
}

TEST_F(TrapQuery, AFailureOnTheWayKeepsWhatWasWrittenBefore)
{
    node(0, 1)->wp = 7;  // no such waypoint
    Values x(3, 42.0);
    Values y(3, 42.0);
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_VOLT),
              ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(x, (Values{-2.003, 42.0, 42.0}));
    EXPECT_EQ(node(0, 1)->xPos, 1.0);
    node(0, 1)->wp = 1;
}

TEST_F(TrapQuery, TablesThatAreBeingLoadedAreAnsweredAtOnceAndNotWaitedFor)
{
    g_trafo[0].busy = 1;
    Values x(3, 42.0);
    Values y(3, 42.0);
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_PIXEL),
              ZVK_COORDINATES_BUSY);
    EXPECT_EQ(x, Values(3, 42.0));
    EXPECT_EQ(clock.Breaths(), 0);
}

TEST_F(TrapQuery, AReaderWithLittleRoomGetsTheNewestTraps)
{
    int32_t count = 42;
    Values x(3, 42.0);
    Values y(3, 42.0);
    EXPECT_EQ(ReadTrapArray(0, 2, &count, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(x, (Values{-2.003, 1.0, 42.0}));
    EXPECT_EQ(ReadTrapArray(0, 0, &count, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(ReadTrapArray(0, 9, &count, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(ReadTrapArray(2, 9, &count, x.data(), y.data(), nullptr, nullptr, ZVK_UNIT_VOLT),
              ZVK_TRAP_BAD_PATH);
    EXPECT_EQ(count, 0);
}

TEST_F(TrapQuery, TheActiveFlagIsKeptForTheClient)
{
    int32_t active = 42;
    EXPECT_EQ(ZVK_Trap_GetStatus(0, 0, middle, &active), 0);
    EXPECT_EQ(active, 0);
    for (const int32_t flag : {1, -7, 0, 99}) {
        EXPECT_EQ(ZVK_Trap_SetActive(0, 0, middle, flag, 0), 0);
        EXPECT_EQ(ZVK_Trap_GetStatus(0, 0, middle, &active), 0);
        EXPECT_EQ(active, flag);
    }
    EXPECT_EQ(g_galvo[0].moveMode[1], ZVK_MOVE_STAND);
}

TEST_F(TrapQuery, ExclusiveClearsTheFlagsOfBothPathsFirst)
{
    for (int32_t path = 0; path < 2; ++path)
        for (ZVK_TNode *trap = g_trap.head[path]; trap != nullptr; trap = trap->next)
            trap->active = 5;
    EXPECT_EQ(ZVK_Trap_SetActive(0, 0, middle, 7, 1), 0);
    EXPECT_EQ(node(0, 0)->active, 0);
    EXPECT_EQ(node(0, 1)->active, 7);
    EXPECT_EQ(node(0, 2)->active, 0);
    EXPECT_EQ(node(1, 0)->active, 0);
}

TEST_F(TrapQuery, OnlyAnExclusiveOfOneClearsTheOthers)
{
    node(0, 0)->active = 5;
    for (const int32_t exclusive : {0, 2, -1})
        EXPECT_EQ(ZVK_Trap_SetActive(0, 0, middle, 1, exclusive), 0);
    EXPECT_EQ(node(0, 0)->active, 5);
}

TEST_F(TrapQuery, ARefusedExclusiveClearsNothing)
{
    node(0, 0)->active = 5;
    EXPECT_EQ(ZVK_Trap_SetActive(0, 0, 1, 1, 1), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(node(0, 0)->active, 5);
}

TEST_F(TrapQuery, SetActiveTakesAnyPathButZeroForPathB)
{
    const int32_t index = indexOf(1);
    for (const int32_t path : {1, 2, -1}) {
        node(1)->active = 0;
        EXPECT_EQ(ZVK_Trap_SetActive(0, path, index, 3, 0), 0);
        EXPECT_EQ(node(1)->active, 3);
    }
}

TEST_F(TrapQuery, NamesKeepTheirFirst256Characters)
{
    EXPECT_EQ(ZVK_Trap_SetName(0, 0, middle, "new name"), 0);
    EXPECT_STREQ(node(0, 1)->label, "new name");
    EXPECT_EQ(ZVK_Trap_SetName(0, 0, middle, std::string(257, 'n').c_str()), 0);
    EXPECT_EQ(std::string(node(0, 1)->label), std::string(256, 'n'));
    EXPECT_EQ(ZVK_Trap_SetName(0, 0, middle, ""), 0);
    EXPECT_STREQ(node(0, 1)->label, "");
    EXPECT_EQ(ZVK_Trap_SetName(0, 0, middle, nullptr), 0);
    EXPECT_STREQ(node(0, 1)->label, "");
    EXPECT_STREQ(node(0, 0)->label, "newest");
}

TEST_F(TrapQuery, TheWaypointOfEachTrapIsKnown)
{
    int32_t waypoint = 42;
    EXPECT_EQ(ZVK_Trap_GetWayPointInfo(0, 0, newest, &waypoint), 0);
    EXPECT_EQ(waypoint, 2);
    EXPECT_EQ(ZVK_Trap_GetWayPointInfo(0, 0, oldest, &waypoint), 0);
    EXPECT_EQ(waypoint, 0);
}

TEST_F(TrapQuery, TheHardwareLimitsAreLeastAndGreatestXThenY)
{
    Values range(4);
    EXPECT_EQ(ZVK_Trap_GetHardwareLimits(0, 0, range.data()), 0);
    EXPECT_EQ(range, (Values{-4.0, 4.0, -3.0, 3.0}));
    EXPECT_EQ(ZVK_Trap_GetHardwareLimits(0, 1, range.data()), 0);
    EXPECT_EQ(range, (Values{-3.0, 3.0, -2.0, 2.0}));
}
