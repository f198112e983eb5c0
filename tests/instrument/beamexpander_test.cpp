// The beam expanders against two virtual motor boards, through the exported calls alone: what went
// over the wire, where the motors are, and what a board that misbehaves does.

#include "instrument_folder.h"

#include <quorvex-virtual/motor.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

constexpr int kPortOfA = 8;
constexpr int kPortOfB = 9;

static std::string Section(int path, int initPos)
{
    return "[BE " + std::to_string(path) +
           "]\r\nMI=1\r\nBACKEND=1\r\nSIMULATE=0\r\nINITPOS=" + std::to_string(initPos) +
           "\r\nCWLIMIT=1001\r\nCCWLIMIT=0\r\nINISEC=0\r\n";
}

// Open files of this process.
static long CountFiles()
{
    long count = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += entry.path().empty() ? 0 : 1;
    return count;
}

static long CountThreads()
{
    long count = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/task"))
        count += entry.path().empty() ? 0 : 1;
    return count;
}

class BeamExpanderInstrument : public ::testing::Test
{
protected:
    void SetUp() override
    {
        WriteConfig();
        for (VirtualMotor *motor : {&a, &b})
            motor->SetClock([this] { return time.load(); });
    }

    void TearDown() override { EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0); }

    void WriteConfig(int initPosA = 100, int initPosB = 300) const
    {
        folder.Files().Write("config.ini", Section(0, initPosA) + Section(1, initPosB));
    }

    void BringUp()
    {
        ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
        ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), 0);
        a.Port().ForgetLog();
        b.Port().ForgetLog();
    }

    static int32_t InitStatus(int32_t path)
    {
        int32_t status = -9;
        EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, path, &status), 0);
        return status;
    }

    static int32_t Position(int32_t path)
    {
        int32_t position = -9999;
        EXPECT_EQ(ZVK_BeamExpander_GetPosition(0, path, &position), 0);
        return position;
    }

    static int32_t Reached(int32_t path)
    {
        int32_t reached = -9;
        EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, path, &reached), 0);
        return reached;
    }

    static int32_t InitPos(const char *section)
    {
        int32_t value = -9999;
        EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", section, "INITPOS", &value, ZVK_CONFILE_LONG),
                  0);
        return value;
    }

    std::string Log() const { return folder.Files().Read("log.ini"); }

    std::atomic<double> time{0.0};
    InstrumentFolder folder;
    VirtualMotor a{{.owner = 1, .position = 100, .stopAt = -50}};
    VirtualMotor b{{.owner = 2, .position = 300, .stopAt = 0}};
    ScopedVariable offered{"ZVK_SERIAL_PORTS",
                           (a.Offer(kPortOfA) + ";" + b.Offer(kPortOfB)).c_str()};
};

TEST_F(BeamExpanderInstrument, ANormalStartGoesOverTheWire)
{
    ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(PortLogHex(a.Port().Log()),
              "> 01 0A 00 02 00 00 00 00 0D\n< 02 01 64 0A 00 00 00 01 72\n"
              "> 01 05 06 00 00 00 00 50 5C\n< 02 01 64 05 00 00 00 50 BC\n"
              "> 01 05 CC 00 00 00 00 00 D2\n< 02 01 64 05 00 00 00 00 6C\n"
              "> 01 05 CB 00 00 00 08 00 D9\n< 02 01 64 05 00 00 08 00 74\n"
              "> 01 05 04 00 00 00 00 64 6E\n< 02 01 64 05 00 00 00 64 D0\n"
              "> 01 05 04 00 00 00 00 50 5A\n< 02 01 64 05 00 00 00 50 BC\n"
              "> 01 05 8A 00 00 00 00 00 90\n< 02 01 64 05 00 00 00 00 6C\n"
              "> 01 05 05 00 00 00 00 64 6F\n< 02 01 64 05 00 00 00 64 D0\n"
              "> 01 05 07 00 00 00 00 00 0D\n< 02 01 64 05 00 00 00 00 6C\n");
    EXPECT_TRUE(b.Port().Log().empty());
    EXPECT_EQ(a.AxisParameter(6), 80);
    EXPECT_EQ(a.AxisParameter(4), 80);
    EXPECT_EQ(a.AxisParameter(5), 100);
    EXPECT_EQ(a.AxisParameter(7), 0);
    EXPECT_EQ(InitStatus(0), 1);
    EXPECT_EQ(InitStatus(1), 0);
    EXPECT_EQ(Log(), "");
}

TEST_F(BeamExpanderInstrument, EachPathFindsItsBoardWhicheverPortHasIt)
{
    const std::string swapped = b.Offer(3) + ";" + a.Offer(4);
    const ScopedVariable other("ZVK_SERIAL_PORTS", swapped.c_str());
    BringUp();
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 10), 0);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 1, 1, 20), 0);
    EXPECT_EQ(a.State().target, 110);
    EXPECT_EQ(b.State().target, 320);
}

TEST_F(BeamExpanderInstrument, AMoveReturnsBeforeTheMotorIsThere)
{
    BringUp();
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 900), 0);
    EXPECT_EQ(Position(0), 900);
    EXPECT_EQ(Reached(0), 0);
    EXPECT_EQ(a.State().position, 100);
    time = 1000.0;
    EXPECT_EQ(Reached(0), 1);
    EXPECT_EQ(a.State().position, 900);
    EXPECT_EQ(b.State().position, 300);
    EXPECT_EQ(InitPos("BE 0"), 900);
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 200), 0);
    EXPECT_EQ(a.AxisParameter(4), 200);
}

TEST_F(BeamExpanderInstrument, BothPathsMoveAtOnce)
{
    BringUp();
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 40), 0);
    time = 1000.0;
    EXPECT_EQ(a.State().position, 140);
    EXPECT_EQ(b.State().position, 340);
    EXPECT_EQ(Position(0), 140);
    EXPECT_EQ(Position(1), 340);
}

TEST_F(BeamExpanderInstrument, ThePositionOutlivesTheSession)
{
    BringUp();
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 1, 777), 0);
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_EQ(InitPos("BE 1"), 777);
    BringUp();
    EXPECT_EQ(Position(1), 777);
}

TEST_F(BeamExpanderInstrument, ACommandThatTheBoardRefusesGoesUnnoticed)
{
    BringUp();
    a.Refuse(4, 4);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 0, 500), 0);
    EXPECT_EQ(Position(0), 500);
    EXPECT_EQ(a.State().target, 100);
}

TEST_F(BeamExpanderInstrument, ADamagedReplyLeavesThePositionAndTheNextCallWorks)
{
    BringUp();
    a.Port().Misbehave({.badReplies = 1, .garble = WithWrongChecksum});
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), ZVK_BEAMEXPANDER_BAD_CHECKSUM);
    EXPECT_EQ(Position(0), 100);
    EXPECT_EQ(InitPos("BE 0"), 100);
    a.Port().Misbehave({.badReplies = 1, .garble = [](const std::string &reply) {
                            return reply + reply;  // a late one is thrown away
                        }});
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), 0);
    EXPECT_EQ(Reached(0), 0) << "not the second copy";
}

TEST_F(BeamExpanderInstrument, ASlowReplyIsWaitedForByteByByte)
{
    BringUp();
    a.Port().Misbehave({.badReplies = 1, .byteDelayS = 0.01});
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), 0);
    EXPECT_EQ(Position(0), 150);
}

TEST_F(BeamExpanderInstrument, ABoardThatIsGoneAtAnyByteEndsTheCallAndCanComeBack)
{
    for (size_t bytes = 0; bytes < 9; ++bytes) {
        WriteConfig();
        BringUp();
        a.Port().Misbehave({.hangUpAfter = bytes});
        EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), ZVK_BEAMEXPANDER_NO_REPLY) << bytes;
        EXPECT_EQ(Position(0), 100);
        EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 1, 1, 50), 0) << "the other path works";
        EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
        a.Port().Misbehave({});
        ASSERT_TRUE(a.Port().Plug());
        setenv("ZVK_SERIAL_PORTS", (a.Offer(kPortOfA) + ";" + b.Offer(kPortOfB)).c_str(), 1);
    }
    BringUp();
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 50), 0);
}

TEST_F(BeamExpanderInstrument, AStartThatFailsCanBeRepeated)
{
    b.SetOwner(3);
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_BAD_EEPROM_VALUE);
    b.SetOwner(2);
    b.Port().Misbehave({.badReplies = 1, .garble = WithWrongChecksum});
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_BAD_CHECKSUM);
    EXPECT_EQ(InitStatus(1), 0);
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), 0);
    EXPECT_EQ(InitStatus(1), 1);
}

TEST_F(BeamExpanderInstrument, APortThatIsGoneIsLogged)
{
    const ScopedVariable gone("ZVK_SERIAL_PORTS", "TRINAMIC (COM8)=/dev/pts/none");
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_PORT_FAILED);
    EXPECT_NE(Log().find("COM Port 8 failed to open.\nError Code: -"), std::string::npos) << Log();
}

TEST_F(BeamExpanderInstrument, OneBoardAloneServesItsPath)
{
    const ScopedVariable alone("ZVK_SERIAL_PORTS", b.Offer(kPortOfB).c_str());
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), 0);
    EXPECT_EQ(InitStatus(0), 0);
}

TEST_F(BeamExpanderInstrument, ResetCallsWhereTheRunEndsZeroAndGoesToTheMiddle)
{
    BringUp();
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), 0);
    EXPECT_EQ(Position(0), 501);
    EXPECT_EQ(InitPos("BE 0"), 501);
    EXPECT_NE(Log().find("BE Path 0 Reset, Setpoint 0\n"), std::string::npos) << Log();
    time = 1000.0;
    EXPECT_EQ(a.State().position, 501);
}

TEST_F(BeamExpanderInstrument, AHundredRoundsLeakNothing)
{
    BringUp();
    ASSERT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    const long files = CountFiles();
    const long threads = CountThreads();
    for (int i = 0; i < 100; ++i) {
        BringUp();
        ASSERT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    }
    EXPECT_EQ(CountFiles(), files);
    EXPECT_EQ(CountThreads(), threads);
}
