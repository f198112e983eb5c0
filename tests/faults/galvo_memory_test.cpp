// Each allocation of the galvo calls fails in turn: the told status comes, no block leaks, and the
// next call works.

#include "failing_memory.h"
#include "failing_new.h"
#include "galvo_session.h"
#include "platform/memory.h"

#include <cstdlib>
#include <functional>

class GalvoMemory : public GalvoSessionTest
{
protected:
    // Runs prepare and act again and again, with the first, second... allocation of act failing,
    // until all have been tried. `told` is the status of a failure.
    void FailEach(int32_t told, const std::function<void()> &prepare,
                  const std::function<int32_t()> &act)
    {
        for (int nth = 1;; ++nth) {
            ASSERT_LT(nth, 200);
            FailingMemory memory;
            ResetGalvo();
            prepare();
            memory.FailAt(nth);
            const int32_t status = act();
            const bool failed = memory.Failed();
            memory.FailAt(0);
            EXPECT_EQ(status, failed ? told : 0) << "allocation " << nth;
            if (failed) {
                EXPECT_EQ(act(), 0) << "the next call works, after allocation " << nth;
            }
            ResetGalvo();
            EXPECT_EQ(memory.Live(), 0) << "a block leaked at allocation " << nth;
            if (!failed) {
                EXPECT_GT(nth, 1) << "the call allocates nothing";
                return;
            }
        }
    }
};

static int32_t ConfigureThree()
{
    double x[3] = {1, 2, 3};
    double y[3] = {1, 2, 3};
    const double speeds[3] = {1, 1, 1};
    const int32_t modes[3] = {3, 3, 3};
    return ZVK_Galvo_BufferConfigure(0, 0, 3, x, y, speeds, modes);
}

TEST_F(GalvoMemory, BufferConfigure)
{
    FailEach(
        ZVK_GALVO_NO_MEMORY, [] { PrepareOutput(30); }, ConfigureThree);
}

TEST_F(GalvoMemory, BufferConfigureThatFailsLeavesNoListAndDataNotReady)
{
    PrepareOutput(30);
    ASSERT_EQ(ConfigureThree(), 0);
    {
        FailingMemory memory;
        memory.FailAt(4);
        EXPECT_EQ(ConfigureThree(), ZVK_GALVO_NO_MEMORY);
    }
    EXPECT_EQ(g_galvo[0].NumOfWP, 0);
    EXPECT_EQ(g_galvoDaq.dataReady, 0);
    EXPECT_EQ(ZVK_Galvo_UpdateBuffer(), ZVK_GALVO_NOT_READY);
    double x = 0;
    double y = 0;
    EXPECT_EQ(ZVK_Galvo_GetPositionCurrent(0, 0, 0, &x, &y), ZVK_GALVO_OUT_OF_RANGE);
}

TEST_F(GalvoMemory, AddWaypoint)
{
    FailEach(
        ZVK_GALVO_NO_MEMORY, [] { PrepareOutput(30); },
        [] {
            int32_t wp = 0;
            return ZVK_Galvo_AddWaypoint(0, 0, &wp, 1, 1);
        });
}

TEST_F(GalvoMemory, AddWaypointThatFailsLeavesTheListAndDataNotReady)
{
    PrepareOutput(30);
    ASSERT_EQ(ConfigureThree(), 0);
    const std::vector<double> before = AllSamples();
    int32_t wp = 77;
    {
        FailingMemory memory;
        memory.FailAt(5);
        EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 1, 1), ZVK_GALVO_NO_MEMORY);
    }
    EXPECT_EQ(wp, 77);
    EXPECT_EQ(g_galvo[0].NumOfWP, 3);
    EXPECT_EQ(AllSamples(), before);
    EXPECT_EQ(g_galvoDaq.dataReady, 0);
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), ZVK_GALVO_NOT_READY);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 5, 5), 0);
    EXPECT_EQ(g_galvoDaq.dataReady, 1) << "until a later call succeeds";
}

TEST_F(GalvoMemory, RemoveWaypoint)
{
    FailEach(
        ZVK_GALVO_NO_MEMORY,
        [] {
            PrepareOutput(30);
            ASSERT_EQ(ConfigureThree(), 0);
        },
        [] { return ZVK_Galvo_RemoveWaypoint(0, 0, 1); });
}

TEST_F(GalvoMemory, SetPositionAll)
{
    FailEach(
        ZVK_GALVO_NO_MEMORY,
        [] {
            PrepareOutput(30);
            ASSERT_EQ(ConfigureThree(), 0);
        },
        [] {
            double x[3] = {4, 5, 6};
            double y[3] = {4, 5, 6};
            return ZVK_Galvo_SetPositionAll(0, 0, 3, x, y);
        });
}

static int32_t SetLine()
{
    double x[2] = {0, 1};
    double y[2] = {0, 1};
    double speed = 0;
    return ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &speed, 1);
}

TEST_F(GalvoMemory, SetTrajectory)
{
    FailEach(
        ZVK_GALVO_NO_MEMORY,
        [] {
            PrepareOutput(30);
            ASSERT_EQ(ConfigureThree(), 0);
        },
        SetLine);
}

TEST_F(GalvoMemory, SetTrajectoryThatFailsKeepsTheOldList)
{
    PrepareOutput(30);
    ASSERT_EQ(ConfigureThree(), 0);
    {
        FailingMemory memory;
        memory.FailAt(1);
        EXPECT_EQ(SetLine(), ZVK_GALVO_NO_MEMORY);
        memory.FailAt(1);
        EXPECT_EQ(ZVK_Galvo_SetPositionTarget(0, 0, 0, 9, 9), 0)
            << "whose result drops that of the line";
    }
    EXPECT_EQ(g_galvo[0].lists[0]->x, 1.0);
    EXPECT_EQ(g_galvoDaq.dataReady, 0);
}

TEST_F(GalvoMemory, GetTrajectory)
{
    FailEach(
        ZVK_GALVO_NO_MEMORY,
        [] {
            PrepareOutput(30);
            ASSERT_EQ(ConfigureThree(), 0);
            ASSERT_EQ(SetLine(), 0);
        },
        [] {
            int32_t count = 0;
            double *x = nullptr;
            double *y = nullptr;
            const int32_t status = ZVK_Galvo_GetTrajectory(0, 0, 0, &count, &x, &y);
            if (status < 0) {
                EXPECT_EQ(x, nullptr);
                EXPECT_EQ(y, nullptr);
            }
            Memory().release(x);
            Memory().release(y);
            return status;
        });
}

// Reading the keys allocates too and has statuses of its own: only the sample block is of interest.
static int64_t AllocationsOfStart()
{
    FailingMemory memory;
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0);
    return memory.Allocations();
}

TEST_F(GalvoMemory, StartOnHardwareAndSimulated)
{
    for (int simulate : {0, 1}) {
        WriteConfig(simulate);
        ResetGalvo();
        const int64_t last = AllocationsOfStart();
        ResetGalvo();
        {
            FailingMemory memory;
            memory.FailAt(last);
            EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), ZVK_GALVO_NO_MEMORY) << simulate;
            EXPECT_TRUE(memory.Failed());
            EXPECT_EQ(g_galvoDaq.daqInitialized, 0);
            EXPECT_TRUE(timers->Timers().empty()) << "no timer is left behind";
            EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), 0) << "the next start works";
            ResetGalvo();
            EXPECT_EQ(memory.Live(), 0);
        }
    }
}

TEST_F(GalvoMemory, EachCppAllocationOfAStartEndsInAStatus)
{
    WriteConfig(0);
    for (int nth = 1; nth < 400; ++nth) {
        ResetGalvo();
        int32_t status = 0;
        bool failed = false;
        {
            FailingNew allocations(nth);
            status = ZVK_Galvo_DaqInit(0, 1);
            failed = allocations.Failed();
        }
        card->ForgetCalls();
        if (!failed) {
            EXPECT_EQ(status, 0);
            EXPECT_GT(nth, 10);
            return;
        }
        EXPECT_LT(status, 0) << "allocation " << nth;
        EXPECT_EQ(g_galvoDaq.daqInitialized, 0);
    }
    FAIL() << "the start never got through";
}
