// Every allocation of the trap calls fails in turn: the told status comes, nothing leaks, and the
// next call works.

#include "failing_memory.h"
#include "failing_new.h"
#include "steering_fixture.h"

#include <cstdlib>

using Values = std::vector<double>;

class TrapMemory : public SteeringTest
{
protected:
    void SetUp() override
    {
        SteeringTest::SetUp();
        bringUp();
    }
    void TearDown() override
    {
        memory.FailAt(0);
        SteeringTest::TearDown();
        EXPECT_EQ(memory.Live(), 0);
    }

    FailingMemory memory;
};

TEST_F(TrapMemory, InitOnAPathThatIsUpFailsWith802AndLeavesItsListEmpty)
{
    for (const int nth : {1, 2}) {  // the node and its label
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), ZVK_TRAP_NO_MEMORY);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(g_trap.head[0], nullptr);
    }
    memory.FailAt(0);
    EXPECT_EQ(ZVK_Trap_Init(0, 0, 0, 0, "A_1"), 0);
}

TEST_F(TrapMemory, AFirstInitFailsAtEachAllocationAndThenWorks)
{
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        resetSteering();
        const int64_t before = memory.Live();
        memory.FailAt(nth);
        const int32_t status = ZVK_Trap_Init(0, 0, 0, 0, "A_1");
        failed = memory.Failed();
        memory.FailAt(0);
        if (!failed) {
            EXPECT_EQ(status, 0);
        } else if (nth <= 2) {
            EXPECT_EQ(status, ZVK_TRAP_NO_MEMORY) << nth;
        } else {
            // "DAQNAME" is a text: the read of one that finds no room doesn't find it.
            EXPECT_TRUE(status == ZVK_GALVO_NO_MEMORY || status == ZVK_CONFILE_NOT_FOUND) << nth;
        }
        EXPECT_EQ(g_trap.head[0] == nullptr, failed);
        resetSteering();
        EXPECT_EQ(memory.Live(), before) << nth;
    }
}

TEST_F(TrapMemory, AddWithoutMemoryForTheTrapReports0AndLeavesListAndWaypointsInStep)
{
    for (const int nth : {1, 2}) {
        nextSecond();
        int32_t index = 0;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "T", 1.0, 1.0, ZVK_UNIT_VOLT), 0);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(index, 1'000'000 + nth);
        EXPECT_EQ(trapCount(0), 1);
        EXPECT_EQ(g_galvo[0].NumOfWP, 1);
    }
    memory.FailAt(0);
    addTrap(0, 1.0, 1.0);
    EXPECT_EQ(mirrors(0, node(0)->wp), (Position{1.0, 1.0}));
}

TEST_F(TrapMemory, AddWithoutMemoryForTheWaypointIsNotReportedAndTheTrapStands)
{
    bool failed = true;
    for (int nth = 3; failed; ++nth) {
        resetSteering();
        bringUpTraps();
        int32_t index = 0;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "T", 1.0, 1.0, ZVK_UNIT_VOLT), 0);
        failed = memory.Failed();
        EXPECT_EQ(trapCount(0), 2);
        EXPECT_EQ(g_galvo[0].NumOfWP, failed ? 1 : 2) << nth;
    }
}

TEST_F(TrapMemory, DeleteWithoutMemoryForTheWaypointsIsNotReported)
{
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        resetSteering();
        bringUpTraps();
        const int32_t index = addTrap(0, 1.0, 1.0);
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_Delete(0, 0, index), 0);
        failed = memory.Failed();
        EXPECT_EQ(trapCount(0), 1);
    }
}

TEST_F(TrapMemory, DeleteAllWithoutMemoryForTheWaypointIsABufferThatCannotBeWritten)
{
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        resetSteering();
        bringUpTraps();
        addTrap(0, 1.0, 1.0);
        memory.FailAt(nth);
        const int32_t status = ZVK_Trap_DeleteAll(0, 0);
        failed = memory.Failed();
        memory.FailAt(0);
        EXPECT_EQ(status, failed ? ZVK_GALVO_NEW_BUFFER_FAILED : 0) << nth;
        EXPECT_EQ(trapCount(0), 1);
        EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    }
}

TEST_F(TrapMemory, ATrajectoryThatFindsNoRoomIs802AndTheOldOneStays)
{
    const Values x = {0.0, 1.0, 2.0};
    const Values y = {3.0, 4.0, 5.0};
    const int32_t index = indexOf(0);
    double speed = 0.0;
    ASSERT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 2, x.data(), y.data(), &speed), 0);
    node(0)->trajRunning = 1;
    const int64_t before = memory.Live();
    for (const int nth : {1, 2}) {
        speed = 42.0;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 3, y.data(), x.data(), &speed),
                  ZVK_TRAP_NO_MEMORY);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(speed, 42.0);
        EXPECT_EQ(node(0)->trajPoints, 2);
        EXPECT_EQ(node(0)->trajExists, 1);
        EXPECT_EQ(node(0)->trajRunning, 1);
        EXPECT_EQ(node(0)->trajX[1], 1.0);
        EXPECT_EQ(memory.Live(), before);
    }
}

TEST_F(TrapMemory, ATrajectoryThatCannotBeHandedOutIs802AndWritesNothing)
{
    const Values x = {0.0, 1.0};
    const int32_t index = indexOf(0);
    double speed = 0.0;
    ASSERT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 2, x.data(), x.data(), &speed), 0);
    const int64_t before = memory.Live();
    for (const int nth : {1, 2}) {
        int32_t points = 42;
        double kept = 42.0;
        double *xOut = &kept;
        double *yOut = &kept;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_GetTrajectory(0, 0, index, &points, &xOut, &yOut), ZVK_TRAP_NO_MEMORY);
        EXPECT_EQ(points, 42);
        EXPECT_EQ(xOut, &kept);
        EXPECT_EQ(yOut, &kept);
        EXPECT_EQ(memory.Live(), before);
    }
}

TEST_F(TrapMemory, AMoveOrRunWithoutMemoryForItsNodesIsNotReported)
{
    const Values x = {0.0, 1.0};
    const int32_t index = indexOf(0);
    double speed = 0.0;
    double frequency = 0.0;
    ASSERT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 2, x.data(), x.data(), &speed), 0);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Trap_TrajectoryRun(0, 0, index, 1, ZVK_MOVE_ONCE, 1, &frequency), 0);
    EXPECT_TRUE(memory.Failed());
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Trap_MoveToSetPosition(0, 0, index), 0);
    EXPECT_TRUE(memory.Failed());
    ZVK_Galvo_UpdateBuffer();  // whatever the waypoint has now can be walked
}

TEST_F(TrapMemory, EverythingATrapOwnsGoesWithIt)
{
    const int64_t before = memory.Live();
    const Values x = {0.0, 1.0};
    double speed = 0.0;
    const int32_t index = addTrap(0, 1.0, 1.0);
    ASSERT_EQ(ZVK_Trap_SetTrajectory(0, 0, index, 2, x.data(), x.data(), &speed), 0);
    EXPECT_EQ(ZVK_Trap_Delete(0, 0, index), 0);
    EXPECT_EQ(memory.Live(), before);

    const int32_t second = addTrap(0, 1.0, 1.0);
    addTrap(0, 1.0, 1.0);
    ASSERT_EQ(ZVK_Trap_SetTrajectory(0, 0, second, 2, x.data(), x.data(), &speed), 0);
    EXPECT_EQ(ZVK_Trap_DeleteAll(0, 0), 0);
    EXPECT_EQ(memory.Live(), before);
}

// C++ allocations, which the general heap's table doesn't see: texts and stores of the file layer.
TEST_F(TrapMemory, NoFailedAllocationLeavesTheInit)
{
    bool failed = true;
    for (int64_t nth = 1; failed; ++nth) {
        resetSteering();
        const int64_t before = LiveNewBlocks();
        int32_t status = 0;
        {
            const FailingNew allocations(nth);
            status = ZVK_Trap_Init(0, 0, 0, 0, "A_1");
            failed = allocations.Failed();
        }
        EXPECT_EQ(g_trap.head[0] == nullptr, status < 0) << nth;
        EXPECT_TRUE(failed || status == 0);
        resetSteering();
        EXPECT_EQ(LiveNewBlocks(), before) << nth;
        ASSERT_LT(nth, 10000);
    }
}
