// What several parts of the demo ask of traps: where they are, and a star to run along.

#include "demo.h"

#include "quorvex/quorvex.h"

#include <cmath>

constexpr SessionHandle kSession = 640;
constexpr int kMostTraps = 16;
constexpr int kLabelSize = 257;

std::vector<SeenTrap> SeeTraps(int32_t path)
{
    int32_t count = 0;
    if (ZVK_Trap_GetNumberOfTraps(kSession, path, &count) < 0 || count > kMostTraps) return {};
    double x[kMostTraps];
    double y[kMostTraps];
    char room[kMostTraps][kLabelSize];
    char *labels[kMostTraps];
    for (int i = 0; i < kMostTraps; ++i)
        labels[i] = room[i];
    if (ZVK_Trap_GetArray(kSession, path, x, y, nullptr, labels, ZVK_UNIT_PIXEL) < 0) return {};
    std::vector<SeenTrap> traps;
    traps.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i)
        traps.push_back({labels[i], {x[i], y[i]}});
    return traps;
}

Point VoltsOf(const Trap &trap)
{
    Point p;
    (void)ZVK_Trap_GetPosition(kSession, trap.path, trap.index, &p.x, &p.y, ZVK_UNIT_VOLT);
    return p;
}

std::vector<Point> StarFrom(const Point &start)
{
    constexpr int kPoints = 6;
    constexpr double kRadius = 0.5;  // V
    std::vector<Point> corners;
    for (int i = 0; i < kPoints; ++i) {
        const double angle = 2.0 * i * 2.0 * M_PI / 5.0;
        corners.push_back(
            {start.x + kRadius * (std::cos(angle) - 1.0), start.y + kRadius * std::sin(angle)});
    }
    return corners;
}

int32_t RunAlong(const Trap &trap, const std::vector<Point> &corners, double *speed)
{
    std::vector<double> x;
    std::vector<double> y;
    for (const Point &corner : corners) {
        x.push_back(corner.x);
        y.push_back(corner.y);
    }
    int32_t status = ZVK_Trap_SetTrajectory(
        kSession, trap.path, trap.index, static_cast<int32_t>(x.size()), x.data(), y.data(), speed);
    double frequency = 0;
    if (status >= 0) {
        status = ZVK_Trap_TrajectoryRun(kSession, trap.path, trap.index, 1, ZVK_MOVE_ONCE,
                                        ZVK_WAVEFORM_LINEAR, &frequency);
    }
    return status;
}

bool AllStand(const std::vector<Trap> &traps)
{
    for (const Trap &trap : traps) {
        int32_t mode = ZVK_MOVE_STAND;
        int32_t running = 0;
        (void)ZVK_Trap_GetMoveType(kSession, trap.path, trap.index, &mode, &running);
        if (mode != ZVK_MOVE_STAND) return false;
    }
    return true;
}
