// The session: the fixed order in which modules come up and go down.

#include "session/session.h"

#include "quorvex/quorvex.h"

#include <cstring>
#include <iterator>

static int32_t InitPowerOfPathA(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr)
{
    return ZVK_BeamPower_Init(vi, idQuery, resetInstr, ZVK_PATH_A);
}

static int32_t InitPowerOfPathB(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr)
{
    return ZVK_BeamPower_Init(vi, idQuery, resetInstr, ZVK_PATH_B);
}

static int32_t InitExpanderOfPathA(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr)
{
    return ZVK_BeamExpander_Init(vi, idQuery, resetInstr, ZVK_PATH_A);
}

static int32_t InitExpanderOfPathB(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr)
{
    return ZVK_BeamExpander_Init(vi, idQuery, resetInstr, ZVK_PATH_B);
}

static int32_t InitTrapsOfPathA(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr)
{
    return ZVK_Trap_Init(vi, idQuery, resetInstr, ZVK_PATH_A, "A_1");
}

static int32_t InitTrapsOfPathB(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr)
{
    return ZVK_Trap_Init(vi, idQuery, resetInstr, ZVK_PATH_B, "B_1");
}

// Galvo has no row of its own: the first trap brings it up, and the traps' end takes it down.
// clang-format off
static const ZVK_InitRow kInits[] = {
    {ZVK_Laser_Init},
    {InitPowerOfPathA},
    {InitPowerOfPathB},
    {InitExpanderOfPathA},
    {InitExpanderOfPathB},
    {ZVK_Stage_Init},
    {InitTrapsOfPathA},
    {InitTrapsOfPathB},
    {ZVK_CoordinateSystems_Init},
    {ZVK_Camera_Init},
    {ZVK_ImageProc_Init},
    {ZVK_Force_Init},
    {ZVK_ForceCal_Init},
    {ZVK_Detector_Init},
};

static const ZVK_ShutdownRow kShutdowns[] = {
    {ZVK_Laser_Shutdown},
    {ZVK_Camera_Shutdown},
    {ZVK_BeamPower_Shutdown},
    {ZVK_BeamExpander_Shutdown},
    {ZVK_Stage_Shutdown},
    {ZVK_Trap_Shutdown},
    {ZVK_CoordinateSystems_Shutdown},
    {ZVK_ImageProc_Shutdown},
    {ZVK_Force_Shutdown},
    {ZVK_ForceCal_Shutdown},
    {ZVK_Detector_Shutdown},
};
// clang-format on

int32_t RunInits(const ZVK_InitRow *rows, size_t count, SessionHandle vi, uint16_t idQuery,
                 uint16_t resetInstr)
{
    for (size_t i = 0; i < count; ++i) {
        const int32_t status = rows[i].init(vi, idQuery, resetInstr);
        if (status < 0) return status;
    }
    return ZVK_SUCCESS;
}

int32_t RunShutdowns(const ZVK_ShutdownRow *rows, size_t count, SessionHandle vi)
{
    for (size_t i = 0; i < count; ++i) {
        const int32_t status = rows[i].shutdown(vi);
        if (status < 0) return status;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_init(const char *, uint16_t id_query, uint16_t reset_instr, SessionHandle vi)
{
    return RunInits(kInits, std::size(kInits), vi, id_query, reset_instr);
}

int32_t ZVK_close(SessionHandle vi)
{
    const int32_t status = RunShutdowns(kShutdowns, std::size(kShutdowns), vi);
    if (status < 0) return status;
    FreeWarnings();
    return ZVK_SUCCESS;
}

int32_t ZVK_reset(SessionHandle) { return ZVK_SUCCESS; }

int32_t ZVK_self_test(SessionHandle, int16_t **, char *) { return ZVK_SUCCESS; }

int32_t ZVK_revision_query(SessionHandle, char *driver_rev, char *instr_rev)
{
    if (driver_rev) std::strcpy(driver_rev, "1.0.985M");
    if (instr_rev) std::strcpy(instr_rev, "Not Available");
    return ZVK_SUCCESS;
}

int32_t ZVK_error_query(SessionHandle, int32_t **, char *) { return ZVK_WARNING_NO_REVISION_QUERY; }
