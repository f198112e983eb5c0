// The transform's data: loaded from files, replaced, handed out and dropped.

#include "steering/coordinates.h"

#include "platform/memory.h"
#include "quorvex/confile.h"
#include "quorvex/errors.h"
#include "steering/check_status.h"
#include "steering/coordinates_keys.h"
#include "steering/trafo_tables.h"

#include <atomic>
#include <cmath>
#include <mutex>

constexpr double kSmallestScale = 0.0001;
constexpr int32_t kMostCoefficients = 1 << 20;  // far beyond any fit, and far below all memory

static const char kConfig[] = "config.ini";
static const char *const kSections[2] = {"GALVO 0", "GALVO 1"};

ZVK_TrafoState g_trafo[2];

static std::mutex s_loading;  // held by the one thread that runs Init

std::shared_mutex &TrafoGuard()
{
    static std::shared_mutex guard;
    return guard;
}

static void Store(int32_t &flag, int32_t value)
{
    std::atomic_ref(flag).store(value, std::memory_order_release);
}

static bool IsSet(int32_t &flag)
{
    return std::atomic_ref(flag).load(std::memory_order_acquire) != 0;
}

bool IsLoaded(ZVK_TrafoState &row) { return IsSet(row.initialized); }

bool IsBusy(ZVK_TrafoState &row) { return IsSet(row.busy); }

int32_t CheckTrafoRow(int32_t path)
{
    if (path < 0 || path > 1) return ZVK_COORDINATES_BAD_PATH;
    if (!IsLoaded(g_trafo[path])) return ZVK_COORDINATES_NOT_INITIALIZED;
    if (IsBusy(g_trafo[path])) return ZVK_COORDINATES_BUSY;
    return ZVK_SUCCESS;
}

int32_t MissingTables(ZVK_TrafoState &row)
{
    return IsBusy(row) ? ZVK_COORDINATES_BUSY : ZVK_COORDINATES_NOT_INITIALIZED;
}

// No square is negative; so a negative count is refused too.
static bool IsSquare(int32_t count)
{
    const double root = std::sqrt(static_cast<double>(count));
    return root == std::floor(root);
}

// Takes over the tables of a set; what the row had is freed.
static void Keep(ZVK_TrafoState &row, TrafoTables &tables, int32_t count, const double *range)
{
    const std::lock_guard alone(TrafoGuard());
    SwapTables(row, tables);
    row.coeffNum = count;
    row.calXMin = range[0];
    row.calXMax = range[1];
    row.calYMin = range[2];
    row.calYMax = range[3];
}

static void DropTables(ZVK_TrafoState &row)
{
    TrafoTables none;
    const std::lock_guard alone(TrafoGuard());
    SwapTables(row, none);
}

static int32_t LoadTables(SessionHandle vi, ZVK_TrafoState &row, const char *section)
{
    ZVK_ObjectiveKeys keys = {};
    int32_t status = ReadKeys(vi, kConfig, "OBJ", kObjectiveKeys, &keys);
    if (status < 0) return status;

    const char *objective = keys.load.text;
    int32_t count = 0;
    status = ZVK_ConFile_Read(vi, objective, section, "COEFFNUM", &count, ZVK_CONFILE_LONG);
    if (Ends(status)) return status;

    TrafoTables tables;
    double range[4] = {};
    if (count > kMostCoefficients || !tables.allocate(count)) return ZVK_COORDINATES_NO_MEMORY;
    status = ZVK_ConFile_ReadObjective(vi, objective, section, count, tables.dataX, tables.dataY,
                                       tables.dataXI, tables.dataYI, range);
    if (Ends(status)) return status;
    if (!IsSquare(count)) return ZVK_COORDINATES_NOT_SQUARE;

    Keep(row, tables, count, range);
    return status;
}

// A key that stands before one that fails counts.
static int32_t LoadScale(SessionHandle vi, ZVK_TrafoState &row)
{
    ZVK_ScaleKeys keys = {};
    {
        const std::shared_lock reading(TrafoGuard());
        keys = {row.scaleX, row.scaleY};
    }
    const int32_t status = ReadKeys(vi, kConfig, "SCALE", kScaleKeys, &keys);
    const std::lock_guard alone(TrafoGuard());
    row.scaleX = keys.factorX;
    row.scaleY = keys.factorY;
    return status;
}

static int32_t LoadRow(SessionHandle vi, ZVK_TrafoState &row, const char *section)
{
    DropTables(row);
    int32_t status = LoadTables(vi, row, section);
    if (status < 0) return status;
    status = LoadScale(vi, row);
    if (status < 0) return status;
    Store(row.initialized, 1);
    return status;
}

int32_t ZVK_CoordinateSystems_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    const std::lock_guard loading(s_loading);
    for (ZVK_TrafoState &row : g_trafo)
        Store(row.busy, 1);

    int32_t status = ZVK_SUCCESS;
    for (int path = 0; path < 2; ++path) {
        status = LoadRow(SessionHandle, g_trafo[path], kSections[path]);
        if (status < 0) return status;  // busy stays: no call converts until an init has succeeded
    }
    for (ZVK_TrafoState &row : g_trafo)
        Store(row.busy, 0);
    return status;
}

int32_t ZVK_CoordinateSystems_Shutdown(SessionHandle)
{
    const std::lock_guard loading(s_loading);
    for (ZVK_TrafoState &row : g_trafo) {
        DropTables(row);
        Store(row.initialized, 0);
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_CoordinateSystems_GetCameraScale(SessionHandle, double *ScaleX, double *ScaleY)
{
    ZVK_TrafoState &row = g_trafo[0];
    if (!IsLoaded(row)) return ZVK_COORDINATES_NOT_INITIALIZED;
    if (IsBusy(row)) return ZVK_COORDINATES_BUSY;
    const std::shared_lock reading(TrafoGuard());
    if (ScaleX) *ScaleX = row.scaleX;
    if (ScaleY) *ScaleY = row.scaleY;
    return ZVK_SUCCESS;
}

int32_t ZVK_CoordinateSystems_CalibrateCamera(SessionHandle, int32_t Path, double scaleX,
                                              double scaleY)
{
    const int32_t status = CheckTrafoRow(Path);
    if (status != 0) return status;
    const std::lock_guard alone(TrafoGuard());
    if (std::fabs(scaleX) > kSmallestScale) g_trafo[Path].scaleX = scaleX;
    if (std::fabs(scaleY) > kSmallestScale) g_trafo[Path].scaleY = scaleY;
    return ZVK_SUCCESS;
}

int32_t ZVK_CoordinateSystems_GetTrafoCoeffs(SessionHandle, int32_t Path, int32_t *CoeffNum,
                                             double **dataX, double **dataY, double **dataXI,
                                             double **dataYI)
{
    const int32_t status = CheckTrafoRow(Path);
    if (status != 0) return status;
    const std::shared_lock reading(TrafoGuard());
    const ZVK_TrafoState &row = g_trafo[Path];
    if (row.dataX == nullptr) return MissingTables(g_trafo[Path]);

    *CoeffNum = row.coeffNum;
    for (double **table : {dataX, dataY, dataXI, dataYI})
        Release(*table);
    TrafoTables copies;
    if (!copies.allocate(row.coeffNum)) return ZVK_COORDINATES_NO_MEMORY;
    copies.copy(row.coeffNum, row.dataX, row.dataY, row.dataXI, row.dataYI);
    copies.handOver(dataX, dataY, dataXI, dataYI);
    return ZVK_SUCCESS;
}

int32_t ZVK_CoordinateSystems_SetTrafoCoeff(SessionHandle, int32_t Path, int32_t CoeffNum,
                                            const double *DataX, const double *DataY,
                                            const double *DataXI, const double *DataYI,
                                            const double *Limits)
{
    const int32_t status = CheckTrafoRow(Path);
    if (status != 0) return status;
    ZVK_TrafoState &row = g_trafo[Path];
    // Whatever the count, the old tables go: a refused call leaves the row without any. A good one
    // puts the new ones in their place at once, so that other threads find the old or the new.
    if (!IsSquare(CoeffNum)) {
        DropTables(row);
        return ZVK_COORDINATES_NOT_SQUARE;
    }
    TrafoTables tables;
    if (CoeffNum > kMostCoefficients || !tables.allocate(CoeffNum)) {
        DropTables(row);
        const std::lock_guard alone(TrafoGuard());
        row.coeffNum = CoeffNum;
        return ZVK_COORDINATES_NO_MEMORY;
    }
    tables.copy(CoeffNum, DataX, DataY, DataXI, DataYI);
    Keep(row, tables, CoeffNum, Limits);
    return ZVK_SUCCESS;
}
