// Odd corners of the trap calls: what other threads see in between, and numbers that are told to be
// odd.

#include "imaging/overlay_switches.h"
#include "platform/memory.h"
#include "steering/galvo_gate.h"
#include "steering_fixture.h"

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <thread>

using TrapOdd = SteeringTest;

// A heap on which an update begins to run with each allocation.
static const ZVK_MemoryTable kBusy = {[](size_t bytes) -> void * {
                                          SetUpdating(1);
                                          return std::malloc(bytes);
                                      },
                                      std::free};

TEST_F(TrapOdd, WhatIsNotANumberNeverReachesAMirror)
{
    bringUpTraps();
    const double nan = std::nan("");
    int32_t index = 0;
    nextSecond();
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "T", nan, nan, ZVK_UNIT_VOLT), 0);
    EXPECT_FALSE(std::isnan(node(0)->xPos));
    EXPECT_FALSE(std::isnan(mirrors(0, 1).x));
    int bad = 0;
    for (int64_t i = 0; i < g_galvoDaq.bufferSamples; ++i)
        bad += std::isnan(g_galvoDaq.buffer[i]);
    EXPECT_EQ(bad, 0);
}

TEST_F(TrapOdd, ReadingAllInVoltsWaitsForADeletionSoThatSetPositionsStay)
{
    bringUpTraps();
    const int32_t older = addTrap(0, 1.0, 1.0);
    addTrap(0, 2.0, 2.0);
    holdBuffer();
    std::atomic<bool> isRead{false};
    std::thread reader;
    int waits = 0;
    clock.OnWait([&] {
        if (!reader.joinable())
            reader = std::thread([&] {
                double x[3] = {};
                double y[3] = {};
                EXPECT_EQ(ZVK_Trap_GetArray(0, 0, x, y, nullptr, nullptr, ZVK_UNIT_VOLT), 0);
                isRead = true;
            });
        if (isRead || ++waits > 20000) releaseBuffer();
    });
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, older), 0);
    reader.join();
    EXPECT_EQ((Position{node(0)->xPos, node(0)->yPos}), (Position{2.0, 2.0}));
}

TEST_F(TrapOdd, DeletingAllRepeatsWhileTheSamplesAreNotReady)
{
    bringUpTraps();
    addTrap(0, 1.0, 1.0);
    UseMemory(&kBusy);
    clock.OnWait([&] {
        EXPECT_EQ(SdkOverlay(), 0);
        if (clock.Breaths() == 3) releaseBuffer();
    });
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    UseMemory(nullptr);
    EXPECT_EQ(clock.Breaths(), 3);
    EXPECT_EQ(SdkOverlay(), 1);
}

TEST_F(TrapOdd, DeletingAllIsNotHeldUpByAnotherClientsRefusedCall)
{
    bringUpTraps();
    UseMemory(&kBusy);
    std::thread rival;
    std::atomic<bool> done{false};
    int waits = 0;
    clock.OnWait([&] {
        if (!rival.joinable()) {
            rival = std::thread([&] {
                double p[2] = {0.0, 0.0};
                double speed = 0.0;
                int32_t st = 609;
                while (st == 609)
                    st = ZVK_Galvo_SetTrajectory(0, 0, 99, 2, p, p, &speed, 1);
                EXPECT_EQ(st, ZVK_GALVO_OUT_OF_RANGE);
                done = true;
            });
            releaseBuffer();
            for (int i = 0; i < 20000 && !done; ++i)
                std::this_thread::yield();
        }
        if (++waits == 5000) ZVK_Galvo_SetPosition(0, 0, 0, 0.0, 0.0);
    });
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    rival.join();
    UseMemory(nullptr);
    EXPECT_LT(waits, 5000);
}

TEST_F(TrapOdd, SpeedInLengthsIsMeasuredATenthVoltFromTheCentre)
{
    bringUp();
    const int32_t index = indexOf(0);
    const double limits[4] = {0.0, 1.0, 0.0, 1.0};
    const double none[9] = {};
    const double square[9] = {0, 0, 0, 0, 0, 0, 1.0, 0, 0};
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 9, none, none, none, square, limits), 0);
    ASSERT_EQ(ZVK_Galvo_SetOffset(0, 0, 0.0, 1.0), 0);
    EXPECT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 10.0, ZVK_UNIT_MICROMETER), 0);
    const double d = (1.1 * 1.1 - 1.0) / 20.0;
    EXPECT_NEAR(node(0)->speed, 0.1 / (d / 10.0), 1e-3);
    ASSERT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 2.0, ZVK_UNIT_VOLT), 0);
    double speed = 0.0;
    EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, &speed, ZVK_UNIT_MICROMETER), 0);
    EXPECT_NEAR(speed, 2.0 / 0.1 * d, 1e-6);
}

TEST_F(TrapOdd, SpeedInPixelsOfANewTrapIsMeasuredOverTenPixels)
{
    bringUp();
    const double limits[4] = {0.0, 1.0, 0.0, 1.0};
    const double unused[9] = {};
    const double square[9] = {0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    const double same[9] = {0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    ASSERT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 9, unused, square, same, unused, limits),
              0);
    ASSERT_EQ(ZVK_Galvo_SetOffset(0, 0, 2.0, 2.0), 0);
    nextSecond();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 5.0, "T", 1.0, 1.0, ZVK_UNIT_PIXEL), 0);
    EXPECT_NEAR(node(0)->speed, std::fabs(0.5 - 10.5 * 10.5) / 2.0, 1e-4);
}

TEST_F(TrapOdd, InitReadsTheMirrorsBeforeTheKeysAndStopsThere)
{
    bringUpTraps();
    {
        const std::lock_guard data(GalvoData());
        FreeWaypoints(g_galvo[0]);
    }
    writeConfig(without(TwoPathsConfig(), "MINX"));
    g_trap.limits[0] = {9.0, 9.0, 9.0, 9.0, 9.0, 9.0};
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(g_trap.head[0], nullptr);
    EXPECT_EQ(g_trap.limits[0].maxX, 9.0);
}

TEST_F(TrapOdd, ANewTrapIsClampedToTheLimitsFoundAtInit)
{
    bringUpTraps();
    g_trap.limits[0] = {-1.0, 1.0, -0.5, 0.5, 0.0, 0.0};  // narrower than the galvo module's
    addTrap(0, 3.0, -3.0);
    EXPECT_EQ(mirrors(0, 1), (Position{1.0, -0.5}));
}

TEST_F(TrapOdd, ANewTrapEntersTheListBehindItsWaypoint)
{
    bringUpTraps();
    holdBuffer();
    int seen = 0;
    clock.OnWait([&] {
        EXPECT_EQ(trapCount(0), 1);
        if (++seen == 2) releaseBuffer();
    });
    addTrap(0, 1.0, 1.0);
    EXPECT_EQ(seen, 2);
}

TEST_F(TrapOdd, ItsWaypointIsTheNumberOfTrapsWhateverTheGalvoModuleCounts)
{
    bringUpTraps();
    ZVK_Galvo_Shutdown(0);  // the galvo module's list is empty; it takes a waypoint all the same
    addTrap(0, 1.0, 1.0);
    EXPECT_EQ(node(0)->wp, 1);
    EXPECT_EQ(g_galvo[0].NumOfWP, 1);
}

TEST_F(TrapOdd, TheSurvivorOfDeletingAllKeepsTrajectoryAndFlag)
{
    bringUpTraps();
    const int32_t oldest = indexOf(0);
    const double x[2] = {0.0, 1.0};
    double speed = 0.0;
    ASSERT_EQ(ZVK_Trap_SetTrajectory(0, 0, oldest, 2, x, x, &speed), 0);
    ASSERT_EQ(ZVK_Trap_SetActive(0, 0, oldest, 7, 0), 0);
    addTrap(0, 1.0, 1.0);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    EXPECT_EQ(node(0)->trajExists, 1);
    EXPECT_EQ(node(0)->trajX[1], 1.0);
    EXPECT_EQ(node(0)->active, 7);
}

TEST_F(TrapOdd, ARunsFrequencyComesFromTheTrapsOwnSpeed)
{
    bringUp();
    const int32_t index = addTrap(0, 0.0, 0.0);
    const double x[2] = {0.0, 1.0}, y[2] = {0.0, 0.0};
    double speed = 0.0, frequency = 0.0;
    ASSERT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 3.0, ZVK_UNIT_VOLT), 0);
    ASSERT_EQ(ZVK_Trap_SetSpeed(0, 0, index, 700.0, ZVK_UNIT_PIXEL), 0);  // the waypoint's alone
    ASSERT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 2, x, y, &speed), 0);
    EXPECT_EQ(speed, 3.0);
    EXPECT_EQ(ZVK_Trap_TrajectoryRun(0, 0, index, 1, ZVK_MOVE_ONCE, 1, &frequency), 0);
    EXPECT_EQ(frequency, 1.5);
}

TEST_F(TrapOdd, AskingForTheTargetInLengthsLeavesThePixelsToTheLastBit)
{
    bringUp();
    double x = 300.0, y = 450.0;
    ASSERT_EQ(ZVK_Trap_SetPosition(0, 0, indexOf(0), &x, &y, ZVK_UNIT_PIXEL, 0), 0);
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, indexOf(0), &x, &y, 3), -906);
    EXPECT_EQ(node(0)->pixelX, 300.0);
    EXPECT_EQ(node(0)->pixelY, 450.0);
}

TEST_F(TrapOdd, NullOutputsArePassedOver)
{
    bringUpTraps();
    const int32_t index = indexOf(0);
    const double x[2] = {0.0, 1.0};
    EXPECT_EQ(ZVK_Trap_GetInitStatus(0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Trap_GetNumberOfTraps(0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_Trap_GetStatus(0, 0, index, nullptr), 0);
    EXPECT_EQ(ZVK_Trap_GetPosition(0, 0, index, nullptr, nullptr, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(ZVK_Trap_GetPositionTarget(0, 0, index, nullptr, nullptr, ZVK_UNIT_PIXEL), 0);
    EXPECT_EQ(ZVK_Trap_GetSpeed(0, 0, index, nullptr, ZVK_UNIT_VOLT), 0);
    EXPECT_EQ(ZVK_Trap_GetMoveType(0, 0, index, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 2, nullptr, x, nullptr), ZVK_TRAP_NO_TRAJECTORY);
    EXPECT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 2, x, x, nullptr), 0);
    EXPECT_EQ(ZVK_Trap_TrajectoryExists(0, 0, index, nullptr), 0);
    EXPECT_EQ(ZVK_Trap_TrajectoryRun(0, 0, index, 1, ZVK_MOVE_ONCE, 1, nullptr), 0);
    nextSecond();
    EXPECT_EQ(ZVK_Trap_Add(0, 0, nullptr, 1.0, "T", 0.0, 0.0, ZVK_UNIT_VOLT), 0);
}
