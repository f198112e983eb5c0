// The laser against the virtual laser and the virtual card, through the exported calls alone: what
// went over the wire, the words on the lines with their times, and when there is light.

#include "instrument_folder.h"

#include <quorvex-virtual/daq.h>
#include <quorvex-virtual/laser.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

constexpr const char *kPort0 = "Dev1/port0";
constexpr const char *kPort1 = "Dev1/port1";
constexpr uint32_t kInterlockLine = 16;
constexpr double kPatienceS = 10.0;

static std::string Config(const std::string &backend, const std::string &mode = "CP",
                          const std::string &trapPaths = "2")
{
    return "[MAINDAQ]\r\nSIMULATE=0\r\nDAQNAME=\"Dev1\"\r\n[LASER]\r\nMI=1\r\nSIMULATE=0\r\n"
           "BACKEND=" +
           backend + "\r\nTRAPPATHS=" + trapPaths +
           "\r\nMAXCURRENT=6.5\r\nMAXPOWER=5\r\nMINPOWER=0.1\r\nALIGNPOWER=0.5\r\nLASERMODE=\"" +
           mode + "\"\r\nDAQLASERAI=\"ai7\"\r\n";
}

struct LineWord
{
    double timeS;
    uint32_t word;
};

using Words = std::vector<uint32_t>;

class LaserInstrument : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ZVC_Reset();
        laser.SetInterlockSource([] { return (ZVC_GetLines(kPort0) & kInterlockLine) != 0; });
    }

    void TearDown() override
    {
        (void)ZVK_Laser_Shutdown(0);
        EXPECT_EQ(ZVC_CountTasks(), 0) << "a task leaked";
        EXPECT_FALSE(laser.State().emits);
    }

    void Write(const std::string &config) const { folder.Files().Write("config.ini", config); }

    void BringUp(const std::string &config)
    {
        Write(config);
        ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
        Forget();
    }

    void Forget()
    {
        laser.Port().ForgetLog();
        (void)laser.TakeEvents();
        m_firstWord = ZVC_CountLineWords(kPort0);
    }

    // What was written to port 0 since Forget.
    std::vector<LineWord> Lines() const
    {
        std::vector<LineWord> words;
        for (uint64_t i = m_firstWord; i < ZVC_CountLineWords(kPort0); ++i) {
            LineWord word = {};
            EXPECT_EQ(ZVC_GetLineWord(kPort0, i, &word.timeS, &word.word), ZVC_OK);
            words.push_back(word);
        }
        return words;
    }

    Words LineWords() const
    {
        Words words;
        for (const LineWord &line : Lines())
            words.push_back(line.word);
        return words;
    }

    std::string Wire() { return PortLogText(laser.Port().Log()); }
    std::string Log() const { return folder.Files().Read("log.ini"); }

    InstrumentFolder folder;
    VirtualLaser laser;
    ScopedVariable offered{"ZVK_SERIAL_PORTS", laser.Offer(7).c_str()};

private:
    uint64_t m_firstWord = 0;
};

TEST_F(LaserInstrument, ANormalStartGoesOverTheWireAndLeavesALaserThatIsDark)
{
    Write(Config("1"));
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(Wire(), "> CLT 0\\r\\n\n"
                      "> ?\\r\\n\n< ?\\r\\n\n"
                      "> CDO 0\\r\\n\n< OK\\r\\n\n"
                      "> COM 1\\r\\n\n< OK\\r\\n\n"
                      "> APC 5.000000\\r\\n\n< OK\\r\\n\n");
    EXPECT_EQ(LineWords(), (Words{4, 0, 2, 0, 0, 4, 0, 2, 0}))
        << "shutters closed, interlock off, shutters closed";
    const VirtualLaserState state = laser.State();
    EXPECT_FALSE(state.echo);
    EXPECT_FALSE(state.outputOn);
    EXPECT_FALSE(state.interlockClosed);
    EXPECT_FALSE(state.constantCurrent);
    EXPECT_EQ(state.power, 5.0);
    EXPECT_EQ(Log(), "");
}

TEST_F(LaserInstrument, InConstantCurrentTheLaserIsToldSo)
{
    Write(Config("1", "CC"));
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    const VirtualLaserState state = laser.State();
    EXPECT_TRUE(state.constantCurrent);
    EXPECT_EQ(state.current, 6.5);
    EXPECT_EQ(ZVK_Laser_SetCurrent(0, 2.25), 0);
    double current = 0.0;
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &current), 0);
    EXPECT_EQ(current, 2.25);
}

TEST_F(LaserInstrument, LightNeedsTheLineBeforeTheCommandAndLosesTheCommandBeforeTheLine)
{
    BringUp(Config("1"));
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    EXPECT_TRUE(laser.State().emits);
    int32_t status = 0;
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 0), 0);
    EXPECT_FALSE(laser.State().emits);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, ZVK_LASER_INTERLOCK_OPEN);

    const std::vector<VirtualLaserEvent> events = laser.Events();
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[0].command, "CDO 1");
    EXPECT_TRUE(events[0].interlockClosed) << "the line stands before the command comes";
    EXPECT_EQ(events[2].command, "CDO 0");
    EXPECT_TRUE(events[2].interlockClosed) << "it falls behind the command";
    EXPECT_EQ(LineWords(), (Words{16, 0}));
    EXPECT_EQ(Wire(), "> CDO 1\\r\\n\n< OK\\r\\n\n> STA\\r\\n\n< 111111\\r\\n\n"
                      "> CDO 0\\r\\n\n< OK\\r\\n\n> STA\\r\\n\n< 001111\\r\\n\n");
}

TEST_F(LaserInstrument, AShutterPulseLastsATenthOfASecondAndLeavesTheInterlock)
{
    BringUp(Config("1"));
    ASSERT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    Forget();
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 0, 1), 0);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 1, 1), 0);
    const std::vector<LineWord> lines = Lines();
    ASSERT_EQ(LineWords(), (Words{24, 16, 17, 16}));
    for (const size_t pulse : {0U, 2U}) {
        const double lengthS = lines[pulse + 1].timeS - lines[pulse].timeS;
        EXPECT_GE(lengthS, 0.1);
        EXPECT_LT(lengthS, 0.1 + kPatienceS);
    }
    EXPECT_EQ(Wire(), "");
}

TEST_F(LaserInstrument, ANegativePathPulsesPathBsOpeningLine)
{
    BringUp(Config("1", "CP", "1"));
    EXPECT_EQ(ZVK_Laser_SetShutter(0, -1, 0), 0);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 1, 0), ZVK_LASER_BAD_PATH);
    EXPECT_EQ(LineWords(), (Words{1, 0}));
}

TEST_F(LaserInstrument, PowerIsSetAndReadBack)
{
    BringUp(Config("1"));
    double power = 0.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &power), ZVK_LASER_NO_REPLY) << "it stands at its maximum";
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.25), 0);
    EXPECT_EQ(ZVK_Laser_GetPower(0, &power), 0);
    EXPECT_EQ(power, 1.25);
    EXPECT_EQ(laser.State().power, 1.25);
    EXPECT_EQ(ZVK_Laser_SetMode(0, 1), 0);
    EXPECT_TRUE(laser.State().constantCurrent);
    EXPECT_EQ(ZVK_Laser_GetPower(0, &power), 0) << "the module goes on by LASERMODE";
}

TEST_F(LaserInstrument, ErrorsOfTheLaserAreTheResult)
{
    BringUp(Config("1"));
    ASSERT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    constexpr int32_t results[] = {ZVK_LASER_DEVICE_ERROR_2, ZVK_LASER_DEVICE_ERROR_3,
                                   ZVK_LASER_DEVICE_ERROR_4, ZVK_LASER_DEVICE_ERROR_5};
    int32_t status = -9;
    for (int error = 2; error <= 5; ++error) {
        laser.SetError(error, true);
        EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), results[error - 2]);
    }
    EXPECT_EQ(status, -9);
    laser.ForceFlags("011011");
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, ZVK_LASER_INTERLOCK_OPEN);
    laser.ForceFlags("11111");
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0) << "CR counts as the sixth";
    laser.ForceFlags("1111");
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), ZVK_LASER_NO_REPLY);
}

TEST_F(LaserInstrument, AStatusReadLeavesTheRestOfItsLineForTheNextRead)
{
    BringUp(Config("1", "CC"));
    ASSERT_EQ(ZVK_Laser_SetCurrent(0, 2.0), 0);
    int32_t status = 0;
    ASSERT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    double current = 0.0;
    EXPECT_EQ(ZVK_Laser_GetCurrent(0, &current), ZVK_LASER_NO_REPLY) << "it asks once";
}

TEST_F(LaserInstrument, ShutdownMakesItDarkAndLetsGoOfTaskAndPort)
{
    BringUp(Config("1"));
    ASSERT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    ASSERT_EQ(ZVK_Laser_SetShutter(0, 0, 1), 0);
    Forget();
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_FALSE(laser.State().emits);
    EXPECT_FALSE(laser.State().outputOn);
    EXPECT_EQ(LineWords(), (Words{0, 4, 0, 2, 0}));
    EXPECT_EQ(ZVC_CountTasks(), 0);
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << "and it comes up again";
}

TEST_F(LaserInstrument, TheVeryFirstLaserOfSeveralPortsIsTaken)
{
    ServedPort other(LineFrame, [](std::string_view) { return std::string("HELLO\r\n"); });
    const ScopedVariable both("ZVK_SERIAL_PORTS",
                              ("Meter USB Serial Port (COM3)=" + other.Path() +
                               ";Printer (COM4)=/dev/null;Gone USB Serial Port (COM5)=/dev/none;" +
                               laser.Offer(7))
                                  .c_str());
    Write(Config("1"));
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(other.Frames(), (std::vector<std::string>{"CLT 0\r\n", "?\r\n"}));
    EXPECT_NE(Log().find(" failed to open.\nError Code: -1\n"), std::string::npos);
}

TEST_F(LaserInstrument, WithoutALaserTheShuttersAreClosedAndALaterStartFindsIt)
{
    laser.Port().HangUp();
    Write(Config("1"));
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_INIT_FAILED);
    EXPECT_EQ(LineWords(), (Words{4, 0, 2, 0}));
    EXPECT_NE(Log().find("Could not establish serial communication with Laser."),
              std::string::npos);
    ASSERT_TRUE(laser.Port().Plug());
    const ScopedVariable again("ZVK_SERIAL_PORTS", laser.Offer(7).c_str());
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
}

TEST_F(LaserInstrument, ALaserThatFallsSilentIsWaitedForTwoSecondsAReply)
{
    BringUp(Config("1"));
    ASSERT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    PortMisbehaviour silent;
    silent.silent = true;
    laser.Port().Misbehave(silent);
    const double before = ZVC_Now();
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), 0) << "a set call doesn't tell";
    const double afterSet = ZVC_Now();
    EXPECT_GE(afterSet - before, 1.9);
    EXPECT_LT(afterSet - before, 2.0 + kPatienceS);
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_LT(ZVC_Now() - afterSet, 2.4 + kPatienceS);
    EXPECT_FALSE(laser.State().outputOn) << "it hears all the same";
    EXPECT_EQ(ZVC_GetLines(kPort0), 0U);
}

TEST_F(LaserInstrument, ALaserThatIsPulledOutIsToldByReadsAtOnceAndTheLineStillFalls)
{
    BringUp(Config("1"));
    ASSERT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    laser.Port().HangUp();
    double power = 0.0;
    int32_t status = -9;
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), 0);
    EXPECT_EQ(ZVK_Laser_GetPower(0, &power), ZVK_LASER_NO_REPLY);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), ZVK_LASER_NO_REPLY);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 0), 0);
    EXPECT_EQ(ZVC_GetLines(kPort0), 0U);
    EXPECT_FALSE(laser.State().emits) << "its output is on, but the interlock is open";
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    ASSERT_TRUE(laser.Port().Plug());
    const ScopedVariable again("ZVK_SERIAL_PORTS", laser.Offer(9).c_str());
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_FALSE(laser.State().outputOn);
}

TEST_F(LaserInstrument, LevelsComeUpDarkAtTheHighest)
{
    Write(Config("4"));
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVC_CountTasks(), 3);
    EXPECT_EQ(LineWords(), (Words{4, 0, 2, 0, 0, 4, 0, 2, 0}));
    EXPECT_EQ(ZVC_GetLines(kPort1), 8U);
    EXPECT_EQ(ZVK_Laser_SetPower(0, 2.9), 0);
    EXPECT_EQ(ZVC_GetLines(kPort1), 4U);
    double power = 0.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &power), 0);
    EXPECT_FLOAT_EQ(static_cast<float>(power), 0.5F);
    EXPECT_EQ(ZVK_Laser_SetPower(0, 1.0), 0);
    EXPECT_EQ(ZVC_GetLines(kPort1), 0U);
    EXPECT_EQ(Wire(), "");
}

TEST_F(LaserInstrument, WithLevelsTheInterlockIsReadAsAVoltage)
{
    BringUp(Config("4"));
    int32_t status = -9;
    ASSERT_EQ(ZVC_SetConstant("Dev1/ai7", 1.99), ZVC_OK);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, ZVK_LASER_INTERLOCK_OPEN);
    ASSERT_EQ(ZVC_SetConstant("Dev1/ai7", 2.01), ZVC_OK);
    EXPECT_EQ(ZVK_Laser_GetInterlockStatus(0, &status), 0);
    EXPECT_EQ(status, 1);
    ZVC_TaskInfo task;
    ASSERT_EQ(ZVC_GetTask(2, &task), ZVC_OK);
    EXPECT_EQ(task.terminals, 10083);
    EXPECT_EQ(task.minVolts, -10.0);
    EXPECT_EQ(task.maxVolts, 10.0);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    EXPECT_EQ(ZVC_GetLines(kPort0), kInterlockLine);
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(ZVC_GetLines(kPort0), 0U);
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

TEST_F(LaserInstrument, LinesThatOthersDriveAreLeftAsTheyAre)
{
    Write(Config("4"));
    ASSERT_EQ(ZVC_HoldLines(kPort0, 0xE0, 0xA0), ZVC_OK);
    ASSERT_EQ(ZVC_HoldLines(kPort1, 0xF3, 0x51), ZVC_OK);
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    char line[128] = "";
    bool found = false;
    for (uint64_t i = 0; i < ZVC_CountLog(); ++i) {
        ASSERT_EQ(ZVC_GetLog(i, line, sizeof line), ZVC_OK);
        found = found || std::string(line) == "DAQmxWriteDigitalScalarU32(t2, 0, 10, 89) = 0";
    }
    EXPECT_TRUE(found) << "0x51 with line 3";
    EXPECT_EQ(ZVC_GetLines(kPort0), 0xA0U);
    EXPECT_EQ(ZVC_GetLines(kPort1), 0x59U);
}

TEST_F(LaserInstrument, AFailedStartLeavesNoShutterOpenAndTheNextOneWorks)
{
    for (const char *call : {"DAQmxCreateTask", "DAQmxCreateDOChan", "DAQmxStartTask"}) {
        Write(Config("4"));
        ASSERT_EQ(ZVC_FailCall(call, 2, -50103), ZVC_OK);
        Forget();
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_DAQ_FAILED) << call;
        EXPECT_EQ(LineWords(), (Words{4, 0, 2, 0})) << "closed before it failed";
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
        EXPECT_EQ(ZVC_CountTasks(), 3) << "none of the failed start is left";
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}
