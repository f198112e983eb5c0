// Each allocation, and each file call, fails in turn while beam power and the detectors come up.

#include "beampower_fixture.h"
#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "instruments/detector.h"
#include "platform/clock.h"
#include "platform/messages.h"
#include "platform/processes.h"
#include "recording_messages.h"
#include "recording_processes.h"

// What stands behind the seams here allocates nothing, so that each block is the library's own.

static int s_openTasks = 0;
static int s_posts = 0;
static int s_programs = 0;

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
    table.createAOVoltageChan = [](ZVK_DaqTask, const char *, const char *, double, double, int32_t,
                                   const char *) -> int32_t { return 0; };
    table.writeAnalogScalarF64 = [](ZVK_DaqTask, uint32_t, double, double, uint32_t *) -> int32_t {
        return 0;
    };
    return table;
}

constexpr ZVK_MessageTable kQuietMessages = {
    .registerName = [](const char *) -> uint32_t { return 1; },
    .post = [](uint32_t, int64_t, int64_t) -> int32_t {
        ++s_posts;
        return 0;
    }};

constexpr ZVK_ProcessTable kQuietProcesses = {
    .launch = [](const char *, int32_t *process) -> int32_t {
        ++s_programs;
        *process = 1;
        return 0;
    },
    .release = [](int32_t) { --s_programs; }};

static ZVK_ClockTable QuickClock()
{
    ZVK_ClockTable table = Clock();
    table.delay = [](double) {};
    return table;
}

class BeamPowerFaults : public BeamPowerTest
{
protected:
    void SetUp() override
    {
        BeamPowerTest::SetUp();
        WriteConfig();
        WriteTable({{"0", "0"}, {"2", "10"}, {"3", "20"}});
    }

    // Once nothing fails any more the path comes up with its whole table.
    static void ExpectTheNextInitWorks()
    {
        ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
        EXPECT_EQ(g_beamPower[0].numPoints, 3);
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 1.0), 0);
    }
};

TEST_F(BeamPowerFaults, NoRoomForTheTableEndsInitAndLosesNoBlock)
{
    int failures = 0;
    for (int nth = 1; nth < 2000; ++nth) {
        FailingMemory memory;
        ResetBeamPower();
        memory.FailAt(nth);
        const int32_t status = ZVK_BeamPower_Init(0, 0, 0, 0);
        const bool failed = memory.Failed();
        memory.FailAt(0);
        if (failed && status < 0) {
            ++failures;
            EXPECT_EQ(g_beamPower[0].initialized, 0) << nth;
            EXPECT_EQ(g_beamPower[0].calibration, nullptr) << nth;
            ExpectTheNextInitWorks();
        }
        ResetBeamPower();
        EXPECT_EQ(memory.Live(), 0) << "a block leaked at allocation " << nth;
        if (!failed) break;
    }
    EXPECT_GT(failures, 0);
}

TEST_F(BeamPowerFaults, EachFailedNewOfTheTableEndsInAStatusAndTheNextInitWorks)
{
    int32_t status = 0;
    const int allocations = FailEachAllocation([&] { status = LoadBeamPowerTable(0, 0); },
                                               [&](bool failed) {
                                                   EXPECT_TRUE(failed || status == 0);
                                                   EXPECT_EQ(g_beamPower[0].hasCalibration,
                                                             g_beamPower[0].numPoints == 3 ? 1 : 0);
                                                   ResetBeamPower();
                                               });
    EXPECT_GT(allocations, 0);
    ExpectTheNextInitWorks();
}

TEST_F(BeamPowerFaults, EachFailedNewOfTheWholeStartEndsInAStatusAndTheNextInitWorks)
{
    static const ZVK_DaqTable willing = WillingCard();
    UseDaq(&willing);
    int32_t status = 0;
    const int allocations = FailEachAllocation(
        [&] { status = ZVK_BeamPower_Init(0, 0, 0, 0); },
        [&](bool failed) {
            if (!failed) {
                EXPECT_EQ(status, 0);
            }
            EXPECT_EQ(g_beamPower[0].initialized, status == 0 ? 1 : 0);
            EXPECT_EQ(g_beamPower[0].calibration == nullptr, g_beamPower[0].numPoints == 0);
            EXPECT_EQ(s_openTasks, g_beamPowerDaq[0].daqInitialized) << "a task leaked";
            if (status != 0) {
                EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
            }
            ResetBeamPower();
            EXPECT_EQ(s_openTasks, 0);
        });
    EXPECT_GT(allocations, 10);
}

TEST_F(BeamPowerFaults, EachFailedFileCallEndsInAStatusOrIsOfTheLogAlone)
{
    for (int nth = 1; nth < 500; ++nth) {
        FailingFiles files;
        files.FailAt(nth);
        const int32_t status = ZVK_BeamPower_Init(0, 0, 0, 0);
        const bool failed = files.Failed();
        EXPECT_EQ(files.OpenFiles(), 0) << nth;
        EXPECT_EQ(g_beamPower[0].initialized, status < 0 ? 0 : 1) << nth;
        files.FailAt(0);
        ResetBeamPower();
        if (!failed) {
            EXPECT_EQ(status, 0);
            return;
        }
    }
    FAIL() << "the calls never end";
}

class DetectorFaults : public testing::Test
{
protected:
    void SetUp() override
    {
        folder.Write("config.ini", "[FORCE]\r\nMI=1\r\nSIMULATE=0\r\nDET_A_NAME=\"DKL-1\"\r\n"
                                   "DET_B_NAME=\"DKL-2\"\r\n");
    }

    void TearDown() override
    {
        (void)ZVK_Detector_Shutdown(0);
        EXPECT_EQ(programs.Held(), 0);
    }

    ScratchFolder folder;
    TestClock clock;
    RecordingMessages messages;
    RecordingProcesses programs;
};

TEST_F(DetectorFaults, EachFailedFileCallOfTheKeysStartsNoProgram)
{
    for (int nth = 1; nth < 500; ++nth) {
        FailingFiles files;
        files.FailAt(nth);
        const size_t before = programs.Launched().size();
        const int32_t status = ZVK_Detector_Init(0, 0, 0);
        const bool failed = files.Failed();
        EXPECT_EQ(files.OpenFiles(), 0) << nth;
        EXPECT_EQ(programs.Launched().size(), before + (status == 0 ? 1U : 0U)) << nth;
        (void)ZVK_Detector_Shutdown(0);
        if (!failed) {
            EXPECT_EQ(status, 0);
            return;
        }
    }
    FAIL() << "the calls never end";
}

TEST_F(DetectorFaults, EachFailedNewEndsInAStatusAndLosesNoProgram)
{
    static const ZVK_ClockTable quick = QuickClock();
    UseClock(&quick);
    UseMessages(&kQuietMessages);
    UseProcesses(&kQuietProcesses);
    int32_t status = 0;
    const int allocations = FailEachAllocation(
        [&] {
            s_posts = 0;
            status = ZVK_Detector_Init(0, 0, 0);
        },
        [&](bool failed) {
            EXPECT_LE(status, 0);
            if (!failed) {
                EXPECT_EQ(status, 0);
            }
            EXPECT_EQ(s_posts, status == 0 ? 4 : 0);
            EXPECT_EQ(s_programs, status == 0 ? 1 : 0);
            EXPECT_EQ(ZVK_Detector_Shutdown(0), 0);
            EXPECT_EQ(s_programs, 0);
        });
    EXPECT_GT(allocations, 5);
}

TEST_F(DetectorFaults, EachFailedBlockOfTheHeapEndsInAStatus)
{
    for (int nth = 1; nth < 500; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        const int32_t status = ZVK_Detector_Init(0, 0, 0);
        const bool failed = memory.Failed();
        memory.FailAt(0);
        EXPECT_LE(status, 0);
        (void)ZVK_Detector_Shutdown(0);
        EXPECT_EQ(memory.Live(), 0) << nth;
        if (!failed) {
            EXPECT_EQ(status, 0);
            return;
        }
    }
    FAIL() << "the allocations never end";
}
