#ifndef QUORVEX_FILES_SKELETON_H
#define QUORVEX_FILES_SKELETON_H

// The first save of a file that is not there yet: a skeleton with empty values, which the save then fills.

#include <string>

// False when the file can't be made. What a write leaves out shows when the skeleton is read back.
bool WriteSkeleton(const std::string &path, const std::string &text);

// A file that is there but could not be read is never taken for an absent one: a skeleton would wipe it.
bool IsThere(const std::string &path);

#endif
