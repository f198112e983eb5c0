// The laser over a real pseudo-terminal with the virtual laser behind it, when the wire or the
// laser goes wrong. The port's time-out is a fortieth of what is told, so that silence costs
// little.

#include "laser_fixture.h"

#include "platform/backends.h"
#include "platform/ports.h"
#include "platform/serial.h"
#include "quorvex-virtual/laser.h"
#include "quorvex/errors.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>

constexpr double kQuicker = 40.0;
constexpr double kTimeoutS = 2.0 / kQuicker;
constexpr double kPatienceS = 10.0;
constexpr double kMarginS = 2.0;  // for a machine that is busy

static int SetShortTimeout(int port, double seconds)
{
    return SystemSerial().setTimeout(port, seconds / kQuicker);
}

static ZVK_SerialTable QuickSerial()
{
    ZVK_SerialTable table = SystemSerial();
    table.setTimeout = SetShortTimeout;
    return table;
}

static int CountFiles()
{
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

class LaserWire : public LaserTest
{
protected:
    void SetUp() override
    {
        LaserTest::SetUp();
        UseSerial(&quick);
        UsePorts(nullptr);
        Write({});
        Offer();
    }

    void TearDown() override
    {
        (void)ZVK_Laser_Shutdown(0);
        (void)Serial().close(kLaserPort);
        LaserTest::TearDown();
    }

    void Offer()
    {
        offered.reset();
        offered =
            std::make_unique<ScopedVariable>("ZVK_SERIAL_PORTS", laser.Offer(kLaserPort).c_str());
    }

    void Replug()
    {
        laser.Port().Misbehave({});
        laser.Port().HangUp();
        ASSERT_TRUE(laser.Port().Plug());
        laser.PowerCycle();
        Offer();
    }

    // Every call that talks to the laser; none may take longer than its replies may.
    void CallAll()
    {
        struct Row
        {
            const char *name;
            double replies;  // that it may wait for
            std::function<int32_t()> call;
        };
        double value = 0.0;
        int32_t number = 0;
        const Row rows[] = {
            {"SetPower", 1, [] { return ZVK_Laser_SetPower(0, 1.0); }},
            {"GetPower", 5, [&] { return ZVK_Laser_GetPower(0, &value); }},
            {"SetMode", 1, [] { return ZVK_Laser_SetMode(0, 0); }},
            {"Interlock on", 1, [] { return ZVK_Laser_Interlock(0, 1); }},
            {"GetInterlockStatus", 5, [&] { return ZVK_Laser_GetInterlockStatus(0, &number); }},
            {"Interlock off", 1, [] { return ZVK_Laser_Interlock(0, 0); }},
            {"Shutdown", 1, [] { return ZVK_Laser_Shutdown(0); }},
        };
        for (const Row &row : rows) {
            const auto start = std::chrono::steady_clock::now();
            const int32_t status = row.call();
            const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
            EXPECT_LT(took.count(), row.replies * kReplySize * kTimeoutS + kMarginS) << row.name;
            EXPECT_TRUE(status == 0 || status == ZVK_LASER_NO_REPLY ||
                        (status >= ZVK_LASER_DEVICE_ERROR_5 && status <= ZVK_LASER_DEVICE_ERROR_2))
                << row.name << " " << status;
        }
    }

    const ZVK_SerialTable quick = QuickSerial();
    VirtualLaser laser;
    std::unique_ptr<ScopedVariable> offered;
};

TEST_F(LaserWire, AHundredRoundsLeakNoPortTaskOrFile)
{
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
    const int before = CountFiles();
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << round;
        ASSERT_EQ(ZVK_Laser_Interlock(0, 1), 0);
        ASSERT_TRUE(laser.State().outputOn);
        ASSERT_EQ(ZVK_Laser_Shutdown(0), 0);
        ASSERT_FALSE(laser.State().outputOn);
        ASSERT_EQ(card.OpenTasks(), 0);
        ASSERT_EQ(Serial().isOpen(kLaserPort), 0);
    }
    EXPECT_EQ(CountFiles(), before);
}

TEST_F(LaserWire, AHundredFailedStartsLeakNothingEither)
{
    laser.Port().Misbehave({.garble = [](std::string) { return "no laser\r\n"; }});
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_INIT_FAILED);
    const int before = CountFiles();
    for (int round = 0; round < 100; ++round)
        ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_INIT_FAILED);
    EXPECT_EQ(CountFiles(), before)
        << "the port that was tried stays open, and is not opened twice";
    EXPECT_EQ(card.OpenTasks(), 1);
    laser.Port().Misbehave({});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
}

TEST_F(LaserWire, SilenceFromAnyReplyOnHangsNothing)
{
    for (uint64_t good = 0; good < 8; ++good) {
        SCOPED_TRACE(good);
        laser.Port().Misbehave({.goodReplies = good, .silent = true});
        const int32_t status = ZVK_Laser_Init(0, 0, 0);
        EXPECT_EQ(status, good == 0 ? ZVK_LASER_INIT_FAILED : 0) << "only the search asks";
        if (status == 0) CallAll();
        EXPECT_TRUE(laser.AwaitCommand(status == 0 ? "CDO 0" : "?", kPatienceS));
        EXPECT_FALSE(laser.State().outputOn) << "the laser hears, and was told to stop";
        Replug();
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << "usable again";
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}

TEST_F(LaserWire, AHangUpBehindAnyByteOfAnyReplyHangsNothing)
{
    for (uint64_t good = 0; good < 8; ++good) {
        for (size_t byte = 0; byte <= 8; byte += good == 6 ? 1 : 2) {
            SCOPED_TRACE(std::to_string(good) + " " + std::to_string(byte));
            laser.Port().Misbehave({.goodReplies = good, .hangUpAfter = byte});
            const int32_t status = ZVK_Laser_Init(0, 0, 0);
            if (status == 0) CallAll();
            EXPECT_TRUE(status == 0 || status == ZVK_LASER_INIT_FAILED) << status;
            EXPECT_EQ(g_laser.initialised, 0);
            EXPECT_EQ(card.OpenTasks(), status == 0 ? 0 : 1);
            Replug();
            EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << "usable again";
            EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
        }
    }
}

TEST_F(LaserWire, GarbageInPlaceOfAnyReplyHangsNothing)
{
    const std::string garbage[] = {
        std::string(1, '\0'), "\n",
        "\r\n\r\n\r\n",       "\xFF\xFE\xFD\xFC\xFB\xFA\xF9",
        "%s%n%d\n",           std::string(3000, 'x'),
        "000000\n",           "-inf\n",
    };
    for (const std::string &bytes : garbage) {
        for (const uint64_t good : {0U, 1U, 4U}) {
            SCOPED_TRACE(bytes.substr(0, 8) + " " + std::to_string(good));
            laser.Port().Misbehave(
                {.goodReplies = good, .garble = [bytes](std::string) { return bytes; }});
            const int32_t status = ZVK_Laser_Init(0, 0, 0);
            EXPECT_EQ(status, good == 0 ? ZVK_LASER_INIT_FAILED : 0);
            if (status == 0) {
                CallAll();
                EXPECT_TRUE(laser.AwaitCommand("CDO 0", kPatienceS));
            }
            EXPECT_FALSE(laser.State().outputOn);
            Replug();
            EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << "usable again";
            EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
        }
    }
}

TEST_F(LaserWire, ASlowLaserIsWaitedForByteByByte)
{
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    ASSERT_EQ(ZVK_Laser_SetPower(0, 1.25), 0);
    laser.Port().Misbehave({.byteDelayS = kTimeoutS / 10.0});
    double power = 0.0;
    EXPECT_EQ(ZVK_Laser_GetPower(0, &power), 0) << "never silent for a whole time-out";
    EXPECT_EQ(power, 1.25);
    laser.Port().Misbehave({.delayS = 2.0 * kTimeoutS});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ZVK_Laser_SetMode(0, 0), 0);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took.count(), 0.9 * kTimeoutS);
}

TEST_F(LaserWire, AFloodThatNobodyAskedForDoesNoHarm)
{
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    for (int i = 0; i < 50; ++i)
        laser.Port().Send("999999999999999999999999\n");
    CallAll();
    EXPECT_TRUE(laser.AwaitCommand("CDO 0", kPatienceS));
    EXPECT_FALSE(laser.State().outputOn);
    Replug();
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
}

TEST_F(LaserWire, ShutdownTellsTheLaserToStopUnlessTheLinesCannotBeRead)
{
    for (const char *entry : {"writeDigitalScalarU32", "readDigitalScalarU32"}) {
        ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
        ASSERT_EQ(ZVK_Laser_Interlock(0, 1), 0);
        card.FailCall(entry, 1);
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
        EXPECT_EQ(laser.State().outputOn, std::string(entry) == "readDigitalScalarU32");
        EXPECT_EQ(Serial().isOpen(kLaserPort), 0);
    }
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_FALSE(laser.State().outputOn) << "the next start stops it";
}

TEST_F(LaserWire, TheEchoIsOffBeforeTheLaserIsAsked)
{
    ASSERT_TRUE(laser.State().echo);
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_FALSE(laser.State().echo);
    EXPECT_EQ(laser.Port().Frames().front(), "CLT 0\r\n");
}
