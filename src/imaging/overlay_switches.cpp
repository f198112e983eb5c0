#include "imaging/overlay_switches.h"

#include <atomic>

ZVK_OverlaySwitches g_overlaySwitches;

void SetSdkOverlay(int32_t on)
{
    std::atomic_ref(g_overlaySwitches.sdkOverlay).store(on, std::memory_order_release);
}

void SetTrapMarkers(int32_t on)
{
    std::atomic_ref(g_overlaySwitches.trapMarkers).store(on, std::memory_order_release);
}

int32_t SdkOverlay()
{
    return std::atomic_ref(g_overlaySwitches.sdkOverlay).load(std::memory_order_acquire);
}

int32_t TrapMarkers()
{
    return std::atomic_ref(g_overlaySwitches.trapMarkers).load(std::memory_order_acquire);
}
