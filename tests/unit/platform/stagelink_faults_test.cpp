// Each call of the stage controller's link with something wrong: no answer, a late one, a bad one,
// a connection that ends, an argument that makes no sense.

#include "platform/stagelink.h"

#include "platform/stagelink_text.h"
#include "recording_tcp.h"
#include "test_clock.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>

using Lines = std::vector<std::string>;

static const char *const kAll = "1 \n2 \n3 \n";
static const int32_t kOnes[] = {1, 1, 1};

static TestClock *s_clock = nullptr;

class StageLinkFaults : public ::testing::Test
{
protected:
    void SetUp() override
    {
        s_clock = &clock;
        id = StageLink().connect("127.0.0.1", 50000);
        ASSERT_GE(id, 0);
    }

    void TearDown() override { StageLink().close(id); }

    RecordingTcp tcp;
    TestClock clock;
    int32_t id = -1;
};

struct SettingRow
{
    const char *command;
    std::function<int32_t(int32_t id)> call;
};

static const double kPlaces[] = {12.5, -0.25, 1.0 / 3.0};
static const int32_t kChannels[] = {1, 2, 3};

static const std::vector<SettingRow> &Settings()
{
    static const std::vector<SettingRow> rows = {
        {"ONL 1 1 2 1 3 1",
         [](int32_t id) { return StageLink().setOnline(id, kChannels, kOnes, 3); }},
        {"ONL 1 1 2 1", [](int32_t id) { return StageLink().setOnline(id, kChannels, kOnes, 2); }},
        {"SVO 1 1 2 1 3 1", [](int32_t id) { return StageLink().setServo(id, kAll, kOnes); }},
        {"VCO 1 1 2 1 3 1",
         [](int32_t id) { return StageLink().setVelocityControl(id, kAll, kOnes); }},
        {"DCO 1 1 2 1 3 1",
         [](int32_t id) { return StageLink().setDriftCompensation(id, kAll, kOnes); }},
        {"VEL 2 12.5", [](int32_t id) { return StageLink().setVelocity(id, "2 \n", kPlaces); }},
        {"MOV 1 12.5 2 -0.25 3 0.333333333",
         [](int32_t id) { return StageLink().move(id, kAll, kPlaces); }},
        {"MVR 3 12.5", [](int32_t id) { return StageLink().moveRelative(id, "3 \n", kPlaces); }},
        {"DFH 1 2 3", [](int32_t id) { return StageLink().defineHome(id, kAll); }},
        {"DFH", [](int32_t id) { return StageLink().defineHome(id, nullptr); }},
        {"WCL 2", [](int32_t id) { return StageLink().clearWave(id, 2); }},
        {"WTR 1 3 0", [](int32_t id) { return StageLink().setWaveRate(id, 1, 3, 0); }},
        {"WAV 2 X SIN_P 400 2 -1 401 0 200",
         [](int32_t id) { return StageLink().waveSine(id, 2, 0, 401, 0, 200, 2.0, -1.0, 400); }},
        {"WAV 2 + SIN_P 400 2 -1 401 1 200",
         [](int32_t id) { return StageLink().waveSine(id, 2, 1, 401, 1, 200, 2.0, -1.0, 400); }},
        {"WAV 2 & SIN_P 400 2 -1 401 1 200",
         [](int32_t id) { return StageLink().waveSine(id, 2, 1, 401, 2, 200, 2.0, -1.0, 400); }},
        {"CTO 1 3 4", [](int32_t id) { return StageLink().setTriggerOutput(id, 1, 3, 4.0); }},
        {"WGO 1 17", [](int32_t id) { return StageLink().startGenerator(id, 1, 0x11); }},
        {"WGO 1 0", [](int32_t id) { return StageLink().startGenerator(id, 1, 0); }},
    };
    return rows;
}

TEST_F(StageLinkFaults, ARefusedSettingFailsAndItsCodeIsToldOnce)
{
    for (const SettingRow &row : Settings()) {
        tcp.AnswerOnce("ERR?", {"7\n"});
        EXPECT_EQ(row.call(id), 0) << row.command;
        EXPECT_EQ(StageLink().getError(id), 7) << row.command;
        EXPECT_EQ(StageLink().getError(id), 0) << row.command;
    }
}

TEST_F(StageLinkFaults, EachSettingFailsOnAConnectionThatDoesNotSend)
{
    for (const SettingRow &row : Settings()) {
        tcp.FailSends(true);
        EXPECT_EQ(row.call(id), 0) << row.command;
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_SEND_FAILED) << row.command;
        EXPECT_EQ(tcp.Open(), 0);
        StageLink().close(id);
        tcp.FailSends(false);
        id = StageLink().connect("127.0.0.1", 50000);
    }
}

struct QueryRow
{
    const char *command;
    const char *reply;
    std::function<int32_t(int32_t id, double *values)> call;
    std::vector<double> values;
};

static const std::vector<QueryRow> &Queries()
{
    static const std::vector<QueryRow> rows = {
        {"CSV?",
         "2.0\n",
         [](int32_t id, double *v) { return StageLink().queryCommandSet(id, v); },
         {2.0}},
        {"PLM? 1 2 3",
         "1=50.0 \n2=5.0e+01 \n3=25\n",
         [](int32_t id, double *v) { return StageLink().queryUpperLimit(id, kAll, v); },
         {50.0, 50.0, 25.0}},
        {"NLM? 1 2 3",
         "1=-50.0 \n2=0 \n3=-25\n",
         [](int32_t id, double *v) { return StageLink().queryLowerLimit(id, kAll, v); },
         {-50.0, 0.0, -25.0}},
        {"MOV? 2",
         "2=12.5\n",
         [](int32_t id, double *v) { return StageLink().queryTarget(id, "2 \n", v); },
         {12.5}},
        {"POS? 1",
         "1=1.234567890e+01\n",
         [](int32_t id, double *v) { return StageLink().queryPosition(id, "1 \n", v); },
         {12.3456789}},
        {"ONT? 1 2 3",
         "1=1 \n2=1 \n3=0\n",
         [](int32_t id, double *v) {
             int32_t flags[3] = {9, 9, 9};
             const int32_t success = StageLink().queryOnTarget(id, kAll, flags);
             if (success != 0) std::copy(flags, flags + 3, v);
             return success;
         },
         {1.0, 1.0, 0.0}},
        {"SPA? 1 0x0E000200",
         "1 0x0E000200=5.0e-05\n",
         [](int32_t id, double *v) {
             return StageLink().queryParameter(id, "1 \n", 0x0E000200, v);
         },
         {5e-5}},
        {"WMS? 3",
         "3=8192\n",
         [](int32_t id, double *v) {
             int32_t points = 9;
             const int32_t success = StageLink().queryWavePoints(id, 3, &points);
             if (success != 0) *v = points;
             return success;
         },
         {8192.0}},
    };
    return rows;
}

static std::vector<double> Ask(const QueryRow &row, int32_t id, int32_t success)
{
    std::vector<double> values(row.values.size(), 99.0);
    EXPECT_EQ(row.call(id, values.data()), success) << row.command;
    return values;
}

TEST_F(StageLinkFaults, EachQuestionSendsOneLineAndReadsItsReply)
{
    for (const QueryRow &row : Queries()) {
        tcp.Answer(row.command, {row.reply});
        EXPECT_EQ(Ask(row, id, 1), row.values) << row.command;
        EXPECT_EQ(tcp.TakeSent(), Lines{row.command});
        EXPECT_EQ(StageLink().getError(id), 0);
    }
}

TEST_F(StageLinkFaults, ABadReplyLeavesTheValuesAndTheConnection)
{
    for (const QueryRow &row : Queries()) {
        for (const char *reply : {"\n", "\x15~#?!\n", "=\n", "4=x\n", "nan\n", "1=\n"}) {
            tcp.Answer(row.command, {reply});
            EXPECT_EQ(Ask(row, id, 0), std::vector<double>(row.values.size(), 99.0));
            EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_REPLY) << row.command << reply;
        }
        tcp.Answer(row.command, {row.reply});
        EXPECT_EQ(Ask(row, id, 1), row.values);
    }
}

TEST_F(StageLinkFaults, AQuestionWithoutAReplyFailsWithTheControllersReason)
{
    for (const QueryRow &row : Queries()) {
        tcp.TakeSent();
        tcp.Answer(row.command, {});
        tcp.AnswerOnce("ERR?", {"2\n"});
        EXPECT_EQ(Ask(row, id, 0), std::vector<double>(row.values.size(), 99.0));
        EXPECT_EQ(tcp.TakeSent(), (Lines{row.command, "ERR?"}));
        EXPECT_EQ(StageLink().getError(id), 2);
    }
}

TEST_F(StageLinkFaults, ControllersThatTellNoErrorEitherAreLostAndLaterCallsFailAtOnce)
{
    double version = 99.0;
    tcp.Answer("ERR?", {});
    EXPECT_EQ(StageLink().queryCommandSet(id, &version), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_TIMED_OUT);
    EXPECT_EQ(tcp.Open(), 0);

    tcp.TakeSent();
    for (const SettingRow &row : Settings()) {
        EXPECT_EQ(row.call(id), 0);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST) << row.command;
    }
    for (const QueryRow &row : Queries()) {
        (void)Ask(row, id, 0);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST) << row.command;
    }
    EXPECT_EQ(StageLink().stop(id), 0);
    EXPECT_EQ(tcp.TakeSent(), Lines{});
}

TEST_F(StageLinkFaults, AConnectionThatEndsAtAnyByteOfAReplyIsLost)
{
    for (const QueryRow &row : Queries()) {
        const std::string reply = row.reply;
        for (size_t cut = 0; cut < reply.size(); ++cut) {
            tcp.Answer(row.command, {reply.substr(0, cut), RecordingTcp::kHangUp});
            if (cut == 0) tcp.Answer(row.command, {RecordingTcp::kHangUp});
            EXPECT_EQ(Ask(row, id, 0), std::vector<double>(row.values.size(), 99.0));
            EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST) << row.command << " " << cut;
            EXPECT_EQ(tcp.Open(), 0);
            StageLink().close(id);
            id = StageLink().connect("127.0.0.1", 50000);
        }
    }
}

TEST_F(StageLinkFaults, AConnectionThatEndsBehindASettingIsLost)
{
    tcp.Answer("ERR?", {RecordingTcp::kHangUp});
    EXPECT_EQ(StageLink().move(id, kAll, kPlaces), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST);
    EXPECT_EQ(tcp.Open(), 0);
}

TEST_F(StageLinkFaults, AnAnswerThatComesTooLateIsNotTakenForTheError)
{
    double place = 99.0;
    tcp.Answer("POS? 1", {RecordingTcp::kPause, "1=12.5\n"});
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &place), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_TIMED_OUT);
    EXPECT_EQ(place, 99.0);
}

TEST_F(StageLinkFaults, AnAnswerThatComesLateBehindTheQuestionForTheErrorIsPassedOver)
{
    for (const Lines &packets : {Lines{"1=12.5\n", "2\n"}, Lines{"1=12.5\n2\n"},
                                 Lines{"1=12", ".5\n", "2", "\n"}, Lines{"1=1 \n2=0\n", "2\n"}})
    {
        double place = 99.0;
        tcp.Answer("POS? 1", {});
        tcp.AnswerOnce("ERR?", packets);
        EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &place), 0);
        EXPECT_EQ(StageLink().getError(id), 2) << packets.size();
        tcp.Answer("POS? 1", {"1=7\n"});
        EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &place), 1);
        EXPECT_EQ(place, 7.0);
    }
}

TEST_F(StageLinkFaults, WhatCameInUnaskedAnswersNothing)
{
    double place = 99.0;
    tcp.Supply("1=99\n");
    tcp.Answer("POS? 1", {"1=5\n"});
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &place), 1);
    EXPECT_EQ(place, 5.0);
    tcp.Supply("7\n");
    EXPECT_EQ(StageLink().setServo(id, kAll, kOnes), 1);
}

// The time-outs are 5 s for an answer and 2 s for the error behind it.
TEST_F(StageLinkFaults, DribblingBytesHoldNobodyUpBeyondTheTimeout)
{
    tcp.Answer("POS? 1", Lines(100, "1"));
    tcp.Answer("ERR?", Lines(100, "1"));
    tcp.OnReceive([](double timeoutS) {
        EXPECT_GT(timeoutS, 0.0);
        s_clock->Advance(std::min(timeoutS, 0.75));
    });
    double place = 99.0;
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &place), 0);
    EXPECT_LE(clock.Now(), 7.0 + 1e-9);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_TIMED_OUT);
    EXPECT_EQ(place, 99.0);
}

TEST_F(StageLinkFaults, TheListOfAxesIsKeptAsItComesAndCutToItsRoom)
{
    tcp.Answer("SAI?", {"1 \n2 ", "\n3\n"});
    char axes[256] = "before";
    EXPECT_EQ(StageLink().queryAxes(id, axes, sizeof axes), 1);
    EXPECT_STREQ(axes, "1 \n2 \n3\n");

    char small[6] = "xxxxx";
    EXPECT_EQ(StageLink().queryAxes(id, small, 4), 1);
    EXPECT_STREQ(small, "1 \n");
    EXPECT_EQ(small[4], 'x');
    EXPECT_EQ(StageLink().queryAxes(id, small, 0), 0);

    tcp.Answer("SAI?", {});
    EXPECT_EQ(StageLink().queryAxes(id, axes, sizeof axes), 0);
    EXPECT_STREQ(axes, "1 \n2 \n3\n");
}

TEST_F(StageLinkFaults, WithoutNamesOfAxesNothingIsSent)
{
    double values[3] = {};
    int32_t flags[3] = {};
    for (const char *none : {"", " \n", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(StageLink().setServo(id, none, kOnes), 0);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_AXIS);
        EXPECT_EQ(StageLink().move(id, none, values), 0);
        EXPECT_EQ(StageLink().queryUpperLimit(id, none, values), 0);
        EXPECT_EQ(StageLink().queryOnTarget(id, none, flags), 0);
        EXPECT_EQ(StageLink().queryParameter(id, none, 1, values), 0);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_AXIS);
    }
    EXPECT_EQ(tcp.Sent(), Lines{});
}

TEST_F(StageLinkFaults, WhatIsNoNumberAndModesThatDoNotExistAreNotSent)
{
    for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity()})
    {
        const double places[] = {1.0, bad};
        EXPECT_EQ(StageLink().move(id, "1 \n2 \n", places), 0);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_ARGUMENT);
        EXPECT_EQ(StageLink().setVelocity(id, "1 \n", &bad), 0);
        EXPECT_EQ(StageLink().waveSine(id, 1, 0, 9, 0, 4, bad, 0.0, 9), 0);
        EXPECT_EQ(StageLink().waveSine(id, 1, 0, 9, 0, 4, 1.0, bad, 9), 0);
        EXPECT_EQ(StageLink().setTriggerOutput(id, 1, 3, bad), 0);
    }
    EXPECT_EQ(StageLink().waveSine(id, 1, 0, 9, 3, 4, 1.0, 0.0, 9), 0);
    EXPECT_EQ(StageLink().waveSine(id, 1, 0, 9, -1, 4, 1.0, 0.0, 9), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_ARGUMENT);
    EXPECT_EQ(tcp.Sent(), Lines{});
}

TEST_F(StageLinkFaults, IdsThatAreNoneFailAndSendNothing)
{
    for (const int32_t none : {-1, id + 1, 16, 1000000, std::numeric_limits<int32_t>::min()}) {
        for (const SettingRow &row : Settings())
            EXPECT_EQ(row.call(none), 0) << row.command;
        for (const QueryRow &row : Queries())
            (void)Ask(row, none, 0);
        EXPECT_EQ(StageLink().stop(none), 0);
        EXPECT_EQ(StageLink().getError(none), ZVK_LINK_BAD_ID);
        StageLink().close(none);
    }
    EXPECT_EQ(tcp.Sent(), Lines{});
    EXPECT_EQ(tcp.Open(), 1);
}

TEST_F(StageLinkFaults, SeveralControllersKeepTheirErrorsApart)
{
    const int32_t second = StageLink().connect("127.0.0.1", 50001);
    ASSERT_GE(second, 0);
    ASSERT_NE(second, id);
    tcp.AnswerOnce("ERR?", {"7\n"});
    EXPECT_EQ(StageLink().setServo(second, kAll, kOnes), 0);
    EXPECT_EQ(StageLink().getError(id), 0);
    EXPECT_EQ(StageLink().getError(second), 7);
    StageLink().close(second);
    EXPECT_EQ(StageLink().setServo(second, kAll, kOnes), 0);
    EXPECT_EQ(StageLink().setServo(id, kAll, kOnes), 1);
}
