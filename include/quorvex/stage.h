#ifndef QUORVEX_STAGE_H
#define QUORVEX_STAGE_H

/*
 * The sample stage: a piezo stage of up to three axes, on a controller over TCP, on two analog
 * outputs of the second card, on both, or simulated. Positions are in stage units, micrometres by
 * custom, from the middle of the travel.
 *
 * Threads: call from any thread; calls wait for each other. The session value goes to the log and
 * is otherwise ignored. A null output is passed over. An axis outside 0 to 2 keeps nothing,
 * whatever the status.
 *
 * A call that the controller refuses has the controller's own words in "log.ini".
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/**
 * Reads the keys of section STAGE and brings up the back-ends that BACKEND names: 1 the controller,
 * 16 the outputs. On the controller the servos come on, oscillations end, and the middle of the
 * travel becomes the origin. What the controller refuses on the way is logged and the work goes on.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, else the first that applies:
 *         ZVK_STAGE_ALREADY_INITIALIZED  warning: nothing done
 *         ZVK_STAGE_BAD_CONFIGURATION    a key is missing
 *         ZVK_STAGE_NOT_INSTALLED        warning: MI is 0
 *         ZVK_STAGE_DAQ_FAILED           the card refused a task; logged
 *         a negative status of ZVK_ConFile_Read for the card's name, or of the driver
 *         ZVK_STAGE_NO_MEMORY
 *         ZVK_STAGE_NOT_FOUND            warning: the outputs are up and there is no controller
 *         ZVK_STAGE_CONNECT_FAILED
 *         ZVK_STAGE_NOT_SUPPORTED        command set below 2.0; counts as initialized, and
 *                                        ZVK_Stage_Reset tries again
 */
ZVK_API int32_t ZVK_Stage_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                               uint16_t ResetInstrument);

/**
 * @param status  out: 1 up, 2 simulated, 0 not up, -1 not installed
 * @return 0 when it is up, ZVK_STAGE_NOT_INSTALLED, or ZVK_STAGE_INIT_FAILED
 */
ZVK_API int32_t ZVK_Stage_GetInitStatus(SessionHandle vi, int32_t *status);

/**
 * Moves all axes to the middle of their travel: on the controller three axes, without those that
 * oscillate; on the outputs both, which ends their oscillation.
 *
 * @return 0, else the first that applies:
 *         ZVK_STAGE_NOT_FOUND    not initialized
 *         ZVK_STAGE_MOVE_FAILED  the controller refused an axis; those before have moved
 *         ZVK_STAGE_NO_MEMORY
 *         the driver's code of the write
 */
ZVK_API int32_t ZVK_Stage_Center(SessionHandle Vi);

/**
 * Moves an axis. The outputs jump at once; the controller travels, and ZVK_Stage_CheckMoveStatus
 * tells when it has arrived. An output that oscillates is moved and shaken on.
 *
 * @param axis      0 to 2
 * @param position  stage units, clamped to the limits; simulated, any value is taken
 * @return 0, else the first that applies:
 *         ZVK_STAGE_NOT_FOUND          not initialized
 *         ZVK_STAGE_BAD_AXIS
 *         ZVK_STAGE_OSCILLATION_RANGE  the oscillation would leave the range; nothing moved
 *         ZVK_STAGE_OUT_OF_RANGE       moved to the limit, or the oscillation did not start again
 *         ZVK_STAGE_OSCILLATING        warning: it oscillates on the controller; nothing moved
 *         ZVK_STAGE_MOVE_FAILED        the controller refused
 */
ZVK_API int32_t ZVK_Stage_MoveAbsolute(SessionHandle SessionHandle, int32_t axis, double position);

/**
 * Moves an axis by a step. A step that leads out of the range ends 0.1 inside of it; the position
 * kept above the upper limit is the limit plus 0.1.
 *
 * @param axis      0 to 2
 * @param stepSize  stage units
 * @return 0, else the first that applies:
 *         ZVK_STAGE_NOT_FOUND    not initialized
 *         ZVK_STAGE_OSCILLATING  warning: nothing moved
 *         ZVK_STAGE_NOT_FOUND    no back-end
 *         ZVK_STAGE_BAD_AXIS
 *         ZVK_STAGE_OUT_OF_RANGE moved to 0.1 inside the limit
 *         ZVK_STAGE_MOVE_FAILED  the controller refused
 *         else a status of ZVK_Stage_MoveAbsolute
 */
ZVK_API int32_t ZVK_Stage_MoveRelative(SessionHandle SessionHandle, int32_t axis, double stepSize);

/**
 * Reads where an axis is: by the outputs where they are there, else by the controller.
 *
 * @param position  out: stage units
 * @return 0, else the first that applies:
 *         ZVK_STAGE_NOT_FOUND    not initialized, or no back-end
 *         ZVK_STAGE_BAD_AXIS
 *         the driver's code      the outputs could not be read back
 *         ZVK_STAGE_NO_POSITION  the controller refused
 */
ZVK_API int32_t ZVK_Stage_GetPosition(SessionHandle SessionHandle, int32_t axis, double *position);

/**
 * Sets the speed of an axis: 0.1 to 1500 on the controller, 0.05 to 1500 on the outputs, which do
 * not use it; any value simulated.
 *
 * @param RequestedVelocity  stage units per second, clamped
 * @param NewVelocity        out: what was set
 * @return 0, else the first that applies:
 *         ZVK_STAGE_NOT_FOUND     not initialized
 *         ZVK_STAGE_BAD_AXIS
 *         ZVK_STAGE_BAD_VELOCITY  the controller refused, or no back-end
 */
ZVK_API int32_t ZVK_Stage_SetSpeed(SessionHandle SessionHandle, int32_t axis,
                                   double RequestedVelocity, double *NewVelocity);

/**
 * @param Speed  out: three doubles, stage units per second: 1500, or 1000 simulated
 * @return 0, or ZVK_STAGE_NOT_FOUND (not initialized, or no controller)
 */
ZVK_API int32_t ZVK_Stage_GetMaxSpeed(SessionHandle SessionHandle, double *Speed);

/**
 * @param Axis      0 to 2; 3 passes and has no travel
 * @param Min, Max  out: limits, stage units
 * @return 0, else ZVK_STAGE_NOT_FOUND (not initialized), ZVK_STAGE_BAD_AXIS, in this order
 */
ZVK_API int32_t ZVK_Stage_GetMinMaxPosition(SessionHandle SessionHandle, int32_t Axis, double *Min,
                                            double *Max);

/**
 * @param MoveStatus  out: 1 when all axes have arrived, else 0; simulated 1; untouched without a
 *                    controller
 * @return 0, or ZVK_STAGE_NOT_FOUND (not initialized)
 */
ZVK_API int32_t ZVK_Stage_CheckMoveStatus(SessionHandle SessionHandle, uint16_t *MoveStatus);

/**
 * Takes the stage down and brings it up again, after a lost connection too.
 *
 * @return 0, or ZVK_STAGE_INIT_FAILED for any other result of ZVK_Stage_Init, also for the warning
 *         of a stage on outputs alone, which is up then
 */
ZVK_API int32_t ZVK_Stage_Reset(SessionHandle SessionHandle);

/**
 * Stops all axes and closes the connection; without a controller it ends the outputs' tasks, which
 * takes a second.
 *
 * @return 0, or ZVK_STAGE_NOT_FOUND (no back-end)
 */
ZVK_API int32_t ZVK_Stage_Shutdown(SessionHandle SessionHandle);

/**
 * Shakes an axis by a sine about its position. On the outputs one period of amplitude * 4 / step
 * size samples is played over and over, and the other output stands still; on the controller its
 * wave generator runs.
 *
 * @param axis       0 to 2; 0 or 1 on the outputs
 * @param amplitude  stage units, half of the travel from end to end
 * @param frequency  hertz
 * @return 0, else the first that applies:
 *         ZVK_STAGE_NOT_FOUND      not initialized
 *         ZVK_STAGE_BAD_AMPLITUDE  warning: it would leave the limits, or the outputs' 0 to 10 V;
 *                                  also for an axis that has no output
 *         the driver's code        the card refused
 *         ZVK_STAGE_NO_MEMORY
 *         ZVK_STAGE_BAD_AXIS       the controller has no such axis
 *         ZVK_STAGE_NOT_FOUND      the generator did not start, or no back-end
 */
ZVK_API int32_t ZVK_Stage_StartOscillation(SessionHandle SessionHandle, int32_t axis,
                                           double amplitude, int32_t frequency);

/**
 * Ends the oscillation of an axis and goes back to its position.
 *
 * @return 0, else the first that applies:
 *         ZVK_STAGE_NOT_FOUND    not initialized
 *         ZVK_STAGE_DAQ_FAILED   the outputs' clock could not be set again; logged
 *         the driver's code      the card refused
 *         ZVK_STAGE_NO_MEMORY
 *         ZVK_STAGE_MOVE_FAILED  the generator could not be stopped
 */
ZVK_API int32_t ZVK_Stage_StopOscillation(SessionHandle SessionHandle, int32_t axis);

/**
 * Sets the distance between two samples of the next oscillation of an output.
 *
 * @param Axis      0 or 1; any other keeps nothing
 * @param StepSize  stage units; 0 makes the next oscillation fail
 * @return 0, or ZVK_STAGE_NOT_FOUND (not initialized)
 */
ZVK_API int32_t ZVK_Stage_DaqSetStepSize(SessionHandle SessionHandle, int32_t Axis,
                                         double StepSize);

ZVK_EXTERN_C_END

#endif
