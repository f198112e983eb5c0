// The order in which modules come up and go down, and the calls that only answer.

#include "session/session.h"

#include "quorvex/errors.h"
#include "quorvex/session.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

// Rows that answer by a list and note what they got.
static std::vector<int32_t> g_answers;
static std::vector<std::string> g_calls;

static int32_t Answer(const std::string &call)
{
    g_calls.push_back(call);
    return g_answers.at(g_calls.size() - 1);
}

template <int nth>
static int32_t Init(SessionHandle vi, uint16_t idQuery, uint16_t resetInstr)
{
    return Answer("init " + std::to_string(nth) + " of " + std::to_string(vi) + " " +
                  std::to_string(idQuery) + " " + std::to_string(resetInstr));
}

template <int nth>
static int32_t Shutdown(SessionHandle vi)
{
    return Answer("shutdown " + std::to_string(nth) + " of " + std::to_string(vi));
}

static const ZVK_InitRow kInits[] = {{Init<1>}, {Init<2>}, {Init<3>}};
static const ZVK_ShutdownRow kShutdowns[] = {{Shutdown<1>}, {Shutdown<2>}, {Shutdown<3>}};

using Calls = std::vector<std::string>;

class SessionOrder : public testing::Test
{
protected:
    void SetUp() override
    {
        g_calls.clear();
        FreeWarnings();
    }

    static int32_t Inits(const std::vector<int32_t> &answers)
    {
        g_answers = answers;
        return RunInits(kInits, std::size(kInits), 5, 1, 0);
    }

    static int32_t Shutdowns(const std::vector<int32_t> &answers)
    {
        g_answers = answers;
        return RunShutdowns(kShutdowns, std::size(kShutdowns), 5);
    }

    static int32_t Captured()
    {
        int32_t count = -1;
        (void)ZVK_error_GetWarnings(0, &count, nullptr);
        return count;
    }
};

TEST_F(SessionOrder, InitsRunInTheirOrderWithTheSessionsArguments)
{
    EXPECT_EQ(Inits({0, 0, 0}), 0);
    EXPECT_EQ(g_calls, (Calls{"init 1 of 5 1 0", "init 2 of 5 1 0", "init 3 of 5 1 0"}));
}

TEST_F(SessionOrder, ArgumentsOfInitAreHandedOnAsTheyAre)
{
    g_answers = {0, 0, 0};
    EXPECT_EQ(RunInits(kInits, 1, 0xFFFFFFFFU, 0, 65535), 0);
    EXPECT_EQ(g_calls, (Calls{"init 1 of 4294967295 0 65535"}));
}

TEST_F(SessionOrder, FirstNegativeInitStopsAndNothingGoesDownAgain)
{
    EXPECT_EQ(Inits({0, -402, -1402}), -402);
    EXPECT_EQ(g_calls, (Calls{"init 1 of 5 1 0", "init 2 of 5 1 0"}));
}

TEST_F(SessionOrder, PositiveInitGoesOnAndIsNeitherReturnedNorCaptured)
{
    EXPECT_EQ(Inits({403, 205, 717}), 0);
    EXPECT_EQ(g_calls.size(), 3U);
    EXPECT_EQ(Captured(), 0);
}

TEST_F(SessionOrder, WarningBeforeAFailureIsDropped)
{
    EXPECT_EQ(Inits({403, 0, -601}), -601);
    EXPECT_EQ(Captured(), 0);
}

TEST_F(SessionOrder, ShutdownsRunInTheirOrder)
{
    EXPECT_EQ(Shutdowns({0, 0, 0}), 0);
    EXPECT_EQ(g_calls, (Calls{"shutdown 1 of 5", "shutdown 2 of 5", "shutdown 3 of 5"}));
}

TEST_F(SessionOrder, FirstNegativeShutdownStopsAndTheLaterStayUp)
{
    EXPECT_EQ(Shutdowns({0, -701, 0}), -701);
    EXPECT_EQ(g_calls, (Calls{"shutdown 1 of 5", "shutdown 2 of 5"}));
}

TEST_F(SessionOrder, PositiveShutdownIsPassedOver)
{
    EXPECT_EQ(Shutdowns({400, 709, 1301}), 0);
    EXPECT_EQ(g_calls.size(), 3U);
    EXPECT_EQ(Captured(), 0);
}

TEST_F(SessionOrder, NoRowsSucceed)
{
    EXPECT_EQ(RunInits(nullptr, 0, 0, 0, 0), 0);
    EXPECT_EQ(RunShutdowns(nullptr, 0, 0), 0);
}

TEST(SessionAnswers, ResetDoesNothingAndSucceeds)
{
    EXPECT_EQ(ZVK_reset(0), 0);
    EXPECT_EQ(ZVK_reset(12), 0);
}

TEST(SessionAnswers, SelfTestWritesNeitherOutput)
{
    int16_t value = 77;
    int16_t *result = &value;
    char message[] = "as it was";
    EXPECT_EQ(ZVK_self_test(1, &result, message), 0);
    EXPECT_EQ(result, &value);
    EXPECT_EQ(value, 77);
    EXPECT_STREQ(message, "as it was");
    EXPECT_EQ(ZVK_self_test(1, nullptr, nullptr), 0);
}

TEST(SessionAnswers, ErrorQueryWritesNothingAndTellsThatThereAreNoQueries)
{
    int32_t value = 77;
    int32_t *code = &value;
    char message[] = "as it was";
    EXPECT_EQ(ZVK_error_query(1, &code, message), 1073479941);
    EXPECT_EQ(code, &value);
    EXPECT_EQ(value, 77);
    EXPECT_STREQ(message, "as it was");
    EXPECT_EQ(ZVK_error_query(1, nullptr, nullptr), 0x3FFC0105);
}

TEST(SessionAnswers, RevisionTextsAreFixed)
{
    char driver[16];
    char instrument[16];
    std::memset(driver, '#', sizeof driver);
    std::memset(instrument, '#', sizeof instrument);
    EXPECT_EQ(ZVK_revision_query(1, driver, instrument), 0);
    EXPECT_STREQ(driver, "1.0.985M");
    EXPECT_STREQ(instrument, "Not Available");
    EXPECT_EQ(driver[9], '#');
    EXPECT_EQ(instrument[14], '#');
}

TEST(SessionAnswers, NullRevisionTextIsHarmlessAndTheOtherIsWritten)
{
    char driver[16] = "";
    char instrument[16] = "";
    EXPECT_EQ(ZVK_revision_query(1, driver, nullptr), 0);
    EXPECT_STREQ(driver, "1.0.985M");
    EXPECT_EQ(ZVK_revision_query(1, nullptr, instrument), 0);
    EXPECT_STREQ(instrument, "Not Available");
}
