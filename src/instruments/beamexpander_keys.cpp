#include "instruments/beamexpander_keys.h"

#include "instruments/beamexpander.h"

#include <iterator>

const char *const kExpanderSections[2] = {"BE 0", "BE 1"};

static const ZVK_KeyRow kRows[] = {
    {"MI", ZVK_CONFILE_LONG, offsetof(ZVK_BeamExpanderState, mi), "",
     "0: the path has no beam expander"},
    {"BACKEND", ZVK_CONFILE_LONG, offsetof(ZVK_BeamExpanderState, backend), "",
     "1: a motor board on a serial port"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_BeamExpanderState, simulate), "",
     "not 0: positions are only kept"},
    {"INITPOS", ZVK_CONFILE_LONG, offsetof(ZVK_BeamExpanderState, initPos), "steps",
     "last position; rewritten after each move"},
    {"CWLIMIT", ZVK_CONFILE_LONG, offsetof(ZVK_BeamExpanderState, cwLimit), "steps",
     "largest position"},
    {"CCWLIMIT", ZVK_CONFILE_LONG, offsetof(ZVK_BeamExpanderState, ccwLimit), "steps",
     "smallest position"},
    {"INISEC", ZVK_CONFILE_LONG, offsetof(ZVK_BeamExpanderState, iniSec), "s",
     "length of the run into the stop"},
};

const ZVK_KeyTable kExpanderKeys = {"BeamExpander", "BE 0, BE 1", kRows, std::size(kRows)};
