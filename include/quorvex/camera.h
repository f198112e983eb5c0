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

/* -- image adjustment: done by the display loop, from the next frame on -- */

/**
 * Takes the contrast limits from each frame: the darkest and the brightest count of its grey values
 * (COLORMODE with bit 2), or of its three colours (bit 1, which goes before).
 *
 * @param AutoContrast  not 0: on
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_SetAutoContrast(SessionHandle SessionHandle, uint16_t AutoContrast);

/**
 * @param lowerLimit, upperLimit  out: counts; 0.0 and 0.0 after the first start
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_GetContrastLimits(SessionHandle SessionHandle, double *lowerLimit,
                                             double *upperLimit);

/**
 * Sets the counts that become black and white, and shows the next frame stretched between them, and
 * not flipped. The simulated camera shows only that one frame so. Works with no camera too. Equal
 * limits give a picture without meaning.
 *
 * @param lowerLimit, upperLimit  counts, in either order
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_SetContrastLimits(SessionHandle SessionHandle, double lowerLimit,
                                             double upperLimit);

/**
 * Counts the histogram of each frame, and shows that of its grey values in the window "Histogram"
 * (COLORMODE with bit 2).
 *
 * @param ComputeHistogram  not 0: on
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_NO_HISTOGRAM (1031)  warning: HISTOSUPPORT is not 1; nothing changed
 */
ZVK_API int32_t ZVK_Camera_SetComputeHistogram(SessionHandle SessionHandle,
                                               uint16_t ComputeHistogram);

/**
 * Counts the histograms of the last frame once, in 256 bins from 0 to the largest count of the
 * smallest depth that COLORMODE told at the first time; that count itself is in no bin. Of grey
 * values (bit 2) the histogram is drawn and shown; those of the colours (bit 1) are only counted.
 *
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_NO_MEMORY
 */
ZVK_API int32_t ZVK_Camera_ComputeHistogram(SessionHandle SessionHandle);

/**
 * Blends the stored background into each frame shown.
 *
 * @param EnableOverlay  not 0: on
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_EnableLiveAsBackgroundImage(SessionHandle SessionHandle,
                                                       uint16_t EnableOverlay);

/**
 * Stores the last frame as background, at once.
 *
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_SetCurrentLiveAsBackgroundImage(SessionHandle SessionHandle);

/**
 * Tells how much of the frame a blended picture holds.
 *
 * @param Alpha  1.0 the frame alone, 0.0 the background alone
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_BAD_ALPHA (1019)  warning: clamped to 0.0 or 1.0
 */
ZVK_API int32_t ZVK_Camera_SetOverlayAlpha(SessionHandle SessionHandle, double Alpha);

/**
 * Recolours the stored background, at once, and switches it on. Its first plane becomes (R + G)
 * times the cut-off sum of R times the first and G times the second, plus B times the third; the
 * others stay. With COLORMODE of 12, 14 or 16 bits the upper contrast limit becomes 4095, 16383 or
 * 65535, for several of them the last.
 *
 * @param R, G, B  weights of the first, second and third plane: of blue, green and red
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_NO_MEMORY
 */
ZVK_API int32_t ZVK_Camera_AdjustFlOverlayRGB(SessionHandle Vi, double R, double G, double B);

/**
 * Mirrors the picture shown. Recorded frames, traps and the mouse are not mirrored. Works with no
 * camera too.
 *
 * @param Flip  -1 about both axes, 0 not at all, 1 about the horizontal axis, 2 about the vertical
 *              one; 3 and 4 as 1 and 2 with rows and columns exchanged before, pressed into the
 *              shape of the window
 * @return 0, or ZVK_CAMERA_BAD_PARAMETER (1022), a warning: out of range; nothing changed
 */
ZVK_API int32_t ZVK_Camera_FlipImage(SessionHandle Vi, int32_t Flip);

/* -- pictures and videos as files -- */

/**
 * Writes one picture. The file appears when it is whole, and takes the place of one of that name
 * then.
 *
 * @param fileName     its extension tells the format: .tif, .png, .jpg, .bmp and others of OpenCV.
 *                     Empty: a name like 20170101_093005.tif in the user's folder of pictures is
 *                     made and written here; room for 4096 bytes then. Null: the same, and not told
 * @param showOverlay  0: the last frame; not 0: the picture of the window
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_IMAGE_WRITE_FAILED  no such format, no picture, no room, or the file could not
 *                                        be written; one of that name is as it was
 */
ZVK_API int32_t ZVK_Camera_SaveImage(SessionHandle SessionHandle, char *fileName,
                                     uint16_t showOverlay);

/**
 * Starts or stops a recording. It holds either each frame, with a line of text in its lower half,
 * or each picture of the window. The line is drawn into the frame itself: the simulated camera,
 * which nothing repaints, shows all of them from then on. A start ends the recording before.
 * Whether the file could be opened is not told: a recording without one counts its frames all the
 * same.
 *
 * @param record       not 0: start; 0: stop, which takes 0.3 s
 * @param pathName     its extension tells the container: .avi and .mkv are uncompressed, .mp4 and
 *                     .mov MPEG-4; for any other one no file is made. Empty: a name like
 *                     20170101_093005.avi in the user's folder of videos is made and written here,
 *                     .dcimg for frames while ZVK_Camera_SaveVideoDCIMG is set; room for 4096 bytes
 *                     then. Null: the same, and not told. Not used for a stop
 * @param SaveOverlay  not 0: pictures of the window. Counts only with an empty name; with a path
 *                     the choice of the last recording without one stays, and this tells the size
 *                     alone
 * @return 0, also when nothing was to be stopped; else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_NO_MEMORY  no name could be made; nothing changed
 */
ZVK_API int32_t ZVK_Camera_SaveVideo(SessionHandle SessionHandle, uint16_t record, char *pathName,
                                     uint16_t SaveOverlay);

/**
 * Chooses the camera maker's own format for frames. It has no writer here: with 1 a recording of
 * frames makes a file that stays empty.
 *
 * @param OnOff  1: on; 0: off; any other value makes the name alone
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_SaveVideoDCIMG(SessionHandle SessionHandle, int32_t OnOff);

/* -- attributes: the simulated camera answers with fixed numbers, and keeps none of its settings
 * but those of the cooler. No value is held against its limits -- */

/**
 * Sets the converter, by its place in ZVK_Camera_GetADCs. Without effect on the simulated camera.
 *
 * @param ADC  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetADC(SessionHandle SessionHandle, int32_t ADC);

/**
 * Sets frame transfer: not 0 is on. Without effect on the simulated camera.
 *
 * @param FrameTransferMode  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetFrameTransferMode(SessionHandle SessionHandle,
                                                uint16_t FrameTransferMode);

/**
 * Sets clamping of the base line: not 0 is on. Without effect on the simulated camera.
 *
 * @param BaseLineClamping  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetBaseLineClamping(SessionHandle SessionHandle,
                                               uint16_t BaseLineClamping);

/**
 * Sets the mode of the shutter and the times of its opening and closing. Without effect on the
 * simulated camera.
 *
 * @param Mode, TOpen, TClose  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetShutterAndor(SessionHandle SessionHandle, int32_t Mode, int32_t TOpen,
                                           int32_t TClose);

/**
 * Sets the horizontal shift speed, by its place in ZVK_Camera_GetHSSpeedsAndor. Without effect on
 * the simulated camera.
 *
 * @param Channel, GainMode, Speed  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetHSSpeedAndor(SessionHandle SessionHandle, int32_t Channel,
                                           int32_t GainMode, int32_t Speed);

/**
 * Sets the gain of the preamplifier, by its place in ZVK_Camera_GetPreampGainsAndor. Without effect
 * on the simulated camera.
 *
 * @param GainLevel  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetPreampGainAndor(SessionHandle SessionHandle, int32_t GainLevel);

/**
 * Sets how the gain is meant. Without effect on the simulated camera.
 *
 * @param GainMode  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetGainMode(SessionHandle SessionHandle, int32_t GainMode);

/**
 * Sets the electron multiplying gain. Without effect on the simulated camera.
 *
 * @param Gain  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetEMGainAndor(SessionHandle SessionHandle, int32_t Gain);

/**
 * Sets the vertical shift speed, by its place in ZVK_Camera_GetVSSpeedsAndor. Without effect on the
 * simulated camera.
 *
 * @param Speed  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetVSSpeedAndor(SessionHandle SessionHandle, int32_t Speed);

/**
 * Sets what the trigger output shows. Without effect on the simulated camera.
 *
 * @param Mode  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetTriggerOutMode(SessionHandle SessionHandle, int32_t Mode);

/**
 * Sets the polarity of the trigger output. Without effect on the simulated camera.
 *
 * @param Polarity  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetTriggerOutPolarity(SessionHandle SessionHandle, int32_t Polarity);

/**
 * Sets delay and length of the pulse at the trigger output. Without effect on the simulated camera.
 *
 * @param Delay, Duration  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetTriggerOutTimeParameters(SessionHandle SessionHandle, float Delay,
                                                       float Duration);

/**
 * Sets the trigger output: not 0 is on. Without effect on the simulated camera.
 *
 * @param Active  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetTriggerOutActive(SessionHandle SessionHandle, uint16_t Active);

/**
 * Sets what starts a frame, by its place in ZVK_Camera_GetTriggerModes. Without effect on the
 * simulated camera.
 *
 * @param TriggerMode  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetTriggerMode(SessionHandle SessionHandle, int32_t TriggerMode);

/**
 * Sets how frames are taken. Without effect on the simulated camera.
 *
 * @param Mode  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetAcquisitionMode(SessionHandle SessionHandle, int32_t Mode);

/**
 * Balances the colours. Without effect on the simulated camera.
 *
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_AutoWhiteBalance(SessionHandle SessionHandle);

/**
 * Sets the gain. Without effect on the simulated camera.
 *
 * @param Gain  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetGain(SessionHandle SessionHandle, int64_t Gain);

/**
 * Sets how fast the sensor is read. Without effect on the simulated camera.
 *
 * @param ReadSpeed  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetReadSpeed(SessionHandle SessionHandle, int32_t ReadSpeed);

/**
 * Sets gain by the camera itself: not 0 is on. Without effect on the simulated camera.
 *
 * @param AutoGain  ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetAutoGain(SessionHandle SessionHandle, uint16_t AutoGain);

/**
 * Waits until the camera is at rest, as the simulated one always is.
 *
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_WaitForCamera(SessionHandle SessionHandle);

/**
 * @param actualTimeInS  not touched
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetExposureTime(SessionHandle SessionHandle, float *actualTimeInS);

/**
 * @param TOpen, TClose  not touched
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetShutterSpeedAndor(SessionHandle SessionHandle, int32_t *TOpen,
                                                int32_t *TClose);

/**
 * @param MinimumExposureTime, MaximumExposureTime  out: 1e-5 and 10.0 s
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetExposureTimeLimits(SessionHandle SessionHandle,
                                                 float *MinimumExposureTime,
                                                 float *MaximumExposureTime);

/**
 * @param minimumTemperature, maximumTemperature  out: -100 and 42 degrees Celsius
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetCoolerRange(SessionHandle SessionHandle, int32_t *minimumTemperature,
                                          int32_t *maximumTemperature);

/**
 * @param temperature  out: degrees Celsius, of the configuration or of ZVK_Camera_SetTemperature
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetTemperatureSetPoint(SessionHandle SessionHandle,
                                                  int32_t *temperature);

/**
 * @param temperature  set point of the cooler, degrees Celsius, any value
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetTemperature(SessionHandle SessionHandle, int32_t temperature);

/**
 * @param CoolerState  not 0: on
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_SetCoolerState(SessionHandle SessionHandle, int32_t CoolerState);

/**
 * @param temperature   out: 20 degrees Celsius
 * @param coolerStatus  out: 0
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetTemperature(SessionHandle SessionHandle, int32_t *temperature,
                                          int32_t *coolerStatus);

/**
 * @param NumberOfADCs  out: 2
 * @param BitDepths     out: 2 numbers, 14 and 16, from the general heap; the caller frees them
 * @return 0, else the first that applies, with nothing written:
 *         ZVK_CAMERA_NOT_INITIALIZED  no simulated camera
 *         ZVK_CAMERA_NO_MEMORY
 */
ZVK_API int32_t ZVK_Camera_GetADCs(SessionHandle SessionHandle, int32_t *NumberOfADCs,
                                   int32_t **BitDepths);

/**
 * @param Bits  out: 16, although the simulated frames have 8
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetBitPerChannel(SessionHandle Vi, int32_t *Bits);

/**
 * @param Channel, GainMode    ignored
 * @param NumberOfShiftSpeeds  out: 2
 * @param Speeds               out: 2 numbers, 10.0 and 1.0, from the general heap; the caller frees
 *                             them
 * @return 0, else the first that applies, with nothing written:
 *         ZVK_CAMERA_NOT_INITIALIZED  no simulated camera
 *         ZVK_CAMERA_NO_MEMORY
 */
ZVK_API int32_t ZVK_Camera_GetHSSpeedsAndor(SessionHandle SessionHandle, int32_t Channel,
                                            int32_t GainMode, int32_t *NumberOfShiftSpeeds,
                                            float **Speeds);

/**
 * @param NumberOfGainLevels  out: 2
 * @param GainLevels          out: 2 numbers, 1.0 and 2.3, from the general heap; the caller frees
 *                            them
 * @return 0, else the first that applies, with nothing written:
 *         ZVK_CAMERA_NOT_INITIALIZED  no simulated camera
 *         ZVK_CAMERA_NO_MEMORY
 */
ZVK_API int32_t ZVK_Camera_GetPreampGainsAndor(SessionHandle SessionHandle,
                                               int32_t *NumberOfGainLevels, float **GainLevels);

/**
 * @param NumberOfSpeeds    out: 2
 * @param Speeds            out: 2 numbers, 1.0 and 0.7, from the general heap; the caller frees
 *                          them
 * @param RecommendedSpeed  out: 0
 * @return 0, else the first that applies, with nothing written:
 *         ZVK_CAMERA_NOT_INITIALIZED  no simulated camera
 *         ZVK_CAMERA_NO_MEMORY
 */
ZVK_API int32_t ZVK_Camera_GetVSSpeedsAndor(SessionHandle SessionHandle, int32_t *NumberOfSpeeds,
                                            float **Speeds, int32_t *RecommendedSpeed);

/**
 * @param NumberOfModes   out: 1
 * @param IndicesOfModes  not touched
 * @param NamesOfModes    address of a text of the caller's, room for 64 bytes: gets "Edge"
 * @param IdProp          ignored
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetSupportValuesDCAM(SessionHandle SessionHandle, int32_t *NumberOfModes,
                                                int32_t **IndicesOfModes, char **NamesOfModes,
                                                int32_t IdProp);

/**
 * @param NumberOfTriggerModes   out: 2
 * @param IndicesOfTriggerModes  not touched
 * @param NamesOfTriggerModes    address of a text of the caller's, room for 60 bytes: gets "Free
 *                               Running" at byte 0 and "External Trigger" at byte 30
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetTriggerModes(SessionHandle SessionHandle,
                                           int32_t *NumberOfTriggerModes,
                                           int32_t **IndicesOfTriggerModes,
                                           char **NamesOfTriggerModes);

/**
 * @param Gain  out: 42
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetEMGainAndor(SessionHandle SessionHandle, int32_t *Gain);

/**
 * @param MinimumGain, MaximumGain  out: 1 and 4096
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetEMGainRangeAndor(SessionHandle SessionHandle, int32_t *MinimumGain,
                                               int32_t *MaximumGain);

/**
 * @param MinimumGain, MaximumGain, CurrentGain  out: 10, 1000 and 50
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetGainRange(SessionHandle SessionHandle, int32_t *MinimumGain,
                                        int32_t *MaximumGain, int32_t *CurrentGain);

/**
 * @param Gain  out: 42
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED (no simulated camera)
 */
ZVK_API int32_t ZVK_Camera_GetGain(SessionHandle SessionHandle, int64_t *Gain);

/**
 * @param Backend  out: -1 for the simulated camera, else key BACKEND; 0 when the call fails
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_GetBackend(SessionHandle SessionHandle, int32_t *Backend);

/**
 * @param CoolerState  out: 1 when the cooler is on, else 0
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_GetCoolerState(SessionHandle SessionHandle, uint16_t *CoolerState);

/**
 * @param HorizontalResolution, VerticalResolution  out: size of a frame
 * @return 0, else the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED  nothing written
 *         ZVK_CAMERA_NOT_CONFIGURED   a side is 0; both are written
 */
ZVK_API int32_t ZVK_Camera_GetAcquisitionResolution(SessionHandle SessionHandle,
                                                    int32_t *HorizontalResolution,
                                                    int32_t *VerticalResolution);

/**
 * @param width, height  out: size of a frame, also when a side is 0
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_GetAcquiredImageSize(SessionHandle SessionHandle, int32_t *width,
                                                int32_t *height);

/**
 * @param Mode  out: 0
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_GetAcquisitionMode(SessionHandle SessionHandle, int32_t *Mode);

/**
 * @param width, height  out: size of the picture of the window
 * @return 0, or ZVK_CAMERA_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Camera_GetDispImageSize(SessionHandle SessionHandle, int32_t *width,
                                            int32_t *height);

/**
 * @param ClientNum  not touched: there is no server
 * @return the first that applies:
 *         ZVK_CAMERA_NOT_INITIALIZED
 *         ZVK_CAMERA_SERVER_EXCEPTION (1021)
 */
ZVK_API int32_t ZVK_Camera_GetKandeloClientNum(SessionHandle SessionHandle, int32_t *ClientNum);

/* -- the next ones have no gate: they work before a start and after an end -- */

/**
 * @param x, y, width, height  out: the view, frame pixels
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_GetROI(SessionHandle SessionHandle, int32_t *x, int32_t *y,
                                  int32_t *width, int32_t *height);

/**
 * @param X, Y  out: frame pixel of the last event of the mouse
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_GetPixelPosition(SessionHandle SessionHandle, int32_t *X, int32_t *Y);

/**
 * Gives the picture that ZVK_Camera_SetUserOverlay adds to each frame shown, as a pointer to an
 * IplImage of OpenCV: blue, green, red, 8 bits each. The pointer stays valid for the life of the
 * process and is never to be released. The place of its pixels holds until the size of the window
 * changes or the camera is shut down in full: read it from the IplImage anew.
 *
 * @param UserOverlay  out: null while there is no picture
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_GetUserOverlay(SessionHandle SessionHandle, void **UserOverlay);

/**
 * Gives the picture of the window, as ZVK_Camera_GetUserOverlay gives the overlay. The display loop
 * draws into it.
 *
 * @param DisplayHandle  out: null while there is no picture
 * @return 0
 */
ZVK_API int32_t ZVK_Camera_GetDisplayHandle(SessionHandle SessionHandle, void **DisplayHandle);

ZVK_EXTERN_C_END

#endif
