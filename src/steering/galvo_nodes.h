#ifndef QUORVEX_STEERING_GALVO_NODES_H
#define QUORVEX_STEERING_GALVO_NODES_H

// Node lists: how a polyline at a speed becomes points and dwell counts. No state, no platform.

#include "steering/galvo.h"

#include <cstdint>

// What the arithmetic of a segment depends on beside its two points.
struct ZVK_SegmentPace
{
    int32_t clockRate;  // samples per second
    double speed;       // V/s
    double maxStep;     // V
    int32_t waypoints;  // of the path; each gets one sample in so many
};

struct ZVK_SegmentPlan
{
    double dx;  // V, end minus start
    double dy;
    int32_t stepsTotal;  // samples of the waypoint's own slots; 0 when the steps outrun the speed
    int32_t points;      // nodes of a straight segment, at least 1
    int32_t dwell;       // samples on each
    double resultingSpeed;  // V/s, over all samples of the clock; infinite when stepsTotal is 0
    int32_t warning;        // 0 or ZVK_GALVO_SPEED_LIMIT
};

ZVK_SegmentPlan PlanSegment(const ZVK_SegmentPace &pace, double startX, double startY, double endX,
                            double endY);

// The value cut to a whole number, pulled into the 32-bit range; what is not a number gives 0.
int32_t CutToLong(double value);

// How many nodes a segment has: by points for the straight shapes, by samples for the sine, none
// for an unknown shape.
int64_t NodesOfSegment(const ZVK_SegmentPlan &plan, int32_t waveForm);

// Writes the segment's nodes, start to end, and leaves the links alone.
void FillSegment(ZVK_GalvoNode *nodes, const ZVK_SegmentPlan &plan, int32_t waveForm, double endX,
                 double endY);

// Links `count` nodes that lie in one block into a list; both ends point at themselves.
void LinkNodes(ZVK_GalvoNode *nodes, int64_t count);

// A list of one node, for a waypoint without a trajectory. Null when memory ran out.
ZVK_GalvoNode *NewSingleNode(double x, double y);

bool IsTail(const ZVK_GalvoNode &node);
bool IsHead(const ZVK_GalvoNode &node);

#endif
