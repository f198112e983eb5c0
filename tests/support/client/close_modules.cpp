#include "close_modules.h"

#include <quorvex/quorvex.h>

void CloseModules()
{
    // Their answers tell only what was up.
    (void)ZVK_Laser_Shutdown(0);
    (void)ZVK_Camera_Shutdown(0);
    (void)ZVK_BeamPower_Shutdown(0);
    (void)ZVK_BeamExpander_Shutdown(0);
    (void)ZVK_BeamExpander_Shutdown(0);
    (void)ZVK_Stage_Shutdown(0);
    (void)ZVK_Trap_Shutdown(0);
    (void)ZVK_CoordinateSystems_Shutdown(0);
    (void)ZVK_ImageProc_Shutdown(0);
    (void)ZVK_Force_Shutdown(0);
    (void)ZVK_Detector_Shutdown(0);
}
