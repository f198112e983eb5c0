// Every-N-samples events of the virtual card.

#include "card_fixture.h"

#include <atomic>
#include <thread>

using DaqCardEvents = CardFixture;

// What a callback saw and what it is to do.
struct Listener
{
    ~Listener() { ZVC_Reset(); }  // no callback looks at it any more

    std::atomic<int> calls{0};
    std::thread::id thread;
    ZVC_Task task = nullptr;
    int32_t type = 0;
    uint32_t samples = 0;
    double timeS = 0.0;
    int32_t blockToWrite = 0;  // 0: none
    int32_t writeResult = 0;
    Gate *entered = nullptr;
    Gate *mayLeave = nullptr;
};

static int32_t Listen(ZVC_Task task, int32_t type, uint32_t samples, void *data)
{
    auto &listener = *static_cast<Listener *>(data);
    listener.thread = std::this_thread::get_id();
    listener.task = task;
    listener.type = type;
    listener.samples = samples;
    listener.timeS = ZVC_Now();
    if (listener.blockToWrite > 0)
        listener.writeResult = WriteSteps(task, listener.blockToWrite, 100 * (listener.calls + 1));
    ++listener.calls;
    if (listener.entered) listener.entered->Open();
    if (listener.mayLeave) listener.mayLeave->Pass();
    return 0;
}

static ZVC_Task StartListening(Listener &listener, uint32_t interval,
                               const StreamSettings &settings = {})
{
    ZVC_Task task = MakeStream(settings);
    EXPECT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, interval, 0, Listen, &listener),
              0);
    EXPECT_EQ(WriteSteps(task, static_cast<int32_t>(settings.samples)), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
    return task;
}

TEST_F(DaqCardEvents, OneComesForEachIntervalOnAThreadOfTheCard)
{
    Listener listener;
    ZVC_Task task = StartListening(listener, 25, {.channels = "Dev1/ao0:1"});
    EXPECT_EQ(listener.calls, 0);

    ASSERT_EQ(ZVC_Advance(0.024), ZVC_OK);
    EXPECT_EQ(listener.calls, 0);
    ASSERT_EQ(ZVC_Advance(0.001), ZVC_OK);
    EXPECT_EQ(listener.calls, 1);
    EXPECT_DOUBLE_EQ(listener.timeS, 0.025);
    ASSERT_EQ(ZVC_Advance(0.060), ZVC_OK);
    EXPECT_EQ(listener.calls, 3);
    EXPECT_DOUBLE_EQ(listener.timeS, 0.075);  // at its own moment, not at the end

    EXPECT_NE(listener.thread, std::this_thread::get_id());
    EXPECT_EQ(listener.task, task);
    EXPECT_EQ(listener.type, kTransferred);
    EXPECT_EQ(listener.samples, 25U);
}

TEST_F(DaqCardEvents, ABlockWrittenAtEachEventKeepsTheOutputGoing)
{
    ASSERT_EQ(ZVC_SetOnBoardMemory(0), ZVC_OK);
    Listener listener;
    listener.blockToWrite = 100;
    ZVC_Task task = StartListening(listener, 100, {.channels = "Dev1/ao0:3"});

    ASSERT_EQ(ZVC_AdvanceSamples("Dev1/ao0", 1000), ZVC_OK);

    EXPECT_EQ(listener.calls, 10);
    EXPECT_EQ(listener.writeResult, 0);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
    const std::vector<int> written = WrittenMillivolts("Dev1/ao0");
    ASSERT_EQ(written.size(), 1100U);
    for (size_t i = 0; i < written.size(); ++i)
        ASSERT_EQ(written[i], static_cast<int>(i));
}

TEST_F(DaqCardEvents, ABlockLargerThanTheIntervalWaitsUntilSoMuchIsPlayed)
{
    Listener listener;
    listener.blockToWrite = 100;
    (void)StartListening(listener, 25);

    EXPECT_EQ(ZVC_Advance(0.025), ZVC_STILL_INSIDE);  // room for 25 of 100
    EXPECT_EQ(ZVC_CountWaiting(), 1);
    EXPECT_EQ(listener.calls, 0);
    EXPECT_EQ(ZVC_Advance(0.075), ZVC_STILL_INSIDE);  // done, but the next one is in the same place
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(listener.writeResult, 0);
    EXPECT_EQ(ZVC_CountWritten("Dev1/ao0"), 200U);
}

TEST_F(DaqCardEvents, TheSizeOfTheIntervalIsCheckedAtTheStart)
{
    Listener listener;
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 30, 0, Listen, &listener), 0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    EXPECT_EQ(DAQmxStartTask(task), -200877);
    EXPECT_NE(LastFailure().find("Interval: 30, buffer: 100 samples."), std::string::npos);

    ASSERT_EQ(DAQmxCfgOutputBuffer(task, 90), 0);
    ASSERT_EQ(WriteSteps(task, 90), 0);
    EXPECT_EQ(DAQmxStartTask(task), 0);
}

TEST_F(DaqCardEvents, ARegistrationThatCannotBeIsRefused)
{
    Listener listener;
    ZVC_Task task = MakeStream();
    const auto put = [&](ZVC_Task to, int32_t type, uint32_t interval, uint32_t options) {
        return DAQmxRegisterEveryNSamplesEvent(to, type, interval, options, Listen, &listener);
    };
    EXPECT_EQ(put(task, kTransferred, 0, 0), -200880);
    EXPECT_EQ(put(task, kAcquired, 10, 0), -200849);
    EXPECT_EQ(put(task, 3, 10, 0), -200849);
    EXPECT_EQ(put(task, kTransferred, 10, 1), -200942);
    EXPECT_EQ(put(MakeInput(), kAcquired, 10, 0), -200848);
    EXPECT_EQ(InfoOf(task).eventType, 0);
    EXPECT_EQ(put(task, kTransferred, 10, 0), 0);
    EXPECT_EQ(put(task, kTransferred, 10, 0), -200881);

    ZVC_Task running = StartStream({.channels = "Dev2/ao0"});
    EXPECT_EQ(put(running, kTransferred, 10, 0), -200960);
    ZVC_Task empty = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &empty), 0);
    EXPECT_EQ(put(empty, kTransferred, 10, 0), -200478);
}

TEST_F(DaqCardEvents, ANullCallbackTakesTheRegistrationAway)
{
    Listener listener;
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 10, 0, Listen, &listener), 0);
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 10, 0, nullptr, nullptr), 0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);
    EXPECT_EQ(listener.calls, 0);
    EXPECT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 10, 0, nullptr, nullptr),
              -200960);
    ASSERT_EQ(DAQmxStopTask(task), 0);
    EXPECT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 10, 0, Listen, &listener), 0);
}

TEST_F(DaqCardEvents, AStopDiscardsThoseThatArePending)
{
    Gate entered;
    Gate mayLeave;
    Listener listener;
    listener.entered = &entered;
    listener.mayLeave = &mayLeave;
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);  // four intervals are over at the start
    ZVC_Task task = StartListening(listener, 25);
    entered.Pass();

    EXPECT_EQ(DAQmxStopTask(task), 0);  // with the callback inside
    mayLeave.Open();
    ASSERT_EQ(DAQmxClearTask(task), 0);
    ZVC_Reset();  // waits for the thread
    EXPECT_EQ(listener.calls, 1);
}

TEST_F(DaqCardEvents, NeitherStopNorClearWaitsForACallback)
{
    Gate entered;
    Gate mayLeave;
    Listener listener;
    listener.entered = &entered;
    listener.mayLeave = &mayLeave;
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    ZVC_Task task = StartListening(listener, 100);
    entered.Pass();

    EXPECT_EQ(DAQmxStopTask(task), 0);
    EXPECT_EQ(InfoOf(task).inCallback, 1);
    EXPECT_EQ(DAQmxClearTask(task), 0);
    EXPECT_EQ(ZVC_CountTasks(), 0);
    mayLeave.Open();
    ZVC_Reset();  // but this does
    EXPECT_EQ(listener.calls, 1);
}

static int32_t RebuildItself(ZVC_Task task, int32_t, uint32_t, void *data)
{
    auto &results = *static_cast<std::vector<int32_t> *>(data);
    results = {DAQmxStopTask(task), DAQmxClearTask(task), DAQmxStopTask(task)};
    ZVC_Task next = StartStream();
    results.push_back(InfoOf(next).state);
    return 0;
}

TEST_F(DaqCardEvents, ATaskMayBeStoppedClearedAndMadeAnewInItsOwnCallback)
{
    std::vector<int32_t> results;
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 50, 0, RebuildItself, &results),
              0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);

    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);

    EXPECT_EQ(results, (std::vector<int32_t>{0, 0, -200088, ZVC_RUNNING}));
    EXPECT_EQ(ZVC_CountTasks(), 1);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 50U + 50U);
}

TEST_F(DaqCardEvents, ARestartedTaskCountsItsIntervalsAnew)
{
    Listener listener;
    ZVC_Task task = StartListening(listener, 50);
    ASSERT_EQ(ZVC_Advance(0.090), ZVC_OK);
    ASSERT_EQ(DAQmxStopTask(task), 0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.049), ZVC_OK);
    EXPECT_EQ(listener.calls, 1);
    ASSERT_EQ(ZVC_Advance(0.001), ZVC_OK);
    EXPECT_EQ(listener.calls, 2);
}

TEST_F(DaqCardEvents, ARegeneratingOutputHasThemToo)
{
    Listener listener;
    (void)StartListening(listener, 50, {.regenerates = true});
    ASSERT_EQ(ZVC_Advance(1.0), ZVC_OK);
    EXPECT_EQ(listener.calls, 20);
}

static int32_t ReadInterval(ZVC_Task task, int32_t type, uint32_t samples, void *data)
{
    EXPECT_EQ(type, kAcquired);
    const std::vector<double> volts = ReadSamples(task, static_cast<int32_t>(samples));
    auto &all = *static_cast<std::vector<double> *>(data);
    all.insert(all.end(), volts.begin(), volts.end());
    return 0;
}

TEST_F(DaqCardEvents, AnInputTellsWhatItHasAcquired)
{
    ASSERT_EQ(ZVC_SetRamp("Dev1/ai0", 0.0, 1.0), ZVC_OK);
    ZVC_Task task = MakeInput("Dev1/ai0", 100, 1000.0, kContinuous);
    std::vector<double> all;
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kAcquired, 10, 0, ReadInterval, &all), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.055), ZVC_OK);
    ASSERT_EQ(all.size(), 50U);
    EXPECT_EQ(all[49], 49.0);
}

TEST_F(DaqCardEvents, ADryOutputHasNoMoreOfThem)
{
    ASSERT_EQ(ZVC_SetOnBoardMemory(0), ZVC_OK);
    Listener listener;
    ZVC_Task task = StartListening(listener, 50);
    ASSERT_EQ(ZVC_Advance(10.0), ZVC_OK);
    EXPECT_EQ(listener.calls, 2);
    EXPECT_EQ(InfoOf(task).state, ZVC_FAILED);
}

static int32_t TryToAdvance(ZVC_Task, int32_t, uint32_t, void *data)
{
    *static_cast<int32_t *>(data) = ZVC_Advance(1.0);
    return 0;
}

TEST_F(DaqCardEvents, ACallbackDoesNotMoveTime)
{
    int32_t result = 0;
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 50, 0, TryToAdvance, &result), 0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    ASSERT_EQ(ZVC_Advance(0.05), ZVC_OK);
    EXPECT_EQ(result, ZVC_IN_CALLBACK);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 0.05);
}

TEST_F(DaqCardEvents, TasksHaveThreadsOfTheirOwn)
{
    Gate mayLeave;
    Gate entered;
    Gate came;
    Listener first;
    first.mayLeave = &mayLeave;
    first.entered = &entered;
    Listener second;
    second.entered = &came;
    ASSERT_EQ(ZVC_SetPace(ZVC_PACE_FAST), ZVC_OK);
    (void)StartListening(first, 100, {.channels = "Dev1/ao0"});
    entered.Pass();
    (void)StartListening(second, 100, {.channels = "Dev2/ao0"});
    EXPECT_TRUE(came.PassWithin(60.0));  // though the first one is held
    mayLeave.Open();
    EXPECT_NE(first.thread, second.thread);
}

TEST_F(DaqCardEvents, TimeGoesOnWithoutACallbackThatDoesNotReturn)
{
    Gate mayLeave;
    Listener listener;
    listener.mayLeave = &mayLeave;
    ASSERT_EQ(ZVC_SetPatience(0.01), ZVC_OK);
    (void)StartListening(listener, 25);
    EXPECT_EQ(ZVC_Advance(0.06), ZVC_NOT_RETURNED);
    EXPECT_DOUBLE_EQ(ZVC_Now(), 0.06);
    EXPECT_EQ(ZVC_CountPlayed("Dev1/ao0"), 60U);

    mayLeave.Open();
    ASSERT_EQ(ZVC_SetPatience(60.0), ZVC_OK);
    EXPECT_EQ(ZVC_Advance(0.0), ZVC_OK);  // the second one was pending
    EXPECT_EQ(listener.calls, 2);
    EXPECT_EQ(ZVC_SetPatience(0.0), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_SetPatience(3601.0), ZVC_BAD_ARGUMENT);
}

static int32_t ResetTheCard(ZVC_Task task, int32_t, uint32_t, void *data)
{
    ZVC_Reset();  // can't wait for itself
    *static_cast<int32_t *>(data) = DAQmxStopTask(task);
    return 0;
}

TEST_F(DaqCardEvents, ACallbackMayResetTheCard)
{
    int32_t result = 0;
    ZVC_Task task = MakeStream();
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 50, 0, ResetTheCard, &result), 0);
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    EXPECT_EQ(ZVC_Advance(0.05), ZVC_OK);
    ZVC_Reset();  // waits for it
    EXPECT_EQ(result, -200088);
    EXPECT_EQ(ZVC_CountTasks(), 0);
}
