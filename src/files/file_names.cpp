#include "files/file_names.h"

#include "platform/folders.h"

#include <cstring>
#include <new>

std::string ResolvePath(const char *fileName,
                        std::initializer_list<const char *> logicalNames) noexcept
{
    if (!fileName) return {};
    for (const char *name : logicalNames) {
        if (std::strcmp(fileName, name) == 0) return CommonDataPath(name);
    }
    try {
        return std::string(fileName, strnlen(fileName, kPathSize));
    } catch (const std::bad_alloc &) {
        return {};
    }
}
