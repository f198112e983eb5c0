#ifndef QUORVEX_STEERING_COORDINATES_H
#define QUORVEX_STEERING_COORDINATES_H

// The coordinate module's record and inner calls. Clients see quorvex/coordinates.h.
//
// Clients' threads replace the tables while others convert. Two things keep them apart: busy, set
// for as long as ZVK_CoordinateSystems_Init reads files, which the others answer by a status; and
// the guard, held shared while a row's tables and numbers are read and alone while they are
// replaced. It is never held during a call into another module.

#include "quorvex/coordinates.h"
#include "quorvex/types.h"

#include <cstdint>
#include <shared_mutex>

// One beam path. Each table has coeffNum values and belongs to the row; null when there is none.
// initialized and busy are read without the guard: through IsLoaded and IsBusy.
struct ZVK_TrafoState
{
    int32_t initialized = 0;   // 1 once the row has been loaded
    int32_t busy = 0;          // 1 while ZVK_CoordinateSystems_Init runs, and after it failed
    int32_t coeffNum = 0;      // (order + 1) squared
    double *dataX = nullptr;   // pixels to volts; its value goes to Y
    double *dataY = nullptr;   // pixels to volts; its value goes to X
    double *dataXI = nullptr;  // volts to pixels, X
    double *dataYI = nullptr;  // volts to pixels, Y
    double calXMax = 0.0;      // calibrated range, pixels
    double calYMax = 0.0;
    double calXMin = 0.0;
    double calYMin = 0.0;
    double scaleX = 0.0;  // pixels for each unit of length in the object plane
    double scaleY = 0.0;
};

extern ZVK_TrafoState g_trafo[2];  // one for each beam path

std::shared_mutex &TrafoGuard();
bool IsLoaded(ZVK_TrafoState &row);
bool IsBusy(ZVK_TrafoState &row);

// The checks that most calls begin with: the path, then whether it is loaded, then busy.
// 0, ZVK_COORDINATES_BAD_PATH, ZVK_COORDINATES_NOT_INITIALIZED or ZVK_COORDINATES_BUSY.
int32_t CheckTrafoRow(int32_t path);

// What a call answers that finds a loaded row without tables: busy when an init took them away
// after the call had looked at busy, else not initialized. The guard is held.
int32_t MissingTables(ZVK_TrafoState &row);

// Converts a point in place, ZVK_TRAFODIR_PIXEL_TO_VOLT or ZVK_TRAFODIR_VOLT_TO_PIXEL, without a
// look at any limit. Both inputs are raised by 1e-07 first, also when the direction is refused.
// From any thread; allocates nothing.
//
// 0, else the first that applies:
//   ZVK_COORDINATES_BUSY             x and y untouched
//   ZVK_COORDINATES_NOT_INITIALIZED  the row isn't loaded, or a refused SetTrafoCoeff has left it
//                                    without tables, or there is no such path; x and y untouched
//   ZVK_COORDINATES_BAD_DIRECTION    x and y raised, not converted
int32_t ZVK_CoordinateSystems_Trafo(SessionHandle SessionHandle, int32_t path, int32_t trafoDir,
                                    double *x, double *y);

#endif
