// Where things lie: the choice as rows, and the calls with the variables set.

#include "platform/folders.h"

#include "platform/folder_facts.h"
#include "scratch_folder.h"

#include <filesystem>

struct CommonRow
{
    const char *what;
    const char *commonOverride;
    bool systemFolderExists;
    const char *xdgDataHome;
    const char *expected;
};

TEST(CommonData, BaseIsTheFirstThatApplies)
{
    const CommonRow rows[] = {
        {"the variable before all", "/lab", true, "/data", "/lab"},
        {"a relative variable too", "lab", true, "/data", "lab"},
        {"the system's folder", "", true, "/data", "/var/lib"},
        {"the user's data home", "", false, "/data", "/data"},
        {"a relative data home is passed over", "", false, "data", "/home/eve/.local/share"},
        {"below the home", "", false, "", "/home/eve/.local/share"},
    };
    for (const CommonRow &row : rows) {
        ZVK_FolderFacts facts;
        facts.commonOverride = row.commonOverride;
        facts.systemBase = "/var/lib";
        facts.systemFolderExists = row.systemFolderExists;
        facts.xdgDataHome = row.xdgDataHome;
        facts.home = "/home/eve";
        EXPECT_EQ(DecideCommonBase(facts), row.expected) << row.what;
    }
}

TEST(CommonData, PathIsBaseProductFolderAndName)
{
    const ScopedVariable common("ZVK_COMMON_APPDATA", "/lab/data");
    EXPECT_EQ(CommonDataPath("config.ini"), "/lab/data/ZVK640/config.ini");
    EXPECT_EQ(CommonDataPath(""), "/lab/data/ZVK640/");
    EXPECT_EQ(CommonDataPath(nullptr), "/lab/data/ZVK640/");
}

TEST(CommonData, TheFolderIsNotMade)
{
    const ScratchFolder folder;
    const std::string base = folder.Path("new");
    const ScopedVariable common("ZVK_COMMON_APPDATA", base.c_str());
    EXPECT_EQ(CommonDataPath("log.ini"), base + "/ZVK640/log.ini");
    EXPECT_FALSE(std::filesystem::exists(base));
}

TEST(CommonData, AnEmptyVariableCountsAsUnset)
{
    const bool instrumentHere = std::filesystem::is_directory("/var/lib/ZVK640");
    const ScopedVariable common("ZVK_COMMON_APPDATA", "");
    const ScopedVariable data("XDG_DATA_HOME", "/data");
    EXPECT_EQ(CommonDataPath("config.ini"),
              instrumentHere ? "/var/lib/ZVK640/config.ini" : "/data/ZVK640/config.ini");
}

TEST(CommonData, WithoutAHomeVariableTheUserDataBaseTells)
{
    const ScopedVariable home("HOME", nullptr);
    EXPECT_FALSE(CollectFolderFacts().home.empty());
    EXPECT_EQ(CollectFolderFacts().home.front(), '/');
}

struct UserRow
{
    const char *what;
    ZVK_UserFolder folder;
    const char *userDirs;
    const char *expected;
};

TEST(UserFolders, AreThoseThatTheDesktopNames)
{
    const UserRow rows[] = {
        {"no file", ZVK_FOLDER_PICTURES, "", "/home/eve/Pictures"},
        {"no file", ZVK_FOLDER_VIDEOS, "", "/home/eve/Videos"},
        {"below the home", ZVK_FOLDER_PICTURES, "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n",
         "/home/eve/Bilder"},
        {"absolute", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"/big/films\"\n", "/big/films"},
        {"each its own", ZVK_FOLDER_VIDEOS, "XDG_PICTURES_DIR=\"/p\"\nXDG_VIDEOS_DIR=\"/v\"", "/v"},
        {"the last line counts", ZVK_FOLDER_VIDEOS,
         "XDG_VIDEOS_DIR=\"/a\"\nXDG_VIDEOS_DIR=\"/b\"\n", "/b"},
        {"blanks", ZVK_FOLDER_VIDEOS, "  XDG_VIDEOS_DIR = \"/v\"  \n", "/v"},
        {"a comment", ZVK_FOLDER_VIDEOS, "#XDG_VIDEOS_DIR=\"/v\"\n", "/home/eve/Videos"},
        {"last slashes go", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"$HOME/v//\"\n", "/home/eve/v"},
        {"escaped characters", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"/a\\\"b\\\\c\"\n", "/a\"b\\c"},
        {"relative", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"films\"\n", "/home/eve/Videos"},
        {"no quotes", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=/films\n", "/home/eve/Videos"},
        {"another variable", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"$TMP/v\"\n", "/home/eve/Videos"},
        {"the home itself: not wanted", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"$HOME/\"\n",
         "/home/eve/Videos"},
        {"no value", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR", "/home/eve/Videos"},
        {"open quote", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"/v", "/v"},
        {"open escape", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIR=\"/v\\", "/v\\"},
        {"a longer key", ZVK_FOLDER_VIDEOS, "XDG_VIDEOS_DIRS=\"/v\"", "/home/eve/Videos"},
    };
    ZVK_FolderFacts facts;
    facts.home = "/home/eve";
    for (const UserRow &row : rows)
        EXPECT_EQ(DecideUserFolder(row.folder, facts, row.userDirs), row.expected) << row.what;
}

TEST(UserFolders, AreMadeWithThoseAbove)
{
    const ScratchFolder scratch;
    const std::string home = scratch.Path();
    const ScopedVariable homeVariable("HOME", home.c_str());
    const ScopedVariable config("XDG_CONFIG_HOME", home.c_str());
    scratch.Write("user-dirs.dirs", "XDG_VIDEOS_DIR=\"$HOME/a/b/films\"\n");
    EXPECT_EQ(UserFolderPath(ZVK_FOLDER_VIDEOS), home + "/a/b/films");
    EXPECT_TRUE(std::filesystem::is_directory(home + "/a/b/films"));
    EXPECT_EQ(UserFolderPath(ZVK_FOLDER_VIDEOS), home + "/a/b/films");  // there it is now
    EXPECT_EQ(UserFolderPath(ZVK_FOLDER_PICTURES), home + "/Pictures");
    EXPECT_TRUE(std::filesystem::is_directory(home + "/Pictures"));
}

TEST(UserFolders, TheListLiesBelowTheHomeWithoutAConfigFolder)
{
    const ScratchFolder scratch;
    const std::string home = scratch.Path();
    const ScopedVariable homeVariable("HOME", home.c_str());
    const ScopedVariable config("XDG_CONFIG_HOME", nullptr);
    std::filesystem::create_directory(home + "/.config");
    scratch.Write(".config/user-dirs.dirs", "XDG_PICTURES_DIR=\"$HOME/Fotos\"\n");
    EXPECT_EQ(UserFolderPath(ZVK_FOLDER_PICTURES), home + "/Fotos");
}
