// Items put into a store, and where they go.

#include "files/ini_store.h"

#include <gtest/gtest.h>

class IniPut : public testing::Test
{
protected:
    void Load(const std::string &text, int sorted = 1)
    {
        m_store.reset(Ini_New(sorted));
        ASSERT_EQ(Ini_ReadFromText(m_store.get(), text), 0);
    }

    // All the store holds, in its order: "[a] x=1 y=2 [b]".
    std::string Contents() const
    {
        std::string text;
        for (const IniSection &section : m_store->sections) {
            text += "[" + std::string(section.name) + "] ";
            for (const IniItem &item : section.items)
                text += std::string(item.tag) + "=" + std::string(item.value) + " ";
        }
        return text;
    }

    Store m_store{nullptr, Ini_Dispose};
};

TEST_F(IniPut, NumbersArePutBareAndTextsMarkedAsQuoted)
{
    Load("");
    EXPECT_EQ(Ini_PutInt(m_store.get(), "s", "i", -5), 0);
    EXPECT_EQ(Ini_PutDouble(m_store.get(), "s", "r", 0.5), 0);
    EXPECT_EQ(Ini_PutString(m_store.get(), "s", "t", "a\tb"), 0);
    EXPECT_EQ(Contents(), "[s] i=-5 r=0.5 t=a\\tb ");
    const std::vector<IniItem> &items = m_store->sections[0].items;
    EXPECT_FALSE(items[0].quoted);
    EXPECT_FALSE(items[1].quoted);
    EXPECT_TRUE(items[2].quoted);
}

TEST_F(IniPut, NewSectionAndItemTakeTheirSortedPlaces)
{
    Load("[d]\nz = 1\nb = 2\n[B]\nq = 3\n");
    EXPECT_EQ(Ini_PutInt(m_store.get(), "c", "x", 4), 0);
    EXPECT_EQ(Ini_PutInt(m_store.get(), "D", "M", 5), 0);
    EXPECT_EQ(Contents(), "[B] q=3 [c] x=4 [d] b=2 M=5 z=1 ");
}

TEST_F(IniPut, UnsortedStoreAddsAtTheEndAndReplacesInPlace)
{
    Load("[d]\nz = 1\nb = 2\nz = 3\n[b]\nq = 3\n", 0);
    EXPECT_EQ(Ini_PutInt(m_store.get(), "c", "x", 4), 0);
    EXPECT_EQ(Ini_PutInt(m_store.get(), "d", "a", 5), 0);
    EXPECT_EQ(Ini_PutInt(m_store.get(), "d", "Z", 6), 0);
    EXPECT_EQ(Contents(), "[d] Z=6 b=2 a=5 [b] q=3 [c] x=4 ");
}

TEST_F(IniPut, PutReplacesAllItemsOfTheTag)
{
    Load("[a]\nx = 1\nm = 2\nX = 3\n");
    EXPECT_EQ(Ini_PutInt(m_store.get(), "A", " x ", 9), 0);
    EXPECT_EQ(Contents(), "[a] m=2 x=9 ");
}

TEST_F(IniPut, PutReplacesTheQuotedMark)
{
    Load("[a]\nx = \"1\"\n");
    EXPECT_EQ(Ini_PutInt(m_store.get(), "a", "x", 9), 0);
    EXPECT_FALSE(m_store->sections[0].items[0].quoted);
}

TEST_F(IniPut, CommentsAboveReplacedItemsStayWithTheNewOne)
{
    Load("[a]\n; one\nx = 1\n; two\nx = 2\n; m\nm = 3\n");
    EXPECT_EQ(Ini_PutInt(m_store.get(), "a", "x", 9), 0);
    EXPECT_EQ(m_store->sections[0].items.at(1).comment, "; one\r\n; two");
    EXPECT_EQ(m_store->sections[0].items.at(0).comment, "; m");
}

TEST_F(IniPut, ManyItemsInAnyOrderAreAllFoundAndSorted)
{
    Load("");
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(Ini_PutInt(m_store.get(), "s", std::to_string(i * 7919 % 500).c_str(), i), 0);
    const std::vector<IniItem> &items = m_store->sections.at(0).items;
    ASSERT_EQ(items.size(), 500U);
    for (size_t i = 1; i < items.size(); ++i)
        EXPECT_LT(CompareNames(items[i - 1].tag, items[i].tag), 0);
    for (int i = 0; i < 500; ++i) {
        int32_t number = -1;
        EXPECT_GT(Ini_GetInt(m_store.get(), "s", std::to_string(i * 7919 % 500).c_str(), &number),
                  0);
        EXPECT_EQ(number, i);
    }
}

TEST_F(IniPut, GetAfterPutSeesTheNewValue)
{
    Load("[b]\nx = 1\n[a]\nx = 2\n");
    int32_t number = 0;
    EXPECT_GT(Ini_GetInt(m_store.get(), "a", "x", &number), 0);
    EXPECT_EQ(Ini_PutInt(m_store.get(), "b", "x", 3), 0);
    EXPECT_GT(Ini_GetInt(m_store.get(), "b", "x", &number), 0);
    EXPECT_EQ(number, 3);
    EXPECT_GT(Ini_GetInt(m_store.get(), "a", "x", &number), 0);
    EXPECT_EQ(number, 2);
}

// Each of these would be read back as something else, and could take the lines below with it.
TEST_F(IniPut, NamesThatAFileCannotHoldAreRefusedAndChangeNothing)
{
    Load("[b]\nx = 1\n[a]\nx = 2\n");
    const std::string before = Contents();
    const std::string tooLong(1023, 'n');
    for (const char *section : {"a]b", "a\nb", "a\rb", tooLong.c_str()})
        EXPECT_LT(Ini_PutInt(m_store.get(), section, "x", 3), 0) << section;
    for (const char *tag : {"a=b", "a\nb", "a\rb", "[a", " ;a", "="})
        EXPECT_LT(Ini_PutString(m_store.get(), "a", tag, "t"), 0) << tag;
    EXPECT_EQ(Contents(), before);
    EXPECT_EQ(Ini_PutInt(m_store.get(), tooLong.substr(1).c_str(), "a[;]b", 3), 0);
}
