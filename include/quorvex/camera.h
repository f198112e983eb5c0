#ifndef QUORVEX_CAMERA_H
#define QUORVEX_CAMERA_H

/*
 * The camera: one a process. From ZVK_Camera_Init on two threads of the library carry the picture.
 * The acquisition loop takes about 50 frames a second from the simulated camera; the display loop
 * makes of each frame what the window shows, and leaves out frames that come while it is busy.
 *
 * Sizes and positions are pixels: of the frame (the acquired size), or of the window (the display
 * size) where that is said.
 *
 * Threads: call from any thread, also while the loops run. A call that exchanges the images waits
 * until no loop is using them. No call may be made from a mouse callback of one's own window
 * system that the display loop waits for.
 *
 * The session value is ignored. A null output is passed over. Two kinds of call have a gate and
 * give ZVK_CAMERA_NOT_INITIALIZED (-1006) when it is shut: some need a simulated camera in the
 * configuration (keys MI and SIMULATE not 0 when ZVK_Camera_Init read them), others a camera that
 * is up. A camera that isn't simulated never comes up, since there is no source of frames for it.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/* -- the module -- */

/**
 * Reads section CAMERA of config.ini, makes the camera window, and starts the two loops, unless
 * there is no camera (key MI is 0). Takes about half a second.
 *
 * After the end of a simulated camera it brings a new one up. Loops that are left of an earlier
 * start are ended first, so that there is never more than one pair.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, also when the window could not be made, no image had room or no thread was to be had;
 *         else the first that applies:
 *         ZVK_CAMERA_ALREADY_INITIALIZED (1000)  warning: a camera is up; nothing changed
 *         a negative status of ZVK_ConFile_Read  a key can't be read; those before it count
 *         ZVK_CAMERA_NO_SUPPORT                  BACKEND is 1, 8 or 64
 *         a negative status of ZVK_ConFile_Read  EXPOSURETIME or COOLERTEMP can't be read
 */
ZVK_API int32_t ZVK_Camera_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                                uint16_t ResetInstrument);

/**
 * Ends the camera. With SIMULATE 1 only frames end: window, images and handles stay, the display
 * loop rests. With any other value both loops are awaited, a recording is closed, the windows are
 * closed and the images freed; handles from ZVK_Camera_GetDisplayHandle and
 * ZVK_Camera_GetUserOverlay then show no picture.
 *
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_Shutdown(SessionHandle SessionHandle);

/**
 * Takes a part of the sensor about its centre, and exchanges the images for ones of the new size;
 * the view becomes the whole frame. Frames that come in the 0.2 s of the exchange are dropped.
 *
 * @param Resolution     1 the whole sensor, each step more halves both sides; shifts are counted
 *                       modulo 32
 * @param Binning        sides are divided by 2 to this power; 0 is no binning
 * @param NewResolution  out: Resolution - 1
 * @param NewBinning     out: Binning - 1
 * @return 0, also when no pixel is left: there are then no frames until a later call; else the
 *         first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED  no simulated camera; outputs untouched
 *         ZVK_CAMERA_NO_MEMORY        no room for the images: there are none until a later call
 */
ZVK_API int32_t ZVK_Camera_SetROI(SessionHandle SessionHandle, int32_t Resolution, int32_t Binning,
                                  int32_t *NewResolution, int32_t *NewBinning);

/**
 * Finds the camera window on the screen by its title, in its parent when key CCW is not 0.
 *
 * @param HandlePtr  out: the address of a pointer. On X11 the window's id, widened; null when there
 *                   is no such window, as always without a display
 * @return 0, or a negative status of ZVK_ConFile_Read (PARENTNAME, CCW)
 */
ZVK_API int32_t ZVK_Camera_GetWinHandle(SessionHandle SessionHandle, void *HandlePtr);

/**
 * Reads the sensor's size from config.ini, and makes it the one that ZVK_Camera_SetROI works with.
 *
 * @param horizontalResolution, verticalResolution  out: pixels; both 512 when the key of the first
 *                                                  is 0. The first is written although the second
 *                                                  can't be read
 * @param horizontalIncrement, verticalIncrement    not touched
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED             no simulated camera
 *         a negative status of ZVK_ConFile_Read  the size that was is kept
 */
ZVK_API int32_t ZVK_Camera_GetNativeResolution(SessionHandle SessionHandle,
                                               int32_t *horizontalResolution,
                                               int32_t *verticalResolution,
                                               int32_t *horizontalIncrement,
                                               int32_t *verticalIncrement);

/**
 * @param modelName  out: "Simulated Camera"; room for 256 characters
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetModelName(SessionHandle SessionHandle, char *modelName);

/**
 * @param timeInS        seconds, any value; not kept
 * @param actualTimeInS  out: the same
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetExposureTime(SessionHandle SessionHandle, float timeInS,
                                           float *actualTimeInS);

/**
 * Adds the picture of ZVK_Camera_GetUserOverlay to each frame shown, or no longer. As the other
 * switches it works at any time, with no camera too, from the next frame shown on.
 *
 * @param EnableOverlay  not 0: on
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_SetUserOverlay(SessionHandle SessionHandle, uint16_t EnableOverlay);

/**
 * Draws graphics of the library over each frame shown: those of the three switches below.
 *
 * @param EnableOverlay  not 0: on
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_SetSDKOverlay(SessionHandle SessionHandle, uint16_t EnableOverlay);

/**
 * Draws a circle and the label at each trap. ZVK_Trap_Delete and ZVK_Trap_DeleteAll leave this and
 * ZVK_Camera_SetSDKOverlay switched on.
 *
 * @param EnableMarkers  not 0: on
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_SetTrapMarkers(SessionHandle SessionHandle, uint16_t EnableMarkers);

/**
 * Writes the measured frame rate into the picture.
 *
 * @param EnableFrameRate  not 0: on
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_SetFrameRate(SessionHandle SessionHandle, uint16_t EnableFrameRate);

/**
 * Draws the calibrated field of a beam path.
 *
 * @param TrapPath         0 for A, 1 for B
 * @param EnableCalFields  not 0: on
 * @return 0, or ZVK_CAMERA_BAD_PATH
 */
ZVK_API int32_t ZVK_Camera_SetCalField(SessionHandle SessionHandle, int32_t TrapPath,
                                       uint16_t EnableCalFields);

/* -- frames and view -- */

/**
 * Asks for live frames. The simulated camera gives frames all the time, whatever this and the next
 * two calls say.
 *
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_StartVideo(SessionHandle SessionHandle);

/**
 * Takes the wish for live frames back; the acquisition mode becomes 0.
 *
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_StopVideo(SessionHandle SessionHandle);

/**
 * Asks for one frame instead of live ones.
 *
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_SnapShot(SessionHandle SessionHandle);

/**
 * @param XCenter, YCenter  out: centre of the view, frame pixels
 * @param Zoom              out: magnification, 1.0 for the whole frame
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_GetZoom(SessionHandle Vi, int32_t *XCenter, int32_t *YCenter,
                                   double *Zoom);

/**
 * Shows a part of the frame: its sides divided by the magnification, about the centre, pushed back
 * into the frame where it would leave it.
 *
 * @param X, Y  centre, frame pixels; not looked at when the whole frame is shown
 * @param Zoom  magnification; 1.0 or less, or not a number: the whole frame
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_BAD_ZOOM_CENTER  farther from 0 than the frame's size; the size itself passes
 */
ZVK_API int32_t ZVK_Camera_SetZoom(SessionHandle Vi, int32_t X, int32_t Y, double Zoom);

ZVK_EXTERN_C_END

#endif
