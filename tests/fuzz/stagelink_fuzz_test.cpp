// Replies of the stage controller that are cut, mutated and cut into packets: whatever the bytes,
// no call crashes, waits beyond its time-out or writes half of a reply. ZVK_FUZZ_ROUNDS sets the
// number of replies, ZVK_FUZZ_SEED the sequence; a failure names the round.

#include "platform/stagelink.h"

#include "platform/stagelink_text.h"
#include "recording_tcp.h"
#include "test_clock.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

static const std::string kSeeds[] = {"1=1.000000000e+02 \n2=-50.0 \n3=0\n",
                                     "1 \n2 \n3\n",
                                     "2.0\n",
                                     "0\n",
                                     "1 0x0E000200=5.0e-05\n",
                                     "1=8192\n",
                                     "1=1 \n2=0 \n3=1\n"};

static const std::string kTokens[] = {
    "=",      " ",         "\n",   " \n",         "\r\n", "1=",   "2=",
    "3=",     "-",         "+",    ".",           "e",    "e999", "nan",
    "inf",    "0x",        "1e-5", "99999999999", "\xff", "\x15", "\t",
    "1=1 \n", "10=",       "==",   "-1004\n",     "3=\n", ",5",   std::string(1, '\0'),
    "#?!",    "2147483648"};

static uint64_t FromEnvironment(const char *name, uint64_t otherwise)
{
    const char *text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

class StageLinkFuzz : public ::testing::Test
{
protected:
    size_t Below(size_t end) { return std::uniform_int_distribution<size_t>(0, end - 1)(random); }

    std::string Mutated()
    {
        std::string text = kSeeds[Below(std::size(kSeeds))];
        for (size_t steps = Below(6); steps > 0; --steps) {
            const size_t at = Below(text.size() + 1);
            switch (Below(5)) {
            case 0: text.insert(at, kTokens[Below(std::size(kTokens))]); break;
            case 1: text.erase(at, 1 + Below(4)); break;
            case 2: text.insert(at, 1, static_cast<char>(Below(256))); break;
            case 3: text.resize(at); break;
            default: text += kSeeds[Below(std::size(kSeeds))]; break;
            }
        }
        return text;
    }

    std::vector<std::string> InPackets(const std::string &text)
    {
        std::vector<std::string> packets;
        for (size_t at = 0; at < text.size();) {
            const size_t length = 1 + Below(text.size());
            packets.push_back(text.substr(at, length));
            at += length;
        }
        if (Below(8) == 0) packets.push_back(RecordingTcp::kHangUp);
        if (Below(8) == 0) packets.insert(packets.begin(), RecordingTcp::kPause);
        return packets;
    }

    void AskAll(int32_t id)
    {
        char axes[16];
        double values[4];
        int32_t flags[4];
        const int32_t ones[3] = {1, 1, 1};
        std::fill_n(values, 4, kUntouched);
        std::fill_n(flags, 4, -77);
        std::fill_n(axes, sizeof axes, 'x');
        const bool list = StageLink().queryAxes(id, axes, sizeof axes - 1) != 0;
        EXPECT_EQ(axes[sizeof axes - 1], 'x');
        if (list) {
            (void)StageLink().setServo(id, AxisNames(axes).size() <= 3 ? axes : "1", ones);
        }
        const bool limits = StageLink().queryUpperLimit(id, "1 \n2 \n3 \n", values) != 0;
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(std::isfinite(values[i]));
            if (!limits) {
                EXPECT_EQ(values[i], kUntouched);
            }
        }
        const bool arrived = StageLink().queryOnTarget(id, "1 \n2 \n3 \n", flags) != 0;
        if (!arrived) {
            EXPECT_TRUE(flags[0] == -77 && flags[1] == -77 && flags[2] == -77);
        }
        (void)StageLink().queryParameter(id, "1 \n", 0x0E000200, values);
        (void)StageLink().queryWavePoints(id, 1, flags);
        (void)StageLink().queryCommandSet(id, values);
        EXPECT_TRUE(std::isfinite(values[0]));
        EXPECT_EQ(values[3], kUntouched);
        EXPECT_EQ(flags[3], -77);
        (void)StageLink().stop(id);
        char text[64];
        EXPECT_EQ(StageLink().translateError(StageLink().getError(id), text, sizeof text), 1);
    }

    static constexpr double kUntouched = 123.25;
    RecordingTcp tcp;
    TestClock clock;
    std::mt19937_64 random{FromEnvironment("ZVK_FUZZ_SEED", 1)};
};

TEST_F(StageLinkFuzz, NoReplyCrashesHangsOrWritesTooMuch)
{
    const char *const commands[] = {"SAI?",   "PLM? 1 2 3", "ONT? 1 2 3", "SPA? 1 0x0E000200",
                                    "WMS? 1", "CSV?",       "STP",        "ERR?"};
    const uint64_t rounds = FromEnvironment("ZVK_FUZZ_ROUNDS", 20000);
    for (uint64_t round = 0; round < rounds; ++round) {
        for (const char *command : commands)
            tcp.Answer(command, InPackets(Mutated()));
        const int32_t id = StageLink().connect("127.0.0.1", 50000);
        ASSERT_GE(id, 0);
        AskAll(id);
        StageLink().close(id);
        ASSERT_EQ(tcp.Open(), 0);
        (void)tcp.TakeSent();
        if (HasFailure()) FAIL() << "in round " << round;
    }
}

TEST_F(StageLinkFuzz, TheTextsTakeAnyBytes)
{
    const uint64_t rounds = FromEnvironment("ZVK_FUZZ_ROUNDS", 100000);
    for (uint64_t round = 0; round < rounds; ++round) {
        const std::string text = Mutated();
        double values[3] = {};
        int32_t whole = 0;
        (void)ReadItems(text, {"1", "2", "3"}, values);
        (void)ReadErrorCode(text, &whole);
        (void)ReadNumber(BehindEquals(text), values);
        for (const std::string &name : AxisNames(text.c_str()))
            ASSERT_EQ(name.find_first_of(" \t\r\n"), std::string::npos) << "in round " << round;
        ASSERT_TRUE(std::isfinite(values[0]) && std::isfinite(values[1])) << "in round " << round;
    }
}
