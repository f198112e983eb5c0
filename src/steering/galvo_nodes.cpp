#include "steering/galvo_nodes.h"

#include "platform/memory.h"

#include <cmath>
#include <limits>
#include <numbers>

bool IsTail(const ZVK_GalvoNode &node) { return node.next == &node; }

bool IsHead(const ZVK_GalvoNode &node) { return node.prev == &node; }

int32_t CutToLong(double value)
{
    constexpr double kMost = std::numeric_limits<int32_t>::max();
    constexpr double kLeast = std::numeric_limits<int32_t>::min();
    if (std::isnan(value)) return 0;
    if (value >= kMost) return std::numeric_limits<int32_t>::max();
    if (value <= kLeast) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

ZVK_SegmentPlan PlanSegment(const ZVK_SegmentPace &pace, double startX, double startY, double endX,
                            double endY)
{
    ZVK_SegmentPlan plan = {};
    plan.dx = endX - startX;
    plan.dy = endY - startY;
    // No way leads from or to what is not a number: the node stands at the end, which is clamped.
    if (!std::isfinite(plan.dx)) plan.dx = 0.0;
    if (!std::isfinite(plan.dy)) plan.dy = 0.0;
    const double dist = std::sqrt(plan.dx * plan.dx + plan.dy * plan.dy);

    // A speed of 0 makes the count infinite: the longest dwell there is, so that the trap stands.
    plan.stepsTotal = CutToLong(pace.clockRate * std::fabs(dist / pace.speed) / pace.waypoints);
    if (plan.stepsTotal == 0) {
        plan.stepsTotal = 1;
        plan.warning = ZVK_GALVO_SPEED_LIMIT;
    }
    plan.points = CutToLong(std::fabs(dist / pace.maxStep) / pace.waypoints);
    if (plan.points == 0) plan.warning = ZVK_GALVO_SPEED_LIMIT;
    if (plan.points > plan.stepsTotal) {
        // More points than samples: one sample each, in steps beyond maxStep.
        plan.points = plan.stepsTotal;
        plan.stepsTotal = 0;
    }
    plan.resultingSpeed = dist * pace.clockRate / plan.stepsTotal;
    if (plan.points < 1) plan.points = 1;
    plan.dwell = plan.stepsTotal / plan.points;
    return plan;
}

int64_t NodesOfSegment(const ZVK_SegmentPlan &plan, int32_t waveForm)
{
    switch (waveForm) {
    case ZVK_WAVEFORM_LINEAR:
    case 3:
    case 4: return plan.points;
    case ZVK_WAVEFORM_SINE: return plan.stepsTotal;
    default: return 0;
    }
}

static void FillStraight(ZVK_GalvoNode *nodes, const ZVK_SegmentPlan &plan, double endX,
                         double endY)
{
    const int64_t count = plan.points;
    for (int64_t k = 0; k < count; ++k) {
        ZVK_GalvoNode &node = nodes[count - 1 - k];
        node.count = 0;
        node.dwell = plan.dwell;
        node.x = endX - static_cast<double>(k) * plan.dx / plan.points;
        node.y = endY - static_cast<double>(k) * plan.dy / plan.points;
    }
}

static void FillSine(ZVK_GalvoNode *nodes, const ZVK_SegmentPlan &plan, double endX, double endY)
{
    constexpr double kPi = std::numbers::pi;
    const int64_t count = plan.stepsTotal;
    for (int64_t k = 0; k < count; ++k) {
        const double a = static_cast<double>(k) * 2.0 * kPi / (2.0 * plan.stepsTotal) - kPi / 2.0;
        const double share = std::fabs(std::sin(a) + 1.0);
        ZVK_GalvoNode &node = nodes[count - 1 - k];
        node.count = 0;
        node.dwell = 0;  // each sample has a point of its own
        node.x = endX - share * plan.dx / 2.0;
        node.y = endY - share * plan.dy / 2.0;
    }
}

void FillSegment(ZVK_GalvoNode *nodes, const ZVK_SegmentPlan &plan, int32_t waveForm, double endX,
                 double endY)
{
    if (waveForm == ZVK_WAVEFORM_SINE) {
        FillSine(nodes, plan, endX, endY);
    } else {
        FillStraight(nodes, plan, endX, endY);
    }
}

void LinkNodes(ZVK_GalvoNode *nodes, int64_t count)
{
    for (int64_t i = 0; i < count; ++i) {
        nodes[i].prev = i == 0 ? &nodes[0] : &nodes[i - 1];
        nodes[i].next = i == count - 1 ? &nodes[i] : &nodes[i + 1];
    }
}

ZVK_GalvoNode *NewSingleNode(double x, double y)
{
    ZVK_GalvoNode *node = AllocateArray<ZVK_GalvoNode>(1);
    if (node == nullptr) return nullptr;
    node->dwell = 1;
    node->x = x;
    node->y = y;
    LinkNodes(node, 1);
    return node;
}
