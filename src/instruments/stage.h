#ifndef QUORVEX_INSTRUMENTS_STAGE_H
#define QUORVEX_INSTRUMENTS_STAGE_H

// The stage's record and what its files share: stage.cpp brings it up and down, stage_motion.cpp
// moves and reads it, stage_oscillation.cpp shakes it, stage_controller.cpp and stage_daq.cpp have
// the two back-ends. Clients see quorvex/stage.h.
//
// Every exported call holds the stage's lock from its first line to its last, so that clients and
// a calibration wait for each other.

#include "quorvex/errors.h"
#include "quorvex/stage.h"

#include <cstdint>
#include <mutex>

constexpr int kStageAxes = 3;
constexpr int kStageOutputs = 2;
constexpr int32_t kStageController = 0x01;  // bits of BACKEND
constexpr int32_t kStageDaq = 0x10;

// Axis names on the controller, as they are cut out of its list.
extern const char *const kStageAxisNames[kStageAxes];

struct ZVK_StageState
{
    int32_t backend = 0;       // key BACKEND, kStageController and kStageDaq as bits
    int32_t mi = 0;            // key MI; 0: no stage
    int32_t simulate = 0;      // key SIMULATE; not 0: positions are only kept
    int32_t initialized = 0;   // 1 from Init to Shutdown
    int32_t numberOfAxes = 0;  // key NUMBEROFAXES; 2 on outputs, 3 where those are simulated
    double position[kStageAxes] = {};  // last commanded, stage units
    double maxPosition[kStageAxes] = {};
    double minPosition[kStageAxes] = {};
    double speed[kStageAxes] = {};
    char ip[257] = "";           // key IP
    int32_t portNum = 0;         // key PORTNUM
    int32_t piId = -1;           // connection to the controller; negative: none
    char axes[256] = "";         // the controller's axes, three at most
    double amplitude = 0.0;      // of the oscillation, stage units
    int32_t frequency = 0;       // hertz
    int32_t trigger = 0;         // key TRIGGER; not 0: the clock comes in at pfi0
    void *task = nullptr;        // the two outputs; owned
    int32_t samplesPerChan = 0;  // of the block; the oscillation's length from its start on
    int32_t clockRate = 0;       // samples per second
    double *buffer = nullptr;    // owned: both outputs, one behind the other
    int32_t bufferSamples = 0;   // samples of one output that `buffer` has room for
    double stepSize[kStageOutputs] = {};  // between two samples of an oscillation, stage units
    double centre[kStageOutputs] = {};    // half of RANGE
    int32_t everyNSamples = 0;            // key EVERYNSAMPLES; not used
    double scale = 0.0;                   // V per stage unit
    char clockSource[300] = "";           // empty: the card's own clock
    char daqRunning = 0;                  // 1 while the task is started
    char oscillating[kStageAxes] = {};
};

extern ZVK_StageState g_stage;
extern void *g_stageInputs[kStageOutputs];  // tasks that read the two outputs back; owned

std::recursive_mutex &StageLock();

inline bool IsStageAxis(int32_t axis) { return axis >= 0 && axis < kStageAxes; }
inline bool UsesController() { return (g_stage.backend & kStageController) != 0; }
inline bool UsesDaq() { return (g_stage.backend & kStageDaq) != 0; }
inline bool IsOscillating(int32_t axis)
{
    return IsStageAxis(axis) && g_stage.oscillating[axis] != 0;
}
// An axis that does not exist keeps no value.
void KeepPosition(int32_t axis, double position);
void KeepOscillating(int32_t axis, bool oscillating);
// True when the value had to be pulled into the axis's limits.
bool ClampToLimits(int32_t axis, double &position);

// Cuts off; the smallest number for what has no place in 32 bits.
int32_t TruncateStageCount(double value);

// Not exported.
int32_t ZVK_Stage_SelfTest(SessionHandle SessionHandle, uint16_t *SelfTestSuccessful);
void ZVK_Stage_PIError(SessionHandle SessionHandle);
int32_t ZVK_Stage_OnEveryNSamplesEvent(void *taskHandle, int32_t everyNsamplesEventType,
                                       uint32_t nSamples, void *callbackData);
int32_t ZVK_Stage_DaqDoneCallback(void *taskHandle, int32_t status, void *callbackData);

// -- the controller (stage_controller.cpp) --

int32_t InitStageController(SessionHandle vi);
// The axis's name, or null: the third one exists only on a stage of three.
const char *ControllerAxis(int32_t axis);
bool MoveOnController(int32_t axis, double position);
// False when the controller does not answer.
bool AskOnTarget(uint16_t &onTarget);
int32_t StartOnController(int32_t axis, double amplitude, int32_t frequency);
// False when the generator could not be stopped.
bool StopOnController(int32_t axis);

// -- the outputs (stage_daq.cpp) --

int32_t InitStageDaq(SessionHandle vi);
void ShutDownStageDaq();
// Fills an output's half of the block with the volts of a position. False without memory.
bool FillOutput(int output, double position);
bool FillBothOutputs(double first, double second);
int32_t WriteOutputs(double timeoutS);
void StopOutputs();   // if they run
void StartOutputs();  // the driver's answer is not looked at
int32_t ReadOutputPosition(int32_t axis, double &position);
int32_t StartOnOutputs(int32_t axis, double amplitude, int32_t frequency);
int32_t StopOnOutputs(SessionHandle vi, int32_t axis);

#endif
