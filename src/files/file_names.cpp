#include "files/file_names.h"

#include "platform/folders.h"

#include <cstring>

std::string ResolvePath(const char *fileName, std::initializer_list<const char *> logicalNames)
{
    for (const char *name : logicalNames) {
        if (std::strcmp(fileName, name) == 0) return CommonDataPath(name);
    }
    return std::string(fileName, strnlen(fileName, kPathSize));
}
