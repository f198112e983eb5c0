#include "platform/stagelink_text.h"

#include <algorithm>
#include <clocale>
#include <gtest/gtest.h>
#include <limits>
#include <locale>

using Names = std::vector<std::string>;

// A decimal comma, whether or not this machine has a locale with one.
class CommaPoint : public std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(StageLinkText, NumbersHaveAPointAndNoGroupsWhateverTheLocale)
{
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPoint));
    const std::string c = std::setlocale(LC_ALL, nullptr);
    for (const char *name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.utf8"}) {
        if (std::setlocale(LC_ALL, name) != nullptr) break;
    }
    EXPECT_EQ(NumberText(1234.5), "1234.5");
    EXPECT_EQ(NumberText(int32_t{1234567}), "1234567");
    double read = 0.0;
    EXPECT_TRUE(ReadNumber("12.5\n", &read));
    EXPECT_EQ(read, 12.5);
    EXPECT_FALSE(ReadNumber("12,5\n", &read));
    std::setlocale(LC_ALL, c.c_str());
    std::locale::global(before);
}

TEST(StageLinkText, NumbersAreWrittenWithNineDigits)
{
    struct Row
    {
        double value;
        const char *text;
    };
    for (const Row &row : {Row{0.0, "0"}, Row{1500.0, "1500"}, Row{1.0 / 3.0, "0.333333333"},
                           Row{123456.7891, "123456.789"}, Row{-49.9, "-49.9"}, Row{5e-5, "5e-05"}})
        EXPECT_EQ(NumberText(row.value), row.text);
    EXPECT_EQ(NumberText(int32_t{17}), "17");
    EXPECT_EQ(NumberText(std::numeric_limits<int32_t>::min()), "-2147483648");
    EXPECT_EQ(HexText(0x0E000200), "0x0E000200");
}

TEST(StageLinkText, NamesOfAxesAreCutOutOfAList)
{
    EXPECT_EQ(AxisNames("1 \n2 \n3 \n"), (Names{"1", "2", "3"}));
    EXPECT_EQ(AxisNames("1 \n2 \n3\n"), (Names{"1", "2", "3"}));
    EXPECT_EQ(AxisNames("2 \n"), (Names{"2"}));
    EXPECT_EQ(AxisNames("  \r\n\tX  Y2\r\n"), (Names{"X", "Y2"}));
    EXPECT_EQ(AxisNames(" \n"), Names{});
    EXPECT_EQ(AxisNames(""), Names{});
    EXPECT_EQ(AxisNames(nullptr), Names{});
}

TEST(StageLinkText, AReplyIsCompleteAtALineFeedThatStandsBehindNoBlank)
{
    struct Row
    {
        const char *reply;
        bool complete;
    };
    for (const Row &row :
         {Row{"", false}, Row{"1=5", false}, Row{"1=5 ", false}, Row{"1=5 \n", false},
          Row{"1=5 \n2=", false}, Row{"1=5\n", true}, Row{"1=5 \n2=6\n", true}, Row{"\n", true},
          Row{" \n", false}, Row{"1=5\r\n", true}})
        EXPECT_EQ(IsCompleteReply(row.reply), row.complete) << row.reply;
}

TEST(StageLinkText, NumbersAreReadInEachFormThatControllersUse)
{
    struct Row
    {
        const char *text;
        double value;
    };
    for (const Row &row : {Row{"100.0\n", 100.0}, Row{"1.000000000e+02\n", 100.0},
                           Row{"1.0E+02 \n", 100.0}, Row{"+5", 5.0}, Row{" -5.5", -5.5},
                           Row{"-0", 0.0}, Row{"2.0", 2.0}, Row{".5", 0.5}, Row{"7 abc", 7.0}})
    {
        double value = 99.0;
        EXPECT_TRUE(ReadNumber(row.text, &value)) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
    }
}

TEST(StageLinkText, WhatIsNoFiniteNumberIsRefusedAndLeavesTheValue)
{
    for (const char *text : {"", " ", "\n", "abc", "-", "+", "+-5", "--5", "1e999", "nan", "inf",
                             "-inf", ",5", "=5", "7abc", "1=5", "1.5.5", "\x15~#?!"})
    {
        double value = 99.0;
        int32_t whole = 99;
        EXPECT_FALSE(ReadNumber(text, &value)) << text;
        EXPECT_FALSE(ReadWhole(text, &whole)) << text;
        EXPECT_EQ(value, 99.0);
        EXPECT_EQ(whole, 99);
    }
}

TEST(StageLinkText, WholeNumbersKeepTo32Bits)
{
    int32_t value = 99;
    EXPECT_TRUE(ReadWhole("2147483647", &value));
    EXPECT_EQ(value, 2147483647);
    EXPECT_TRUE(ReadWhole("-2147483648", &value));
    EXPECT_EQ(value, std::numeric_limits<int32_t>::min());
    EXPECT_TRUE(ReadWhole("1.000000000e+00\n", &value));
    EXPECT_EQ(value, 1);
    for (const char *text : {"2147483648", "-2147483649", "1e300"}) {
        value = 99;
        EXPECT_FALSE(ReadWhole(text, &value)) << text;
        EXPECT_EQ(value, 99);
    }
}

TEST(StageLinkText, AnErrorCodeIsAWholeNumberAloneInTheLastLine)
{
    struct Row
    {
        const char *reply;
        bool good;
        int32_t code;
    };
    for (const Row &row :
         {Row{"0\n", true, 0}, Row{"10\n", true, 10}, Row{"-1024 \n", true, -1024},
          Row{" 7\r\n", true, 7}, Row{"1=12.5\n7\n", true, 7}, Row{"1=12.5\n", false, 99},
          Row{"7.5\n", false, 99}, Row{"7 8\n", false, 99}, Row{"", false, 99},
          Row{"\n", false, 99}, Row{"99999999999\n", false, 99}, Row{"OK\n", false, 99}})
    {
        int32_t code = 99;
        EXPECT_EQ(ReadErrorCode(row.reply, &code), row.good) << row.reply;
        EXPECT_EQ(code, row.code) << row.reply;
    }
}

TEST(StageLinkText, ItemsAreFoundByNameWhateverTheirOrder)
{
    double values[3] = {};
    EXPECT_TRUE(ReadItems("3=7.5 \n1=-1e1 \n2= 5\n", {"1", "2", "3"}, values));
    EXPECT_EQ(values[0], -10.0);
    EXPECT_EQ(values[1], 5.0);
    EXPECT_EQ(values[2], 7.5);

    int32_t flags[2] = {};
    EXPECT_TRUE(ReadItems("10=0 \n1=1\n", {"1", "10"}, flags));
    EXPECT_EQ(flags[0], 1);
    EXPECT_EQ(flags[1], 0);
}

TEST(StageLinkText, AMissingOrBadItemLeavesEveryValue)
{
    for (const char *reply : {"1=5\n", "1=5 \n2\n", "1=5 \n2=\n", "1=5 \n2=x\n", "1=5 \n 22=7\n",
                              "2=5 \n1=\n", "", "\n", "=", "1", "2=6\n"})
    {
        double values[2] = {98.0, 99.0};
        EXPECT_FALSE(ReadItems(reply, {"1", "2"}, values)) << reply;
        EXPECT_EQ(values[0], 98.0) << reply;
        EXPECT_EQ(values[1], 99.0) << reply;
    }
}

TEST(StageLinkText, EachCodeOfTheLinkAndOfTheControllerHasATextOfItsOwn)
{
    std::vector<std::string> texts;
    const std::string other = LinkErrorText(12345);
    for (const int32_t code :
         {0, 1, 2, 5, 7, 8, 10, 17, 24, 54, 63, 67, 72, 73, -1, -2, -3, -5, -7, -9, -1004})
    {
        const std::string text = LinkErrorText(code);
        EXPECT_NE(text, other) << code;
        EXPECT_EQ(std::count(texts.begin(), texts.end(), text), 0) << code;
        texts.push_back(text);
    }
    EXPECT_STREQ(LinkErrorText(15), LinkErrorText(23));
}
