#ifndef QUORVEX_SCENES_TWO_PATHS_H
#define QUORVEX_SCENES_TWO_PATHS_H

// Two beam paths with five traps each, in simulation: an instrument folder, and the calls that
// bring it up. Works through the exported interface only.

#include <cstdint>
#include <string>
#include <vector>

// The instrument. One volt is 100 pixels on path A and 80 on path B, without any bend, so that a
// test can tell the numbers by heart:
//
//   path A   pixel (500 + 100 X, 400 + 100 Y)   limits -4 to 4 V in X, -3 to 3 V in Y
//            centre (0.5, -0.25) V              calibrated field 150 to 850, 120 to 680 pixels
//   path B   pixel (600 + 80 X, 300 + 80 Y)     limits -3 to 3 V in X, -2 to 2 V in Y
//            centre (-0.5, 0.25) V              calibrated field 400 to 800, 160 to 440 pixels
//
// A unit of length is 10 pixels in X and 20 in Y. Blocks of 1,000 samples at 10,000 a second.
std::string TwoPathsConfig();
std::string TwoPathsObjective();
std::string TwoPathsCalibration();

// Writes all three, as config.ini, default.odf and default.cal, into the folder ZVK640 below
// `root`, which is made; false when that fails. `root` is what the environment variable
// ZVK_COMMON_APPDATA names then.
bool WriteTwoPathsFolder(const std::string &root);

struct TwoPathsTrap
{
    const char *name;
    double x;  // V
    double y;
    double speed;  // V/s
};

// Oldest first; the first of each path is the one that comes with the path, at its centre.
const std::vector<TwoPathsTrap> &TwoPathsTraps(int32_t path);

struct TwoPaths
{
    int32_t status = 0;             // of the first call that did not answer 0
    std::vector<int32_t> index[2];  // of each path's traps, oldest first
};

// Brings traps and coordinates up and makes the ten traps, each with its speed. nextSecond is
// called before each trap, so that each gets an index of its own; null leaves all traps of a path
// with one.
TwoPaths BringUpTwoPaths(void (*nextSecond)());

#endif
