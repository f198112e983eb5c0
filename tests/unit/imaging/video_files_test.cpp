// Real picture and video files: written, read back, counted, and their stamps looked at.

#include "camera_fixture.h"
#include "failing_files.h"
#include "imaging/recording.h"
#include "platform/media.h"
#include "recording_media.h"

#include "quorvex/errors.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <clocale>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

class VideoFiles : public CameraTest
{
protected:
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

    static void Frames(int count)
    {
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(Acquire());
            ASSERT_TRUE(Display());
        }
    }

    // Records that many frames, or pictures of the window, into the file.
    void Record(const std::string &path, int frames, bool overlay = false)
    {
        std::string name = path;
        CameraSet(&ZVK_CameraState::recordWithOverlay, static_cast<uint8_t>(overlay));
        ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, name.data(), overlay ? 1 : 0), ZVK_SUCCESS);
        Frames(frames);
        ASSERT_EQ(ZVK_Camera_SaveVideo(0, 0, name.data(), 0), ZVK_SUCCESS);
    }

    static std::vector<cv::Mat> ReadBack(const std::string &path)
    {
        std::vector<cv::Mat> frames;
        cv::VideoCapture video(path);
        cv::Mat frame;
        while (video.read(frame))
            frames.push_back(frame.clone());
        return frames;
    }

    static double RateOf(const std::string &path)
    {
        return cv::VideoCapture(path).get(cv::CAP_PROP_FPS);
    }

    int32_t SaveImage(const std::string &path, bool overlay = false)
    {
        path.copy(name, sizeof name - 1);
        name[path.size()] = '\0';
        return ZVK_Camera_SaveImage(0, name, overlay ? 1 : 0);
    }

    char name[4096] = {};
    ScopedVariable home{"HOME", folder.Path().c_str()};
    ScopedVariable desktop{"XDG_CONFIG_HOME", folder.Path().c_str()};
};

static int Bright(const cv::Mat &frame)
{
    cv::Mat grey;
    cv::extractChannel(frame, grey, 1);
    return cv::countNonZero(grey > 128);
}

TEST_F(VideoFiles, AVideoOfFramesIsReadBackWithAllOfThemAndTheirStamps)
{
    Start();
    const std::string path = folder.Path("frames.avi");
    Record(path, 12);
    const std::vector<cv::Mat> frames = ReadBack(path);
    ASSERT_EQ(frames.size(), 12U);
    EXPECT_EQ(Get(&ZVK_CameraState::recordFrameNumber), 12);
    EXPECT_NEAR(RateOf(path), 50.0, 0.01) << "the rate that stands in for none";
    for (const cv::Mat &frame : frames) {
        EXPECT_EQ(frame.size(), cv::Size(256, 256));
        EXPECT_EQ(Bright(frame(cv::Rect(0, 0, 256, 210))), 0);
        EXPECT_GT(Bright(frame(cv::Rect(127, 215, 129, 20))), 50);
    }
    EXPECT_GT(Bright(frames[11]), Bright(frames[0])) << "the stamps pile up";
}

TEST_F(VideoFiles, TheStampsOfAVideoCanBeRead)
{
    Start({.nativeX = "1024", .nativeY = "512"});  // frames of 512 by 256: the whole text has room
    const std::string path = folder.Path("stamps.avi");
    Record(path, 3);
    const std::vector<cv::Mat> frames = ReadBack(path);
    ASSERT_EQ(frames.size(), 3U);
    // Each frame has its own text over those before it.
    cv::Mat expected = cv::Mat::zeros(256, 512, CV_8UC3);
    const char *const texts[] = {"0.02 sec  Frame Number: 0", "0.04 sec  Frame Number: 1",
                                 "0.06 sec  Frame Number: 2"};
    for (size_t i = 0; i < 3; ++i) {
        cv::putText(expected, texts[i], {256, 230}, cv::FONT_HERSHEY_SIMPLEX, 0.4,
                    cv::Scalar::all(255), 1, cv::LINE_AA);
        cv::Mat difference;
        cv::absdiff(frames[i], expected, difference);
        EXPECT_LT(Bright(difference), 3) << texts[i];
        EXPECT_GT(Bright(expected), 150);
    }
}

TEST_F(VideoFiles, AVideoOfTheWindowHoldsTheOverlay)
{
    Start();
    {
        const std::lock_guard picture(CameraPicture());
        g_camera.userOverlayImage(cv::Rect(100, 100, 200, 200)).setTo(cv::Scalar(0, 200, 0));
    }
    ASSERT_EQ(ZVK_Camera_SetUserOverlay(0, 1), ZVK_SUCCESS);
    const std::string path = folder.Path("window.avi");
    Record(path, 5, true);
    const std::vector<cv::Mat> frames = ReadBack(path);
    ASSERT_EQ(frames.size(), 5U);
    EXPECT_EQ(frames[4].size(), cv::Size(800, 600));
    EXPECT_NEAR(frames[4].at<cv::Vec3b>(200, 200)[1], 200, 12);
    EXPECT_NEAR(frames[4].at<cv::Vec3b>(500, 500)[1], 0, 12);
}

TEST_F(VideoFiles, EachContainerThatIsToldToWorkDoes)
{
    Start();
    for (const char *file : {"a.avi", "b.mkv", "c.mp4", "d.mov", "e.AVI", "f.MOV"}) {
        const std::string path = folder.Path(file);
        Record(path, 4);
        EXPECT_EQ(ReadBack(path).size(), 4U) << file;
    }
}

TEST_F(VideoFiles, TheMeasuredRateIsThatOfTheFile)
{
    Start();
    CameraSet(&ZVK_CameraState::framesPerSecond, 49.73);
    const std::string path = folder.Path("rate.avi");
    Record(path, 3);
    EXPECT_NEAR(RateOf(path), 49.73, 0.01);
    EXPECT_EQ(ReadBack(path).size(), 3U);
}

TEST_F(VideoFiles, FramesOfAnotherSizeAndOddOnesAreNotLost)
{
    Start({.nativeX = "514", .nativeY = "1030"});  // frames of 257 by 515
    const std::string path = folder.Path("odd.avi");
    Record(path, 3);
    EXPECT_EQ(ReadBack(path).size(), 3U);

    std::string change = folder.Path("change.avi");
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, change.data(), 0), ZVK_SUCCESS);
    Frames(2);
    ASSERT_EQ(ZVK_Camera_SetROI(0, 2, 1, nullptr, nullptr), ZVK_SUCCESS);
    Frames(2);
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 0, change.data(), 0), ZVK_SUCCESS);
    EXPECT_EQ(ReadBack(change).size(), 4U);
}

TEST_F(VideoFiles, ANameThatTellsNoFormatLosesNoFileOfThatName)
{
    Start();
    // The writers know many of these names, and have no place for frames there.
    for (const char *file : {"old.xyz", "old", "old.txt", "old.gif", "old.wav", "old.mp3",
                             "old.xml", "old.srt", "old.webm", "old.png", "old.ini.mpg", "avi"})
    {
        folder.Write(file, "what was there");
        Record(folder.Path(file), 2);
        EXPECT_EQ(folder.Read(file), "what was there") << file;
        EXPECT_EQ(Get(&ZVK_CameraState::recordFrameNumber), 2) << "it counts on";
    }
    Record(folder.Path("no/such/folder/a.avi"), 2);
    EXPECT_EQ(Get(&ZVK_CameraState::recordedSpan), 2);
}

TEST_F(VideoFiles, FramesOfEachSizeAreWrittenOrTheFileOfThatNameIsLeftAlone)
{
    struct Row
    {
        const char *nativeX;  // a frame has half of it
        const char *nativeY;
        size_t avi;  // frames read back
        size_t mkv;
    };
    // Narrow ones have OpenCV's own writer alone.
    const std::vector<Row> rows = {
        {"2", "2", 3, 0},  {"4", "4", 3, 0},  {"6", "90", 3, 0},    {"4", "18000", 3, 0},
        {"8", "90", 3, 3}, {"90", "4", 3, 3}, {"18000", "4", 3, 3}, {"90", "2", 3, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.nativeX) + " by " + row.nativeY);
        g_camera = {};
        Start({.nativeX = row.nativeX, .nativeY = row.nativeY});
        folder.Write("a.mkv", "what was there");
        Record(folder.Path("a.avi"), 3);
        Record(folder.Path("a.mkv"), 3);
        EXPECT_EQ(ReadBack(folder.Path("a.avi")).size(), row.avi);
        if (row.mkv > 0) {
            EXPECT_EQ(ReadBack(folder.Path("a.mkv")).size(), row.mkv);
        } else {
            EXPECT_EQ(folder.Read("a.mkv"), "what was there");
        }
        EXPECT_EQ(Get(&ZVK_CameraState::recordFrameNumber), 3);
        ASSERT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
    }
}

TEST_F(VideoFiles, ALowRateIsKeptAndOneThatNoFileHoldsBecomes50)
{
    Start();
    const std::pair<double, double> rows[] = {{0.1, 0.1},   {0.5, 0.5},     {0.05, 50.0},
                                              {1e-9, 50.0}, {1e-320, 50.0}, {1000.0, 1000.0}};
    for (const auto &[measured, held] : rows) {
        for (const char *file : {"rate.avi", "rate.mkv", "rate.mp4"}) {
            CameraSet(&ZVK_CameraState::framesPerSecond, measured);
            const std::string path = folder.Path(file);
            Record(path, 3);
            EXPECT_NEAR(RateOf(path), held, 0.01 * held) << file << measured;
            EXPECT_EQ(ReadBack(path).size(), 3U) << file << measured;
        }
    }
}

TEST_F(VideoFiles, StampsHaveAPointWhateverTheLocale)
{
    Start();
    const char *german = std::setlocale(LC_ALL, "de_DE.UTF-8");
    Record(folder.Path("a.avi"), 1);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(g_camera.stampText, "0.02 sec  Frame Number: 0") << (german ? german : "C alone");
}

TEST_F(VideoFiles, ARecordingOnRealThreadsHasTheFramesThatItCounted)
{
    threads.reset();
    clock.OnWait([] { std::this_thread::yield(); });
    BringUp();
    std::string path = folder.Path("threads.avi");
    for (const uint16_t overlay : {0, 1}) {
        CameraSet(&ZVK_CameraState::recordWithOverlay, static_cast<uint8_t>(overlay));
        ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, path.data(), overlay), ZVK_SUCCESS);
        {
            std::unique_lock data(CameraData());
            CameraCondition().wait(data, [] { return g_camera.recordFrameNumber >= 20; });
        }
        ASSERT_EQ(ZVK_Camera_SaveVideo(0, 0, path.data(), 0), ZVK_SUCCESS);
        const auto written = static_cast<size_t>(Get(&ZVK_CameraState::recordFrameNumber));
        const size_t held = ReadBack(path).size();
        EXPECT_LE(held, written) << "each frame in the file is counted when the stop returns";
        EXPECT_GE(held + 1, written) << "a frame that came while the file was closed";
        EXPECT_LE(Get(&ZVK_CameraState::recordFrameNumber),
                  Get(&ZVK_CameraState::recordedSpan) + 1);
    }
}

// -- pictures --

TEST_F(VideoFiles, APictureBeforeInitGivesNotInitializedAndMakesNoName)
{
    EXPECT_EQ(SaveImage(""), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_STREQ(name, "");
}

TEST_F(VideoFiles, AnEmptyNameBecomesOneOfThePicturesFolder)
{
    Start();
    clock.SetLocalTime(
        {.hours = 9, .minutes = 30, .seconds = 5, .month = 1, .day = 2, .year = 2017});
    ASSERT_EQ(SaveImage(""), ZVK_SUCCESS);
    EXPECT_EQ(name, folder.Path("Pictures") + "/20170102_093005.tif");
    EXPECT_EQ(cv::imread(name).size(), cv::Size(256, 256));
    fs::remove(name);
    EXPECT_EQ(ZVK_Camera_SaveImage(0, nullptr, 1), ZVK_SUCCESS);
    EXPECT_EQ(cv::imread(name).size(), cv::Size(800, 600)) << "a name that nobody is told";
}

TEST_F(VideoFiles, EachFormatHoldsTheFrameOrTheWindow)
{
    Start();
    {
        const std::lock_guard frame(CameraFrame());
        g_camera.acquiredImage.setTo(cv::Scalar(10, 20, 30));
    }
    Frames(1);
    for (const char *file : {"a.tif", "a.tiff", "a.PNG", "a.jpg", "a.bmp", "a.webp"}) {
        SCOPED_TRACE(file);
        const std::string path = folder.Path(file);
        ASSERT_EQ(SaveImage(path), ZVK_SUCCESS);
        cv::Mat read = cv::imread(path);
        ASSERT_EQ(read.size(), cv::Size(256, 256));
        EXPECT_NEAR(read.at<cv::Vec3b>(128, 128)[2], 30, 3);
        ASSERT_EQ(SaveImage(path, true), ZVK_SUCCESS) << "in the place of the first";
        read = cv::imread(path);
        ASSERT_EQ(read.size(), cv::Size(800, 600));
        EXPECT_NEAR(read.at<cv::Vec3b>(300, 400)[0], 10, 3);
    }
}

TEST_F(VideoFiles, APictureThatCannotBeWrittenGivesItsStatusAndLeavesTheFileAlone)
{
    Start();
    for (const char *file : {"old.xyz", "old", "old.gif"}) {
        folder.Write(file, "what was there");
        EXPECT_EQ(SaveImage(folder.Path(file)), ZVK_CAMERA_IMAGE_WRITE_FAILED) << file;
        EXPECT_EQ(folder.Read(file), "what was there");
    }
    EXPECT_EQ(SaveImage(folder.Path("no/such/folder/a.tif")), ZVK_CAMERA_IMAGE_WRITE_FAILED);
    EXPECT_EQ(SaveImage("/dev/null.tif/x"), ZVK_CAMERA_IMAGE_WRITE_FAILED);
    fs::create_directory(folder.Path("folder.tif"));
    EXPECT_EQ(SaveImage(folder.Path("folder.tif")), ZVK_CAMERA_IMAGE_WRITE_FAILED);
    EXPECT_TRUE(fs::is_directory(folder.Path("folder.tif")));
    std::string longest(3000, 'x');
    longest += ".tif";
    EXPECT_EQ(SaveImage(folder.Path(longest)), ZVK_CAMERA_IMAGE_WRITE_FAILED);
}

TEST_F(VideoFiles, WithoutAFrameThereIsNoPicture)
{
    Start();
    ASSERT_EQ(ZVK_Camera_SetROI(0, 9, 3, nullptr, nullptr), ZVK_SUCCESS);
    EXPECT_EQ(SaveImage(folder.Path("none.tif")), ZVK_CAMERA_IMAGE_WRITE_FAILED);
    EXPECT_FALSE(folder.Holds("none.tif"));
    EXPECT_EQ(SaveImage(folder.Path("window.tif"), true), ZVK_SUCCESS) << "the window has one";
}

TEST_F(VideoFiles, EachFileCallThatFailsLeavesTheOldPictureOrNone)
{
    Start();
    for (const bool there : {false, true}) {
        for (int nth = 1;; ++nth) {
            ASSERT_LT(nth, 300);
            folder.Remove("a.tif");
            if (there) folder.Write("a.tif", "old");
            const int before = folder.CountFiles();
            FailingFiles files;
            files.FailAt(nth);
            const int32_t status = SaveImage(folder.Path("a.tif"));
            if (!files.Failed()) {
                EXPECT_EQ(status, ZVK_SUCCESS);
                EXPECT_GT(nth, 3);
                break;
            }
            EXPECT_EQ(files.OpenFiles(), 0);
            if (status == ZVK_SUCCESS) continue;  // one that it can do without
            EXPECT_EQ(status, ZVK_CAMERA_IMAGE_WRITE_FAILED);
            EXPECT_EQ(folder.Read("a.tif"), there ? "old" : "");
            EXPECT_EQ(folder.CountFiles(), before) << files.Calls().back();
        }
    }
}

TEST_F(VideoFiles, AnEncoderThatFailsWritesNoFile)
{
    Start();
    RecordingMedia media;
    media.FailAt(1);
    EXPECT_EQ(SaveImage(folder.Path("a.tif")), ZVK_CAMERA_IMAGE_WRITE_FAILED);
    EXPECT_TRUE(media.Failed());
    EXPECT_FALSE(folder.Holds("a.tif"));
    EXPECT_EQ(media.Calls(), (Calls{"encode(a.tif, 256x256)"}));
}

// -- the seam's own back-end --

TEST(MediaBackEnd, RefusesWhatItCannotDo)
{
    std::vector<uint8_t> bytes;
    const uint8_t pixel[3] = {};
    const ZVK_Picture one = {pixel, 1, 1, 3};
    EXPECT_LT(Media().encode("a.tif", {}, bytes), 0);
    EXPECT_LT(Media().encode("a.xyz", one, bytes), 0);
    EXPECT_EQ(Media().encode("a.png", one, bytes), 0);
    EXPECT_EQ(Media().openVideo("a.avi", 50.0, 0, 10, true), nullptr);
    EXPECT_LT(Media().writeFrame(nullptr, one), 0);
    EXPECT_LT(Media().closeVideo(nullptr), 0);
}
