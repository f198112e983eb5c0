#ifndef QUORVEX_INSTRUMENTS_DETECTOR_H
#define QUORVEX_INSTRUMENTS_DETECTOR_H

// The detector module's records and inner calls. Clients see quorvex/detector.h. Everything runs on
// the caller's thread.

#include "files/key_table.h"
#include "quorvex/detector.h"
#include "quorvex/errors.h"

#include <cstdint>

constexpr int kDetectorPaths = 2;

// The first number of an order to the helper program. The second one holds the channel, 1 or 2, in
// its low six bits and the order's value above them.
enum : int32_t
{
    DKL_ORDER_NAME = 1,  // value: the detector's number, the last digit of its name
    DKL_ORDER_GAIN = 2,  // value: the gain
    DKL_ORDER_END = 3    // the whole number is 0
};

// One beam path.
struct ZVK_DetectorState
{
    char exists = 0;        // 1: in working order
    int32_t linked = 0;     // 1 when the first gain order has gone out
    int32_t simulate = 0;   // 1: gains are only kept
    int32_t gain = 0;       // the last one: 1, 10 or 100
    ZVK_KeyText name = {};  // key DET_A_NAME or DET_B_NAME
};

// The link to the helper program.
struct ZVK_DetectorLink
{
    int32_t linkOpen = 0;       // 1 while the program runs by our order
    uint32_t eventMessage = 0;  // the registered message's id
    int32_t processHandle = 0;  // owned; 0: none
};

extern ZVK_DetectorState g_detector[kDetectorPaths];
extern ZVK_DetectorLink g_detectorLink;

// -- the link (detector_link.cpp) --

int DKL_InitLink(void);  // starts the program and sends the names
void PostDetectorOrder(int32_t order, int32_t data);
void ReleaseDetectorProcess();

// The second number of an order: the value above the six bits of the path's channel.
int32_t DetectorOrderData(int32_t value, int32_t path);

// -- gains (detector.cpp) --

// Takes note of what the first gain order of a path gave, and gives the status that Init returns:
// the one so far, or this one if it is a failure.
int32_t KeepFirstGain(int32_t path, int32_t status, int32_t statusSoFar);

#endif
