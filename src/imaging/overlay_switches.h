#ifndef QUORVEX_IMAGING_OVERLAY_SWITCHES_H
#define QUORVEX_IMAGING_OVERLAY_SWITCHES_H

// The switches that tell the display thread whether to draw over the picture. Off after load.

#include <cstdint>

// Written by clients' threads and read by the display thread: through the calls below only.
struct ZVK_OverlaySwitches
{
    int32_t sdkOverlay = 0;   // non-zero: graphics are drawn over the picture at all
    int32_t trapMarkers = 0;  // non-zero: among them the circles of the traps
};

extern ZVK_OverlaySwitches g_overlaySwitches;

void SetSdkOverlay(int32_t on);
void SetTrapMarkers(int32_t on);
int32_t SdkOverlay();
int32_t TrapMarkers();

#endif
