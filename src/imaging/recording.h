#ifndef QUORVEX_IMAGING_RECORDING_H
#define QUORVEX_IMAGING_RECORDING_H

// The loops' side of a recording, and its end where no client asks for it.

// Stamps and writes the frame that was just counted, when the recording is one of frames. Lock
// CameraFrame.
void RecordFrame();

// Writes the picture that was just shown, when the recording is one with overlays. Lock
// CameraPicture.
void RecordPicture();

// Every 20 frames the text of the measured rate. Lock CameraData.
void RenewRateText();

// Completes the file that is open, if any. Lock CameraTurn.
void CloseVideo();

#endif
