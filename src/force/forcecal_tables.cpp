// The tables of beta and K, one pair a path, and what fills them. Three doubles a type: x, y, z.

#include "force/forcecal.h"
#include "platform/memory.h"

#include <algorithm>
#include <cmath>
#include <numbers>

constexpr double kBoltzmann = 1.3806488e-23;       // J/K
constexpr double kTwiceBoltzmann = 2.7612976e-23;  // J/K
constexpr int32_t kBetaTypes = 1;                  // of a table that an update makes
constexpr int32_t kStiffnessTypes = 3;
// Where a method's row of K starts.
constexpr int32_t kFirstRow = 0;  // active, or power spectrum
constexpr int32_t kEquipartitionRow = 3;
constexpr int32_t kPotentialRow = 6;

void ReplaceTables(int32_t path, int32_t betas, double *beta, int32_t ks, double *k)
{
    Release(g_forceCal.Beta[path]);
    Release(g_forceCal.K[path]);
    g_forceCal.Beta[path] = beta;
    g_forceCal.K[path] = k;
    g_forceCal.NumberOfBetas[path] = betas;
    g_forceCal.NumberOfKs[path] = ks;
}

// A table that is missing, or of no types as a file may give it, is made of zeros.
static void MakeMissingTable(double *&table, int32_t &types, int32_t typesWhenMade)
{
    if (table != nullptr && types > 0) return;
    Release(table);
    table = AllocateArray<double>(3 * static_cast<int64_t>(typesWhenMade));
    types = table != nullptr ? typesWhenMade : 0;
}

// Tables that neither a file nor a client has given are made at the first update.
static void MakeMissingTables()
{
    for (int path = 0; path < 2; ++path) {
        MakeMissingTable(g_forceCal.Beta[path], g_forceCal.NumberOfBetas[path], kBetaTypes);
        MakeMissingTable(g_forceCal.K[path], g_forceCal.NumberOfKs[path], kStiffnessTypes);
    }
}

// What lies behind the end of a table is passed over.
static void PutBeta(int path, int index, double value)
{
    if (index < 3 * static_cast<int64_t>(g_forceCal.NumberOfBetas[path]))
        g_forceCal.Beta[path][index] = value;
}

static void PutStiffness(int path, int index, double value)
{
    if (index < 3 * static_cast<int64_t>(g_forceCal.NumberOfKs[path]))
        g_forceCal.K[path][index] = value;
}

static double TableBeta(int path, int index)
{
    const bool isThere = index < 3 * static_cast<int64_t>(g_forceCal.NumberOfBetas[path]);
    return isThere ? g_forceCal.Beta[path][index] : 0.0;
}

// The beta of the run along the same axis.
static double RunBeta(int path, int axis) { return g_forceCal.Data[path][axis].Beta; }

static const ZVK_ForceCalDataContainer &StillRun(int path)
{
    return g_forceCal.Data[path][kNoOscillation];
}

static double Equipartition(int path, int signal, double beta)
{
    const double deviation = StillRun(path).TDStdDev[signal] * beta;  // metres
    return (g_forceCal.Temperature * kBoltzmann) / (deviation * deviation);
}

int32_t ZVK_ForceCal_UpdateCalibration(SessionHandle SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    MakeMissingTables();
    (void)ZVK_ForceCal_UpdateNLCalibration(SessionHandle);
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < kSignals; ++i) {
            PutBeta(path, i, RunBeta(path, i));
            PutStiffness(path, kFirstRow + i, g_forceCal.Data[path][i].K);
        }
    }
    (void)ZVK_ForceCal_UpdateEPCalibration(SessionHandle);
    (void)ZVK_ForceCal_UpdatePotCalibration(SessionHandle);
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdateCalibrationRWQS(SessionHandle SessionHandle)
{
    MakeMissingTables();
    ZVK_ForceCalDataContainer &still = g_forceCal.Data[ZVK_PATH_A][kNoOscillation];
    (void)ZVK_ForceCal_ComputeLSCalibration(&still);
    PutBeta(ZVK_PATH_A, 0, still.LSBeta[0]);
    PutBeta(ZVK_PATH_A, 1, still.LSBeta[1]);  // neither z nor path B
    (void)ZVK_ForceCal_UpdatePSDCalibration(SessionHandle);
    (void)ZVK_ForceCal_UpdateEPCalibrationRWQS(SessionHandle);
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdateEPCalibration(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    MakeMissingTables();
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < kSignals; ++i)
            PutStiffness(path, kEquipartitionRow + i, Equipartition(path, i, RunBeta(path, i)));
    }
    return ZVK_SUCCESS;
}

// Path A takes the table's beta, path B still that of its runs: keep it so.
int32_t ZVK_ForceCal_UpdateEPCalibrationRWQS(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    MakeMissingTables();
    for (int i = 0; i < kSignals; ++i) {
        PutStiffness(ZVK_PATH_A, kEquipartitionRow + i,
                     Equipartition(ZVK_PATH_A, i, TableBeta(ZVK_PATH_A, i)));
        PutStiffness(ZVK_PATH_B, kEquipartitionRow + i,
                     Equipartition(ZVK_PATH_B, i, RunBeta(ZVK_PATH_B, i)));
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdatePSDCalibration(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    MakeMissingTables();
    constexpr double kPi = std::numbers::pi;
    const double radius = g_forceCal.Diameter * 1e-6 / 2.0;  // metres
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < kSignals; ++i) {
            const double corner = StillRun(path).CornerFrequency[i];
            PutStiffness(path, kFirstRow + i,
                         radius * (12.0 * (kPi * kPi) * corner * g_forceCal.Viscosity));
        }
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_UpdatePotCalibration(SessionHandle)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    MakeMissingTables();
    for (int path = 0; path < 2; ++path) {
        for (int i = 0; i < kSignals; ++i) {
            const double beta = RunBeta(path, i);
            const double curvature = StillRun(path).PotCurvature[i];
            PutStiffness(path, kPotentialRow + i,
                         (g_forceCal.Temperature * kTwiceBoltzmann * curvature) / (beta * beta));
        }
    }
    return ZVK_SUCCESS;
}

static double *CopyTable(const double *values, int32_t types)
{
    const int64_t count = 3 * static_cast<int64_t>(std::max(types, 0));
    double *copy = AllocateArray<double>(count);
    if (copy != nullptr && values != nullptr) std::copy_n(values, count, copy);
    return copy;
}

int32_t ZVK_ForceCal_SetCalibration(SessionHandle, int32_t TrapPath, int32_t NumberOfBetas,
                                    int32_t NumberOfKs, const double *Beta, const double *K)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    if (NumberOfBetas < 1 || NumberOfKs < 1) return ZVK_FORCECAL_BAD_TYPE_COUNT;
    if (TrapPath < 0 || TrapPath > 1) return ZVK_FORCECAL_BAD_PATH;
    double *beta = CopyTable(Beta, NumberOfBetas);
    double *k = CopyTable(K, NumberOfKs);
    if (beta == nullptr || k == nullptr) {
        Release(beta);
        Release(k);
        return ZVK_FORCE_NO_MEMORY;
    }
    ReplaceTables(TrapPath, NumberOfBetas, beta, NumberOfKs, k);
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_GetCalibration(SessionHandle, int32_t TrapPath,
                                    int32_t *NumberOfCalibrationTypesBeta,
                                    int32_t *NumberOfCalibrationTypesK, double **Beta, double **K)
{
    const int32_t status = ForceCalReady();
    if (status < 0) return status;
    if (TrapPath < 0 || TrapPath > 1) return ZVK_FORCECAL_BAD_PATH;
    const int32_t betas = g_forceCal.NumberOfBetas[TrapPath];
    const int32_t ks = g_forceCal.NumberOfKs[TrapPath];
    if (NumberOfCalibrationTypesBeta != nullptr) *NumberOfCalibrationTypesBeta = betas;
    if (NumberOfCalibrationTypesK != nullptr) *NumberOfCalibrationTypesK = ks;
    bool complete = true;
    if (Beta != nullptr) {
        Release(*Beta);
        *Beta = CopyTable(g_forceCal.Beta[TrapPath], betas);
        complete = *Beta != nullptr;
    }
    if (K != nullptr) {
        Release(*K);
        *K = CopyTable(g_forceCal.K[TrapPath], ks);
        complete = complete && *K != nullptr;
    }
    if (complete) return ZVK_SUCCESS;
    if (Beta != nullptr) Release(*Beta);
    if (K != nullptr) Release(*K);
    return ZVK_FORCE_NO_MEMORY;
}
