// The stage's part of the demo.

#include "demo.h"

#include "quorvex/quorvex.h"

#include <chrono>
#include <thread>

constexpr SessionHandle kSession = 640;
constexpr int kMostLooks = 500;

static bool Done(const char *what, int32_t status, const std::string &outcome)
{
    PrintStep(what, status < 0 ? Format("FAILED %d", status) : outcome);
    return status >= 0;
}

static void AwaitArrival()
{
    uint16_t arrived = 0;
    for (int look = 0; look < kMostLooks && arrived == 0; ++look) {
        if (ZVK_Stage_CheckMoveStatus(kSession, &arrived) != 0) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

static bool MoveAndRead(int32_t axis, double target)
{
    double position = 0.0;
    int32_t status = ZVK_Stage_MoveAbsolute(kSession, axis, target);
    if (status == 0) AwaitArrival();
    if (status == 0) status = ZVK_Stage_GetPosition(kSession, axis, &position);
    return Done("move the stage", status,
                Format("axis %c to %g um, stands at %.3f um", "xyz"[axis], target, position));
}

static bool Shake(int32_t axis, double amplitude, int32_t frequency)
{
    const int32_t status = ZVK_Stage_StartOscillation(kSession, axis, amplitude, frequency);
    if (!Done("shake it", status,
              Format("axis %c, %g um up and down, %d Hz", "xyz"[axis], amplitude, frequency)))
        return false;
    return Done("hold it still", ZVK_Stage_StopOscillation(kSession, axis), "at its position");
}

bool WorkStage()
{
    return MoveAndRead(0, 12.5) && MoveAndRead(2, -3.0) && Shake(0, 0.25, 32) &&
           Done("centre the stage", ZVK_Stage_Center(kSession), "all axes at 0");
}
