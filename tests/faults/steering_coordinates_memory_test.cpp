// Every allocation of the coordinate calls fails in turn: the told status comes, nothing leaks, and
// the next call works.

#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "steering_fixture.h"

#include <cstdlib>

class CoordinateMemory : public SteeringTest
{
protected:
    void TearDown() override
    {
        memory.FailAt(0);
        SteeringTest::TearDown();
        EXPECT_EQ(memory.Live(), 0);
    }

    FailingMemory memory;
};

TEST_F(CoordinateMemory, InitFailsAtEachAllocationWith902AtATableAndThenWorks)
{
    int tables = 0;
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        resetSteering();
        ASSERT_EQ(memory.Live(), 0);
        memory.FailAt(nth);
        const int32_t status = ZVK_CoordinateSystems_Init(0, 0, 0);
        failed = memory.Failed();
        memory.FailAt(0);
        if (failed) {
            // "LOAD" is a text: the read of one that finds no room doesn't find it.
            EXPECT_TRUE(status == ZVK_COORDINATES_NO_MEMORY || status == ZVK_CONFILE_NOT_FOUND);
            tables += status == ZVK_COORDINATES_NO_MEMORY;
            EXPECT_EQ(g_trafo[0].busy, 1);
            EXPECT_EQ(g_trafo[1].initialized, 0);
            EXPECT_EQ(memory.Live(), g_trafo[0].initialized ? 4 : 0);
        }
        EXPECT_EQ(failed ? ZVK_CoordinateSystems_Init(0, 0, 0) : status, 0);
        EXPECT_EQ(memory.Live(), 8);
    }
    EXPECT_EQ(tables, 8);  // four for each path
}

TEST_F(CoordinateMemory, EveryInitThatFailsOnTheWayFreesWhatItHadMade)
{
    const std::string objective = TwoPathsObjective();
    const std::string config = TwoPathsConfig();
    struct Row
    {
        std::string config;
        std::string objective;
    };
    const Row rows[] = {
        {config, with(objective, "COEFFNUM", "3")},
        {config, without(objective, "AYI3")},
        {config, without(objective, "CALYMAX")},
        {config, with(objective, "COEFFNUM", "-4")},
        {config, with(objective, "COEFFNUM", "2147395600")},
        {without(config, "FACTORX"), objective},
    };
    bringUpCoordinates();
    for (const Row &row : rows) {
        writeConfig(row.config);
        writeObjective(row.objective);
        EXPECT_LT(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
        EXPECT_LE(memory.Live(), 8);
        EXPECT_EQ(ZVK_CoordinateSystems_Shutdown(0), 0);
        EXPECT_EQ(memory.Live(), 0);
    }
}

TEST_F(CoordinateMemory, SetFailsWith902AtEachTableWithTheNewCountAndNoTables)
{
    const double table[9] = {1.0};
    const double limits[4] = {5.0, 6.0, 7.0, 8.0};
    for (int nth = 1; nth <= 4; ++nth) {
        bringUpCoordinates();
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 9, table, table, table, table, limits),
                  ZVK_COORDINATES_NO_MEMORY);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(g_trafo[0].coeffNum, 9);
        EXPECT_EQ(g_trafo[0].dataX, nullptr);
        EXPECT_EQ(g_trafo[0].dataYI, nullptr);
        EXPECT_EQ(g_trafo[0].initialized, 1);
        EXPECT_EQ(g_trafo[0].calXMin, 150.0);
        EXPECT_EQ(memory.Live(), 4);
        double x = 1.0;
        double y = 2.0;
        EXPECT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), ZVK_COORDINATES_NOT_INITIALIZED);
        memory.FailAt(0);
        EXPECT_EQ(ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, 9, table, table, table, table, limits),
                  0);
        EXPECT_EQ(memory.Live(), 8);
    }
}

TEST_F(CoordinateMemory, GetFailsWith902AtEachTableAndLeavesTheCallerWithNone)
{
    bringUpCoordinates();
    for (int nth = 1; nth <= 4; ++nth) {
        double *tables[4] = {};
        int32_t count = 0;
        ASSERT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 0, &count, &tables[0], &tables[1],
                                                       &tables[2], &tables[3]),
                  0);
        EXPECT_EQ(memory.Live(), 12);
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_CoordinateSystems_GetTrafoCoeffs(0, 0, &count, &tables[0], &tables[1],
                                                       &tables[2], &tables[3]),
                  ZVK_COORDINATES_NO_MEMORY);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(count, 4);
        for (const double *table : tables)
            EXPECT_EQ(table, nullptr);
        EXPECT_EQ(memory.Live(), 8);
    }
}

TEST_F(CoordinateMemory, ConvertingAllocatesNothing)
{
    bringUp();
    const int64_t before = memory.Allocations();
    for (int i = 0; i < 10; ++i) {
        double x = 100.0 * i;
        double y = 50.0 * i;
        ASSERT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y), 0);
        ASSERT_EQ(ZVK_CoordinateSystems_Trafo(0, 0, -1, &x, &y), 0);
    }
    EXPECT_EQ(memory.Allocations(), before);
}

// C++ allocations, which the general heap's table doesn't see: texts and stores of the file layer.
TEST_F(CoordinateMemory, NoFailedAllocationLeavesTheInit)
{
    bool failed = true;
    for (int64_t nth = 1; failed; ++nth) {
        resetSteering();
        int32_t status = 0;
        {
            const FailingNew allocations(nth);
            status = ZVK_CoordinateSystems_Init(0, 0, 0);
            failed = allocations.Failed();
        }
        EXPECT_EQ(g_trafo[0].busy, status < 0 ? 1 : 0) << nth;
        EXPECT_TRUE(failed || status == 0);
        ASSERT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
        ASSERT_LT(nth, 10000);
    }
}

TEST_F(CoordinateMemory, AFileThatCannotBeReadIsTold)
{
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        resetSteering();
        int32_t status = 0;
        {
            FailingFiles files;
            files.FailAt(nth);
            status = ZVK_CoordinateSystems_Init(0, 0, 0);
            failed = files.Failed();
        }
        EXPECT_TRUE(failed || status == 0);
        EXPECT_TRUE(status == 0 || status == ZVK_CONFILE_NOT_READABLE) << status;
        EXPECT_EQ(g_trafo[0].busy, status < 0 ? 1 : 0);
        ASSERT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
        ASSERT_LT(nth, 1000);
    }
}
