#include "instruments/beampower_keys.h"

#include "instruments/beampower.h"

#include <iterator>

const char *const kBeamPowerSections[2] = {"BEAMPOWER 0", "BEAMPOWER 1"};
const char *const kBeamPowerDaqSection = "SUBDAQ";

static const ZVK_KeyRow kRows[] = {
    {"MI", ZVK_CONFILE_LONG, offsetof(ZVK_BeamPowerState, mi), "", "0: no adjuster on this path"},
    {"BACKEND", ZVK_CONFILE_LONG, offsetof(ZVK_BeamPowerState, backend), "",
     "a set of bits; the lowest one stands for the DAQ output"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_BeamPowerState, simulate), "",
     "not 0: values are only kept"},
    {"SCALE", ZVK_CONFILE_FLOAT, offsetof(ZVK_BeamPowerState, scale), "V",
     "output at a relative power of 1, without a table"},
};

static const ZVK_KeyRow kDaqRows[] = {
    {"DAQNAME", ZVK_CONFILE_STRING, offsetof(ZVK_BeamPowerDaqKeys, device), "",
     "the second card's name in its driver"},
    {"BACKEND", ZVK_CONFILE_LONG, offsetof(ZVK_BeamPowerDaqKeys, backend), "",
     "a set of bits; without the lowest one no task is made"},
};

const ZVK_KeyTable kBeamPowerKeys = {"BeamPower", "BEAMPOWER 0, BEAMPOWER 1", kRows,
                                     std::size(kRows)};
const ZVK_KeyTable kBeamPowerDaqKeys = {"BeamPower", "SUBDAQ", kDaqRows, std::size(kDaqRows)};
