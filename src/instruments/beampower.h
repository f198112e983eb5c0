#ifndef QUORVEX_INSTRUMENTS_BEAMPOWER_H
#define QUORVEX_INSTRUMENTS_BEAMPOWER_H

// The beam power module's records and inner calls. Clients see quorvex/beampower.h. Everything runs
// on the caller's thread.

#include "platform/daqmx.h"
#include "quorvex/beampower.h"
#include "quorvex/errors.h"

#include <cstdint>

constexpr int kBeamPowerPaths = 2;

// One entry of the calibration table.
struct ZVK_BeamPowerPoint
{
    double V = 0.0;  // V
    double P = 0.0;  // the power measured at it, in any unit
};

// One beam path.
struct ZVK_BeamPowerState
{
    int32_t backend = 0;      // key BACKEND; the lowest bit stands for the DAQ output
    int32_t mi = 0;           // key MI; 0: no adjuster
    int32_t simulate = 0;     // key SIMULATE; not 0: values are only kept
    int32_t initialized = 0;  // 1 once up; 2 when ZVK_BeamPower_GetInitStatus saw it simulated
    float scale = 0.0F;       // key SCALE; V at a relative power of 1
    double setVal = 0.0;      // last relative power
    char hasCalibration = 0;  // 1: there is a table
    int32_t numPoints = 0;
    ZVK_BeamPowerPoint *calibration = nullptr;  // owned; numPoints entries in the file's order
};

// One path's output on the second card.
struct ZVK_BeamPowerDaq
{
    int32_t backend = 0;         // key BACKEND of SUBDAQ; even: no task is made
    int32_t daqInitialized = 0;  // 1 while there is a task
    ZVK_DaqTask task = nullptr;  // owned
};

extern ZVK_BeamPowerState g_beamPower[kBeamPowerPaths];
extern ZVK_BeamPowerDaq g_beamPowerDaq[kBeamPowerPaths];

// -- output (beampower_daq.cpp) --

int32_t ZVK_BeamPower_DaqInit(SessionHandle SessionHandle, int32_t Path);
int32_t WriteBeamPowerVolts(int32_t path, double volts);
void ClearBeamPowerTask(int32_t path);

// -- calibration (beampower_table.cpp) --

// Replaces the path's table by the one in qdmr.bin; without that file, or with no entries, the path
// has none.
int32_t LoadBeamPowerTable(SessionHandle vi, int32_t path);
void FreeBeamPowerTable(ZVK_BeamPowerState &row);

// Volts for a relative power by a table of at least one entry, which is taken as sorted by rising
// P.
double InterpolateVolts(const ZVK_BeamPowerPoint *points, int32_t count, double power);

#endif
