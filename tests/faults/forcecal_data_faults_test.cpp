// Each allocation and each file call fails in turn in a run's analysis, in the tables and in the
// data files of the force calibration: the told status comes, nothing leaks, what is handed out is
// whole, and the next call works.

#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "forcecal_fixture.h"
#include "instruments/stage.h"
#include "platform/clock.h"
#include "platform/daqmx.h"

#include <cmath>

// A card that gives a sine about a sum of 4 V, and a clock that does not wait.
static int32_t ReadSine(ZVK_DaqTask, int32_t samples, double, uint32_t, double *out, uint32_t,
                        int32_t *read, uint32_t *)
{
    static int s_sample = 0;
    for (int32_t i = 0; i < samples; ++i, ++s_sample) {
        out[3 * i] = std::sin(0.37 * s_sample);
        out[3 * i + 1] = std::cos(0.11 * s_sample) * std::sin(0.002 * s_sample);
        out[3 * i + 2] = 4.0 + 0.01 * std::sin(0.7 * s_sample);
    }
    *read = samples;
    return 0;
}

static ZVK_ClockTable QuickClock()
{
    ZVK_ClockTable table = Clock();
    table.delay = [](double) {};
    return table;
}

class ForceCalDataFaults : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        BringUp();
        m_recorded = &Daq();
        m_card = *m_recorded;
        m_card.readAnalogF64 = ReadSine;
        UseDaq(&m_card);
        m_clockBefore = &Clock();
        m_clock = QuickClock();
        UseClock(&m_clock);
        g_stage = {};
        g_stage.simulate = 1;
        g_stage.initialized = 1;
        base = folder.Path("run_");
        Start();
    }

    void TearDown() override
    {
        UseClock(m_clockBefore);
        UseDaq(m_recorded);
        g_stage = {};
        ForceCalTest::TearDown();
    }

    static void Start()
    {
        ResetForceCal();
        PretendUp();
        g_forceCal.MaxFFT = 600;
        g_forceCal.Bins = 8;
        g_forceCal.FitStartFrequency = 1.0;
        g_forceCal.FitStopFrequency = 4000.0;
        g_forceCal.Temperature = 293.15;
        g_forceCal.SampleRate = 8192.0;
        g_forceCal.CycleLength = 256;
        g_forceCal.Frequency = 32;
        g_forceCal.CalLength = 0.125;
        g_forceCal.Averages = 2;
        g_forceCal.SubtractDrift = 1;
        g_forceCal.LSSteps = 6;
        g_forceCal.LSAverages = 1000;
        g_forceCal.LSLength = 2.0;
    }

    // One run with all that follows from it.
    static void RunAll()
    {
        (void)ZVK_ForceCal_AcquireData(0, 0, 3);
        (void)ZVK_ForceCal_AcquireData(0, 0, 0);
        (void)ZVK_ForceCal_LineScan(0, 0, 0);
        (void)ZVK_ForceCal_UpdateFDFits(0);
        (void)ZVK_ForceCal_UpdatePotFits(0);
        (void)ZVK_ForceCal_UpdateLSFits(0);
        (void)ZVK_ForceCal_UpdateCalibration(0);
        (void)ZVK_ForceCal_UpdateCalibrationRWQS(0);
    }

    // A call's status; what it leaves of C++ blocks is kept as leaked.
    template <class Call>
    int32_t Counted(Call call)
    {
        const int64_t before = LiveNewBlocks();
        const int32_t status = call();
        leaked = LiveNewBlocks() - before;
        return status;
    }

    int32_t Save() const { return ZVK_ForceCal_SaveData(0, base.c_str()); }
    int32_t Load() const { return ZVK_ForceCal_LoadData(0, base.c_str()); }

    std::string base;
    int64_t leaked = 0;

private:
    ZVK_DaqTable m_card = {};
    ZVK_ClockTable m_clock = {};
    const ZVK_DaqTable *m_recorded = nullptr;
    const ZVK_ClockTable *m_clockBefore = nullptr;
};

TEST_F(ForceCalDataFaults, EachBlockThatARunDoesNotGetLeavesWholeResultsAndNoLeak)
{
    RunAll();
    const int64_t whole = ReadAllHandedOut();
    EXPECT_GT(whole, 10000);
    ResetForceCal();
    for (int nth = 1;; ++nth) {
        FailingMemory memory;
        Start();
        memory.FailAt(nth);
        ::testing::internal::CaptureStdout();
        RunAll();
        (void)::testing::internal::GetCapturedStdout();
        const bool failed = memory.Failed();
        memory.FailAt(0);
        EXPECT_LE(ReadAllHandedOut(), whole) << nth;
        g_force.Busy = 0;
        RunAll();
        EXPECT_EQ(ReadAllHandedOut(), whole) << "the next one works, behind block " << nth;
        ResetForceCal();
        EXPECT_EQ(memory.Live(), 0) << nth;
        if (!failed) {
            EXPECT_GT(nth, 80) << "blocks of all steps";
            break;
        }
    }
}

TEST_F(ForceCalDataFaults, EachFailedNewOfAnAnalysisIsPrintedOrHarmless)
{
    ASSERT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0);
    ZVK_ForceCalDataContainer &data = Still();
    int32_t status = 0;
    ::testing::internal::CaptureStdout();
    const int allocations =
        FailEachAllocation([&] { status = Counted([&] { return ZVK_ForceCal_ComputeFD(&data); }); },
                           [&](bool failed) {
                               EXPECT_EQ(status, failed ? ZVK_FORCE_NO_MEMORY : 0);
                               EXPECT_EQ(data.FDValid, failed ? 0 : 1);
                               EXPECT_EQ(leaked, 0);
                           });
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_GT(allocations, 0);
    EXPECT_EQ(printed.substr(0, 28), "Mem Alloc Failure during FFT");
    (void)FailEachAllocation(
        [&] {
            status = Counted([&] {
                (void)ZVK_ForceCal_Create1DBinning(&data);
                (void)ZVK_ForceCal_CreatePotFit(&data);
                (void)ZVK_ForceCal_Create2DBinning(&data);
                return ZVK_ForceCal_CreateFDFit(&data);
            });
        },
        [&](bool) {
            EXPECT_EQ(status, 0);
            EXPECT_EQ(leaked, 0);
        });
}

TEST_F(ForceCalDataFaults, EachFailedNewOfASaveLeavesTheFilesThatWereThere)
{
    RunAll();
    ASSERT_EQ(Save(), 0);
    ASSERT_EQ(ZVK_ForceCal_SaveDataRWQS(0, base.c_str()), 0);
    const std::string before = folder.Read("run_TDAndat");
    const std::string scan = folder.Read("run_LSdat");
    const int count = folder.CountFiles();
    Start();
    int32_t status = 0;
    const auto check = [&](const char *name, const std::string &old, bool failed) {
        EXPECT_EQ(status, failed ? ZVK_FORCECAL_FILE_FAILED : 0);
        EXPECT_EQ(leaked, 0);
        EXPECT_EQ(folder.CountFiles(), count);
        EXPECT_EQ(folder.Read(name) == old, failed);
    };
    int allocations =
        FailEachAllocation([&] { status = Counted([&] { return Save(); }); },
                           [&](bool failed) { check("run_TDAndat", before, failed); });
    EXPECT_GT(allocations, 16);
    allocations = FailEachAllocation(
        [&] { status = Counted([&] { return ZVK_ForceCal_SaveDataRWQS(0, base.c_str()); }); },
        [&](bool failed) { check("run_LSdat", scan, failed); });
    EXPECT_GT(allocations, 3);
}

TEST_F(ForceCalDataFaults, EachFailedNewOfALoadIsAStatusAndLeavesWholeResults)
{
    RunAll();
    ASSERT_EQ(Save(), 0);
    int32_t status = 0;
    ::testing::internal::CaptureStdout();
    const int allocations = FailEachAllocation([&] { status = Counted([&] { return Load(); }); },
                                               [&](bool failed) {
                                                   EXPECT_TRUE(failed ? status < 0 : status == 0);
                                                   EXPECT_EQ(leaked, 0);
                                                   (void)ReadAllHandedOut();
                                               });
    (void)::testing::internal::GetCapturedStdout();
    EXPECT_GT(allocations, 16);
    EXPECT_EQ(Still().FDValid, 1);
}

TEST_F(ForceCalDataFaults, ASaveThatIsCutOffLeavesEachFileWholeOldOrNew)
{
    ASSERT_EQ(Save(), 0);
    const std::string old = folder.Read("run_TDAndat");
    const std::string oldSpectrum = folder.Read("run_FDAndat");
    RunAll();
    ASSERT_EQ(Save(), 0);
    const std::string now = folder.Read("run_TDAndat");
    const std::string nowSpectrum = folder.Read("run_FDAndat");
    int calls = 0;
    {
        const FailingFiles files;
        ASSERT_EQ(Save(), 0);
        calls = static_cast<int>(files.Calls().size());
    }
    for (int nth = 1; nth <= calls; nth += 7) {
        folder.Write("run_TDAndat", old);
        folder.Write("run_FDAndat", oldSpectrum);
        {
            FailingFiles files;
            files.CutOffAt(nth);
            (void)Save();
            ASSERT_TRUE(files.Failed());
        }
        const std::string series = folder.Read("run_TDAndat");
        const std::string spectrum = folder.Read("run_FDAndat");
        EXPECT_TRUE(series == old || series == now) << nth;
        EXPECT_TRUE(spectrum == oldSpectrum || spectrum == nowSpectrum) << nth;
        EXPECT_EQ(Save(), 0) << "what a cut-off save left is in nobody's way";
        EXPECT_EQ(folder.Read("run_FDAndat"), nowSpectrum);
        for (const char *domain : {"TD", "FD"}) {
            for (const char *run : {"Ax", "Ay", "Az", "An", "Bx", "By", "Bz", "Bn"})
                folder.Remove(std::string("run_") + domain + run + "dat~0");
        }
    }
}

TEST_F(ForceCalDataFaults, EachReadThatFailsLeavesWhatWasReadBeforeIt)
{
    RunAll();
    ASSERT_EQ(Save(), 0);
    for (int nth = 1;; ++nth) {
        Start();
        FailingFiles files;
        files.FailAt(nth);
        const int32_t status = Load();
        EXPECT_TRUE(status == 0 || status == ZVK_FORCECAL_FILE_FAILED ||
                    status == ZVK_FORCECAL_NO_TIME_DATA)
            << nth;
        EXPECT_EQ(files.OpenFiles(), 0) << nth;
        (void)ReadAllHandedOut();
        if (!files.Failed()) {
            EXPECT_EQ(status, 0);
            break;
        }
    }
}
