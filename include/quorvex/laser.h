#ifndef QUORVEX_LASER_H
#define QUORVEX_LASER_H

/*
 * The trapping laser with its two beam shutters and its interlock. There is one laser. It is driven
 * over a serial port, or it is one with three power levels on digital lines of the main DAQ card;
 * shutters and the interlock output are lines of that card with both. docs/laser.md has the wiring
 * and what goes over the wire.
 *
 * Power is in the unit of the keys MAXPOWER and MINPOWER, current in that of MAXCURRENT. With the
 * three levels ZVK_Laser_SetPower takes the level's number.
 *
 * A simulated laser (the key SIMULATE isn't 0) keeps values and touches no laser; its shutters move
 * as long as there is a card.
 *
 * Threads: call ZVK_Laser_Init and ZVK_Laser_Shutdown while no other call runs; all others from any
 * thread. A command and its reply, and a change of the card's lines, are each done in one piece; a
 * call may have to wait for the one before it. A reply is waited for until nothing comes for 2 s.
 *
 * The session value is handed on to the log only. A null output is passed over.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/** What drives the laser, as ZVK_Laser_GetBackend gives it. */
enum
{
    ZVK_LASER_SERIAL = 1, /**< commands over a serial port */
    ZVK_LASER_DAQ = 4     /**< three power levels on lines of the DAQ card */
};

/** What a laser keeps constant. */
enum
{
    ZVK_LASER_CONSTANT_POWER = 0,
    ZVK_LASER_CONSTANT_CURRENT = 1,
    ZVK_LASER_NO_MODE = 2 /**< taken by ZVK_Laser_SetMode, fits power and current alike */
};

/**
 * Brings the laser up with the interlock output off, both shutters closed and the drive at its
 * maximum. A serial laser is looked for on the first four ports named "USB Serial Port", each of
 * which may take 2 s; ports that don't answer stay open. A card is taken into use even where the
 * keys say that there is no laser, so that the shutters close.
 *
 * After a failure ZVK_Laser_Init may be called again; what the failed one left of tasks goes then.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, else the first that applies:
 *         a negative status of ZVK_ConFile_Read  SIMULATE of MAINDAQ is missing
 *         ZVK_LASER_ALREADY_INITIALIZED          warning: nothing done
 *         a negative status of ZVK_ConFile_Read  a key of LASER is missing
 *         a negative status of ZVK_ConFile_Read  DAQNAME of MAINDAQ is missing
 *         ZVK_LASER_DAQ_FAILED                   no task for shutters and interlock; see the log
 *         ZVK_LASER_NOT_FOUND                    warning: the key MI is 0
 *         ZVK_LASER_NO_DAQ                       a real laser without a card
 *         ZVK_LASER_INIT_FAILED                  serial: no port answered as a laser
 *         a negative status of ZVK_Laser_SetPower or ZVK_Laser_SetCurrent
 *                                                serial: at the maximum; the laser is up all the
 *                                                same
 *         ZVK_LASER_WRONG_MODE                   levels: LASERMODE is CC; not up
 *         a negative status of ZVK_ConFile_Read  levels: DAQLASERAI of LASER is missing
 *         ZVK_LASER_DAQ_FAILED                   levels: no task for levels or interlock input
 *         0 with BACKEND neither 1 nor 4 set     not up
 */
ZVK_API int32_t ZVK_Laser_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                               uint16_t ResetInstrument);

/**
 * Sets the power, in one step and without waiting for the light to follow. Whether a serial laser
 * took it is not told.
 *
 * @param DriveValue  power from 0 to the maximum, both included. With levels 1.0 to 3.0, of which
 *                    the whole part counts: 1 minimum, 2 align, 3 maximum
 * @return 0, also without effect when there is no laser or it isn't up; else the first that
 *         applies:
 *         ZVK_LASER_WRONG_MODE       warning: the mode is constant current
 *         ZVK_LASER_BAD_CURRENT      outside 0 to the maximum
 *         ZVK_LASER_BAD_DRIVE_VALUE  warning: levels, outside 1 to 3
 *         ZVK_LASER_NO_REPLY         levels: the card refused, see the log; the old setpoint stays
 */
ZVK_API int32_t ZVK_Laser_SetPower(SessionHandle SessionHandle, double DriveValue);

/**
 * Reads the power. A serial laser is asked up to five times; one that gives its very maximum counts
 * as a bad reply.
 *
 * @param PowerSetting  out: power; simulated or with levels the one last set. Left alone on failure
 * @return 0, with levels also when the laser isn't up; else the first that applies:
 *         ZVK_LASER_WRONG_MODE  warning: the mode is constant current
 *         ZVK_LASER_NO_REPLY    five bad replies: none, no number, negative, or the maximum or more
 *         ZVK_LASER_NOT_FOUND   warning: no laser, or not up
 */
ZVK_API int32_t ZVK_Laser_GetPower(SessionHandle SessionHandle, double *PowerSetting);

/**
 * Sets the diode current, in one step. Whether a serial laser took it is not told.
 *
 * @param DriveValue  current from 0 to the maximum, both included
 * @return 0, else the first that applies:
 *         ZVK_LASER_WRONG_MODE         warning: the mode is constant power
 *         ZVK_LASER_BAD_CURRENT        outside 0 to the maximum
 *         ZVK_LASER_NOT_FOUND          warning: no laser, or not up
 *         ZVK_LASER_BAD_POWER_SETTING  warning: levels have no current
 */
ZVK_API int32_t ZVK_Laser_SetCurrent(SessionHandle SessionHandle, double DriveValue);

/**
 * Reads the diode current. A serial laser is asked once; one that gives its very maximum counts as
 * a bad reply.
 *
 * @param DriveCurrent  out: current; simulated the value last set. Left alone on failure
 * @return 0, else the first that applies:
 *         ZVK_LASER_WRONG_MODE  warning: simulated, and the mode is constant power
 *         ZVK_LASER_NOT_FOUND   warning: no laser, or not up
 *         ZVK_LASER_WRONG_MODE  warning: the mode is constant power, or levels
 *         ZVK_LASER_NO_REPLY    no reply, no number, negative, or the maximum or more
 */
ZVK_API int32_t ZVK_Laser_GetCurrent(SessionHandle SessionHandle, double *DriveCurrent);

/**
 * Chooses what the laser keeps constant. Only a simulated laser keeps the choice for the calls
 * above: a serial one is told 0 or 1, while these calls go on by the key LASERMODE; 2 is not told
 * but kept.
 *
 * @param mode  ZVK_LASER_CONSTANT_POWER, _CONSTANT_CURRENT or ZVK_LASER_NO_MODE
 * @return 0, else the first that applies:
 *         ZVK_LASER_BAD_MODE    no such mode
 *         ZVK_LASER_NOT_FOUND   warning: no laser, or not up
 *         ZVK_LASER_WRONG_MODE  warning: levels have no constant current
 */
ZVK_API int32_t ZVK_Laser_SetMode(SessionHandle SessionHandle, int32_t mode);

/**
 * @param mode  out: the mode by which power and current are taken
 * @return 0, or ZVK_LASER_NOT_FOUND, a warning: not up, nothing written
 */
ZVK_API int32_t ZVK_Laser_GetMode(SessionHandle SessionHandle, int32_t *mode);

/**
 * @param MaxCurrent  out: the key MAXCURRENT
 * @return 0, or ZVK_LASER_NOT_FOUND, a warning: not up, nothing written
 */
ZVK_API int32_t ZVK_Laser_GetMaxCurrent(SessionHandle SessionHandle, double *MaxCurrent);

/**
 * @param MaxPower  out: the key MAXPOWER
 * @return 0, or ZVK_LASER_NOT_FOUND, a warning: not up, nothing written
 */
ZVK_API int32_t ZVK_Laser_GetMaxPower(SessionHandle SessionHandle, double *MaxPower);

/**
 * @param MinPower  out: the key MINPOWER
 * @return 0, or ZVK_LASER_NOT_FOUND, a warning: not up, nothing written
 */
ZVK_API int32_t ZVK_Laser_GetMinPower(SessionHandle SessionHandle, double *MinPower);

/**
 * @param AlignPower  out: the key ALIGNPOWER
 * @return 0, or ZVK_LASER_NOT_FOUND, a warning: not up, nothing written
 */
ZVK_API int32_t ZVK_Laser_GetAlignPower(SessionHandle SessionHandle, double *AlignPower);

/**
 * @param Backend  out: the key BACKEND, or -1 when the laser isn't up
 * @return 0, or ZVK_LASER_NOT_FOUND, a warning: not up
 */
ZVK_API int32_t ZVK_Laser_GetBackend(SessionHandle Vi, int32_t *Backend);

/**
 * @param status  out: 0 not up, 1 a real laser, 2 a simulated one; with a SIMULATE above 1 that
 *                value plus 1
 * @return 0
 */
ZVK_API int32_t ZVK_Laser_GetInitStatus(SessionHandle vi, int32_t *status);

/**
 * Opens or closes the shutter of a beam path by a pulse of 0.1 s, which the call waits for. Without
 * a card the call does nothing; with one it works before ZVK_Laser_Init has succeeded, too. Where
 * the shutter stands is not kept.
 *
 * @param path   0 for A, 1 for B, below the key TRAPPATHS. A negative one pulses path B's opening
 *               line
 * @param State  0 closes, any other value opens
 * @return 0, else the first that applies:
 *         ZVK_LASER_BAD_PATH  not below TRAPPATHS
 *         ZVK_LASER_NO_REPLY  the card refused. After a refused pulse there is no wait, but its
 *                             line is still put back
 */
ZVK_API int32_t ZVK_Laser_SetShutter(SessionHandle SessionHandle, int32_t path, uint16_t State);

/**
 * Lets the laser emit, or stops it. With a serial laser its command is taken back before the
 * interlock line falls, and given after the line stands.
 *
 * @param InterlockStatus  0 stops emission, any other value enables it
 * @return 0, else the first that applies:
 *         ZVK_LASER_NOT_FOUND  warning: no laser, or not up
 *         ZVK_LASER_NO_REPLY   the lines can't be read, or for enabling not be written; see the
 *                              log. Nothing has been changed then. A refused write that disables is
 *                              not told
 */
ZVK_API int32_t ZVK_Laser_Interlock(SessionHandle SessionHandle, uint16_t InterlockStatus);

/**
 * Tells whether the interlock is closed, and as its result whether the laser has an error. A serial
 * laser is asked up to five times for its flags; with levels the interlock input is read, at most
 * 2 s.
 *
 * @param status  out: 1 closed, ZVK_LASER_INTERLOCK_OPEN (408) open; simulated 1 or 0. Left alone
 *                with any other result than 0
 * @return 0, else the first that applies:
 *         ZVK_LASER_NOT_FOUND       warning: no laser, or not up
 *         ZVK_LASER_DEVICE_ERROR_5, _4, _3, _2
 *                                   warning: serial, the laser's first flag that tells an error,
 *                                   unless the interlock is open
 *         ZVK_LASER_NO_REPLY        serial: five replies shorter than six flags; levels: the card
 *                                   refused, see the log
 */
ZVK_API int32_t ZVK_Laser_GetInterlockStatus(SessionHandle vi, int32_t *status);

/**
 * Stops emission, closes both shutters and lets the laser go: its serial port and the tasks on the
 * card. What fails in between is not told, and doesn't keep the rest from being done. A card whose
 * lines can't be read refuses to stop the emission as in ZVK_Laser_Interlock: a serial laser isn't
 * told then, either. Ports that ZVK_Laser_Init tried in vain stay open.
 *
 * @return 0, also for a simulated laser that isn't up; else ZVK_LASER_NOT_FOUND, a warning: no
 *         laser, or not up
 */
ZVK_API int32_t ZVK_Laser_Shutdown(SessionHandle SessionHandle);

ZVK_EXTERN_C_END

#endif
