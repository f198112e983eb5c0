// The beam expanders on real pseudo-terminals with virtual boards behind them: homing by a clock
// that is told, silence, and each allocation, file call and serial call failing in turn.

#include "failing_files.h"
#include "failing_new.h"
#include "instruments/beamexpander.h"
#include "platform/serial.h"
#include "quorvex-virtual/motor.h"
#include "quorvex/quorvex.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

static const char kConfig[] =
    "[BE 0]\nMI = 1\nBACKEND = 1\nSIMULATE = 0\nINITPOS = 100\nCWLIMIT = 1001\nCCWLIMIT = 0\n"
    "INISEC = 20\n[BE 1]\nMI = 1\nBACKEND = 1\nSIMULATE = 0\nINITPOS = 300\nCWLIMIT = 1001\n"
    "CCWLIMIT = 0\nINISEC = 20\n";

constexpr int kPortOfA = 8;
constexpr int kPortOfB = 9;

// Real ports, of which the nth call fails, and which wait for 50 ms at most.
static int s_untilFailure = 0;
static ZVK_SerialTable s_real;

static bool FailsNow() { return s_untilFailure > 0 && --s_untilFailure == 0; }

static ZVK_SerialTable ImpatientPorts()
{
    s_real = Serial();
    ZVK_SerialTable table = s_real;
    table.open = [](int port, int rate) { return FailsNow() ? -1 : s_real.open(port, rate); };
    table.isOpen = [](int port) { return FailsNow() ? 0 : s_real.isOpen(port); };
    table.setTimeout = [](int port, double) {
        return FailsNow() ? -1 : s_real.setTimeout(port, 0.05);
    };
    table.write = [](int port, const void *bytes, size_t count) {
        return FailsNow() ? -1 : s_real.write(port, bytes, count);
    };
    table.read = [](int port, void *bytes, size_t count) {
        return FailsNow() ? -1 : s_real.read(port, bytes, count);
    };
    table.flushInput = [](int port) { return FailsNow() ? -1 : s_real.flushInput(port); };
    table.flushOutput = [](int port) { return FailsNow() ? -1 : s_real.flushOutput(port); };
    return table;
}

class BeamExpanderOutside : public ::testing::Test
{
protected:
    BeamExpanderOutside() : table(ImpatientPorts()) {}

    void SetUp() override
    {
        UseSerial(&table);
        s_untilFailure = 0;
        Forget();
        folder.Write("config.ini", kConfig);
        for (VirtualMotor *motor : {&a, &b})
            motor->SetClock([this] { return clock.Now(); });
    }

    void TearDown() override
    {
        for (const int port : {kPortOfA, kPortOfB})
            (void)s_real.close(port);
        Forget();
        UseSerial(nullptr);
    }

    static void Forget()
    {
        for (ZVK_BeamExpanderState &row : g_beamExpander)
            row = {};
    }

    static int32_t InitBoth()
    {
        const int32_t status = ZVK_BeamExpander_Init(0, 0, 0, 0);
        return status < 0 ? status : ZVK_BeamExpander_Init(0, 0, 0, 1);
    }

    // One of the told statuses, and behind it a start and an end that work.
    static void ExpectToldAndUsable(int32_t status)
    {
        constexpr std::array kTold = {0,
                                      static_cast<int32_t>(ZVK_CONFILE_NOT_READABLE),
                                      static_cast<int32_t>(ZVK_CONFILE_NOT_FOUND),
                                      static_cast<int32_t>(ZVK_BEAMEXPANDER_NOT_FOUND),
                                      static_cast<int32_t>(ZVK_BEAMEXPANDER_NO_REPLY),
                                      static_cast<int32_t>(ZVK_BEAMEXPANDER_BAD_CHECKSUM),
                                      static_cast<int32_t>(ZVK_BEAMEXPANDER_BAD_EEPROM_VALUE),
                                      static_cast<int32_t>(ZVK_BEAMEXPANDER_PORT_FAILED)};
        EXPECT_NE(std::ranges::find(kTold, status), kTold.end()) << status;
        EXPECT_GE(InitBoth(), 0);
        EXPECT_EQ(g_beamExpander[0].initialized, 1);
        EXPECT_EQ(g_beamExpander[1].initialized, 1);
        EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
        EXPECT_EQ(s_real.isOpen(kPortOfA), 0);
        EXPECT_EQ(s_real.isOpen(kPortOfB), 0);
    }

    ScratchFolder folder;
    TestClock clock;
    VirtualMotor a{{.owner = 1, .position = 140, .stopAt = 33}};
    VirtualMotor b{{.owner = 2, .position = 300, .stopAt = 0}};
    ScopedVariable offered{"ZVK_SERIAL_PORTS",
                           (a.Offer(kPortOfA) + ";" + b.Offer(kPortOfB)).c_str()};
    const ZVK_SerialTable table;
};

TEST_F(BeamExpanderOutside, HomingMakesTheStopPositionZero)
{
    ASSERT_EQ(InitBoth(), 0);
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), 0);
    EXPECT_EQ(clock.Delays(), std::vector<double>{20.0});
    EXPECT_TRUE(a.State().atStop);
    EXPECT_EQ(a.State().position, 0);
    EXPECT_EQ(a.State().target, 501);
    clock.Advance(60.0);
    EXPECT_EQ(a.State().position, 501);
    int32_t reached = 0;
    EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, &reached), 0);
    EXPECT_EQ(reached, 1);
    EXPECT_EQ(b.State().position, 300);
}

TEST_F(BeamExpanderOutside, ASilentBoardEndsEachCallAfterItsTimeoutAndTheNextStartWorks)
{
    ASSERT_EQ(InitBoth(), 0);
    a.Port().Misbehave({.silent = true});
    int32_t number = 7;
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 10), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelativeSync(0, 1, 10), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_EQ(ZVK_BeamExpander_CheckTargetReached(0, 0, &number), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_EQ(ZVK_BeamExpander_SetSpeed(0, 0, 100), 0);
    EXPECT_EQ(ZVK_BeamExpander_Reset(0, 0), ZVK_BEAMEXPANDER_NO_REPLY);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(a.State().speed, 0) << "it heard the stop all the same";
    EXPECT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_NO_REPLY);
    a.Port().Misbehave({});
    ExpectToldAndUsable(0);
}

TEST_F(BeamExpanderOutside, InitAnswersAToldStatusAtEachAllocationThatFails)
{
    int32_t status = 0;
    const int count = FailEachAllocation([&] { status = InitBoth(); },
                                         [&](bool) { ExpectToldAndUsable(status); });
    EXPECT_GT(count, 10);
}

TEST_F(BeamExpanderOutside, InitAnswersAToldStatusAtEachFileCallThatFails)
{
    bool failed = true;
    int nth = 1;
    for (; failed; ++nth) {
        int32_t status = 0;
        {
            FailingFiles files;
            files.FailAt(nth);
            status = InitBoth();
            failed = files.Failed();
            EXPECT_EQ(files.OpenFiles(), 0);
        }
        ExpectToldAndUsable(status);
    }
    EXPECT_GT(nth, 14) << "a file is opened for each key";
}

TEST_F(BeamExpanderOutside, InitAnswersAToldStatusAtEachSerialCallThatFails)
{
    int nth = 1;
    for (bool failed = true; failed; ++nth) {
        s_untilFailure = nth;
        const int32_t status = InitBoth();
        failed = s_untilFailure == 0;
        s_untilFailure = 0;
        ExpectToldAndUsable(status);
    }
    EXPECT_GT(nth, 50);
}

TEST_F(BeamExpanderOutside, AMoveWhoseWritingOfTheFileFailsLeavesAWholeFile)
{
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        folder.Write("config.ini", kConfig);
        ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
        {
            FailingFiles files;
            files.FailAt(nth);
            EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 10), 0);
            failed = files.Failed();
        }
        EXPECT_EQ(g_beamExpander[0].position, 110);
        int32_t stop = 0;
        EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "BE 1", "INISEC", &stop, ZVK_CONFILE_LONG), 0);
        EXPECT_EQ(stop, 20) << "the file's end is there";
        ASSERT_EQ(ZVK_BeamExpander_Shutdown(0), 0);
    }
}

TEST_F(BeamExpanderOutside, MovesAtEachAllocationThatFailsGoOn)
{
    ASSERT_EQ(InitBoth(), 0);
    int32_t position = 100;
    const int count =
        FailEachAllocation([&] { EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 1), 0); },
                           [&](bool) { EXPECT_EQ(g_beamExpander[0].position, ++position); });
    EXPECT_GT(count, 0);
}
