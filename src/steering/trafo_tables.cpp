#include "steering/trafo_tables.h"

#include "platform/memory.h"

#include <algorithm>
#include <utility>

TrafoTables::~TrafoTables()
{
    for (double **table : {&dataX, &dataY, &dataXI, &dataYI})
        Release(*table);
}

bool TrafoTables::allocate(int32_t count)
{
    for (double **table : {&dataX, &dataY, &dataXI, &dataYI}) {
        *table = AllocateArray<double>(count);
        if (*table == nullptr) return false;
    }
    return true;
}

void TrafoTables::copy(int32_t count, const double *x, const double *y, const double *xi,
                       const double *yi)
{
    std::copy_n(x, count, dataX);
    std::copy_n(y, count, dataY);
    std::copy_n(xi, count, dataXI);
    std::copy_n(yi, count, dataYI);
}

void TrafoTables::handOver(double **x, double **y, double **xi, double **yi)
{
    *x = std::exchange(dataX, nullptr);
    *y = std::exchange(dataY, nullptr);
    *xi = std::exchange(dataXI, nullptr);
    *yi = std::exchange(dataYI, nullptr);
}

void SwapTables(ZVK_TrafoState &row, TrafoTables &tables)
{
    std::swap(row.dataX, tables.dataX);
    std::swap(row.dataY, tables.dataY);
    std::swap(row.dataXI, tables.dataXI);
    std::swap(row.dataYI, tables.dataYI);
}
