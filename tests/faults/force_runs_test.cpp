// Each allocation, each file call and each call of the card fails in turn while the force
// calibration comes up, measures its rate, records a run, and loads and saves its tables: an answer
// comes, what is handed out is there, nothing leaks, and the next call works.

#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "forcecal_fixture.h"
#include "platform/clock.h"
#include "platform/daqmx.h"
#include "platform/memory.h"

#include <algorithm>
#include <functional>

static int32_t TakeAttribute(ZVK_DaqTask, int32_t, ...) { return 0; }

// A card and a clock that allocate nothing, so that each block is the library's own. X and Y are a
// coarse noise, so that fits have something to fit.
static ZVK_DaqTable WillingCard()
{
    static int s_task;
    ZVK_DaqTable table = Daq();
    table.createTask = [](const char *, ZVK_DaqTask *task) -> int32_t {
        *task = &s_task;
        return 0;
    };
    table.clearTask = [](ZVK_DaqTask) -> int32_t { return 0; };
    table.stopTask = [](ZVK_DaqTask) -> int32_t { return 0; };
    table.createAIVoltageChan = [](ZVK_DaqTask, const char *, const char *, int32_t, double, double,
                                   int32_t, const char *) -> int32_t { return 0; };
    table.getSampClkMaxRate = [](ZVK_DaqTask, double *rate) -> int32_t {
        *rate = 250000.0;
        return 0;
    };
    table.cfgSampClkTiming = [](ZVK_DaqTask, const char *, double, int32_t, int32_t,
                                uint64_t) -> int32_t { return 0; };
    table.setTrigAttribute = TakeAttribute;
    table.readAnalogF64 = [](ZVK_DaqTask, int32_t samples, double, uint32_t, double *out,
                             uint32_t room, int32_t *read, uint32_t *) -> int32_t {
        for (uint32_t i = 0; i < room; ++i)
            out[i] = i % 3 == 2 ? 2.0 : 0.01 * ((i * i + 7 * i) % 31) - 0.15;
        *read = samples;
        return 0;
    };
    return table;
}

class ForceRunFaults : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        WriteCalConfig({{"MAX_FFT", "2000"},
                        {"OSCILLATE", "0"},
                        {"CALLENGTH", "0.03125"},
                        {"AVERAGES", "2"},
                        {"HISTOGRAM_BINS", "10"}});
        m_recorded = &Daq();
        m_willing = WillingCard();
        UseDaq(&m_willing);
        m_quick = Clock();
        m_quick.delay = [](double) {};
        UseClock(&m_quick);
        ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    }

    void TearDown() override
    {
        ForceCalTest::TearDown();
        UseDaq(m_recorded);
    }

    void UseRecordingCard() { UseDaq(m_recorded); }

    // The calibration up, with the rate of a run.
    static void Up()
    {
        ASSERT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0);
        g_forceCal.SampleRate = 65536.0;
        g_forceCal.CycleLength = 2048;
    }

    // Reads all that a container hands out: with a count there is a block of that length.
    static void ReadAllThatIsHandedOut(int32_t path, int32_t run)
    {
        for (int32_t type = 1; type <= 1024; type *= 2) {
            for (int32_t axis = 0; axis < 3; ++axis) {
                int32_t entries = 0;
                double *block = nullptr;
                double *places = nullptr;
                if (ZVK_ForceCal_ReturnData(0, path, run, type, axis, &entries, &block, &places,
                                            nullptr, nullptr, nullptr) != 0)
                    continue;
                if (entries == 0) continue;
                EXPECT_NE(block, nullptr) << type;
                EXPECT_NE(places, nullptr) << type;
                for (int32_t i = 0; i < entries; ++i)
                    s_sum = s_sum + block[i] + places[i];
            }
        }
    }

    // Runs `act` with the first block of the general heap failing, then the second, and so on.
    static void FailEachBlock(const std::function<int32_t()> &act,
                              const std::function<void(int32_t, bool)> &check)
    {
        for (int nth = 1; nth < 500; ++nth) {
            FailingMemory memory;
            memory.FailAt(nth);
            const int32_t status = act();
            const bool failed = memory.Failed();
            memory.FailAt(0);
            check(status, failed);
            ResetForceCal();
            EXPECT_EQ(memory.Live(), 0) << "a block leaked at allocation " << nth;
            if (!failed) {
                EXPECT_GT(nth, 1) << "the call allocates nothing";
                return;
            }
        }
        FAIL() << "the allocations never end";
    }

    // The same with file calls.
    static void FailEachFileCall(const std::function<int32_t()> &act,
                                 const std::function<void(int32_t, bool)> &check)
    {
        for (int nth = 1; nth < 1000; ++nth) {
            FailingFiles files;
            files.FailAt(nth);
            const int32_t status = act();
            const bool failed = files.Failed();
            EXPECT_EQ(files.OpenFiles(), 0) << nth;
            files.FailAt(0);
            check(status, failed);
            ResetForceCal();
            if (!failed) return;
        }
        FAIL() << "the calls never end";
    }

private:
    static inline volatile double s_sum = 0.0;
    ZVK_DaqTable m_willing = {};
    ZVK_ClockTable m_quick = {};
    const ZVK_DaqTable *m_recorded = nullptr;
};

static int32_t Init() { return ZVK_ForceCal_Init(0, 0, 0); }

static void ExpectInit(int32_t status, bool failed)
{
    EXPECT_TRUE(failed || status == 0);
    EXPECT_EQ(g_forceCal.Initialised, status == 0 ? 1 : 0);
    if (status != 0) {
        EXPECT_EQ(ZVK_ForceCal_Init(0, 0, 0), 0) << "the next one works";
    }
    EXPECT_EQ(g_forceCal.Beta[1][0], -1.5);
    EXPECT_EQ(g_forceCal.MaxFFT, 2000);
}

TEST_F(ForceRunFaults, EachFailureOfInitLetsTheNextInitWork)
{
    FailEachBlock(Init, ExpectInit);
    FailEachFileCall(Init, ExpectInit);
    int32_t status = 0;
    EXPECT_GT(FailEachAllocation([&] { status = ZVK_ForceCal_Init(0, 0, 0); },
                                 [&](bool failed) {
                                     ExpectInit(status, failed);
                                     ResetForceCal();
                                 }),
              20);
}

// Tables of a path that can't be read stay whole, those before or those of the file.
static void ExpectWholeTables(int32_t status, bool failed)
{
    EXPECT_TRUE(failed || status == 0);
    for (int path = 0; path < 2; ++path) {
        EXPECT_EQ(g_forceCal.Beta[path] != nullptr, g_forceCal.NumberOfBetas[path] == 1);
        EXPECT_EQ(g_forceCal.K[path] != nullptr, g_forceCal.NumberOfKs[path] == 1);
        EXPECT_EQ(g_forceCal.K[path] != nullptr, g_forceCal.Beta[path] != nullptr);
        if (status == 0) {
            ASSERT_NE(g_forceCal.K[path], nullptr);
            EXPECT_EQ(g_forceCal.K[path][2], path == 0 ? 6.5 : -6.5);
        }
    }
}

TEST_F(ForceRunFaults, EachFailureOfALoadLeavesWholeTables)
{
    const auto load = [] { return ZVK_ForceCal_LoadCalibration(0, "default.cal"); };
    FailEachBlock(load, ExpectWholeTables);
    FailEachFileCall(load, ExpectWholeTables);
    int32_t status = 0;
    EXPECT_GT(FailEachAllocation([&] { status = ZVK_ForceCal_LoadCalibration(0, "default.cal"); },
                                 [&](bool failed) {
                                     ExpectWholeTables(status, failed);
                                     ResetForceCal();
                                 }),
              5);
}

TEST_F(ForceRunFaults, EachFailureOfASaveLeavesAFileThatCanBeLoaded)
{
    const std::string name = folder.Path("saved.cal");
    const auto prepare = [&name] {
        ASSERT_EQ(ZVK_ForceCal_LoadCalibration(0, "default.cal"), 0);
        ASSERT_EQ(ZVK_ForceCal_SaveCalibration(0, name.c_str()), 0);
        g_forceCal.Beta[0][0] = 77.0;
        g_forceCal.Beta[1][0] = 88.0;
    };
    const auto save = [&name] { return ZVK_ForceCal_SaveCalibration(0, name.c_str()); };
    const auto check = [&](int32_t status, bool failed) {
        EXPECT_TRUE(failed || status == 0);
        EXPECT_EQ(g_forceCal.Beta[0][0], 77.0) << "the tables stay";
        EXPECT_EQ(ZVK_ForceCal_LoadCalibration(0, name.c_str()), 0);
        const double a = g_forceCal.Beta[0][0];
        const double b = g_forceCal.Beta[1][0];
        EXPECT_TRUE(a == 77.0 || (a == 1.5 && status < 0));
        EXPECT_TRUE(b == 88.0 || (b == -1.5 && status < 0));
        ResetForceCal();
        prepare();
    };
    prepare();
    for (int nth = 1; nth < 1000; ++nth) {
        bool failed = false;
        int32_t status = 0;
        {
            FailingFiles files;
            files.FailAt(nth);
            status = save();
            failed = files.Failed();
            EXPECT_EQ(files.OpenFiles(), 0) << nth;
        }
        check(status, failed);
        if (!failed) break;
        ASSERT_LT(nth, 999) << "the calls never end";
    }
    int32_t status = 0;
    EXPECT_GT(
        FailEachAllocation([&] { status = save(); }, [&](bool failed) { check(status, failed); }),
        5);
}

TEST_F(ForceRunFaults, EachFailureOfTheTriggerKeepsTheRateOrSetsIt)
{
    const auto trigger = [] {
        g_forceCal.Frequency = 32;
        g_forceCal.SampleRate = 1.0;
        g_force.Busy = 0;
        return ZVK_ForceCal_TriggerCalibration(0, nullptr, nullptr, nullptr);
    };
    const auto check = [](int32_t status, bool failed) {
        EXPECT_TRUE(failed || status == ZVK_FORCECAL_TOO_FEW_PULSES);
        const bool measured = status == ZVK_FORCECAL_TOO_FEW_PULSES;
        EXPECT_EQ(g_forceCal.SampleRate, measured ? 65536.0 : 1.0);
    };
    FailEachBlock(trigger, check);
    UseRecordingCard();
    for (int nth = 1; nth < 200; ++nth) {
        card->FailAt(nth);
        check(trigger(), true);
        const bool failed = card->Failed();
        card->FailAt(0);
        (void)ZVK_Force_StopAcquireBuffered(0);
        EXPECT_EQ(card->OpenTasks(), 0) << nth;
        if (!failed) break;
    }
    card.emplace();
}

TEST_F(ForceRunFaults, EachMissingBlockOfARunIsToldByCountsAndTheNextRunWorks)
{
    const auto check = [](int32_t status, bool failed) {
        EXPECT_TRUE(failed || status == 0);
        ReadAllThatIsHandedOut(1, 3);
        g_force.Busy = 0;
        EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 1, 3), 0);
        EXPECT_EQ(g_forceCal.Data[1][3].NumberOfSamples, 4096);
        EXPECT_EQ(g_forceCal.Data[1][3].NumberOfFrequencies, 1024);
        EXPECT_EQ(g_forceCal.Data[1][3].FDFitValid, 1);
        EXPECT_EQ(g_forceCal.Data[1][3].PotValid, 1);
        ReadAllThatIsHandedOut(1, 3);
    };
    for (int nth = 1; nth < 500; ++nth) {
        FailingMemory memory;
        Up();
        memory.FailAt(nth);
        const int32_t status = ZVK_ForceCal_AcquireData(0, 1, 3);
        const bool failed = memory.Failed();
        memory.FailAt(0);
        check(status, failed);
        ResetForceCal();
        EXPECT_EQ(memory.Live(), 0) << "a block leaked at allocation " << nth;
        if (!failed) {
            EXPECT_GT(nth, 30);
            break;
        }
    }
}

TEST_F(ForceRunFaults, EachFailedNewOfARunEndsInAnAnswer)
{
    Up();
    int32_t status = 0;
    EXPECT_GT(FailEachAllocation([&] { status = ZVK_ForceCal_AcquireData(0, 0, 3); },
                                 [&](bool failed) {
                                     EXPECT_TRUE(failed || status == 0);
                                     ReadAllThatIsHandedOut(0, 3);
                                     g_force.Busy = 0;
                                 }),
              0);
    EXPECT_EQ(g_forceCal.Data[0][3].FDFitValid, 1);
}

TEST_F(ForceRunFaults, ACardThatRefusesACallLetsTheRunFlowOnAndItsTaskBeReleased)
{
    Up();
    UseRecordingCard();
    for (int nth = 1; nth < 100; ++nth) {
        card->FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_AcquireData(0, 0, 3), 0) << nth;
        const bool failed = card->Failed();
        card->FailAt(0);
        EXPECT_EQ(g_forceCal.Data[0][3].NumberOfSamples, 4096);
        ReadAllThatIsHandedOut(0, 3);
        (void)ZVK_Force_StopAcquireBuffered(0);
        EXPECT_EQ(card->OpenTasks(), 0) << nth;
        if (!failed) break;
    }
    card.emplace();  // calls on a task that could not be made are counted as misuse
}
