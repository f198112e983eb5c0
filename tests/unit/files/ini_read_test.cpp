// How the text of a section and tag file is taken apart.

#include "files/ini_store.h"

#include "platform/memory.h"
#include "scratch_folder.h"

#include <gtest/gtest.h>

// A store loaded from a text.
class IniRead : public testing::Test
{
protected:
    void Load(const std::string &text, int sorted = 1)
    {
        m_store.reset(Ini_New(sorted));
        ASSERT_EQ(Ini_ReadFromText(m_store.get(), text), 0);
    }

    // The value of an item; "(none)" when it isn't there.
    std::string Value(const char *section, const char *tag)
    {
        char *copy = nullptr;
        if (Ini_GetStringCopy(m_store.get(), section, tag, &copy) <= 0) return "(none)";
        std::string value = copy;
        Release(copy);
        return value;
    }

    std::string Names() const
    {
        std::string names;
        for (const IniSection &section : m_store->sections)
            names += "[" + std::string(section.name) + "]";
        return names;
    }

    Store m_store{nullptr, Ini_Dispose};
};

TEST_F(IniRead, NewStoreIsEmptyAndDisposeTakesNull)
{
    Load("");
    EXPECT_EQ(Ini_NumberOfSections(m_store.get()), 0);
    Ini_Dispose(nullptr);
}

TEST_F(IniRead, LinesEndAtCrLfAndNulAndPairsAreOneEnd)
{
    const std::string ends[] = {"\n", "\r", "\r\n", "\n\r", std::string(1, '\0'), "\n\n", "\r\r"};
    for (const std::string &end : ends) {
        Load("[a]" + end + "x = 1" + end + "y = 2" + end);
        EXPECT_EQ(Names(), "[a]");
        EXPECT_EQ(Value("a", "x") + Value("a", "y"), "12") << testing::PrintToString(end);
    }
}

TEST_F(IniRead, LastLineWithoutAnEndCounts)
{
    Load("[a]\nx = 1");
    EXPECT_EQ(Value("a", "x"), "1");
    Load("[a]");
    EXPECT_EQ(Ini_NumberOfSections(m_store.get()), 1);
}

TEST_F(IniRead, LineKeeps1024CharactersAndDropsTheRest)
{
    const std::string fits(1024 - 4, 'v');
    Load("[a]\nx = " + fits + "TOO MUCH\ny = 2\n");
    EXPECT_EQ(Value("a", "x"), fits);
    EXPECT_EQ(Value("a", "y"), "2");
}

TEST_F(IniRead, The1024CharactersAreCountedBeforeLeadingBlanksGo)
{
    Load("[a]\n" + std::string(1020, ' ') + "x=12345\n");
    EXPECT_EQ(Value("a", "x"), "12");
}

TEST_F(IniRead, LongLineEndsInAPairAllTheSame)
{
    Load("[a]\r\nx=" + std::string(5000, 'v') + "\r\ny = 2\r\n");
    EXPECT_EQ(Value("a", "x").size(), 1022U);
    EXPECT_EQ(Value("a", "y"), "2");
}

TEST_F(IniRead, WhiteSpaceAroundLinesNamesAndValuesIsIgnored)
{
    Load(" \t[ \tname here\v ] \f\n \t TAG \t=\t 5 \t\n");
    EXPECT_EQ(Names(), "[name here]");
    EXPECT_EQ(Value("name here", "tag"), "5");
}

TEST_F(IniRead, NamesAreFoundWithoutRegardToCaseAndBlanksAtTheirEnds)
{
    Load("[Galvo 0]\nMinX = 7\n");
    EXPECT_EQ(Value("  GALVO 0\t", "\tmINx "), "7");
    EXPECT_EQ(Value("GALVO  0", "MINX"), "(none)") << "blanks inside a name count";
}

TEST_F(IniRead, CommentLinesAreNoItems)
{
    Load("; [b]\n[a]\n ; x = 1\n;\ny = 2 ; no comment\n");
    EXPECT_EQ(Names(), "[a]");
    EXPECT_EQ(Value("a", "x"), "(none)");
    EXPECT_EQ(Value("a", "; x"), "(none)");
    EXPECT_EQ(Value("a", "y"), "2 ; no comment");
}

TEST_F(IniRead, SectionEndsAtTheFirstCloseTokenWithOnlyBlanksBehind)
{
    Load("[a]\nx = 1\n[b]y\nx2 = 2\n[c]]\nx3 = 3\n[d\nx4 = 4\n[e = 5\nx5 = 5\n[f] ; no\nx6 = 6\n");
    EXPECT_EQ(Names(), "[a]");
    for (const char *tag : {"x", "x2", "x3", "x4", "x5", "x6"})
        EXPECT_EQ(Value("a", tag).size(), 1U) << tag << " falls to the section before";
    EXPECT_EQ(m_store->sections[0].items.size(), 6U) << "[e = 5 is no item";
}

TEST_F(IniRead, OpenTokenInsideANameAndAnEmptyNameAreNames)
{
    Load("[a[b]\nx = 1\n[ ]\nx = 2\n", 0);
    EXPECT_EQ(Names(), "[a[b][]");
    EXPECT_EQ(Value("a[b", "x"), "1");
    EXPECT_EQ(Value("", "x"), "2");
}

TEST_F(IniRead, ItemIsSplitAtTheFirstSeparator)
{
    Load("[a]\nx = y = z\n= 3\n");
    EXPECT_EQ(Value("a", "x"), "y = z");
    EXPECT_EQ(Value("a", ""), "3");
}

TEST_F(IniRead, LinesWithoutSeparatorValueOrSectionAreIgnored)
{
    Load("early = 1\n[a]\nnothing\nempty =\nblank = \t \n");
    EXPECT_TRUE(m_store->sections[0].items.empty());
    int32_t number = 77;
    EXPECT_EQ(Ini_GetInt(m_store.get(), "a", "empty", &number), 0);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(Value("a", "early"), "(none)");
}

TEST_F(IniRead, QuotesAroundAValueGoAndMarkTheItem)
{
    struct Row
    {
        const char *line;
        const char *value;
        bool quoted;
    };
    const Row rows[] = {
        {"x = \"a\"", "a", true},         {"x = \"  a  \"", "  a  ", true},
        {"x = \"a", "\"a", false},        {"x = a\"", "a\"", false},
        {"x = \"", "\"", false},          {"x = \"\"", "", true},
        {"x = \"\"a\"\"", "\"a\"", true}, {"x = \"a\" b", "\"a\" b", false},
    };
    for (const Row &row : rows) {
        Load(std::string("[s]\n") + row.line + "\n");
        EXPECT_EQ(Value("s", "x"), row.value) << row.line;
        EXPECT_EQ(m_store->sections[0].items.at(0).quoted, row.quoted) << row.line;
    }
}

TEST_F(IniRead, ItemsWithTheSameTagAreAllKept)
{
    Load("[a]\nx = 1\nX = 2\nx = 3\n");
    EXPECT_EQ(m_store->sections[0].items.size(), 3U);
    EXPECT_EQ(Ini_NumberOfItems(m_store.get(), "A"), 3);
    EXPECT_EQ(Ini_NumberOfItems(m_store.get(), "b"), 0);
}

TEST_F(IniRead, CommentsWaitForTheNextSectionOrItem)
{
    Load("; s\r\n[a]\n; one\n  ; two\n\nno item\nx = 1\n; tail\n", 0);
    EXPECT_EQ(m_store->headComment, "");
    EXPECT_EQ(m_store->sections[0].comment, "; s");
    EXPECT_EQ(m_store->sections[0].items.at(0).comment, "; one\r\n; two");
    EXPECT_EQ(m_store->tailComment, "; tail");
}

TEST_F(IniRead, CommentAboveAnIgnoredLineBeforeTheFirstSectionIsTheHead)
{
    Load("; one\n; two\n\n; three\nrubbish = 1\n; of a\n[a]\n");
    EXPECT_EQ(m_store->headComment, "; one\r\n; two\r\n; three");
    EXPECT_EQ(m_store->sections[0].comment, "; of a");
}

TEST_F(IniRead, CommentsAloneAreTheTail)
{
    Load("; one\n; two");
    EXPECT_EQ(m_store->headComment, "");
    EXPECT_EQ(m_store->tailComment, "; one\r\n; two");
    EXPECT_EQ(Ini_NumberOfSections(m_store.get()), 0);
}

TEST_F(IniRead, PartsOfALongValueBecomeOneItem)
{
    Load("[a]\nx Line0001 = \"one \"\nx Line0002 = \"two\"\nx Line0003 = \" three\"\ny = 4\n");
    EXPECT_EQ(Value("a", "x"), "one two three");
    EXPECT_EQ(Value("a", "x Line0001"), "(none)");
    EXPECT_EQ(Value("a", "y"), "4");
    EXPECT_EQ(m_store->sections[0].items.size(), 2U);
    EXPECT_TRUE(m_store->sections[0].items[0].quoted);
}

TEST_F(IniRead, RunOfPartsOpensWithNumber1AndEndsAtTheNextNumber1)
{
    Load("[a]\nx Line2 = no\nx Line1 = a\nx Line7 = b\ny Line01 = c\ny Line2 = d\nz = e\n"
         "w Line3 = no\n");
    EXPECT_EQ(Value("a", "x line2"), "no");
    EXPECT_EQ(Value("a", "x"), "ab");
    EXPECT_EQ(Value("a", "y"), "cd");
    EXPECT_EQ(Value("a", "w Line3"), "no");
}

TEST_F(IniRead, PartThatStandsAloneKeepsItsTag)
{
    Load("[a]\nScan Line1 = 5\nz = 1\nLine1 = x\nLine2 = y\n Line = 3\n");
    EXPECT_EQ(Value("a", "Scan Line1"), "5");
    EXPECT_EQ(Value("a", "Line1"), "x") << "no blank before the word: no part";
    EXPECT_EQ(Value("a", "Line"), "3");
}

TEST_F(IniRead, PartsAreNotJoinedOverASectionsEnd)
{
    Load("[a]\nx Line1 = a\n[b]\nx Line2 = b\n");
    EXPECT_EQ(Value("a", "x Line1"), "a");
    EXPECT_EQ(Value("b", "x Line2"), "b");
}

TEST_F(IniRead, CommentsOfLaterPartsAreKept)
{
    Load("[a]\n; one\nx Line1 = a\n; two\nx Line2 = b\n");
    EXPECT_EQ(m_store->sections[0].items.at(0).comment, "; one\r\n; two");
}

TEST_F(IniRead, HugePartNumbersAreNumbers)
{
    Load("[a]\nx Line1 = a\nx Line99999999999999999999999 = b\n");
    EXPECT_EQ(Value("a", "x"), "ab");
}

TEST_F(IniRead, LastSectionFoundDoesNotHideAnother)
{
    Load("[b]\nx = 1\n[a]\nx = 2\n");
    EXPECT_EQ(Value("b", "x"), "1");
    EXPECT_EQ(Value("a", "x"), "2");
    EXPECT_EQ(Value("none", "x"), "(none)");
    EXPECT_EQ(Value("b", "x"), "1");
}

TEST_F(IniRead, FileIsReadFromDiskAndAnAbsentOneIsNegative)
{
    const ScratchFolder folder;
    folder.Write("a.ini", "[a]\nx = 1\n");
    m_store.reset(Ini_New(1));
    EXPECT_EQ(Ini_ReadFromFile(m_store.get(), folder.Path("a.ini").c_str()), 0);
    EXPECT_EQ(Value("a", "x"), "1");
    EXPECT_LT(Ini_ReadFromFile(m_store.get(), folder.Path("none.ini").c_str()), 0);
    EXPECT_LT(Ini_ReadFromFile(m_store.get(), folder.Path().c_str()), 0) << "a folder is no file";
    EXPECT_EQ(Value("a", "x"), "1");
}

TEST_F(IniRead, NullArgumentsAreRefused)
{
    Load("[a]\nx = 1\n");
    IniStore *store = m_store.get();
    char *copy = nullptr;
    int32_t number = 0;
    EXPECT_LT(Ini_ReadFromText(nullptr, ""), 0);
    EXPECT_LT(Ini_ReadFromFile(nullptr, "x"), 0);
    EXPECT_LT(Ini_ReadFromFile(store, nullptr), 0);
    EXPECT_LT(Ini_WriteToFile(nullptr, "x"), 0);
    EXPECT_LT(Ini_WriteToFile(store, nullptr), 0);
    EXPECT_EQ(Ini_NumberOfSections(nullptr), 0);
    EXPECT_EQ(Ini_NumberOfItems(nullptr, "a"), 0);
    EXPECT_EQ(Ini_GetInt(nullptr, "a", "x", &number), 0);
    EXPECT_EQ(Ini_GetInt(store, nullptr, "x", &number), 0);
    EXPECT_EQ(Ini_GetStringCopy(store, "a", nullptr, &copy), 0);
    EXPECT_LT(Ini_PutInt(nullptr, "a", "x", 1), 0);
    EXPECT_LT(Ini_PutInt(store, nullptr, "x", 1), 0);
    EXPECT_LT(Ini_PutDouble(store, "a", nullptr, 1), 0);
    EXPECT_LT(Ini_PutString(store, "a", "x", nullptr), 0);
    EXPECT_EQ(Value("a", "x"), "1");
}
