#ifndef QUORVEX_SESSION_H
#define QUORVEX_SESSION_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/*
 * The session: all modules up, all modules down. There is one instrument and one state: the session
 * value is handed on and never looked at, so that two sessions are the same session.
 *
 * Bringing up and shutting down belong to one thread at a time, with no other call under way.
 */

/**
 * Brings all modules up, in this order: the laser, beam power of both paths, the beam expanders of
 * both paths, the stage, the traps of path A with the label "A_1", the traps of path B with "B_1"
 * (the first of them brings the galvo module up), the coordinate systems, the camera, the overlay,
 * force acquisition, force calibration, the detectors. Each module reads its keys from config.ini
 * in the common data folder.
 *
 * The first module that fails ends the call; those that are up stay up, and the call may be
 * repeated. A second call starts the list of traps of both paths afresh and loads the transforms
 * again. A module's warning doesn't end the call; it is neither returned nor captured here.
 *
 * The calibration comes up once in a process: once it is up, each later call, behind a ZVK_close
 * too, ends there with ZVK_FORCECAL_ALREADY_INITIALIZED. All modules before it are then up; the
 * detectors are brought up by ZVK_Detector_Init. One that the instrument doesn't have (MI 0 in
 * section FORCECAL) ends the call there too, with ZVK_FORCECAL_NOT_INSTALLED.
 *
 * @param rsrcName     ignored, may be null
 * @param id_query     handed on to each module; none acts on it
 * @param reset_instr  handed on to each module; none acts on it
 * @param vi           session value, handed on
 * @return 0, else the negative status of the first module that failed, as its own ..._Init tells it
 */
ZVK_API int32_t ZVK_init(const char *rsrcName, uint16_t id_query, uint16_t reset_instr,
                         SessionHandle vi);

/**
 * Shuts all modules down in a fixed order: laser, camera, beam power, beam expanders, stage, traps
 * (and the galvo module before them), coordinate systems, overlay, force acquisition, force
 * calibration, detectors. At the end the captured warnings are forgotten, and the list is ready for
 * another session. The first module that fails ends the call: later ones stay up, and the warnings
 * stay. A module's warning is passed over.
 *
 * A camera that isn't up fails: in a session without one, with one that isn't simulated, and after
 * a ZVK_init that came up in part, the call ends there, and the later modules are shut down by
 * their own calls.
 *
 * @param vi  session value, handed on
 * @return 0, else the negative status of the first module that failed, such as
 *         ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_close(SessionHandle vi);

/**
 * Does nothing. Any thread may call it.
 *
 * @param vi  session value, ignored
 * @return 0
 */
ZVK_API int32_t ZVK_reset(SessionHandle vi);

/**
 * Does nothing: this instrument has no self-test. Any thread may call it.
 *
 * @param vi       session value, ignored
 * @param result   left as it is, may be null
 * @param message  left as it is, may be null
 * @return 0
 */
ZVK_API int32_t ZVK_self_test(SessionHandle vi, int16_t **result, char *message);

/**
 * Gives the revision texts, which are fixed. Any thread may call it.
 *
 * @param vi          session value, ignored
 * @param driver_rev  out: "1.0.985M"; the caller gives room for 9 bytes. Null: not written
 * @param instr_rev   out: "Not Available"; the caller gives room for 14 bytes. Null: not written
 * @return 0
 */
ZVK_API int32_t ZVK_revision_query(SessionHandle vi, char *driver_rev, char *instr_rev);

/**
 * Tells that the instrument has no error queue to ask. Any thread may call it.
 *
 * @param vi             session value, ignored
 * @param error_code     left as it is, may be null
 * @param error_message  left as it is, may be null
 * @return ZVK_WARNING_NO_REVISION_QUERY, always
 */
ZVK_API int32_t ZVK_error_query(SessionHandle vi, int32_t **error_code, char *error_message);

ZVK_EXTERN_C_END

#endif
