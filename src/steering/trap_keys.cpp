#include "steering/trap_keys.h"

#include "steering/trap.h"

#include <cstddef>
#include <iterator>

const char *const kTrapSections[2] = {"GALVO 0", "GALVO 1"};

static const ZVK_KeyRow kLimitRows[] = {
    {"MINX", ZVK_CONFILE_DOUBLE, offsetof(ZVK_TrapLimits, minX), "V", "lowest voltage, X mirror"},
    {"MAXX", ZVK_CONFILE_DOUBLE, offsetof(ZVK_TrapLimits, maxX), "V", "highest voltage, X mirror"},
    {"MINY", ZVK_CONFILE_DOUBLE, offsetof(ZVK_TrapLimits, minY), "V", "lowest voltage, Y mirror"},
    {"MAXY", ZVK_CONFILE_DOUBLE, offsetof(ZVK_TrapLimits, maxY), "V", "highest voltage, Y mirror"},
    {"OFFSETX", ZVK_CONFILE_DOUBLE, offsetof(ZVK_TrapLimits, offsetX), "V", "centre, X mirror"},
    {"OFFSETY", ZVK_CONFILE_DOUBLE, offsetof(ZVK_TrapLimits, offsetY), "V", "centre, Y mirror"},
};

const ZVK_KeyTable kTrapLimitKeys = {"Trap", "GALVO 0, GALVO 1", kLimitRows, std::size(kLimitRows)};
