#ifndef QUORVEX_IMAGING_OVERLAY_SWITCHES_H
#define QUORVEX_IMAGING_OVERLAY_SWITCHES_H

// The switches of the camera that the traps need: whether graphics, and among them the circles of
// the traps, are drawn over the picture. From any thread; off after load.

#include <cstdint>

void SetSdkOverlay(int32_t on);
void SetTrapMarkers(int32_t on);
int32_t SdkOverlay();
int32_t TrapMarkers();

#endif
