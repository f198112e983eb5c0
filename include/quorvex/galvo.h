#ifndef QUORVEX_GALVO_H
#define QUORVEX_GALVO_H

/*
 * The galvo mirrors: one pair a beam path, driven by two analog outputs each. A path visits its
 * list of waypoints over and over, so that one beam holds several traps. Everything here is in
 * volts.
 *
 * One block of samples is played after the other at the clock rate. A block has N samples for each
 * of the four outputs (path A X, path A Y, path B X, path B Y, one after the other). With n
 * waypoints on a path each gets N / n of them, in whole samples.
 *
 * Threads: call from any thread. Calls that change waypoints wait for each other; reading calls
 * wait only while arrays are being exchanged. ZVK_GALVO_BUFFER_IN_USE (609) means that the output
 * event is advancing moving waypoints right now: repeat the call.
 *
 * `path`, `Path`: 0 for A, 1 for B. The session value is ignored. A null output is passed over.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/**
 * Brings up both paths, each with one waypoint at its centre, and starts the output. The mirrors
 * stand at 0 V until the first call that rebuilds samples, although the waypoints report the
 * centre.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0 at once when either path is up already, else the first that applies:
 *         a negative status of ZVK_ConFile_Read   a key of GALVO 0 or GALVO 1 is missing
 *         ZVK_GALVO_NO_MEMORY                     no room for a waypoint list
 *         a negative status of ZVK_Galvo_DaqInit  both paths stay initialized
 *         ZVK_GALVO_NEW_BUFFER_FAILED             the first block could not be written
 *         else the result of ZVK_Galvo_DaqInit
 */
ZVK_API int32_t ZVK_Galvo_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                               uint16_t ResetInstrument);

/**
 * @param status  out: 1 from ZVK_Galvo_Init to ZVK_Galvo_Shutdown, else 0
 * @return 0, or ZVK_GALVO_BAD_PATH
 */
ZVK_API int32_t ZVK_Galvo_GetInitStatus(SessionHandle vi, int32_t path, int32_t *status);

/**
 * Appends a waypoint that stands at a position, with a speed of 1 V/s, rebuilds all samples of the
 * path and hands them to the card (at most 5 s; a refusal is not reported). The position is not
 * clamped: ZVK_Trap_Add clamps before it calls. The path need not be initialized.
 *
 * @param Wp    out: the new number of waypoints; the index of the new one is one less
 * @param X, Y  volts
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_BUFFER_IN_USE  repeat the call
 *         ZVK_GALVO_NO_MEMORY      nothing added; updates and writes rest until a later call
 * succeeds
 */
ZVK_API int32_t ZVK_Galvo_AddWaypoint(SessionHandle Vi, int32_t Path, int32_t *Wp, double X,
                                      double Y);

/**
 * Removes a waypoint; later ones move down one index. Samples as in ZVK_Galvo_AddWaypoint.
 *
 * @param Wp  index; the number of waypoints itself is taken too, and removes the last one
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_OUT_OF_RANGE   Wp below 0 or above the number of waypoints
 *         ZVK_GALVO_NO_WAYPOINT    the last waypoint of a path stays
 *         ZVK_GALVO_BUFFER_IN_USE  repeat the call
 *         ZVK_GALVO_NO_MEMORY      nothing removed; updates and writes rest until a later call
 * succeeds
 */
ZVK_API int32_t ZVK_Galvo_RemoveWaypoint(SessionHandle Vi, int32_t Path, int32_t Wp);

/**
 * Jumps one waypoint to a position and hands the samples to the card (at most 5 s; a refusal is not
 * reported). A trajectory that runs goes on running and overwrites the jump.
 *
 * @param posX, posY  volts, clamped to the limits
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_NOT_CONFIGURED  the path is not initialized
 *         ZVK_GALVO_OUT_OF_RANGE    no such waypoint
 *         ZVK_GALVO_BUFFER_IN_USE   repeat the call
 *         ZVK_GALVO_CLAMPED         warning: done, at the limit
 */
ZVK_API int32_t ZVK_Galvo_SetPosition(SessionHandle SessionHandle, int32_t path, int32_t wp,
                                      double posX, double posY);

/**
 * Jumps all waypoints of a path and drops their trajectories; move modes stay. In simulation no
 * samples are rebuilt, and updates rest until the next call that changes waypoints.
 *
 * @param numberOfPos             must be the number of waypoints
 * @param posArrayX, posArrayY    in and out, numberOfPos volts each: clamped values come back
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_OUT_OF_RANGE       numberOfPos is another number, or an array is null
 *         ZVK_GALVO_NOT_CONFIGURED     the path is not initialized
 *         ZVK_GALVO_BUFFER_IN_USE      repeat the call
 *         ZVK_GALVO_NO_MEMORY          the waypoints so far are placed
 *         ZVK_GALVO_NEW_BUFFER_FAILED  there is no output to write to
 *         ZVK_GALVO_CLAMPED            warning: done, some at a limit
 */
ZVK_API int32_t ZVK_Galvo_SetPositionAll(SessionHandle SessionHandle, int32_t path,
                                         int32_t numberOfPos, double *posArrayX, double *posArrayY);

/**
 * Moves one waypoint on a straight line at its speed: builds the line and sets move mode 1. The
 * move happens block by block; its target is clamped to the limits without a word.
 *
 * @param xPos, yPos  volts
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_NOT_CONFIGURED  the path is not initialized
 *         ZVK_GALVO_OUT_OF_RANGE    no such waypoint; nothing changed
 */
ZVK_API int32_t ZVK_Galvo_SetPositionTarget(SessionHandle SessionHandle, int32_t path, int32_t wp,
                                            double xPos, double yPos);

/**
 * Where a waypoint is now. During a move the values change once a block.
 *
 * @param posX, posY  out: volts
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_OUT_OF_RANGE (no such waypoint)
 */
ZVK_API int32_t ZVK_Galvo_GetPositionCurrent(SessionHandle SessionHandle, int32_t path, int32_t wp,
                                             double *posX, double *posY);

/**
 * Where a waypoint was last asked to go, before any clamping of a move.
 *
 * @param PosX, PosY  out: volts
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_OUT_OF_RANGE (no such waypoint)
 */
ZVK_API int32_t ZVK_Galvo_GetPositionTarget(SessionHandle SessionHandle, int32_t Path, int32_t Wp,
                                            double *PosX, double *PosY);

/**
 * Sets the speed of the next trajectory that is built; one that runs keeps its timing. Any value is
 * taken; at 0 a move stands.
 *
 * @param speed  volts per second
 * @return 0, also on a path that is not initialized, where nothing is stored (any waypoint will do
 *         when it has none); else the first that applies: ZVK_GALVO_BAD_PATH,
 * ZVK_GALVO_OUT_OF_RANGE (no such waypoint)
 */
ZVK_API int32_t ZVK_Galvo_SetSpeed(SessionHandle vi, int32_t path, int32_t wp, double speed);

/**
 * @param mode  ZVK_MOVE_ONCE, ZVK_MOVE_BACK_AND_FORTH or ZVK_MOVE_STAND
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_BAD_MOVE_MODE  nothing stored
 *         ZVK_GALVO_OUT_OF_RANGE   no such waypoint
 */
ZVK_API int32_t ZVK_Galvo_SetMoveType(SessionHandle vi, int32_t path, int32_t wp, int32_t mode);

/**
 * @param MoveType  out: the move mode; it falls to ZVK_MOVE_STAND when a single run ends
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_OUT_OF_RANGE (no such waypoint)
 */
ZVK_API int32_t ZVK_Galvo_GetMoveType(SessionHandle Vi, int32_t Path, int32_t Waypoint,
                                      int32_t *MoveType);

/**
 * Sets the limits of a path in memory. They are not checked against each other, and positions
 * already set are not touched. Wrong limits can damage the mirrors.
 *
 * @param xMin, xMax, yMin, yMax  volts
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_NOT_CONFIGURED (the path is not initialized)
 */
ZVK_API int32_t ZVK_Galvo_SetLimits(SessionHandle SessionHandle, int32_t path, double xMin,
                                    double xMax, double yMin, double yMax);

/**
 * @param xMin, xMax, yMin, yMax  out: volts
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_NOT_CONFIGURED (the path is not initialized)
 */
ZVK_API int32_t ZVK_Galvo_GetLimits(SessionHandle SessionHandle, int32_t path, double *xMin,
                                    double *xMax, double *yMin, double *yMax);

/**
 * Sets the centre of a path in memory, clamped to the limits. The path need not be initialized.
 *
 * @param xoff, yoff  volts
 * @return 0, else ZVK_GALVO_BAD_PATH, or the warning ZVK_GALVO_CLAMPED: done, at the limit
 */
ZVK_API int32_t ZVK_Galvo_SetOffset(SessionHandle SessionHandle, int32_t path, double xoff,
                                    double yoff);

/**
 * @param Xoff, Yoff  out: the centre, volts
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_NOT_CONFIGURED (the path is not initialized)
 */
ZVK_API int32_t ZVK_Galvo_GetOffset(SessionHandle SessionHandle, int32_t Path, double *Xoff,
                                    double *Yoff);

/**
 * Writes a centre to config.ini, OFFSETX first. The centre in use is not changed.
 *
 * @param Xoff, Yoff  volts
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_NOT_CONFIGURED (the path is not initialized), or
 * the negative status of ZVK_ConFile_Write
 */
ZVK_API int32_t ZVK_Galvo_SaveOffset(SessionHandle SessionHandle, int32_t Path, double Xoff,
                                     double Yoff);

/**
 * Reads the centre that config.ini holds. The centre in use is not changed.
 *
 * @param Xoff, Yoff  out: volts
 * @return 0, else ZVK_GALVO_BAD_PATH, ZVK_GALVO_NOT_CONFIGURED (the path is not initialized), or
 * the negative status of ZVK_ConFile_Read
 */
ZVK_API int32_t ZVK_Galvo_LoadOffset(SessionHandle SessionHandle, int32_t Path, double *Xoff,
                                     double *Yoff);

/**
 * Stops the output and frees all waypoints. On hardware it waits a second for the card to settle.
 * Both paths can be brought up again.
 *
 * @return 0
 */
ZVK_API int32_t ZVK_Galvo_Shutdown(SessionHandle SessionHandle);

/**
 * Replaces the whole waypoint list of a path and rebuilds its samples. They reach the card with the
 * next ZVK_Galvo_WriteBuffer or output event.
 *
 * @param NumOfWP     number of waypoints, entries of each array
 * @param xpos, ypos  in and out, volts: clamped values come back
 * @param speeds      volts per second, unchecked
 * @param moveMode    unchecked; anything but 1 and 2 stands
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_NO_WAYPOINT    NumOfWP below 1, or an array is null
 *         ZVK_GALVO_BUFFER_IN_USE  repeat the call
 *         ZVK_GALVO_NO_MEMORY      the path has no waypoint now; configure it again
 *         ZVK_GALVO_CLAMPED        warning: done, some at a limit
 */
ZVK_API int32_t ZVK_Galvo_BufferConfigure(SessionHandle SessionHandle, int32_t path,
                                          int32_t NumOfWP, double *xpos, double *ypos,
                                          const double *speeds, const int32_t *moveMode);

/**
 * Copies the sample block.
 *
 * @param buffer      out: room for bufferSize volts, grouped by output
 * @param bufferSize  at least 4 N (ZVK_Galvo_GetBufferParameters); of a larger room 4 N are filled
 * @return 0, else ZVK_GALVO_OUT_OF_RANGE (bufferSize below 4 N), ZVK_GALVO_NOT_CONFIGURED (there
 * are no samples, or buffer is null)
 */
ZVK_API int32_t ZVK_Galvo_GetBuffer(SessionHandle SessionHandle, double *buffer,
                                    int32_t bufferSize);

/**
 * Reads section MAINDAQ of config.ini and starts the output: on hardware a continuous task over
 * four outputs, in simulation a timer of 0.5 s. ZVK_Galvo_Init calls it with 1.
 *
 * @param autoUpdate  1: each output event (any value but 0 in simulation: each tick) advances
 * moving waypoints and sends a block. Else the caller feeds the output itself
 * @return 0, else the first that applies:
 *         ZVK_GALVO_DAQ_ALREADY_INITIALIZED      warning: nothing done
 *         a negative status of ZVK_ConFile_Read  a key of MAINDAQ is missing
 *         ZVK_GALVO_NOT_CONFIGURED               on hardware: BACKEND is even
 *         ZVK_GALVO_DAQ_FAILED                   task, channels, clock or start; the driver's
 *                                                text is in log.ini
 *         the driver's negative code             an attribute, the buffer size or the first
 *                                                write. A card on the bus that does not know
 *                                                the size of a USB request ends here
 *         ZVK_GALVO_NO_MEMORY                    no room for the samples
 */
ZVK_API int32_t ZVK_Galvo_DaqInit(SessionHandle SessionHandle, int32_t autoUpdate);

/**
 * Sends the sample block to the card, at most 10 s; a refusal is not reported. Nothing is sent in
 * simulation.
 *
 * @return 0, else the first that applies:
 *         ZVK_GALVO_NOT_CONFIGURED  the output is not up
 *         ZVK_GALVO_NOT_READY       a rebuild or an update is under way: repeat the call
 */
ZVK_API int32_t ZVK_Galvo_WriteBuffer(SessionHandle SessionHandle);

/**
 * Stops the output, on hardware with a second for the card to settle. Waypoints stay.
 *
 * @return 0
 */
ZVK_API int32_t ZVK_Galvo_DaqStop(SessionHandle Vi);

/**
 * Builds the task anew with or without output events. Without them the caller has to feed the
 * output by ZVK_Galvo_WriteBuffer. In simulation a running timer ticks on even with 0.
 *
 * @param onOff  autoUpdate of ZVK_Galvo_DaqInit, whose result is not passed on
 * @return 0, or ZVK_GALVO_NOT_CONFIGURED (the output is not up)
 */
ZVK_API int32_t ZVK_Galvo_DaqClkUpdate(SessionHandle SessionHandle, int32_t onOff);

/**
 * @param clockRate  out: samples per second of each output
 * @param buffSize   out: 4 N, the samples of a block
 * @return 0
 */
ZVK_API int32_t ZVK_Galvo_GetBufferParameters(SessionHandle SessionHandle, int32_t *clockRate,
                                              int32_t *buffSize);

/**
 * @param writeStatus  out: 1 once the samples have been handed to the output, 0 while they have not
 * @return 0
 */
ZVK_API int32_t ZVK_Galvo_GetBufferWriteStatus(SessionHandle SessionHandle, int32_t *writeStatus);

/**
 * Builds the trajectory of a waypoint from a polyline at the waypoint's speed. It stands idle until
 * ZVK_Galvo_SetMoveType sets mode 1 or 2.
 *
 * A straight segment has points 0.0008 V times the number of waypoints apart, held for as many
 * samples as the speed asks for; where that would need more points than samples, steps grow
 * instead. A sine has a point for each sample.
 *
 * @param steps           points, at least 2
 * @param posX, posY      in and out, volts: points after the first are clamped to the limits in
 * place
 * @param ResultingSpeed  out: V/s of the first segment as counted over all samples of the clock, so
 *                        the number of waypoints times the trap's own; infinite when steps had to
 * grow
 * @param WaveForm        ZVK_WAVEFORM_LINEAR (also 3 and 4) or ZVK_WAVEFORM_SINE; any other value
 *                        gives the first point alone
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_TOO_FEW_POINTS  steps below 2, or an array is null
 *         ZVK_GALVO_NOT_CONFIGURED  the path is not initialized
 *         ZVK_GALVO_BUFFER_IN_USE   repeat the call
 *         ZVK_GALVO_OUT_OF_RANGE    no such waypoint; writes are refused until another call that
 *                                   changes waypoints succeeds
 *         ZVK_GALVO_NO_MEMORY       the old trajectory stays
 *         ZVK_GALVO_CLAMPED, ZVK_GALVO_SPEED_LIMIT  warnings, the one raised last: done
 */
ZVK_API int32_t ZVK_Galvo_SetTrajectory(SessionHandle vi, int32_t path, int32_t wp, int32_t steps,
                                        double *posX, double *posY, double *ResultingSpeed,
                                        int32_t WaveForm);

/**
 * Copies the points of a trajectory, first to last. A trajectory that runs jumps to its end: ask
 * for those of waypoints that stand.
 *
 * @param NumTrajPoints  out: number of points
 * @param X, Y           out: tables of that many volts from malloc; the caller frees them. What
 * they pointed to before is not freed
 * @return 0, else the first that applies:
 *         ZVK_GALVO_BAD_PATH
 *         ZVK_GALVO_OUT_OF_RANGE  no such waypoint, or X or Y is null
 *         ZVK_GALVO_NO_MEMORY     both tables are null
 */
ZVK_API int32_t ZVK_Galvo_GetTrajectory(SessionHandle Vi, int32_t Path, int32_t Wp,
                                        int32_t *NumTrajPoints, double **X, double **Y);

ZVK_EXTERN_C_END

#endif
