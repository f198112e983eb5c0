#include "instruments/laser_keys.h"

#include <iterator>

const char *const kLaserSection = "LASER";

static const ZVK_KeyRow kRows[] = {
    {"MI", ZVK_CONFILE_LONG, offsetof(ZVK_LaserKeys, installed), "", "0: there is no laser"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_LaserKeys, simulate), "", "1: a simulated laser"},
    {"BACKEND", ZVK_CONFILE_LONG, offsetof(ZVK_LaserKeys, backend), "",
     "1: serial port; 4: three levels on lines of the DAQ card"},
    {"TRAPPATHS", ZVK_CONFILE_LONG, offsetof(ZVK_LaserKeys, trapPaths), "",
     "number of beam paths with a shutter"},
    {"MAXCURRENT", ZVK_CONFILE_FLOAT, offsetof(ZVK_LaserKeys, maxCurrent), "A", "highest current"},
    {"MAXPOWER", ZVK_CONFILE_FLOAT, offsetof(ZVK_LaserKeys, maxPower), "W", "highest power"},
    {"MINPOWER", ZVK_CONFILE_FLOAT, offsetof(ZVK_LaserKeys, minPower), "W", "power of level 1"},
    {"ALIGNPOWER", ZVK_CONFILE_FLOAT, offsetof(ZVK_LaserKeys, alignPower), "W", "power of level 2"},
    {"LASERMODE", ZVK_CONFILE_STRING, offsetof(ZVK_LaserKeys, mode), "",
     "CC: constant current; anything else: constant power"},
};

static const ZVK_KeyRow kInputRows[] = {
    {"DAQLASERAI", ZVK_CONFILE_STRING, 0, "", "analog input of the interlock"},
};

const ZVK_KeyTable kLaserKeys = {"Laser", "LASER", kRows, std::size(kRows)};
const ZVK_KeyTable kLaserInputKeys = {"Laser", "LASER", kInputRows, std::size(kInputRows)};
