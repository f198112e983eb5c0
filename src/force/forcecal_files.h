#ifndef QUORVEX_FORCE_FORCECAL_FILES_H
#define QUORVEX_FORCE_FORCECAL_FILES_H

// What the writer and the reader of the data files share.

#include "force/forcecal.h"

#include <string>

struct ZVK_DataFileNames
{
    const char *timeDomain;
    const char *spectrum;
};

// In the order of the files: path A x, y, z, n, then path B.
constexpr int kDataFilePairs = 8;
extern const ZVK_DataFileNames kDataFileNames[kDataFilePairs];

inline ZVK_ForceCalDataContainer &DataFileContainer(int pair)
{
    return g_forceCal.Data[pair / 4][pair % 4];
}

// The name with its suffix, cut to 4096 characters; empty for a null name, so that no file opens.
std::string DataFilePath(const char *fileName, const char *suffix);

extern const char *const kDataFileRule;  // the line above and below a header

#endif
