#include "force/forcecal_keys.h"

#include <cstddef>
#include <iterator>

const char *const kForceCalSection = "FORCECAL";

#define LONG_ROW(key, field, unit, meaning)                                                        \
    {                                                                                              \
        key, ZVK_CONFILE_LONG, offsetof(ZVK_ForceCalKeys, field), unit, meaning                    \
    }
#define DOUBLE_ROW(key, field, unit, meaning)                                                      \
    {                                                                                              \
        key, ZVK_CONFILE_DOUBLE, offsetof(ZVK_ForceCalKeys, field), unit, meaning                  \
    }

static const ZVK_KeyRow kModeRows[] = {
    LONG_ROW("MI", installed, "", "0: no force calibration, and the session ends with -1402"),
    LONG_ROW("SIMULATE", simulate, "", "told by the status; changes nothing else"),
};

static const ZVK_KeyRow kSettingRows[] = {
    LONG_ROW("SWAPAXES", swapAxes, "", "not 0: runs along y shake z, and the other way round"),
    LONG_ROW("AVERAGES", averages, "", "segments of a run"),
    DOUBLE_ROW("CALLENGTH", calLength, "s", "length of a segment"),
    DOUBLE_ROW("AMPLITUDE", amplitude, "um", "amplitude of the oscillation"),
    LONG_ROW("FREQUENCY", frequency, "Hz", "frequency of the oscillation"),
    LONG_ROW("OSCILLATE", oscillate, "", "not 0: the stage oscillates in runs along an axis"),
    LONG_ROW("HISTOGRAM_BINS", bins, "", "histogram bins of each signal"),
    LONG_ROW("SUB_MEAN", subtractMean, "", "not 0: each segment loses its mean"),
    LONG_ROW("SUB_DRIFT", subtractDrift, "", "not 0: each segment loses its fitted line"),
    DOUBLE_ROW("FIT_LOWEND", fitStart, "Hz", "lower end of the spectrum fit"),
    DOUBLE_ROW("FIT_HIGHEND", fitStop, "Hz", "upper end of the spectrum fit"),
    DOUBLE_ROW("FIT_DISPLAY", display, "Hz", "end of a client's display"),
    LONG_ROW("MEDIUM", medium, "", "1 water, 2 viscosity as given"),
    DOUBLE_ROW("ETA", viscosity, "Pa s", "viscosity"),
    DOUBLE_ROW("TEMPERATURE", temperature, "K", "temperature of the sample"),
    DOUBLE_ROW("DIAMETER", diameter, "um", "bead diameter"),
    DOUBLE_ROW("LINESCAN_LENGTH", lsLength, "um", "length of a line scan"),
    LONG_ROW("LINESCAN_STEPS", lsSteps, "", "steps of a line scan, at least 4"),
    LONG_ROW("LINESCAN_AVERAGES", lsAverages, "", "samples at each step, at least 1000"),
    LONG_ROW("MAX_FFT", maxFft, "", "longest spectrum, in bins"),
};

static const ZVK_KeyRow kStartupRows[] = {
    {"STARTUP_VALUES", ZVK_CONFILE_STRING, offsetof(ZVK_ForceCalKeys, startupValues), "",
     "calibration file that is loaded at the start"},
};

const ZVK_KeyTable kForceCalModeKeys = {"ForceCal", "FORCECAL", kModeRows, std::size(kModeRows)};
const ZVK_KeyTable kForceCalSettingKeys = {"ForceCal", "FORCECAL", kSettingRows,
                                           std::size(kSettingRows)};
const ZVK_KeyTable kForceCalStartupKeys = {"ForceCal", "FORCECAL", kStartupRows,
                                           std::size(kStartupRows)};
