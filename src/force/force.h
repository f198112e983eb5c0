#ifndef QUORVEX_FORCE_FORCE_H
#define QUORVEX_FORCE_FORCE_H

// The force module's record and inner calls. Clients see quorvex/force.h.
//
// There is one task, so one acquisition at a time. Fields marked "shared" are also touched by the
// thread of the buffered acquisition: they go through LoadShared and StoreShared, or, where
// the ring is concerned, are guarded by the ring's lock in force_buffered.cpp.

#include "platform/shared_field.h"
#include "quorvex/errors.h"
#include "quorvex/force.h"
#include "quorvex/types.h"

#include <cstdint>

constexpr int32_t kForceSamplesPerRead = 1000;
constexpr int32_t kForceTextSize = 4096;

// One node of the ring of buffers.
struct ZVK_ForceBuffer
{
    int32_t BufferNumber = 0;         // 1 to BufferCount, in ring order
    int32_t Free = 1;                 // 1 may be filled, 0 filled and not yet grabbed
    double *Data = nullptr;           // owned; BufferedSamples times BufferedChannels, scan by scan
    ZVK_ForceBuffer *Next = nullptr;  // the last leads back to the first
};

struct ZVK_ForceState
{
    int32_t Installed = 0;
    int32_t Simulate = 0;
    int32_t Initialised = 0;
    int32_t Busy = 0;                       // shared; an acquisition owns the task
    char ChannelList[kForceTextSize] = {};  // of the current acquisition
    char ChannelsA[kForceTextSize] = {};    // "/card/channels" of path A's X, Y and sum
    char ChannelsB[kForceTextSize] = {};
    char ChannelT[kForceTextSize] = {};                // the reference signal
    char TriggerChannelInternal[kForceTextSize] = {};  // read by nothing
    char TriggerChannelExternal[kForceTextSize] = {};  // read by nothing
    double MaxSampleRate = 0.0;                        // hertz, of the current channel list
    double MaxSampleRateSingleChannel = 0.0;           // hertz, read once at Init
    int32_t TriggerType = 0;                           // 1 none, 2 internal, 4 external
    int32_t TriggerEdge = 10280;                       // the driver's constant
    int32_t SamplesPerRead = kForceSamplesPerRead;
    void *TaskHandle = nullptr;  // shared; owned

    // buffered mode
    uint32_t BufferMessage = 0;  // id of the registered message
    int32_t PoolFunctionId = -1;
    int32_t BufferedSamples = 0;  // of one buffer and channel
    int32_t BufferedChannelMask = 0;
    int32_t BufferedChannels = 0;
    int32_t BufferCount = 0;
    int32_t ReadStatus = 0;           // shared; 1 while the thread is reading
    int32_t ThreadAlive = 0;          // shared; 1 from the thread's start to its end
    int32_t KeepRunning = 0;          // shared
    int32_t ThreadOwed = 0;           // shared; 1 from the scheduling to the thread's end
    int32_t StopWanted = 0;           // shared; 1 from a stop to the next start
    ZVK_ForceBuffer *Ring = nullptr;  // ring's lock; the node that will be filled next
};

extern ZVK_ForceState g_force;

// -- finite acquisition (force_acquire.cpp) --

// 3, 3, 6, 1, 4, 4 and 7 for the masks 1 to 7; 0 for any other.
int32_t CountForceChannels(int32_t mask);
// Puts the channel list of the mask together: always A, then B, then the reference.
void BuildChannelList(int32_t mask);
// Turns -1 (within 0.0001) into the fastest rate. False when the rate is out of range.
bool SettleSampleRate(double &sampleRate);
// Stops and clears the task if there is one.
void EndForceTask();

// -- buffered acquisition (force_buffered.cpp) --

int ZVK_Force_AcquireBufferedLoop(void *functionData);
// Stops and clears the task if there is one, and waits until the buffered thread has left. Harmless
// when there is neither.
void EndTaskAndThread();
void FreeRing();

#endif
