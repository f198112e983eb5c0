// Buffered acquisition with a recording card. The thread's function runs when the test says so, on
// the test's own thread; force_threads_test.cpp lets it run on a thread of its own.

#include "force_fixture.h"

#include "failing_memory.h"
#include "platform/daqmx.h"
#include "platform/messages.h"
#include "test_timers.h"

#include <functional>
#include <numeric>

using Calls = std::vector<std::string>;

// What a consumer does at each message, on the thread that posts.
static std::function<void(uint32_t, int64_t, int64_t)> s_onPost;
static const ZVK_MessageTable *s_recorded = nullptr;

static int32_t PostAndTell(uint32_t id, int64_t first, int64_t second)
{
    const int32_t result = s_recorded->post(id, first, second);
    if (s_onPost) s_onPost(id, first, second);
    return result;
}

class ForceBuffered : public ForceTest
{
protected:
    void SetUp() override
    {
        ForceTest::SetUp();
        threads.emplace();
        s_recorded = &Messages();
        m_telling = *s_recorded;
        m_telling.post = PostAndTell;
        UseMessages(&m_telling);
    }

    void TearDown() override
    {
        s_onPost = nullptr;
        UseMessages(s_recorded);
        ForceTest::TearDown();
        threads.reset();
    }

    int32_t Start(int32_t buffers = 2, int32_t samples = 1000, int32_t mask = 1)
    {
        return ZVK_Force_AcquireBuffered(0, -1.0, buffers, samples, 1.0, mask, &channels);
    }

    void RunThread() { threads->Run(g_force.PoolFunctionId); }

    int32_t channels = 55;
    std::optional<TestTimers> threads;

private:
    ZVK_MessageTable m_telling = {};
};

TEST_F(ForceBuffered, ChecksBusy_Init_Samples_Buffers_ThenChannels)
{
    g_force.Busy = 1;
    EXPECT_EQ(Start(0, 0, 0), ZVK_FORCE_BUSY);
    EXPECT_EQ(channels, 0) << "zeroed before all checks";
    g_force.Busy = 0;
    EXPECT_EQ(Start(0, 0, 0), ZVK_FORCE_NOT_INITIALIZED);
    BringUp();
    EXPECT_EQ(Start(0, 0, 0), ZVK_FORCE_BAD_SAMPLE_COUNT);
    EXPECT_EQ(Start(0, 999, 0), ZVK_FORCE_TOO_FEW_SAMPLES);
    EXPECT_EQ(Start(1, 1000, 0), ZVK_FORCE_BAD_SAMPLE_COUNT);
    EXPECT_EQ(Start(2, 1000, 0), ZVK_FORCE_BAD_CHANNELS);
    EXPECT_EQ(Start(2, 1000, 8), ZVK_FORCE_BAD_CHANNELS);
    EXPECT_EQ(g_force.Busy, 0) << "none of them raises it";
    EXPECT_EQ(g_force.Ring, nullptr);
    EXPECT_TRUE(card->Calls().empty());
}

TEST_F(ForceBuffered, StartsATaskWithoutATriggerAndOneThread)
{
    BringUp();
    EXPECT_EQ(Start(3, 2000, 6), 0);
    EXPECT_EQ(channels, 4);
    EXPECT_EQ(
        card->Calls(),
        (Calls{"createTask(t2, \"ForceTask\")",
               "createAIVoltageChan(t2, \"/Dev2/ai4:6,/Dev2/ai3\", \"\", 10106, -10, 10, "
               "10348, null)",
               "getSampClkMaxRate(t2)", "cfgSampClkTiming(t2, \"\", 1e+06, 10280, 10123, 2000)"}));
    EXPECT_EQ(threads->Scheduled().size(), 1U);
    EXPECT_EQ(g_force.Busy, 0) << "the thread raises it";
    const ZVK_ForceBuffer *node = g_force.Ring;
    for (const int32_t number : {1, 2, 3}) {
        EXPECT_EQ(node->BufferNumber, number);
        EXPECT_EQ(node->Free, 1);
        node = node->Next;
    }
    EXPECT_EQ(node, g_force.Ring);
    EXPECT_EQ(Start(), ZVK_FORCE_BUSY) << "although the thread has not begun";
}

TEST_F(ForceBuffered, TwoBuffersAndNobodyWhoGrabsStopAtTheThird)
{
    BringUp();
    ASSERT_EQ(Start(2, 2000, 1), 0);
    card->ForgetCalls();
    RunThread();
    EXPECT_EQ(card->Calls(),
              (Calls{"startTask(t2)", "readAnalogF64(t2, 1000, 10, 1, 3000)",
                     "readAnalogF64(t2, 1000, 10, 1, 3000)", "readAnalogF64(t2, 1000, 10, 1, 3000)",
                     "readAnalogF64(t2, 1000, 10, 1, 3000)"}));
    EXPECT_EQ(messages->Posts(), (std::vector<RecordingMessages::Posted>{
                                     {"ZVK_FORCE_BUFFER", (1 << 22) + 6000, (1 << 22) + 3},
                                     {"ZVK_FORCE_BUFFER", (1 << 22) + 6000, (2 << 22) + 3}}));
    EXPECT_EQ(g_force.ReadStatus, 0);
    EXPECT_EQ(g_force.ThreadAlive, 0);
    EXPECT_EQ(g_force.KeepRunning, 0);
    EXPECT_EQ(g_force.Busy, 1) << "until a stop";
    EXPECT_EQ(Start(), ZVK_FORCE_BUSY);
    double block[1] = {};
    double *data = block;
    int32_t reading = 55;
    EXPECT_EQ(ZVK_Force_GrabBuffer(0, 0, &data, &reading), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(reading, 0);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(Start(), 0);
}

TEST_F(ForceBuffered, AConsumerThatGrabsAtEachMessageGetsEverySampleInOrder)
{
    BringUp();
    std::vector<double> ramp(9000);
    std::iota(ramp.begin(), ramp.end(), 0.0);
    card->SupplySamples(ramp);
    ASSERT_EQ(Start(2, 1000, 1), 0);
    std::vector<double> grabbed;
    std::vector<int64_t> numbers;
    s_onPost = [&](uint32_t, int64_t, int64_t second) {
        std::vector<double> block(3000);
        double *data = block.data();
        int32_t reading = 0;
        EXPECT_EQ(ZVK_Force_GrabBuffer(0, static_cast<int32_t>(second >> 22), &data, &reading), 0);
        EXPECT_EQ(reading, 1);
        grabbed.insert(grabbed.end(), block.begin(), block.end());
        numbers.push_back(second >> 22);
        if (grabbed.size() == 9000) g_force.KeepRunning = 0;
    };
    RunThread();
    EXPECT_EQ(grabbed, ramp);
    EXPECT_EQ(numbers, (std::vector<int64_t>{1, 2, 1}));
    EXPECT_EQ(g_force.ReadStatus, 1) << "a stop from outside leaves it";
    EXPECT_EQ(g_force.ThreadAlive, 0);
}

TEST_F(ForceBuffered, TheBufferIsMarkedBeforeTheMessageAndTheRingMovesBehindIt)
{
    BringUp();
    ASSERT_EQ(Start(), 0);
    int posts = 0;
    s_onPost = [&](uint32_t, int64_t, int64_t second) {
        EXPECT_EQ(g_force.Ring->BufferNumber, second >> 22);
        EXPECT_EQ(g_force.Ring->Free, 0);
        ++posts;
    };
    RunThread();
    EXPECT_EQ(posts, 2);
    EXPECT_EQ(g_force.Ring->BufferNumber, 1);
}

TEST_F(ForceBuffered, AnUnknownNumberIsRefusedWhileItReads)
{
    BringUp();
    ASSERT_EQ(Start(), 0);
    s_onPost = [&](uint32_t, int64_t, int64_t) {
        std::vector<double> block(3000);
        double *data = block.data();
        for (const int32_t number : {0, 3, -1})
            EXPECT_EQ(ZVK_Force_GrabBuffer(0, number, &data, nullptr), ZVK_FORCE_BAD_BUFFER);
        EXPECT_EQ(data, block.data());
        double *none = nullptr;
        EXPECT_EQ(ZVK_Force_GrabBuffer(0, 1, &none, nullptr), ZVK_FORCE_BAD_BUFFER);
        EXPECT_EQ(ZVK_Force_GrabBuffer(0, 1, nullptr, nullptr), ZVK_FORCE_BAD_BUFFER);
    };
    RunThread();
}

TEST_F(ForceBuffered, AReadThatTimesOutHandsOverWhatThereIs)
{
    BringUp();
    ASSERT_EQ(Start(2, 2000, 4), 0);
    card->FailCall("readAnalogF64", 2, -200284);
    RunThread();
    const auto posts = messages->Posts();
    ASSERT_EQ(posts.size(), 2U);
    EXPECT_EQ(posts[0].first, (int64_t{4} << 22) + 1500) << "with the half read's samples";
    EXPECT_EQ(posts[1].first, (int64_t{4} << 22) + 2000);
}

TEST_F(ForceBuffered, WhatAReadGivesBeyondTheBufferIsDropped)
{
    BringUp();
    ASSERT_EQ(Start(2, 1500, 4), 0);
    RunThread();
    EXPECT_EQ(messages->Posts()[0].first, (int64_t{4} << 22) + 1500);
}

TEST_F(ForceBuffered, ACardThatRefusesForEverEndsTheThread)
{
    BringUp();
    ASSERT_EQ(Start(), 0);
    (void)Daq().clearTask(g_force.TaskHandle);  // it is gone
    RunThread();
    EXPECT_EQ(g_force.ReadStatus, 0);
    EXPECT_EQ(g_force.ThreadAlive, 0);
    EXPECT_TRUE(messages->Posts().empty());
    g_force.TaskHandle = nullptr;
    card.emplace();
}

TEST_F(ForceBuffered, WithoutMemoryTheThreadAnswers1213)
{
    BringUp();
    ASSERT_EQ(Start(), 0);
    FailingMemory memory;
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Force_AcquireBufferedLoop(nullptr), ZVK_FORCE_NO_MEMORY);
    EXPECT_EQ(g_force.ThreadAlive, 0);
    EXPECT_EQ(g_force.Busy, 0);
}

TEST_F(ForceBuffered, WithoutARingTheThreadEndsAtOnce)
{
    EXPECT_EQ(ZVK_Force_AcquireBufferedLoop(nullptr), 0);
    EXPECT_EQ(g_force.ReadStatus, 0);
    g_force.Busy = 0;
    card.emplace();
}

TEST_F(ForceBuffered, EachRefusalOfTheCardIsReturnedAndClearsTheTask)
{
    for (int nth = 1; nth <= 4; ++nth) {
        ResetForce();
        BringUp();
        card->FailAt(nth, -50103);
        channels = 55;
        EXPECT_EQ(Start(), -50103) << nth;
        EXPECT_EQ(channels, 0);
        EXPECT_EQ(card->OpenTasks(), 0);
        EXPECT_NE(g_force.Ring, nullptr) << "the ring remains";
        EXPECT_TRUE(threads->Scheduled().empty());
        EXPECT_EQ(Start(), 0) << "and it can be tried again";
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    }
}

TEST_F(ForceBuffered, ARateOutOfRangeClearsTheTask)
{
    BringUp();
    EXPECT_EQ(ZVK_Force_AcquireBuffered(0, -2.0, 2, 1000, 1.0, 1, &channels),
              ZVK_FORCE_BAD_SAMPLE_RATE);
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_EQ(g_force.Busy, 0);
}

TEST_F(ForceBuffered, AThreadThatCantBeHadIsReturned)
{
    BringUp();
    threads->FailNextStart(-3);
    EXPECT_EQ(Start(), -3);
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_EQ(Start(), 0);
}

TEST_F(ForceBuffered, EachAllocationThatFailsLeavesNothing)
{
    for (int nth = 1; nth <= 6; ++nth) {
        ResetForce();
        BringUp();
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(Start(3), ZVK_FORCE_NO_MEMORY) << nth;
        EXPECT_EQ(memory.Live(), 0) << nth;
        EXPECT_EQ(g_force.Ring, nullptr);
        EXPECT_TRUE(card->Calls().empty());
    }
}

TEST_F(ForceBuffered, StopEndsTheThread_TheTask_AndTheRing)
{
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), ZVK_FORCE_NOT_INITIALIZED);
    BringUp();
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0) << "harmless without an acquisition";
    FailingMemory memory;
    ASSERT_EQ(Start(), 0);
    card->ForgetCalls();
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(card->Calls(), (Calls{"stopTask(t2)", "clearTask(t2)"}))
        << "a thread that comes late reads nothing";
    EXPECT_TRUE(messages->Posts().empty());
    EXPECT_EQ(g_force.Ring, nullptr);
    EXPECT_EQ(g_force.TaskHandle, nullptr);
    EXPECT_EQ(g_force.PoolFunctionId, -1);
    EXPECT_TRUE(threads->Held().empty());
    EXPECT_EQ(g_force.Busy, 0);
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(ForceBuffered, SimulatedMakesARingAndStopsOnlyOnce)
{
    folder.Write("config.ini", "[FORCE]\r\nMI = 1\r\nSIMULATE = 1\r\n");
    ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(channels, 0) << "not written back";
    EXPECT_NE(g_force.Ring, nullptr);
    EXPECT_TRUE(threads->Scheduled().empty());
    double block[1] = {};
    double *data = block;
    int32_t reading = 55;
    EXPECT_EQ(ZVK_Force_GrabBuffer(0, 1, &data, &reading), 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(reading, 0);
    g_force.KeepRunning = 1;
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(g_force.KeepRunning, 0);
    EXPECT_NE(g_force.Ring, nullptr) << "it stays allocated";
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), ZVK_FORCE_NOT_INITIALIZED);
    EXPECT_TRUE(card->Calls().empty());
}

TEST_F(ForceBuffered, ShutdownEndsTheThreadButNotTheRing)
{
    BringUp();
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(ZVK_Force_Shutdown(0), 0);
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_TRUE(threads->Held().empty());
    EXPECT_NE(g_force.Ring, nullptr);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(g_force.Ring, nullptr);
}

TEST_F(ForceBuffered, AFiniteOneIsBusyFromTheStartToTheStop)
{
    BringUp();
    ASSERT_EQ(Start(), 0);
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 1, nullptr), ZVK_FORCE_BUSY);
    s_onPost = [&](uint32_t, int64_t, int64_t) {
        EXPECT_EQ(g_force.Busy, 1);
        EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 1, nullptr), ZVK_FORCE_BUSY);
    };
    RunThread();
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 1, nullptr), ZVK_FORCE_BUSY)
        << "behind an overrun";
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 1, nullptr), 0);
}

TEST_F(ForceBuffered, AStopWithoutATaskLeavesTheModuleBusy)
{
    BringUp();
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, 1.0, 999, 1.0, &data, 1, nullptr), ZVK_FORCE_TOO_FEW_SAMPLES);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(g_force.Busy, 1);
}

TEST_F(ForceBuffered, AThreadThatFoundNoMemoryLeavesTheCardToTheNextAcquisition)
{
    BringUp();
    for (const bool finite : {true, false}) {
        ASSERT_EQ(Start(), 0);
        {
            FailingMemory memory;
            memory.FailAt(1);
            RunThread();
        }
        EXPECT_EQ(card->OpenTasks(), 1);
        HandedBlock data;
        if (finite)
            EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 1, nullptr), 0);
        else
            EXPECT_EQ(Start(), 0);
        EXPECT_EQ(card->OpenTasks(), finite ? 0 : 1) << "one task at a time";
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
        EXPECT_EQ(card->OpenTasks(), 0);
        EXPECT_TRUE(threads->Held().empty());
    }
}

TEST_F(ForceBuffered, WarningsOfTheCardStopOnlyTheLastStep)
{
    BringUp();
    for (int nth = 1; nth <= 4; ++nth) {
        card->FailAt(nth, 200010);
        EXPECT_EQ(Start(), nth < 4 ? 0 : 200010) << nth;
        EXPECT_EQ(channels, nth < 4 ? 3 : 0);
        EXPECT_EQ(card->OpenTasks(), nth < 4 ? 1 : 0);
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    }
}

TEST_F(ForceBuffered, TheLoopAnswersThatAReadTimedOut)
{
    BringUp();
    ASSERT_EQ(Start(2, 1000, 4), 0);
    card->FailCall("readAnalogF64", 1, -200284);
    EXPECT_EQ(ZVK_Force_AcquireBufferedLoop(nullptr), ZVK_FORCE_NO_TRIGGER);
    EXPECT_EQ(messages->Posts()[0].first, (int64_t{4} << 22) + 500) << "and it went on";
    EXPECT_EQ(messages->Posts().size(), 2U);
}

TEST_F(ForceBuffered, ARefusalOfOneReadLosesNothing)
{
    BringUp();
    std::vector<double> ramp(2000);
    std::iota(ramp.begin(), ramp.end(), 0.0);
    card->SupplySamples(ramp);
    ASSERT_EQ(Start(2, 2000, 4), 0);
    card->FailCall("readAnalogF64", 2, -50103);
    s_onPost = [&](uint32_t, int64_t, int64_t second) {
        std::vector<double> block(2000);
        double *data = block.data();
        EXPECT_EQ(ZVK_Force_GrabBuffer(0, static_cast<int32_t>(second >> 22), &data, nullptr), 0);
        EXPECT_EQ(block, ramp);
        g_force.KeepRunning = 0;
    };
    RunThread();
    EXPECT_EQ(messages->Posts().size(), 1U);
}

TEST_F(ForceBuffered, ANewRingReplacesTheOldOne)
{
    folder.Write("config.ini", "[FORCE]\r\nMI = 1\r\nSIMULATE = 1\r\n");
    ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    FailingMemory memory;
    EXPECT_EQ(Start(3), 0);
    EXPECT_EQ(Start(2), 0);
    EXPECT_EQ(memory.Live(), 4) << "two nodes with a block each";
    FreeRing();
}

TEST_F(ForceBuffered, OnlyTheCallersBlockIsWritten)
{
    BringUp();
    card->SupplySamples({1.0});
    ASSERT_EQ(Start(2, 1000, 4), 0);
    s_onPost = [&](uint32_t, int64_t, int64_t) {
        std::vector<double> block(1001, -1.0);
        double *data = block.data();
        EXPECT_EQ(ZVK_Force_GrabBuffer(0, 1, &data, nullptr), 0);
        EXPECT_EQ(data, block.data());
        EXPECT_EQ(block[0], 1.0);
        EXPECT_EQ(block[999], 1.0);
        EXPECT_EQ(block[1000], -1.0);
        g_force.KeepRunning = 0;
    };
    RunThread();
}
