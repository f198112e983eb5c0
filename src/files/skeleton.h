#ifndef QUORVEX_FILES_SKELETON_H
#define QUORVEX_FILES_SKELETON_H

// The first save of a file that is not there yet: a skeleton with empty values, which the save then
// fills. And the numbered tags of the files that are saved so.

#include <cstdint>
#include <string>

std::string NumberedTag(const char *name, int32_t number);  // "AX0": decimal, without padding

// Makes the file with this text. False when it can't be made whole, or when there is something by
// that name already: a file that could not be read is never taken for an absent one and wiped.
bool WriteSkeleton(const std::string &path, const std::string &text);

#endif
