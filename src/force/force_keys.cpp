#include "force/force_keys.h"

#include <cstddef>
#include <iterator>

const char *const kForceSection = "FORCE";

static const ZVK_KeyRow kModeRows[] = {
    {"MI", ZVK_CONFILE_LONG, offsetof(ZVK_ForceKeys, installed), "",
     "0: there is no detector card"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_ForceKeys, simulate), "",
     "not 0: no card, blocks of 0 V"},
};

static const ZVK_KeyRow kCardRows[] = {
    {"DAQNAME", ZVK_CONFILE_STRING, offsetof(ZVK_ForceKeys, device), "",
     "the card's name in its driver"},
    {"DAQCHANNELSA", ZVK_CONFILE_STRING, offsetof(ZVK_ForceKeys, channelsA), "",
     "inputs of path A: X, Y, sum"},
    {"DAQCHANNELSB", ZVK_CONFILE_STRING, offsetof(ZVK_ForceKeys, channelsB), "",
     "inputs of path B: X, Y, sum"},
    {"DAQCHANNELST", ZVK_CONFILE_STRING, offsetof(ZVK_ForceKeys, channelT), "",
     "input of the reference signal"},
    {"DAQCHANNELSTDE", ZVK_CONFILE_STRING, offsetof(ZVK_ForceKeys, triggerExternal), "",
     "terminal of trigger type 4"},
    {"DAQCHANNELSTDI", ZVK_CONFILE_STRING, offsetof(ZVK_ForceKeys, triggerInternal), "",
     "terminal of trigger type 2"},
    {"TRIGGERINPUT", ZVK_CONFILE_LONG, offsetof(ZVK_ForceKeys, triggerInput), "",
     "trigger type at the start: 1 none, 2 internal, 4 external"},
    {"TRIGGEREDGE", ZVK_CONFILE_LONG, offsetof(ZVK_ForceKeys, triggerEdge), "",
     "0 rising, 1 falling"},
};

const ZVK_KeyTable kForceModeKeys = {"Force", "FORCE", kModeRows, std::size(kModeRows)};
const ZVK_KeyTable kForceCardKeys = {"Force", "FORCE", kCardRows, std::size(kCardRows)};
