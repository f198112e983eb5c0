// Where the processes of one user meet.

#include "messages/link.h"

#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

// An address holds 107 characters; the inbox's own name needs up to 24 of them with its slash.
constexpr size_t kLongestFolder = 107 - 24;

static bool IsOwnAndClosed(const std::string &folder)
{
    struct stat facts;
    if (lstat(folder.c_str(), &facts) != 0 || !S_ISDIR(facts.st_mode)) return false;
    return facts.st_uid == geteuid() && (facts.st_mode & 077) == 0;
}

static bool MakeOwnFolder(const std::string &folder)
{
    if (folder.size() > kLongestFolder) return false;
    (void)mkdir(folder.c_str(), 0700);  // it may be there; the check tells whether it will do
    return IsOwnAndClosed(folder);
}

std::string MeetingFolder()
{
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::string user = std::to_string(geteuid());
    const std::string candidates[] = {
        runtime && *runtime == '/' ? std::string(runtime) + "/quorvex" : std::string(),
        "/run/user/" + user + "/quorvex",
        "/tmp/quorvex-" + user,
    };
    for (const std::string &folder : candidates)
        if (!folder.empty() && MakeOwnFolder(folder)) return folder;
    return {};
}
