// The set of images that the loops work on: made, exchanged while they run, and freed.

#include "imaging/camera.h"
#include "platform/clock.h"
#include "quorvex/camera.h"

#include <climits>
#include <new>

constexpr double kExchangeS = 0.2;  // frames are dropped for that long
constexpr int kHistogramWidth = 256;
constexpr int kHistogramHeight = 100;
constexpr uint32_t kShiftMask = 31;

void PointHeaderAt(IplImage &header, const cv::Mat &picture)
{
    header = picture.empty() ? IplImage{} : cvIplImage(picture);
}

// Gives an image its size. One that has it keeps its pixels; a new one is black; a size without
// pixels leaves none. An image of more bytes than a header can tell finds no room.
static void Fit(cv::Mat &image, const cv::Size &size, int type = CV_8UC3)
{
    if (size.width <= 0 || size.height <= 0) {
        image.release();
        return;
    }
    if (int64_t{3} * size.width * size.height > INT_MAX) throw std::bad_alloc();
    if (image.size() == size && image.type() == type) return;
    image.release();  // first: never room for two
    image = cv::Mat::zeros(size, type);
}

// Locks CameraPicture and CameraFrame.
static void Release()
{
    g_camera.userOverlayImage.release();
    g_camera.backgroundImage.release();
    g_camera.adjustedImage.release();
    g_camera.rawImage.release();
    g_camera.contrastScratchImage.release();
    g_camera.acquiredImage.release();
    g_camera.workImage.release();
    for (cv::Mat &plane : g_camera.planeImage)
        plane.release();
    g_camera.scaledImage.release();
    g_camera.flipImage.release();
    g_camera.blendImage.release();
    g_camera.displayImage.release();
    g_camera.histogramImage.release();
}

static void PointHandles()
{
    PointHeaderAt(g_camera.displayHeader, g_camera.displayImage);
    PointHeaderAt(g_camera.userOverlayHeader, g_camera.userOverlayImage);
}

static void Build(const cv::Size &frame, const cv::Size &display)
{
    Fit(g_camera.acquiredImage, frame);
    Fit(g_camera.workImage, frame);
    Fit(g_camera.adjustedImage, frame);
    Fit(g_camera.backgroundImage, frame);
    Fit(g_camera.blendImage, frame);
    Fit(g_camera.contrastScratchImage, frame);
    Fit(g_camera.rawImage, frame, CV_8UC1);
    for (cv::Mat &plane : g_camera.planeImage)
        Fit(plane, frame, CV_8UC1);
    Fit(g_camera.scaledImage, display);
    Fit(g_camera.displayImage, display);
    Fit(g_camera.userOverlayImage, display);
    Fit(g_camera.histogramImage, {kHistogramWidth, kHistogramHeight});
    g_camera.flipImage.release();
    g_camera.acquiredImage.setTo(cv::Scalar::all(0));
}

static int32_t Exchange(const cv::Size &frame, const cv::Size &display)
{
    const std::scoped_lock images(CameraPicture(), CameraFrame());
    int32_t status = ZVK_SUCCESS;
    try {
        Build(frame, display);
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc: there is no room
        Release();
        status = ZVK_CAMERA_NO_MEMORY;
    }
    PointHandles();
    return status;
}

int32_t RebuildImages()
{
    const std::lock_guard turn(CameraTurn());
    cv::Size frame;
    cv::Size display;
    {
        const std::lock_guard data(CameraData());
        g_camera.buffersRebuilding = 1;
        frame = {g_camera.acquiredWidth, g_camera.acquiredHeight};
        display = {g_camera.displayWidth, g_camera.displayHeight};
    }
    Clock().delay(kExchangeS);
    const int32_t status = Exchange(frame, display);
    {
        const std::lock_guard data(CameraData());
        g_camera.viewX = 0;
        g_camera.viewY = 0;
        g_camera.viewWidth = frame.width;
        g_camera.viewHeight = frame.height;
        g_camera.buffersRebuilding = 0;
    }
    CameraChanged();
    return status;
}

void ZVK_Camera_InitFrameBuffers(SessionHandle) { (void)RebuildImages(); }

void ZVK_Camera_ReleaseFrameBuffers(SessionHandle)
{
    const std::lock_guard turn(CameraTurn());
    const std::scoped_lock images(CameraPicture(), CameraFrame());
    Release();
    PointHandles();
}

namespace {

// Columns, or rows, of the sensor that a region takes.
struct SensorSpan
{
    int32_t first = 0;
    int32_t length = 0;
};

}  // namespace

// The steps are those of 32-bit whole numbers, which wrap; a shift counts modulo 32.
static SensorSpan SpanOfRegion(int32_t sensor, int32_t resolution, int32_t binning)
{
    const auto wrapped = [](int64_t value) {
        return static_cast<int32_t>(static_cast<uint32_t>(value));
    };
    const uint32_t shift = static_cast<uint32_t>(resolution) & kShiftMask;
    const int64_t half = sensor >> 1;
    const int64_t part = sensor >> shift;
    const int32_t first = wrapped(half - part + 1);
    const int32_t last = wrapped(part + half);
    const int32_t bin = wrapped(int64_t{1} << (static_cast<uint32_t>(binning) & kShiftMask));
    return {first, wrapped(int64_t{wrapped(int64_t{last} - first + 1)} / bin)};
}

int32_t ZVK_Camera_SetROI(SessionHandle, int32_t Resolution, int32_t Binning,
                          int32_t *NewResolution, int32_t *NewBinning)
{
    if (!CameraSimulated()) return ZVK_CAMERA_NOT_INITIALIZED;
    const std::lock_guard turn(CameraTurn());
    {
        const std::lock_guard data(CameraData());
        const SensorSpan columns = SpanOfRegion(g_camera.nativeWidth, Resolution, Binning);
        const SensorSpan rows = SpanOfRegion(g_camera.nativeHeight, Resolution, Binning);
        g_camera.acquiredWidth = columns.length;
        g_camera.acquiredHeight = rows.length;
        g_camera.sensorOffsetX = columns.first;
        g_camera.sensorOffsetY = rows.first;
    }
    const auto oneLess = [](int32_t value) {
        return static_cast<int32_t>(static_cast<uint32_t>(value) - 1U);
    };
    if (NewBinning) *NewBinning = oneLess(Binning);
    if (NewResolution) *NewResolution = oneLess(Resolution);
    return RebuildImages();
}
