// The laser's part of the demo.

#include "demo.h"

#include "quorvex/quorvex.h"

constexpr SessionHandle kSession = 640;

// Prints the step. A warning counts as done.
static bool Done(const char *what, int32_t status, const std::string &outcome)
{
    PrintStep(what, status < 0 ? Format("FAILED %d", status) : outcome);
    return status >= 0;
}

static bool SetAndReadPower(double power)
{
    double read = 0.0;
    int32_t status = ZVK_Laser_SetPower(kSession, power);
    if (status == 0) status = ZVK_Laser_GetPower(kSession, &read);
    return Done("laser power", status, Format("%.2f W, reads back %.2f W", power, read));
}

static bool SwitchInterlock(uint16_t enable)
{
    int32_t state = 0;
    int32_t status = ZVK_Laser_Interlock(kSession, enable);
    if (status == 0) status = ZVK_Laser_GetInterlockStatus(kSession, &state);
    return Done(enable != 0 ? "let the laser emit" : "stop the laser", status,
                state == 1 ? "interlock closed" : "interlock open");
}

static bool MoveShutter(int32_t path, uint16_t open)
{
    return Done(open != 0 ? "open a shutter" : "close it",
                ZVK_Laser_SetShutter(kSession, path, open),
                Format("path %c, by a pulse of 0.1 s", path == ZVK_PATH_A ? 'A' : 'B'));
}

bool WorkLaser()
{
    return SetAndReadPower(1.25) && SwitchInterlock(1) && MoveShutter(ZVK_PATH_A, 1) &&
           MoveShutter(ZVK_PATH_A, 0) && SwitchInterlock(0);
}
