#ifndef QUORVEX_FORCECAL_H
#define QUORVEX_FORCECAL_H

/*
 * Force calibration: turns detector noise into the detectors' sensitivity beta and the traps'
 * stiffness K. docs/calibration.md tells the five methods with their formulas and sources.
 *
 * A run is recorded along an axis: 0, 1, 2 with the stage oscillating along x, y, z, or 3 without
 * oscillation. Each path (0 A, 1 B) has four runs, kept in containers of their own. The signals of
 * a run are 0 X / sum, 1 Y / sum and 2 the sum, which stands for z.
 *
 * Units: beta in metres per unit of signal, K in newtons per metre, temperature in kelvin,
 * viscosity in pascal seconds, diameter and amplitude in micrometres, frequencies in hertz.
 *
 * Threads: one call at a time. A run blocks its caller until it is recorded and analysed. The
 * session value is ignored, and a null output is passed over.
 *
 * "as a setting" below: 0, else the first that applies of
 *     ZVK_FORCECAL_NOT_INITIALIZED
 *     ZVK_FORCECAL_NOT_INSTALLED
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/** Media of the viscosity. */
enum
{
    ZVK_MEDIUM_WATER = 1, /**< from the temperature */
    ZVK_MEDIUM_GIVEN = 2  /**< as given */
};

/** What ZVK_ForceCal_ReturnData hands out; alternatives, not a mask. */
enum
{
    ZVK_FORCECAL_TIME_DATA = 1,
    ZVK_FORCECAL_CORRECTED_DATA = 2,
    ZVK_FORCECAL_SPECTRUM = 4,
    ZVK_FORCECAL_SECOND_SPECTRUM = 8, /**< filled by nothing */
    ZVK_FORCECAL_SPECTRUM_FIT = 16,
    ZVK_FORCECAL_HISTOGRAM = 32,
    ZVK_FORCECAL_POTENTIAL = 64,
    ZVK_FORCECAL_POTENTIAL_FIT = 128,
    ZVK_FORCECAL_HISTOGRAM_2D = 256,
    ZVK_FORCECAL_LINE_SCAN = 512,
    ZVK_FORCECAL_LINE_SCAN_FIT = 1024
};

/**
 * Reads the keys of section FORCECAL, makes room for the spectra and loads the calibration file
 * that STARTUP_VALUES names.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_ALREADY_INITIALIZED       an error here, also after a Shutdown
 *         a negative status of ZVK_ConFile_Read  a key is missing
 *         ZVK_FORCECAL_NOT_INSTALLED             MI is 0; counts as initialized all the same
 *         ZVK_FORCE_NO_MEMORY                    no room for the spectra
 *         the status of ZVK_ForceCal_LoadCalibration; a warning leaves the module uninitialized
 */
ZVK_API int32_t ZVK_ForceCal_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                                  uint16_t ResetInstrument);

/**
 * @param Status  out: 0 not initialized, -1 not installed, 2 simulated, 1 else
 * @return 0
 */
ZVK_API int32_t ZVK_ForceCal_GetInitStatus(SessionHandle SessionHandle, int32_t *Status);

/**
 * Frees the spectra. The module stays initialized with all other results; a run or a load makes the
 * spectra again.
 *
 * @return 0
 */
ZVK_API int32_t ZVK_ForceCal_Shutdown(SessionHandle SessionHandle);

/**
 * Loads the tables of both paths from a calibration file; the old ones are freed. May be called
 * before Init.
 *
 * @param FileName  as for ZVK_ConFile_ReadForceCalibration
 * @return the status of path A's read when it is negative (path B is not read), else that of path
 *         B's; warnings are captured
 */
ZVK_API int32_t ZVK_ForceCal_LoadCalibration(SessionHandle SessionHandle, const char *FileName);

/**
 * Writes the tables of both paths to a calibration file. May be called before Init.
 *
 * @param FileName  as for ZVK_ConFile_WriteForceCalibration
 * @return as ZVK_ForceCal_LoadCalibration
 */
ZVK_API int32_t ZVK_ForceCal_SaveCalibration(SessionHandle SessionHandle, const char *FileName);

/**
 * Computes and stores the viscosity of the medium. Neither a new medium nor a new temperature does
 * that by itself. Water: 2.414e-5 * 10^(247.8 / (T - 140)) Pa s (T. Al-Shemmeri,
 * Engineering Fluid Mechanics, 2012).
 *
 * @param Viscosity  taken as it is for ZVK_MEDIUM_GIVEN, ignored for water
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_NOT_INSTALLED
 *         ZVK_FORCECAL_BAD_MEDIUM
 */
ZVK_API int32_t ZVK_ForceCal_ComputeViscosity(SessionHandle SessionHandle, double Viscosity);

/**
 * Sets the medium, ZVK_MEDIUM_... ; ZVK_ForceCal_ComputeViscosity uses it. The value is not
 * checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetMedium(SessionHandle SessionHandle, int32_t Medium);

/**
 * @param Medium  out: as set by ZVK_ForceCal_SetMedium
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetMedium(SessionHandle SessionHandle, int32_t *Medium);

/**
 * Sets the sample's temperature in kelvin. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetTemperature(SessionHandle SessionHandle, double Temperature);

/**
 * @param Temperature  out: as set by ZVK_ForceCal_SetTemperature
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetTemperature(SessionHandle SessionHandle, double *Temperature);

/**
 * @param Viscosity  out: pascal seconds, as last computed or read from the keys
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetViscosity(SessionHandle SessionHandle, double *Viscosity);

/**
 * Sets the length of a line scan, micrometres. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetLSLength(SessionHandle SessionHandle, double Length);

/**
 * @param Length  out: as set by ZVK_ForceCal_SetLSLength
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetLSLength(SessionHandle SessionHandle, double *Length);

/**
 * Sets the number of steps of a line scan; a fit needs four. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetLSSteps(SessionHandle SessionHandle, int32_t Steps);

/**
 * @param Steps  out: as set by ZVK_ForceCal_SetLSSteps
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetLSSteps(SessionHandle SessionHandle, int32_t *Steps);

/**
 * Sets the samples at each step of a line scan. Fewer than 1000 are refused at the scan. The value
 * is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetLSAverages(SessionHandle SessionHandle, int32_t Averages);

/**
 * @param Averages  out: as set by ZVK_ForceCal_SetLSAverages
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetLSAverages(SessionHandle SessionHandle, int32_t *Averages);

/**
 * Sets the beads' diameter, micrometres. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetDiameter(SessionHandle SessionHandle, double Diameter);

/**
 * @param Diameter  out: as set by ZVK_ForceCal_SetDiameter
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetDiameter(SessionHandle SessionHandle, double *Diameter);

/**
 * Sets the amplitude of the stage's oscillation, micrometres. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetAmplitude(SessionHandle SessionHandle, double Amplitude);

/**
 * @param Amplitude  out: as set by ZVK_ForceCal_SetAmplitude
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetAmplitude(SessionHandle SessionHandle, double *Amplitude);

/**
 * Sets the frequency of the stage's oscillation, hertz. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetFrequency(SessionHandle SessionHandle, int32_t Frequency);

/**
 * @param Frequency  out: as set by ZVK_ForceCal_SetFrequency
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetFrequency(SessionHandle SessionHandle, int32_t *Frequency);

/**
 * Sets whether each segment loses its mean before the analysis. Stored as 0 or 1.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetSubtractMean(SessionHandle SessionHandle, uint16_t subtractMean);

/**
 * @param subtractMean  out: as set by ZVK_ForceCal_SetSubtractMean
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetSubtractMean(SessionHandle SessionHandle, uint16_t *subtractMean);

/**
 * Sets whether the stage oscillates in runs along x, y and z. Stored as 0 or 1.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetOscillate(SessionHandle SessionHandle, uint16_t Oscillate);

/**
 * @param Oscillate  out: as set by ZVK_ForceCal_SetOscillate
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetOscillate(SessionHandle SessionHandle, uint16_t *Oscillate);

/**
 * Sets whether each segment loses its fitted line; wins over the mean. Stored as 0 or 1.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetSubtractDrift(SessionHandle SessionHandle, uint16_t SubtractDrift);

/**
 * @param SubtractDrift  out: as set by ZVK_ForceCal_SetSubtractDrift
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetSubtractDrift(SessionHandle SessionHandle, uint16_t *SubtractDrift);

/**
 * Sets whether runs along y move the stage along z, and the other way round. Stored as 0 or 1.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetSwapAxes(SessionHandle SessionHandle, uint16_t SwapAxes);

/**
 * @param SwapAxes  out: as set by ZVK_ForceCal_SetSwapAxes
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetSwapAxes(SessionHandle SessionHandle, uint16_t *SwapAxes);

/**
 * Sets the lower end of the spectrum fit, hertz; that bin is not taken. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetFitStartFrequency(SessionHandle SessionHandle,
                                                  double FitStartFrequency);

/**
 * @param FitStartFrequency  out: as set by ZVK_ForceCal_SetFitStartFrequency
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetFitStartFrequency(SessionHandle SessionHandle,
                                                  double *FitStartFrequency);

/**
 * Sets the upper end of the spectrum fit, hertz; that bin is not taken. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetFitStopFrequency(SessionHandle SessionHandle,
                                                 double FitStopFrequency);

/**
 * @param FitStopFrequency  out: as set by ZVK_ForceCal_SetFitStopFrequency
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetFitStopFrequency(SessionHandle SessionHandle,
                                                 double *FitStopFrequency);

/**
 * Sets the end of a client's display, hertz; nothing here reads it. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetDisplayStopFrequency(SessionHandle SessionHandle,
                                                     double DisplayStopFrequency);

/**
 * @param DisplayStopFrequency  out: as set by ZVK_ForceCal_SetDisplayStopFrequency
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetDisplayStopFrequency(SessionHandle SessionHandle,
                                                     double *DisplayStopFrequency);

/**
 * Sets the number of segments of a run. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetAverages(SessionHandle SessionHandle, int32_t Averages);

/**
 * @param Averages  out: as set by ZVK_ForceCal_SetAverages
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetAverages(SessionHandle SessionHandle, int32_t *Averages);

/**
 * Sets the histogram bins of each signal. Fewer than 5 become 5.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetBins(SessionHandle SessionHandle, int32_t Bins);

/**
 * @param Bins  out: as set by ZVK_ForceCal_SetBins
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetBins(SessionHandle SessionHandle, int32_t *Bins);

/**
 * Sets the length of a segment, seconds. The value is not checked.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_SetCalLength(SessionHandle SessionHandle, double CalLength);

/**
 * @param CalLength        out: seconds
 * @param ActualCalLength  out: the next whole number of oscillation periods, seconds; not a
 *                         number when the frequency is 0. A run cuts off instead of rounding up.
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_GetCalLength(SessionHandle SessionHandle, double *CalLength,
                                          double *ActualCalLength);

/**
 * Sets the lower end of the potential fit, in units of the signal. 0 counts as unset: the
 * next fit makes it -10.
 *
 * @param Path  0 or 1
 * @param Axis  signal, 0 to 2
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_NOT_INSTALLED
 *         ZVK_FORCECAL_BAD_PATH         no such path
 *         ZVK_FORCECAL_BAD_AXIS         no such axis
 */
ZVK_API int32_t ZVK_ForceCal_SetPotFitStart(SessionHandle SessionHandle, int32_t Path, int32_t Axis,
                                            double FitStartVoltage);

/**
 * @param FitStartVoltage  out: as set by ZVK_ForceCal_SetPotFitStart
 * @return as ZVK_ForceCal_SetPotFitStart
 */
ZVK_API int32_t ZVK_ForceCal_GetPotFitStartFrequency(SessionHandle SessionHandle, int32_t Path,
                                                     int32_t Axis, double *FitStartVoltage);

/**
 * Sets the upper end of the potential fit, in units of the signal. 0 counts as unset: the
 * next fit makes it 10.
 *
 * @param Path  0 or 1
 * @param Axis  signal, 0 to 2
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_NOT_INSTALLED
 *         ZVK_FORCECAL_BAD_PATH         no such path
 *         ZVK_FORCECAL_BAD_AXIS         no such axis
 */
ZVK_API int32_t ZVK_ForceCal_SetPotFitStop(SessionHandle SessionHandle, int32_t Path, int32_t Axis,
                                           double FitStopVoltage);

/**
 * @param FitStopVoltage  out: as set by ZVK_ForceCal_SetPotFitStop
 * @return as ZVK_ForceCal_SetPotFitStop
 */
ZVK_API int32_t ZVK_ForceCal_GetPotFitStopFrequency(SessionHandle SessionHandle, int32_t Path,
                                                    int32_t Axis, double *FitStopVoltage);

/**
 * Sets the lower end of the line scan's fit, micrometres. 0 counts as unset: the next fit makes
 * it -10. A scan sets it to its first position.
 *
 * @param Path  0 or 1
 * @param Axis  signal, 0 to 2
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_NOT_INSTALLED
 *         ZVK_FORCECAL_BAD_PATH         no such path
 *         ZVK_FORCECAL_BAD_AXIS         no such axis
 */
ZVK_API int32_t ZVK_ForceCal_SetLineScanFitStart(SessionHandle SessionHandle, int32_t Path,
                                                 int32_t Axis, double FitStartPosition);

/**
 * @param FitStartPosition  out: as set by ZVK_ForceCal_SetLineScanFitStart
 * @return as ZVK_ForceCal_SetLineScanFitStart
 */
ZVK_API int32_t ZVK_ForceCal_GetLineScanFitStart(SessionHandle SessionHandle, int32_t Path,
                                                 int32_t Axis, double *FitStartPosition);

/**
 * Sets the upper end of the line scan's fit, micrometres. 0 counts as unset: the next fit makes
 * it 10. A scan sets it to its last position.
 *
 * @param Path  0 or 1
 * @param Axis  signal, 0 to 2
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_NOT_INSTALLED
 *         ZVK_FORCECAL_BAD_PATH         no such path
 *         ZVK_FORCECAL_BAD_AXIS         no such axis
 */
ZVK_API int32_t ZVK_ForceCal_SetLineScanFitStop(SessionHandle SessionHandle, int32_t Path,
                                                int32_t Axis, double FitStopPosition);

/**
 * @param FitStopPosition  out: as set by ZVK_ForceCal_SetLineScanFitStop
 * @return as ZVK_ForceCal_SetLineScanFitStop
 */
ZVK_API int32_t ZVK_ForceCal_GetLineScanFitStop(SessionHandle SessionHandle, int32_t Path,
                                                int32_t Axis, double *FitStopPosition);

/**
 * Hands out arrays of a container. They are the container's own, not copies: they stay valid until
 * the next run, load, fit or clear of that container. Do not free them.
 *
 *     DataType          AxisData         NumberOfEntries           MSE  f_c
 *     TIME_DATA         s                samples of a segment
 *     CORRECTED_DATA    s                samples of a segment
 *     SPECTRUM          Hz               bins                      x    x
 *     SECOND_SPECTRUM   Hz               bins                      x    x
 *     SPECTRUM_FIT      Hz               points of the fit         x    x
 *     HISTOGRAM         signal           bins
 *     POTENTIAL         signal           bins                      x
 *     POTENTIAL_FIT     signal           points of the fit         x
 *     HISTOGRAM_2D      first, second    bins of an axis
 *     LINE_SCAN         micrometres      steps
 *     LINE_SCAN_FIT     micrometres      points of the fit         x    the slope
 *
 * Time series tell the length of their first segment, though the arrays hold the whole run. A
 * container that has been cleared still tells of corrected data: no entries, and null.
 *
 * @param OscAxis    the run, 0 to 3; only run 3 holds histograms and line scans
 * @param Axis       signal 0 to 2; for two-dimensional histograms the pair (X, Y), (Y, sum) or
 *                   (sum, X), whose entry (first, second) is at second * bins + first
 * @param AxisData2  out, for two-dimensional histograms only: the second signal's bin centres
 * @return 0, else the first that applies (NumberOfEntries is 0 then):
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_BAD_PATH
 *         ZVK_FORCECAL_BAD_AXIS       OscAxis outside 0 to 3
 *         ZVK_FORCECAL_BAD_DATA_TYPE
 *         ZVK_FORCECAL_NO_TIME_DATA, ZVK_FORCECAL_NO_SPECTRUM, ZVK_FORCECAL_NO_FIT,
 *         ZVK_FORCECAL_NO_POTENTIAL, ZVK_FORCECAL_NO_LINE_SCAN  there is none, or no such signal
 */
ZVK_API int32_t ZVK_ForceCal_ReturnData(SessionHandle SessionHandle, int32_t Path, int32_t OscAxis,
                                        int32_t DataType, int32_t Axis, int32_t *NumberOfEntries,
                                        double **Data, double **AxisData, double **AxisData2,
                                        double *MSE, double *f_c);

/**
 * Measures the stage's real rate of oscillation by its reference pulses (about half a second, or
 * four periods below 8 Hz) and derives a sample rate that puts a power of two of samples in a
 * period. Call it before the first run, with all three outputs. Works before Init with all
 * settings 0, which ends in a status of the acquisition.
 *
 * @param SampleRate   out: hertz
 * @param CycleLength  out: samples in a period
 * @param Frequency    out: measured, cut off to a whole number of hertz; the setting when there
 * were too few pulses. The setting is not changed.
 * @return a negative status of ZVK_Force_Acquire (nothing is written), else
 *         ZVK_FORCECAL_TOO_FEW_PULSES  fewer than three: the outputs come from the settings, which
 *                                      is the way to a rate for a run without oscillation
 *         else 0
 */
ZVK_API int32_t ZVK_ForceCal_TriggerCalibration(SessionHandle SessionHandle, double *SampleRate,
                                                int32_t *CycleLength, double *Frequency);

/**
 * Records one run and analyses it. Blocks for the whole run. An acquisition that fails is not
 * reported: its samples are 0, which shows in the results.
 *
 * @param Path  0 or 1
 * @param Axis  0 to 2 with the stage oscillating along it, 3 without
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_BAD_PATH
 *         ZVK_FORCECAL_BAD_AXIS
 *         a negative status of ZVK_Stage_StartOscillation  nothing recorded, container cleared
 *         a status of the spectrum, with the stage left oscillating:
 *         ZVK_FORCECAL_NO_TIME_DATA, ZVK_FORCE_NO_MEMORY,
 *         ZVK_FORCECAL_SPECTRUM_TOO_LONG (a warning; no spectrum)
 *         else the status of the last call to the stage, or 0
 */
ZVK_API int32_t ZVK_ForceCal_AcquireData(SessionHandle SessionHandle, int32_t Path, int32_t Axis);

/**
 * Fits all spectra anew, after a change of the fit range. Runs without a spectrum are passed over.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdateFDFits(SessionHandle SessionHandle);

/**
 * Fits the potentials of both paths anew, after a change of the fit range or a load.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdatePotFits(SessionHandle SessionHandle);

/**
 * Moves the stage in steps along an axis, the position now being the middle, and takes the mean
 * signal at each: X / sum for axis 0, Y / sum for 1, the sum for 2. The stage goes back to where it
 * was. Acquires at 100 kHz. Failures of the stage and of the acquisition are not reported.
 *
 * @return 0, else the first that applies:
 *         ZVK_FORCE_BAD_CHANNELS  Path is neither 0 nor 1
 *         ZVK_FORCECAL_BAD_AXIS   Axis outside 0 to 2
 *         ZVK_FORCE_NO_MEMORY     no room for the steps; the stage has not moved
 */
ZVK_API int32_t ZVK_ForceCal_LineScan(SessionHandle SessionHandle, int32_t Path, int32_t Axis);

/**
 * Fits the line scans of both paths anew. A path's scans are fitted from axis 0 up to the first
 * axis that has none.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdateLSFits(SessionHandle SessionHandle);

/**
 * Computes beta and K of all oscillation runs by the active method and leaves them in their
 * containers: beta from the power at the oscillation's bin over the stage's amplitude (Tolic-
 * Norrelykke et al., Review of Scientific Instruments 77, 103101, 2006), on the spectrum's own
 * scale, see docs/calibration.md. A run without a fit is passed over.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdateNLCalibration(SessionHandle SessionHandle);

/**
 * The instrument's procedure: the active method's beta and K of all axes go to the tables, then
 * equipartition and potential fill their rows of K. Tables that don't exist are made, 3 values of
 * beta and 9 of K a path; what lies behind the end of a shorter table is passed over. Runs without
 * data give infinite values or values that are not numbers.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdateCalibration(SessionHandle SessionHandle);

/**
 * The procedure of the sibling kit: beta of X and Y of path A from its line scan, then power
 * spectrum and equipartition fill their rows of K. Does not ask whether the module is up. Tables as
 * in ZVK_ForceCal_UpdateCalibration.
 *
 * @return 0
 */
ZVK_API int32_t ZVK_ForceCal_UpdateCalibrationRWQS(SessionHandle SessionHandle);

/**
 * Fills K 3 to 5 of both paths by equipartition: kT over the variance of the run without
 * oscillation, in metres by the active method's beta (Neuman and Block, Review of Scientific
 * Instruments 75, 2787, 2004).
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdateEPCalibration(SessionHandle SessionHandle);

/**
 * The same, with path A's beta from its table; path B's still comes from its runs.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdateEPCalibrationRWQS(SessionHandle SessionHandle);

/**
 * Fills K 0 to 2 of both paths from the corner frequency of the run without oscillation: 2 pi f_c
 * times the Stokes drag 6 pi eta r (Neuman and Block, 2004).
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdatePSDCalibration(SessionHandle SessionHandle);

/**
 * Fills K 6 to 8 of both paths from the curvature of the potential (Florin et al., Applied Physics
 * A 66, S75, 1998), in metres by the active method's beta.
 *
 * @return as a setting
 */
ZVK_API int32_t ZVK_ForceCal_UpdatePotCalibration(SessionHandle SessionHandle);

/**
 * Replaces the tables of a path by copies.
 *
 * @param NumberOfBetas, NumberOfKs  types, at least 1
 * @param Beta, K                    three doubles a type: x, y, z; null counts as zeros
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_NOT_INSTALLED
 *         ZVK_FORCECAL_BAD_TYPE_COUNT
 *         ZVK_FORCECAL_BAD_PATH
 *         ZVK_FORCE_NO_MEMORY           the old tables stay
 */
ZVK_API int32_t ZVK_ForceCal_SetCalibration(SessionHandle SessionHandle, int32_t TrapPath,
                                            int32_t NumberOfBetas, int32_t NumberOfKs,
                                            const double *Beta, const double *K);

/**
 * Gives copies of the tables of a path. K 0 to 2 are active or power spectrum, 3 to 5
 * equipartition, 6 to 8 potential.
 *
 * @param NumberOfCalibrationTypesBeta, NumberOfCalibrationTypesK  out: types of three doubles
 * @param Beta, K  in: null or an earlier result, which is freed; out: new arrays; the caller frees
 *                 them
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_NOT_INITIALIZED
 *         ZVK_FORCECAL_NOT_INSTALLED
 *         ZVK_FORCECAL_BAD_PATH
 *         ZVK_FORCE_NO_MEMORY           Beta and K are null
 */
ZVK_API int32_t ZVK_ForceCal_GetCalibration(SessionHandle SessionHandle, int32_t TrapPath,
                                            int32_t *NumberOfCalibrationTypesBeta,
                                            int32_t *NumberOfCalibrationTypesK, double **Beta,
                                            double **K);

/**
 * Writes sixteen text files, a time series and a spectrum for each run. Does not ask whether the
 * module is up. All files are written beside their places first: they change together or not at
 * all, as far as the folder allows.
 *
 * @param FileName  path to which suffixes such as "TDAxdat" are added
 * @return 0, or ZVK_FORCECAL_FILE_FAILED
 */
ZVK_API int32_t ZVK_ForceCal_SaveData(SessionHandle SessionHandle, const char *FileName);

/**
 * Writes the three text files of the sibling kit, "TDdat", "FDdat" and "LSdat", from path A's run
 * without oscillation. No call reads them.
 *
 * @return as ZVK_ForceCal_SaveData
 */
ZVK_API int32_t ZVK_ForceCal_SaveDataRWQS(SessionHandle SessionHandle, const char *FileName);

/**
 * Reads the sixteen files and analyses them anew under the present settings. Runs that hold nothing
 * are marked as empty. Does not ask whether the module is up. Histograms come back only into a
 * container that a run without oscillation has filled in this process, and potentials are not
 * fitted: call ZVK_ForceCal_UpdatePotFits. A load does not tell which axis a run was along either:
 * the active method takes the signal of the run that filled the container in this process, and X
 * where there was none. What a header lacks keeps the value of before, rows that
 * a file lacks are 0; a count above 65536 that is also above the bytes of the file is no count.
 *
 * @return 0, else the first that applies:
 *         ZVK_FORCECAL_FILE_FAILED   one of the files can't be opened; nothing read
 *         ZVK_FORCECAL_NO_TIME_DATA, ZVK_FORCE_NO_MEMORY, ZVK_FORCECAL_SPECTRUM_TOO_LONG
 *                                    from a run's analysis, with the runs behind it not loaded
 */
ZVK_API int32_t ZVK_ForceCal_LoadData(SessionHandle SessionHandle, const char *FileName);

ZVK_EXTERN_C_END

#endif
