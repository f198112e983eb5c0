// The virtual laser by itself: its commands, its light, its echo.

#include "quorvex-virtual/laser.h"

#include "platform/serial.h"
#include "scratch_folder.h"

#include <gtest/gtest.h>

constexpr int kPort = 7;

class VirtualLaserTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(Serial().open(kPort, 9600), 0);
        ASSERT_EQ(Serial().setTimeout(kPort, 5.0), 0);
    }

    void TearDown() override { (void)Serial().close(kPort); }

    static void Send(const std::string &line)
    {
        const std::string bytes = line + "\r\n";
        ASSERT_EQ(Serial().write(kPort, bytes.data(), bytes.size()),
                  static_cast<int>(bytes.size()));
    }

    static std::string Line()
    {
        char reply[64];
        const int got = Serial().readLine(kPort, reply, sizeof reply, '\n');
        if (got < 1 || reply[got - 1] != '\r') return "no line";
        return {reply, static_cast<size_t>(got - 1)};
    }

    static std::string Ask(const std::string &line)
    {
        Send(line);
        return Line();
    }

    VirtualLaser laser{{.maxPower = 200.0, .maxCurrent = 6.5}};
    ScopedVariable offered{"ZVK_SERIAL_PORTS", laser.Offer(kPort).c_str()};
};

TEST_F(VirtualLaserTest, EchoesUntilItIsToldNotTo)
{
    EXPECT_EQ(Ask("STA"), "STA");
    EXPECT_EQ(Line(), "101111");
    Send("CLT 0");
    EXPECT_EQ(Ask("?"), "?");
    EXPECT_EQ(Ask("STA"), "101111");
    Send("CLT 1");
    EXPECT_EQ(Ask("COM 1"), "COM 1");
    EXPECT_EQ(Line(), "OK");
    laser.PowerCycle();
    EXPECT_TRUE(laser.State().echo);
}

TEST_F(VirtualLaserTest, AnswersEachCommand)
{
    Send("CLT 0");
    const std::pair<const char *, const char *> rows[] = {
        {"?", "?"},        {"COM 0", "OK"},    {"COM 1", "OK"},    {"COM 2", "ERR"},
        {"APC ?", "0.00"}, {"APC 1.5", "OK"},  {"APC ?", "1.50"},  {"APC 12.345678", "OK"},
        {"APC ?", "12.3"}, {"APC 150", "OK"},  {"APC ?", "150"},   {"APC 200.1", "ERR"},
        {"APC -1", "ERR"}, {"APC nan", "ERR"}, {"APC 1,5", "ERR"}, {"APC ", "ERR"},
        {"APC ?", "150"},  {"ACC 6.5", "OK"},  {"ACC ?", "6.50"},  {"ACC 6.6", "ERR"},
        {"CDO 1", "OK"},   {"CDO 2", "ERR"},   {"CDO", "ERR"},     {"STA", "111111"},
        {"CDO 0", "OK"},   {"STA", "101111"},  {"XYZ", "ERR"},     {"", "ERR"},
    };
    for (const auto &[command, reply] : rows)
        EXPECT_EQ(Ask(command), reply) << command;
}

TEST_F(VirtualLaserTest, EmitsWhileItsOutputIsOnAndTheInterlockClosed)
{
    Send("CLT 0");
    EXPECT_FALSE(laser.State().emits);
    EXPECT_EQ(Ask("CDO 1"), "OK");
    EXPECT_TRUE(laser.State().emits);
    laser.SetInterlock(false);
    EXPECT_FALSE(laser.State().emits);
    EXPECT_EQ(Ask("STA"), "011111");
    bool line = true;
    laser.SetInterlockSource([&line] { return line; });
    EXPECT_TRUE(laser.State().emits);
    line = false;
    EXPECT_FALSE(laser.State().emits);
    laser.SetInterlockSource(nullptr);
    laser.SetInterlock(true);
    EXPECT_TRUE(laser.State().emits);
    laser.PowerCycle();
    EXPECT_FALSE(laser.State().emits);
    EXPECT_TRUE(laser.State().interlockClosed);
}

TEST_F(VirtualLaserTest, ShowsItsErrorsAmongTheFlags)
{
    Send("CLT 0");
    const std::pair<int, const char *> rows[] = {
        {5, "100111"}, {4, "101011"}, {3, "101101"}, {2, "101110"}};
    for (const auto &[error, flags] : rows) {
        laser.SetError(error, true);
        EXPECT_EQ(Ask("STA"), flags);
        EXPECT_EQ(laser.State().errors, std::vector<int>{error});
        laser.SetError(error, false);
    }
    laser.SetError(6, true);
    laser.SetError(1, true);
    EXPECT_TRUE(laser.State().errors.empty());
    laser.ForceFlags("0");
    EXPECT_EQ(Ask("STA"), "0");
    laser.ForceFlags("");
    EXPECT_EQ(Ask("STA"), "101111");
}

TEST_F(VirtualLaserTest, TellsWhatItWasSentAndHowItStoodBehindIt)
{
    Send("CLT 0");
    EXPECT_EQ(Ask("CDO 1"), "OK");
    laser.SetInterlock(false);
    EXPECT_EQ(Ask("STA"), "011111");
    std::vector<VirtualLaserEvent> events = laser.TakeEvents();
    ASSERT_EQ(events.size(), 3U);
    EXPECT_TRUE(laser.Events().empty());
    for (VirtualLaserEvent &event : events)
        event.timeS = 1.5;
    EXPECT_EQ(VirtualLaserReport(events), "   1.500 s  CLT 0          interlock closed, dark\n"
                                          "   1.500 s  CDO 1          interlock closed, EMITS\n"
                                          "   1.500 s  STA            interlock open, dark\n");
}
