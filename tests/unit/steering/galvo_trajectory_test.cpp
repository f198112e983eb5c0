#include "galvo_fixture.h"
#include "steering/galvo_nodes.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <list>
#include <random>

using GalvoTrajectory = GalvoTest;

namespace {

struct Points
{
    std::vector<double> x;
    std::vector<double> y;
};

}  // namespace

static Points Read(int32_t path, int32_t wp)
{
    int32_t count = 0;
    double *x = nullptr;
    double *y = nullptr;
    EXPECT_EQ(ZVK_Galvo_GetTrajectory(0, path, wp, &count, &x, &y), 0);
    Points points = {{x, x + count}, {y, y + count}};
    free(x);
    free(y);
    return points;
}

static int32_t Set(std::vector<double> x, std::vector<double> y, int32_t waveForm,
                   double *speed = nullptr)
{
    double ignored = 0;
    return ZVK_Galvo_SetTrajectory(0, 0, 0, static_cast<int32_t>(x.size()), x.data(), y.data(),
                                   speed ? speed : &ignored, waveForm);
}

// The list as it is told: each new node goes in right behind the head.
static std::vector<ZVK_GalvoNode> ToldList(const ZVK_SegmentPace &pace,
                                           const std::vector<double> &x,
                                           const std::vector<double> &y, int32_t waveForm)
{
    std::list<ZVK_GalvoNode> nodes;
    for (size_t i = x.size() - 1; i >= 1; --i) {
        const ZVK_SegmentPlan plan = PlanSegment(pace, x[i - 1], y[i - 1], x[i], y[i]);
        if (waveForm == 1 || waveForm == 3 || waveForm == 4) {
            for (int32_t k = 0; k < plan.points; ++k) {
                nodes.push_front({0, plan.dwell, x[i] - k * plan.dx / plan.points,
                                  y[i] - k * plan.dy / plan.points});
            }
        }
        if (waveForm == 2) {
            for (int32_t k = 0; k < plan.stepsTotal; ++k) {
                const double a =
                    k * 2 * M_PI / (2 * static_cast<double>(plan.stepsTotal)) - M_PI / 2;
                nodes.push_front({0, 0, x[i] - std::fabs(std::sin(a) + 1) * plan.dx / 2,
                                  y[i] - std::fabs(std::sin(a) + 1) * plan.dy / 2});
            }
        }
    }
    nodes.push_front({0, nodes.empty() ? 0 : nodes.front().dwell, x[0], y[0]});
    return {nodes.begin(), nodes.end()};
}

TEST_F(GalvoTrajectory, HasTheToldNodesInTheToldOrder)
{
    std::mt19937 random(1);
    for (int round = 0; round < 100; ++round) {
        ResetGalvo();
        PrepareOutput(100);
        Configure(0, 1 + round % 3);
        ZVK_Galvo_SetSpeed(0, 0, 0, 0.5 + round % 40);
        std::vector<double> x;
        std::vector<double> y;
        for (int i = 0; i < 2 + round % 5; ++i) {
            x.push_back(static_cast<double>(random() % 1000) / 5000.0);
            y.push_back(static_cast<double>(random() % 1000) / 5000.0);
        }
        const int32_t waveForm = round % 6;
        ASSERT_GE(Set(x, y, waveForm), 0);
        const std::vector<ZVK_GalvoNode> told =
            ToldList({10000, g_galvo[0].speeds[0], 0.0008, g_galvo[0].NumOfWP}, x, y, waveForm);
        const ZVK_GalvoNode *node = g_galvo[0].trajectory[0];
        ASSERT_TRUE(IsHead(*node));
        for (size_t i = 0; i < told.size(); ++i) {
            ASSERT_EQ(node->x, told[i].x) << "round " << round << " node " << i;
            ASSERT_EQ(node->y, told[i].y);
            ASSERT_EQ(node->dwell, told[i].dwell);
            ASSERT_EQ(node->count, 0);
            ASSERT_EQ(IsTail(*node), i + 1 == told.size());
            if (!IsTail(*node)) {
                ASSERT_EQ(node->next->prev, node);
            }
            node = node->next;
        }
    }
}

TEST_F(GalvoTrajectory, OneVoltAtOneVoltPerSecondHas1251NodesOf8Samples)
{
    PrepareOutput(100);
    Configure(0, 1);
    double speed = 0;
    EXPECT_EQ(Set({0, 1}, {0, 0}, 1, &speed), 0);
    EXPECT_DOUBLE_EQ(speed, 1.0);
    EXPECT_EQ(g_galvo[0].trajectory[0]->dwell, 8)
        << "the head takes the dwell of the node behind it";
    EXPECT_EQ(Read(0, 0).x.size(), 1251U);
}

TEST_F(GalvoTrajectory, FourWaypointsGive312NodesAndAResultingSpeedOf4)
{
    PrepareOutput(100);
    Configure(0, 4);
    double speed = 0;
    EXPECT_EQ(Set({0, 1}, {0, 0}, 1, &speed), 0);
    EXPECT_DOUBLE_EQ(speed, 4.0);
    EXPECT_EQ(Read(0, 0).x.size(), 313U);
}

TEST_F(GalvoTrajectory, ResultingSpeedIsOfTheFirstSegment)
{
    PrepareOutput(100);
    Configure(0, 1);
    ZVK_Galvo_SetSpeed(0, 0, 0, 0.7);
    double speed = 0;
    Set({0, 0.3, 0.3}, {0, 0, 0.0004}, 1, &speed);
    EXPECT_DOUBLE_EQ(speed, 0.3 * 10000 / 4285);
}

TEST_F(GalvoTrajectory, AMoveTooFastReadsAnInfiniteSpeed)
{
    PrepareOutput(100);
    Configure(0, 1);
    ZVK_Galvo_SetSpeed(0, 0, 0, 100);
    double speed = 0;
    EXPECT_EQ(Set({0, 1}, {0, 0}, 1, &speed), 0);
    EXPECT_EQ(speed, std::numeric_limits<double>::infinity());
    EXPECT_EQ(Read(0, 0).x.size(), 101U);
    EXPECT_EQ(Set({0, 1}, {0, 0}, 2, &speed), 0);
    EXPECT_EQ(Read(0, 0).x.size(), 1U) << "a sine gets no nodes then";
}

TEST_F(GalvoTrajectory, AnUnknownShapeIsTheHeadAlone)
{
    PrepareOutput(100);
    Configure(0, 1);
    EXPECT_EQ(Set({0.25, 1}, {0.5, 0}, 7), 0);
    const Points points = Read(0, 0);
    EXPECT_EQ(points.x, std::vector<double>{0.25});
    EXPECT_EQ(points.y, std::vector<double>{0.5});
}

TEST_F(GalvoTrajectory, ASegmentOfNoLengthIsOneNodeWith614)
{
    PrepareOutput(100);
    Configure(0, 1);
    EXPECT_EQ(Set({1, 1}, {2, 2}, 1), ZVK_GALVO_SPEED_LIMIT);
    EXPECT_EQ(Read(0, 0).x, (std::vector<double>{1, 1}));
}

TEST_F(GalvoTrajectory, AMoveBelowOneStepWarnsAndEndsInTheFirstUpdate)
{
    PrepareOutput(100);
    Configure(0, 4);
    Configure(1, 1);
    EXPECT_EQ(Set({1, 1.002}, {2, 2}, 1), ZVK_GALVO_SPEED_LIMIT) << "below 4 times 0.0008 V";
    EXPECT_EQ(Read(0, 0).x.size(), 2U);
    ZVK_GalvoState &row = g_galvo[0];
    row.trajectory[0] = row.lists[0];
    ZVK_Galvo_SetMoveType(0, 0, 0, 1);
    ZVK_Galvo_UpdateBuffer();
    EXPECT_EQ(row.moveMode[0], ZVK_MOVE_STAND);
    EXPECT_EQ(row.posX[0], 1.002);
}

TEST_F(GalvoTrajectory, PointsAfterTheFirstAreClampedInPlaceAndShiftTheirSegment)
{
    PrepareOutput(100);
    Configure(0, 1);
    double x[2] = {11, 12};
    double y[2] = {0, 0};
    double speed = 0;
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &speed, 1), ZVK_GALVO_CLAMPED);
    EXPECT_EQ(x[0], 11.0) << "the first point is not clamped";
    EXPECT_EQ(x[1], 10.0);
    const Points points = Read(0, 0);
    EXPECT_EQ(points.x.front(), 11.0);
    EXPECT_EQ(points.x.back(), 10.0);
    EXPECT_NEAR(points.x[1], 9.0008, 1e-9) << "the segment is as long as it was, shifted";
    EXPECT_EQ(g_galvo[0].targetX[0], 12.0) << "the target is the last point before clamping";
}

TEST_F(GalvoTrajectory, TheWarningRaisedLastWins)
{
    PrepareOutput(100);
    Configure(0, 1);
    // Segments are taken last to first. The second one is too short, the first one is clamped.
    EXPECT_EQ(Set({9, 10.5, 10.5}, {0, 0, 0}, 1), ZVK_GALVO_CLAMPED);
    // Now the first one is too short, at its end inside the limits; the second one is clamped.
    EXPECT_EQ(Set({9, 9, 11}, {0, 0, 0}, 1), ZVK_GALVO_SPEED_LIMIT);
}

TEST_F(GalvoTrajectory, ChecksPathThenStepsThenInitThenUpdateThenWaypoint)
{
    PrepareOutput(100);
    Configure(0, 1);
    double x[2] = {0, 1};
    double y[2] = {0, 1};
    double speed = 0;
    g_galvo[0].initialized = 0;
    g_galvoDaq.updating = 1;
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 2, 99, 1, x, y, &speed, 1), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 99, 1, x, y, &speed, 1), ZVK_GALVO_TOO_FEW_POINTS);
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 99, 2, x, y, &speed, 1), ZVK_GALVO_NOT_CONFIGURED);
    g_galvo[0].initialized = 1;
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 99, 2, x, y, &speed, 1), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(g_galvoDaq.dataReady, 1);
    g_galvoDaq.updating = 0;
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 1, 2, x, y, &speed, 1), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(g_galvoDaq.dataReady, 0) << "this refusal leaves the data not ready";
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), ZVK_GALVO_NOT_READY);
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &speed, 1), 0);
    EXPECT_EQ(g_galvoDaq.dataReady, 1) << "until another call sets it";
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), 0);
}

TEST_F(GalvoTrajectory, ANegativeWaypointIsRefusedLikeOneThatIsTooLarge)
{
    PrepareOutput(100);
    Configure(0, 1);
    double x[2] = {0, 1};
    double speed = 0;
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, -1, 2, x, x, &speed, 1), ZVK_GALVO_OUT_OF_RANGE);
}

TEST_F(GalvoTrajectory, DoesNotTouchMoveModeSamplesOrPosition)
{
    PrepareOutput(100);
    Configure(0, 1);
    const std::vector<double> before = AllSamples();
    g_galvo[0].direction[0] = -1;
    Set({0, 1}, {0, 0}, 1);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_STAND);
    EXPECT_EQ(AllSamples(), before);
    EXPECT_EQ(g_galvo[0].posX[0], 1.0);
    EXPECT_EQ(g_galvo[0].direction[0], 1);
}

TEST_F(GalvoTrajectory, ASineAtSpeedZeroHasNoRoomAndLeavesTheOldList)
{
    PrepareOutput(100);
    Configure(0, 1);
    ZVK_Galvo_SetSpeed(0, 0, 0, 0.0);
    EXPECT_EQ(Set({0, 1}, {0, 0}, 2), ZVK_GALVO_NO_MEMORY);
    EXPECT_EQ(Read(0, 0).x, std::vector<double>{1.0});
    EXPECT_EQ(g_galvoDaq.dataReady, 0);
}

TEST_F(GalvoTrajectory, ReadingRestsThePointerOnTheTailSoThatARunJumpsToItsEnd)
{
    PrepareOutput(100);
    Configure(0, 1);
    Configure(1, 1);
    Set({1, 2}, {2, 2}, 1);
    ZVK_Galvo_SetMoveType(0, 0, 0, 1);
    ZVK_Galvo_UpdateBuffer();
    const Points points = Read(0, 0);
    EXPECT_EQ(points.x.front(), 1.0) << "read from its head, wherever the run was";
    EXPECT_EQ(points.x.back(), 2.0);
    EXPECT_TRUE(IsTail(*g_galvo[0].trajectory[0]));
    ZVK_Galvo_UpdateBuffer();
    EXPECT_EQ(g_galvo[0].posX[0], 2.0);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_STAND);
}

TEST_F(GalvoTrajectory, ReadingChecksPathThenWaypoint)
{
    PrepareOutput(100);
    Configure(0, 1);
    int32_t count = 5;
    double *x = nullptr;
    double *y = nullptr;
    EXPECT_EQ(ZVK_Galvo_GetTrajectory(0, 2, 99, &count, &x, &y), ZVK_GALVO_BAD_PATH);
    EXPECT_EQ(ZVK_Galvo_GetTrajectory(0, 0, 1, &count, &x, &y), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(ZVK_Galvo_GetTrajectory(0, 0, -1, &count, &x, &y), ZVK_GALVO_OUT_OF_RANGE);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(x, nullptr);
}

TEST_F(GalvoTrajectory, ReadingIgnoresARunningUpdate)
{
    PrepareOutput(100);
    Configure(0, 1);
    g_galvoDaq.updating = 1;
    EXPECT_EQ(Read(0, 0).x.size(), 1U);
    g_galvoDaq.updating = 0;
}
