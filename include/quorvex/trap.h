#ifndef QUORVEX_TRAP_H
#define QUORVEX_TRAP_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/*
 * Traps: named points on a beam path, each held by a waypoint of the galvo module. A path's list
 * runs from the newest trap to the oldest.
 *
 * A trap is told by its index, the second of the calendar at which it was made. Traps made within
 * one second share an index, and every call finds the newest of them: a client that needs distinct
 * traps waits a second between two of them.
 *
 * The set position and the move are two steps: ZVK_Trap_SetPosition only stores a position, and
 * ZVK_Trap_MoveToSetPosition or ZVK_Trap_GotoSetPosition takes the trap there.
 *
 * Every call may come from any thread but the output event's. Calls that make, delete or steer
 * traps wait for each other; where the galvo module's sample buffer is in use they try again,
 * without a limit in time. A null output is passed over; tables and values that go in and come
 * back must be there. Where a call is refused, nothing is written or changed unless it says so.
 */

/**
 * Gives a path a new list of one trap at the place where the mirrors are, waypoint 0, at 1 V/s.
 * Brings the galvo module up if it isn't, and reads the mirrors' limits and centre of the path from
 * "GALVO 0" or "GALVO 1" of config.ini. The path's old list goes in any case; after a failure it is
 * empty.
 *
 * @param SessionHandle  session value, handed on
 * @param id_query       handed on
 * @param reset_instr    handed on
 * @param Path           beam path, 0 for A, 1 for B
 * @param Label          the trap's name; its first 256 characters are kept. Null: no name
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH         no such path; nothing changed
 *         ZVK_TRAP_NO_MEMORY        no room for the trap
 *         any negative status of ZVK_Galvo_Init
 *         ZVK_CONFILE_NOT_READABLE  config.ini can't be read
 *         ZVK_CONFILE_NOT_FOUND     one of MINX, MAXX, MINY, MAXY, OFFSETX, OFFSETY is missing
 *                                   or isn't a number
 */
ZVK_API int32_t ZVK_Trap_Init(SessionHandle SessionHandle, uint16_t id_query, uint16_t reset_instr,
                              int32_t Path, const char *Label);

/**
 * Shuts the galvo module down and frees the lists of both paths, whatever state they are in.
 *
 * @param SessionHandle  session value, handed on
 * @return 0
 */
ZVK_API int32_t ZVK_Trap_Shutdown(SessionHandle SessionHandle);

/**
 * Tells whether a path has traps, and the newest of them.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param status         out: 1, or 0 when the list is empty
 * @param index          out: index of the newest trap, or 0 when the list is empty
 * @return 0, or ZVK_TRAP_BAD_PATH
 */
ZVK_API int32_t ZVK_Trap_GetInitStatus(SessionHandle SessionHandle, int32_t path, int32_t *status,
                                       int32_t *index);

/**
 * Makes a trap, as the newest of its path, and a waypoint for it. Position and speed are given in
 * the unit; the position is clamped to the mirrors' limits without a warning. The waypoint gets its
 * speed by ZVK_Trap_SetSpeed only.
 *
 * @param SessionHandle  session value, handed on
 * @param path           beam path, 0 for A, 1 for B
 * @param index          out: the new trap's index. Written before the position is looked at,
 *                       also when the call is then refused
 * @param speed          volts per second, or pixels per second with ZVK_UNIT_PIXEL
 * @param name           its first 256 characters are kept. Null: no name
 * @param x              position
 * @param y              position
 * @param unit           ZVK_UNIT_VOLT or ZVK_UNIT_PIXEL. ZVK_UNIT_MICROMETER is refused: set such a
 *                       position by ZVK_Trap_SetPosition
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH                no such path
 *         ZVK_TRAP_BAD_INDEX               the list is empty: ZVK_Trap_Init has not succeeded,
 *                                          or all traps have been deleted
 *         ZVK_COORDINATES_BUSY             in pixels, the coordinate tables are being loaded; no
 *                                          trap is made
 *         ZVK_COORDINATES_NOT_INITIALIZED  in pixels, there are none; no trap is made
 *         ZVK_COORDINATES_BAD_DIRECTION    with ZVK_UNIT_MICROMETER; no trap is made
 *         ZVK_COORDINATES_BAD_UNIT         unknown unit: a trap is made all the same, with the
 *                                          numbers taken as volts
 *         When memory runs out no trap is made, and the status does not tell.
 */
ZVK_API int32_t ZVK_Trap_Add(SessionHandle SessionHandle, int32_t path, int32_t *index,
                             double speed, const char *name, double x, double y, int32_t unit);

/**
 * Deletes a trap with its trajectory and its waypoint; the waypoints above move down by one. The
 * camera overlay is switched off before and on after. The last trap of a path can be deleted too,
 * but only ZVK_Trap_Init can make another one then.
 *
 * @param SessionHandle  session value, handed on
 * @param path           0 for path A, any other value for path B
 * @param index          the trap
 * @return 0, or ZVK_TRAP_BAD_INDEX: no such trap; the overlay stays off
 */
ZVK_API int32_t ZVK_Trap_Delete(SessionHandle SessionHandle, int32_t path, int32_t index);

/**
 * Deletes all traps of a path but the oldest, which keeps its index and its name and goes to the
 * path's centre. The camera overlay is switched off before and on after.
 *
 * @param SessionHandle  session value, handed on
 * @param path           beam path, 0 for A, 1 for B
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH            no such path; nothing changed
 *         ZVK_TRAP_BAD_INDEX           the list is empty; nothing changed
 *         ZVK_GALVO_NEW_BUFFER_FAILED  the galvo module did not take the new list; one trap is
 *                                      left, and the overlay stays off
 */
ZVK_API int32_t ZVK_Trap_DeleteAll(SessionHandle SessionHandle, int32_t path);

/**
 * Counts the traps of a path.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param num            out
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH   no such path
 *         ZVK_TRAP_BAD_INDEX  there are none; num is 0
 */
ZVK_API int32_t ZVK_Trap_GetNumberOfTraps(SessionHandle SessionHandle, int32_t path, int32_t *num);

/**
 * Lists the indices of a path's traps, newest first.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param indexList      out: one value for each trap; the caller gives room
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH   no such path
 *         ZVK_TRAP_BAD_INDEX  there are none
 */
ZVK_API int32_t ZVK_Trap_GetIndexList(SessionHandle SessionHandle, int32_t path,
                                      int32_t *indexList);

/**
 * Tells where the mirrors hold all traps of a path now, newest first. In pixels the positions are
 * cut towards zero to whole numbers, given as doubles; one beyond what an integer holds stays what
 * it is. In volts each trap also takes its position over as its set position.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param x              out: one value for each trap; the caller gives room
 * @param y              out: one value for each trap; the caller gives room
 * @param speedValues    out: V/s, one value for each trap. Null: not wanted
 * @param label          out: one text for each trap, each with room for 257 bytes. Null: not wanted
 * @param unit           ZVK_UNIT_VOLT or ZVK_UNIT_PIXEL
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH                no such path
 *         ZVK_TRAP_BAD_INDEX               there are no traps
 *         ZVK_COORDINATES_BAD_UNIT         unknown unit, ZVK_UNIT_MICROMETER included
 *         ZVK_GALVO_OUT_OF_RANGE           a trap has no waypoint; those before it are written
 *         ZVK_COORDINATES_BUSY             in pixels, the tables are being loaded; likewise
 *         ZVK_COORDINATES_NOT_INITIALIZED  in pixels, there are none; likewise
 */
ZVK_API int32_t ZVK_Trap_GetArray(SessionHandle SessionHandle, int32_t path, double *x, double *y,
                                  double *speedValues, char **label, int32_t unit);

/**
 * Tells a trap's active flag.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @param status         out: what ZVK_Trap_SetActive gave it, 0 before
 * @return 0, or ZVK_TRAP_BAD_PATH, or ZVK_TRAP_BAD_INDEX
 */
ZVK_API int32_t ZVK_Trap_GetStatus(SessionHandle SessionHandle, int32_t path, int32_t index,
                                   int32_t *status);

/**
 * Sets a trap's active flag. It is kept for the client and has no effect on the mirrors.
 *
 * @param SessionHandle  session value, ignored
 * @param path           0 for path A, any other value for path B
 * @param index          the trap
 * @param active         the flag
 * @param exclusive      1: the flags of all other traps of both paths are cleared
 * @return 0, or ZVK_TRAP_BAD_INDEX
 */
ZVK_API int32_t ZVK_Trap_SetActive(SessionHandle SessionHandle, int32_t path, int32_t index,
                                   int32_t active, int32_t exclusive);

/**
 * Names a trap.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @param name           its first 256 characters are kept. Null: no name
 * @return 0, or ZVK_TRAP_BAD_PATH, or ZVK_TRAP_BAD_INDEX
 */
ZVK_API int32_t ZVK_Trap_SetName(SessionHandle SessionHandle, int32_t path, int32_t index,
                                 const char *name);

/**
 * Tells the mirrors' limits as ZVK_Trap_Init found them.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param Range          out, 4 values in volts: least X, greatest X, least Y, greatest Y
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH         no such path
 *         ZVK_TRAP_NOT_INITIALIZED  there are no traps
 */
ZVK_API int32_t ZVK_Trap_GetHardwareLimits(SessionHandle SessionHandle, int32_t path,
                                           double *Range);

/**
 * Stores where a trap is to go. No mirror moves. The position is clamped to the mirrors' limits,
 * and in pixels and lengths, if wanted, to the calibrated range before. 907 and 908 are captured as
 * warnings too.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @param X              in: position in the unit; out: the position stored, always in volts
 * @param Y              in and out, like X
 * @param Unit           ZVK_UNIT_VOLT, ZVK_UNIT_PIXEL or ZVK_UNIT_MICROMETER
 * @param LimitEnforce   non-zero: clamp to the calibrated range. Not looked at in volts
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH                no such path
 *         ZVK_TRAP_BAD_INDEX               no such trap
 *         ZVK_COORDINATES_BAD_UNIT         unknown unit
 *         ZVK_COORDINATES_BUSY             in pixels, the tables are being loaded: nothing is
 *                                          stored, X and Y may have been clamped to the range
 *         ZVK_COORDINATES_NOT_INITIALIZED  in pixels, there are none; likewise
 *         ZVK_COORDINATES_CLAMPED          warning: stored, at the mirrors' limits. A Y voltage
 *                                          below its limit, in ZVK_UNIT_VOLT, is clamped without
 *                                          a warning
 *         ZVK_COORDINATES_OUT_OF_RANGE     warning: stored, at the calibrated range. Returned in
 *                                          lengths only; in pixels it is captured, not returned
 *         In lengths the failure of a conversion is not reported.
 */
ZVK_API int32_t ZVK_Trap_SetPosition(SessionHandle SessionHandle, int32_t path, int32_t index,
                                     double *X, double *Y, int32_t Unit, int32_t LimitEnforce);

/**
 * Moves a trap to its set position at its waypoint's speed. Returns when the move has begun. What
 * the galvo module refuses is not reported.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @return 0, or ZVK_TRAP_BAD_PATH, or ZVK_TRAP_BAD_INDEX
 */
ZVK_API int32_t ZVK_Trap_MoveToSetPosition(SessionHandle SessionHandle, int32_t path,
                                           int32_t index);

/**
 * Puts a trap at its set position at once. What the galvo module refuses is not reported.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @return 0, or ZVK_TRAP_BAD_PATH, or ZVK_TRAP_BAD_INDEX
 */
ZVK_API int32_t ZVK_Trap_GotoSetPosition(SessionHandle SessionHandle, int32_t path, int32_t index);

/**
 * Sets the speed of a trap's next moves. In lengths it is measured over the 0.1 V in Y beside the
 * path's centre, in pixels over `speed` pixels in X beside it. In pixels only the waypoint gets the
 * new speed, and ZVK_Trap_GetSpeed goes on telling the old one. A length speed of 0 gives 0 V/s.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @param speed          in the unit, per second
 * @param unit           ZVK_UNIT_VOLT, ZVK_UNIT_PIXEL or ZVK_UNIT_MICROMETER
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH         no such path
 *         ZVK_TRAP_BAD_INDEX        no such trap
 *         ZVK_COORDINATES_BAD_UNIT  unknown unit
 *         any negative status of ZVK_Galvo_GetOffset and ZVK_CoordinateSystems_Convert, in
 *         pixels and lengths
 *         ZVK_GALVO_OUT_OF_RANGE    the trap has no waypoint; the trap keeps the new speed
 */
ZVK_API int32_t ZVK_Trap_SetSpeed(SessionHandle SessionHandle, int32_t path, int32_t index,
                                  double speed, int32_t unit);

/**
 * Tells a trap's speed.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @param speed          out: in the unit, per second
 * @param Unit           ZVK_UNIT_VOLT or ZVK_UNIT_MICROMETER
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH        no such path
 *         ZVK_TRAP_BAD_INDEX       no such trap
 *         ZVK_TRAP_BAD_SPEED_UNIT  any other unit, ZVK_UNIT_PIXEL included
 *         any negative status of ZVK_CoordinateSystems_GetCalRange, ZVK_Galvo_GetOffset and
 *         ZVK_CoordinateSystems_Convert, in lengths
 */
ZVK_API int32_t ZVK_Trap_GetSpeed(SessionHandle SessionHandle, int32_t path, int32_t index,
                                  double *speed, int32_t Unit);

/**
 * Tells where the mirrors hold a trap now. In pixels the call waits for as long as the coordinate
 * tables are being loaded, which after a failed ZVK_CoordinateSystems_Init lasts until one
 * succeeds.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param index          the trap
 * @param x              out: in the unit
 * @param y              out: in the unit
 * @param unit           ZVK_UNIT_VOLT, ZVK_UNIT_PIXEL or ZVK_UNIT_MICROMETER
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH         no such path
 *         ZVK_TRAP_BAD_INDEX        no such trap
 *         ZVK_GALVO_OUT_OF_RANGE    the trap has no waypoint
 *         ZVK_COORDINATES_BAD_UNIT  unknown unit
 *         any negative status of ZVK_CoordinateSystems_Convert, but for the busy one in pixels
 */
ZVK_API int32_t ZVK_Trap_GetPosition(SessionHandle SessionHandle, int32_t path, int32_t index,
                                     double *x, double *y, int32_t unit);

/**
 * Tells a trap's set position in pixels. In volts the call works the other way: it stores what X
 * and Y hold as the trap's set position, unclamped, and leaves the one in pixels as it was.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          the trap
 * @param X              out in pixels, 0 before the first ZVK_Trap_SetPosition; in with volts
 * @param Y              like X
 * @param Unit           ZVK_UNIT_PIXEL or ZVK_UNIT_VOLT
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH                no such path
 *         ZVK_TRAP_BAD_INDEX               no such trap
 *         ZVK_COORDINATES_BUSY             with ZVK_UNIT_MICROMETER, the tables are being loaded
 *         ZVK_COORDINATES_NOT_INITIALIZED  with ZVK_UNIT_MICROMETER, there are none
 *         ZVK_COORDINATES_BAD_DIRECTION    with ZVK_UNIT_MICROMETER
 *         ZVK_COORDINATES_BAD_UNIT         unknown unit
 */
ZVK_API int32_t ZVK_Trap_GetPositionTarget(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                           double *X, double *Y, int32_t Unit);

/**
 * Tells the centre of a path.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          any trap of the path; the result does not depend on it
 * @param X              out: in the unit
 * @param Y              out: in the unit
 * @param unit           ZVK_UNIT_VOLT, ZVK_UNIT_PIXEL or ZVK_UNIT_MICROMETER
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH         no such path
 *         ZVK_TRAP_BAD_INDEX        no such trap
 *         ZVK_GALVO_NOT_CONFIGURED  the galvo module is not up
 *         ZVK_COORDINATES_BAD_UNIT  unknown unit; X and Y hold volts
 *         any negative status of ZVK_CoordinateSystems_Convert; X and Y may hold volts
 */
ZVK_API int32_t ZVK_Trap_GetCenterPosition(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                           double *X, double *Y, int32_t unit);

/**
 * Sets how a trap moves.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          the trap
 * @param MoveType       ZVK_MOVE_ONCE, ZVK_MOVE_BACK_AND_FORTH or ZVK_MOVE_STAND
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH        no such path
 *         ZVK_TRAP_BAD_INDEX       no such trap
 *         ZVK_GALVO_BAD_MOVE_MODE  unknown move type
 *         ZVK_GALVO_OUT_OF_RANGE   the trap has no waypoint. With ZVK_MOVE_STAND the trap keeps the
 *                                  new type all the same
 */
ZVK_API int32_t ZVK_Trap_SetMoveType(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                     int32_t MoveType);

/**
 * Tells how a trap moves now: the galvo module falls back to ZVK_MOVE_STAND when a run has ended.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          the trap
 * @param MoveType       out
 * @param TrajRunning    out: 1 while a trajectory is meant to run. ZVK_Trap_SetMoveType sets it,
 *                       and this call clears it when the trap stands
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH       no such path
 *         ZVK_TRAP_BAD_INDEX      no such trap
 *         ZVK_GALVO_OUT_OF_RANGE  the trap has no waypoint
 */
ZVK_API int32_t ZVK_Trap_GetMoveType(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                     int32_t *MoveType, int32_t *TrajRunning);

/**
 * Stores a trajectory in a trap, in the place of the one before. The galvo module gets it when the
 * run is started. The values are copied.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          the trap
 * @param NumWp          number of points; a run needs 2
 * @param X              NumWp values, V
 * @param Y              NumWp values, V
 * @param Speed          out: the trap's speed, V/s
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH   no such path
 *         ZVK_TRAP_BAD_INDEX  no such trap
 *         ZVK_TRAP_NO_MEMORY  no room; the old trajectory is kept
 */
ZVK_API int32_t ZVK_Trap_SetTrajectory(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                       int32_t NumWp, const double *X, const double *Y,
                                       double *Speed);

/**
 * Gives a trap's trajectory to the galvo module and sets its move type. What the galvo module
 * refuses is not reported. Points beyond the mirrors' limits, but for the first, are clamped, in
 * the trap too.
 *
 * @param SessionHandle  session value, handed on
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          the trap
 * @param Run            ignored
 * @param MoveType       ZVK_MOVE_ONCE or ZVK_MOVE_BACK_AND_FORTH to run; any value is kept in the
 *                       trap
 * @param WaveForm       ZVK_WAVEFORM_...
 * @param Frequency      out: with WaveForm 1 or 2, how many times a second the trap can go from
 *                       the first point to the second and back at its speed; 0 with any other,
 *                       or with fewer than two points
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH       no such path
 *         ZVK_TRAP_BAD_INDEX      no such trap
 *         ZVK_TRAP_NO_TRAJECTORY  none has been stored
 */
ZVK_API int32_t ZVK_Trap_TrajectoryRun(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                       int32_t Run, int32_t MoveType, int32_t WaveForm,
                                       double *Frequency);

/**
 * Tells whether a trap has a trajectory.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          the trap
 * @param TrajExists     out: 1 or 0
 * @return 0, or ZVK_TRAP_BAD_PATH, or ZVK_TRAP_BAD_INDEX
 */
ZVK_API int32_t ZVK_Trap_TrajectoryExists(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                          int32_t *TrajExists);

/**
 * Hands out a copy of a trap's trajectory.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param Index          the trap
 * @param NumTrajPoints  out: number of points
 * @param X              out: so many values, V; the caller frees the table by free(). What the
 *                       pointer held before is not freed
 * @param Y              out, like X
 * @return 0, else the first that applies:
 *         ZVK_TRAP_BAD_PATH       no such path
 *         ZVK_TRAP_BAD_INDEX      no such trap
 *         ZVK_TRAP_NO_TRAJECTORY  none has been stored
 *         ZVK_TRAP_NO_MEMORY      no room
 */
ZVK_API int32_t ZVK_Trap_GetTrajectory(SessionHandle SessionHandle, int32_t Path, int32_t Index,
                                       int32_t *NumTrajPoints, double **X, double **Y);

ZVK_EXTERN_C_END

#endif
