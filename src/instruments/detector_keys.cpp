#include "instruments/detector_keys.h"

#include <iterator>

const char *const kDetectorSection = "FORCE";

static const ZVK_KeyRow kRows[] = {
    {"MI", ZVK_CONFILE_LONG, offsetof(ZVK_DetectorKeys, mi), "", "0: no detector"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_DetectorKeys, simulate), "",
     "not 0: gains are only kept"},
    {"DET_A_NAME", ZVK_CONFILE_STRING, offsetof(ZVK_DetectorKeys, names[0]), "",
     "detector A; its last digit goes to the helper program"},
    {"DET_B_NAME", ZVK_CONFILE_STRING, offsetof(ZVK_DetectorKeys, names[1]), "",
     "detector B, likewise"},
};

const ZVK_KeyTable kDetectorKeys = {"Detector", "FORCE", kRows, std::size(kRows)};
