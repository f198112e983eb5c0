// Two clients and the output event at full pace. Path A's samples always have Y = -X, and path B's
// waypoints always stand together: a block that was torn between two states would break one of the
// two.

#include "galvo_fixture.h"
#include "platform/daqmx.h"
#include "platform/memory.h"
#include "steering/galvo_gate.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

constexpr int32_t kSamples = 2400;  // shared evenly by 1 to 6 waypoints

namespace {

struct Tally
{
    std::atomic<int64_t> blocks{0};
    std::atomic<int64_t> torn{0};
    std::atomic<int64_t> inUse{0};     // 609
    std::atomic<int64_t> notReady{0};  // -610
    std::atomic<int64_t> done{0};
};

}  // namespace

static Tally s_tally;

// Takes a block as the card does, and looks whether it is of one piece.
static int32_t TakeBlock(ZVK_DaqTask, int32_t samples, uint32_t, double, uint32_t, const double *in,
                         int32_t *, uint32_t *)
{
    bool whole = samples == kSamples;
    for (int32_t s = 0; whole && s < kSamples; ++s) {
        whole = in[s + kSamples] == -in[s] && in[s + 2 * kSamples] == in[2 * kSamples] &&
                in[s + 3 * kSamples] == in[3 * kSamples];
    }
    s_tally.blocks += 1;
    if (!whole) s_tally.torn += 1;
    return 0;
}

static void Count(int32_t status)
{
    if (status == ZVK_GALVO_BUFFER_IN_USE)
        s_tally.inUse += 1;
    else if (status == ZVK_GALVO_NOT_READY)
        s_tally.notReady += 1;
    else if (status >= 0)
        s_tally.done += 1;
}

class GalvoThreads : public GalvoTest
{
protected:
    void SetUp() override
    {
        GalvoTest::SetUp();
        s_table = Daq();
        s_table.writeAnalogF64 = TakeBlock;
        UseDaq(&s_table);
        PrepareOutput(kSamples);
        Release(g_galvoDaq.buffer);
        g_galvoDaq.buffer = AllocateArray<double>(12LL * kSamples);
        g_galvoDaq.eventBlock = g_galvoDaq.buffer + 4LL * kSamples;
        g_galvoDaq.callerBlock = g_galvoDaq.buffer + 8LL * kSamples;
        g_galvoDaq.simulate = 0;
        g_galvoDaq.daqRunning = 1;
        g_galvoDaq.taskHandle = &s_task;
    }
    void TearDown() override
    {
        g_galvoDaq.taskHandle = nullptr;
        GalvoTest::TearDown();
        UseDaq(nullptr);
    }

    static ZVK_DaqTable s_table;
    static int s_task;
};

ZVK_DaqTable GalvoThreads::s_table;
int GalvoThreads::s_task = 0;

static std::chrono::milliseconds StressTime()
{
    const char *seconds = std::getenv("ZVK_STRESS_SECONDS");
    return seconds ? std::chrono::milliseconds(1000 * std::atoi(seconds))
                   : std::chrono::milliseconds(1500);
}

// Adds, removes, jumps and moves waypoints along the line Y = -X.
static void WorkPathA(const std::atomic<bool> &stop)
{
    uint32_t step = 0;
    while (!stop) {
        const int32_t count = g_galvo[0].NumOfWP;  // only this thread changes it
        const double v = 0.001 * (step % 997);
        int32_t wp = 0;
        switch (step++ % 7) {
        case 0:
            if (count < 6) Count(ZVK_Galvo_AddWaypoint(0, 0, &wp, v, -v));
            break;
        case 1:
            if (count > 2)
                Count(ZVK_Galvo_RemoveWaypoint(0, 0, static_cast<int32_t>(step % count)));
            break;
        case 2:
        case 3:
            Count(ZVK_Galvo_SetPosition(0, 0, static_cast<int32_t>(step % count), v, -v));
            break;
        case 4:
            ZVK_Galvo_SetSpeed(0, 0, 0, 1.0 + step % 50);
            Count(ZVK_Galvo_SetPositionTarget(0, 0, static_cast<int32_t>(step % count), -v, v));
            break;
        case 5:
            Count(ZVK_Galvo_SetMoveType(0, 0, static_cast<int32_t>(step % count),
                                        1 + static_cast<int32_t>(step % 3)));
            break;
        default: Count(ZVK_Galvo_WriteBuffer(0));
        }
    }
}

// Configures and jumps path B's waypoints all together, and reads both paths.
static void WorkPathB(const std::atomic<bool> &stop)
{
    uint32_t step = 0;
    while (!stop) {
        const double v = 0.002 * (step % 499);
        double x[6];
        double y[6];
        double speeds[6];
        int32_t modes[6];
        for (int i = 0; i < 6; ++i) {
            x[i] = v;
            y[i] = 2 * v;
            speeds[i] = 1;
            modes[i] = ZVK_MOVE_STAND;
        }
        const int32_t count = g_galvo[1].NumOfWP;
        if (step++ % 3 == 0) {
            Count(ZVK_Galvo_BufferConfigure(0, 1, 1 + static_cast<int32_t>(step % 6), x, y, speeds,
                                            modes));
        } else {
            Count(ZVK_Galvo_SetPositionAll(0, 1, count, x, y));
        }
        ZVK_Galvo_GetPositionCurrent(0, 0, 0, &x[0], &y[0]);
        int32_t points = 0;
        double *nodesX = nullptr;
        double *nodesY = nullptr;
        if (step % 64 == 0 && ZVK_Galvo_GetTrajectory(0, 0, 0, &points, &nodesX, &nodesY) == 0) {
            std::free(nodesX);
            std::free(nodesY);
        }
    }
}

static void FireEventsUntil(std::chrono::steady_clock::time_point end)
{
    // A loaded machine may take longer until both ways of giving way have been met.
    const auto last = end + std::chrono::seconds(30);
    const auto isOver = [&] {
        const auto now = std::chrono::steady_clock::now();
        return now >= last || (now >= end && s_tally.inUse > 0 && s_tally.notReady > 0);
    };
    while (!isOver()) {
        ZVK_Galvo_OnEveryNSamplesEvent(nullptr, 2, kSamples, nullptr);
        Count(ZVK_Galvo_UpdateBuffer());
    }
}

TEST_F(GalvoThreads, TwoClientsAndTheEventNeverTearABlock)
{
    double x = 0.5;
    double y = -0.5;
    const double speed = 1;
    const int32_t mode = ZVK_MOVE_STAND;
    ASSERT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 1, &x, &y, &speed, &mode), 0);
    ASSERT_EQ(ZVK_Galvo_BufferConfigure(0, 1, 1, &x, &y, &speed, &mode), 0);
    std::atomic<bool> stop{false};
    std::thread clientA(WorkPathA, std::cref(stop));
    std::thread clientB(WorkPathB, std::cref(stop));
    FireEventsUntil(std::chrono::steady_clock::now() + StressTime());
    stop = true;
    clientA.join();
    clientB.join();
    EXPECT_EQ(s_tally.torn, 0) << "of " << s_tally.blocks;
    EXPECT_GT(s_tally.blocks, 0);
    EXPECT_GT(s_tally.done, 0);
    EXPECT_GT(s_tally.inUse, 0) << "609 has been a real outcome";
    EXPECT_GT(s_tally.notReady, 0) << "-610 and the skipped block too";
    std::printf("blocks %lld, done %lld, 609: %lld, -610: %lld\n",
                static_cast<long long>(s_tally.blocks), static_cast<long long>(s_tally.done),
                static_cast<long long>(s_tally.inUse), static_cast<long long>(s_tally.notReady));
}
