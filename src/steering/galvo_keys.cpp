#include "steering/galvo_keys.h"

#include <iterator>

const char *const kGalvoSections[2] = {"GALVO 0", "GALVO 1"};
const char *const kOutputSection = "MAINDAQ";

static const ZVK_KeyRow kLimitRows[] = {
    {"OFFSETX", ZVK_CONFILE_DOUBLE, offsetof(ZVK_GalvoLimitKeys, xoff), "V", "centre, X mirror"},
    {"OFFSETY", ZVK_CONFILE_DOUBLE, offsetof(ZVK_GalvoLimitKeys, yoff), "V", "centre, Y mirror"},
    {"MAXX", ZVK_CONFILE_DOUBLE, offsetof(ZVK_GalvoLimitKeys, xMax), "V",
     "highest voltage, X mirror"},
    {"MINX", ZVK_CONFILE_DOUBLE, offsetof(ZVK_GalvoLimitKeys, xMin), "V",
     "lowest voltage, X mirror"},
    {"MAXY", ZVK_CONFILE_DOUBLE, offsetof(ZVK_GalvoLimitKeys, yMax), "V",
     "highest voltage, Y mirror"},
    {"MINY", ZVK_CONFILE_DOUBLE, offsetof(ZVK_GalvoLimitKeys, yMin), "V",
     "lowest voltage, Y mirror"},
};

static const ZVK_KeyRow kOutputRows[] = {
    {"BACKEND", ZVK_CONFILE_LONG, offsetof(ZVK_OutputKeys, backend), "",
     "back-end; the lowest bit must be 1 on hardware"},
    {"CLOCKRATE", ZVK_CONFILE_LONG, offsetof(ZVK_OutputKeys, clockRate), "1/s",
     "samples per second of each output"},
    {"SAMPLESPERCHAN", ZVK_CONFILE_LONG, offsetof(ZVK_OutputKeys, samplesPerChan), "",
     "samples per output in a block"},
    {"EVERYNSAMPLES", ZVK_CONFILE_LONG, offsetof(ZVK_OutputKeys, everyNSamples), "",
     "samples between two output events; it must divide SAMPLESPERCHAN"},
    {"TRIGGER", ZVK_CONFILE_LONG, offsetof(ZVK_OutputKeys, trigger), "",
     "0: the card's own clock; else the clock comes in at pfi1"},
    {"SIMULATE", ZVK_CONFILE_LONG, offsetof(ZVK_OutputKeys, simulate), "",
     "not 0: no card, a tick of 0.5 s plays a block"},
    {"DAQNAME", ZVK_CONFILE_STRING, offsetof(ZVK_OutputKeys, device), "",
     "the card's name in its driver"},
};

const ZVK_KeyTable kGalvoLimitKeys = {"Galvo", "GALVO 0, GALVO 1", kLimitRows,
                                      std::size(kLimitRows)};
const ZVK_KeyTable kOutputKeys = {"Galvo", "MAINDAQ", kOutputRows, std::size(kOutputRows)};
