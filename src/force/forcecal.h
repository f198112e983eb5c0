#ifndef QUORVEX_FORCE_FORCECAL_H
#define QUORVEX_FORCE_FORCECAL_H

// The force calibration's records and inner calls. Clients see quorvex/forcecal.h.
//
// One caller at a time: no lock protects the containers, and clients hold pointers into them.

#include "quorvex/errors.h"
#include "quorvex/forcecal.h"
#include "quorvex/types.h"

#include <cstdint>

constexpr int kSignals = 3;            // X, Y, sum
constexpr int32_t kNoOscillation = 3;  // the OscAxis of the run without oscillation
constexpr int32_t kDefaultMaxFft = 200000;

// All that one calibration run produced. Arrays of three are by signal: 0 X, 1 Y, 2 sum. Every
// array is owned by the container. A count and the arrays that it counts always change together.
struct ZVK_ForceCalDataContainer
{
    // line scan, by scanned axis; only in the containers of runs without oscillation
    double *LSData[kSignals];      // mean signal at each step
    double *LSPosition[kSignals];  // stage position of each step, micrometres
    int32_t LSEntries[kSignals];
    double *LSFitData[kSignals];  // the part of LSData inside the fit range
    double *LSFitCurve[kSignals];
    double *LSFitPosition[kSignals];
    int32_t LSFitEntries[kSignals];
    double LSFitMSE[kSignals];
    double LSFitSlope[kSignals];  // signal per micrometre
    double LSBeta[kSignals];      // metres per unit of signal
    int32_t LSAveragesRecorded;   // goes to the line scan's file; nothing sets it
    int32_t LSValid[kSignals];

    // time series
    double *TD[kSignals];           // X / sum, Y / sum, sum in volts
    double *TDCorrected[kSignals];  // without mean or drift
    double *TDAxis;                 // s
    double TDStdDev[kSignals];      // of the first segment of TDCorrected
    char TDValid;
    char TDCorrectedValid;
    int32_t Averages;         // segments of the run
    int32_t NumberOfSamples;  // of one signal over the whole run
    double SampleRate;        // hertz
    int32_t OscAxis;
    int32_t Path;
    double OscFrequency;  // hertz; -1.0 without oscillation
    double OscAmplitude;  // micrometres
    double Beta;          // metres per unit of signal
    double K;             // newtons per metre

    // spectrum
    double *FDSum[kSignals];
    double *FD[kSignals];           // room for MaxFFT + 1 bins
    double *FDAlternate[kSignals];  // filled by nothing
    double *FDAxis;                 // hertz
    double *FDFitData[kSignals];    // points inside the fit range, scaled to mean 1
    double *FDFitCurve[kSignals];   // spectrum units
    double *FDFitAxis;              // hertz
    char FDValid;
    char FDAlternateValid;  // set by nothing
    char FDFitValid;
    int32_t NumberOfFrequencies;
    int32_t NumberOfFitEntries;
    double MeasurementTime;  // of one segment, s
    double LowFrequencyPower[kSignals];
    double CornerStart[kSignals];
    double LorentzAmplitude[kSignals];
    double CornerFrequency[kSignals];  // hertz, never negative
    double FitMSE[kSignals];

    // histograms
    int32_t HistogramBins;
    double *Histogram[kSignals];      // counts; empty bins hold 0.1
    double *HistogramAxis[kSignals];  // bin centres, symmetric about 0
    double *Potential[kSignals];      // kT
    double *PotFitCurve[kSignals];
    double *PotFitData[kSignals];
    double *PotFitAxis[kSignals];
    double PotCurvature[kSignals];  // kT per squared unit of signal
    double PotFitMSE[kSignals];
    double *Histogram2D[kSignals];         // bins x bins, pairs (X, Y), (Y, sum), (sum, X)
    double *Histogram2DAxis[kSignals][2];  // bin centres of the two signals
    char PotValid;
    char PotFlag2;  // cleared with PotValid, read by nothing
    char PotFlag3;
    int32_t PotFitEntries[kSignals];
};

struct ZVK_ForceCalState
{
    int32_t Installed = 0;
    int32_t Simulate = 0;  // only the status tells of it: there is no simulated calibration
    int32_t Initialised = 0;
    char SwapAxes = 0;
    int32_t Averages = 0;
    double CalLength = 0.0;  // s, of one segment
    double Amplitude = 0.0;  // micrometres
    int32_t Frequency = 0;   // hertz
    char Oscillate = 0;
    int32_t Bins = 0;
    double SampleRate = 0.0;  // hertz, from ZVK_ForceCal_TriggerCalibration
    int32_t CycleLength = 0;  // samples in a period, from the same
    char SubtractMean = 0;
    char SubtractDrift = 0;
    double FitStartFrequency = 0.0;  // hertz
    double FitStopFrequency = 0.0;
    double PotFitStart[2][kSignals] = {};  // by path and signal; 0 counts as unset
    double PotFitStop[2][kSignals] = {};
    double DisplayStopFrequency = 0.0;
    double LineScanFitStart[2][kSignals] = {};  // micrometres
    double LineScanFitStop[2][kSignals] = {};
    int32_t Medium = 0;
    double Viscosity = 0.0;    // pascal seconds
    double Temperature = 0.0;  // kelvin
    double Diameter = 0.0;     // micrometres
    char StartupValues[4096] = {};
    double LSLength = 0.0;  // micrometres
    int32_t LSSteps = 0;
    int32_t LSAverages = 0;
    int32_t MaxFFT = kDefaultMaxFft;
    double *Beta[2] = {};  // by path, three doubles a type; owned
    double *K[2] = {};
    int32_t NumberOfBetas[2] = {};
    int32_t NumberOfKs[2] = {};
    ZVK_ForceCalDataContainer Data[2][4] = {};  // by path and OscAxis
};

extern ZVK_ForceCalState g_forceCal;

// -- settings (forcecal_settings.cpp) --

// 0, or the status of a module that isn't up: not initialized, then not installed.
int32_t ForceCalReady();

// -- containers (forcecal_container.cpp) --

void ZVK_ForceCal_ClearDataContainer(SessionHandle SessionHandle,
                                     struct ZVK_ForceCalDataContainer *DataContainer);
// Frees the arrays of a group and makes them anew, all zero. False, with all of them null, when
// memory runs out.
bool RenewArrays(double **const *arrays, int count, int64_t length);
template <int Count>
bool RenewArrays(double **const (&arrays)[Count], int64_t length)
{
    return RenewArrays(arrays, Count, length);
}
// The same, with contents undefined: for those that the caller writes whole.
bool RenewUnsetArrays(double **const (&arrays)[kSignals], int64_t length);
// The spectrum arrays, which live from Init to Shutdown, are made again where they are missing.
bool EnsureSpectrumArrays(ZVK_ForceCalDataContainer &data);
int64_t SpectrumRoom();  // bins in each of them
bool HasTimeData(const ZVK_ForceCalDataContainer &data);
bool HasCorrectedData(const ZVK_ForceCalDataContainer &data);
bool HasSpectrum(const ZVK_ForceCalDataContainer &data);
// The arrays alone: they outlive the flag where a load finds an empty run.
bool HasSpectrumArrays(const ZVK_ForceCalDataContainer &data);
// Samples of one segment; 0 where there are no averages.
int32_t SegmentLength(const ZVK_ForceCalDataContainer &data);

// -- time series and spectrum (forcecal_series.cpp, forcecal_spectrum.cpp) --

int32_t ZVK_ForceCal_CreateTDAxis(struct ZVK_ForceCalDataContainer *Data);
int32_t ZVK_ForceCal_CorrectTD(struct ZVK_ForceCalDataContainer *Data);
int32_t ZVK_ForceCal_ComputeFD(struct ZVK_ForceCalDataContainer *Data);
int32_t ZVK_ForceCal_CreateFDAxis(struct ZVK_ForceCalDataContainer *Data);
void ZVK_ForceCal_RemoveZeros(double *Data, int32_t NumberOfSamples);
void ZVK_ForceCal_NormalizeData(double *Data, const double *NormalizationData,
                                int32_t NumberOfSamples);
void ZVK_ForceCal_ScaleData(double *Data, int NumberOfSamples, double Scalar);

// -- spectrum fit (forcecal_fit.cpp) --

double ZVK_ForceCal_Lorentzian(double x, const double *a, int numberOfCoefficients);
int32_t ZVK_ForceCal_CreateFDFitHeuristics(struct ZVK_ForceCalDataContainer *Data);
int32_t ZVK_ForceCal_CreateFDFit(struct ZVK_ForceCalDataContainer *Data);

// -- histograms and potential (forcecal_histogram.cpp, forcecal_potential.cpp) --

int32_t ZVK_ForceCal_Create1DBinning(struct ZVK_ForceCalDataContainer *Data);
int32_t ZVK_ForceCal_Create2DBinning(struct ZVK_ForceCalDataContainer *Data);
int32_t ZVK_ForceCal_CreatePotFit(struct ZVK_ForceCalDataContainer *Data);
double ZVK_ForceCal_Parabola(double x, const double *a, int numberOfCoefficients);

// -- line scan (forcecal_linescan.cpp) --

double ZVK_ForceCal_Line(double x, const double *a, int numberOfCoefficients);
int32_t ZVK_ForceCal_CreateLSFit(struct ZVK_ForceCalDataContainer *Data);
int32_t ZVK_ForceCal_ComputeLSCalibration(struct ZVK_ForceCalDataContainer *Data);

// -- fit range (forcecal_range.cpp) --

// The span of an axis that a fit takes, both ends included.
struct ZVK_FitSpan
{
    int32_t first;
    int32_t last;
};

// A limit of 0 counts as unset and becomes -10 for the start, 10 for the stop.
void SettleFitLimits(double &start, double &stop);
// Widens a span to four points: upwards, and downwards where the last point is reached. It never
// leaves the axis.
void WidenSpan(ZVK_FitSpan &span, int32_t entries);

// -- tables (forcecal_tables.cpp, forcecal_update.cpp) --

// Takes over new tables of a path and frees the old ones.
void ReplaceTables(int32_t path, int32_t betas, double *beta, int32_t ks, double *k);
int32_t ZVK_ForceCal_ComputeNLCalibration(struct ZVK_ForceCalDataContainer *Data);

#endif
