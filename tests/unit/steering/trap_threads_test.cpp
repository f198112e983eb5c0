// Two clients make, steer and delete traps while a display thread reads them and the output event
// runs.

#include "steering_fixture.h"

#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>

constexpr int kSteps = 1500;        // of each client
constexpr int32_t kMostTraps = 24;  // on a path, about

class TrapThreads : public SteeringTest
{
protected:
    // One call of a client, on a trap that may be deleted at any moment. Each client deletes on a
    // path of its own, so that no list becomes empty.
    static int32_t oneStep(std::mt19937 &random, int32_t ownPath);
    static int32_t anyTrap(int32_t path, std::mt19937 &random);
    static void readLikeTheDisplay(std::atomic<bool> &done);
    static void tickLikeTheOutput(std::atomic<bool> &done);
};

int32_t TrapThreads::anyTrap(int32_t path, std::mt19937 &random)
{
    // The list may grow after the count: room for what both clients can add.
    int32_t indices[10 * kMostTraps] = {};
    int32_t count = 0;
    if (ZVK_Trap_GetNumberOfTraps(0, path, &count) != 0) return 0;
    (void)ZVK_Trap_GetIndexList(0, path, indices);
    return indices[random() % count];
}

static int32_t CountOf(int32_t path)
{
    int32_t count = 0;
    (void)ZVK_Trap_GetNumberOfTraps(0, path, &count);
    return count;
}

static int32_t AddOne(int32_t path, std::mt19937 &random)
{
    if (CountOf(path) >= kMostTraps) return 0;
    int32_t index = 0;
    const double x = random() % 100 / 50.0 - 1.0;
    return ZVK_Trap_Add(0, path, &index, 1.0, "client", x, x, ZVK_UNIT_VOLT);
}

static int32_t RunOne(int32_t path, int32_t index)
{
    const double x[3] = {0.0, 0.1, 0.2};
    double speed = 0.0;
    double frequency = 0.0;
    int32_t status = ZVK_Trap_SetTrajectory(0, path, index, 3, x, x, &speed);
    if (status != 0) return status;
    status = ZVK_Trap_TrajectoryRun(0, path, index, 1, ZVK_MOVE_BACK_AND_FORTH, 1, &frequency);
    if (status != 0) return status;
    int32_t points = 0;
    double *xOut = nullptr;
    double *yOut = nullptr;
    status = ZVK_Trap_GetTrajectory(0, path, index, &points, &xOut, &yOut);
    std::free(xOut);
    std::free(yOut);
    return status;
}

static int32_t SteerOne(int32_t path, int32_t index, std::mt19937 &random)
{
    double x = random() % 100 / 50.0 - 1.0;
    double y = -x;
    int32_t other = 0;
    int32_t running = 0;
    switch (random() % 10) {
    case 0: return ZVK_Trap_SetPosition(0, path, index, &x, &y, ZVK_UNIT_VOLT, 0);
    case 1: return ZVK_Trap_GotoSetPosition(0, path, index);
    case 2: return ZVK_Trap_MoveToSetPosition(0, path, index);
    case 3: return ZVK_Trap_SetSpeed(0, path, index, 1.0 + x * x, ZVK_UNIT_VOLT);
    case 4: return ZVK_Trap_GetPosition(0, path, index, &x, &y, ZVK_UNIT_PIXEL);
    case 5: return ZVK_Trap_GetMoveType(0, path, index, &other, &running);
    case 6: return ZVK_Trap_SetName(0, path, index, "another name");
    case 7: return ZVK_Trap_SetActive(0, path, index, 1, 1);
    case 8: return ZVK_Trap_SetMoveType(0, path, index, ZVK_MOVE_STAND);
    default: return ZVK_Trap_GetSpeed(0, path, index, &x, ZVK_UNIT_MICROMETER);
    }
}

static int32_t DeleteSome(int32_t ownPath, int32_t index)
{
    if (CountOf(ownPath) >= kMostTraps) return ZVK_Trap_DeleteAll(0, ownPath);
    return CountOf(ownPath) > 1 ? ZVK_Trap_Delete(0, ownPath, index) : 0;
}

int32_t TrapThreads::oneStep(std::mt19937 &random, int32_t ownPath)
{
    const int32_t path = random() % 2;
    const int32_t index = anyTrap(path, random);
    switch (random() % 8) {
    case 0:
    case 1: return AddOne(path, random);
    case 2: return DeleteSome(ownPath, anyTrap(ownPath, random));
    case 3: return RunOne(path, index);
    default: return SteerOne(path, index, random);
    }
}

void TrapThreads::readLikeTheDisplay(std::atomic<bool> &done)
{
    static char text[10 * kMostTraps][kTrapLabelRoom];
    char *labels[10 * kMostTraps];
    for (int i = 0; i < 10 * kMostTraps; ++i)
        labels[i] = text[i];
    double x[10 * kMostTraps];
    double y[10 * kMostTraps];
    do {
        for (int32_t path = 0; path < 2; ++path) {
            for (const int32_t unit : {ZVK_UNIT_PIXEL, ZVK_UNIT_VOLT}) {
                int32_t count = 0;
                const int32_t status =
                    ReadTrapArray(path, 10 * kMostTraps, &count, x, y, nullptr, labels, unit);
                EXPECT_TRUE(status == 0 || status == ZVK_GALVO_OUT_OF_RANGE) << status;
            }
        }
    } while (!done);
}

void TrapThreads::tickLikeTheOutput(std::atomic<bool> &done)
{
    do {
        ZVK_Galvo_SimEveryNSamplesEvent(0, 1, ZVK_EVENT_TIMER_TICK, nullptr, 0, 0);
        std::this_thread::yield();
    } while (!done);
}

TEST_F(TrapThreads, ListsAndWaypointsAreInStepAfterTwoClientsAReaderAndTheEvent)
{
    bringUp();
    std::atomic<bool> done{false};
    std::thread display([&] { readLikeTheDisplay(done); });
    std::thread output([&] { tickLikeTheOutput(done); });
    const auto work = [](int32_t ownPath) {
        std::mt19937 random(ownPath);
        for (int step = 0; step < kSteps; ++step) {
            const int32_t status = oneStep(random, ownPath);
            ASSERT_TRUE(status == 0 || status == ZVK_TRAP_BAD_INDEX ||
                        status == ZVK_TRAP_NO_TRAJECTORY)
                << status;
        }
    };
    std::thread first([&] { work(0); });
    std::thread second([&] { work(1); });
    first.join();
    second.join();
    done = true;
    display.join();
    output.join();

    for (int32_t path = 0; path < 2; ++path) {
        EXPECT_EQ(trapCount(path), g_galvo[path].NumOfWP);
        std::vector<int32_t> expected;
        for (int32_t wp = trapCount(path) - 1; wp >= 0; --wp)
            expected.push_back(wp);
        EXPECT_EQ(waypoints(path), expected);
    }
}

TEST_F(TrapThreads, TheModuleGoesUpAndDownWhileAReaderLooks)
{
    std::atomic<bool> done{false};
    std::thread display([&] {
        do {
            for (int32_t path = 0; path < 2; ++path) {
                double x[4];
                double y[4];
                int32_t count = 0;
                const int32_t status =
                    ReadTrapArray(path, 4, &count, x, y, nullptr, nullptr, ZVK_UNIT_VOLT);
                EXPECT_TRUE(status == 0 || status == ZVK_TRAP_BAD_INDEX ||
                            status == ZVK_GALVO_OUT_OF_RANGE)
                    << status;
            }
        } while (!done);
    });
    for (int round = 0; round < 30; ++round) {
        bringUpTraps();
        addTrap(0, 1.0, 1.0);
        EXPECT_EQ(ZVK_Trap_Shutdown(0), 0);
    }
    done = true;
    display.join();
}

TEST_F(TrapThreads, AnArrayReadByTwoThreadsAtOnceIsWholeInBoth)
{
    bringUp();
    addTrap(0, 1.0, 2.0);
    addTrap(0, -1.0, -2.0);
    std::atomic<int> wrong{0};
    const auto read = [&](int32_t path, int32_t unit) {
        for (int i = 0; i < 3000; ++i) {
            double x[3] = {};
            double y[3] = {};
            const int32_t status = ZVK_Trap_GetArray(0, path, x, y, nullptr, nullptr, unit);
            const bool isWhole = path == 1 ? x[0] == -0.5 && x[1] == 0.0
                                 : unit == ZVK_UNIT_PIXEL
                                     ? x[0] == 400.0 && x[1] == 600.0 && y[2] == 375.0
                                     : x[0] == -1.0 && x[1] == 1.0 && y[2] == -0.25;
            if (status != 0 || !isWhole) ++wrong;
        }
    };
    std::thread first([&] { read(0, ZVK_UNIT_PIXEL); });
    std::thread second([&] { read(0, ZVK_UNIT_VOLT); });
    read(1, ZVK_UNIT_VOLT);
    first.join();
    second.join();
    EXPECT_EQ(wrong, 0);
}
