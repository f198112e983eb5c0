#ifndef QUORVEX_PLATFORM_FOLDER_FACTS_H
#define QUORVEX_PLATFORM_FOLDER_FACTS_H

// What the choice of folders depends on, and the choice itself, which is pure.

#include "platform/folders.h"

#include <string>

struct ZVK_FolderFacts
{
    std::string commonOverride;  // $ZVK_COMMON_APPDATA, empty when unset
    std::string systemBase;      // /var/lib
    bool systemFolderExists =
        false;                  // systemBase/ZVK640 is a folder; not asked beside commonOverride
    std::string xdgDataHome;    // $XDG_DATA_HOME, empty when unset
    std::string xdgConfigHome;  // $XDG_CONFIG_HOME, empty when unset
    std::string home;           // $HOME, else from the user data base; never empty
};

// Defined by the platform folder. May throw std::bad_alloc.
ZVK_FolderFacts CollectFolderFacts();

// Makes a folder and those above it that are missing. Defined by the platform folder.
void MakeFolder(const std::string &path);

std::string DecideCommonBase(const ZVK_FolderFacts &facts);

// `userDirs` is the text of user-dirs.dirs, empty when there is none.
std::string DecideUserFolder(ZVK_UserFolder folder, const ZVK_FolderFacts &facts,
                             const std::string &userDirs);

#endif
