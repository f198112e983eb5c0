// What clients ask and set: the sensor's region, the view, live frames, the overlay switches.

#include "camera_fixture.h"

#include "imaging/overlay_switches.h"
#include "quorvex/errors.h"

#include <cmath>
#include <limits>

using Sizes = std::vector<int32_t>;

class CameraView : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        BringUp();
    }
};

TEST_F(CameraView, RegionsAreHalvedAboutTheSensorsCentre)
{
    struct Row
    {
        int32_t resolution, binning;
        Sizes size, offset;
    };
    const Row rows[] = {
        {1, 1, {256, 256}, {1, 1}},
        {1, 0, {512, 512}, {1, 1}},
        {0, 0, {1024, 1024}, {-255, -255}},
        {2, 0, {256, 256}, {129, 129}},
        {3, 0, {128, 128}, {193, 193}},
        {2, 2, {64, 64}, {129, 129}},
        {1, 9, {1, 1}, {1, 1}},
        {9, 0, {2, 2}, {256, 256}},
        {33, 32, {512, 512}, {1, 1}},
    };
    for (const Row &row : rows) {
        int32_t resolution = 99;
        int32_t binning = 99;
        EXPECT_EQ(ZVK_Camera_SetROI(0, row.resolution, row.binning, &resolution, &binning), 0);
        EXPECT_EQ(resolution, row.resolution - 1);
        EXPECT_EQ(binning, row.binning - 1);
        EXPECT_EQ(AcquiredSize(), row.size) << row.resolution << " " << row.binning;
        EXPECT_EQ((Sizes{g_camera.sensorOffsetX, g_camera.sensorOffsetY}), row.offset);
        EXPECT_EQ(View(), (Sizes{0, 0, row.size[0], row.size[1]}));
        EXPECT_EQ(g_camera.acquiredImage.cols, row.size[0]);
        EXPECT_EQ(g_camera.workImage.rows, row.size[1]);
    }
}

TEST_F(CameraView, ARegionWithoutPixelsHasNoFramesUntilTheNextOne)
{
    for (const auto &[resolution, binning] : {std::pair{10, 0}, std::pair{1, 10}, std::pair{1, 31}})
    {
        EXPECT_EQ(ZVK_Camera_SetROI(0, resolution, binning, nullptr, nullptr), ZVK_SUCCESS);
        EXPECT_EQ(AcquiredSize(), (Sizes{0, 0}));
        EXPECT_TRUE(g_camera.acquiredImage.empty());
        EXPECT_FALSE(g_camera.displayImage.empty()) << "what clients hold stays";
        BeginLoops();
        EXPECT_TRUE(Acquire());
        EXPECT_TRUE(Display());
    }
    EXPECT_TRUE(windows.Pictures().empty());
    EXPECT_EQ(ZVK_Camera_SetROI(0, 1, 1, nullptr, nullptr), ZVK_SUCCESS);
    EXPECT_TRUE(Acquire());
    EXPECT_TRUE(Display());
    EXPECT_EQ(windows.Pictures().size(), 1U);
}

TEST_F(CameraView, ASensorOfNegativeSizeHasNoFrames)
{
    Write({.nativeX = "-512", .nativeY = "-2147483648"});
    int32_t width = 0;
    int32_t height = 0;
    ASSERT_EQ(ZVK_Camera_GetNativeResolution(0, &width, &height, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Camera_SetROI(0, 0, 0, nullptr, nullptr), ZVK_SUCCESS);
    EXPECT_TRUE(g_camera.acquiredImage.empty());
    EXPECT_EQ(ZVK_Camera_SetROI(0, -1, -2147483647 - 1, nullptr, nullptr), ZVK_SUCCESS);
}

TEST_F(CameraView, ASensorTooLargeForAnImageGivesItsStatusAndLeavesNoImage)
{
    Write({.nativeX = "100000", .nativeY = "100000"});
    ASSERT_EQ(ZVK_Camera_GetNativeResolution(0, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_Camera_SetROI(0, 1, 0, nullptr, nullptr), ZVK_CAMERA_NO_MEMORY);
    EXPECT_TRUE(g_camera.acquiredImage.empty());
    EXPECT_TRUE(g_camera.displayImage.empty());
    EXPECT_EQ(g_camera.displayHeader.imageData, nullptr);
    BeginLoops();
    EXPECT_TRUE(Acquire());
    EXPECT_TRUE(Display());
    EXPECT_EQ(ZVK_Camera_SetROI(0, 9, 0, nullptr, nullptr), ZVK_SUCCESS);
    EXPECT_NE(g_camera.displayHeader.imageData, nullptr);
}

TEST_F(CameraView, ARegionKeepsTheDisplayImagesInTheirPlace)
{
    const char *display = g_camera.displayHeader.imageData;
    const char *overlay = g_camera.userOverlayHeader.imageData;
    ASSERT_NE(display, nullptr);
    ASSERT_NE(overlay, nullptr);
    ASSERT_EQ(ZVK_Camera_SetROI(0, 3, 0, nullptr, nullptr), ZVK_SUCCESS);
    EXPECT_EQ(g_camera.displayHeader.imageData, display);
    EXPECT_EQ(g_camera.userOverlayHeader.imageData, overlay);
    EXPECT_EQ(g_camera.displayHeader.width, 800);
    EXPECT_EQ(g_camera.displayHeader.height, 600);
    EXPECT_EQ(g_camera.displayHeader.nChannels, 3);
    EXPECT_EQ(g_camera.displayHeader.depth, IPL_DEPTH_8U);
}

TEST_F(CameraView, TheNativeResolutionIsReadAtEachCallAndKept)
{
    Write({.nativeX = "300", .nativeY = "200"});
    int32_t width = 0;
    int32_t height = 0;
    int32_t increments[2] = {7, 8};
    EXPECT_EQ(ZVK_Camera_GetNativeResolution(0, &width, &height, &increments[0], &increments[1]),
              0);
    EXPECT_EQ((Sizes{width, height}), (Sizes{300, 200}));
    EXPECT_EQ((Sizes{increments[0], increments[1]}), (Sizes{7, 8}));
    EXPECT_EQ((Sizes{g_camera.nativeWidth, g_camera.nativeHeight}), (Sizes{300, 200}));
    EXPECT_EQ(AcquiredSize(), (Sizes{256, 256})) << "until a region is set";
}

TEST_F(CameraView, ANativeHeightOf0Stands)
{
    Write({.nativeX = "300", .nativeY = "0"});
    int32_t width = 0;
    int32_t height = 9;
    EXPECT_EQ(ZVK_Camera_GetNativeResolution(0, &width, &height, nullptr, nullptr), 0);
    EXPECT_EQ((Sizes{width, height}), (Sizes{300, 0}));
}

TEST_F(CameraView, ANativeSideThatCanNotBeReadKeepsThePairAndWritesWhatCameBefore)
{
    int32_t width = 7;
    int32_t height = 8;
    Write({.nativeX = "300"}, {"NATIVERESOLUTION_Y"});
    EXPECT_EQ(ZVK_Camera_GetNativeResolution(0, &width, &height, nullptr, nullptr),
              ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ((Sizes{width, height}), (Sizes{300, 8}));
    width = 7;
    Write({}, {"NATIVERESOLUTION_X"});
    EXPECT_EQ(ZVK_Camera_GetNativeResolution(0, &width, &height, nullptr, nullptr),
              ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ((Sizes{width, height}), (Sizes{7, 8}));
    EXPECT_EQ((Sizes{g_camera.nativeWidth, g_camera.nativeHeight}), (Sizes{512, 512}));
}

TEST_F(CameraView, TheExposureTimeIsEchoedAndNotKept)
{
    float actual = 0.0F;
    EXPECT_EQ(ZVK_Camera_SetExposureTime(0, 100.0F, &actual), ZVK_SUCCESS);
    EXPECT_EQ(actual, 100.0F);
    EXPECT_FLOAT_EQ(Get(&ZVK_CameraState::exposureTime), 0.025F);
    EXPECT_EQ(ZVK_Camera_SetExposureTime(0, 1.0F, nullptr), ZVK_SUCCESS);
}

TEST_F(CameraView, TheModelNameTakesNoMoreRoomThanItNeeds)
{
    char name[sizeof "Simulated Camera" + 1];
    name[sizeof name - 1] = 'x';
    EXPECT_EQ(ZVK_Camera_GetModelName(0, name), ZVK_SUCCESS);
    EXPECT_STREQ(name, "Simulated Camera");
    EXPECT_EQ(name[sizeof name - 1], 'x');
}

TEST_F(CameraView, ZoomShowsAPartThatIsPushedBackIntoTheFrame)
{
    struct Row
    {
        int32_t x, y;
        double zoom;
        Sizes view;
    };
    const Row rows[] = {
        {0, 0, 2.0, {0, 0, 128, 128}},       {256, 256, 2.0, {128, 128, 128, 128}},
        {128, 128, 2.0, {64, 64, 128, 128}}, {100, 50, 4.0, {68, 18, 64, 64}},
        {-256, 10, 2.0, {0, 0, 128, 128}},   {192, 191, 2.0, {128, 127, 128, 128}},
        {128, 128, 1.5, {43, 43, 170, 170}}, {128, 128, 1000.0, {128, 128, 0, 0}},
        {128, 128, 1.001, {1, 1, 255, 255}}, {256, 0, 256.0, {255, 0, 1, 1}},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(ZVK_Camera_SetZoom(0, row.x, row.y, row.zoom), ZVK_SUCCESS);
        EXPECT_EQ(View(), row.view) << row.x << " " << row.y << " " << row.zoom;
        EXPECT_EQ(Get(&ZVK_CameraState::zoom), row.zoom);
        EXPECT_EQ(g_camera.zoomCenter.x, row.view[0] + row.view[2] / 2);
        EXPECT_EQ(g_camera.zoomCenter.y, row.view[1] + row.view[3] / 2);
        int32_t x = 0;
        int32_t y = 0;
        double zoom = 0.0;
        EXPECT_EQ(ZVK_Camera_GetZoom(0, &x, &y, &zoom), ZVK_SUCCESS);
        EXPECT_EQ((Sizes{x, y}), (Sizes{g_camera.zoomCenter.x, g_camera.zoomCenter.y}));
        EXPECT_EQ(zoom, row.zoom);
    }
}

TEST_F(CameraView, TheCentreOfAZoomIsInPixelsOfTheSensor)
{
    CameraSet(&ZVK_CameraState::binning, 3);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 3 * 128 + 2, 3 * 100 - 1, 4.0), ZVK_SUCCESS);
    EXPECT_EQ(View(), (Sizes{128 - 32, 99 - 32, 64, 64}));
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 3 * 256 + 2, 0, 4.0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 3 * 257, 0, 4.0), ZVK_CAMERA_BAD_ZOOM_CENTER);
}

TEST_F(CameraView, AZoomOf1OrLessShowsTheWholeFrameWhateverTheCentre)
{
    for (const double zoom : {1.0, 0.5, 0.0, -3.0, std::nan("")}) {
        ASSERT_EQ(ZVK_Camera_SetZoom(0, 10, 10, 4.0), ZVK_SUCCESS);
        CameraSet(&ZVK_CameraState::frameReady, uint8_t{0});
        EXPECT_EQ(ZVK_Camera_SetZoom(0, 5000, -5000, zoom), ZVK_SUCCESS);
        EXPECT_EQ(View(), (Sizes{0, 0, 256, 256}));
        EXPECT_EQ(Get(&ZVK_CameraState::zoom), 1.0);
        EXPECT_EQ(g_camera.zoomCenter.x, 32) << "the last one stays";
        EXPECT_EQ(Get(&ZVK_CameraState::frameReady), 0);
        int32_t x = 0;
        EXPECT_EQ(ZVK_Camera_GetZoom(0, &x, nullptr, nullptr), ZVK_SUCCESS);
        EXPECT_EQ(x, 128);
    }
}

TEST_F(CameraView, AZoomAsksForAFrame)
{
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 10, 10, 4.0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::frameReady), 1);
}

TEST_F(CameraView, ACentreOutsideTheFrameIsRefusedAndNothingChanges)
{
    const std::pair<int32_t, int32_t> rows[] = {{300, 0},  {257, 0},       {-257, 0},     {0, 257},
                                                {0, -257}, {INT32_MIN, 0}, {0, INT32_MAX}};
    for (const auto &[x, y] : rows) {
        EXPECT_EQ(ZVK_Camera_SetZoom(0, x, y, 2.0), ZVK_CAMERA_BAD_ZOOM_CENTER) << x << " " << y;
        EXPECT_EQ(View(), (Sizes{0, 0, 256, 256}));
        EXPECT_EQ(Get(&ZVK_CameraState::zoom), 1.0);
        EXPECT_EQ(Get(&ZVK_CameraState::frameReady), 0);
    }
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 3, 256, std::numeric_limits<double>::infinity()), ZVK_SUCCESS);
    EXPECT_EQ(View(), (Sizes{3, 256, 0, 0}));
}

TEST_F(CameraView, TheGateIsTestedBeforeTheCentre)
{
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 5000, 0, 2.0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 0, 0, 1.0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SetROI(0, 1, 1, nullptr, nullptr), ZVK_SUCCESS)
        << "its gate is another one";
}

TEST_F(CameraView, LiveFramesAreAWishAlone)
{
    CameraSet(&ZVK_CameraState::acquisitionMode, 3);
    EXPECT_EQ(ZVK_Camera_StartVideo(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::liveRequested), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::acquisitionMode), 3);
    EXPECT_EQ(ZVK_Camera_StopVideo(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::liveRequested), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::acquisitionMode), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::snapRequested), 0);
    EXPECT_EQ(ZVK_Camera_StartVideo(0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_SnapShot(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::liveRequested), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::snapRequested), 1);
    BeginLoops();
    EXPECT_TRUE(Acquire()) << "frames run all the time";
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 1);
}

class CameraSwitches : public CameraTest
{
};

TEST_F(CameraSwitches, AreOffAtLoadAndWorkWithoutACamera)
{
    struct Row
    {
        int32_t (*set)(SessionHandle, uint16_t);
        uint8_t ZVK_CameraState::*field;
    };
    const Row rows[] = {
        {ZVK_Camera_SetUserOverlay, &ZVK_CameraState::userOverlayOn},
        {ZVK_Camera_SetSDKOverlay, &ZVK_CameraState::sdkOverlayOn},
        {ZVK_Camera_SetTrapMarkers, &ZVK_CameraState::trapMarkersOn},
        {ZVK_Camera_SetFrameRate, &ZVK_CameraState::frameRateOn},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Get(row.field), 0);
        for (const uint16_t on : {1, 0, 2, 65535, 0}) {
            EXPECT_EQ(row.set(0, on), ZVK_SUCCESS);
            EXPECT_EQ(Get(row.field), on != 0 ? 1 : 0);
        }
        EXPECT_EQ(row.set(0, 1), ZVK_SUCCESS);
    }
    EXPECT_EQ(g_camera.calFieldOn[0] + g_camera.calFieldOn[1], 0);
}

TEST_F(CameraSwitches, CalibratedFieldsHaveOneAPathAndKnowOnlyTwo)
{
    EXPECT_EQ(ZVK_Camera_SetCalField(0, 0, 3), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_Camera_SetCalField(0, 1, 0), ZVK_SUCCESS);
    EXPECT_EQ((Sizes{g_camera.calFieldOn[0], g_camera.calFieldOn[1]}), (Sizes{1, 0}));
    for (const int32_t path : {2, -1, INT32_MAX})
        EXPECT_EQ(ZVK_Camera_SetCalField(0, path, 0), ZVK_CAMERA_BAD_PATH);
    EXPECT_EQ((Sizes{g_camera.calFieldOn[0], g_camera.calFieldOn[1]}), (Sizes{1, 0}));
}

TEST_F(CameraSwitches, TheTrapsSwitchesAreTheCameras)
{
    SetSdkOverlay(1);
    SetTrapMarkers(1);
    EXPECT_EQ(Get(&ZVK_CameraState::sdkOverlayOn), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::trapMarkersOn), 1);
    EXPECT_EQ(ZVK_Camera_SetSDKOverlay(0, 0), ZVK_SUCCESS);
    EXPECT_EQ(SdkOverlay(), 0);
    EXPECT_EQ(TrapMarkers(), 1);
}
