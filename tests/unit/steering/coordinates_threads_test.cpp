// Tables that are replaced and reloaded while other threads convert.

#include "steering_fixture.h"

#include <atomic>
#include <thread>

using CoordinateThreads = SteeringTest;

constexpr int kReplacements = 2000;

TEST_F(CoordinateThreads, WhileTablesAreReplacedAReaderFindsTheOldOrTheNewOnes)
{
    bringUpCoordinates();
    const double limits[4] = {};
    const double one[1] = {1.0};
    std::vector<double> many(36, 0.0);
    many[0] = 2.0;
    const auto give = [&](int count, const double *table) {
        return ZVK_CoordinateSystems_SetTrafoCoeff(0, 0, count, table, table, table, table, limits);
    };
    ASSERT_EQ(give(1, one), 0);

    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    const auto read = [&] {
        do {
            double x = 0.5;
            double y = 0.25;
            const int32_t status = ZVK_CoordinateSystems_Trafo(0, 0, 1, &x, &y);
            if (status != 0 || x != y || (x != 1.0 && x != 2.0)) ++torn;
        } while (!done);
    };
    std::thread first(read);
    std::thread second(read);
    for (int i = 0; i < kReplacements; ++i) {
        ASSERT_EQ(give(1, one), 0);
        ASSERT_EQ(give(36, many.data()), 0);
    }
    done = true;
    first.join();
    second.join();
    EXPECT_EQ(torn, 0);
}

TEST_F(CoordinateThreads, WhileTablesAreReloadedAReaderIsToldBusyOrGetsThem)
{
    bringUpCoordinates();
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::thread reader([&] {
        do {
            double x = 0.0;
            double y = 0.0;
            const int32_t status = ZVK_CoordinateSystems_Trafo(0, 1, -1, &x, &y);
            const bool isGood = status == 0 && x > 599.9 && x < 600.1 && y > 299.9 && y < 300.1;
            if (!isGood && status != ZVK_COORDINATES_BUSY) ++wrong;
            double range[4] = {};
            const int32_t ranged = ZVK_CoordinateSystems_GetCalRange(
                0, 1, &range[0], &range[1], &range[2], &range[3], ZVK_UNIT_PIXEL);
            if (ranged != ZVK_COORDINATES_BUSY && range[1] != 800.0) ++wrong;
            double scale[2] = {};
            (void)ZVK_CoordinateSystems_GetCameraScale(0, &scale[0], &scale[1]);
        } while (!done);
    });
    std::thread client([&] {
        for (int i = 0; i < 200; ++i)
            (void)ZVK_CoordinateSystems_CalibrateCamera(0, 1, 10.0 + i, 20.0);
    });
    for (int i = 0; i < 50; ++i)
        ASSERT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
    client.join();
    done = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(CoordinateThreads, TwoThreadsCanLoadAtOnce)
{
    const auto load = [] {
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0);
    };
    std::thread first(load);
    std::thread second(load);
    first.join();
    second.join();
    EXPECT_EQ(g_trafo[0].busy, 0);
    EXPECT_EQ(g_trafo[1].initialized, 1);
}
