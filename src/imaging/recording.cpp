// Videos: the frames as they come, each with a line of text, or the pictures as they are shown.

#include "imaging/recording.h"

#include "imaging/camera.h"
#include "imaging/color_mode.h"
#include "imaging/file_naming.h"
#include "imaging/frame_text.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/media.h"
#include "quorvex/camera.h"

#include <opencv2/imgproc.hpp>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>
#include <utility>

constexpr double kLastWriteS = 0.3;  // a write that has begun ends meanwhile
constexpr double kRateInstead = 50.0;
constexpr double kLowestRate = 0.1;  // far below, FFmpeg ends the process
constexpr double kHighestRate = 1000.0;
constexpr int32_t kRateFrames = 20;
constexpr int kStampFromBottom = 26;
constexpr int32_t kOtherWriter = 64;  // bit of the backend that has a file format of its own
static const char *const kOtherFormat = ".dcimg";

static ZVK_Picture PictureOf(const cv::Mat &image)
{
    return {image.data, image.cols, image.rows, static_cast<int64_t>(image.step[0])};
}

// -- the loops --

static void WriteToVideo(const cv::Mat &image)
{
    // With the writer held: who closes the file then finds its frames counted.
    const std::lock_guard writer(CameraWriter());
    // What could not be opened takes no frame, and a frame that is not taken is lost: the recording
    // counts on.
    if (g_camera.videoWriter != nullptr)
        (void)Media().writeFrame(g_camera.videoWriter, PictureOf(image));
    const std::lock_guard data(CameraData());
    ++g_camera.recordFrameNumber;
}

void RenewRateText()
{
    if (g_camera.frameCount % kRateFrames == 0) PutRate(g_camera.fpsText, g_camera.framesPerSecond);
}

namespace {

struct Stamp
{
    double elapsed = 0.0;
    int32_t number = 0;
    ZVK_CameraFont font;
};

}  // namespace

// False when this frame isn't part of a recording of frames; one that was counted before the
// recording began is none.
static bool StampOfFrame(Stamp &stamp)
{
    const std::lock_guard data(CameraData());
    if (g_camera.recording == 0 || g_camera.recordWithOverlay != 0) return false;
    if (g_camera.dcimgMode == 1) return false;  // a file of that format has no writer here
    if (g_camera.frameCount == g_camera.recordStartFrame) return false;
    stamp = {g_camera.recordElapsed, g_camera.recordFrameNumber, g_camera.textFont};
    RenewRateText();
    return true;
}

// The text goes into the frame itself, so that the next one shown has it too.
void RecordFrame()
{
    Stamp stamp;
    if (g_camera.acquiredImage.empty() || !StampOfFrame(stamp)) return;
    PutStamp(g_camera.stampText, stamp.elapsed, stamp.number);
    cv::Mat &frame = g_camera.acquiredImage;
    cv::putText(frame, g_camera.stampText, {frame.cols / 2, frame.rows - kStampFromBottom},
                stamp.font.face, stamp.font.scale, cv::Scalar(255, 255, 255, 0),
                stamp.font.thickness, stamp.font.lineType);
    WriteToVideo(frame);
}

void RecordPicture()
{
    {
        const std::lock_guard data(CameraData());
        if (g_camera.recording == 0 || g_camera.recordWithOverlay == 0) return;
    }
    WriteToVideo(g_camera.displayImage);
}

// -- the writer --

void CloseVideo()
{
    void *video = nullptr;
    {
        const std::lock_guard writer(CameraWriter());
        std::swap(g_camera.videoWriter, video);
    }
    if (video != nullptr) (void)Media().closeVideo(video);
}

// A process that ends while it records leaves a whole file. The handler comes after those of the
// writer's libraries, so that it runs before them.
static void CloseVideoBeforeExit()
{
    static std::once_flag once;
    std::call_once(once, [] { (void)std::atexit(CloseVideo); });
}

static bool IsOtherFormat(std::string_view path) { return path.ends_with(kOtherFormat); }

// The file is there and stays empty. One that exists is left alone.
static void MakeEmptyFile(const char *path)
{
    const int file = Files().open(path, ZVK_OPEN_EXCLUSIVE);
    if (file >= 0) (void)Files().close(file);
}

// Null when there is no such writer. Before the first 20 frames no rate has been measured, and one
// beyond what can be written is as good as none.
static void *OpenWriter(const char *path, const cv::Size &size)
{
    if (IsOtherFormat(path)) {
        MakeEmptyFile(path);
        return nullptr;
    }
    double rate = 0.0;
    bool color = false;
    {
        const std::lock_guard data(CameraData());
        rate = g_camera.framesPerSecond;
        color = (g_camera.colorMode & kColor) != 0 || g_camera.simulate != 0;
    }
    if (!(rate >= kLowestRate && rate <= kHighestRate)) rate = kRateInstead;
    void *video = Media().openVideo(path, rate, size.width, size.height, color);
    if (video != nullptr) CloseVideoBeforeExit();
    return video;
}

// -- start and stop --

// Only a recording that gets its name here chooses between frames and shown pictures; any other
// one keeps the choice of the last that did.
static bool NameVideo(char *pathName, bool withOverlay, char *made)
{
    const char *extension = ".avi";
    if (CameraGet(&ZVK_CameraState::dcimgMode) != 0 && !withOverlay) extension = kOtherFormat;
    if (!MakeFileName(ZVK_FOLDER_VIDEOS, extension, made)) return false;
    CameraSet(&ZVK_CameraState::recordWithOverlay, static_cast<uint8_t>(withOverlay));
    if (pathName != nullptr) std::strcpy(pathName, made);
    return true;
}

static cv::Size SizeOfVideo(bool withOverlay)
{
    cv::Size display;
    {
        const std::lock_guard picture(CameraPicture());
        display = g_camera.scaledImage.size();
    }
    // Where there is no picture, for want of memory, the next region makes one of the size that
    // was.
    if (CameraGet(&ZVK_CameraState::simulate) != 0 && !display.empty()) {
        const std::lock_guard data(CameraData());
        g_camera.displayWidth = display.width;
        g_camera.displayHeight = display.height;
    }
    if (withOverlay) return display;
    const std::lock_guard frame(CameraFrame());
    return g_camera.acquiredImage.size();
}

// The new writer and its counters at once, so that no frame of an old recording is counted in the
// new file, or written there and not counted.
static void BeginRecording(void *video)
{
    const double now = Clock().timer();
    const std::lock_guard writer(CameraWriter());
    g_camera.videoWriter = video;
    const std::lock_guard data(CameraData());
    g_camera.recording = 1;
    g_camera.recordingActive = 1;
    g_camera.recordStartFrame = g_camera.frameCount;
    g_camera.recordFrameNumber = 0;
    g_camera.recordedSpan = 0;
    g_camera.recordStartTime = now;
}

static int32_t StartRecording(char *pathName, bool withOverlay)
{
    char made[kPathSize];
    const char *path = pathName;
    if (path == nullptr || *path == '\0') {
        if (!NameVideo(pathName, withOverlay, made)) return ZVK_CAMERA_NO_MEMORY;
        path = made;
    }
    CloseVideo();  // first, as both may have the same file
    BeginRecording(OpenWriter(path, SizeOfVideo(withOverlay)));
    return ZVK_SUCCESS;
}

// With the other format's backend the file is left open, until the next recording or the end of
// the camera.
static bool StaysOpen()
{
    const std::lock_guard data(CameraData());
    return (g_camera.backend & kOtherWriter) != 0 && g_camera.dcimgMode == 1 &&
           g_camera.recordWithOverlay == 0;
}

static int32_t StopRecording()
{
    if (CameraGet(&ZVK_CameraState::recording) == 0) return ZVK_SUCCESS;
    CameraSet(&ZVK_CameraState::recording, uint8_t{0});
    Clock().delay(kLastWriteS);
    CameraSet(&ZVK_CameraState::recordingActive, uint8_t{0});
    if (!StaysOpen()) CloseVideo();
    const std::lock_guard data(CameraData());
    const uint32_t passed = static_cast<uint32_t>(g_camera.frameCount) -
                            static_cast<uint32_t>(g_camera.recordStartFrame);
    g_camera.recordedSpan = static_cast<int32_t>(passed);
    return ZVK_SUCCESS;
}

int32_t ZVK_Camera_SaveVideo(SessionHandle, uint16_t record, char *pathName, uint16_t SaveOverlay)
{
    const std::lock_guard turn(CameraTurn());
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    return record != 0 ? StartRecording(pathName, SaveOverlay != 0) : StopRecording();
}

int32_t ZVK_Camera_SaveVideoDCIMG(SessionHandle, int32_t OnOff)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    CameraSet(&ZVK_CameraState::dcimgMode, OnOff);
    return ZVK_SUCCESS;
}
