// Traps as a client of the shared library sees them: a simulated session with two paths.

#include "close_modules.h"
#include "scratch_folder.h"
#include "start_session.h"
#include "two_paths.h"

#include "quorvex/quorvex.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using Numbers = std::vector<int32_t>;
using Values = std::vector<double>;

class TrapCalls : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder.Write("config.ini", TwoPathsConfig());
        folder.Write("default.odf", TwoPathsObjective());
        folder.Write("default.cal", TwoPathsCalibration());
    }
    void TearDown() override { CloseModules(); }

    static int32_t count(int32_t path)
    {
        int32_t number = 0;
        (void)ZVK_Trap_GetNumberOfTraps(0, path, &number);
        return number;
    }
    static int32_t newest(int32_t path)
    {
        int32_t status = 0;
        int32_t index = 0;
        EXPECT_EQ(ZVK_Trap_GetInitStatus(0, path, &status, &index), 0);
        return index;
    }

    ScratchFolder folder;
};

TEST_F(TrapCalls, ASessionBringsOneNamedTrapUpOnEachPathAtItsCentre)
{
    ASSERT_EQ(StartSession(), 0);
    const char *const names[2] = {"A_1", "B_1"};
    const double centres[2][2] = {{0.5, -0.25}, {-0.5, 0.25}};
    for (int32_t path = 0; path < 2; ++path) {
        ASSERT_EQ(count(path), 1);
        double x = 0.0;
        double y = 0.0;
        double speed = 0.0;
        char text[257] = "";
        char *label = text;
        EXPECT_EQ(ZVK_Trap_GetArray(0, path, &x, &y, &speed, &label, ZVK_UNIT_VOLT), 0);
        EXPECT_EQ(x, centres[path][0]);
        EXPECT_EQ(y, centres[path][1]);
        EXPECT_EQ(speed, 1.0);
        EXPECT_STREQ(text, names[path]);
    }
}

TEST_F(TrapCalls, ASecondInitOfTheSessionStartsTheListsAfresh)
{
    ASSERT_EQ(StartSession(), 0);
    int32_t index = 0;
    ASSERT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "bead", 1.0, 1.0, ZVK_UNIT_VOLT), 0);
    ASSERT_EQ(count(0), 2);
    EXPECT_EQ(StartSession(), 0);
    EXPECT_EQ(count(0), 1);
}

TEST_F(TrapCalls, ClosingAfterAFailedInitIsHarmless)
{
    folder.Write("config.ini", "[OTHER]\nKEY = 1\n");
    EXPECT_EQ(StartSession(), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(count(0), 0);
    EXPECT_EQ(ZVK_close(0), ZVK_CAMERA_NOT_INITIALIZED);
    SetUp();
    EXPECT_EQ(StartSession(), 0);
    EXPECT_EQ(count(0), 1);
}

TEST_F(TrapCalls, TheSceneHasFiveTrapsOnEachPathWhereTheyWerePut)
{
    const TwoPaths scene = BringUpTwoPaths(nullptr);
    ASSERT_EQ(scene.status, 0);
    for (int32_t path = 0; path < 2; ++path) {
        const auto &traps = TwoPathsTraps(path);
        ASSERT_EQ(count(path), 5);
        Values x(5);
        Values y(5);
        std::vector<std::string> names(5, std::string(257, '\0'));
        std::vector<char *> labels;
        labels.reserve(names.size());
        for (std::string &name : names)
            labels.push_back(name.data());
        ASSERT_EQ(
            ZVK_Trap_GetArray(0, path, x.data(), y.data(), nullptr, labels.data(), ZVK_UNIT_VOLT),
            0);
        for (size_t i = 0; i < 5; ++i) {  // newest first
            EXPECT_EQ(x[4 - i], traps[i].x);
            EXPECT_EQ(y[4 - i], traps[i].y);
            EXPECT_STREQ(labels[4 - i], traps[i].name);
        }
    }
}

TEST_F(TrapCalls, TwoTrapsOfOneSecondShareTheirIndex)
{
    ASSERT_EQ(StartSession(), 0);
    int32_t first = 0;
    int32_t second = 1;
    for (int tries = 0; first != second && tries < 3; ++tries) {  // a second may end in between
        ASSERT_EQ(ZVK_Trap_Add(0, 0, &first, 1.0, "first", 1.0, 1.0, ZVK_UNIT_VOLT), 0);
        ASSERT_EQ(ZVK_Trap_Add(0, 0, &second, 1.0, "second", 2.0, 2.0, ZVK_UNIT_VOLT), 0);
    }
    ASSERT_EQ(first, second);
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, first, &x, &y, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(x, 2.0);
}

TEST_F(TrapCalls, ATrapIsSetMovedAndReadInEachUnit)
{
    ASSERT_EQ(StartSession(), 0);
    const int32_t index = newest(0);
    struct Row
    {
        int32_t unit;
        double x, y;            // set
        double xVolts, yVolts;  // reached
    };
    for (const Row &row :
         {Row{ZVK_UNIT_VOLT, 1.5, 0.75, 1.5, 0.75}, Row{ZVK_UNIT_PIXEL, 300.0, 450.0, -2.0, 0.5},
          Row{ZVK_UNIT_MICROMETER, 10.0, 5.0, 1.5, 0.75}})
    {
        double x = row.x;
        double y = row.y;
        EXPECT_EQ(ZVK_Trap_SetPosition(0, 0, index, &x, &y, row.unit, 1), 0);
        EXPECT_NEAR(x, row.xVolts, 1e-6);
        EXPECT_NEAR(y, row.yVolts, 1e-6);
        EXPECT_EQ(ZVK_Trap_GotoSetPosition(0, 0, index), 0);
        double xNow = 0.0;
        double yNow = 0.0;
        EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &xNow, &yNow, ZVK_UNIT_VOLT), 0);
        EXPECT_EQ(xNow, x);
        EXPECT_EQ(yNow, y);
        EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, &xNow, &yNow, row.unit), 0);
        EXPECT_NEAR(xNow, row.x, 1e-4);
        EXPECT_NEAR(yNow, row.y, 1e-4);
    }
}

TEST_F(TrapCalls, WarningsOfAPositionAreReturnedAndCaptured)
{
    ASSERT_EQ(StartSession(), 0);
    const int32_t index = newest(0);
    double x = 5.0;
    double y = -5.0;
    EXPECT_EQ(ZVK_Trap_SetPosition(0, 0, index, &x, &y, ZVK_UNIT_VOLT, 0), ZVK_COORDINATES_CLAMPED);
    x = 5000.0;
    y = 5000.0;
    EXPECT_EQ(ZVK_Trap_SetPosition(0, 0, index, &x, &y, ZVK_UNIT_MICROMETER, 1),
              ZVK_COORDINATES_OUT_OF_RANGE);
    int32_t warnings = 0;
    EXPECT_EQ(ZVK_error_GetWarnings(0, &warnings, nullptr), 0);
    ASSERT_EQ(warnings, 2);
    Numbers codes(2);
    EXPECT_EQ(ZVK_error_GetWarnings(0, &warnings, codes.data()), 0);
    EXPECT_EQ(codes, (Numbers{ZVK_COORDINATES_CLAMPED, ZVK_COORDINATES_OUT_OF_RANGE}));
    EXPECT_NE(folder.Read("log.ini").find("outside the currently calibrated range"),
              std::string::npos);
}

TEST_F(TrapCalls, BeforeTheInitEveryCallTellsThatThereAreNoTraps)
{
    int32_t number = 42;
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(ZVK_Trap_GetInitStatus(0, 0, &number, &number), 0);
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &number, 1.0, "x", 0.0, 0.0, ZVK_UNIT_VOLT), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, 1), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_GetIndexList(0, 0, &number), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_GetArray(0, 0, &x, &y, nullptr, nullptr, ZVK_UNIT_VOLT), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_GetHardwareLimits(0, 0, &x), ZVK_TRAP_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Trap_SetPosition(0, 0, 1, &x, &y, ZVK_UNIT_VOLT, 0), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_MoveToSetPosition(0, 0, 1), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, 1, &x, &y, ZVK_UNIT_VOLT), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_Shutdown(0), 0);
}

TEST_F(TrapCalls, DeletingTrapsGivesTheirTimeToTheOthersAndTheLastOneCanGo)
{
    ASSERT_EQ(BringUpTwoPaths(nullptr).status, 0);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    EXPECT_EQ(count(0), 1);
    EXPECT_EQ(count(1), 5);
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, newest(0)), 0);
    EXPECT_EQ(count(0), 0);
    while (count(1) > 0)
        ASSERT_EQ(ZVK_Trap_Delete(0, 1, newest(1)), 0);
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 1, &index, 1.0, "x", 0.0, 0.0, ZVK_UNIT_VOLT), ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 1, "B_1"), 0);
    EXPECT_EQ(ZVK_Trap_Add(0, 1, &index, 1.0, "x", 0.0, 0.0, ZVK_UNIT_VOLT), 0);
}

TEST_F(TrapCalls, ATrajectoryIsStoredHandedOutAndRun)
{
    ASSERT_EQ(StartSession(), 0);
    const int32_t index = newest(0);
    const Values x = {0.0, 0.25, 0.25};
    const Values y = {0.0, 0.0, 0.25};
    double speed = 0.0;
    double frequency = 0.0;
    EXPECT_EQ(ZVK_Trap_TrajectoryRun(0, 0, index, 1, ZVK_MOVE_ONCE, ZVK_WAVEFORM_SINE, &frequency),
              ZVK_TRAP_NO_TRAJECTORY);
    EXPECT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 3, x.data(), y.data(), &speed), 0);
    EXPECT_EQ(speed, 1.0);
    EXPECT_EQ(ZVK_Trap_TrajectoryRun(0, 0, index, 1, ZVK_MOVE_BACK_AND_FORTH, ZVK_WAVEFORM_SINE,
                                     &frequency),
              0);
    EXPECT_EQ(frequency, 2.0);
    int32_t points = 0;
    double *xOut = nullptr;
    double *yOut = nullptr;
    ASSERT_EQ(ZVK_Trap_GetTrajectory(0, 0, index, &points, &xOut, &yOut), 0);
    EXPECT_EQ(points, 3);
    EXPECT_EQ(Values(xOut, xOut + 3), x);
    EXPECT_EQ(Values(yOut, yOut + 3), y);
    std::free(xOut);
    std::free(yOut);
    int32_t moveType = 0;
    int32_t running = 0;
    EXPECT_EQ(ZVK_Trap_GetMoveType(0, 0, index, &moveType, &running), 0);
    EXPECT_EQ(moveType, ZVK_MOVE_BACK_AND_FORTH);
}
