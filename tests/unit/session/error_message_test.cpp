// What ZVK_error_message writes and answers, number by number.

#include "quorvex/errors.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

namespace {

struct Row
{
    int32_t number;
    int32_t result;
    const char *text;
};

}  // namespace

static const Row kRows[] = {
#define ROW(number, result, text) {number, result, text},
#include "status_rows.inc"
#undef ROW
};

static const int32_t kNamed[] = {
#define NUMBER(name, number, text) number,
#define BARE(name, number) number,
    ZVK_STATUS_TABLE(NUMBER, NUMBER, BARE)
#undef NUMBER
#undef BARE
};

static std::string TextOf(int32_t number, int32_t &result)
{
    char message[4096];
    std::memset(message, '#', sizeof message);
    result = ZVK_error_message(7, number, message);
    return message;
}

static std::string UnknownText(int32_t number)
{
    return "An unknown error occurred. Error code " + std::to_string(number) + ".\n";
}

static void ExpectUnknown(int32_t number)
{
    int32_t result = -9;
    EXPECT_EQ(TextOf(number, result), UnknownText(number));
    EXPECT_EQ(result, 0) << number;
}

TEST(ErrorMessage, EachRowGivesItsTextByteForByteAndItsResult)
{
    for (const Row &row : kRows) {
        int32_t result = -9;
        EXPECT_EQ(TextOf(row.number, result), row.text) << row.number;
        EXPECT_EQ(result, row.result) << row.number;
    }
}

TEST(ErrorMessage, ExactlyTwelveRowsAnswer101)
{
    std::set<int32_t> odd;
    for (const int32_t number : kNamed) {
        int32_t result = -9;
        (void)TextOf(number, result);
        if (result == 0) continue;
        EXPECT_EQ(result, -101) << number;
        odd.insert(number);
    }
    EXPECT_EQ(odd, (std::set<int32_t>{-1500, -1501, -1502, -1503, -1504, -1600, -1602, -1603, -1606,
                                      1601, 1604, 1605}));
}

TEST(ErrorMessage, SupportAddressStandsInTheMiddleOfTheStagesText)
{
    int32_t result = -9;
    const std::string text = TextOf(ZVK_STAGE_BAD_CONFIGURATION, result);
    const std::string head = "System could not initalize the stage. Either a setting in the config "
                             "file is invalid or the config file was not found. Contact Velmora at";
    const std::string tail = " for assistance.\n\n";
    ASSERT_GT(text.size(), head.size() + tail.size());
    EXPECT_EQ(text.substr(0, head.size()), head);
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    EXPECT_NE(text.find('@', head.size()), std::string::npos);
    EXPECT_EQ(result, 0);
}

TEST(ErrorMessage, RowsThatShareATextHaveTheSame)
{
    int32_t result = -9;
    EXPECT_EQ(TextOf(600, result), TextOf(601, result));
    EXPECT_EQ(TextOf(800, result), TextOf(-808, result));
    EXPECT_NE(TextOf(1200, result), TextOf(-1500, result));
}

TEST(ErrorMessage, StatusesOfModulesWithoutARowComeOutThroughTheUnknownText)
{
    for (const int32_t number : {-304, -505, -1017, -1201, -1202, -1208, -1210, 1100})
        ExpectUnknown(number);
    for (int32_t number = -1414; number <= -1400; ++number)
        ExpectUnknown(number);
}

TEST(ErrorMessage, AnyOtherNumberGivesTheUnknownText)
{
    for (const int32_t number : {12345, -1, 1, -200, 101, -600, -1415, 1073479940, INT32_MAX})
        ExpectUnknown(number);
    ExpectUnknown(INT32_MIN);
}

TEST(ErrorMessage, TheTableHasNoTextBeyondTheRows)
{
    std::set<int32_t> rows;
    for (const Row &row : kRows)
        rows.insert(row.number);
    EXPECT_EQ(rows.size(), std::size(kRows)) << "a number stands twice";
    for (const int32_t number : kNamed)
        if (!rows.contains(number)) ExpectUnknown(number);
}

TEST(ErrorMessage, EachTextFitsTheLibrarysOwnBuffer)
{
    for (const Row &row : kRows)
        EXPECT_LT(std::strlen(row.text), 4096U) << row.number;
}

TEST(ErrorMessage, NothingIsWrittenBehindTheText)
{
    char message[64];
    std::memset(message, '#', sizeof message);
    EXPECT_EQ(ZVK_error_message(0, 0, message), 0);
    const size_t length = std::strlen("No error was reported.");
    EXPECT_EQ(std::strlen(message), length);
    for (size_t i = length + 1; i < sizeof message; ++i)
        EXPECT_EQ(message[i], '#');
}

TEST(ErrorMessage, NullMessageIsHarmless)
{
    EXPECT_EQ(ZVK_error_message(0, 0, nullptr), 0);
    EXPECT_EQ(ZVK_error_message(0, 12345, nullptr), 0);
    EXPECT_EQ(ZVK_error_message(0, -1501, nullptr), -101);
}
