#ifndef QUORVEX_STEERING_GALVO_H
#define QUORVEX_STEERING_GALVO_H

// The galvo module's records and inner calls. Clients see quorvex/galvo.h.
//
// Two guards keep threads apart (galvo_gate.h): the claim, held by a client's call for as long as
// it lasts, card writes included, and the data lock, held only while arrays, node lists or samples
// are touched. dataReady and updating decide who gives way.

#include "quorvex/errors.h"
#include "quorvex/galvo.h"
#include "quorvex/types.h"

#include <cstdint>

constexpr int kPathCount = 2;

// One point of a waypoint's trajectory. Both ends of a list point at themselves. The nodes of a
// list lie in one block that starts with the head, so that freeing the head frees the list.
struct ZVK_GalvoNode
{
    int32_t count = 0;  // samples already spent on this node
    int32_t dwell = 0;  // samples to spend on it before the next one; 0 acts as 1
    double x = 0.0;     // V
    double y = 0.0;     // V
    ZVK_GalvoNode *next = nullptr;
    ZVK_GalvoNode *prev = nullptr;
};

// One beam path. The arrays have NumOfWP entries and belong to the module.
struct ZVK_GalvoState
{
    int32_t initialized = 0;    // 1 from ZVK_Galvo_Init to ZVK_Galvo_Shutdown
    int32_t xSampleOffset = 0;  // where the path's X block starts in the sample buffer
    int32_t ySampleOffset = 0;  // the same of its Y block; all 0 in simulation
    double xMin = 0.0;          // limits, V
    double xMax = 0.0;
    double yMin = 0.0;
    double yMax = 0.0;
    double xoff = 0.0;  // centre, V
    double yoff = 0.0;
    int32_t NumOfWP = 0;
    int32_t *moveMode = nullptr;           // 1 once, 2 back and forth, anything else stands
    int32_t *direction = nullptr;          // +1 or -1, in mode 2
    ZVK_GalvoNode **trajectory = nullptr;  // current node
    ZVK_GalvoNode **lists = nullptr;       // head of each list, the start of its block
    double *posX = nullptr;                // current position, V
    double *posY = nullptr;
    double *targetX = nullptr;  // last requested position, V
    double *targetY = nullptr;
    double *speeds = nullptr;  // V/s
};

// The output. dataReady, updating, daqRunning, daqInitialized, writeStatus, simulate and taskHandle
// are read by the event's thread too: they go through the calls of galvo_gate.h.
struct ZVK_GalvoDaq
{
    int32_t backend = 1;     // key BACKEND; odd for hardware output
    int32_t dataReady = 0;   // 1 while samples and waypoints are consistent
    int32_t updating = 0;    // 1 while ZVK_Galvo_UpdateBuffer runs
    int32_t daqRunning = 0;  // 1 while the task is started
    int32_t daqInitialized = 0;
    int32_t simulate = 0;
    void *taskHandle = nullptr;     // owned; a failed start leaves it for the next one to clear
    int32_t samplesPerChan = 0;     // N
    double maxStep = 0.0;           // V between two nodes of a straight move, for one waypoint
    int32_t everyNSamples = 0;      // samples between two output events
    int32_t trigger = 0;            // 0 internal clock, else it comes in at pfi1
    int32_t autoUpdate = 1;         // argument of ZVK_Galvo_DaqInit
    int32_t clockRate = 0;          // samples per second
    int32_t writeStatus = 0;        // 1 once the samples have been handed over
    double *buffer = nullptr;       // owned: 4 N samples; on hardware two copies stand behind them
    int32_t simTimerId = -1;        // -1: no timer
    int64_t bufferSamples = 0;      // what `buffer` has room for, 4 N at its allocation
    double *eventBlock = nullptr;   // behind buffer: what the output event writes; null simulated
    double *callerBlock = nullptr;  // behind that: what a client's call writes
};

extern ZVK_GalvoState g_galvo[kPathCount];
extern ZVK_GalvoDaq g_galvoDaq;

// -- samples (galvo_buffer.cpp) --

int ZVK_Galvo_UpdateBuffer(void);
int32_t ZVK_Galvo_SetBuffer(SessionHandle SessionHandle, const double *buffer, int32_t bufferSize);
void FillSlots(const ZVK_GalvoState &row, int32_t first, int32_t end);  // data lock held

// -- output (galvo_output.cpp, galvo_events.cpp) --

int32_t ZVK_Galvo_OnEveryNSamplesEvent(void *taskHandle, int32_t everyNsamplesEventType,
                                       uint32_t nSamples, void *callbackData);
int ZVK_Galvo_SimEveryNSamplesEvent(int reserved, int timerId, int event, void *callbackData,
                                    int eventData1, int eventData2);
void SendSamples(double timeoutS);  // to the card, unless simulated; a refusal is not reported
void DiscardSimulatedTimer();
void ClearLeftOverTask();  // the task of a start that failed
void FreeSamples();        // data lock held

// -- waypoints (galvo_waypoints.cpp) --

bool IsPath(int32_t path);
bool HasWaypoint(const ZVK_GalvoState &row, int32_t wp);
void FreeWaypoints(ZVK_GalvoState &row);  // data lock held

// Pulls a position into the path's limits; true when it had to.
bool ClampToLimits(const ZVK_GalvoState &row, double &x, double &y);

#endif
