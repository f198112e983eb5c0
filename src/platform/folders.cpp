// Which folders hold what, decided from facts that the back-end collects.

#include "platform/folders.h"

#include "platform/files.h"
#include "platform/folder_facts.h"

#include <new>
#include <string_view>

constexpr const char *kProductFolder = "/ZVK640/";

// Base folders of the desktop count only when they are absolute.
static bool IsAbsolute(const std::string &path)
{
    return !path.empty() && path.front() == '/';
}

std::string DecideCommonBase(const ZVK_FolderFacts &facts)
{
    if (!facts.commonOverride.empty()) return facts.commonOverride;
    if (facts.systemFolderExists) return facts.systemBase;
    if (IsAbsolute(facts.xdgDataHome)) return facts.xdgDataHome;
    return facts.home + "/.local/share";
}

std::string CommonDataPath(const char *fileName) noexcept
{
    try {
        return DecideCommonBase(CollectFolderFacts()) + kProductFolder + (fileName ? fileName : "");
    } catch (const std::bad_alloc &) {
        return {};
    }
}
