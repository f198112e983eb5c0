#ifndef QUORVEX_STEERING_TRAFO_TABLES_H
#define QUORVEX_STEERING_TRAFO_TABLES_H

// The four coefficient tables of a path on their way into its row or out to a client.

#include "steering/coordinates.h"

#include <cstdint>

// Owns what it holds: freed at its end unless it has been swapped into a row or handed over.
struct TrafoTables
{
    double *dataX = nullptr;
    double *dataY = nullptr;
    double *dataXI = nullptr;
    double *dataYI = nullptr;

    TrafoTables() = default;
    TrafoTables(const TrafoTables &) = delete;
    TrafoTables &operator=(const TrafoTables &) = delete;
    ~TrafoTables();

    // Room for `count` values in each; false when there is none.
    bool allocate(int32_t count);

    void copy(int32_t count, const double *x, const double *y, const double *xi, const double *yi);
    void handOver(double **x, double **y, double **xi, double **yi);
};

// Exchanges a row's tables for those of the set. The guard is held alone.
void SwapTables(ZVK_TrafoState &row, TrafoTables &tables);

#endif
