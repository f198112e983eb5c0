// The beam power adjusters' and the detectors' part of the demo.

#include "demo.h"

#include "quorvex/quorvex.h"

constexpr SessionHandle kSession = 640;

static bool Done(const char *what, int32_t status, const std::string &outcome)
{
    PrintStep(what, status < 0 ? Format("FAILED %d", status) : outcome);
    return status >= 0;
}

static bool SetAndReadPower(int32_t path, double power)
{
    double read = 0.0;
    int32_t status = ZVK_BeamPower_SetPower(kSession, path, power);
    if (status == 0) status = ZVK_BeamPower_GetPower(kSession, path, &read);
    return Done("beam power", status,
                Format("path %c at %g of the full power", path == ZVK_PATH_A ? 'A' : 'B', read));
}

static bool SetGain(int32_t path, int32_t gain)
{
    return Done("detector gain", ZVK_Detector_SetGain(kSession, path, gain),
                Format("path %c, %d", path == ZVK_PATH_A ? 'A' : 'B', gain));
}

bool WorkPowerAndDetectors()
{
    return SetAndReadPower(ZVK_PATH_A, 0.5) && SetAndReadPower(ZVK_PATH_B, 0.25) &&
           SetGain(ZVK_PATH_A, 10) && SetGain(ZVK_PATH_B, 100);
}
