// The force calibration: how it comes up, its calibration files, and its end.

#include "force/forcecal.h"

#include "force/forcecal_keys.h"
#include "platform/memory.h"
#include "quorvex/confile.h"
#include "steering/check_status.h"

#include <cstring>

ZVK_ForceCalState g_forceCal;

static void StoreSettings(const ZVK_ForceCalKeys &keys)
{
    g_forceCal.SwapAxes = keys.swapAxes != 0;
    g_forceCal.Averages = keys.averages;
    g_forceCal.CalLength = keys.calLength;
    g_forceCal.Amplitude = keys.amplitude;
    g_forceCal.Frequency = keys.frequency;
    g_forceCal.Oscillate = keys.oscillate != 0;
    g_forceCal.Bins = keys.bins;
    g_forceCal.SubtractMean = keys.subtractMean != 0;
    g_forceCal.SubtractDrift = keys.subtractDrift != 0;
    g_forceCal.FitStartFrequency = keys.fitStart;
    g_forceCal.FitStopFrequency = keys.fitStop;
    g_forceCal.DisplayStopFrequency = keys.display;
    g_forceCal.Medium = keys.medium;
    g_forceCal.Viscosity = keys.viscosity;
    g_forceCal.Temperature = keys.temperature;
    g_forceCal.Diameter = keys.diameter;
    g_forceCal.LSLength = keys.lsLength;
    g_forceCal.LSSteps = keys.lsSteps;
    g_forceCal.LSAverages = keys.lsAverages;
    g_forceCal.MaxFFT = keys.maxFft;
}

static void FreeAllSpectrumArrays()
{
    for (auto &path : g_forceCal.Data) {
        for (ZVK_ForceCalDataContainer &data : path) {
            for (double *&spectrum : data.FD)
                Release(spectrum);
            data.FDValid = 0;
            data.NumberOfFrequencies = 0;
        }
    }
}

static bool MakeAllSpectrumArrays()
{
    for (auto &path : g_forceCal.Data) {
        for (ZVK_ForceCalDataContainer &data : path) {
            if (!EnsureSpectrumArrays(data)) return false;
        }
    }
    return true;
}

static int32_t LoadStartupValues(SessionHandle vi)
{
    ZVK_ForceCalKeys keys;
    const int32_t status =
        ReadKeys(vi, "config.ini", kForceCalSection, kForceCalStartupKeys, &keys);
    if (status < 0) return status;
    std::memcpy(g_forceCal.StartupValues, keys.startupValues.text, sizeof keys.startupValues.text);
    const int32_t loaded = ZVK_ForceCal_LoadCalibration(vi, g_forceCal.StartupValues);
    (void)Ends(loaded);
    return loaded;
}

int32_t ZVK_ForceCal_Init(SessionHandle SessionHandle, uint16_t, uint16_t)
{
    if (g_forceCal.Initialised != 0) return ZVK_FORCECAL_ALREADY_INITIALIZED;
    ZVK_ForceCalKeys keys;
    int32_t status =
        ReadKeys(SessionHandle, "config.ini", kForceCalSection, kForceCalModeKeys, &keys);
    g_forceCal.Installed = keys.installed;
    g_forceCal.Simulate = keys.simulate;
    if (status < 0) return status;
    if (g_forceCal.Installed == 0) {
        g_forceCal.Initialised = 1;
        return ZVK_FORCECAL_NOT_INSTALLED;
    }

    status = ReadKeys(SessionHandle, "config.ini", kForceCalSection, kForceCalSettingKeys, &keys);
    FreeAllSpectrumArrays();  // those of a run or an Init before had the room of another limit
    StoreSettings(keys);
    if (status < 0) return status;
    if (!MakeAllSpectrumArrays()) {
        FreeAllSpectrumArrays();
        return ZVK_FORCE_NO_MEMORY;
    }
    status = LoadStartupValues(SessionHandle);
    if (status < 0) return status;
    for (int32_t path = 0; path < 2; ++path) {
        for (ZVK_ForceCalDataContainer &data : g_forceCal.Data[path])
            data.Path = path;
    }
    if (status == ZVK_SUCCESS) g_forceCal.Initialised = 1;
    return status;
}

int32_t ZVK_ForceCal_GetInitStatus(SessionHandle, int32_t *Status)
{
    if (Status == nullptr) return ZVK_SUCCESS;
    *Status = 1;
    if (g_forceCal.Simulate != 0) *Status = 2;
    if (g_forceCal.Installed == 0) *Status = -1;
    if (g_forceCal.Initialised == 0) *Status = 0;
    return ZVK_SUCCESS;
}

int32_t ZVK_ForceCal_Shutdown(SessionHandle)
{
    if (g_forceCal.Initialised == 0 || g_forceCal.Installed == 0) return ZVK_SUCCESS;
    FreeAllSpectrumArrays();
    return ZVK_SUCCESS;
}

// A read that fails leaves the tables of its path as they were.
static int32_t LoadPath(const char *fileName, int32_t path)
{
    int32_t betas = 0;
    int32_t ks = 0;
    double *beta = nullptr;
    double *k = nullptr;
    const int32_t status =
        ZVK_ConFile_ReadForceCalibration(0, fileName, path, &betas, &ks, &beta, &k);
    if (status < 0) {
        Release(beta);
        Release(k);
        return status;
    }
    ReplaceTables(path, betas, beta, ks, k);
    return status;
}

int32_t ZVK_ForceCal_LoadCalibration(SessionHandle, const char *FileName)
{
    int32_t status = LoadPath(FileName, ZVK_PATH_A);
    if (Ends(status)) return status;
    status = LoadPath(FileName, ZVK_PATH_B);
    (void)Ends(status);
    return status;
}

static int32_t SavePath(SessionHandle vi, const char *fileName, int32_t path)
{
    return ZVK_ConFile_WriteForceCalibration(vi, fileName, path, g_forceCal.NumberOfBetas[path],
                                             g_forceCal.NumberOfKs[path], g_forceCal.Beta[path],
                                             g_forceCal.K[path]);
}

int32_t ZVK_ForceCal_SaveCalibration(SessionHandle SessionHandle, const char *FileName)
{
    int32_t status = SavePath(SessionHandle, FileName, ZVK_PATH_A);
    if (Ends(status)) return status;
    status = SavePath(SessionHandle, FileName, ZVK_PATH_B);
    (void)Ends(status);
    return status;
}
