// Moves of the beam expanders: absolute, by steps on one path or both, to the middle, and into the
// stop.

#include "instruments/beamexpander.h"
#include "platform/clock.h"
#include "quorvex/confile.h"
#include "steering/check_status.h"

#include <cinttypes>
#include <cstdio>
#include <limits>

constexpr int32_t kHomingSpeed = 150;  // in the board's unit

// Wide enough for the difference of two positions, and for a product of two factors on top of one.
using Steps64 = int64_t;

static bool FitsAMove(Steps64 steps)
{
    return steps >= std::numeric_limits<int32_t>::min() &&
           steps <= std::numeric_limits<int32_t>::max();
}

static Steps64 Product(int32_t dir, int32_t steps) { return static_cast<Steps64>(dir) * steps; }

// The limits themselves are out of range here, unlike in a move to a position.
static bool StaysInside(const ZVK_BeamExpanderState &row, Steps64 delta)
{
    const Steps64 target = row.position + delta;
    return target < row.cwLimit && target > row.ccwLimit && FitsAMove(delta);
}

// Starts a move and gives the board's answer.
static int32_t MoveMotor(int32_t path, int32_t delta)
{
    CommandMotor(path, kMoveTo, kRelative, delta);
    int32_t echoed = 0;
    return ReadMotorReply(path, echoed);
}

int32_t ZVK_BeamExpander_SetSpeed(SessionHandle, int32_t Path, int32_t Speed)
{
    if (!IsExpanderPath(Path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    ZVK_BeamExpanderState &row = g_beamExpander[Path];
    if (row.initialized == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    // Only a board sets the highest speed, so that a simulated path refuses each one.
    if (Speed > row.maxSpeed || Speed < 1) return ZVK_BEAMEXPANDER_BAD_SPEED;
    if (row.simulate == 0 && !DrivesBoard(row)) return ZVK_BEAMEXPANDER_NOT_FOUND;
    if (row.simulate == 0) TellMotor(Path, kSetAxis, kMaximumSpeed, Speed);
    row.speed = Speed;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_CheckTargetReached(SessionHandle, int32_t Path, int32_t *Status)
{
    if (!IsExpanderPath(Path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    const ZVK_BeamExpanderState &row = g_beamExpander[Path];
    if (row.simulate != 0) {
        if (Status) *Status = 1;
        return ZVK_SUCCESS;
    }
    if (row.initialized == 0 || !DrivesBoard(row)) return ZVK_BEAMEXPANDER_NOT_FOUND;
    CommandMotor(Path, kGetAxis, kPositionReached, 0);
    int32_t reached = 0;
    const int32_t status = ReadMotorReply(Path, reached);
    if (Ends(status)) return status;
    if (Status) *Status = reached;
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_SetPosition(SessionHandle, int32_t path, int32_t pos)
{
    if (!IsExpanderPath(path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    ZVK_BeamExpanderState &row = g_beamExpander[path];
    if (row.initialized == 0) return ZVK_SUCCESS;
    if (pos > row.cwLimit || pos < row.ccwLimit) return ZVK_BEAMEXPANDER_OUT_OF_RANGE;
    if (row.simulate != 0) {
        row.position = pos;
        return ZVK_SUCCESS;
    }
    if (!DrivesBoard(row)) return ZVK_SUCCESS;
    const Steps64 delta = static_cast<Steps64>(pos) - row.position;
    if (!FitsAMove(delta)) return ZVK_BEAMEXPANDER_OUT_OF_RANGE;
    const int32_t status = MoveMotor(path, static_cast<int32_t>(delta));
    if (Ends(status)) return status;
    row.position = pos;
    KeepPosition(path);
    return ZVK_SUCCESS;
}

int m_BeamExpander_GotoInitPos(int path)
{
    if (!IsExpanderPath(path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    ZVK_BeamExpanderState &row = g_beamExpander[path];
    if (row.initialized == 0) return ZVK_SUCCESS;
    if (row.simulate == 0 && !DrivesBoard(row)) return ZVK_SUCCESS;
    if (row.simulate == 0) {
        const int32_t status = ZVK_BeamExpander_SetPosition(0, path, row.initPos);
        if (status != 0) return status;
    }
    row.position = row.initPos;
    return ZVK_SUCCESS;
}

static void GrowPosition(int32_t path, int32_t delta)
{
    g_beamExpander[path].position += delta;
    KeepPosition(path);
}

int32_t ZVK_BeamExpander_MoveRelative(SessionHandle, int32_t Path, int32_t Dir, int32_t Steps)
{
    if (!IsExpanderPath(Path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    const ZVK_BeamExpanderState &row = g_beamExpander[Path];
    if (row.initialized == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    const Steps64 product = Product(Dir, Steps);
    if (!StaysInside(row, product)) return ZVK_BEAMEXPANDER_OUT_OF_RANGE;
    const auto delta = static_cast<int32_t>(product);
    if (row.simulate == 0 && !DrivesBoard(row)) return ZVK_SUCCESS;
    if (row.simulate == 0) {
        const int32_t status = MoveMotor(Path, delta);
        if (Ends(status)) return status;
    }
    GrowPosition(Path, delta);
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_MoveRelativeSync(SessionHandle, int32_t Dir, int32_t Steps)
{
    const ZVK_BeamExpanderState &a = g_beamExpander[ZVK_PATH_A];
    const ZVK_BeamExpanderState &b = g_beamExpander[ZVK_PATH_B];
    if (a.initialized == 0 || b.initialized == 0) return ZVK_BEAMEXPANDER_NOT_FOUND;
    const Steps64 product = Product(Dir, Steps);
    if (!StaysInside(a, product) || !StaysInside(b, product)) return ZVK_BEAMEXPANDER_OUT_OF_RANGE;
    if (a.simulate != 0 || b.simulate != 0) return ZVK_SUCCESS;
    if (!DrivesBoard(a)) return ZVK_SUCCESS;

    const auto delta = static_cast<int32_t>(product);
    for (int32_t path = 0; path < kExpanderPaths; ++path)
        CommandMotor(path, kMoveTo, kRelative, delta);
    for (int32_t path = 0; path < kExpanderPaths; ++path) {
        int32_t echoed = 0;
        const int32_t status = ReadMotorReply(path, echoed);
        if (Ends(status)) return status;
    }
    for (int32_t path = 0; path < kExpanderPaths; ++path)
        GrowPosition(path, delta);
    return ZVK_SUCCESS;
}

int32_t ZVK_BeamExpander_Center(SessionHandle, int32_t path)
{
    if (!IsExpanderPath(path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    const ZVK_BeamExpanderState &row = g_beamExpander[path];
    if (row.initialized == 0) return ZVK_SUCCESS;
    const Steps64 range = static_cast<Steps64>(row.cwLimit) - row.ccwLimit;
    const auto middle = static_cast<int32_t>(row.cwLimit - range / 2);
    const int32_t status = ZVK_BeamExpander_SetPosition(0, path, middle);
    (void)Ends(status);  // a warning is captured and told too
    return status;
}

static void LogHoming(int32_t path, int32_t setpoint)
{
    char text[80];
    (void)std::snprintf(text, sizeof text, "BE Path %" PRId32 " Reset, Setpoint %" PRId32 "\n",
                        path, setpoint);
    (void)ZVK_ConFile_WriteLog(0, "log.ini", text);
}

int32_t ZVK_BeamExpander_Reset(SessionHandle, int32_t path)
{
    if (!IsExpanderPath(path)) return ZVK_BEAMEXPANDER_BAD_PATH;
    ZVK_BeamExpanderState &row = g_beamExpander[path];
    if (row.simulate != 0) return ZVK_SUCCESS;
    if (row.initialized == 0 || !DrivesBoard(row)) return ZVK_SUCCESS;

    (void)ZVK_BeamExpander_SetDefaultValues(path);
    TellMotor(path, kStopMotor, 0, 0);
    TellMotor(path, kRotateLeft, 1, kHomingSpeed);
    Clock().delay(row.iniSec);
    TellMotor(path, kStopMotor, 0, 0);
    TellMotor(path, kSetAxis, kActualPosition, 0);  // the stop is position zero
    CommandMotor(path, kGetAxis, kActualPosition, 0);
    int32_t setpoint = 0;
    const int32_t status = ReadMotorReply(path, setpoint);
    if (Ends(status)) return status;
    LogHoming(path, setpoint);
    row.position = 0;
    KeepPosition(path);
    (void)ZVK_BeamExpander_Center(0, path);
    return ZVK_SUCCESS;
}
