// Videos, in front of a writer that writes down what it is told: which loop writes, what is
// counted, what a start and a stop do.

#include "camera_fixture.h"
#include "failing_memory.h"
#include "imaging/recording.h"
#include "recording_media.h"

#include "quorvex/errors.h"

#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <limits>

class Recording : public CameraTest
{
protected:
    void SetUp() override
    {
        CameraTest::SetUp();
        clock.SetLocalTime(
            {.hours = 9, .minutes = 30, .seconds = 5, .month = 1, .day = 2, .year = 2017});
    }
    void TearDown() override
    {
        CloseVideo();
        CameraTest::TearDown();
    }

    void Start(const CameraConfig &config = {})
    {
        BringUp(config);
        BeginLoops();
    }

    // The name stays in the buffer, as a client gives it.
    int32_t Record(bool on, const std::string &path = {}, bool overlay = false)
    {
        path.copy(name, sizeof name - 1);
        name[path.size()] = '\0';
        return ZVK_Camera_SaveVideo(0, on ? 1 : 0, name, overlay ? 1 : 0);
    }

    static void Frames(int count)
    {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(Acquire());
            ASSERT_TRUE(Display());
        }
    }

    static int32_t Written() { return Get(&ZVK_CameraState::recordFrameNumber); }
    static int32_t Span() { return Get(&ZVK_CameraState::recordedSpan); }

    size_t Writes() const
    {
        size_t count = 0;
        for (const std::string &call : media.Calls())
            if (call.starts_with("write")) ++count;
        return count;
    }

    std::string Videos() const { return folder.Path("Videos"); }

    char name[4096] = {};
    ScopedVariable home{"HOME", folder.Path().c_str()};
    ScopedVariable desktop{"XDG_CONFIG_HOME", folder.Path().c_str()};
    RecordingMedia media;
};

TEST_F(Recording, BeforeInitEachCallGivesNotInitialized)
{
    EXPECT_EQ(Record(true), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(Record(false), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Camera_SaveVideoDCIMG(0, 1), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_STREQ(name, "") << "no name is made";
    EXPECT_EQ(Get(&ZVK_CameraState::dcimgMode), 0);
    EXPECT_EQ(media.Calls(), Calls());
}

TEST_F(Recording, AnEmptyNameBecomesOneOfTheVideosFolder)
{
    Start();
    ASSERT_EQ(Record(true, "", true), ZVK_SUCCESS);
    EXPECT_EQ(name, Videos() + "/20170102_093005.avi");
    EXPECT_TRUE(std::filesystem::is_directory(Videos())) << "made if absent";
    EXPECT_EQ(media.Calls(), (Calls{"open(20170102_093005.avi, 50, 800x600, color) = v1"}));
    EXPECT_EQ(Get(&ZVK_CameraState::recordWithOverlay), 1);
    ASSERT_EQ(Record(true, "", false), ZVK_SUCCESS);
    EXPECT_EQ(media.Calls().back(), "open(20170102_093005.avi, 50, 256x256, color) = v2");
    EXPECT_EQ(Get(&ZVK_CameraState::recordWithOverlay), 0);
    EXPECT_EQ(ZVK_Camera_SaveVideo(0, 1, nullptr, 1), ZVK_SUCCESS) << "a name that nobody is told";
    EXPECT_EQ(media.Calls().back(), "open(20170102_093005.avi, 50, 800x600, color) = v3");
}

TEST_F(Recording, AGivenNameKeepsTheChoiceOfTheLastEmptyOne)
{
    Start();
    ASSERT_EQ(Record(true, "", true), ZVK_SUCCESS);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    ASSERT_EQ(Record(true, "a.avi", false), ZVK_SUCCESS);
    EXPECT_STREQ(name, "a.avi");
    EXPECT_EQ(Get(&ZVK_CameraState::recordWithOverlay), 1);
    EXPECT_EQ(media.Calls().back(), "open(a.avi, 50, 256x256, color) = v2")
        << "the size is that which was asked for";
    Frames(1);
    EXPECT_EQ(media.Calls().back(), "write(v2, 800x600)") << "the writer scales it";
}

TEST_F(Recording, TheRateIsTheMeasuredOneAndBeforeThatTheFallBack)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    EXPECT_EQ(media.Calls().back(), "open(a.avi, 50, 256x256, color) = v1");
    for (int i = 0; i < 40; ++i) {
        clock.Advance(0.03);
        ASSERT_TRUE(Acquire());
    }
    CameraSet(&ZVK_CameraState::framesPerSecond, 20.0);
    ASSERT_EQ(Record(true, "b.avi"), ZVK_SUCCESS);
    EXPECT_EQ(media.Calls().back(), "open(b.avi, 20, 256x256, color) = v2");
    for (const double rate : {-1.0, 1e9, std::numeric_limits<double>::quiet_NaN()}) {
        CameraSet(&ZVK_CameraState::framesPerSecond, rate);
        ASSERT_EQ(Record(true, "c.avi"), ZVK_SUCCESS);
        EXPECT_NE(media.Calls().back().find("(c.avi, 50,"), std::string::npos) << rate;
    }
}

TEST_F(Recording, SimulatedFramesAreRecordedInColorInEveryMode)
{
    for (const char *mode : {"0", "1", "2", "6", "63"}) {
        g_camera = {};
        Start({.colorMode = mode});
        ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
        EXPECT_NE(media.Calls().back().find("color"), std::string::npos) << mode;
        ASSERT_EQ(Record(false), ZVK_SUCCESS);
    }
}

TEST_F(Recording, AStartSetsTheCountersAndAStopTheSpan)
{
    Start();
    Frames(7);
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::recording), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::recordingActive), 1);
    EXPECT_EQ(Get(&ZVK_CameraState::recordStartFrame), 7);
    EXPECT_EQ(Get(&ZVK_CameraState::recordStartTime), clock.Now());
    EXPECT_EQ(Written(), 0);
    EXPECT_EQ(Span(), 0);
    Frames(5);
    EXPECT_EQ(Written(), 5);
    EXPECT_EQ(Span(), 0) << "known after the stop";
    EXPECT_EQ(Writes(), 5U);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(clock.Delays().back(), 0.3);
    EXPECT_EQ(Span(), 5);
    EXPECT_EQ(Written(), 5);
    EXPECT_EQ(Get(&ZVK_CameraState::recording), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::recordingActive), 0);
    EXPECT_EQ(media.Calls().back(), "close(v1)");
    Frames(2);
    EXPECT_EQ(Writes(), 5U);
}

TEST_F(Recording, AStopWithoutARecordingDoesNothing)
{
    Start();
    const size_t delays = clock.Delays().size();
    EXPECT_EQ(Record(false, "kept"), ZVK_SUCCESS);
    EXPECT_EQ(clock.Delays().size(), delays);
    EXPECT_EQ(media.Calls(), Calls());
    EXPECT_STREQ(name, "kept");
}

TEST_F(Recording, FramesThatPassWhileTheStopWaitsCountInTheSpan)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    Frames(3);
    int waits = 0;
    clock.OnWait([&] {
        if (++waits == 1) Frames(2);
        EXPECT_EQ(media.Open(), (Calls{"v1"})) << "the file is closed behind the wait";
    });
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    clock.OnWait(nullptr);
    EXPECT_EQ(Written(), 3);
    EXPECT_EQ(Span(), 5);
}

TEST_F(Recording, WithoutOverlayEachFrameIsWrittenAlsoThoseThatAreNotShown)
{
    Start();
    ASSERT_EQ(Record(true, "", false), ZVK_SUCCESS);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(Acquire());
    ASSERT_TRUE(Display());
    EXPECT_EQ(media.Calls().back(), "write(v1, 256x256)");
    EXPECT_EQ(Written(), 4);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(Span(), 4);
}

TEST_F(Recording, WithOverlayThePicturesShownAreWrittenAndDroppedFramesAreNot)
{
    Start();
    ASSERT_EQ(Record(true, "", true), ZVK_SUCCESS);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(Acquire());
    EXPECT_EQ(Writes(), 0U);
    size_t shown = 0;
    media.OnWrite([&] { shown = windows.Pictures().size(); });
    ASSERT_TRUE(Display());
    EXPECT_EQ(shown, 1U) << "it is shown first";
    EXPECT_EQ(media.Calls().back(), "write(v1, 800x600)");
    EXPECT_EQ(Written(), 1);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(Span(), 4);
}

TEST_F(Recording, AFrameCountedBeforeTheStartIsNotWritten)
{
    Start();
    // A start comes between the count of a frame and its stamp.
    Frames(3);
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    {
        const std::lock_guard frame(CameraFrame());
        RecordFrame();
    }
    EXPECT_EQ(Written(), 0);
    Frames(1);
    EXPECT_EQ(Written(), 1);
}

TEST_F(Recording, StampsAreDrawnIntoTheFrameBehindItsHandOver)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    ASSERT_TRUE(Acquire());
    EXPECT_EQ(cv::countNonZero(g_camera.workImage.reshape(1)), 0) << "the copy has no stamp yet";
    EXPECT_GT(cv::countNonZero(g_camera.acquiredImage.reshape(1)), 100);
    EXPECT_EQ(g_camera.stampText, "0.02 sec  Frame Number: 0");
    // From the middle of the frame, 26 rows above its end, in the font of texts, in white.
    cv::Mat stamped = cv::Mat::zeros(256, 256, CV_8UC3);
    cv::putText(stamped, "0.02 sec  Frame Number: 0", {128, 230}, cv::FONT_HERSHEY_SIMPLEX, 0.4,
                cv::Scalar(255, 255, 255, 0), 1, cv::LINE_AA);
    EXPECT_EQ(cv::norm(stamped, g_camera.acquiredImage), 0.0);
    ASSERT_TRUE(Display());
    ASSERT_TRUE(Acquire());
    EXPECT_GT(cv::countNonZero(g_camera.workImage.reshape(1)), 100) << "the next one shows it";
    EXPECT_EQ(g_camera.stampText, "0.04 sec  Frame Number: 1");
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_GT(cv::countNonZero(g_camera.acquiredImage.reshape(1)), 100) << "they stay";
}

TEST_F(Recording, TheRateTextIsRenewedAtEachTwentiethFrame)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    Frames(19);
    EXPECT_STREQ(g_camera.fpsText, "");
    Frames(1);
    EXPECT_STREQ(g_camera.fpsText, "48 fps");
    Frames(20);
    EXPECT_STREQ(g_camera.fpsText, "50 fps");
}

TEST_F(Recording, ASecondStartCompletesTheFirstFile)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    Frames(2);
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    EXPECT_EQ(media.Open(), (Calls{"v2"}));
    EXPECT_EQ(media.Calls()[3], "close(v1)") << "before the second is opened";
    EXPECT_EQ(Written(), 0);
    EXPECT_EQ(Get(&ZVK_CameraState::recordStartFrame), 2);
}

TEST_F(Recording, AWriterThatCannotBeOpenedLosesNothing)
{
    Start();
    media.FailAt(1);
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    EXPECT_TRUE(media.Failed());
    Frames(3);
    EXPECT_EQ(Written(), 3) << "it counts on";
    EXPECT_EQ(Writes(), 0U);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(Span(), 3);
    ASSERT_EQ(Record(true, "b.avi"), ZVK_SUCCESS);
    Frames(1);
    EXPECT_EQ(Writes(), 1U);
}

TEST_F(Recording, AFrameThatCannotBeWrittenAndAFailingCloseEndNothing)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    media.FailAt(2);
    Frames(3);
    EXPECT_EQ(Written(), 3);
    EXPECT_EQ(Writes(), 3U);
    media.FailAt(1);
    EXPECT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(media.Open(), Calls());
}

TEST_F(Recording, WithoutAnImageARecordingHasNoFrames)
{
    Start();
    ASSERT_EQ(ZVK_Camera_SetROI(0, 9, 3, nullptr, nullptr), ZVK_SUCCESS);
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    EXPECT_EQ(media.Calls().back(), "open(a.avi, 50, 0x0, color) = v1");
    Frames(2);
    EXPECT_EQ(Written(), 0);
}

TEST_F(Recording, TheMakersFormatGetsAnEmptyFileAndNoFrame)
{
    Start();
    ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(Record(true, "", false), ZVK_SUCCESS);
    const std::string path = name;
    EXPECT_EQ(path, Videos() + "/20170102_093005.dcimg");
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
    Frames(3);
    EXPECT_EQ(Written(), 0);
    EXPECT_EQ(media.Calls(), Calls());
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(Span(), 3);
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
    EXPECT_EQ(cv::countNonZero(g_camera.acquiredImage.reshape(1)), 0) << "no stamp";
}

TEST_F(Recording, AFileOfTheMakersFormatIsLeftAlone)
{
    Start();
    folder.Write("old.dcimg", "old");
    const std::string old = folder.Path("old.dcimg");
    ASSERT_EQ(Record(true, old, false), ZVK_SUCCESS);
    EXPECT_EQ(std::filesystem::file_size(old), 3U);
}

TEST_F(Recording, TheMakersNameIsForEveryModeButThatOfPicturesShown)
{
    Start();
    ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, -7), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::dcimgMode), -7);
    ASSERT_EQ(Record(true, "", true), ZVK_SUCCESS);
    EXPECT_TRUE(std::string(name).ends_with(".avi"));
    ASSERT_EQ(Record(true, "", false), ZVK_SUCCESS);
    EXPECT_TRUE(std::string(name).ends_with(".dcimg"));
    Frames(2);
    EXPECT_EQ(Written(), 2) << "only a mode of exactly 1 keeps the loop from counting";
}

TEST_F(Recording, OverlaysAreRecordedWhateverTheMakersMode)
{
    Start();
    ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(Record(true, "", true), ZVK_SUCCESS);
    Frames(2);
    EXPECT_EQ(Writes(), 2U);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(media.Open(), Calls());
}

TEST_F(Recording, TheMakersBackendLeavesTheFileOpenUntilTheNextStart)
{
    Start({.backend = "72"});
    ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(Record(true, "a.avi", false), ZVK_SUCCESS);
    Frames(2);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(Span(), 2);
    EXPECT_EQ(media.Open(), (Calls{"v1"}));
    ASSERT_EQ(Record(true, "b.avi", false), ZVK_SUCCESS);
    EXPECT_EQ(media.Open(), (Calls{"v2"}));
    ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, 2), ZVK_SUCCESS);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(media.Open(), Calls()) << "a mode of exactly 1 alone";
}

TEST_F(Recording, OnlyTheMakersBackendModeAndFramesLeaveTheFileOpen)
{
    struct Row
    {
        const char *backend;
        int32_t mode;
        bool overlay;
        bool open;
    };
    const std::vector<Row> rows = {
        {"66", 1, false, true},  {"10", 1, false, false}, {"66", 2, false, false},
        {"66", 0, false, false}, {"66", 1, true, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.backend);
        g_camera = {};
        Start({.backend = row.backend});
        CameraSet(&ZVK_CameraState::recordWithOverlay, static_cast<uint8_t>(row.overlay));
        ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, row.mode), ZVK_SUCCESS);
        ASSERT_EQ(Record(true, "a.avi", row.overlay), ZVK_SUCCESS);
        Frames(1);
        ASSERT_EQ(Record(false), ZVK_SUCCESS);
        EXPECT_EQ(media.Open().size(), row.open ? 1U : 0U);
        EXPECT_EQ(Get(&ZVK_CameraState::recordingActive), 0);
        EXPECT_EQ(Span(), 1);
        CloseVideo();
    }
}

TEST_F(Recording, AFullEndStopsTheRecordingAndClosesEveryFile)
{
    Start({.simulate = "2"});
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    Frames(2);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::recording), 0);
    EXPECT_EQ(Span(), 2);
    EXPECT_EQ(media.Open(), Calls());

    Start({.simulate = "2", .backend = "72"});
    ASSERT_EQ(ZVK_Camera_SaveVideoDCIMG(0, 1), ZVK_SUCCESS);
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(media.Open(), Calls());
}

TEST_F(Recording, TheOtherEndLeavesTheRecordingAsItIs)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(Get(&ZVK_CameraState::recording), 1);
    EXPECT_EQ(media.Open(), (Calls{"v1"}));
    EXPECT_EQ(Record(false), ZVK_CAMERA_NOT_INITIALIZED);
    Start();
    Frames(1);
    EXPECT_EQ(media.Calls().back(), "write(v1, 256x256)") << "it goes on with the next start";
    EXPECT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(media.Open(), Calls());
}

TEST_F(Recording, AStartReadsTheSizeOfTheWindowsPictureAgain)
{
    Start();
    CameraSet(&ZVK_CameraState::displayWidth, int32_t{1});
    CameraSet(&ZVK_CameraState::displayHeight, int32_t{2});
    ASSERT_EQ(Record(true, "a.avi", true), ZVK_SUCCESS);
    EXPECT_EQ(DisplaySize(), (std::vector<int32_t>{800, 600}));
    EXPECT_EQ(media.Calls().back(), "open(a.avi, 50, 800x600, color) = v1");
    CameraSet(&ZVK_CameraState::displayWidth, int32_t{1});
    ASSERT_EQ(Record(true, "a.avi", false), ZVK_SUCCESS);
    EXPECT_EQ(DisplaySize(), (std::vector<int32_t>{800, 600})) << "also for a video of frames";
}

TEST_F(Recording, AStartWithoutAPictureKeepsTheWindowsSize)
{
    Start();
    {
        FailingMemory memory;
        memory.FailAt(1);
        ASSERT_EQ(ZVK_Camera_SetROI(0, 2, 1, nullptr, nullptr), ZVK_CAMERA_NO_MEMORY);
    }
    ASSERT_EQ(Record(true, "a.avi", true), ZVK_SUCCESS);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    EXPECT_EQ(DisplaySize(), (std::vector<int32_t>{800, 600}));
    ASSERT_EQ(ZVK_Camera_SetROI(0, 1, 1, nullptr, nullptr), ZVK_SUCCESS);
    Frames(1);
    EXPECT_EQ(windows.Pictures().back().title, "Camera Window") << "pictures come back";
}

TEST_F(Recording, EachStartBeginsItsCountersAnew)
{
    Start();
    ASSERT_EQ(Record(true, "a.avi"), ZVK_SUCCESS);
    Frames(4);
    ASSERT_EQ(Record(false), ZVK_SUCCESS);
    ASSERT_EQ(Span(), 4);
    ASSERT_EQ(Record(true, "b.avi"), ZVK_SUCCESS);
    EXPECT_EQ(Span(), 0);
    EXPECT_EQ(Written(), 0);
}

TEST_F(Recording, NamesHaveTwoDigitsForAllButTheYear)
{
    Start();
    clock.SetLocalTime(
        {.hours = 1, .minutes = 2, .seconds = 3, .month = 4, .day = 5, .year = 2026});
    ASSERT_EQ(Record(true, ""), ZVK_SUCCESS);
    EXPECT_EQ(name, Videos() + "/20260405_010203.avi");
}
