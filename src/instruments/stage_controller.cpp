// The stage on its controller: every operation by the link, every failure with the controller's own
// words in the log.

#include "instruments/stage.h"
#include "platform/clock.h"
#include "platform/stagelink.h"
#include "quorvex/confile.h"

#include <algorithm>
#include <limits>

constexpr double kOldestCommandSet = 2.0;
constexpr double kStartSpeed = 1500.0;
constexpr double kPollS = 0.01;
constexpr int kMostPolls = 6000;  // a minute: an axis without its servo never arrives
constexpr size_t kErrorTextSize = 4096;
constexpr uint32_t kServoCycleTime = 0x0E000200;  // parameter of an axis, seconds
constexpr int32_t kTriggerMode = 3;               // parameter of a trigger output
constexpr double kGeneratorTrigger = 4.0;
constexpr int32_t kGeneratorStart = 0x11;
constexpr int32_t kGeneratorStop = 0;
constexpr int32_t kClearAndWrite = 0;

const char *const kStageAxisNames[kStageAxes] = {"1 \n", "2 \n", "3 \n"};
static const int32_t kOn[kStageAxes] = {1, 1, 1};

void ZVK_Stage_PIError(SessionHandle SessionHandle)
{
    char text[kErrorTextSize] = "";
    const int32_t code = StageLink().getError(g_stage.piId);
    (void)StageLink().translateError(code, text, sizeof text);
    (void)ZVK_ConFile_WriteLog(SessionHandle, "log.ini", text);
}

// A step that fails is logged, and the work goes on.
static void Try(int32_t success)
{
    if (success == 0) ZVK_Stage_PIError(0);
}

const char *ControllerAxis(int32_t axis)
{
    if (axis == 0 || axis == 1) return kStageAxisNames[axis];
    return axis == 2 && g_stage.numberOfAxes == 3 ? kStageAxisNames[2] : nullptr;
}

// The records have room for three: what a controller has beyond them is left alone.
static void CutToThreeAxes(char *axes)
{
    int lines = 0;
    for (char *at = axes; *at != '\0'; ++at) {
        if (*at != '\n' || ++lines < kStageAxes) continue;
        at[1] = '\0';
        return;
    }
}

static int32_t AxesInUse() { return std::clamp(g_stage.numberOfAxes, 0, kStageAxes); }

static void StopAllOscillations(SessionHandle vi)
{
    for (int32_t axis = 0; axis < AxesInUse(); ++axis)
        (void)ZVK_Stage_StopOscillation(vi, axis);
    g_stage.oscillating[2] = 0;
}

static void AskLimits(int32_t id)
{
    Try(StageLink().queryUpperLimit(id, g_stage.axes, g_stage.maxPosition));
    Try(StageLink().queryLowerLimit(id, g_stage.axes, g_stage.minPosition));
}

bool AskOnTarget(uint16_t &onTarget)
{
    int32_t values[kStageAxes] = {1, 1, 1};
    const bool answered = StageLink().queryOnTarget(g_stage.piId, g_stage.axes, values) != 0;
    if (!answered) ZVK_Stage_PIError(0);
    onTarget = static_cast<uint16_t>(values[0] & values[1] & values[2]);
    return answered;
}

static void AwaitArrival()
{
    uint16_t onTarget = 0;
    for (int poll = 0; poll < kMostPolls; ++poll) {
        if (!AskOnTarget(onTarget) || onTarget != 0) return;
        Clock().delay(kPollS);
    }
}

// The middle of the travel becomes the origin, and the limits are told from there.
static void MakeMiddleTheOrigin(int32_t id)
{
    AskLimits(id);
    double middle[kStageAxes];
    for (int axis = 0; axis < kStageAxes; ++axis)
        middle[axis] = (g_stage.maxPosition[axis] + g_stage.minPosition[axis]) / 2;
    Try(StageLink().move(id, g_stage.axes, middle));
    AwaitArrival();
    Try(StageLink().defineHome(id, g_stage.axes));
    AskLimits(id);
}

int32_t InitStageController(SessionHandle vi)
{
    if (g_stage.piId >= 0) StageLink().close(g_stage.piId);  // of a start that failed
    g_stage.piId = StageLink().connect(g_stage.ip, g_stage.portNum);
    if (g_stage.piId < 0) {
        ZVK_Stage_PIError(vi);
        return ZVK_STAGE_CONNECT_FAILED;
    }
    const int32_t id = g_stage.piId;
    g_stage.initialized = 1;
    double revision = 0.0;
    Try(StageLink().queryCommandSet(id, &revision));
    if (revision < kOldestCommandSet) {
        (void)ZVK_ConFile_WriteLog(vi, "log.ini",
                                   "Command set revision of connected stage is not supported.");
        StageLink().close(id);
        g_stage.piId = -1;
        return ZVK_STAGE_NOT_SUPPORTED;  // it counts as initialized: ZVK_Stage_Reset tries again
    }
    static const int32_t kChannels[kStageAxes] = {1, 2, 3};
    Try(StageLink().queryAxes(id, g_stage.axes, sizeof g_stage.axes));
    CutToThreeAxes(g_stage.axes);
    Try(StageLink().setOnline(id, kChannels, kOn, AxesInUse()));
    Try(StageLink().setServo(id, g_stage.axes, kOn));
    StopAllOscillations(vi);
    Try(StageLink().setVelocityControl(id, g_stage.axes, kOn));
    Try(StageLink().setDriftCompensation(id, g_stage.axes, kOn));
    StopAllOscillations(vi);
    for (int32_t axis = 0; axis < AxesInUse(); ++axis) {
        double speed = 0.0;
        (void)ZVK_Stage_SetSpeed(vi, axis, kStartSpeed, &speed);
    }
    MakeMiddleTheOrigin(id);
    return ZVK_SUCCESS;
}

bool MoveOnController(int32_t axis, double position)
{
    return StageLink().move(g_stage.piId, kStageAxisNames[axis], &position) != 0;
}

// Tables, generators and trigger outputs are counted from 1. Any number may come as an axis.
static int32_t NumberOf(int32_t axis)
{
    return axis == std::numeric_limits<int32_t>::max() ? axis : axis + 1;
}

// How many points a period has, at a rate of the table that makes them fit.
struct ZVK_WaveLength
{
    int32_t points;
    int32_t rate;
};

static ZVK_WaveLength FitWave(int32_t frequency, double cycleS, int32_t mostPoints)
{
    ZVK_WaveLength wave = {TruncateStageCount(1.0 / (frequency * cycleS)), 1};
    if (mostPoints < 1 || mostPoints >= wave.points) return wave;
    wave.rate = wave.points / mostPoints + 1;
    wave.points = TruncateStageCount(1.0 / (static_cast<double>(frequency) * wave.rate * cycleS));
    return wave;
}

int32_t StartOnController(int32_t axis, double amplitude, int32_t frequency)
{
    const int32_t id = g_stage.piId;
    const int32_t number = NumberOf(axis);  // of table, generator and trigger output
    Try(StageLink().clearWave(id, number));
    if (ControllerAxis(axis) == nullptr) return ZVK_STAGE_BAD_AXIS;
    double cycleS = 0.0;
    Try(StageLink().queryParameter(id, kStageAxisNames[0], kServoCycleTime, &cycleS));
    int32_t mostPoints = 0;
    Try(StageLink().queryWavePoints(id, number, &mostPoints));
    const ZVK_WaveLength wave = FitWave(frequency, cycleS, mostPoints);
    Try(StageLink().setWaveRate(id, number, wave.rate, 0));
    Try(StageLink().waveSine(id, number, 0, wave.points, kClearAndWrite, wave.points / 2,
                             2.0 * amplitude, g_stage.position[axis] - amplitude, wave.points));
    Try(StageLink().setTriggerOutput(id, number, kTriggerMode, kGeneratorTrigger));
    if (StageLink().startGenerator(id, number, kGeneratorStart) == 0) {
        ZVK_Stage_PIError(0);
        return ZVK_STAGE_NOT_FOUND;
    }
    KeepOscillating(axis, true);
    return ZVK_SUCCESS;
}

bool StopOnController(int32_t axis)
{
    return StageLink().startGenerator(g_stage.piId, NumberOf(axis), kGeneratorStop) != 0;
}
