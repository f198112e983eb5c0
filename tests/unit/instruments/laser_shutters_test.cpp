// Shutters, interlock and the laser's end: words on the lines with their times, commands, and their
// order.

#include "laser_fixture.h"

#include "quorvex/errors.h"

#include <thread>

using LaserShutters = LaserTest;

static std::string ReadOf(const std::string &task)
{
    return "readDigitalScalarU32(" + task + ", 10)";
}

static std::string WriteOf(const std::string &task, uint32_t word)
{
    return "writeDigitalScalarU32(" + task + ", 0, 10, " + std::to_string(word) + ")";
}

struct PulseRow
{
    int32_t path;
    uint16_t state;
    uint32_t found;
    uint32_t pulse;
    uint32_t after;
};

constexpr PulseRow kPulses[] = {
    {0, 1, 0x00, 0x08, 0x00},  {0, 0, 0x00, 0x04, 0x00},  {1, 1, 0x00, 0x01, 0x00},
    {1, 0, 0x00, 0x02, 0x00},  {0, 1, 0x10, 0x18, 0x10},  {0, 65535, 0xF0, 0xF8, 0xF0},
    {1, 0, 0xF7, 0xF7, 0xF0},  {0, 0, 0xAA, 0xAE, 0xA0},  {0, 1, 0xFFFFFF00, 0xFFFFFF08, 0x00},
    {-1, 1, 0x10, 0x11, 0x10}, {-1, 0, 0x10, 0x11, 0x10}, {INT32_MIN, 1, 0, 0x01, 0},
};

TEST_F(LaserShutters, EachPathHasItsPulseAndOtherLinesStay)
{
    BringUpSerial();
    for (const PulseRow &row : kPulses) {
        ForgetCalls();
        card.SupplyLines(row.found);
        EXPECT_EQ(ZVK_Laser_SetShutter(0, row.path, row.state), 0);
        EXPECT_EQ(card.Calls(),
                  (Calls{ReadOf("t1"), WriteOf("t1", row.pulse), WriteOf("t1", row.after)}))
            << row.path << " " << row.state;
    }
    EXPECT_EQ(ports.Calls(), Calls{});
}

TEST_F(LaserShutters, APulseLastsATenthOfASecond)
{
    BringUpSimulated();
    Write({.simulate = "1"});
    ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << "a simulated laser with a card";
    ForgetCalls();
    size_t writtenBeforeTheWait = 0;
    clock.OnWait([&] { writtenBeforeTheWait = card.Calls().size(); });
    const size_t before = clock.Delays().size();
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 1), 0);
    clock.OnWait(nullptr);
    EXPECT_EQ(writtenBeforeTheWait, 2U) << "between the two words";
    ASSERT_EQ(clock.Delays().size(), before + 1);
    EXPECT_EQ(clock.Delays().back(), 0.1);
}

TEST_F(LaserShutters, PathsFromTrapPathsOnAreRefusedEvenWithoutACard)
{
    BringUp({.cardSimulate = "1", .simulate = "1", .trapPaths = "1"});
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 1, 1), ZVK_LASER_BAD_PATH);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 2, 1), ZVK_LASER_BAD_PATH);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 1), 0);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, -1, 1), 0);
    EXPECT_EQ(card.Calls(), Calls{});
    EXPECT_EQ(clock.Delays(), std::vector<double>{});
    g_laser = {};
    BringUp({.trapPaths = "1"});
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 1, 1), ZVK_LASER_BAD_PATH);
    EXPECT_EQ(card.Calls(), Calls{});
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 1), 0);
}

TEST_F(LaserShutters, MorePathsThanTwoTakePathBsOpeningLine)
{
    BringUp({.trapPaths = "4"});
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 3, 0), 0);
    EXPECT_EQ(card.Calls(), (Calls{ReadOf("t1"), WriteOf("t1", 1), WriteOf("t1", 0)}));
}

TEST_F(LaserShutters, BeforeInitEveryPathIsRefused)
{
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 1), ZVK_LASER_BAD_PATH);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, -1, 1), 0) << "there is no card";
}

TEST_F(LaserShutters, AFailedReadWritesNothing)
{
    BringUpSerial();
    card.FailCall("readDigitalScalarU32", 1);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 1), ZVK_LASER_NO_REPLY);
    EXPECT_EQ(card.Calls(), Calls{ReadOf("t1")});
    EXPECT_EQ(Log(), "") << "shutters are not logged";
}

TEST_F(LaserShutters, ARefusedPulseIsNotWaitedForButItsLineIsPutBack)
{
    BringUpSerial();
    card.SupplyLines(0x1A);
    const size_t before = clock.Delays().size();
    card.FailCall("writeDigitalScalarU32", 1);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 0), ZVK_LASER_NO_REPLY);
    EXPECT_EQ(card.Calls(), (Calls{ReadOf("t1"), WriteOf("t1", 0x1E), WriteOf("t1", 0x10)}));
    EXPECT_EQ(clock.Delays().size(), before);
}

TEST_F(LaserShutters, APulseThatCannotBeEndedIsAFailure)
{
    BringUpSerial();
    card.FailCall("writeDigitalScalarU32", 2);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 0), ZVK_LASER_NO_REPLY);
}

TEST_F(LaserShutters, ADriversWarningIsNoFailure)
{
    BringUpSerial();
    for (const char *entry : {"readDigitalScalarU32", "writeDigitalScalarU32"}) {
        card.FailCall(entry, 1, 200010);
        EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 0), 0);
        card.FailCall(entry, 1, 200010);
        EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    }
}

TEST_F(LaserShutters, APulseDoesNotPutBackAnInterlockThatFellMeanwhile)
{
    BringUpLevels();
    card.SupplyLines(0x10);
    std::thread other;
    clock.OnWait([&] { other = std::thread([] { EXPECT_EQ(ZVK_Laser_Interlock(0, 0), 0); }); });
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 1), 0);
    clock.OnWait(nullptr);
    other.join();
    EXPECT_EQ(card.Calls(), (Calls{ReadOf("t1"), WriteOf("t1", 0x18), WriteOf("t1", 0x10),
                                   ReadOf("t1"), WriteOf("t1", 0x00)}));
}

class LaserInterlock : public LaserTest
{
protected:
    // The card's calls of an interlock call of which one fails.
    Calls CallsOfAFailing(const char *entry, int64_t nth, uint16_t state, int32_t expected)
    {
        g_laser = {};
        folder.Remove("log.ini");
        BringUpSerial();
        card.SupplyLines(0x2F);
        card.SetErrorText("no line");
        card.FailCall(entry, nth);
        EXPECT_EQ(ZVK_Laser_Interlock(0, state), expected);
        EXPECT_TRUE(card.Failed());
        EXPECT_EQ(Log().find("\tno line\n") != std::string::npos, expected != 0);
        return card.Calls();
    }
};

TEST_F(LaserInterlock, EnablingLiftsTheLineBeforeTheCommand)
{
    BringUpSerial();
    card.SupplyLines(0x2F);
    ports.FailCall("write", 1);  // the command; the line stands already
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0) << "a dead wire is not told";
    EXPECT_EQ(card.Calls(), (Calls{ReadOf("t1"), WriteOf("t1", 0x3F)}));
    EXPECT_EQ(ports.Calls(), (Calls{"flushInput(7)", "flushOutput(7)", "write(7, \"CDO 1\\r\\n\")",
                                    "readLine(7, 6, 10) = \"\""}));
}

TEST_F(LaserInterlock, WhatFailsBeforeEnablingKeepsTheCommandBack)
{
    EXPECT_EQ(CallsOfAFailing("readDigitalScalarU32", 1, 1, ZVK_LASER_NO_REPLY),
              Calls{ReadOf("t1")});
    EXPECT_EQ(ports.Wire(), Calls{});
    EXPECT_EQ(CallsOfAFailing("writeDigitalScalarU32", 1, 7, ZVK_LASER_NO_REPLY),
              (Calls{ReadOf("t2"), WriteOf("t2", 0x3F)}));
    EXPECT_EQ(ports.Wire(), Calls{});
}

TEST_F(LaserInterlock, DisablingTakesTheCommandBackAndThenTheLine)
{
    BringUpSerial();
    card.SupplyLines(0x3F);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 0), 0);
    EXPECT_EQ(card.Calls(), (Calls{ReadOf("t1"), WriteOf("t1", 0x2F)}));
    EXPECT_EQ(ports.Calls(), (Calls{"flushInput(7)", "flushOutput(7)", "write(7, \"CDO 0\\r\\n\")",
                                    "readLine(7, 6, 10) = \"OK\\r\""}));
}

TEST_F(LaserInterlock, ARefusedFallOfTheLineIsNotToldAndAnUnreadableOneEndsIt)
{
    EXPECT_EQ(CallsOfAFailing("writeDigitalScalarU32", 1, 0, 0),
              (Calls{ReadOf("t1"), WriteOf("t1", 0x2F)}));
    EXPECT_EQ(ports.Wire().size(), 2U) << "CDO 0 and its reply";
    EXPECT_EQ(CallsOfAFailing("readDigitalScalarU32", 1, 0, ZVK_LASER_NO_REPLY),
              Calls{ReadOf("t2")});
    EXPECT_EQ(ports.Wire(), Calls{});
}

TEST_F(LaserInterlock, WithLevelsOnlyTheLineMoves)
{
    BringUpLevels();
    card.SupplyLines(0x2F);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    card.SupplyLines(0x3F);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 0), 0);
    EXPECT_EQ(card.Calls(),
              (Calls{ReadOf("t1"), WriteOf("t1", 0x3F), ReadOf("t1"), WriteOf("t1", 0x2F)}));
    EXPECT_EQ(ports.Calls(), Calls{});
}

TEST_F(LaserInterlock, WithLevelsOnlyARefusedRiseIsTold)
{
    struct Row
    {
        const char *entry;
        uint16_t state;
        int32_t status;
    };
    constexpr Row rows[] = {
        {"readDigitalScalarU32", 0, ZVK_LASER_NO_REPLY},
        {"readDigitalScalarU32", 1, ZVK_LASER_NO_REPLY},
        {"writeDigitalScalarU32", 0, 0},
        {"writeDigitalScalarU32", 1, ZVK_LASER_NO_REPLY},
    };
    for (const Row &row : rows) {
        g_laser = {};
        folder.Remove("log.ini");
        BringUpLevels();
        card.FailCall(row.entry, 1);
        EXPECT_EQ(ZVK_Laser_Interlock(0, row.state), row.status) << row.entry << row.state;
        EXPECT_EQ(Log() != "", row.status != 0);
    }
}

TEST_F(LaserInterlock, SimulatedItIsKeptAndToldAsOneAndZero)
{
    g_laser.simulate = 1;
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0) << "also before Init, which opens it";
    EXPECT_EQ(g_laser.simulatedInterlock, 1);
    BringUpSimulated();
    int32_t status = -9;
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 300), 0);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 0), 0);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, nullptr), 0);
}

TEST_F(LaserInterlock, BeforeInitThereIsNoLaser)
{
    int32_t status = -9;
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 0), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(status, -9);
    BringUpSerial();
    for (int32_t *flag : {&g_laser.installed, &g_laser.initialised}) {
        *flag = 0;
        EXPECT_EQ(ZVK_Laser_Interlock(0, 1), ZVK_LASER_NOT_FOUND);
        EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), ZVK_LASER_NOT_FOUND);
        *flag = 1;
    }
    g_laser.backend = 2;
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_Shutdown(0), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(card.Calls(), Calls{});
}

struct FlagRow
{
    const char *reply;
    int32_t result;
    int32_t status;  // -9: left alone
};

constexpr FlagRow kFlags[] = {
    {"111111\r\n", 0, 1},
    {"101111\r\n", 0, 1},
    {"abcdef\r\n", 0, 1},
    {"011111\r\n", 0, ZVK_LASER_INTERLOCK_OPEN},
    {"000000\r\n", 0, ZVK_LASER_INTERLOCK_OPEN},
    {"110111\r\n", ZVK_LASER_DEVICE_ERROR_5, -9},
    {"111011\r\n", ZVK_LASER_DEVICE_ERROR_4, -9},
    {"111101\r\n", ZVK_LASER_DEVICE_ERROR_3, -9},
    {"111110\r\n", ZVK_LASER_DEVICE_ERROR_2, -9},
    {"100000\r\n", ZVK_LASER_DEVICE_ERROR_5, -9},
    {"111000\r\n", ZVK_LASER_DEVICE_ERROR_4, -9},
    {"1111100000\r\n", ZVK_LASER_DEVICE_ERROR_2, -9},
    {"11111\n", ZVK_LASER_NO_REPLY, -9},
    {"01111\n", ZVK_LASER_NO_REPLY, -9},
    {"0000\r\n", ZVK_LASER_NO_REPLY, -9},
    {"", ZVK_LASER_NO_REPLY, -9},
};

TEST_F(LaserInterlock, FlagsOfASerialLaserGoOutInTwoWays)
{
    for (const FlagRow &row : kFlags) {
        SCOPED_TRACE(row.reply);
        BringUpSerial();
        ports.Answer(kLaserPort, "STA\r\n", row.reply);
        int32_t status = -9;
        EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), row.result);
        EXPECT_EQ(status, row.status);
        const Calls calls = ports.Calls();
        EXPECT_EQ((Calls{calls.begin(), calls.begin() + 3}),
                  (Calls{"flushInput(7)", "flushOutput(7)", "write(7, \"STA\\r\\n\")"}));
        EXPECT_EQ(ports.Wire().size(), row.result == ZVK_LASER_NO_REPLY ? 10U : 2U);
        EXPECT_EQ(calls.size(), ports.Wire().size() + 2) << "flushed once";
        EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, nullptr), row.result);
        ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}

TEST_F(LaserInterlock, ALongReplyAmongShortOnesCounts)
{
    BringUpSerial();
    ports.FailCall("readLine", 2);
    ports.Answer(kLaserPort, "STA\r\n", "1\n");
    int32_t status = -9;
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), ZVK_LASER_NO_REPLY);
    ports.Answer(kLaserPort, "STA\r\n", "111111\r\n");
    ports.FailCall("readLine", 1);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, 1);
}

struct VoltsRow
{
    double volts;
    int32_t status;
};

constexpr VoltsRow kVolts[] = {
    {0.0, 408}, {1.9999, 408}, {2.0, 1}, {2.9, 1}, {10.0, 1}, {-2.5, 408}, {-10.0, 408},
};

TEST_F(LaserInterlock, WithLevelsTheInputsVoltageDecides)
{
    BringUpLevels();
    for (const VoltsRow &row : kVolts) {
        ForgetCalls();
        card.SupplySamples({row.volts, 9.0});
        int32_t status = -9;
        EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
        EXPECT_EQ(status, row.status) << row.volts;
        EXPECT_EQ(card.Calls(), Calls{"readAnalogF64(t3, 1, 2, 0, 8)"});
    }
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, nullptr), 0);
}

TEST_F(LaserInterlock, WithLevelsAFailedReadIsLogged)
{
    BringUpLevels();
    card.SetErrorText("no input");
    card.FailCall("readAnalogF64", 1);
    int32_t status = -9;
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), ZVK_LASER_NO_REPLY);
    EXPECT_EQ(status, -9);
    EXPECT_NE(Log().find("\tno input\n"), std::string::npos);
}

TEST_F(LaserShutters, CallsOfSeveralThreadsDontMeet)
{
    BringUpLevels();
    const auto work = [](int round) {
        double value = 0.0;
        int32_t number = 0;
        for (int i = 0; i < 50; ++i) {
            (void)ZVK_Laser_SetPower(0, 1.0 + (round + i) % 3);
            (void)ZVK_Laser_GetPower(0, &value);
            (void)ZVK_Laser_Interlock(0, static_cast<uint16_t>(i % 2));
            (void)ZVK_Laser_SetShutter(0, i % 2, 1);
            (void)ZVK_Laser_GetInterlockStatus(0, &number);
            (void)ZVK_Laser_GetMode(0, &number);
        }
    };
    std::thread other(work, 1);
    work(2);
    other.join();
    // Between a word that is read and the one written for it stands no other call on the lines.
    const Calls calls = card.Calls();
    for (size_t i = 0; i + 1 < calls.size(); ++i) {
        if (!calls[i].starts_with("readDigital")) continue;
        size_t next = i + 1;
        while (next < calls.size() && calls[next].starts_with("readAnalog"))
            ++next;
        ASSERT_LT(next, calls.size());
        EXPECT_TRUE(calls[next].starts_with("writeDigitalScalarU32(" + calls[i].substr(21, 2)))
            << calls[i] << " " << calls[next];
    }
}

using LaserShutdown = LaserTest;

TEST_F(LaserShutdown, ASerialLaserIsDarkBeforeItsTaskAndPortGo)
{
    BringUpSerial();
    card.SupplyLines(0x10);
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(card.Calls(),
              (Calls{ReadOf("t1"), WriteOf("t1", 0x00), ReadOf("t1"), WriteOf("t1", 0x14),
                     WriteOf("t1", 0x10), ReadOf("t1"), WriteOf("t1", 0x12), WriteOf("t1", 0x10),
                     "stopTask(t1)", "clearTask(t1)"}));
    EXPECT_EQ(ports.Wire(),
              (Calls{"write(7, \"CDO 0\\r\\n\")", "readLine(7, 6, 10) = \"OK\\r\"", "close(7)"}));
    EXPECT_EQ(g_laser.initialised, 0);
    EXPECT_EQ(g_laser.shutterTask, nullptr);
    EXPECT_EQ(ZVK_Laser_Shutdown(0), ZVK_LASER_NOT_FOUND);
}

TEST_F(LaserShutdown, WithLevelsAllThreeTasksGo)
{
    BringUpLevels();
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    const Calls calls = card.Calls();
    EXPECT_EQ((Calls{calls.end() - 6, calls.end()}),
              (Calls{"stopTask(t1)", "clearTask(t1)", "stopTask(t2)", "clearTask(t2)",
                     "stopTask(t3)", "clearTask(t3)"}));
    EXPECT_EQ((Calls{calls.begin(), calls.begin() + 3}),
              (Calls{ReadOf("t1"), WriteOf("t1", 0), ReadOf("t1")}));
    EXPECT_EQ(card.OpenTasks(), 0);
    EXPECT_EQ(ports.Calls(), Calls{});
    EXPECT_EQ(g_laser.powerTask, nullptr);
    EXPECT_EQ(g_laser.interlockInputTask, nullptr);
    EXPECT_EQ(g_laser.initialised, 0);
}

TEST_F(LaserShutdown, SimulatedItClosesTheShuttersAndAlwaysAnswersZero)
{
    BringUp({.simulate = "1"});
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(card.Calls(),
              (Calls{ReadOf("t1"), WriteOf("t1", 4), WriteOf("t1", 0), ReadOf("t1"),
                     WriteOf("t1", 2), WriteOf("t1", 0), "stopTask(t1)", "clearTask(t1)"}));
    EXPECT_EQ(g_laser.initialised, 0);
    BringUpSimulated();
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(card.Calls(), Calls{}) << "without a card";
}

TEST_F(LaserShutdown, WhatFailsInBetweenKeepsNothingFromBeingDone)
{
    for (const char *backend : {"1", "4"}) {
        for (int64_t nth = 1; nth <= 15; ++nth) {
            BringUp({.backend = backend});
            card.FailAt(nth);
            EXPECT_EQ(ZVK_Laser_Shutdown(0), 0) << nth;
            card.FailAt(0);
            EXPECT_EQ(card.OpenTasks(), 0);
            EXPECT_EQ(card.Misuses(), 0);
            EXPECT_EQ(ports.OpenPorts(), 0);
            EXPECT_EQ(g_laser.initialised, 0);
        }
    }
    for (int64_t nth = 1; nth <= 5; ++nth) {
        BringUpSerial();
        ports.FailAt(nth);
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0) << nth;
        EXPECT_TRUE(ports.Failed());
        EXPECT_EQ(card.OpenTasks(), 0);
        EXPECT_EQ(ports.OpenPorts(), 0);
    }
}

TEST_F(LaserShutdown, AHundredRoundsLeakNothing)
{
    for (int round = 0; round < 100; ++round) {
        for (const LaserConfig &config :
             {LaserConfig{}, LaserConfig{.backend = "4"}, LaserConfig{.simulate = "1"}})
        {
            BringUp(config);
            ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
            ASSERT_EQ(card.OpenTasks(), 0);
            ASSERT_EQ(ports.OpenPorts(), 0);
        }
        Write({.installed = "0"});
        ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_NOT_FOUND);
        ASSERT_EQ(ZVK_Laser_Shutdown(0), ZVK_LASER_NOT_FOUND);
        ASSERT_EQ(card.OpenTasks(), 1) << "kept until the next start, and never two";
    }
    EXPECT_EQ(card.Misuses(), 0);
}
