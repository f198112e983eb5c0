#include "steering/galvo_nodes.h"

#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

static ZVK_SegmentPace Pace(int32_t waypoints, double speed = 1.0)
{
    return {10000, speed, 0.0008, waypoints};
}

TEST(GalvoNodes, OneVoltAtOneVoltPerSecondIs1250PointsOf8Samples)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1), 0, 0, 1, 0);
    EXPECT_EQ(plan.stepsTotal, 10000);
    EXPECT_EQ(plan.points, 1250);
    EXPECT_EQ(plan.dwell, 8);
    EXPECT_DOUBLE_EQ(plan.resultingSpeed, 1.0);
    EXPECT_EQ(plan.warning, 0);
}

TEST(GalvoNodes, FourWaypointsShareThePointsAndTheSpeedReadsFourfold)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(4), 0, 0, 1, 0);
    EXPECT_EQ(plan.stepsTotal, 2500);
    EXPECT_EQ(plan.points, 312);
    EXPECT_EQ(plan.dwell, 8);
    EXPECT_DOUBLE_EQ(plan.resultingSpeed, 4.0);
}

TEST(GalvoNodes, DwellLosesTheRestOfTheDivision)
{
    // 0.6 V at 0.7 V/s: 8571 samples over 749 points, since 0.6 / 0.0008 lies just below 750.
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1, 0.7), 0, 0, 0.6, 0);
    EXPECT_EQ(plan.stepsTotal, 8571);
    EXPECT_EQ(plan.points, 749);
    EXPECT_EQ(plan.dwell, 11);
}

TEST(GalvoNodes, ASegmentShorterThanAStepIsOnePointWithTheSpeedWarning)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1), 0, 0, 0.0004, 0);
    EXPECT_EQ(plan.points, 1);
    EXPECT_EQ(plan.stepsTotal, 4);
    EXPECT_EQ(plan.dwell, 4);
    EXPECT_EQ(plan.warning, ZVK_GALVO_SPEED_LIMIT);
}

TEST(GalvoNodes, ASegmentOfNoLengthIsOneSampleWithTheSpeedWarning)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1), 3, 3, 3, 3);
    EXPECT_EQ(plan.stepsTotal, 1);
    EXPECT_EQ(plan.points, 1);
    EXPECT_EQ(plan.dwell, 1);
    EXPECT_EQ(plan.warning, ZVK_GALVO_SPEED_LIMIT);
    EXPECT_EQ(plan.resultingSpeed, 0.0);
}

TEST(GalvoNodes, ASpeedThatNeedsMorePointsThanSamplesGrowsStepsWithoutAWarning)
{
    // 1 V at 100 V/s: 100 samples, 1250 points wanted.
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1, 100.0), 0, 0, 1, 0);
    EXPECT_EQ(plan.points, 100);
    EXPECT_EQ(plan.stepsTotal, 0);
    EXPECT_EQ(plan.dwell, 0);
    EXPECT_EQ(plan.resultingSpeed, std::numeric_limits<double>::infinity());
    EXPECT_EQ(plan.warning, 0);
}

TEST(GalvoNodes, ASpeedBeyondOneSampleWarnsAndTakesOnePoint)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1, 1e9), 0, 0, 1, 0);
    EXPECT_EQ(plan.points, 1);
    EXPECT_EQ(plan.stepsTotal, 0);
    EXPECT_EQ(plan.warning, ZVK_GALVO_SPEED_LIMIT);
}

TEST(GalvoNodes, ANegativeSpeedCountsByItsAmount)
{
    EXPECT_EQ(PlanSegment(Pace(1, -1.0), 0, 0, 1, 0).stepsTotal, 10000);
}

TEST(GalvoNodes, ASpeedOfZeroStandsForTheLongestDwell)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1, 0.0), 0, 0, 1, 0);
    EXPECT_EQ(plan.stepsTotal, std::numeric_limits<int32_t>::max());
    EXPECT_EQ(plan.points, 1250);
    EXPECT_EQ(plan.dwell, std::numeric_limits<int32_t>::max() / 1250);
}

TEST(GalvoNodes, CutToLongTruncatesTowardZeroAndStaysInRange)
{
    EXPECT_EQ(CutToLong(2.9), 2);
    EXPECT_EQ(CutToLong(-2.9), -2);
    EXPECT_EQ(CutToLong(1e300), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(CutToLong(-1e300), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(CutToLong(std::nan("")), 0);
}

TEST(GalvoNodes, StraightShapesHaveAPointAStepAndSinesOneASample)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1), 0, 0, 1, 0);
    for (int32_t waveForm : {1, 3, 4})
        EXPECT_EQ(NodesOfSegment(plan, waveForm), 1250) << waveForm;
    EXPECT_EQ(NodesOfSegment(plan, 2), 10000);
    for (int32_t waveForm : {0, 5, 7, -1})
        EXPECT_EQ(NodesOfSegment(plan, waveForm), 0) << waveForm;
}

TEST(GalvoNodes, AStraightSegmentEndsAtItsEndAndStartsOneStepBehindItsStart)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1), 0, 0, 1, -2);
    std::vector<ZVK_GalvoNode> nodes(plan.points);
    FillSegment(nodes.data(), plan, ZVK_WAVEFORM_LINEAR, 1, -2);
    EXPECT_EQ(nodes.back().x, 1.0);
    EXPECT_EQ(nodes.back().y, -2.0);
    const double k = plan.points - 1;
    EXPECT_EQ(nodes.front().x, 1.0 - k * 1.0 / plan.points);
    EXPECT_EQ(nodes.front().y, -2.0 - k * -2.0 / plan.points);
    for (const ZVK_GalvoNode &node : nodes)
        EXPECT_EQ(node.dwell, plan.dwell);
}

TEST(GalvoNodes, ASineIsSlowAtItsEndsAndHoldsEachPointForOneSample)
{
    const ZVK_SegmentPlan plan = PlanSegment(Pace(1, 10.0), 0, 0, 0.5, 0);
    ASSERT_EQ(plan.stepsTotal, 0) << "too fast: fewer samples than points";
    const ZVK_SegmentPlan slow = PlanSegment(Pace(1, 0.5), 0, 0, 0.5, 0);
    ASSERT_EQ(slow.stepsTotal, 10000);
    std::vector<ZVK_GalvoNode> nodes(slow.stepsTotal);
    FillSegment(nodes.data(), slow, ZVK_WAVEFORM_SINE, 0.5, 0);
    EXPECT_DOUBLE_EQ(nodes.back().x, 0.5);
    EXPECT_NEAR(nodes[4999].x, 0.25, 1e-4);
    EXPECT_LT(nodes[10].x - nodes[9].x, (nodes[5000].x - nodes[4999].x) / 100);
    for (const ZVK_GalvoNode &node : nodes)
        ASSERT_EQ(node.dwell, 0);
}

TEST(GalvoNodes, BothEndsOfAListPointAtThemselves)
{
    std::vector<ZVK_GalvoNode> nodes(3);
    LinkNodes(nodes.data(), 3);
    EXPECT_TRUE(IsHead(nodes[0]));
    EXPECT_FALSE(IsTail(nodes[0]));
    EXPECT_EQ(nodes[0].next, &nodes[1]);
    EXPECT_EQ(nodes[1].prev, &nodes[0]);
    EXPECT_TRUE(IsTail(nodes[2]));
    EXPECT_FALSE(IsHead(nodes[2]));
}

TEST(GalvoNodes, ASingleNodeStandsAtItsPlaceForOneSampleAndIsBothEnds)
{
    ZVK_GalvoNode *node = NewSingleNode(1.5, -2.5);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->count, 0);
    EXPECT_EQ(node->dwell, 1);
    EXPECT_EQ(node->x, 1.5);
    EXPECT_EQ(node->y, -2.5);
    EXPECT_TRUE(IsHead(*node));
    EXPECT_TRUE(IsTail(*node));
    Release(node);
}
