#ifndef QUORVEX_ZVK_CALIBRATE_NOTES_H
#define QUORVEX_ZVK_CALIBRATE_NOTES_H

// What the data files of a calibration don't hold, kept beside them by `zvk calibrate` in the text
// file NAME.notes.txt, a line "key = value" each: the medium, the line scans, a virtual
// instrument's truth.

#include "calibration.h"

#include <string>

std::string NotesText(const CalibrationData &data);

// Takes what a text has and leaves the rest as it is; what isn't understood is passed over.
void ReadNotes(const std::string &text, CalibrationData &data);

#endif
