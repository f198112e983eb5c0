#ifndef QUORVEX_FILES_FILE_NAMES_H
#define QUORVEX_FILES_FILE_NAMES_H

// The logical file names, which mean a file in the common data folder. Each call has its own: any
// other name is a path as it stands.

#include <initializer_list>
#include <string>

// The path of a file by logical name or as given, cut to 4096 characters. Empty, so that no file
// opens, when the name is null or memory ran out.
std::string ResolvePath(const char *fileName,
                        std::initializer_list<const char *> logicalNames) noexcept;

#endif
