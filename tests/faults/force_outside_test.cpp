// Each allocation, each file call and each call of the card fails in turn under the force module's
// calls: an answer comes, nothing leaks, and the next call works.

#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "force_fixture.h"
#include "platform/clock.h"
#include "platform/daqmx.h"
#include "platform/memory.h"
#include "platform/messages.h"
#include "platform/threads.h"

#include <functional>

// What stands behind the seams here allocates nothing, so that each block is the library's own.

static int s_openTasks = 0;
static int s_posts = 0;

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
    table.stopTask = [](ZVK_DaqTask) -> int32_t { return 0; };
    table.createAIVoltageChan = [](ZVK_DaqTask, const char *, const char *, int32_t, double, double,
                                   int32_t, const char *) -> int32_t { return 0; };
    table.getSampClkMaxRate = [](ZVK_DaqTask, double *rate) -> int32_t {
        *rate = 250000.0;
        return 0;
    };
    table.cfgSampClkTiming = [](ZVK_DaqTask, const char *, double, int32_t, int32_t,
                                uint64_t) -> int32_t { return 0; };
    table.cfgDigEdgeStartTrig = [](ZVK_DaqTask, const char *, int32_t) -> int32_t { return 0; };
    table.readAnalogF64 = [](ZVK_DaqTask, int32_t samples, double, uint32_t, double *out,
                             uint32_t room, int32_t *read, uint32_t *) -> int32_t {
        std::fill_n(out, room, 1.0);
        *read = samples;
        return 0;
    };
    return table;
}

static constexpr ZVK_MessageTable kQuietMessages = {
    .registerName = [](const char *) -> uint32_t { return 1; },
    .post = [](uint32_t, int64_t, int64_t) -> int32_t {
        ++s_posts;
        return 0;
    }};

class ForceFaults : public ForceTest
{
protected:
    void SetUp() override
    {
        ForceTest::SetUp();
        WriteConfig({{"TRIGGERINPUT", "4"}});
        m_recorded = &Daq();
        m_willing = WillingCard();
        s_openTasks = s_posts = 0;
        UseMessages(&kQuietMessages);
    }

    void TearDown() override
    {
        ForceTest::TearDown();
        UseDaq(m_recorded);
        EXPECT_EQ(s_openTasks, 0);
    }

    void UseWillingCard() { UseDaq(&m_willing); }

    // The module up on the willing card.
    void Up()
    {
        UseWillingCard();
        ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    }

    // Runs `act` with the first file call failing, then the second, until all have been tried.
    // `check` sees its answer and whether one failed.
    static void FailEachFileCall(const std::function<int32_t()> &act,
                                 const std::function<void(int32_t, bool)> &check)
    {
        for (int nth = 1; nth < 500; ++nth) {
            FailingFiles files;
            files.FailAt(nth);
            const int32_t status = act();
            const bool failed = files.Failed();
            EXPECT_EQ(files.OpenFiles(), 0) << nth;
            files.FailAt(0);
            check(status, failed);
            if (!failed) return;
        }
        FAIL() << "the calls never end";
    }

    // The same with blocks of the general heap; those that `act` made are gone behind `check`.
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
            EXPECT_EQ(memory.Live(), 0) << "a block leaked at allocation " << nth;
            if (!failed) {
                EXPECT_GT(nth, 1) << "the call allocates nothing";
                return;
            }
        }
        FAIL() << "the allocations never end";
    }

    // Up exactly when it says so, and otherwise up at the next try.
    static void ExpectInit(int32_t status, bool failed)
    {
        EXPECT_TRUE(failed || status == 0);
        EXPECT_EQ(g_force.Initialised, status == 0 ? 1 : 0);
        EXPECT_EQ(s_openTasks, 0);
        EXPECT_EQ(g_force.TaskHandle, nullptr);
        if (status != 0) {
            EXPECT_EQ(ZVK_Force_Init(0, 0, 0), 0);
        }
        EXPECT_STREQ(g_force.ChannelT, "/Dev2/ai3");
        ResetForce();
    }

private:
    ZVK_DaqTable m_willing = {};
    const ZVK_DaqTable *m_recorded = nullptr;
};

TEST_F(ForceFaults, EachFailedBlockNewAndFileCallOfInitLetsTheNextInitWork)
{
    UseWillingCard();
    const auto init = [] { return ZVK_Force_Init(0, 0, 0); };
    FailEachBlock(init, ExpectInit);
    FailEachFileCall(init, ExpectInit);
    int32_t status = 0;
    EXPECT_GT(FailEachAllocation([&] { status = ZVK_Force_Init(0, 0, 0); },
                                 [&](bool failed) { ExpectInit(status, failed); }),
              5);
}

TEST_F(ForceFaults, ATriggerWhoseTerminalCantBeReadGoesNotToTheCard)
{
    Up();
    static int s_triggers;
    ZVK_DaqTable counting = WillingCard();
    counting.cfgDigEdgeStartTrig = [](ZVK_DaqTask, const char *, int32_t) -> int32_t {
        ++s_triggers;
        return 0;
    };
    UseDaq(&counting);
    g_force.TaskHandle = &s_triggers;
    const auto check = [](int32_t status, bool failed) {
        EXPECT_TRUE(failed || status == 0);
        EXPECT_EQ(s_triggers, status == 0 ? 1 : 0);
        EXPECT_EQ(g_force.TriggerType, 4);
        s_triggers = 0;
    };
    s_triggers = 0;
    const auto configure = [] { return ZVK_Force_ConfigureTrigger(0, 4, 10171); };
    FailEachBlock(configure, check);
    FailEachFileCall(configure, check);
    int32_t status = 0;
    EXPECT_GT(FailEachAllocation([&] { status = ZVK_Force_ConfigureTrigger(0, 4, 10171); },
                                 [&](bool failed) { check(status, failed); }),
              0);
    g_force.TaskHandle = nullptr;
    UseWillingCard();
}

// The trigger is read from the file in the middle of each acquisition.
TEST_F(ForceFaults, EachFailureOfAnAcquisitionLeavesWhatAStopReleases)
{
    Up();
    double *data = nullptr;
    const auto acquire = [&data] {
        return ZVK_Force_Acquire(0, -1.0, 2000, 1.0, &data, 7, nullptr);
    };
    const auto check = [&data](int32_t status, bool failed) {
        EXPECT_TRUE(failed || status == 0);
        EXPECT_EQ(g_force.Busy, s_openTasks) << "busy as long as it owns a task";
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
        EXPECT_EQ(s_openTasks, 0);
        EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 2000, 1.0, &data, 7, nullptr), 0);
        EXPECT_EQ(data[13999], 1.0);
        Release(data);
    };
    FailEachBlock(acquire, check);
    FailEachFileCall(acquire, check);
    int32_t status = 0;
    EXPECT_GT(FailEachAllocation([&] { status = acquire(); },
                                 [&](bool failed) { check(status, failed); }),
              0);
}

TEST_F(ForceFaults, EachFailureOfABufferedStartLeavesNoTaskAndNoThread)
{
    Up();
    int32_t channels = 0;
    const auto start = [&channels] {
        return ZVK_Force_AcquireBuffered(0, -1.0, 3, 1000, 1.0, 3, &channels);
    };
    const auto check = [&](int32_t status, bool failed) {
        EXPECT_TRUE(failed || status == 0);
        EXPECT_EQ(channels, status == 0 ? 6 : 0);
        EXPECT_EQ(s_openTasks, status == 0 ? 1 : 0);
        if (status != 0) {
            EXPECT_EQ(start(), 0) << "the next one works";
        }
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
        EXPECT_EQ(s_openTasks, 0);
        EXPECT_EQ(g_force.Ring, nullptr);
        EXPECT_EQ(g_force.Busy, 0);
    };
    FailEachBlock(start, check);  // the thread's own block among them
    int32_t status = 0;
    EXPECT_GT(
        FailEachAllocation([&] { status = start(); }, [&](bool failed) { check(status, failed); }),
        0)
        << "what the pool asks for";
}

TEST_F(ForceFaults, TheReadingLoopAllocatesOneBlockAndNothingElse)
{
    Up();
    static constexpr ZVK_ThreadTable kNoThreads = {
        .startTimer = [](double, ZVK_TimerCallback, void *) { return -1; },
        .discardTimer = [](int) { return -1; },
        .schedule =
            [](ZVK_PoolFunction, void *, int *id) {
                *id = 1;
                return 0;
            },
        .wait = [](int) { return 0; },
        .waitAtMost = [](int, double) { return 0; },
        .release = [](int) { return 0; }};
    UseThreads(&kNoThreads);
    int32_t channels = 0;
    ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, 20, 5000, 1.0, 7, &channels), 0);
    FailingMemory memory;
    bool asked = true;
    {
        const FailingNew allocations(1);
        (void)ZVK_Force_AcquireBufferedLoop(nullptr);
        asked = allocations.Failed();
    }
    EXPECT_FALSE(asked);
    EXPECT_EQ(s_posts, 20);
    EXPECT_EQ(memory.Allocations(), 1);
    EXPECT_EQ(memory.Live(), 0);
    g_force.PoolFunctionId = -1;
    UseThreads(nullptr);
}

TEST_F(ForceFaults, ACardThatRefusesAnyCallOfABufferedRunLeavesNothing)
{
    WriteConfig();
    for (int nth = 1; nth <= 14; ++nth) {
        for (const int32_t code : {-50103, -200284, -88710}) {
            ResetForce();
            card.emplace();
            BringUp();
            card->FailAt(nth, code);
            int32_t channels = 0;
            if (ZVK_Force_AcquireBuffered(0, -1.0, 2, 1000, 1.0, 1, &channels) == 0)
                (void)Threads().wait(g_force.PoolFunctionId);
            EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
            EXPECT_EQ(card->OpenTasks(), 0) << nth;
            EXPECT_EQ(g_force.Ring, nullptr);
            EXPECT_EQ(g_force.PoolFunctionId, -1);
        }
    }
}

TEST_F(ForceFaults, AMessageThatCantBeSentDoesNotStopTheLoop)
{
    Up();
    static constexpr ZVK_MessageTable kDeaf = {
        .registerName = [](const char *) -> uint32_t { return 0; },
        .post = [](uint32_t, int64_t, int64_t) -> int32_t {
            ++s_posts;
            return -2;
        }};
    UseMessages(&kDeaf);
    int32_t channels = 0;
    ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, 4, 1000, 1.0, 4, &channels), 0);
    EXPECT_EQ(Threads().wait(g_force.PoolFunctionId), 0);
    EXPECT_EQ(s_posts, 4) << "up to the overrun";
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
}
