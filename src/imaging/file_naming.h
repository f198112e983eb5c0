#ifndef QUORVEX_IMAGING_FILE_NAMING_H
#define QUORVEX_IMAGING_FILE_NAMING_H

// Names for pictures and videos whose client gives none.

#include "platform/folders.h"

// "<the user's folder>/20170101_093005.avi" by the local clock, cut to kPathSize bytes, into `path`
// of that room. False when memory ran out.
bool MakeFileName(ZVK_UserFolder folder, const char *extension, char *path) noexcept;

#endif
