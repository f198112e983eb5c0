// Which folders hold what, decided from facts that the back-end collects.

#include "platform/folders.h"

#include "platform/files.h"
#include "platform/folder_facts.h"

#include <new>
#include <string_view>

constexpr const char *kProductFolder = "/ZVK640/";

struct UserFolderRow
{
    std::string_view key;   // in user-dirs.dirs
    const char *belowHome;  // when that names none
};

constexpr UserFolderRow kUserFolders[] = {
    {"XDG_PICTURES_DIR", "/Pictures"},
    {"XDG_VIDEOS_DIR", "/Videos"},
};

// Base folders of the desktop count only when they are absolute.
static bool IsAbsolute(std::string_view path) { return path.starts_with('/'); }

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

static std::string_view TrimmedFront(std::string_view text)
{
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// The text in double quotes at the start of `text`, where a backslash keeps the next character.
static std::string Unquoted(std::string_view text)
{
    std::string value;
    if (!text.starts_with('"')) return value;
    for (size_t i = 1; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) ++i;
        value += text[i];
    }
    return value;
}

// The value of one line, such as XDG_VIDEOS_DIR="$HOME/Videos", empty when it isn't the key's.
static std::string ValueOfLine(std::string_view line, std::string_view key)
{
    line = TrimmedFront(line);
    if (!line.starts_with(key)) return {};
    line = TrimmedFront(line.substr(key.size()));
    if (!line.starts_with('=')) return {};
    return Unquoted(TrimmedFront(line.substr(1)));
}

static void CutLastSlashes(std::string &path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
}

// The folder that a value means, empty when it means none: the file knows absolute paths and those
// below $HOME, and a folder that is the home itself stands for "not wanted".
static std::string FolderOfValue(std::string value, const std::string &home)
{
    constexpr std::string_view kHome = "$HOME";
    CutLastSlashes(value);
    if (value.starts_with("$HOME/")) return home + value.substr(kHome.size());
    if (!IsAbsolute(value) || value == home) return {};
    return value;
}

std::string DecideUserFolder(ZVK_UserFolder folder, const ZVK_FolderFacts &facts,
                             const std::string &userDirs)
{
    const UserFolderRow &row = kUserFolders[folder];
    std::string chosen;
    std::string_view rest = userDirs;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        std::string found = FolderOfValue(ValueOfLine(rest.substr(0, end), row.key), facts.home);
        if (!found.empty()) chosen = std::move(found);  // the last line counts
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return chosen.empty() ? facts.home + row.belowHome : chosen;
}

static std::string UserDirsPath(const ZVK_FolderFacts &facts)
{
    const std::string base =
        IsAbsolute(facts.xdgConfigHome) ? facts.xdgConfigHome : facts.home + "/.config";
    return base + "/user-dirs.dirs";
}

std::string UserFolderPath(ZVK_UserFolder folder) noexcept
{
    try {
        const ZVK_FolderFacts facts = CollectFolderFacts();
        std::string userDirs;
        (void)ReadWholeFile(UserDirsPath(facts).c_str(), userDirs);  // without it the text is empty
        std::string path = DecideUserFolder(folder, facts, userDirs);
        MakeFolder(path);
        return path;
    } catch (const std::bad_alloc &) {
        return {};
    }
}
