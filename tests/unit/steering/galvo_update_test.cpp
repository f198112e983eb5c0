#include "galvo_fixture.h"
#include "steering/galvo_gate.h"
#include "steering/galvo_nodes.h"

#include <cmath>
#include <random>
#include <thread>

namespace {

// The block's step as it is told, sample by sample: what ZVK_Galvo_UpdateBuffer has to equal bit
// for bit, whatever runs it fills.
struct Model
{
    struct Node
    {
        int32_t count;
        int32_t dwell;
        double x;
        double y;
    };
    struct Waypoint
    {
        std::vector<Node> list;
        size_t at = 0;
        int32_t mode = 3;
        int32_t direction = 1;
        double x = 0;
        double y = 0;
    };
    int32_t n = 0;
    std::vector<double> samples;
    std::vector<Waypoint> paths[2];

    bool AdvanceOnce(int path, size_t w, int32_t slot)
    {
        Waypoint &wp = paths[path][w];
        double *bx = samples.data() + 2 * path * n;
        double *by = bx + n;
        for (int32_t s = static_cast<int32_t>(w) * slot; s < (static_cast<int32_t>(w) + 1) * slot;
             ++s) {
            Node &node = wp.list[wp.at];
            bx[s] = node.x;
            by[s] = node.y;
            ++node.count;
            if (node.count < node.dwell) continue;
            node.count = 0;
            if (wp.at + 1 == wp.list.size()) {
                wp.mode = 3;
                for (int32_t t = static_cast<int32_t>(w) * slot;
                     t < (static_cast<int32_t>(w) + 1) * slot; ++t) {
                    bx[t] = node.x;
                    by[t] = node.y;
                }
                wp.x = node.x;
                wp.y = node.y;
                wp.at = 0;
                return true;
            }
            ++wp.at;
        }
        wp.x = wp.list[wp.at].x;
        wp.y = wp.list[wp.at].y;
        return false;
    }

    void AdvanceBackAndForth(int path, size_t w, int32_t slot)
    {
        Waypoint &wp = paths[path][w];
        double *bx = samples.data() + 2 * path * n;
        double *by = bx + n;
        for (int32_t s = static_cast<int32_t>(w) * slot; s < (static_cast<int32_t>(w) + 1) * slot;
             ++s) {
            Node &node = wp.list[wp.at];
            ++node.count;
            if (node.count >= node.dwell) {
                node.count = 0;
                if (wp.at + 1 == wp.list.size()) wp.direction = -1;
                if (wp.at == 0) wp.direction = 1;
                if (wp.direction == 1 && wp.at + 1 < wp.list.size())
                    ++wp.at;
                else if (wp.direction == -1 && wp.at > 0)
                    --wp.at;
            }
            bx[s] = wp.list[wp.at].x;
            by[s] = wp.list[wp.at].y;
        }
        wp.x = wp.list[wp.at].x;
        wp.y = wp.list[wp.at].y;
    }

    void Update()
    {
        for (int path = 0; path < 2; ++path) {
            const int32_t slot = n / static_cast<int32_t>(paths[path].size());
            for (size_t w = 0; w < paths[path].size(); ++w) {
                if (paths[path][w].mode == 1 && AdvanceOnce(path, w, slot)) return;
                if (paths[path][w].mode == 2) AdvanceBackAndForth(path, w, slot);
            }
        }
    }
};

}  // namespace

static void Move(int32_t path, int32_t wp, double x, double y)
{
    ASSERT_EQ(ZVK_Galvo_SetPositionTarget(0, path, wp, x, y), 0);
}

static Model ModelOf(int32_t n)
{
    Model model;
    model.n = n;
    model.samples.assign(g_galvoDaq.buffer, g_galvoDaq.buffer + 4LL * n);
    for (int path = 0; path < 2; ++path) {
        const ZVK_GalvoState &row = g_galvo[path];
        for (int32_t w = 0; w < row.NumOfWP; ++w) {
            Model::Waypoint wp;
            for (ZVK_GalvoNode *node = row.lists[w];; node = node->next) {
                wp.list.push_back({node->count, node->dwell, node->x, node->y});
                if (IsTail(*node)) break;
            }
            wp.at = static_cast<size_t>(row.trajectory[w] - row.lists[w]);
            wp.mode = row.moveMode[w];
            wp.direction = row.direction[w];
            wp.x = row.posX[w];
            wp.y = row.posY[w];
            model.paths[path].push_back(wp);
        }
    }
    return model;
}

using GalvoUpdate = GalvoTest;

TEST_F(GalvoUpdate, EqualsTheSampleBySampleStepBitForBit)
{
    std::mt19937 random(640);
    for (int round = 0; round < 60; ++round) {
        ResetGalvo();
        const int32_t n = 1 + static_cast<int32_t>(random() % 400);
        PrepareOutput(n);
        for (int32_t path = 0; path < 2; ++path) {
            const int32_t count = 1 + static_cast<int32_t>(random() % 5);
            Configure(path, count);
            for (int32_t wp = 0; wp < count; ++wp) {
                const double speed = std::exp(static_cast<double>(random() % 1000) / 100.0 - 4.0);
                ZVK_Galvo_SetSpeed(0, path, wp, speed);
                double x[4];
                double y[4];
                for (int i = 0; i < 4; ++i) {
                    x[i] = static_cast<double>(random() % 400) / 10000.0;
                    y[i] = static_cast<double>(random() % 400) / 10000.0;
                }
                double resulting = 0;
                const int32_t shape = static_cast<int32_t>(random() % 6);
                ASSERT_GE(ZVK_Galvo_SetTrajectory(0, path, wp,
                                                  2 + static_cast<int32_t>(random() % 3), x, y,
                                                  &resulting, shape),
                          0);
                ZVK_Galvo_SetMoveType(0, path, wp, 1 + static_cast<int32_t>(random() % 3));
            }
        }
        Model model = ModelOf(n);
        for (int block = 0; block < 30; ++block) {
            ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
            model.Update();
            ASSERT_EQ(AllSamples(), model.samples) << "round " << round << " block " << block;
            for (int32_t path = 0; path < 2; ++path) {
                for (size_t w = 0; w < model.paths[path].size(); ++w) {
                    const Model::Waypoint &wp = model.paths[path][w];
                    ASSERT_EQ(g_galvo[path].posX[w], wp.x);
                    ASSERT_EQ(g_galvo[path].posY[w], wp.y);
                    ASSERT_EQ(g_galvo[path].moveMode[w], wp.mode);
                    ASSERT_EQ(g_galvo[path].direction[w], wp.direction);
                    ASSERT_EQ(
                        static_cast<size_t>(g_galvo[path].trajectory[w] - g_galvo[path].lists[w]),
                        wp.at);
                }
            }
        }
    }
}

TEST_F(GalvoUpdate, IsRefusedWhileSamplesAreNotReady)
{
    PrepareOutput(100);
    Configure(0, 1);
    Move(0, 0, 1.05, 2.0);
    g_galvoDaq.dataReady = 0;
    const std::vector<double> before = AllSamples();
    EXPECT_EQ(ZVK_Galvo_UpdateBuffer(), ZVK_GALVO_NOT_READY);
    EXPECT_EQ(AllSamples(), before);
    EXPECT_EQ(g_galvoDaq.updating, 0);
}

TEST_F(GalvoUpdate, AWaypointAtRestKeepsItsSamples)
{
    PrepareOutput(100);
    Configure(0, 1);
    g_galvoDaq.buffer[7] = 4.5;
    const std::vector<double> before = AllSamples();
    EXPECT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    EXPECT_EQ(AllSamples(), before);
}

TEST_F(GalvoUpdate, AnUnknownMoveModeActsAsRest)
{
    PrepareOutput(100);
    double x = 1;
    double y = 2;
    const double speed = 1;
    const int32_t mode = 9;
    ASSERT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 1, &x, &y, &speed, &mode), 0);
    Configure(1, 1);
    EXPECT_EQ(g_galvo[0].moveMode[0], 9);
    g_galvoDaq.buffer[7] = 4.5;
    EXPECT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    EXPECT_EQ(g_galvoDaq.buffer[7], 4.5);
}

TEST_F(GalvoUpdate, AMoveHoldsEachPointForItsDwellAndGoesOnInTheNextBlock)
{
    PrepareOutput(100);
    Configure(0, 1);
    Configure(1, 1);
    Move(0, 0, 2.0, 2.0);  // 1250 points of 8 samples
    ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    const std::vector<double> first = Channel(0);
    for (int s = 0; s < 8; ++s)
        EXPECT_EQ(first[s], 1.0) << "the head is held like the others";
    EXPECT_NEAR(first[8], 1.0008, 1e-12);
    EXPECT_EQ(first[96], first[99]) << "four samples of the thirteenth point";
    const double thirteenth = first[99];
    ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    const std::vector<double> second = Channel(0);
    for (int s = 0; s < 4; ++s)
        EXPECT_EQ(second[s], thirteenth) << "and four more in the next block";
    EXPECT_GT(second[4], thirteenth);
}

TEST_F(GalvoUpdate, PositionsFollowTheMoveOncePerBlock)
{
    PrepareOutput(100);
    Configure(0, 1);
    Configure(1, 1);
    Move(0, 0, 2.0, 2.0);
    double x = 0;
    double y = 0;
    ZVK_Galvo_GetPositionCurrent(0, 0, 0, &x, &y);
    EXPECT_EQ(x, 1.0);
    ZVK_Galvo_UpdateBuffer();
    ZVK_Galvo_GetPositionCurrent(0, 0, 0, &x, &y);
    EXPECT_EQ(x, Channel(0).back());
}

TEST_F(GalvoUpdate, ARunEndsAtItsTailWithAWholeSlotOfIt)
{
    PrepareOutput(100);
    Configure(0, 1);
    Configure(1, 1);
    Move(0, 0, 1.004, 2.0);  // 5 points and the head, 8 samples each: 48 of 100 samples
    ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    for (double sample : Channel(0))
        EXPECT_DOUBLE_EQ(sample, 1.004);
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_STAND);
    EXPECT_DOUBLE_EQ(g_galvo[0].posX[0], 1.004);
    EXPECT_EQ(g_galvo[0].trajectory[0], g_galvo[0].lists[0]) << "ready to run again";
    EXPECT_EQ(g_galvoDaq.updating, 0);
}

TEST_F(GalvoUpdate, ARunCanRunAgain)
{
    PrepareOutput(20);
    Configure(0, 1);
    Configure(1, 1);
    Move(0, 0, 1.004, 2.0);
    std::vector<double> passes[2];
    for (std::vector<double> &pass : passes) {
        ZVK_Galvo_SetMoveType(0, 0, 0, ZVK_MOVE_ONCE);
        while (g_galvo[0].moveMode[0] == ZVK_MOVE_ONCE) {
            ZVK_Galvo_UpdateBuffer();
            const std::vector<double> block = Channel(0);
            pass.insert(pass.end(), block.begin(), block.end());
        }
    }
    EXPECT_EQ(passes[0], passes[1]);
    EXPECT_EQ(passes[0].size(), 60U);
}

TEST_F(GalvoUpdate, TheBlockInWhichARunEndsAdvancesNothingBehindIt)
{
    PrepareOutput(100);
    Configure(0, 2);
    Configure(1, 1);
    Move(0, 0, 1.002, 2.0);
    Move(0, 1, 2.0, 2.0);
    Move(1, 0, 2.0, 2.0);
    const std::vector<double> before = AllSamples();
    const double secondBefore = g_galvo[0].posX[1];
    ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    ASSERT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_STAND) << "waypoint 0 has ended here";
    std::vector<double> after = AllSamples();
    for (int s = 50; s < 100; ++s)
        EXPECT_EQ(after[s], before[s]) << "waypoint 1 of the same path";
    for (int s = 200; s < 400; ++s)
        EXPECT_EQ(after[s], before[s]) << "path B";
    EXPECT_EQ(g_galvo[0].posX[1], secondBefore);

    ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    EXPECT_NE(g_galvo[0].posX[1], secondBefore) << "it goes on at the next update";
    EXPECT_NE(AllSamples()[299], before[299]);
}

TEST_F(GalvoUpdate, WaypointsBeforeTheOneThatEndsHaveAdvanced)
{
    PrepareOutput(100);
    Configure(0, 2);
    Configure(1, 1);
    Move(0, 0, 2.0, 2.0);
    Move(0, 1, 1.012, 2.01);
    const double before = g_galvo[0].posX[0];
    ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    ASSERT_EQ(g_galvo[0].moveMode[1], ZVK_MOVE_STAND);
    EXPECT_GT(g_galvo[0].posX[0], before);
}

TEST_F(GalvoUpdate, BackAndForthOnASingleNodeKeepsNodeAndSamples)
{
    PrepareOutput(50);
    Configure(0, 1);
    Configure(1, 1);
    ZVK_Galvo_SetMoveType(0, 0, 0, ZVK_MOVE_BACK_AND_FORTH);
    const std::vector<double> before = AllSamples();
    const ZVK_GalvoNode *node = g_galvo[0].trajectory[0];
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    EXPECT_EQ(AllSamples(), before);
    EXPECT_EQ(g_galvo[0].trajectory[0], node);
    EXPECT_EQ(g_galvo[0].direction[0], 1) << "a node that is both ends runs forward";
    EXPECT_EQ(g_galvo[0].moveMode[0], ZVK_MOVE_BACK_AND_FORTH);
}

TEST_F(GalvoUpdate, BackAndForthTurnsAtBothEndsForEver)
{
    PrepareOutput(10);
    Configure(0, 1);
    Configure(1, 1);
    ZVK_Galvo_SetSpeed(0, 0, 0, 8.0);  // one sample a point
    double x[2] = {0.0, 0.0025};
    double y[2] = {0.0, 0.0};
    double resulting = 0;
    ASSERT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &resulting, 1), 0);
    ZVK_Galvo_SetMoveType(0, 0, 0, ZVK_MOVE_BACK_AND_FORTH);
    std::vector<double> played;
    for (int block = 0; block < 4; ++block) {
        ZVK_Galvo_UpdateBuffer();
        const std::vector<double> samples = Channel(0);
        played.insert(played.end(), samples.begin(), samples.end());
    }
    // Head, three points; it advances before it writes, so the head comes only on the way back.
    const double up[] = {1, 2, 3, 2, 1, 0};
    for (size_t s = 0; s < played.size(); ++s)
        EXPECT_NEAR(played[s], up[s % 6] * 0.0025 / 3, 1e-12) << s;
}

TEST_F(GalvoUpdate, AnOnceRunWritesBeforeItAdvances)
{
    PrepareOutput(3);
    Configure(0, 1);
    Configure(1, 1);
    ZVK_Galvo_SetSpeed(0, 0, 0, 8.0);
    double x[2] = {0.0, 0.0034};
    double y[2] = {0.0, 0.0};
    double resulting = 0;
    ASSERT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &resulting, 1), 0);
    ZVK_Galvo_SetMoveType(0, 0, 0, ZVK_MOVE_ONCE);
    ZVK_Galvo_UpdateBuffer();
    EXPECT_EQ(Channel(0)[0], 0.0) << "the head is written first";
    EXPECT_NEAR(Channel(0)[1], 0.0034 / 4, 1e-12);
}

TEST_F(GalvoUpdate, DwellZeroAndOneAreOneSampleEach)
{
    for (int32_t dwell : {0, 1}) {
        ResetGalvo();
        PrepareOutput(4);
        Configure(0, 1);
        Configure(1, 1);
        ZVK_Galvo_SetSpeed(0, 0, 0, 8.0);
        double x[2] = {0.0, 0.0050};
        double y[2] = {0.0, 0.0};
        double resulting = 0;
        ASSERT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 0, 2, x, y, &resulting, 1), 0);
        for (int i = 0; i < 7; ++i)
            g_galvo[0].lists[0][i].dwell = dwell;
        ZVK_Galvo_SetMoveType(0, 0, 0, ZVK_MOVE_ONCE);
        ZVK_Galvo_UpdateBuffer();
        for (int s = 0; s < 4; ++s)
            EXPECT_NEAR(Channel(0)[s], s * 0.0050 / 6, 1e-12) << dwell;
    }
}

TEST_F(GalvoUpdate, MoreWaypointsThanSamplesGetNoneAndHarmNothing)
{
    PrepareOutput(3);
    Configure(0, 5);
    Configure(1, 1);
    for (int32_t wp = 0; wp < 5; ++wp)
        ZVK_Galvo_SetMoveType(0, 0, wp, 1 + wp % 3);
    EXPECT_EQ(Channel(0), std::vector<double>(3, 0.0));
    EXPECT_EQ(ZVK_Galvo_UpdateBuffer(), 0);
    EXPECT_EQ(Channel(0), std::vector<double>(3, 0.0));
    EXPECT_EQ(g_galvo[0].posX[0], 1.0);
}

TEST_F(GalvoUpdate, ASecondThreadsRebuildMeetsARunningUpdateWith609)
{
    PrepareOutput(100);
    Configure(0, 1);
    g_galvoDaq.updating = 1;
    int32_t wp = 0;
    double position = 0;
    double array[1] = {0};
    const double speed = 1;
    const int32_t mode = 3;
    double resulting = 0;
    double line[2] = {0, 1};
    EXPECT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 0, 0), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(ZVK_Galvo_SetPosition(0, 0, 0, 0, 0), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(ZVK_Galvo_SetPositionAll(0, 0, 1, array, array), ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(ZVK_Galvo_BufferConfigure(0, 0, 1, &position, &position, &speed, &mode),
              ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(ZVK_Galvo_SetTrajectory(0, 0, 0, 2, line, line, &resulting, 1),
              ZVK_GALVO_BUFFER_IN_USE);
    EXPECT_EQ(ZVK_Galvo_WriteBuffer(0), ZVK_GALVO_NOT_READY);
    EXPECT_EQ(g_galvoDaq.dataReady, 1) << "a call that gives way changes nothing";
    g_galvoDaq.updating = 0;
    ASSERT_EQ(ZVK_Galvo_AddWaypoint(0, 0, &wp, 0, 0), 0);
    g_galvoDaq.updating = 1;
    EXPECT_EQ(ZVK_Galvo_RemoveWaypoint(0, 0, 1), ZVK_GALVO_BUFFER_IN_USE);
}
