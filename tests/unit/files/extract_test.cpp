// A text cut down to what follows the last occurrence of another one.

#include "quorvex/confile.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

static std::string Extracted(const std::string &source, const char *tofind)
{
    char text[512];
    std::memcpy(text, source.c_str(), source.size() + 1);
    EXPECT_EQ(ZVK_ConFile_Extract(0, text, tofind), 0);
    return text;
}

TEST(Extract, CutsBehindTheLastOccurrence)
{
    struct Row
    {
        const char *source;
        const char *tofind;
        const char *left;
    };
    const Row rows[] = {
        {"C:\\dir\\file.odf", "\\", "file.odf"},
        {"/dir/file.odf", "/", "file.odf"},
        {"abc", "x", "abc"},
        {"abc", "abcd", "abc"},
        {"abc", "c", ""},
        {"", "x", ""},
        {"xx", "x", ""},
        {"abc", "C", "abc"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(Extracted(row.source, row.tofind), row.left) << row.source;
}

TEST(Extract, RestOfALongerMatchStaysAtTheFront)
{
    EXPECT_EQ(Extracted("one::two::three", "::"), ":three");
    EXPECT_EQ(Extracted("abcabc", "abc"), "bc");
}

TEST(Extract, OccurrencesMayOverlap) { EXPECT_EQ(Extracted("aaaa", "aa"), "a"); }

TEST(Extract, TailIsCutTo200Characters)
{
    const std::string tail(200, 't');
    EXPECT_EQ(Extracted("/" + tail, "/"), tail);
    EXPECT_EQ(Extracted("/" + tail + "more", "/"), tail);
}

TEST(Extract, EmptyOrNullArgumentsChangeNothing)
{
    EXPECT_EQ(Extracted("abc", ""), "abc");
    EXPECT_EQ(Extracted("", ""), "");
    EXPECT_EQ(Extracted("abc", nullptr), "abc");
    EXPECT_EQ(ZVK_ConFile_Extract(0, nullptr, "x"), 0);
}
