#ifndef QUORVEX_STEERING_POLYFIT_H
#define QUORVEX_STEERING_POLYFIT_H

// Inner calls of the polynomial fit. Clients see quorvex/coordinates.h.

#include "quorvex/coordinates.h"

// Fills the matrix, samples rows of (order + 1) squared terms, row after row: the term of i and j,
// values[0][s]^i * values[1][s]^j, stands in column i * (order + 1) + j. Returns 0.
int ZVK_CoordinateSystems_CreateObsMatrix(int samples, int order, double *matrix, double **values);

// Exchanges the contents of array[0] and array[1], value by value.
void ZVK_CoordinateSystems_Swap(int points, double **array);

#endif
