#ifndef QUORVEX_IMAGEPROC_H
#define QUORVEX_IMAGEPROC_H

/*
 * A client's own graphics over the camera picture: lines, markers and rectangles, kept in three
 * lists and drawn into the user overlay by ZVK_ImageProc_UpdateOverlay. ZVK_Camera_SetUserOverlay
 * shows them.
 *
 * Positions are pixels of the frame, sizes and thicknesses those of the window. Objects are
 * numbered from 1 within their list. A colour of 1, 2, 3 or 4 is magenta, any other one red. Labels
 * are copied, up to 255 bytes; a null label is an empty one.
 *
 * Threads: call from any thread. The session value is ignored. A null output is passed over.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/**
 * Brings the overlay up, with no object.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, or ZVK_IMAGEPROC_ALREADY_INITIALIZED (1301), a warning: nothing changed. It also comes
 *         after ZVK_ImageProc_Shutdown, and the overlay works all the same
 */
ZVK_API int32_t ZVK_ImageProc_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                                   uint16_t ResetInstrument);

/**
 * Removes all objects. What has been drawn stays, and the overlay stays up.
 *
 * @return 0, or ZVK_IMAGEPROC_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_ImageProc_Shutdown(SessionHandle SessionHandle);

/**
 * Adds a line, with its label 20 frame pixels to the right of its start and above it.
 *
 * @param index                         out: its number, also when there was no room for it
 * @param xstart, xstop, ystart, ystop  frame pixels
 * @param label                         text
 * @param thickness                     1 to 32767; 0 is drawn as 1, others are not drawn
 * @param color                         1 to 4 magenta, else red
 * @return 0, else the first that applies:
 *         ZVK_IMAGEPROC_NOT_INITIALIZED  nothing written
 *         ZVK_IMAGEPROC_NO_MEMORY        the list is as it was
 */
ZVK_API int32_t ZVK_ImageProc_AddLine(SessionHandle SessionHandle, int32_t *index, int32_t xstart,
                                      int32_t xstop, int32_t ystart, int32_t ystop,
                                      const char *label, int32_t thickness, int32_t color);

/**
 * Adds a plus sign, with its label 20 frame pixels to the left of its centre and below it.
 *
 * @param Index       out: its number, also when there was no room for it
 * @param XPos, YPos  its centre, frame pixels
 * @param Size        length of each arm in pixels of the window, whatever the zoom
 * @param Label       text
 * @param Thickness   1 to 32767; 0 is drawn as 1, others are not drawn
 * @param Color       1 to 4 magenta, else red
 * @return 0, else the first that applies:
 *         ZVK_IMAGEPROC_NOT_INITIALIZED  nothing written
 *         ZVK_IMAGEPROC_NO_MEMORY        the list is as it was
 */
ZVK_API int32_t ZVK_ImageProc_AddMarker(SessionHandle SessionHandle, int32_t *Index, int32_t XPos,
                                        int32_t YPos, int32_t Size, const char *Label,
                                        int32_t Thickness, int32_t Color);

/**
 * Adds a rectangle. It is drawn as its diagonal from start to stop, with a label like a line's.
 *
 * @param Index                         out: its number, also when there was no room for it
 * @param XStart, YStart, XStop, YStop  frame pixels
 * @param Thickness                     1 to 32767; 0 is drawn as 1, others are not drawn
 * @param Label                         text
 * @param Color                         1 to 4 magenta, else red
 * @return 0, else the first that applies:
 *         ZVK_IMAGEPROC_NOT_INITIALIZED  nothing written
 *         ZVK_IMAGEPROC_NO_MEMORY        the list is as it was
 */
ZVK_API int32_t ZVK_ImageProc_AddRectangle(SessionHandle Vi, int32_t *Index, int32_t XStart,
                                           int32_t YStart, int32_t XStop, int32_t YStop,
                                           int32_t Thickness, const char *Label, int32_t Color);

/**
 * Changes a line.
 *
 * @param index                                    its number
 * @param xstart, xstop, ystart, ystop, thickness  new values; -1 keeps the old one
 * @param label                                    new text; null keeps the old one
 * @param color                                    1 to 4 magenta, else the old one is kept
 * @return 0, else the first that applies:
 *         ZVK_IMAGEPROC_NOT_INITIALIZED
 *         ZVK_IMAGEPROC_BAD_INDEX        no line of that number
 */
ZVK_API int32_t ZVK_ImageProc_UpdateLine(SessionHandle vi, int32_t index, int32_t xstart,
                                         int32_t xstop, int32_t ystart, int32_t ystop,
                                         const char *label, int32_t thickness, int32_t color);

/**
 * Blackens the user overlay and removes all objects; numbers begin with 1 again.
 *
 * @return 0, or ZVK_IMAGEPROC_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_ImageProc_ClearOverlay(SessionHandle Vi);

/**
 * Draws all objects anew into the user overlay, for the view of this moment: lines, then markers,
 * then rectangles, in each list the newest first. A later change of the view or of an object is not
 * drawn by itself.
 *
 * @return 0, else the first that applies:
 *         ZVK_IMAGEPROC_NOT_INITIALIZED
 *         ZVK_CAMERA_NOT_INITIALIZED     no camera is up; the overlay is black
 *         ZVK_IMAGEPROC_NO_MEMORY        drawn in part
 */
ZVK_API int32_t ZVK_ImageProc_UpdateOverlay(SessionHandle SessionHandle);

/**
 * Measures a line.
 *
 * @param LineIndex  its number
 * @param Length     out: in the unit. In pixels the squares are added in 32 bits, so that a line of
 *                   more than 46340 pixels has a wrong length, or none (not a number). In
 *                   micrometres it is not finite while path A has no camera scale
 * @param Unit       ZVK_UNIT_PIXEL or ZVK_UNIT_MICROMETER
 * @return 0, else the first that applies, with nothing written:
 *         ZVK_IMAGEPROC_NOT_INITIALIZED
 *         ZVK_IMAGEPROC_BAD_INDEX        no line of that number
 *         ZVK_COORDINATES_BAD_UNIT       another unit
 */
ZVK_API int32_t ZVK_ImageProc_LineLength(SessionHandle Vi, int32_t LineIndex, double *Length,
                                         int32_t Unit);

ZVK_EXTERN_C_END

#endif
