// Power, current and mode: what is taken, what goes out, and what is kept.

#include "laser_fixture.h"

#include "quorvex/errors.h"

#include <clocale>
#include <limits>

using LaserPower = LaserTest;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

static double PowerNow()
{
    double power = -9.0;
    (void)ZVK_Laser_GetPower(0, &power);
    return power;
}

TEST_F(LaserPower, SimulatedConstantCurrentTakesCurrentUpToItsMaximumAndNoPower)
{
    BringUpSimulated("CC");
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(ZVK_Laser_SetPower(0, -1.0), ZVK_LASER_WRONG_MODE) << "before the range";
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 6.5), 0);
    double current = 0.0;
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &current), 0);
    EXPECT_EQ(current, 6.5);
    for (const double bad : {6.5001, -0.0001, kNotANumber}) {
        EXPECT_EQ(ZVK_Laser_SetCurrent(0, bad), ZVK_LASER_BAD_CURRENT) << bad;
        EXPECT_EQ(g_laser.driveSetpoint, 6.5);
    }
    EXPECT_EQ(ZVK_Laser_GetPower(0, &current), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(current, 6.5) << "left alone";
}

TEST_F(LaserPower, SimulatedConstantPowerTakesPowerUpToItsMaximumAndNoCurrent)
{
    BringUpSimulated("CC");
    EXPECT_EQ(ZVK_Laser_SetMode(0, 0), 0);
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), 0);
    EXPECT_EQ(PowerNow(), 1.0);
    double current = -9.0;
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &current), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(current, -9.0);
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, -1.0), ZVK_LASER_WRONG_MODE) << "before the range";
    EXPECT_EQ(ZVK_Laser_SetPower(0, 3.5), 0);
    EXPECT_EQ(ZVK_Laser_SetPower(0, 0.0), 0);
    for (const double bad : {3.5001, -0.0001, kNotANumber}) {
        EXPECT_EQ(ZVK_Laser_SetPower(0, bad), ZVK_LASER_BAD_CURRENT) << bad;
        EXPECT_EQ(PowerNow(), 0.0);
    }
}

TEST_F(LaserPower, SimulatedModeTwoTakesBothAndTheyShareTheSetpoint)
{
    BringUpSimulated();
    ASSERT_EQ(ZVK_Laser_SetMode(0, 2), 0);
    int32_t mode = -9;
    EXPECT_EQ(ZVK_Laser_GetMode(0, &mode), 0);
    EXPECT_EQ(mode, 2);
    EXPECT_EQ(ZVK_Laser_SetPower(0, 3.0), 0);
    double value = 0.0;
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), 0);
    EXPECT_EQ(value, 3.0);
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 6.0), 0);
    EXPECT_EQ(PowerNow(), 6.0);
}

TEST_F(LaserPower, SimulatedCallsWorkBeforeInitToo)
{
    g_laser.simulate = 1;
    g_laser.maxPower = 1.0;
    EXPECT_EQ(ZVK_Laser_SetPower(0, 0.5), 0);
    EXPECT_EQ(PowerNow(), 0.5);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 1), 0);
    EXPECT_EQ(g_laser.mode, 1);
}

TEST_F(LaserPower, BeforeInitSetPowerIsSilentAndTheOthersTellThatThereIsNoLaser)
{
    double value = -9.0;
    EXPECT_EQ(ZVK_Laser_SetPower(0, 99.0), 0);
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), ZVK_LASER_NOT_FOUND);
    g_laser.mode = 1;
    g_laser.maxCurrent = 1.0;
    EXPECT_EQ(ZVK_Laser_SetPower(0, 99.0), ZVK_LASER_WRONG_MODE) << "the mode comes first";
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), ZVK_LASER_NOT_FOUND) << "the laser comes first";
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 2.0), ZVK_LASER_BAD_CURRENT) << "the range comes first";
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 1.0), ZVK_LASER_NOT_FOUND);
    g_laser.mode = 0;
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), ZVK_LASER_NOT_FOUND) << "the laser comes first";
    EXPECT_EQ(ZVK_Laser_SetMode(0, 1), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(g_laser.mode, 0);
    EXPECT_EQ(value, -9.0);
    EXPECT_EQ(ports.Calls(), Calls{});
}

TEST_F(LaserPower, EitherFlagMissingMeansNoLaser)
{
    BringUpSerial();
    for (int32_t *flag : {&g_laser.installed, &g_laser.initialised}) {
        *flag = 0;
        double value = 0.0;
        EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), 0);
        EXPECT_EQ(ZVK_Laser_GetPower(0, &value), ZVK_LASER_NOT_FOUND);
        EXPECT_EQ(ZVK_Laser_SetMode(0, 0), ZVK_LASER_NOT_FOUND);
        *flag = 1;
    }
    EXPECT_EQ(ports.Calls(), Calls{});
}

TEST_F(LaserPower, LevelsGiveTheirSetpointEvenBeforeInit)
{
    g_laser.backend = 4;
    g_laser.mode = 1;
    EXPECT_EQ(PowerNow(), 0.0);
    double value = -1.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), 0);
    EXPECT_EQ(ZVK_Laser_GetPower(0, nullptr), 0);
    g_laser.mode = 0;
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), 0);
    EXPECT_EQ(card.Calls(), Calls{});
}

TEST_F(LaserPower, BothBackEndsGiveTheSetpointUntilTheSerialOneIsUp)
{
    g_laser.backend = 5;
    g_laser.driveSetpoint = 0.75;
    EXPECT_EQ(PowerNow(), 0.75);
    BringUp({.backend = "5"});
    EXPECT_EQ(PowerNow(), 1.5) << "its reply";
}

TEST_F(LaserPower, AnUnknownBackEndTellsThatThereIsNoLaser)
{
    BringUpSerial();
    g_laser.backend = 2;
    double value = -9.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 1), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 2), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), ZVK_LASER_WRONG_MODE) << "the mode comes first";
    EXPECT_EQ(g_laser.mode, 0);
    g_laser.mode = 1;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), ZVK_LASER_WRONG_MODE) << "the mode comes first";
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 1.0), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(value, -9.0);
    EXPECT_EQ(g_laser.driveSetpoint, 3.5);
    EXPECT_EQ(ports.Calls(), Calls{});
}

TEST_F(LaserPower, EachLevelHasItsBitsAndItsPower)
{
    struct Row
    {
        double drive;
        uint32_t found;
        uint32_t written;
        double setpoint;
    };
    constexpr Row rows[] = {
        {1.0, 0xFF, 0xF3, 0.25}, {1.99, 0x0C, 0x00, 0.25}, {2.0, 0x00, 0x04, 1.25},
        {2.9, 0xFF, 0xF7, 1.25}, {3.0, 0xFF, 0xFB, 3.5},   {3.0, 0x03, 0x0B, 3.5},
    };
    BringUpLevels();
    for (const Row &row : rows) {
        ForgetCalls();
        card.SupplyLines(row.found);
        EXPECT_EQ(ZVK_Laser_SetPower(0, row.drive), 0) << row.drive;
        EXPECT_EQ(card.Calls(),
                  (Calls{"readDigitalScalarU32(t2, 10)",
                         "writeDigitalScalarU32(t2, 0, 10, " + std::to_string(row.written) + ")"}));
        EXPECT_EQ(PowerNow(), row.setpoint);
    }
}

TEST_F(LaserPower, OutsideTheLevelsNothingGoesOut)
{
    BringUpLevels();
    for (const double bad : {0.5, 0.999, 3.0001, 3.1, -2.0, 1e300, kNotANumber})
        EXPECT_EQ(ZVK_Laser_SetPower(0, bad), ZVK_LASER_BAD_DRIVE_VALUE) << bad;
    EXPECT_EQ(card.Calls(), Calls{});
    EXPECT_EQ(PowerNow(), 3.5);
}

TEST_F(LaserPower, ARefusedLevelIsLoggedAndTheOldOneStays)
{
    for (const char *entry : {"readDigitalScalarU32", "writeDigitalScalarU32"}) {
        g_laser = {};
        folder.Remove("log.ini");
        BringUpLevels();
        card.SetErrorText("no line");
        card.FailCall(entry, 1);
        EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), ZVK_LASER_NO_REPLY) << entry;
        EXPECT_EQ(PowerNow(), 3.5);
        EXPECT_NE(Log().find("\tno line\n"), std::string::npos);
    }
}

TEST_F(LaserPower, LevelsHaveNoCurrentAndOneMode)
{
    BringUpLevels();
    double value = -9.0;
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 1.0), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 1), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 0), 0);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 2), 0);
    EXPECT_EQ(g_laser.mode, 0) << "nothing is stored";
    g_laser.mode = 2;
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 1.0), ZVK_LASER_BAD_POWER_SETTING);
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 7.0), ZVK_LASER_BAD_CURRENT) << "the range comes first";
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(value, -9.0);
}

TEST_F(LaserPower, ASerialLaserGetsPowerAfreshAndTheSetpointFollows)
{
    BringUpSerial();
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.5), 0);
    EXPECT_EQ(ports.Calls(),
              (Calls{"flushInput(7)", "flushOutput(7)", "write(7, \"APC 1.500000\\r\\n\")",
                     "readLine(7, 6, 10) = \"\""}));
    EXPECT_EQ(g_laser.driveSetpoint, 1.5);
    for (const double bad : {-0.0001, 3.5001, kNotANumber}) {
        ForgetCalls();
        EXPECT_EQ(ZVK_Laser_SetPower(0, bad), ZVK_LASER_BAD_CURRENT);
        EXPECT_EQ(ports.Calls(), Calls{});
        EXPECT_EQ(g_laser.driveSetpoint, 1.5);
    }
    EXPECT_EQ(ZVK_Laser_SetPower(0, 3.5), 0) << "the maximum itself";
    EXPECT_EQ(ZVK_Laser_SetPower(0, 0.0), 0);
}

TEST_F(LaserPower, ASerialLaserGetsCurrentAfreshAndTheSetpointStays)
{
    BringUp({.mode = "CC"});
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 2.25), 0);
    EXPECT_EQ(ports.Calls(),
              (Calls{"flushInput(7)", "flushOutput(7)", "write(7, \"ACC 2.250000\\r\\n\")",
                     "readLine(7, 6, 10) = \"\""}));
    EXPECT_EQ(g_laser.driveSetpoint, 0.0);
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), ZVK_LASER_WRONG_MODE);
}

TEST_F(LaserPower, ADeadWireIsNotToldBySetCalls)
{
    BringUpSerial();
    g_laser.mode = 2;
    for (const char *entry : {"flushInput", "flushOutput", "write", "readLine"}) {
        ports.FailCall(entry, 1);
        EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), 0) << entry;
        EXPECT_TRUE(ports.Failed());
        ports.FailCall(entry, 1);
        EXPECT_EQ(ZVK_Laser_SetCurrent(0, 1.0), 0) << entry;
        EXPECT_TRUE(ports.Failed());
    }
    for (const char *entry : {"write", "readLine"}) {
        ports.FailCall(entry, 1);
        EXPECT_EQ(ZVK_Laser_SetMode(0, 1), 0) << entry;
    }
}

TEST_F(LaserPower, ReadsOfASerialLaserDontFlush)
{
    BringUpSerial();
    double value = 0.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), 0);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(ports.Calls(),
              (Calls{"write(7, \"APC ?\\r\\n\")", "readLine(7, 6, 10) = \"1.50\\r\""}));
    EXPECT_EQ(ZVK_Laser_GetPower(0, nullptr), 0);
    g_laser.mode = 1;
    ForgetCalls();
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), 0);
    EXPECT_EQ(value, 2.5);
    EXPECT_EQ(ports.Calls(),
              (Calls{"write(7, \"ACC ?\\r\\n\")", "readLine(7, 6, 10) = \"2.50\\r\""}));
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, nullptr), 0);
}

struct ReplyRow
{
    const char *reply;
    double value;  // below 0: a bad reply
};

constexpr ReplyRow kReplies[] = {
    {"0\r\n", 0.0},  {"0.5\n", 0.5},       {"1.25W\n", 1.25},    {" 2\r\n", 2.0},
    {"+1.5\n", 1.5}, {"1e-1\n", 0.1},      {"3.4999\n", 3.4999}, {"-0\n", 0.0},
    {"3.5\n", -1.0}, {"3.6\n", -1.0},      {"-0.1\n", -1.0},     {"", -1.0},
    {"\r\n", -1.0},  {"OK\r\n", -1.0},     {"W1.5\n", -1.0},     {"nan\n", -1.0},
    {"inf\n", -1.0}, {"1e999\n", -1.0},    {"+-1\n", -1.0},      {"\xFF\xFE\n", -1.0},
    {".5\n", 0.5},   {"2.0000000\n", 2.0}, {"1 PC\n", 1.0},
};

TEST_F(LaserPower, APowerReplyCountsByTheNumberAtItsFrontBelowTheMaximum)
{
    for (const ReplyRow &row : kReplies) {
        SCOPED_TRACE(row.reply);
        BringUpSerial();
        ports.Answer(kLaserPort, "APC ?\r\n", row.reply);
        double value = -9.0;
        const bool bad = row.value < 0.0;
        EXPECT_EQ(ZVK_Laser_GetPower(0, &value), bad ? ZVK_LASER_NO_REPLY : 0);
        EXPECT_DOUBLE_EQ(value, bad ? -9.0 : row.value);
        ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}

TEST_F(LaserPower, ACurrentReplyCountsLikewiseAndIsAskedForOnce)
{
    for (const ReplyRow &row : kReplies) {
        SCOPED_TRACE(row.reply);
        BringUp({.maxCurrent = "3.5", .mode = "CC"});
        ports.Answer(kLaserPort, "ACC ?\r\n", row.reply);
        double value = -9.0;
        const bool bad = row.value < 0.0;
        EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), bad ? ZVK_LASER_NO_REPLY : 0);
        EXPECT_DOUBLE_EQ(value, bad ? -9.0 : row.value);
        EXPECT_EQ(ports.Wire().size(), 2U);
        ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}

TEST_F(LaserPower, TheRestOfALongReplyIsWhatTheNextReadMeets)
{
    BringUpSerial();
    ports.Answer(kLaserPort, "APC ?\r\n", "1.50000\r\n");
    double value = -9.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), 0);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), 0);
    EXPECT_EQ(value, 0.0) << "the last digit of the reply before";
}

TEST_F(LaserPower, PowerIsAskedForFiveTimes)
{
    BringUpSerial();
    ports.Answer(kLaserPort, "APC ?\r\n", "what\n");
    double value = -9.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), ZVK_LASER_NO_REPLY);
    Calls five;
    for (int i = 0; i < 5; ++i) {
        five.emplace_back("write(7, \"APC ?\\r\\n\")");
        five.emplace_back("readLine(7, 6, 10) = \"what\"");
    }
    EXPECT_EQ(ports.Calls(), five);
    EXPECT_EQ(value, -9.0);
}

TEST_F(LaserPower, AGoodReplyEndsTheAskingAlsoTheFifth)
{
    for (int64_t good = 1; good <= 5; ++good) {
        BringUpSerial();
        // Each failed read loses the reply that it should have brought.
        ports.Answer(kLaserPort, "APC ?\r\n", "");
        for (int64_t i = 1; i < good; ++i)
            ports.Supply(kLaserPort, "?\n");
        ports.Supply(kLaserPort, "0.75\n");
        double value = 0.0;
        EXPECT_EQ(ZVK_Laser_GetPower(0, &value), 0) << good;
        EXPECT_EQ(value, 0.75);
        EXPECT_EQ(ports.Wire().size(), static_cast<size_t>(2 * good));
        ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}

TEST_F(LaserPower, ALaserAtItsVeryMaximumReadsAsAFailure)
{
    BringUpSerial();
    ASSERT_EQ(ZVK_Laser_SetPower(0, 3.5), 0);
    ports.Answer(kLaserPort, "APC ?\r\n", "3.50\r\n");
    double value = 0.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &value), ZVK_LASER_NO_REPLY);
    g_laser.mode = 1;
    ports.Answer(kLaserPort, "ACC ?\r\n", "6.50\r\n");
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &value), ZVK_LASER_NO_REPLY);
}

TEST_F(LaserPower, TheModeOfASerialLaserIsToldButOnlyTwoIsKept)
{
    BringUpSerial();
    EXPECT_EQ(ZVK_Laser_SetMode(0, 1), 0);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 0), 0);
    EXPECT_EQ(ports.Calls(), (Calls{"write(7, \"COM 0\\r\\n\")", "readLine(7, 6, 10) = \"OK\\r\"",
                                    "write(7, \"COM 1\\r\\n\")", "readLine(7, 6, 10) = \"OK\\r\""}))
        << "no flush";
    EXPECT_EQ(g_laser.mode, 0);
    ForgetCalls();
    EXPECT_EQ(ZVK_Laser_SetMode(0, 2), 0);
    EXPECT_EQ(ports.Calls(), Calls{});
    EXPECT_EQ(g_laser.mode, 2);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 1), 0);
    EXPECT_EQ(g_laser.mode, 2);
}

TEST_F(LaserPower, AModeThatIsNoneIsRefusedFirst)
{
    for (const int32_t mode : {-1, 3, 100})
        EXPECT_EQ(ZVK_Laser_SetMode(0, mode), ZVK_LASER_BAD_MODE);
    g_laser.simulate = 1;
    EXPECT_EQ(ZVK_Laser_SetMode(0, 3), ZVK_LASER_BAD_MODE);
    EXPECT_EQ(g_laser.mode, 0);
}

TEST_F(LaserPower, ValuesOfTheKeysAreGivenWhileTheLaserIsUp)
{
    double value = -9.0;
    int32_t number = -9;
    EXPECT_EQ(ZVK_Laser_GetMaxPower(0, &value), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetMinPower(0, &value), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetAlignPower(0, &value), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetMaxCurrent(0, &value), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetMode(0, &number), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(value, -9.0);
    EXPECT_EQ(number, -9);
    EXPECT_EQ(ZVK_Laser_GetBackend(0, &number), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(number, -1);
    EXPECT_EQ(ZVK_Laser_GetInitStatus(0, &number), 0);
    EXPECT_EQ(number, 0);

    BringUpSimulated("CC");
    EXPECT_EQ(ZVK_Laser_GetMaxPower(0, &value), 0);
    EXPECT_EQ(value, 3.5);
    EXPECT_EQ(ZVK_Laser_GetMinPower(0, &value), 0);
    EXPECT_EQ(value, 0.25);
    EXPECT_EQ(ZVK_Laser_GetAlignPower(0, &value), 0);
    EXPECT_EQ(value, 1.25);
    EXPECT_EQ(ZVK_Laser_GetMaxCurrent(0, &value), 0);
    EXPECT_EQ(value, 6.5);
    EXPECT_EQ(ZVK_Laser_GetMode(0, &number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(ZVK_Laser_GetBackend(0, &number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(ZVK_Laser_GetInitStatus(0, &number), 0);
    EXPECT_EQ(number, 2);
    for (int32_t (*give)(SessionHandle, double *) :
         {ZVK_Laser_GetMaxPower, ZVK_Laser_GetMinPower, ZVK_Laser_GetAlignPower,
          ZVK_Laser_GetMaxCurrent})
        EXPECT_EQ(give(0, nullptr), 0);
    EXPECT_EQ(ZVK_Laser_GetMode(0, nullptr), 0);
    EXPECT_EQ(ZVK_Laser_GetBackend(0, nullptr), 0);
    EXPECT_EQ(ZVK_Laser_GetInitStatus(0, nullptr), 0);
}

TEST_F(LaserPower, ValuesOfTheKeysAreGivenAtInitialisedOneAlone)
{
    BringUpSimulated();
    g_laser.initialised = 2;
    double value = -9.0;
    int32_t number = -9;
    EXPECT_EQ(ZVK_Laser_GetMode(0, &number), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(ZVK_Laser_GetMaxPower(0, &value), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(number, -9);
    EXPECT_EQ(value, -9.0);
    EXPECT_EQ(ZVK_Laser_GetInitStatus(0, &number), 0);
    EXPECT_EQ(number, 3) << "the flag plus SIMULATE";
}

TEST_F(LaserPower, ARealLaserHasInitStatusOne)
{
    BringUpLevels();
    int32_t status = -9;
    EXPECT_EQ(ZVK_Laser_GetInitStatus(0, &status), 0);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(ZVK_Laser_GetBackend(0, &status), 0);
    EXPECT_EQ(status, 4);
}

TEST_F(LaserPower, ValuesGoOutAndComeInWithAPointInAnyLocale)
{
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    BringUpSerial();
    for (const char *name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", before.c_str()}) {
        if (!std::setlocale(LC_NUMERIC, name)) continue;
        ForgetCalls();
        EXPECT_EQ(ZVK_Laser_SetPower(0, 0.125), 0);
        EXPECT_EQ(ports.Wire()[0], "write(7, \"APC 0.125000\\r\\n\")");
        EXPECT_EQ(PowerNow(), 1.5);
    }
    std::setlocale(LC_NUMERIC, before.c_str());
}

TEST_F(LaserPower, SixDecimalsGoOutAlsoOfTheLargestMaximum)
{
    char command[kCommandSize];
    WriteValueCommand(command, "ACC ", 0.0);
    EXPECT_STREQ(command, "ACC 0.000000\r\n");
    WriteValueCommand(command, "APC ", 1.0 / 3.0);
    EXPECT_STREQ(command, "APC 0.333333\r\n");
    WriteValueCommand(command, "APC ", 2e-7);
    EXPECT_STREQ(command, "APC 0.000000\r\n");
    const double largest = static_cast<double>(std::numeric_limits<float>::max());
    WriteValueCommand(command, "APC ", largest);
    EXPECT_STREQ(command, "APC 340282346638528859811704183484516925440.000000\r\n");
}
