#ifndef QUORVEX_ERRORS_H
#define QUORVEX_ERRORS_H

#include "quorvex/status_table.h"
#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/** Every status by name: 0 success, negative an error, positive a warning. */
enum
{
#define ZVK_STATUS_VALUE(name, number, text) name = number,
#define ZVK_STATUS_BARE(name, number) name = number,
    ZVK_STATUS_TABLE(ZVK_STATUS_VALUE, ZVK_STATUS_VALUE, ZVK_STATUS_BARE)
#undef ZVK_STATUS_VALUE
#undef ZVK_STATUS_BARE
};

/*
 * A call answers with a status: 0 when it is done, a negative number when it failed, a positive one
 * when it is done with a limit or was refused without harm. Warnings that arise inside a call are
 * captured in one list, which a client reads out.
 */

/**
 * Gives the text of a status. Any thread may call it.
 *
 * @param vi           session value, ignored
 * @param status_code  any number; one without a text of its own gives
 *                     "An unknown error occurred. Error code N.\n"
 * @param message      out: the text and its terminator; the caller gives room for 4096 bytes.
 *                     Null: not written
 * @return 0, but ZVK_ERROR_UNRECOGNIZED with the texts of the joystick and the detector, which are
 *         written all the same
 */
ZVK_API int32_t ZVK_error_message(SessionHandle vi, int32_t status_code, char *message);

/**
 * Appends a status to the captured ones and its text to log.ini. The list has no limit, the same
 * status may stand in it any number of times, and an error is captured like a warning. Any thread
 * may call it.
 *
 * @param vi          session value, handed on to the log
 * @param error_code  the status; 0 changes nothing and logs nothing
 * @return 0, also when the log could not be written; else
 *         ZVK_ERROR_NO_MEMORY  no room; the list is as it was, and nothing is logged
 */
ZVK_API int32_t ZVK_error_CaptureWarning(SessionHandle vi, int32_t error_code);

/**
 * Reads the captured statuses out, in two calls: the first, without an array, tells how many there
 * are; the second fills the array and empties the list.
 *
 * Any thread may call it. What other threads capture between the two calls of a thread stays in the
 * list, so that the array holds no more than the first call told and this thread has captured
 * since. A thread that never asked for the number gets all there are.
 *
 * @param vi        session value, ignored
 * @param elements  out: without an array the number of statuses; with one 0 when there are none,
 *                  else left as it is. Null: not written
 * @param list      out: the statuses, oldest first; the caller gives the room. Null: nothing is
 * read out and nothing changes
 * @return 0
 */
ZVK_API int32_t ZVK_error_GetWarnings(SessionHandle vi, int32_t *elements, int32_t *list);

ZVK_EXTERN_C_END

#endif
