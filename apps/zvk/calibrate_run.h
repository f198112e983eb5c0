#ifndef QUORVEX_ZVK_CALIBRATE_RUN_H
#define QUORVEX_ZVK_CALIBRATE_RUN_H

// The runs of a calibration, in their order.

#include "calibrate_collect.h"
#include "calibrate_options.h"
#include "calibrate_virtual.h"

// Trigger run, runs, line scans. False when the user wished to end; throws std::runtime_error with
// one sentence when it can't go on. Either way the stage is at rest behind it.
bool RunCalibration(const CalibrationWish &wish, VirtualInstrument *virtualInstrument,
                    RunHeads &heads, CalibrationData &data);

#endif
