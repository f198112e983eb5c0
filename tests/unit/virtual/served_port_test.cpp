// A served port as the library's own serial ports meet it.

#include "quorvex-virtual/served_port.h"

#include "platform/serial.h"
#include "scratch_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>

constexpr int kPort = 7;
constexpr double kPatienceS = 5.0;

class ServedPortTest : public ::testing::Test
{
protected:
    void SetUp() override { Open(); }

    void TearDown() override { (void)Serial().close(kPort); }

    void Open()
    {
        offered.reset();
        offered = std::make_unique<ScopedVariable>(
            "ZVK_SERIAL_PORTS", ("USB Serial Port (COM7)=" + port.Path()).c_str());
        ASSERT_EQ(Serial().open(kPort, 9600), 0);
        ASSERT_EQ(Serial().setTimeout(kPort, 0.05), 0);
    }

    static std::string Ask(const std::string &bytes)
    {
        EXPECT_EQ(Serial().write(kPort, bytes.data(), bytes.size()),
                  static_cast<int>(bytes.size()));
        char reply[64];
        const int got = Serial().readLine(kPort, reply, sizeof reply, '\n');
        return got < 0 ? "failed" : std::string(reply, static_cast<size_t>(got));
    }

    // Answers a line with the line.
    ServedPort port{LineFrame, [](std::string_view line) { return std::string(line); }};
    std::unique_ptr<ScopedVariable> offered;
};

TEST_F(ServedPortTest, AnswersEachFrameAndKeepsWhatWentOverTheWire)
{
    EXPECT_EQ(Ask("one\n"), "one");
    EXPECT_EQ(Ask("two\r\n"), "two\r");
    EXPECT_EQ(PortLogText(port.Log()), "> one\\n\n< one\\n\n> two\\r\\n\n< two\\r\\n\n");
    EXPECT_EQ(port.Frames(), (std::vector<std::string>{"one\n", "two\r\n"}));
    const std::vector<PortEvent> log = port.Log();
    for (size_t i = 1; i < log.size(); ++i)
        EXPECT_GE(log[i].timeS, log[i - 1].timeS);
    port.ForgetLog();
    EXPECT_TRUE(port.Log().empty());
}

TEST_F(ServedPortTest, CutsWhatComesInIntoFrames)
{
    ASSERT_EQ(Serial().write(kPort, "a", 1), 1);
    EXPECT_EQ(Ask("b\nc\n"), "ab");
    EXPECT_EQ(Ask("d\n"), "c");
    ASSERT_TRUE(port.AwaitFrames(3, kPatienceS));
    EXPECT_EQ(port.Frames(), (std::vector<std::string>{"ab\n", "c\n", "d\n"}));
    EXPECT_FALSE(port.AwaitFrames(4, 0.0));
}

TEST(PortFrames, FixedOnesComeWholeAndShowInHexadecimal)
{
    const PortFraming framing = FixedFrame(3);
    EXPECT_EQ(framing("\x01\x02"), 0U);
    EXPECT_EQ(framing("\x01\x02\x03\x04"), 3U);
    EXPECT_EQ(PortLogHex({{0.0, true, "\x01\xFF"}, {0.1, false, "A"}}), "> 01 FF\n< 41\n");
    EXPECT_EQ(PortLogText({{0.0, true, "\x01 A"}}), "> \\x01 A\n");
}

TEST_F(ServedPortTest, CanBeSilentForSomeReplies)
{
    port.Misbehave({.goodReplies = 1, .badReplies = 2, .silent = true});
    EXPECT_EQ(Ask("a\n"), "a");
    EXPECT_EQ(Ask("b\n"), "");
    EXPECT_EQ(Ask("c\n"), "");
    EXPECT_EQ(Ask("d\n"), "d");
    EXPECT_EQ(port.Frames().size(), 4U) << "heard all the same";
    port.Misbehave({.silent = true});
    EXPECT_EQ(Ask("e\n"), "");
    port.Misbehave({});
    EXPECT_EQ(Ask("f\n"), "f");
}

TEST_F(ServedPortTest, CanBeSlowBeforeAReplyAndBetweenItsBytes)
{
    ASSERT_EQ(Serial().setTimeout(kPort, kPatienceS), 0);
    const auto start = std::chrono::steady_clock::now();
    port.Misbehave({.delayS = 0.05, .byteDelayS = 0.01});
    EXPECT_EQ(Ask("abcd\n"), "abcd");
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took.count(), 0.1);
}

TEST_F(ServedPortTest, CanSendSomethingElse)
{
    port.Misbehave({.garble = [](std::string reply) { return "x" + reply; }});
    EXPECT_EQ(Ask("a\n"), "xa");
}

TEST_F(ServedPortTest, CanHangUpBehindAnyByteOfAReply)
{
    for (size_t byte = 0; byte <= 3; ++byte) {
        port.Misbehave({.hangUpAfter = byte});
        EXPECT_EQ(Ask("ab\n"), byte == 0 ? "failed" : std::string("ab").substr(0, byte)) << byte;
        char more = 0;
        EXPECT_LT(Serial().read(kPort, &more, 1), 0) << "the device is gone";
        EXPECT_LT(Serial().write(kPort, "a", 1), 0);
        EXPECT_EQ(port.Path(), "");
        port.Misbehave({});
        ASSERT_TRUE(port.Plug());
        ASSERT_FALSE(port.Path().empty());
        Open();
        EXPECT_EQ(Ask("again\n"), "again");
    }
}

TEST_F(ServedPortTest, SendsWhatNobodyAskedFor)
{
    ASSERT_EQ(Serial().setTimeout(kPort, kPatienceS), 0);
    port.Send("hello\n");
    char bytes[8] = "";
    EXPECT_EQ(Serial().readLine(kPort, bytes, sizeof bytes, '\n'), 5);
    EXPECT_STREQ(bytes, "hello");
}

TEST_F(ServedPortTest, OutlivesAProgramThatClosesIt)
{
    EXPECT_EQ(Ask("a\n"), "a");
    (void)Serial().close(kPort);
    Open();
    EXPECT_EQ(Ask("b\n"), "b");
}

TEST_F(ServedPortTest, PulledPlugEndsTheProgramsWaitAndLeavesNoFileOpen)
{
    const auto countFiles = [] {
        int count = 0;
        for ([[maybe_unused]] const auto &entry :
             std::filesystem::directory_iterator("/proc/self/fd"))
            ++count;
        return count;
    };
    const int before = countFiles();
    for (int round = 0; round < 100; ++round) {
        port.HangUp();
        ASSERT_EQ(port.Path(), "");
        ASSERT_TRUE(port.Plug());
    }
    EXPECT_EQ(countFiles(), before);
    char byte = 0;
    EXPECT_LT(Serial().read(kPort, &byte, 1), 0);
}
