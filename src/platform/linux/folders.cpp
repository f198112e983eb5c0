// What the environment and the user data base say about folders.

#include "platform/folder_facts.h"

#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

constexpr mode_t kFolderMode = 0755;  // less the user's mask

constexpr const char *kSystemBase = "/var/lib";
constexpr size_t kUserEntrySize = 16384;

static std::string Variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

static std::string HomeFromUserDataBase()
{
    std::vector<char> texts(kUserEntrySize);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found) != 0 || !found)
        return "/";
    return found->pw_dir && *found->pw_dir ? found->pw_dir : "/";
}

static std::string Home()
{
    std::string home = Variable("HOME");
    return home.empty() ? HomeFromUserDataBase() : home;
}

static bool IsFolder(const std::string &path)
{
    struct stat facts;
    return stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

ZVK_FolderFacts CollectFolderFacts()
{
    ZVK_FolderFacts facts;
    facts.commonOverride = Variable("ZVK_COMMON_APPDATA");
    facts.systemBase = kSystemBase;
    // Not looked for where it makes no difference: each access to a file asks.
    facts.systemFolderExists =
        facts.commonOverride.empty() && IsFolder(facts.systemBase + "/ZVK640");
    facts.xdgDataHome = Variable("XDG_DATA_HOME");
    facts.xdgConfigHome = Variable("XDG_CONFIG_HOME");
    facts.home = Home();
    return facts;
}

void MakeFolder(const std::string &path)
{
    // Each step may find its folder there already; the last one's success shows when it is used.
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        (void)mkdir(path.substr(0, slash).c_str(), kFolderMode);
    (void)mkdir(path.c_str(), kFolderMode);
}
