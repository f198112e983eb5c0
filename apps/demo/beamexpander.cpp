// The beam expanders' part of the demo.

#include "demo.h"

#include "quorvex/quorvex.h"

#include <chrono>
#include <thread>

constexpr SessionHandle kSession = 640;
constexpr double kPatienceS = 20.0;

static bool Done(const char *what, int32_t status, const std::string &outcome)
{
    PrintStep(what, status != 0 ? Format("FAILED %d", status) : outcome);
    return status == 0;
}

// Waits until the motor stands; a simulated one does so at once.
static bool AwaitTarget(int32_t path)
{
    const auto start = std::chrono::steady_clock::now();
    int32_t reached = 0;
    int32_t status = 0;
    double seconds = 0.0;
    while (status == 0 && reached == 0 && seconds < kPatienceS) {
        status = ZVK_BeamExpander_CheckTargetReached(kSession, path, &reached);
        if (reached == 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    int32_t position = 0;
    if (status == 0) status = ZVK_BeamExpander_GetPosition(kSession, path, &position);
    return Done("wait for its motor", status,
                reached == 1
                    ? Format("path %c at %d steps", path == ZVK_PATH_A ? 'A' : 'B', position)
                    : "it moves still");
}

bool WorkBeamExpanders()
{
    constexpr int32_t kSteps = 400;
    constexpr int32_t kOnBoard = 1;
    int32_t start = 0;
    int32_t kind = 0;
    int32_t status = ZVK_BeamExpander_GetPosition(kSession, ZVK_PATH_A, &start);
    if (!Done("beam expander of path A", status, Format("at %d steps", start))) return false;
    status = ZVK_BeamExpander_GetInitStatus(kSession, ZVK_PATH_A, &kind);
    if (status == 0) status = ZVK_BeamExpander_MoveRelativeSync(kSession, 1, kSteps);
    const std::string outcome =
        kind == kOnBoard ? Format("by %d steps", kSteps) : "simulated ones stay where they are";
    if (!Done("move both at once", status, outcome)) return false;
    if (!AwaitTarget(ZVK_PATH_A) || !AwaitTarget(ZVK_PATH_B)) return false;
    status = ZVK_BeamExpander_SetPosition(kSession, ZVK_PATH_A, start);
    if (!Done("set path A back", status, Format("to %d steps", start))) return false;
    if (!AwaitTarget(ZVK_PATH_A)) return false;
    status = ZVK_BeamExpander_Reset(kSession, ZVK_PATH_A);
    return Done("look for its zero", status, "into the stop, then to the middle") &&
           AwaitTarget(ZVK_PATH_A);
}
