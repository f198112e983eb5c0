#ifndef QUORVEX_BEAMPOWER_H
#define QUORVEX_BEAMPOWER_H

/*
 * The beam power adjusters: one a beam path, each driven by one analog output of the second DAQ
 * card (`ao0` for path A, `ao1` for path B). The caller gives a relative power from 0 to 1. It
 * becomes volts by the path's factor SCALE, or by the calibration table in qdmr.bin, where power is
 * interpolated linearly between the entries.
 *
 * Threads: call from one thread at a time. The session value is ignored.
 *
 * `path`, `Path`: 0 for A, 1 for B. Another path gives ZVK_BEAMPOWER_BAD_PATH, and nothing happens.
 * A null output is passed over.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/**
 * Brings up one path: reads its keys, makes its output task, reads its calibration table if there
 * is one, and sets the power to 0 (whether that worked is not reported).
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, else the first that applies:
 *         ZVK_BEAMPOWER_BAD_PATH
 *         ZVK_BEAMEXPANDER_ALREADY_INITIALIZED  warning: the path is up; nothing done
 *         a negative status of ZVK_ConFile_Read  a key of BEAMPOWER 0 or BEAMPOWER 1 is missing
 *         ZVK_BEAMEXPANDER_NOT_FOUND            warning: MI is 0, the path has no adjuster
 *         ZVK_BEAMPOWER_NOT_FOUND               warning: not simulated, and BACKEND is even
 *         a negative status of ZVK_ConFile_Read  a key of SUBDAQ is missing
 *         ZVK_BEAMPOWER_DAQ_FAILED              the task; the driver's text is in log.ini
 *         a negative status of ZVK_ConFile_Read  qdmr.bin is there and has no NUM for the path
 *         ZVK_CONFILE_LOG_FAILED                NUM is negative
 *         a negative status of ZVK_ConFile_Read  a V or P of the table is missing
 *         ZVK_ERROR_NO_MEMORY                   no room for the table
 */
ZVK_API int32_t ZVK_BeamPower_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                                   uint16_t ResetInstrument, int32_t Path);

/**
 * Sets the relative power and waits until the card has taken it, at most 10 s.
 *
 * @param setVal  0.0 to 1.0: relative power. Above 1.0 to 1.01, and 10.0: that many volts as they
 *                stand, whatever the calibration; ZVK_BeamPower_GetPower keeps the former power.
 *                Simulated, any number is kept
 * @return 0, else the first that applies:
 *         ZVK_BEAMPOWER_BAD_PATH
 *         ZVK_BEAMPOWER_OUT_OF_RANGE  warning: any other value, nothing set; captured too
 *         ZVK_BEAMPOWER_NOT_FOUND     warning: no adjuster, not initialized, or BACKEND is even
 *         ZVK_BEAMPOWER_WRITE_FAILED  the former power is kept; the driver's text is in log.ini
 */
ZVK_API int32_t ZVK_BeamPower_SetPower(SessionHandle SessionHandle, int32_t path, double setVal);

/**
 * @param setVal  out: the last relative power that was set
 * @return 0, else the first that applies:
 *         ZVK_BEAMPOWER_BAD_PATH
 *         ZVK_BEAMPOWER_NOT_FOUND  warning: the path is not initialized; nothing written
 */
ZVK_API int32_t ZVK_BeamPower_GetPower(SessionHandle SessionHandle, int32_t path, double *setVal);

/**
 * @param axis    the beam path
 * @param status  out: 1 on hardware, 2 simulated; not written while the path is not initialized
 * @return 0, or ZVK_BEAMPOWER_BAD_PATH
 */
ZVK_API int32_t ZVK_BeamPower_GetInitStatus(SessionHandle vi, int32_t axis, int32_t *status);

/**
 * Sets the power of both paths to 0, path A first, ends their tasks and frees their tables. A path
 * whose BACKEND is not exactly 1 keeps its task.
 *
 * @return 0, or the warning ZVK_BEAMPOWER_NOT_FOUND for the first path that is not simulated and
 *         has no adjuster or is not initialized. That path and what comes behind it are left as
 *         they are: on path A path B stays up, and on either both tables stay
 */
ZVK_API int32_t ZVK_BeamPower_Shutdown(SessionHandle SessionHandle);

ZVK_EXTERN_C_END

#endif
