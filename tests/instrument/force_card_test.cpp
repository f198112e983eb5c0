// Force acquisition against the virtual card, through the exported calls alone: blocks, triggers,
// the buffered mode with its messages, and the references and runs of a calibration.

#include "instrument_folder.h"
#include "other_process.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/messages.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

constexpr SessionHandle kVi = 640;
constexpr double kPatienceS = 20.0;

static const char kConfig[] =
    "[FORCE]\r\nMI=1\r\nSIMULATE=0\r\nDAQNAME=\"Dev2\"\r\nDAQCHANNELSA=\"ai0:2\"\r\n"
    "DAQCHANNELSB=\"ai4:6\"\r\nDAQCHANNELST=\"ai3\"\r\nDAQCHANNELSTDE=\"/Dev2/PFI1\"\r\n"
    "DAQCHANNELSTDI=\"/Dev2/PFI2\"\r\nTRIGGERINPUT=1\r\nTRIGGEREDGE=0\r\n"
    "[FORCECAL]\r\nMI=1\r\nSIMULATE=0\r\nSWAPAXES=0\r\nAVERAGES=2\r\nCALLENGTH=0.0625\r\n"
    "AMPLITUDE=0.25\r\nFREQUENCY=32\r\nOSCILLATE=0\r\nHISTOGRAM_BINS=20\r\nSUB_MEAN=1\r\n"
    "SUB_DRIFT=0\r\nFIT_LOWEND=10\r\nFIT_HIGHEND=5000\r\nFIT_DISPLAY=8000\r\nMEDIUM=1\r\n"
    "ETA=0.001\r\nTEMPERATURE=293.15\r\nDIAMETER=1\r\nLINESCAN_LENGTH=0.4\r\n"
    "LINESCAN_STEPS=21\r\nLINESCAN_AVERAGES=1000\r\nMAX_FFT=200000\r\n"
    "STARTUP_VALUES=\"default.cal\"\r\n";

static const char kCalibration[] = "[TRAP A]\r\nBETACOUNT=0\r\nKCOUNT=0\r\n"
                                   "[TRAP B]\r\nBETACOUNT=0\r\nKCOUNT=0\r\n";

// The processes of this program meet in a folder of their own, which the second one takes over.
class MeetingPlace : public testing::Environment
{
public:
    void SetUp() override
    {
        if (std::getenv("ZVK_TEST_MEETING")) return;
        m_folder = std::make_unique<ScratchFolder>();
        setenv("ZVK_TEST_MEETING", "1", 1);
        setenv("XDG_RUNTIME_DIR", m_folder->Path().c_str(), 1);
    }

    void TearDown() override { m_folder.reset(); }

private:
    std::unique_ptr<ScratchFolder> m_folder;
};

static testing::Environment *const s_place = testing::AddGlobalTestEnvironment(new MeetingPlace);

class ForceOnTheCard : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ZVC_Reset();
        (void)ZVC_SetPace(ZVC_PACE_FAST);
        const int32_t status = ZVK_Force_Init(kVi, 0, 0);  // once a process
        ASSERT_TRUE(status == 0 || status == ZVK_FORCE_ALREADY_INITIALIZED) << status;
        ASSERT_EQ(ZVK_Force_ConfigureTrigger(kVi, ZVK_FORCE_TRIGGER_NONE, ZVK_FORCE_EDGE_RISING),
                  0);
    }

    void TearDown() override
    {
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(kVi), 0);
        EXPECT_EQ(ZVC_CountTasks(), 0) << "a task leaked";
        if (listener > 0) (void)ZVK_Messages_Unlisten(listener);
        std::free(data);
    }

    int32_t Acquire(double rate, int32_t samples, int32_t mask, double timeoutS = 10.0)
    {
        return ZVK_Force_Acquire(kVi, rate, samples, timeoutS, &data, mask, &channels);
    }

    int32_t Start(double rate, int32_t buffers, int32_t samples, int32_t mask)
    {
        return ZVK_Force_AcquireBuffered(kVi, rate, buffers, samples, 1.0, mask, &channels);
    }

    void Listen()
    {
        ASSERT_GE(ZVK_Messages_Listen(ZVK_Messages_Register(ZVK_FORCE_BUFFER_MESSAGE), nullptr,
                                      nullptr, &listener),
                  0);
    }

    // The number of the next buffer that is told of; 0 when none is for so long.
    int32_t NextBuffer(double timeoutS = kPatienceS) const
    {
        int64_t second = 0;
        if (ZVK_Messages_Wait(listener, timeoutS, nullptr, &second) != 0) return 0;
        return static_cast<int32_t>(second >> 22);
    }

    static int32_t ReadStatus()
    {
        int32_t reading = -1;
        double block[1] = {};
        double *none = block;
        (void)ZVK_Force_GrabBuffer(kVi, -1, &none, &reading);
        return reading;
    }

    InstrumentFolder folder{{std::pair<std::string, std::string>("config.ini", kConfig),
                             std::pair<std::string, std::string>("default.cal", kCalibration)}};
    double *data = nullptr;
    int32_t channels = 0;
    int32_t listener = 0;
};

TEST_F(ForceOnTheCard, ABlockHoldsTheChannelsOfAThenBThenTheReference)
{
    const char *const inputs[] = {"Dev2/ai0", "Dev2/ai1", "Dev2/ai2", "Dev2/ai4",
                                  "Dev2/ai5", "Dev2/ai6", "Dev2/ai3"};
    for (int c = 0; c < 7; ++c)
        ASSERT_EQ(ZVC_SetRamp(inputs[c], c, 0.0001), ZVC_OK);
    ASSERT_EQ(Acquire(10000.0, 2500, 7), 0);
    EXPECT_EQ(channels, 7);
    for (int s = 0; s < 2500; ++s) {
        for (int c = 0; c < 7; ++c)
            ASSERT_NEAR(data[7 * s + c], c + 0.0001 * s, 1e-9) << s << " " << c;
    }
    double *planes[7] = {};
    ASSERT_EQ(ZVK_Force_Chunky2Planar(kVi, data, 2500, 7, &data), 0);
    ASSERT_EQ(ZVK_Force_Slice7(kVi, data, 2500, &planes[0], &planes[1], &planes[2], &planes[3],
                               &planes[4], &planes[5], &planes[6]),
              0);
    for (int c = 0; c < 7; ++c) {
        EXPECT_NEAR(planes[c][2499], c + 0.2499, 1e-9);
        std::free(planes[c]);
    }
}

TEST_F(ForceOnTheCard, ATriggerThatComesStartsTheBlockAndOneThatDoesNotIsToldOf)
{
    ASSERT_EQ(ZVC_SetRamp("Dev2/ai3", 1.0, 0.001), ZVC_OK);
    ASSERT_EQ(ZVK_Force_ConfigureTrigger(kVi, ZVK_FORCE_TRIGGER_EXTERNAL, ZVK_FORCE_EDGE_FALLING),
              0);
    EXPECT_EQ(Acquire(10000.0, 1000, 4, 0.5), ZVK_FORCE_NO_TRIGGER);
    EXPECT_EQ(data[0], 0.0);
    ASSERT_EQ(ZVC_SetTriggerPeriod("/Dev2/PFI1", ZVC_Now() + 0.1, 1.0), ZVC_OK);
    EXPECT_EQ(Acquire(10000.0, 1000, 4, 5.0), 0);
    EXPECT_EQ(data[0], 1.0);
    ASSERT_EQ(ZVK_Force_ConfigureTrigger(kVi, ZVK_FORCE_TRIGGER_INTERNAL, ZVK_FORCE_EDGE_RISING),
              0);
    EXPECT_EQ(Acquire(10000.0, 1000, 4, 0.5), ZVK_FORCE_NO_TRIGGER) << "another terminal";
}

TEST_F(ForceOnTheCard, ARateOutOfRangeOwnsTheCardUntilAStop)
{
    EXPECT_EQ(Acquire(-2.0, 1000, 4), ZVK_FORCE_BAD_SAMPLE_RATE);
    EXPECT_EQ(Acquire(1000.0, 1000, 4), ZVK_FORCE_BUSY);
    EXPECT_EQ(Start(1000.0, 2, 1000, 4), ZVK_FORCE_BUSY);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(kVi), 0);
    EXPECT_EQ(Acquire(-1.00005, 1000, 4), 0);
    EXPECT_EQ(Acquire(1e6 + 1.0, 1000, 4), ZVK_FORCE_BAD_SAMPLE_RATE);
}

// A ramp that goes no further than the reader has made room for.
static std::atomic<uint64_t> s_room;

static void GiveRampWithinTheRoom(const ZVC_Block *block, double *volts, void *)
{
    uint64_t room = s_room;
    while (room < block->firstSample + block->count) {
        s_room.wait(room);
        room = s_room;
    }
    for (uint32_t i = 0; i < block->count; ++i)
        volts[i] = static_cast<double>(block->firstSample + i);
}

TEST_F(ForceOnTheCard, BuffersThatAreGrabbedInTimeHoldEverySampleOnceAndInOrder)
{
    constexpr uint64_t kSamples = 2000;
    s_room = 3 * kSamples;
    ASSERT_EQ(ZVC_SetSource("Dev2/ai3", GiveRampWithinTheRoom, nullptr), ZVC_OK);
    Listen();
    ASSERT_EQ(Start(100000.0, 4, kSamples, 4), 0);
    EXPECT_EQ(channels, 1);
    std::vector<double> block(kSamples);
    double expected = 0.0;
    for (int taken = 0; taken < 200 && !HasFailure(); ++taken) {
        double *into = block.data();
        int32_t reading = 0;
        const int32_t number = NextBuffer();
        EXPECT_EQ(number, taken % 4 + 1);
        EXPECT_EQ(ZVK_Force_GrabBuffer(kVi, number, &into, &reading), 0);
        EXPECT_EQ(reading, 1);
        EXPECT_EQ(into, block.data());
        const bool inOrder = std::all_of(block.begin(), block.end(),
                                         [&](double value) { return value == expected++; });
        EXPECT_TRUE(inOrder) << "buffer " << taken;
        s_room += kSamples;
        s_room.notify_all();
    }
    s_room = UINT64_MAX;
    s_room.notify_all();
}

TEST_F(ForceOnTheCard, NobodyWhoGrabsStopsItAndAStopReleasesTheCard)
{
    Listen();
    ASSERT_EQ(Start(-1.0, 2, 1000, 3), 0);
    EXPECT_EQ(NextBuffer(), 1);
    EXPECT_EQ(NextBuffer(), 2);
    while (ReadStatus() != 0)
        std::this_thread::yield();
    EXPECT_EQ(NextBuffer(0.0), 0) << "no third one";
    EXPECT_EQ(Start(-1.0, 2, 1000, 3), ZVK_FORCE_BUSY);
    EXPECT_EQ(ZVC_CountTasks(), 1);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(kVi), 0);
    EXPECT_EQ(ZVC_CountTasks(), 0);
    ASSERT_EQ(Start(-1.0, 2, 1000, 3), 0);
    EXPECT_EQ(NextBuffer(), 1);
}

// Starts a read that takes 1000 s, whose time-out is 10 s, and expects its end to take no time.
static void ExpectAQuickEnd(int32_t (*end)(SessionHandle))
{
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_REAL), ZVC_OK);
    int32_t channels = 0;
    ASSERT_EQ(ZVK_Force_AcquireBuffered(kVi, 1.0, 2, 1000, 1.0, 1, &channels), 0);
    ASSERT_EQ(ZVC_AwaitWaiting(1, kPatienceS), ZVC_OK);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(end(kVi), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

TEST_F(ForceOnTheCard, AStopReturnsAtOnceWhileTheCardIsSlow)
{
    ExpectAQuickEnd(ZVK_Force_StopAcquireBuffered);
}

// Meets this process in the folder that the variable names.
TEST(DISABLED_ForceRole, HearsOfTwoBuffers)
{
    int32_t listener = 0;
    ASSERT_EQ(ZVK_Messages_Listen(ZVK_Messages_Register(ZVK_FORCE_BUFFER_MESSAGE), nullptr, nullptr,
                                  &listener),
              0);
    ASSERT_EQ(ZVK_Messages_Post(ZVK_Messages_Register("FORCE_TEST_LISTENS"), 0, 0), 0);
    for (int64_t number = 1; number <= 2; ++number) {
        int64_t first = 0;
        int64_t second = 0;
        ASSERT_EQ(ZVK_Messages_Wait(listener, kPatienceS, &first, &second), 0);
        EXPECT_EQ(first, (int64_t{6} << 22) + 3000 * 4);
        EXPECT_EQ(second, (number << 22) + 4);
    }
}

TEST(DISABLED_ForceRole, EndsWhileItReads)
{
    const InstrumentFolder folder{{{"config.ini", kConfig}}};
    (void)ZVC_SetPace(ZVC_PACE_FAST);
    ASSERT_EQ(ZVK_Force_Init(kVi, 0, 0), 0);
    int32_t channels = 0;
    ASSERT_EQ(ZVK_Force_AcquireBuffered(kVi, -1.0, 1000, 1000, 1.0, 7, &channels), 0);
    std::thread([] {
        static double block[7000];
        for (int32_t number = 1;; number = number % 1000 + 1) {
            double *into = block;
            (void)ZVK_Force_GrabBuffer(kVi, number, &into, nullptr);
        }
    }).detach();
    std::exit(testing::Test::HasFailure() ? 1 : 0);
}

// In a process of its own: it leaves the module busy.
TEST(DISABLED_ForceRole, ShutsDownWhileTheCardIsSlow)
{
    const InstrumentFolder folder{{{"config.ini", kConfig}}};
    ASSERT_EQ(ZVK_Force_Init(kVi, 0, 0), 0);
    ExpectAQuickEnd(ZVK_Force_Shutdown);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(kVi), 0);
}

TEST_F(ForceOnTheCard, AShutdownReturnsAtOnceToo)
{
    OtherProcess other("DISABLED_ForceRole.ShutsDownWhileTheCardIsSlow");
    EXPECT_EQ(other.Wait(), 0);
}

TEST_F(ForceOnTheCard, AProcessMayEndWhileItReads)
{
    OtherProcess other("DISABLED_ForceRole.EndsWhileItReads");
    EXPECT_EQ(other.Wait(), 0);
}

TEST_F(ForceOnTheCard, ABufferIsToldOfInAnotherProcess)
{
    int32_t ready = 0;
    ASSERT_EQ(
        ZVK_Messages_Listen(ZVK_Messages_Register("FORCE_TEST_LISTENS"), nullptr, nullptr, &ready),
        0);
    OtherProcess other("DISABLED_ForceRole.HearsOfTwoBuffers");
    ASSERT_EQ(ZVK_Messages_Wait(ready, kPatienceS, nullptr, nullptr), 0);
    ASSERT_EQ(Start(-1.0, 2, 3000, 6), 0);
    EXPECT_EQ(other.Wait(), 0);
    EXPECT_EQ(ZVK_Messages_Unlisten(ready), 0);
}

TEST_F(ForceOnTheCard, EachCallOfTheCardMayFailWithoutALeakOrAHang)
{
    Listen();
    for (uint64_t nth = 1; nth <= 12; ++nth) {
        ASSERT_EQ(ZVC_FailCall("*", nth, -50103), ZVC_OK);
        (void)Acquire(1000.0, 2000, 4, 1.0);
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(kVi), 0);
        EXPECT_EQ(ZVC_CountTasks(), 0) << nth;
        (void)ZVC_FailCall("*", 0, 0);
        ASSERT_EQ(ZVC_FailCall("*", nth, -50103), ZVC_OK);
        if (Start(1000.0, 2, 1000, 4) == 0) {
            while (ReadStatus() != 0)  // fails, or overruns
                std::this_thread::yield();
        }
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(kVi), 0);
        EXPECT_EQ(ZVC_CountTasks(), 0) << nth;
        (void)ZVC_FailCall("*", 0, 0);
        EXPECT_EQ(Acquire(1000.0, 1000, 4), 0) << nth;
    }
}

static void GivePulses(const ZVC_Block *block, double *volts, void *period)
{
    for (uint32_t i = 0; i < block->count; ++i) {
        const uint64_t at = (block->firstSample + i) % *static_cast<uint64_t *>(period);
        volts[i] = at >= 500 && at < 520 ? 5.0 : 0.1;
    }
}

TEST_F(ForceOnTheCard, TheReferencesRateSetsTheRateOfARunOfWholePeriods)
{
    const int32_t status = ZVK_ForceCal_Init(kVi, 0, 0);  // once a process
    ASSERT_TRUE(status == 0 || status == ZVK_FORCECAL_ALREADY_INITIALIZED) << status;
    uint64_t period = 31241;  // samples at a megahertz
    ASSERT_EQ(ZVC_SetSource("Dev2/ai3", GivePulses, &period), ZVC_OK);
    double rate = 0;
    int32_t cycle = 0;
    double frequency = 0;
    ASSERT_EQ(ZVK_ForceCal_TriggerCalibration(kVi, &rate, &cycle, &frequency), 0);
    EXPECT_EQ(cycle, 8192);
    EXPECT_NEAR(rate, 8192 * 1e6 / 31241, 1e-6);
    EXPECT_EQ(frequency, 32.0);

    ASSERT_EQ(ZVC_SetSine("Dev2/ai4", 0.0, 0.2, 1e6 / 31241, 0.0), ZVC_OK);
    ASSERT_EQ(ZVC_SetConstant("Dev2/ai6", 2.0), ZVC_OK);
    ASSERT_EQ(ZVK_ForceCal_AcquireData(kVi, 1, 3), 0);
    int32_t entries = 0;
    double *spectrum = nullptr;
    double *axis = nullptr;
    ASSERT_EQ(ZVK_ForceCal_ReturnData(kVi, 1, 3, ZVK_FORCECAL_SPECTRUM, 0, &entries, &spectrum,
                                      &axis, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(entries, 8192) << "half of two periods";
    EXPECT_NEAR(axis[2], 1e6 / 31241, 1e-6);
    EXPECT_LT(*std::max_element(spectrum + 3, spectrum + entries), 1e-9 * spectrum[2])
        << "one bin, without a window";
    EXPECT_LT(spectrum[1], 1e-9 * spectrum[2]);
    EXPECT_EQ(ZVK_ForceCal_Shutdown(kVi), 0);
}

TEST_F(ForceOnTheCard, SamplesThatAreNoNumbersHarmNoRun)
{
    const int32_t status = ZVK_ForceCal_Init(kVi, 0, 0);
    ASSERT_TRUE(status == 0 || status == ZVK_FORCECAL_ALREADY_INITIALIZED) << status;
    const auto give = [](const ZVC_Block *block, double *volts, void *value) {
        std::fill_n(volts, block->count, *static_cast<double *>(value));
    };
    for (double value : {std::nan(""), HUGE_VAL, 0.0, 5.0}) {
        ASSERT_EQ(ZVC_SetSource("Dev2/ai0:6", give, &value), ZVC_OK);
        int32_t cycle = -1;
        (void)ZVK_ForceCal_TriggerCalibration(kVi, nullptr, &cycle, nullptr);
        EXPECT_GE(cycle, 0);
        (void)ZVK_ForceCal_AcquireData(kVi, 0, 3);
    }
    EXPECT_EQ(ZVC_SetSource("Dev2/ai0:6", nullptr, nullptr), ZVC_OK);
    EXPECT_EQ(ZVK_ForceCal_Shutdown(kVi), 0);
}
