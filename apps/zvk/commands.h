#ifndef QUORVEX_ZVK_COMMANDS_H
#define QUORVEX_ZVK_COMMANDS_H

// What the zvk tool can do: one function a command. It gets what follows the command's name and
// gives the exit code of the program: 0 done, 1 failed, 2 called wrongly.

#include <string>
#include <vector>

using Arguments = std::vector<std::string>;

int AnalyseCommand(const Arguments &arguments);    // analyse.cpp
int CalibrateCommand(const Arguments &arguments);  // calibrate.cpp
int LaserCommand(const Arguments &arguments);      // laser.cpp
int LiveCommand(const Arguments &arguments);       // live.cpp

#endif
