// The laser's start and end while each allocation and each file call fails in turn, on a real
// pseudo-terminal with the virtual laser behind it.

#include "failing_files.h"
#include "failing_new.h"
#include "instruments/laser.h"
#include "platform/clock.h"
#include "platform/daqmx.h"
#include "platform/serial.h"
#include "quorvex-virtual/laser.h"
#include "quorvex/errors.h"
#include "scratch_folder.h"

#include <gtest/gtest.h>

static const char kConfig[] =
    "[MAINDAQ]\nSIMULATE = 0\nDAQNAME = \"Dev1\"\n[LASER]\nMI = 1\nSIMULATE = 0\nBACKEND = 1\n"
    "TRAPPATHS = 2\nMAXCURRENT = 6\nMAXPOWER = 5\nMINPOWER = 0.1\nALIGNPOWER = 0.5\n"
    "LASERMODE = \"CP\"\nDAQLASERAI = \"ai7\"\n";

constexpr int kPort = 7;

static int s_openTasks = 0;

// A card that takes everything and allocates nothing.
static ZVK_DaqTable WillingCard()
{
    ZVK_DaqTable table = Daq();
    table.createTask = [](const char *, ZVK_DaqTask *task) -> int32_t {
        ++s_openTasks;
        *task = &s_openTasks;
        return 0;
    };
    table.clearTask = [](ZVK_DaqTask) -> int32_t {
        --s_openTasks;
        return 0;
    };
    table.startTask = [](ZVK_DaqTask) -> int32_t { return 0; };
    table.stopTask = table.startTask;
    table.createDOChan = [](ZVK_DaqTask, const char *, const char *, int32_t) -> int32_t {
        return 0;
    };
    table.readDigitalScalarU32 = [](ZVK_DaqTask, double, uint32_t *word, uint32_t *) -> int32_t {
        *word = 0;
        return 0;
    };
    table.writeDigitalScalarU32 = [](ZVK_DaqTask, uint32_t, double, uint32_t,
                                     uint32_t *) -> int32_t { return 0; };
    return table;
}

static ZVK_ClockTable QuickClock()
{
    ZVK_ClockTable table = Clock();
    table.delay = [](double) {};
    return table;
}

class LaserOutside : public ::testing::Test
{
protected:
    LaserOutside() : card(WillingCard()), clock(QuickClock()) {}

    void SetUp() override
    {
        UseDaq(&card);
        UseClock(&clock);
        g_laser = {};
        s_openTasks = 0;
        folder.Write("config.ini", kConfig);
    }

    void TearDown() override
    {
        (void)Serial().close(kPort);
        g_laser = {};
        UseDaq(nullptr);
        UseClock(nullptr);
    }

    // One of the told statuses, and behind it a laser that comes up and goes.
    static void ExpectToldAndUsable(int32_t status, bool failed)
    {
        EXPECT_TRUE(status == 0 || status == ZVK_CONFILE_NOT_READABLE ||
                    status == ZVK_CONFILE_NOT_FOUND || status == ZVK_LASER_INIT_FAILED)
            << status;
        if (!failed) {
            EXPECT_EQ(status, 0);
        }
        EXPECT_EQ(g_laser.initialised, status == 0 ? 1 : 0);
        if (status != 0) {
            EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
        }
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
        EXPECT_EQ(s_openTasks, 0);
    }

    const ZVK_DaqTable card;
    const ZVK_ClockTable clock;
    ScratchFolder folder;
    VirtualLaser laser;
    ScopedVariable offered{"ZVK_SERIAL_PORTS", laser.Offer(kPort).c_str()};
};

TEST_F(LaserOutside, InitAnswersAToldStatusAtEachAllocationThatFails)
{
    int32_t status = 0;
    const int count = FailEachAllocation([&] { status = ZVK_Laser_Init(0, 0, 0); },
                                         [&](bool failed) { ExpectToldAndUsable(status, failed); });
    EXPECT_GT(count, 10);
}

TEST_F(LaserOutside, InitAnswersAToldStatusAtEachFileCallThatFails)
{
    bool failed = true;
    int nth = 1;
    for (; failed; ++nth) {
        int32_t status = 0;
        {
            FailingFiles files;
            files.FailAt(nth);
            status = ZVK_Laser_Init(0, 0, 0);
            failed = files.Failed();
            EXPECT_EQ(files.OpenFiles(), 0);
        }
        ExpectToldAndUsable(status, failed);
    }
    EXPECT_GT(nth, 12) << "a file is opened for each key";
}

TEST_F(LaserOutside, CallsOfALaserThatIsUpNeedNoMemory)
{
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    double power = 0.0;
    int32_t number = 0;
    const int count = FailEachAllocation(
        [&] {
            (void)ZVK_Laser_SetPower(0, 1.25);
            (void)ZVK_Laser_GetPower(0, &power);
            (void)ZVK_Laser_Interlock(0, 1);
            (void)ZVK_Laser_SetShutter(0, 0, 1);
            (void)ZVK_Laser_GetInterlockStatus(0, &number);
            (void)ZVK_Laser_Interlock(0, 0);
            (void)ZVK_Laser_Shutdown(0);
        },
        [](bool) {});
    EXPECT_EQ(count, 0) << "stopping the laser works with an exhausted heap";
    EXPECT_EQ(power, 1.25);
    EXPECT_FALSE(laser.State().outputOn);
}
