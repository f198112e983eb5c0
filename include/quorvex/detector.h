#ifndef QUORVEX_DETECTOR_H
#define QUORVEX_DETECTOR_H

/*
 * The position detectors: one a beam path, each with an amplifier of switchable gain. A helper
 * program, dkl.exe in the instrument's folder, speaks to the amplifiers; it is started here and
 * gets its orders as the registered message "DKLEVENT" (quorvex/messages.h). Nothing comes back
 * from it: all orders go out blind.
 *
 * Threads: call from one thread at a time. The session value is ignored.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/**
 * Reads section FORCE of config.ini. Unless that says that there is no detector (MI 0) or that they
 * are simulated, it starts the helper program, waits a second for it to be ready, names both
 * detectors to it and sets both gains to 10. There is no test for a second call: it runs again, and
 * starts the program again.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, else the first that applies:
 *         a negative status of ZVK_ConFile_Read  a key is missing
 *         ZVK_ERROR_NO_MEMORY                    no room for the program's path
 *         -1  the helper program isn't there
 *         -2  it is no program, or the user may not run it
 *         -3  it could not be started for another reason
 *         the status of the first gain of B, else of A, that failed; with it the warning
 *         ZVK_DETECTOR_B_NO_REPLY or ZVK_DETECTOR_A_NO_REPLY is captured and that detector is
 *         out of use
 */
ZVK_API int32_t ZVK_Detector_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                                  uint16_t ResetInstrument);

/**
 * Sets the gain of one detector. Whether the amplifier has taken it is not known.
 *
 * @param Path  0 for A, 1 for B
 * @param Gain  1, 10 or 100
 * @return 0, else the first that applies:
 *         ZVK_DETECTOR_BAD_PATH
 *         ZVK_DETECTOR_NOT_INITIALIZED  the path has no detector in working order
 *         ZVK_DETECTOR_BAD_GAIN         warning: another gain; nothing changed
 */
ZVK_API int32_t ZVK_Detector_SetGain(SessionHandle Vi, int32_t Path, int32_t Gain);

/**
 * Orders the helper program to end, and puts both detectors out of use. Does nothing when the
 * program was not started here, as in simulation.
 *
 * @return 0
 */
ZVK_API int32_t ZVK_Detector_Shutdown(SessionHandle SessionHandle);

ZVK_EXTERN_C_END

#endif
