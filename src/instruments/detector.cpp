// The detectors: up with their helper program, gains, down.

#include "instruments/detector.h"

#include "files/key_table.h"
#include "instruments/detector_keys.h"

constexpr int32_t kFirstGain = 10;
static const int32_t kNoReply[kDetectorPaths] = {ZVK_DETECTOR_A_NO_REPLY, ZVK_DETECTOR_B_NO_REPLY};

ZVK_DetectorState g_detector[kDetectorPaths];

// Names that stand before a key that fails are kept.
static int32_t ReadSettings(SessionHandle vi, ZVK_DetectorKeys &keys)
{
    keys = {0, 0, {g_detector[0].name, g_detector[1].name}};
    const int32_t status = ReadKeys(vi, "config.ini", kDetectorSection, kDetectorKeys, &keys);
    for (int32_t path = 0; path < kDetectorPaths; ++path)
        g_detector[path].name = keys.names[path];
    return status;
}

static int32_t SimulateBoth()
{
    for (ZVK_DetectorState &row : g_detector) {
        row.exists = 1;
        row.simulate = 1;
    }
    return ZVK_SUCCESS;
}

int32_t KeepFirstGain(int32_t path, int32_t status, int32_t statusSoFar)
{
    ZVK_DetectorState &row = g_detector[path];
    if (status == ZVK_SUCCESS) {
        row.linked = 1;
        return statusSoFar;
    }
    (void)ZVK_error_CaptureWarning(0, kNoReply[path]);
    row.exists = 0;
    row.linked = 0;
    return status;
}

static int32_t SetFirstGains(SessionHandle vi)
{
    int32_t kept = ZVK_SUCCESS;
    for (int32_t path = 0; path < kDetectorPaths; ++path) {
        g_detector[path].exists = 1;
        g_detector[path].simulate = 0;  // of a session before; the order has to go out
        kept = KeepFirstGain(path, ZVK_Detector_SetGain(vi, path, kFirstGain), kept);
    }
    return kept;
}

int32_t ZVK_Detector_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    ZVK_DetectorKeys keys = {};
    const int32_t status = ReadSettings(SessionHandle, keys);
    if (status < 0) return status;
    if (keys.mi == 0) {
        for (ZVK_DetectorState &row : g_detector)
            row.exists = 0;  // those of a session before
        return ZVK_SUCCESS;
    }
    if (keys.simulate != 0) return SimulateBoth();

    const int32_t linked = DKL_InitLink();
    if (linked != ZVK_SUCCESS) return linked;
    g_detectorLink.linkOpen = 1;
    return SetFirstGains(SessionHandle);
}

int32_t ZVK_Detector_SetGain(SessionHandle, int32_t Path, int32_t Gain)
{
    if (Path != ZVK_PATH_A && Path != ZVK_PATH_B) return ZVK_DETECTOR_BAD_PATH;
    ZVK_DetectorState &row = g_detector[Path];
    if (row.exists == 0) return ZVK_DETECTOR_NOT_INITIALIZED;
    if (Gain != 1 && Gain != 10 && Gain != 100) return ZVK_DETECTOR_BAD_GAIN;
    if (row.simulate == 0) PostDetectorOrder(DKL_ORDER_GAIN, DetectorOrderData(Gain, Path));
    row.gain = Gain;
    return ZVK_SUCCESS;
}

int32_t ZVK_Detector_Shutdown(SessionHandle)
{
    if (g_detectorLink.linkOpen != 1) return ZVK_SUCCESS;
    PostDetectorOrder(DKL_ORDER_END, 0);
    g_detectorLink.linkOpen = 0;
    ReleaseDetectorProcess();
    for (ZVK_DetectorState &row : g_detector)
        row.exists = 0;
    return ZVK_SUCCESS;
}
