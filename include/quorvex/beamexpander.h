#ifndef QUORVEX_BEAMEXPANDER_H
#define QUORVEX_BEAMEXPANDER_H

/*
 * The beam expanders: one a beam path, each positioned by a stepper motor on a board of its own
 * behind a serial port. Positions are motor steps, from the hard stop that ZVK_BeamExpander_Reset
 * runs into. The last position stays in config.ini under INITPOS and is trusted at the next start:
 * nothing moves then, and the board's own counter isn't asked. docs/beam-expander.md has the keys
 * and what goes over the wire.
 *
 * A move returns when the board has taken it, not when the motor stands: ask
 * ZVK_BeamExpander_CheckTargetReached. A command that the board refuses goes unnoticed. A reply is
 * waited for until nothing comes for 10 s.
 *
 * A simulated path (the key SIMULATE isn't 0) keeps positions and touches no board.
 *
 * Threads: call from one thread at a time. The session value is ignored.
 *
 * `path`, `Path`, `axis`: 0 for A, 1 for B. Another path gives ZVK_BEAMEXPANDER_BAD_PATH, and
 * nothing happens. A null output is passed over.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/**
 * Brings up one path: reads its keys, finds its board among the first two ports named "TRINAMIC",
 * and sets the board's currents, speed, ramp and acceleration. A port that is found open is opened
 * anew. After a failure the port that was tried stays open, and the call may be repeated.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, also when MI is 0 and the path stays down; else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_ALREADY_INITIALIZED   warning: the path is up; nothing done
 *         a negative status of ZVK_ConFile_Read  a key of BE 0 or BE 1 is missing
 *         ZVK_BEAMEXPANDER_PORT_FAILED           a port didn't open, its error is in log.ini; the
 *                                                next port isn't tried, here as below
 *         ZVK_BEAMEXPANDER_NO_REPLY              a port answered fewer than nine bytes
 *         ZVK_BEAMEXPANDER_BAD_CHECKSUM          a port's reply is damaged
 *         ZVK_BEAMEXPANDER_BAD_EEPROM_VALUE      a board belongs to neither path
 *         ZVK_BEAMEXPANDER_NOT_FOUND             warning: no board of this path, or BACKEND isn't
 *                                                1; the path stays down
 */
ZVK_API int32_t ZVK_BeamExpander_Init(SessionHandle vi, uint16_t IDQuery, uint16_t ResetInstrument,
                                      int32_t Path);

/**
 * @param axis    the beam path
 * @param status  out: 0 while the path is down, else 1 plus the key SIMULATE
 * @return 0, or ZVK_BEAMEXPANDER_BAD_PATH
 */
ZVK_API int32_t ZVK_BeamExpander_GetInitStatus(SessionHandle vi, int32_t axis, int32_t *status);

/**
 * @param cwLimit, ccwLimit  out: largest and smallest position, in steps
 * @return 0, else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_NOT_FOUND  warning: the path is down; nothing written
 */
ZVK_API int32_t ZVK_BeamExpander_GetLimits(SessionHandle vi, int32_t path, int32_t *cwLimit,
                                           int32_t *ccwLimit);

/**
 * @param pos  out: position in steps, that of the last move's target
 * @return 0, on a path last read as simulated also while it is down; else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_NOT_FOUND  warning: the path is down; nothing written
 */
ZVK_API int32_t ZVK_BeamExpander_GetPosition(SessionHandle vi, int32_t path, int32_t *pos);

/**
 * @param Speed  out: the speed last set, in the board's unit; 80 after the start
 * @return 0, else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_NOT_FOUND  warning: the path is down; nothing written
 */
ZVK_API int32_t ZVK_BeamExpander_GetSpeed(SessionHandle Vi, int32_t Path, int32_t *Speed);

/**
 * Sets the speed of moves. Whether the board took it is not told. A simulated path has no highest
 * speed and so refuses every one.
 *
 * @param Speed  1 to 2047, in the board's unit
 * @return 0, else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_NOT_FOUND  warning: the path is down
 *         ZVK_BEAMEXPANDER_BAD_SPEED  warning: out of range; the former speed stays
 */
ZVK_API int32_t ZVK_BeamExpander_SetSpeed(SessionHandle Vi, int32_t Path, int32_t Speed);

/**
 * Asks the board whether the motor stands at its target.
 *
 * @param Status  out: 1 there, 0 still moving; 1 at once on a path last read as simulated. Left
 *                alone on failure
 * @return 0, else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_NOT_FOUND     warning: the path is down
 *         ZVK_BEAMEXPANDER_NO_REPLY
 *         ZVK_BEAMEXPANDER_BAD_CHECKSUM
 */
ZVK_API int32_t ZVK_BeamExpander_CheckTargetReached(SessionHandle Vi, int32_t Path,
                                                    int32_t *Status);

/**
 * Moves to a position, which goes into config.ini on a board, but not on a simulated path.
 *
 * @param pos  steps; both limits are allowed
 * @return 0, also without effect on a path that is down; else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_OUT_OF_RANGE  warning: beyond a limit, or farther off than a move can
 *                                        tell; nothing moves
 *         ZVK_BEAMEXPANDER_NO_REPLY      the old position is kept, although the motor may move
 *         ZVK_BEAMEXPANDER_BAD_CHECKSUM  likewise
 */
ZVK_API int32_t ZVK_BeamExpander_SetPosition(SessionHandle vi, int32_t path, int32_t pos);

/**
 * Moves by a number of steps. The new position goes into config.ini, on a simulated path too.
 *
 * @param Dir    factor of Steps, 1 up or -1 down
 * @param Steps  steps; the target must lie inside the limits, which are not allowed themselves
 * @return 0, also without effect when BACKEND isn't 1; else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_NOT_FOUND     warning: the path is down
 *         ZVK_BEAMEXPANDER_OUT_OF_RANGE  warning: at or beyond a limit; nothing moves
 *         ZVK_BEAMEXPANDER_NO_REPLY      the old position is kept, although the motor may move
 *         ZVK_BEAMEXPANDER_BAD_CHECKSUM  likewise
 */
ZVK_API int32_t ZVK_BeamExpander_MoveRelative(SessionHandle Vi, int32_t Path, int32_t Dir,
                                              int32_t Steps);

/**
 * Moves both paths by the same number of steps and starts both motors before either board's answer
 * is read.
 *
 * @param Dir, Steps  as with ZVK_BeamExpander_MoveRelative
 * @return 0, also without effect when a path is simulated or path A's BACKEND isn't 1; else the
 *         first that applies:
 *         ZVK_BEAMEXPANDER_NOT_FOUND     warning: a path is down
 *         ZVK_BEAMEXPANDER_OUT_OF_RANGE  warning: on either path; nothing moves
 *         ZVK_BEAMEXPANDER_NO_REPLY      of either board, path A's told first; both old positions
 *                                        are kept, although the motors may move
 *         ZVK_BEAMEXPANDER_BAD_CHECKSUM  likewise
 */
ZVK_API int32_t ZVK_BeamExpander_MoveRelativeSync(SessionHandle Vi, int32_t Dir, int32_t Steps);

/**
 * Moves to the middle between the limits, rounded towards the upper one.
 *
 * @return 0, also without effect on a path that is down; else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         a status of ZVK_BeamExpander_SetPosition, a warning being captured too
 */
ZVK_API int32_t ZVK_BeamExpander_Center(SessionHandle vi, int32_t path);

/**
 * Finds the true zero: runs the motor into its stop for the seconds of the key INISEC, calls that
 * position 0, and moves to the middle. The call takes that long; whether the last move was taken is
 * not told.
 *
 * @return 0, also without effect on a path that is simulated or down, or whose BACKEND isn't 1;
 *         else the first that applies:
 *         ZVK_BEAMEXPANDER_BAD_PATH
 *         ZVK_BEAMEXPANDER_NO_REPLY      when the position is read back; the old one is kept
 *         ZVK_BEAMEXPANDER_BAD_CHECKSUM  likewise
 */
ZVK_API int32_t ZVK_BeamExpander_Reset(SessionHandle vi, int32_t path);

/**
 * Takes both paths down, path A first. The ports of boards are closed and the positions written to
 * config.ini; motors that still run come to their targets.
 *
 * @return 0
 */
ZVK_API int32_t ZVK_BeamExpander_Shutdown(SessionHandle vi);

ZVK_EXTERN_C_END

#endif
