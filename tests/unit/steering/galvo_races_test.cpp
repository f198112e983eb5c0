// The output event against calls that stop, rebuild and move: who waits for whom.

#include "galvo_session.h"

#include "platform/daqmx.h"
#include "steering/galvo_gate.h"

#include <atomic>
#include <thread>

using GalvoRaces = GalvoSessionTest;

TEST_F(GalvoRaces, EachCallOfARecoveryMayFailAndNothingLeaks)
{
    for (int nth = 1; nth <= 10; ++nth) {
        BringUp(0);
        (void)Daq().clearTask(
            g_galvoDaq.taskHandle);  // the card loses the task: the block is refused
        card->ForgetCalls();
        card->FailAt(nth);  // of the calls on the new task; those on the lost one don't count
        EXPECT_EQ(ZVK_Galvo_OnEveryNSamplesEvent(nullptr, 2, 50, nullptr), 0);
        EXPECT_TRUE(card->Failed()) << nth;
        card->FailAt(0);
        EXPECT_EQ(g_galvoDaq.daqInitialized, nth == 7 ? 1 : 0) << nth;
        EXPECT_LE(card->OpenTasks(), 1) << nth;
        EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), nth == 7 ? ZVK_GALVO_DAQ_ALREADY_INITIALIZED : 0)
            << "the next start works, " << nth;
        EXPECT_EQ(card->OpenTasks(), 1) << nth;
        EXPECT_EQ(ZVK_Galvo_Shutdown(0), 0);
        EXPECT_EQ(card->OpenTasks(), 0) << nth;
    }
}

static ZVK_DaqTable s_inner;
static std::atomic<bool> s_inside, s_cleared, s_left, s_early;
static int32_t s_runningAtStop = -1;

static int32_t HoldBlock(ZVK_DaqTask, int32_t, uint32_t, double, uint32_t, const double *,
                         int32_t *, uint32_t *)
{
    if (s_left) return 0;
    s_inside = true;
    while (!s_cleared)
        std::this_thread::yield();
    for (int i = 0; i < 1000; ++i)
        std::this_thread::yield();
    s_left = true;
    return -200088;
}
static int32_t NoteClear(ZVK_DaqTask task)
{
    const int32_t code = s_inner.clearTask(task);
    s_cleared = true;
    return code;
}
static int32_t NoteStop(ZVK_DaqTask task)
{
    s_runningAtStop = LoadFlag(g_galvoDaq.daqRunning);
    return s_inner.stopTask(task);
}
static int32_t NoteCreate(const char *name, ZVK_DaqTask *task)
{
    if (!s_left) s_early = true;
    return s_inner.createTask(name, task);
}

TEST_F(GalvoRaces, AClockUpdateWaitsForTheEventInsideWhoseRecoveryGivesUp)
{
    BringUp(0);
    s_inside = s_cleared = s_left = s_early = false;
    s_inner = Daq();
    static ZVK_DaqTable table;
    table = s_inner;
    table.writeAnalogF64 = HoldBlock;
    table.clearTask = NoteClear;
    table.createTask = NoteCreate;
    UseDaq(&table);
    std::thread event([] { ZVK_Galvo_OnEveryNSamplesEvent(nullptr, 2, 50, nullptr); });
    while (!s_inside)
        std::this_thread::yield();
    EXPECT_EQ(ZVK_Galvo_DaqClkUpdate(0, 1), 0);
    event.join();
    UseDaq(&s_inner);
    EXPECT_FALSE(s_early) << "the new task waits for the event that is inside";
    EXPECT_EQ(card->OpenTasks(), 1) << "one new task: the event's recovery gave up";
    EXPECT_EQ(g_galvoDaq.daqInitialized, 1);
    ZVK_Galvo_Shutdown(0);
}

TEST_F(GalvoRaces, StopWaitsForTheEventInsideBeforeItsBlockGoes)
{
    BringUp(0);
    s_inside = s_cleared = s_left = false;
    s_inner = Daq();
    static ZVK_DaqTable table;
    table = s_inner;
    table.writeAnalogF64 = HoldBlock;
    table.clearTask = NoteClear;
    table.stopTask = NoteStop;
    UseDaq(&table);
    std::thread event([] { ZVK_Galvo_OnEveryNSamplesEvent(nullptr, 2, 50, nullptr); });
    while (!s_inside)
        std::this_thread::yield();
    EXPECT_EQ(ZVK_Galvo_DaqStop(0), 0);
    EXPECT_TRUE(s_left) << "the block is freed only behind the event";
    event.join();
    UseDaq(&s_inner);
    EXPECT_EQ(s_runningAtStop, 0) << "cleared before the task is stopped";
    EXPECT_EQ(card->OpenTasks(), 0);
}

TEST_F(GalvoRaces, ShutdownFreesNothingUntilTheUpdateHasEnded)
{
    BringUp(0);
    s_cleared = false;
    s_inner = Daq();
    static ZVK_DaqTable table;
    table = s_inner;
    table.clearTask = NoteClear;
    UseDaq(&table);
    SetUpdating(1);
    int32_t up = -1;
    std::thread update([&] {
        while (!s_cleared)
            std::this_thread::yield();
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield();
        up = LoadFlag(g_galvo[0].initialized);
        SetUpdating(0);
    });
    EXPECT_EQ(ZVK_Galvo_Shutdown(0), 0);
    update.join();
    UseDaq(&s_inner);
    EXPECT_EQ(up, 1);
    EXPECT_EQ(g_galvo[0].initialized, 0);
}

TEST_F(GalvoRaces, AMoveIsRepeatedUntilTheUpdateHasEnded)
{
    BringUp(1);
    SetUpdating(1);
    clock->OnWait([] { SetUpdating(0); });
    EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 1.5, 1.5), 0);
    EXPECT_GE(clock->Breaths(), 1);
    EXPECT_EQ(g_galvo[0].targetX[0], 1.5);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_ONCE);
}
