#include "galvo_fixture.h"

#include "platform/memory.h"

void GalvoTest::ResetGalvo()
{
    g_galvoDaq.updating = 0;
    ZVK_Galvo_Shutdown(0);
    g_galvoDaq = {};
    for (ZVK_GalvoState &row : g_galvo)
        row = {};
}

void GalvoTest::SetUp() { ResetGalvo(); }

void GalvoTest::TearDown() { ResetGalvo(); }

void GalvoTest::PrepareOutput(int32_t n)
{
    g_galvoDaq.samplesPerChan = n;
    g_galvoDaq.bufferSamples = 4LL * n;
    g_galvoDaq.buffer = AllocateArray<double>(4LL * n);
    g_galvoDaq.clockRate = 10000;
    g_galvoDaq.maxStep = 0.0008;
    g_galvoDaq.simulate = 1;
    g_galvoDaq.daqInitialized = 1;
    for (int32_t path = 0; path < kPathCount; ++path) {
        ZVK_GalvoState &row = g_galvo[path];
        row.initialized = 1;
        row.xSampleOffset = 2 * path * n;
        row.ySampleOffset = (2 * path + 1) * n;
        row.xMin = row.yMin = -10.0;
        row.xMax = row.yMax = 10.0;
    }
}

void GalvoTest::Configure(int32_t path, int32_t count)
{
    std::vector<double> x;
    std::vector<double> y;
    for (int32_t i = 0; i < count; ++i) {
        x.push_back(1.0 + 0.01 * i);
        y.push_back(2.0 + 0.01 * i);
    }
    const std::vector<double> speeds(count, 1.0);
    const std::vector<int32_t> modes(count, ZVK_MOVE_STAND);
    ASSERT_EQ(
        ZVK_Galvo_BufferConfigure(0, path, count, x.data(), y.data(), speeds.data(), modes.data()),
        0);
}

std::vector<double> GalvoTest::Channel(int32_t channel)
{
    const int32_t n = g_galvoDaq.samplesPerChan;
    return {g_galvoDaq.buffer + channel * n, g_galvoDaq.buffer + (channel + 1) * n};
}

std::vector<double> GalvoTest::AllSamples()
{
    return {g_galvoDaq.buffer, g_galvoDaq.buffer + 4LL * g_galvoDaq.samplesPerChan};
}
