#ifndef QUORVEX_ZVK_CALIBRATE_SETTINGS_H
#define QUORVEX_ZVK_CALIBRATE_SETTINGS_H

// The library's calibration settings as `zvk calibrate` and `zvk analyse` change and list them.

#include "calibrate_options.h"
#include "calibration.h"

#include <cstdint>
#include <stdexcept>
#include <string>

// "what: the status' text". Throws nothing; for the end of a command.
std::string StatusSentence(const char *what, int32_t status);

// Throws std::runtime_error with that sentence for an error.
void Require(const char *what, int32_t status);

// The force calibration comes up with the keys of config.ini. Throws when it doesn't.
void BringUpCalibration();

// The settings become those that are asked for; what isn't asked for stays.
void ApplySettings(const CalibrationWish &wish);

// All settings that bear on a result, by name, with units.
void ListSettings(const CalibrationWish &wish, CalibrationData &data);

// "2026-11-21 12:03"
std::string DateAndTime();

// Reports to where they were asked for: the terminal, and the file if there is to be one.
void TellResults(const CalibrationWish &wish, const CalibrationData &data);

#endif
