// The stage controller's language, with the other side of the stream played by the test.

#include "platform/stagelink.h"

#include "platform/stagelink_text.h"
#include "platform/tcp.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace {

// What the other side does with each receive: bytes, "" for a time-out, "<gone>" for an end.
struct Stream
{
    bool refuses = false;
    bool sendFails = false;
    int open = 0;
    int discards = 0;
    std::vector<std::string> sent;
    std::vector<double> timeouts;
    std::deque<std::string> packets;
};

}  // namespace

static Stream s_stream;

static int PlayConnect(const char *, int32_t, double)
{
    if (s_stream.refuses) return -1;
    ++s_stream.open;
    return 7;
}

static int PlaySend(int, const void *bytes, size_t count)
{
    s_stream.sent.emplace_back(static_cast<const char *>(bytes), count);
    return s_stream.sendFails ? -1 : 0;
}

static int64_t PlayReceive(int, void *bytes, size_t count, double timeoutS)
{
    s_stream.timeouts.push_back(timeoutS);
    if (s_stream.packets.empty()) return 0;
    const std::string packet = s_stream.packets.front();
    s_stream.packets.pop_front();
    if (packet == "<gone>") return -1;
    const size_t length = std::min(packet.size(), count);
    std::memcpy(bytes, packet.data(), length);
    return static_cast<int64_t>(length);
}

static void PlayDiscard(int) { ++s_stream.discards; }
static void PlayClose(int) { --s_stream.open; }

static const ZVK_TcpTable kPlayed = {PlayConnect, PlaySend, PlayReceive, PlayDiscard, PlayClose};

class StageLinkTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        s_stream = {};
        UseTcp(&kPlayed);
        id = StageLink().connect("stage", 50000);
        ASSERT_GE(id, 0);
    }

    void TearDown() override
    {
        StageLink().close(id);
        EXPECT_EQ(s_stream.open, 0);
        UseTcp(nullptr);
    }

    static void Reply(std::initializer_list<std::string> packets)
    {
        s_stream.packets.insert(s_stream.packets.end(), packets);
    }

    static std::string Sent()
    {
        std::string all;
        for (const std::string &text : s_stream.sent)
            all += text;
        s_stream.sent.clear();
        return all;
    }

    TestClock clock;
    int32_t id = -1;
};

static const char kThree[] = "1 \n2 \n3 \n";

TEST_F(StageLinkTest, EachSettingIsFollowedByTheQuestionForTheError)
{
    const int32_t on[3] = {1, 0, 1};
    const int32_t channels[3] = {1, 2, 3};
    const double values[3] = {12.5, -0.000001, 1500.0};
    const ZVK_StageLinkTable &link = StageLink();
    const auto expect = [&](int32_t result, const std::string &command) {
        EXPECT_EQ(result, 1) << command;
        EXPECT_EQ(Sent(), command + "\nERR?\n");
    };
    Reply({"0\n"});
    expect(link.setOnline(id, channels, on, 2), "ONL 1 1 2 0");
    Reply({"0\n"});
    expect(link.setServo(id, kThree, on), "SVO 1 1 2 0 3 1");
    Reply({"0\n"});
    expect(link.setVelocityControl(id, "2 \n", on), "VCO 2 1");
    Reply({"0\n"});
    expect(link.setDriftCompensation(id, kThree, on), "DCO 1 1 2 0 3 1");
    Reply({"0\n"});
    expect(link.setVelocity(id, "3 \n", values + 2), "VEL 3 1500");
    Reply({"0\n"});
    expect(link.move(id, kThree, values), "MOV 1 12.5 2 -1e-06 3 1500");
    Reply({"0\n"});
    expect(link.moveRelative(id, "1 \n", values), "MVR 1 12.5");
    Reply({"0\n"});
    expect(link.defineHome(id, kThree), "DFH 1 2 3");
    Reply({"0\n"});
    expect(link.clearWave(id, 2), "WCL 2");
    Reply({"0\n"});
    expect(link.setWaveRate(id, 1, 3, 0), "WTR 1 3 0");
    Reply({"0\n"});
    expect(link.waveSine(id, 1, 0, 400, 0, 200, 2.0, 9.0, 400), "WAV 1 X SIN_P 400 2 9 400 0 200");
    Reply({"0\n"});
    expect(link.waveSine(id, 1, 5, 400, 2, 200, 2.0, 9.0, 450), "WAV 1 & SIN_P 450 2 9 400 5 200");
    Reply({"0\n"});
    expect(link.setTriggerOutput(id, 1, 3, 4.0), "CTO 1 3 4");
    Reply({"0\n"});
    expect(link.startGenerator(id, 1, 0x11), "WGO 1 17");
    EXPECT_EQ(link.waveSine(id, 1, 0, 1, 3, 0, 1.0, 1.0, 1), 0);
    EXPECT_EQ(link.setServo(id, "", on), 0);
    EXPECT_EQ(link.setServo(id, nullptr, on), 0);
    EXPECT_EQ(Sent(), "") << "what makes no sense is not sent";
}

TEST_F(StageLinkTest, EachQuestionGivesItsValues)
{
    const ZVK_StageLinkTable &link = StageLink();
    double value = 0;
    Reply({"2.0\n"});
    EXPECT_EQ(link.queryCommandSet(id, &value), 1);
    EXPECT_EQ(value, 2.0);
    char axes[256] = "";
    Reply({"1 \n2 \n3\n"});
    EXPECT_EQ(link.queryAxes(id, axes, sizeof axes), 1);
    EXPECT_STREQ(axes, "1 \n2 \n3\n");
    double values[3] = {};
    Reply({"1=1.000000000e+02 \n2=100.0 \n3=-3\n"});
    EXPECT_EQ(link.queryUpperLimit(id, kThree, values), 1);
    EXPECT_EQ(values[0], 100.0);
    EXPECT_EQ(values[2], -3.0);
    Reply({"3=3 \n1=1 \n2=2\n"});
    EXPECT_EQ(link.queryLowerLimit(id, kThree, values), 1);
    EXPECT_EQ(values[0], 1.0) << "whatever the order of the lines";
    Reply({"2=12.5\n"});
    EXPECT_EQ(link.queryTarget(id, "2 \n", values), 1);
    EXPECT_EQ(values[0], 12.5);
    Reply({"2=12.25\n"});
    EXPECT_EQ(link.queryPosition(id, "2 \n", values), 1);
    EXPECT_EQ(values[0], 12.25);
    int32_t arrived[3] = {};
    Reply({"1=1 \n2=0 \n3=1\n"});
    EXPECT_EQ(link.queryOnTarget(id, kThree, arrived), 1);
    EXPECT_EQ(arrived[0] * 100 + arrived[1] * 10 + arrived[2], 101);
    Reply({"1 0x0E000200=5.0e-05\n"});
    EXPECT_EQ(link.queryParameter(id, "1 \n", 0x0E000200, &value), 1);
    EXPECT_EQ(value, 5e-5);
    int32_t points = 0;
    Reply({"2=8192\n"});
    EXPECT_EQ(link.queryWavePoints(id, 2, &points), 1);
    EXPECT_EQ(points, 8192);
    EXPECT_EQ(Sent(), "CSV?\nSAI?\nPLM? 1 2 3\nNLM? 1 2 3\nMOV? 2\nPOS? 2\nONT? 1 2 3\n"
                      "SPA? 1 0x0E000200\nWMS? 2\n");
}

TEST_F(StageLinkTest, PacketsMayBeCutAnywhereAndMerged)
{
    const std::string reply = "1=1.5 \n2=2.5 \n3=3.5\n";
    double values[3];
    for (size_t cut = 1; cut < reply.size(); ++cut) {
        Reply({reply.substr(0, cut), reply.substr(cut)});
        EXPECT_EQ(StageLink().queryPosition(id, kThree, values), 1) << cut;
        EXPECT_EQ(values[2], 3.5);
    }
    for (const char c : reply)
        Reply({std::string(1, c)});
    EXPECT_EQ(StageLink().queryPosition(id, kThree, values), 1);
    EXPECT_EQ(values[1], 2.5);
    Reply({"2=9\n0\n"});
    EXPECT_EQ(StageLink().queryPosition(id, "2 \n", values), 1) << "two replies in one packet";
    EXPECT_EQ(values[0], 9.0);
    EXPECT_GT(s_stream.discards, 0) << "what is left over is dropped before the next command";
}

TEST_F(StageLinkTest, ASettingThatIsRefusedFailsWithTheControllersError)
{
    const double value = 1e9;
    Reply({"7\n"});
    EXPECT_EQ(StageLink().move(id, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().getError(id), 7);
    EXPECT_EQ(StageLink().getError(id), 0) << "told once";
}

TEST_F(StageLinkTest, AQuestionThatIsNotAnsweredAsksWhy)
{
    double value = 3;
    Reply({"", "2\n"});
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &value), 0);
    EXPECT_EQ(Sent(), "POS? 1\nERR?\n");
    EXPECT_EQ(StageLink().getError(id), 2);
    EXPECT_EQ(value, 3);
    EXPECT_EQ(s_stream.timeouts[0], 5.0);
    EXPECT_EQ(s_stream.timeouts[1], 2.0);
    Reply({"", "0\n"});
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_TIMED_OUT);
}

TEST_F(StageLinkTest, AControllerThatSaysNothingIsLostAndLaterCallsFailAtOnce)
{
    double value = 3;
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_TIMED_OUT);
    EXPECT_EQ(s_stream.open, 0);
    (void)Sent();
    const size_t waits = s_stream.timeouts.size();
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().move(id, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().stop(id), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST);
    EXPECT_EQ(Sent(), "");
    EXPECT_EQ(s_stream.timeouts.size(), waits);
}

TEST_F(StageLinkTest, AConnectionThatEndsAtAnyByteFailsTheCall)
{
    const std::string reply = "1=1.5 \n2=2.5 \n3=3.5\n";
    for (size_t cut = 0; cut < reply.size(); ++cut) {
        double values[3] = {7, 7, 7};
        if (cut > 0) Reply({reply.substr(0, cut)});
        Reply({"<gone>"});
        EXPECT_EQ(StageLink().queryPosition(id, kThree, values), 0) << cut;
        EXPECT_EQ(values[0], 7) << "nothing half-read";
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST);
        s_stream.packets.clear();
        StageLink().close(id);
        id = StageLink().connect("stage", 50000);
    }
    s_stream.sendFails = true;
    double value = 0;
    EXPECT_EQ(StageLink().move(id, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_SEND_FAILED);
}

TEST_F(StageLinkTest, AnswersThatMakeNoSenseAreErrorsAndTouchNothing)
{
    for (const char *reply :
         {"\n", "nonsense\n", "1=\n", "1=x\n", "2=5\n", "=5\n", "1 5\n", "1=inf\n", "1=nan\n"})
    {
        double value = 3;
        Reply({reply});
        EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &value), 0) << reply;
        EXPECT_EQ(value, 3);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_REPLY) << reply;
    }
    double value = 3;
    Reply({"what?\n"});
    EXPECT_EQ(StageLink().move(id, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_REPLY);
}

TEST_F(StageLinkTest, AnAnswerWithoutEndIsCutOff)
{
    for (int i = 0; i < 80; ++i)
        Reply({std::string(1000, 'x')});
    double value = 3;
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &value), 0);
    EXPECT_FALSE(s_stream.packets.empty());
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST);
}

TEST_F(StageLinkTest, AStopDropsTheErrorThatItIs)
{
    Reply({"10\n"});
    EXPECT_EQ(StageLink().stop(id), 1);
    EXPECT_EQ(StageLink().getError(id), 0);
    EXPECT_EQ(Sent(), "STP\nERR?\n");
    Reply({"0\n"});
    EXPECT_EQ(StageLink().stop(id), 1);
    Reply({"63\n"});
    EXPECT_EQ(StageLink().stop(id), 0);
}

TEST_F(StageLinkTest, AConnectionThatIsRefusedHasNoIdAndAReason)
{
    s_stream.refuses = true;
    EXPECT_LT(StageLink().connect("stage", 50000), 0);
    EXPECT_EQ(StageLink().getError(-1), ZVK_LINK_NOT_CONNECTED);
    EXPECT_EQ(StageLink().getError(-1), ZVK_LINK_BAD_ID);
    double value = 0;
    EXPECT_EQ(StageLink().move(-1, "1 \n", &value), 0);
    EXPECT_EQ(StageLink().move(99, "1 \n", &value), 0);
    StageLink().close(99);
}

TEST_F(StageLinkTest, SixteenControllersAndNoMore)
{
    std::vector<int32_t> ids;
    for (int i = 0; i < 15; ++i)
        ids.push_back(StageLink().connect("stage", 50000));
    EXPECT_GE(ids.back(), 0);
    EXPECT_LT(StageLink().connect("stage", 50000), 0);
    for (const int32_t each : ids)
        StageLink().close(each);
}

TEST_F(StageLinkTest, EachErrorHasAText)
{
    for (const int32_t code :
         {0, 1, 2, 5, 7, 8, 10, 15, 17, 24, 54, 63, 67, 72, 73, -1, -2, -3, -7, -9, -1004, 4711})
    {
        char text[200] = "";
        EXPECT_EQ(StageLink().translateError(code, text, sizeof text), 1);
        EXPECT_GT(std::strlen(text), 5U) << code;
    }
    char cut[5] = "xxxx";
    EXPECT_EQ(StageLink().translateError(7, cut, sizeof cut), 1);
    EXPECT_STREQ(cut, "The ");
    EXPECT_EQ(StageLink().translateError(7, cut, 0), 0);
}

TEST_F(StageLinkTest, AnotherLocaleChangesNoNumber)
{
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) std::setlocale(LC_ALL, "C.UTF-8");
    const double value = 1234.5;
    Reply({"0\n", "1=2.5\n"});
    EXPECT_EQ(StageLink().move(id, "1 \n", &value), 1);
    double read = 0;
    EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &read), 1);
    EXPECT_EQ(read, 2.5);
    EXPECT_EQ(Sent(), "MOV 1 1234.5\nERR?\nPOS? 1\n");
    std::setlocale(LC_ALL, "C");
}
