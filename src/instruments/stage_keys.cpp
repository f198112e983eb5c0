#include "instruments/stage_keys.h"

#include <cstddef>
#include <iterator>

const char *const kStageSection = "STAGE";
const char *const kStageCardSection = "SUBDAQ";

static const ZVK_KeyRow kModeRows[] = {
    {"MI", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, mi), "", "0: there is no stage"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, simulate), "",
     "not 0: positions are only kept"},
};

static const ZVK_KeyRow kBackendRows[] = {
    {"BACKEND", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, backend), "",
     "a set of bits: 1 controller, 16 outputs of the second card"},
};

static const ZVK_KeyRow kOutputRows[] = {
    {"SCALE", ZVK_CONFILE_DOUBLE, offsetof(ZVK_StageKeys, scale), "V",
     "volts per stage unit; outputs"},
    {"CLOCKRATE", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, clockRate), "1/s",
     "samples per second of each output"},
    {"EVERYNSAMPLES", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, everyNSamples), "",
     "read and not used; outputs"},
    {"SAMPLESPERCHAN", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, samplesPerChan), "",
     "samples per output in the steady block"},
    {"SPEED", ZVK_CONFILE_DOUBLE, offsetof(ZVK_StageKeys, speed), "",
     "speed that is told at the start; outputs jump whatever it is"},
    {"STEPSIZE", ZVK_CONFILE_DOUBLE, offsetof(ZVK_StageKeys, stepSize), "",
     "stage units between two samples of an oscillation; outputs"},
    {"RANGE", ZVK_CONFILE_DOUBLE, offsetof(ZVK_StageKeys, range), "",
     "full travel in stage units; outputs"},
};

static const ZVK_KeyRow kTriggerRows[] = {
    {"TRIGGER", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, trigger), "",
     "0: the card's own clock; else the clock comes in at pfi0; outputs"},
};

static const ZVK_KeyRow kControllerRows[] = {
    {"IP", ZVK_CONFILE_STRING, offsetof(ZVK_StageKeys, ip), "", "the controller's address"},
    {"PORTNUM", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, portNum), "",
     "the controller's TCP port"},
    {"NUMBEROFAXES", ZVK_CONFILE_LONG, offsetof(ZVK_StageKeys, numberOfAxes), "",
     "axes of the controller, 2 or 3"},
};

static const ZVK_KeyRow kCardRows[] = {
    {"DAQNAME", ZVK_CONFILE_STRING, offsetof(ZVK_StageKeys, device), "",
     "the second card's name in its driver"},
};

#define STAGE_TABLE(rows)                                                                          \
    {                                                                                              \
        "Stage", "STAGE", rows, std::size(rows)                                                    \
    }
const ZVK_KeyTable kStageModeKeys = STAGE_TABLE(kModeRows);
const ZVK_KeyTable kStageBackendKeys = STAGE_TABLE(kBackendRows);
const ZVK_KeyTable kStageOutputKeys = STAGE_TABLE(kOutputRows);
const ZVK_KeyTable kStageTriggerKeys = STAGE_TABLE(kTriggerRows);
const ZVK_KeyTable kStageControllerKeys = STAGE_TABLE(kControllerRows);
const ZVK_KeyTable kStageCardKeys = {"Stage", "SUBDAQ", kCardRows, std::size(kCardRows)};
