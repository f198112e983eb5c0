// What a store looks like as a file, byte for byte, and how the file takes the old one's place.

#include "files/ini_store.h"

#include "failing_files.h"
#include "scratch_folder.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

class IniWrite : public testing::Test
{
protected:
    // Reads the text and writes it back.
    std::string Rewritten(const std::string &text, int sorted = 1)
    {
        const Store store(Ini_New(sorted), Ini_Dispose);
        EXPECT_EQ(Ini_ReadFromText(store.get(), text), 0);
        EXPECT_EQ(Ini_WriteToFile(store.get(), m_path.c_str()), 0);
        return m_folder.Read("a.ini");
    }

    // A file of one item.
    std::string WithItem(const std::string &tag, const std::string &value)
    {
        const Store store(Ini_New(1), Ini_Dispose);
        EXPECT_EQ(Ini_PutString(store.get(), "s", tag.c_str(), value.c_str()), 0);
        EXPECT_EQ(Ini_WriteToFile(store.get(), m_path.c_str()), 0);
        return m_folder.Read("a.ini");
    }

    ScratchFolder m_folder;
    std::string m_path = m_folder.Path("a.ini");
};

TEST_F(IniWrite, LinesEndInCrLfAndAnEmptyLineFollowsEachSection)
{
    EXPECT_EQ(Rewritten("[b]\n y=2\n[a]\nz = \"t\"\nx =1"),
              "[a]\r\nx = 1\r\nz = \"t\"\r\n\r\n[b]\r\ny = 2\r\n\r\n");
}

TEST_F(IniWrite, LfFileReadsLikeACrLfFileAndBothComeOutAlike)
{
    const std::string lf = "; c\n[a]\nx = 1\n";
    EXPECT_EQ(Rewritten(lf), "; c\r\n[a]\r\nx = 1\r\n\r\n");
    EXPECT_EQ(Rewritten("; c\r\n[a]\r\nx = 1\r\n"), "; c\r\n[a]\r\nx = 1\r\n\r\n");
}

TEST_F(IniWrite, SectionsAndItemsStandInCaseBlindOrder)
{
    EXPECT_EQ(Rewritten("[GALVO 1]\nb=1\nA=2\n[camera]\n[BE 0]\n[Galvo 0]\n"),
              "[BE 0]\r\n\r\n[camera]\r\n\r\n[Galvo 0]\r\n\r\n[GALVO 1]\r\nA = 2\r\nb = 1\r\n\r\n");
}

TEST_F(IniWrite, UnsortedStoreKeepsTheFilesOrder)
{
    EXPECT_EQ(Rewritten("[b]\nz=1\na=2\n[a]\n", 0), "[b]\r\nz = 1\r\na = 2\r\n\r\n[a]\r\n\r\n");
}

TEST_F(IniWrite, CommentsFollowTheirItemAndSection)
{
    EXPECT_EQ(Rewritten("; head\n\n; of b\n; more\n[b]\n; of y\ny=1\n;of x\nx=2\n;of a\n[a]\n;end"),
              "; head\r\n\r\n;of a\r\n[a]\r\n\r\n; of b\r\n; more\r\n[b]\r\n;of x\r\nx = 2\r\n"
              "; of y\r\ny = 1\r\n\r\n;end\r\n");
}

TEST_F(IniWrite, WrittenFileReadsBackTheSame)
{
    const std::string once =
        Rewritten("; head\n\n;b\n[b]\ny=\"1\"\ny=2\nq = \"\"\n;x\nx = a \" b\n[a]\n;end\n;more");
    EXPECT_EQ(Rewritten(once), once);
}

TEST_F(IniWrite, ValueOf80CharactersIsOneLineAnd81AreTwo)
{
    const std::string fits(80, 'v');
    EXPECT_EQ(WithItem("tag", fits), "[s]\r\ntag = \"" + fits + "\"\r\n\r\n");
    EXPECT_EQ(WithItem("tag", fits + "w"),
              "[s]\r\ntag Line0001 = \"" + fits + "\"\r\ntag Line0002 = \"w\"\r\n\r\n");
    EXPECT_EQ(WithItem("tag", fits + fits),
              "[s]\r\ntag Line0001 = \"" + fits + "\"\r\ntag Line0002 = \"" + fits + "\"\r\n\r\n");
}

TEST_F(IniWrite, UnquotedLongValueIsSplitWithoutQuotes)
{
    const std::string fits(80, 'v');
    EXPECT_EQ(Rewritten("[s]\n; c\ntag = " + fits + "w\n"),
              "[s]\r\n; c\r\ntag Line0001 = " + fits + "\r\ntag Line0002 = w\r\n\r\n");
}

TEST_F(IniWrite, LongValuesReadBackWhole)
{
    std::string words;
    for (int i = 0; i < 40; ++i)
        words += "word" + std::to_string(i) + std::string(static_cast<size_t>(i), ' ');
    const std::string values[] = {words + "end", "\"" + words + "\"", std::string(79, 'a') + " b",
                                  "\"" + std::string(78, 'q') + "\"x", std::string(1000, '\\')};
    for (const std::string &value : values) {
        const Store before(Ini_New(1), Ini_Dispose);
        ASSERT_EQ(Ini_ReadFromText(before.get(), "[s]\ntag = " + value + "\n"), 0);
        const std::string expected(before->sections.at(0).items.at(0).value);
        (void)Rewritten("[s]\ntag = " + value + "\n");
        const Store after(Ini_New(1), Ini_Dispose);
        ASSERT_EQ(Ini_ReadFromFile(after.get(), m_path.c_str()), 0);
        ASSERT_EQ(after->sections.at(0).items.size(), 1U);
        EXPECT_EQ(after->sections[0].items[0].value, expected);
        EXPECT_EQ(after->sections[0].items[0].tag, "tag");
    }
}

TEST_F(IniWrite, TagIsCutTo255CharactersAndBeforeLineNumbersTo247)
{
    const std::string tag(300, 't');
    EXPECT_EQ(WithItem(tag, "v"), "[s]\r\n" + tag.substr(0, 255) + " = \"v\"\r\n\r\n");
    const std::string text = WithItem(tag, std::string(81, 'v'));
    EXPECT_EQ(text.substr(0, 5 + 247 + 12), "[s]\r\n" + tag.substr(0, 247) + " Line0001 = ");
}

TEST_F(IniWrite, CallsAreTempWriteFlushCloseRenameAndFolder)
{
    m_folder.Write("a.ini", "[a]\nx=1\n");
    const FailingFiles files;
    (void)Rewritten("[a]\nx=2\n");
    const std::vector<std::string> expected = {"access a.ini",
                                               "open ini$$0.CVI exclusive",
                                               "write 14",
                                               "sync",
                                               "close",
                                               "access a.ini",
                                               "copyMode a.ini ini$$0.CVI",
                                               "rename ini$$0.CVI a.ini",
                                               "syncFolder a.ini"};
    EXPECT_EQ(files.Calls(), expected);
}

TEST_F(IniWrite, TemporaryNameInUseIsSteppedOverAndLeftAlone)
{
    m_folder.Write("ini$$0.CVI", "another writer's");
    m_folder.Write("ini$$1.CVI", "another writer's");
    EXPECT_EQ(Rewritten("[a]\n"), "[a]\r\n\r\n");
    EXPECT_EQ(m_folder.Read("ini$$0.CVI"), "another writer's");
    EXPECT_EQ(m_folder.Read("ini$$1.CVI"), "another writer's");
    EXPECT_EQ(m_folder.CountFiles(), 3);
}

TEST_F(IniWrite, NoFreeTemporaryNameIsAFailureThatLeavesTheFile)
{
    m_folder.Write("a.ini", "old");
    for (int i = 0; i < 1000; ++i)
        m_folder.Write("ini$$" + std::to_string(i) + ".CVI", "");
    const Store store(Ini_New(1), Ini_Dispose);
    EXPECT_LT(Ini_WriteToFile(store.get(), m_path.c_str()), 0);
    EXPECT_EQ(m_folder.Read("a.ini"), "old");
}

TEST_F(IniWrite, ReadOnlyTargetIsRefusedBeforeAnythingIsMade)
{
    m_folder.Write("a.ini", "old");
    ASSERT_EQ(chmod(m_path.c_str(), 0444), 0);
    const FailingFiles files;
    const Store store(Ini_New(1), Ini_Dispose);
    EXPECT_LT(Ini_WriteToFile(store.get(), m_path.c_str()), 0);
    EXPECT_EQ(files.Calls(), std::vector<std::string>{"access a.ini"});
    EXPECT_EQ(m_folder.Read("a.ini"), "old");
}

TEST_F(IniWrite, FolderThatIsNotThereIsAFailure)
{
    const Store store(Ini_New(1), Ini_Dispose);
    EXPECT_LT(Ini_WriteToFile(store.get(), m_folder.Path("none/a.ini").c_str()), 0);
    EXPECT_EQ(m_folder.CountFiles(), 0);
}

TEST_F(IniWrite, NewFileKeepsTheOldOnesPermissions)
{
    m_folder.Write("a.ini", "[a]\n");
    ASSERT_EQ(chmod(m_path.c_str(), 0640), 0);
    (void)Rewritten("[b]\n");
    struct stat facts;
    ASSERT_EQ(stat(m_path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777U, 0640U);
}

TEST_F(IniWrite, NameWithoutAFolderIsInTheCurrentOne)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.Path());
    const Store store(Ini_New(1), Ini_Dispose);
    EXPECT_EQ(Ini_PutInt(store.get(), "a", "x", 1), 0);
    EXPECT_EQ(Ini_WriteToFile(store.get(), "a.ini"), 0);
    std::filesystem::current_path(before);
    EXPECT_EQ(m_folder.Read("a.ini"), "[a]\r\nx = 1\r\n\r\n");
    EXPECT_EQ(m_folder.CountFiles(), 1);
}
