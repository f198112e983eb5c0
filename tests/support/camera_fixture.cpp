#include "camera_fixture.h"

#include "quorvex/confile.h"
#include "quorvex/errors.h"
#include "session/session.h"

#include <algorithm>

std::string CameraConfig::Text(const std::vector<std::string> &without) const
{
    const std::pair<std::string, std::string> rows[] = {
        {"MI", installed},
        {"SIMULATE", simulate},
        {"BACKEND", backend},
        {"COLORMODE", colorMode},
        {"EXPOSURETIME", exposureTime},
        {"STARTCOOLING", startCooling},
        {"COOLERTEMP", coolerTemperature},
        {"CWSIZE_X", width},
        {"CWSIZE_Y", height},
        {"CWOFFSET_X", offsetX},
        {"CWOFFSET_Y", offsetY},
        {"CCW", child},
        {"PARENTNAME", "\"" + parent + "\""},
        {"HISTOSUPPORT", histogram},
        {"HWSIZE_X", histogramWidth},
        {"HWSIZE_Y", histogramHeight},
        {"HWOFFSET_X", histogramOffsetX},
        {"HWOFFSET_Y", histogramOffsetY},
        {"HCW", histogramChild},
        {"HPARENTNAME", "\"" + histogramParent + "\""},
        {"NATIVERESOLUTION_X", nativeX},
        {"NATIVERESOLUTION_Y", nativeY},
    };
    std::string text = "[CAMERA]\r\n";
    for (const auto &[key, value] : rows)
        if (std::find(without.begin(), without.end(), key) == without.end())
            text += key + " = " + value + "\r\n";
    return text;
}

void CameraTest::SetUp()
{
    g_camera = {};
    FreeWarnings();
}

void CameraTest::TearDown()
{
    {
        const std::lock_guard turn(CameraTurn());
        EndLoops();
    }
    g_camera = {};
    FreeWarnings();
}

void CameraTest::Write(const CameraConfig &config, const std::vector<std::string> &without) const
{
    folder.Write("config.ini", config.Text(without));
}

void CameraTest::BringUp(const CameraConfig &config)
{
    Write(config);
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
    windows.ForgetCalls();
}

void CameraTest::BeginLoops()
{
    const std::lock_guard data(CameraData());
    g_camera.runAcquire = g_camera.acquireRunning = 1;
    g_camera.runDisplay = g_camera.displayRunning = 1;
    g_camera.frameConsumed = 1;
    g_camera.frameReady = 0;
}

std::vector<int32_t> CameraTest::View()
{
    const std::lock_guard data(CameraData());
    return {g_camera.viewX, g_camera.viewY, g_camera.viewWidth, g_camera.viewHeight};
}

std::vector<int32_t> CameraTest::AcquiredSize()
{
    const std::lock_guard data(CameraData());
    return {g_camera.acquiredWidth, g_camera.acquiredHeight};
}

std::vector<int32_t> CameraTest::DisplaySize()
{
    const std::lock_guard data(CameraData());
    return {g_camera.displayWidth, g_camera.displayHeight};
}
