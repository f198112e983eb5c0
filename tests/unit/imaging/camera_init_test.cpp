// The camera comes up and goes down: its keys, their order, what each kind of camera leaves, and
// the loops that it starts and ends.

#include "camera_fixture.h"

#include "imaging/camera_keys.h"
#include "platform/threads.h"
#include "quorvex/errors.h"
#include "recording_media.h"

#include <cstring>

using Sizes = std::vector<int32_t>;

static std::vector<int32_t> CapturedCodes()
{
    int32_t count = 0;
    EXPECT_EQ(ZVK_error_GetWarnings(0, &count, nullptr), 0);
    std::vector<int32_t> codes(static_cast<size_t>(count) + 1);
    EXPECT_EQ(ZVK_error_GetWarnings(0, nullptr, codes.data()), 0);
    codes.pop_back();
    return codes;
}

TEST_F(CameraTest, InitOfASimulatedCameraSetsAllThatItsStepsTell)
{
    BringUp();
    EXPECT_EQ(Get(&ZVK_CameraState::initialised), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::installed), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::simulate), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::backend), 2);
    EXPECT_EQ(Get(&ZVK_CameraState::colorMode), 5);
    EXPECT_FLOAT_EQ(Get(&ZVK_CameraState::exposureTime), 0.025F);
    EXPECT_EQ(Get(&ZVK_CameraState::coolerOn), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::coolerSetPoint), -17);
    EXPECT_EQ(Get(&ZVK_CameraState::zoom), 1.0);
    EXPECT_EQ(Get(&ZVK_CameraState::overlayAlpha), 1.0);
    EXPECT_EQ(Get(&ZVK_CameraState::binning), 1);
    EXPECT_STREQ(g_camera.modelName, "Simulated Camera");
    EXPECT_EQ(Get(&ZVK_CameraState::nativeWidth), 512);
    EXPECT_EQ(Get(&ZVK_CameraState::nativeHeight), 512);
    EXPECT_EQ(AcquiredSize(), (Sizes{256, 256}));
    EXPECT_EQ(DisplaySize(), (Sizes{800, 600}));
    EXPECT_EQ(View(), (Sizes{0, 0, 256, 256}));
    EXPECT_EQ(Get(&ZVK_CameraState::contrastLow), 0.0);
    EXPECT_EQ(Get(&ZVK_CameraState::contrastHigh), 0.0);
    EXPECT_EQ(Get(&ZVK_CameraState::flip), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::userOverlayOn), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::sdkOverlayOn), 0);
}

TEST_F(CameraTest, InitMakesTheThreeFonts)
{
    BringUp();
    EXPECT_EQ(g_camera.trapFont.scale, 0.5);
    EXPECT_EQ(g_camera.textFont.scale, 0.4);
    EXPECT_EQ(g_camera.spareFont.scale, 0.4);
    for (const ZVK_CameraFont *font : {&g_camera.trapFont, &g_camera.textFont, &g_camera.spareFont})
    {
        EXPECT_EQ(font->face, 0);
        EXPECT_EQ(font->thickness, 1);
        EXPECT_EQ(font->lineType, 16);
    }
}

TEST_F(CameraTest, InitBuildsTheImagesTwiceAndThenSchedulesBothLoops)
{
    BringUp();
    EXPECT_EQ(clock.Delays(), (std::vector<double>{0.2, 0.2}));
    EXPECT_EQ(threads->Scheduled().size(), 2U);
    EXPECT_EQ(Get(&ZVK_CameraState::acquireRunning), 0) << "no loop has begun";
    EXPECT_EQ(Get(&ZVK_CameraState::frameConsumed), 1) << "nothing to show before a frame";
    ASSERT_FALSE(g_camera.acquiredImage.empty());
    EXPECT_EQ(cv::countNonZero(g_camera.acquiredImage.reshape(1)), 0) << "a black frame";
    EXPECT_EQ(g_camera.acquiredImage.type(), CV_8UC3);
}

TEST_F(CameraTest, WithoutNativeWidthFramesAre256By256WhateverTheHeight)
{
    BringUp({.nativeX = "0", .nativeY = "1000"});
    EXPECT_EQ(AcquiredSize(), (Sizes{256, 256}));
    EXPECT_EQ(Get(&ZVK_CameraState::nativeHeight), 512);
}

TEST_F(CameraTest, FramesHaveHalfTheSidesOfTheSensor)
{
    BringUp({.nativeX = "1024", .nativeY = "768"});
    EXPECT_EQ(AcquiredSize(), (Sizes{512, 384}));
    EXPECT_EQ(Get(&ZVK_CameraState::sensorOffsetX), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::sensorOffsetY), 1);
}

TEST_F(CameraTest, SecondInitGives1000AndLeavesTheStateAlone)
{
    BringUp();
    Write({.installed = "0", .simulate = "0", .backend = "8", .nativeX = "64"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_CAMERA_ALREADY_INITIALIZED);
    EXPECT_EQ(Get(&ZVK_CameraState::installed), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::backend), 2);
    EXPECT_EQ(AcquiredSize(), (Sizes{256, 256}));
    EXPECT_EQ(threads->Scheduled().size(), 2U);
    EXPECT_EQ(windows.Calls(), Calls{});
}

TEST_F(CameraTest, EachKeyButStartCoolingEndsInitInItsOrder)
{
    // Each row lacks its key and the next one; what stands before it has been taken.
    const std::vector<std::string> order = {"MI",        "SIMULATE",     "BACKEND",
                                            "COLORMODE", "EXPOSURETIME", "COOLERTEMP"};
    for (size_t i = 0; i < order.size(); ++i) {
        g_camera = {};
        std::vector<std::string> without = {order[i]};
        if (i + 1 < order.size()) without.push_back(order[i + 1]);
        Write({}, without);
        folder.Write("log.ini", "");
        EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << order[i];
        EXPECT_NE(folder.Read("log.ini").find("tag " + order[i]), std::string::npos) << order[i];
        EXPECT_EQ(Get(&ZVK_CameraState::initialised), 0);
        EXPECT_EQ(windows.Calls(), Calls{}) << "no window";
        EXPECT_EQ(Get(&ZVK_CameraState::installed), i > 0 ? 1 : 0);
        EXPECT_EQ(Get(&ZVK_CameraState::colorMode), i > 3 ? 5 : 0);
    }
}

TEST_F(CameraTest, WithoutStartCoolingTheCoolerIsOff)
{
    CameraSet(&ZVK_CameraState::coolerOn, uint8_t{1});
    Write({}, {"STARTCOOLING"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::coolerOn), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::coolerSetPoint), -17) << "later keys are read";
}

TEST_F(CameraTest, MakesOfCameraWithoutSupportAreRefused)
{
    const std::pair<const char *, int32_t> rows[] = {
        {"1", ZVK_CAMERA_NO_SUPPORT}, {"8", ZVK_CAMERA_NO_SUPPORT}, {"64", ZVK_CAMERA_NO_SUPPORT},
        {"0", ZVK_SUCCESS},           {"9", ZVK_SUCCESS},           {"65", ZVK_SUCCESS},
        {"72", ZVK_SUCCESS},          {"-1", ZVK_SUCCESS},
    };
    for (const auto &[backend, status] : rows) {
        (void)ZVK_Camera_Shutdown(0);
        Write({.backend = backend});
        EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), status) << backend;
    }
}

TEST_F(CameraTest, TheMakeIsTestedBehindColorModeAndBeforeTheExposureTime)
{
    Write({.backend = "8"}, {"EXPOSURETIME"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_CAMERA_NO_SUPPORT);
    Write({.backend = "8"}, {"COLORMODE"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
}

TEST_F(CameraTest, WithoutACameraTheWindowIsMadeAndEveryGateIsShut)
{
    Write({.installed = "0"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
    EXPECT_EQ(windows.OpenTitles(), Calls{"Camera Window"});
    EXPECT_TRUE(threads->Scheduled().empty());
    EXPECT_TRUE(g_camera.acquiredImage.empty());
    EXPECT_EQ(DisplaySize(), (Sizes{800, 600}));

    int32_t number = 7;
    float seconds = 0.0F;
    double zoom = 0.0;
    char name[256] = "kept";
    const int32_t answers[] = {
        ZVK_Camera_SetROI(0, 1, 1, &number, &number),
        ZVK_Camera_GetNativeResolution(0, &number, &number, nullptr, nullptr),
        ZVK_Camera_GetModelName(0, name),
        ZVK_Camera_SetExposureTime(0, 1.0F, &seconds),
        ZVK_Camera_StartVideo(0),
        ZVK_Camera_StopVideo(0),
        ZVK_Camera_SnapShot(0),
        ZVK_Camera_GetZoom(0, &number, &number, &zoom),
        ZVK_Camera_SetZoom(0, 1, 1, 2.0),
        ZVK_Camera_Shutdown(0),
    };
    for (const int32_t answer : answers)
        EXPECT_EQ(answer, ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(number, 7);
    EXPECT_STREQ(name, "kept");
}

TEST_F(CameraTest, ACameraThatIsNotSimulatedStartsItsLoopsAndNothingElse)
{
    Write({.simulate = "0"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::initialised), 0);
    EXPECT_EQ(threads->Scheduled().size(), 2U);
    EXPECT_TRUE(clock.Delays().empty()) << "no images are built";
    EXPECT_TRUE(g_camera.acquiredImage.empty());
    EXPECT_STREQ(g_camera.modelName, "");
    EXPECT_EQ(AcquiredSize(), (Sizes{0, 0}));
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(threads->Held().size(), 2U) << "its loops go on";
}

TEST_F(CameraTest, InitWithoutSimulationTakesTheSizeOfTheLastSensorOver)
{
    BringUp({.nativeX = "1024", .nativeY = "768"});
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    Write({.simulate = "0"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
    EXPECT_EQ(AcquiredSize(), (Sizes{1024, 768}));
}

TEST_F(CameraTest, ShutdownWithoutInitChangesNothing)
{
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(windows.Calls(), Calls{});
    EXPECT_TRUE(clock.Delays().empty());
}

TEST_F(CameraTest, WithSimulate1ShutdownEndsTheFramesAlone)
{
    BringUp();
    BeginLoops();
    CameraSet(&ZVK_CameraState::recording, uint8_t{1});
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::runAcquire), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::runDisplay), 1) << "the display loop goes on";
    EXPECT_EQ(Get(&ZVK_CameraState::initialised), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::recording), 1);
    EXPECT_EQ(windows.Calls(), Calls{});
    EXPECT_FALSE(g_camera.displayImage.empty());
    EXPECT_EQ(threads->Held().size(), 2U);
    EXPECT_FALSE(Acquire());
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_CAMERA_NOT_INITIALIZED);
}

TEST_F(CameraTest, WithAnyOtherSimulateShutdownEndsEverything)
{
    for (const char *simulate : {"2", "-1"}) {
        BringUp({.simulate = simulate, .histogram = "1"});
        EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
        EXPECT_EQ(windows.OpenTitles(), Calls{}) << "no window is left";
        EXPECT_TRUE(g_camera.acquiredImage.empty());
        EXPECT_TRUE(g_camera.displayImage.empty());
        EXPECT_EQ(g_camera.displayHeader.imageData, nullptr);
        EXPECT_EQ(g_camera.userOverlayHeader.imageData, nullptr);
        EXPECT_TRUE(threads->Held().empty()) << "both ids are released";
        EXPECT_TRUE(threads->Scheduled().empty());
        EXPECT_EQ(Get(&ZVK_CameraState::initialised), 0);
        EXPECT_EQ(g_camera.acquireThreadId, 0);
        EXPECT_EQ(g_camera.displayThreadId, 0);
    }
}

TEST_F(CameraTest, LoopsThatHaveNotBegunWhenTheCameraGoesDownEndAtOnce)
{
    BringUp({.simulate = "2"});
    const std::vector<int> ids = threads->Scheduled();
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    for (const int id : ids)
        threads->Run(id);  // returns
    EXPECT_EQ(Get(&ZVK_CameraState::runAcquire), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::runDisplay), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 0);
}

TEST_F(CameraTest, InitAfterShutdownStartsNewLoopsAndNeverMoreThanOnePair)
{
    for (const char *simulate : {"1", "2", "1", "0", "1"}) {
        Write({.simulate = simulate});
        EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
        EXPECT_EQ(threads->Scheduled().size(), 2U);
        EXPECT_EQ(threads->Held().size(), 2U);
        (void)ZVK_Camera_Shutdown(0);
    }
}

TEST_F(CameraTest, TheAcquisitionLoopIsScheduledFirstAndBothAreGivenTheSession)
{
    struct Row
    {
        ZVK_PoolFunction function;
        SessionHandle session;
    };
    static std::vector<Row> s_rows;
    s_rows.clear();
    ZVK_ThreadTable table = Threads();
    table.schedule = [](ZVK_PoolFunction function, void *data, int *id) {
        *id = static_cast<int>(s_rows.size()) + 1;
        s_rows.push_back({function, *static_cast<SessionHandle *>(data)});
        return 0;
    };
    UseThreads(&table);
    Write({});
    EXPECT_EQ(ZVK_Camera_Init(4711, 0, 0), ZVK_SUCCESS);
    threads = std::make_unique<TestTimers>();
    ASSERT_EQ(s_rows.size(), 2U);
    EXPECT_EQ(s_rows[0].function, &ZVK_Camera_AcquireLoop);
    EXPECT_EQ(s_rows[1].function, &ZVK_Camera_DisplayLoop);
    EXPECT_EQ(s_rows[0].session, 4711U);
    EXPECT_EQ(s_rows[1].session, 4711U);
}

TEST_F(CameraTest, WithSimulate1AnAcquisitionLoopThatHasNotBegunEndsAtOnce)
{
    BringUp();
    const int acquire = threads->Scheduled().at(0);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    clock.OnWait([] {
        ADD_FAILURE() << "it waits for a frame";
        CameraSet(&ZVK_CameraState::runAcquire, uint8_t{0});
    });
    threads->Run(acquire);
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::acquireRunning), 0);
}

TEST_F(CameraTest, AFullShutdownEndsTheFramesThenTheRecordingThenThePictures)
{
    const RecordingMedia media;
    BringUp({.simulate = "2"});
    BeginLoops();
    char path[4096] = "a.avi";
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, path, 0), ZVK_SUCCESS);
    std::vector<Sizes> seen;
    clock.OnWait([&] {  // the wait for the last write
        seen.push_back({Get(&ZVK_CameraState::runAcquire), Get(&ZVK_CameraState::recording),
                        Get(&ZVK_CameraState::runDisplay), Get(&ZVK_CameraState::initialised),
                        static_cast<int32_t>(threads->Scheduled().size())});
    });
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(seen, (std::vector<Sizes>{{0, 0, 1, 1, 1}})) << "the display loop alone is left";
    EXPECT_TRUE(media.Open().empty());
}

TEST_F(CameraTest, TheHandlesAreNullBeforeInitAndAfterAFullShutdownAlone)
{
    const auto handles = [] {
        int some = 0;
        void *display = &some;
        void *overlay = &some;
        EXPECT_EQ(ZVK_Camera_GetDisplayHandle(0, &display), ZVK_SUCCESS);
        EXPECT_EQ(ZVK_Camera_GetUserOverlay(0, &overlay), ZVK_SUCCESS);
        EXPECT_EQ(display == nullptr, overlay == nullptr);
        return display;
    };
    EXPECT_EQ(handles(), nullptr);
    BringUp();
    const void *const first = handles();
    EXPECT_NE(first, nullptr);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(handles(), first) << "the images stay";
    BringUp({.simulate = "2"});
    EXPECT_EQ(handles(), first);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(handles(), nullptr);
}

TEST_F(CameraTest, ThreadsThatAreNotToBeHadDoNotEndInit)
{
    Write({});
    threads->FailNextStart(-2);
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
    EXPECT_EQ(g_camera.acquireThreadId, 0);
    EXPECT_NE(g_camera.displayThreadId, 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
}

TEST_F(CameraTest, OfASensorWhoseHeightCanNotBeReadTheWidthCounts)
{
    Write({.nativeX = "300"}, {"NATIVERESOLUTION_Y"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::nativeWidth), 300);
    EXPECT_EQ(Get(&ZVK_CameraState::nativeHeight), 0);
    EXPECT_EQ(AcquiredSize(), (Sizes{150, 0}));
    EXPECT_TRUE(g_camera.acquiredImage.empty());
}

TEST_F(CameraTest, ASensorThatCanNotBeReadLeavesACameraWithoutFrames)
{
    Write({}, {"NATIVERESOLUTION_X"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS) << "the status is dropped";
    EXPECT_EQ(AcquiredSize(), (Sizes{0, 0}));
    EXPECT_EQ(Get(&ZVK_CameraState::initialised), 1);
    BeginLoops();
    EXPECT_TRUE(Acquire());
    EXPECT_TRUE(Display());
    EXPECT_TRUE(windows.Pictures().empty());
}

TEST_F(CameraTest, AWindowThatCanNotBeMadeLeavesACameraWithoutPicture)
{
    Write({}, {"PARENTNAME"});
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_SUCCESS) << "the status is dropped";
    EXPECT_EQ(windows.OpenTitles(), Calls{});
    EXPECT_EQ(DisplaySize(), (Sizes{0, 0}));
    EXPECT_TRUE(g_camera.displayImage.empty());
    EXPECT_FALSE(g_camera.acquiredImage.empty());
    BeginLoops();
    EXPECT_TRUE(Acquire());
    EXPECT_TRUE(Display());
    EXPECT_EQ(Get(&ZVK_CameraState::frameCount), 1);
}

TEST_F(CameraTest, OfASectionWithoutFileInitTellsThat)
{
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), ZVK_CONFILE_NOT_READABLE);
    EXPECT_TRUE(CapturedCodes().empty());
}

TEST_F(CameraTest, TheCallThatLogsACamerasErrorDoesNothing)
{
    ZVK_Camera_LogAndorError(0, 20002);
    EXPECT_EQ(folder.CountFiles(), 0);
}
