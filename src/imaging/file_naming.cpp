#include "imaging/file_naming.h"

#include "platform/clock.h"

#include <cstdio>

bool MakeFileName(ZVK_UserFolder folder, const char *extension, char *path) noexcept
{
    const ZVK_LocalTime now = Clock().localTime();
    const std::string place = UserFolderPath(folder);
    if (place.empty()) return false;
    const char *slash = place.back() == '/' ? "" : "/";
    (void)std::snprintf(path, kPathSize, "%s%s%d%02d%02d_%02d%02d%02d%s", place.c_str(), slash,
                        now.year, now.month, now.day, now.hours, now.minutes, now.seconds,
                        extension);
    return true;
}
