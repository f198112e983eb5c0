#ifndef QUORVEX_PLATFORM_FOLDERS_H
#define QUORVEX_PLATFORM_FOLDERS_H

// Where things lie on this machine.

#include <cstddef>
#include <string>

// The size of every path buffer, terminator included.
constexpr size_t kPathSize = 4096;

// The full path of a file in the common data folder: $ZVK_COMMON_APPDATA if it is set; else
// /var/lib if /var/lib/ZVK640 exists; else $XDG_DATA_HOME or ~/.local/share; then "/ZVK640/" and
// the name. The folder is not made. Empty when memory ran out.
std::string CommonDataPath(const char *fileName) noexcept;

enum ZVK_UserFolder
{
    ZVK_FOLDER_PICTURES = 0,
    ZVK_FOLDER_VIDEOS = 1
};

// The user's folder for pictures or videos, without a last slash, as the desktop's user-dirs.dirs
// names it; else ~/Pictures and ~/Videos. It is made if it isn't there; whether that worked shows
// when something is written to it. Empty when memory ran out.
std::string UserFolderPath(ZVK_UserFolder folder) noexcept;

#endif
