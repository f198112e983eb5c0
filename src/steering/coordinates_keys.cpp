#include "steering/coordinates_keys.h"

#include <cstddef>
#include <iterator>

static const ZVK_KeyRow kObjectiveRows[] = {
    {"LOAD", ZVK_CONFILE_STRING, offsetof(ZVK_ObjectiveKeys, load), "",
     "the objective file; \"default.odf\" is the one in the common data folder"},
};

static const ZVK_KeyRow kScaleRows[] = {
    {"FACTORX", ZVK_CONFILE_DOUBLE, offsetof(ZVK_ScaleKeys, factorX), "pixels",
     "camera pixels for each unit of length in X"},
    {"FACTORY", ZVK_CONFILE_DOUBLE, offsetof(ZVK_ScaleKeys, factorY), "pixels",
     "camera pixels for each unit of length in Y"},
};

const ZVK_KeyTable kObjectiveKeys = {"CoordinateSystems", "OBJ", kObjectiveRows,
                                     std::size(kObjectiveRows)};
const ZVK_KeyTable kScaleKeys = {"CoordinateSystems", "SCALE", kScaleRows, std::size(kScaleRows)};
