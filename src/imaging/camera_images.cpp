// The set of images that the loops work on: made, exchanged while they run, and freed.

#include "imaging/camera.h"
#include "platform/clock.h"
#include "platform/memory.h"
#include "quorvex/camera.h"

#include <climits>
#include <exception>

constexpr double kExchangeS = 0.2;  // frames are dropped for that long
constexpr int kHistogramWidth = 256;
constexpr int kHistogramHeight = 100;
constexpr uint32_t kShiftMask = 31;

void PointHeaderAt(IplImage &header, const cv::Mat &picture)
{
    header = picture.empty() ? IplImage{} : cvIplImage(picture);
}

void ZVK_CameraImage::Drop()
{
    static_cast<cv::Mat &>(*this) = cv::Mat();
    pixels.reset();
}

// Gives an image its size. One that has it keeps its pixels; a new one is black; a size without
// pixels leaves none. False when there is no room, as for more bytes than a header can tell.
static bool Fit(ZVK_CameraImage &image, const cv::Size &size, int type)
{
    if (image.size() == size && image.type() == type) return true;
    image.Drop();  // first: never room for two
    if (size.width <= 0 || size.height <= 0) return true;
    const int64_t row = (int64_t{size.width} * CV_MAT_CN(type) + 3) / 4 * 4;
    if (row > INT_MAX / size.height) return false;
    auto *pixels = AllocateArray<uint8_t>(row * size.height);
    if (pixels == nullptr) return false;
    image.pixels.reset(pixels);
    static_cast<cv::Mat &>(image) = cv::Mat(size, type, pixels, static_cast<size_t>(row));
    return true;
}

// Locks CameraPicture and CameraFrame.
static void Release()
{
    ZVK_CameraImage *const images[] = {
        &g_camera.userOverlayImage, &g_camera.backgroundImage,      &g_camera.adjustedImage,
        &g_camera.rawImage,         &g_camera.contrastScratchImage, &g_camera.acquiredImage,
        &g_camera.workImage,        &g_camera.planeImage[0],        &g_camera.planeImage[1],
        &g_camera.planeImage[2],    &g_camera.scaledImage,          &g_camera.blendImage,
        &g_camera.displayImage,     &g_camera.histogramImage};
    for (ZVK_CameraImage *image : images)
        image->Drop();
    g_camera.flipImage.release();
}

static void PointHandles()
{
    PointHeaderAt(g_camera.displayHeader, g_camera.displayImage);
    PointHeaderAt(g_camera.userOverlayHeader, g_camera.userOverlayImage);
}

static bool Build(const cv::Size &frame, const cv::Size &display)
{
    struct Row
    {
        ZVK_CameraImage &image;
        cv::Size size;
        int type;
    };
    const Row rows[] = {
        {g_camera.acquiredImage, frame, CV_8UC3},
        {g_camera.workImage, frame, CV_8UC3},
        {g_camera.adjustedImage, frame, CV_8UC3},
        {g_camera.backgroundImage, frame, CV_8UC3},
        {g_camera.blendImage, frame, CV_8UC3},
        {g_camera.contrastScratchImage, frame, CV_8UC3},
        {g_camera.rawImage, frame, CV_8UC1},
        {g_camera.planeImage[0], frame, CV_8UC1},
        {g_camera.planeImage[1], frame, CV_8UC1},
        {g_camera.planeImage[2], frame, CV_8UC1},
        {g_camera.scaledImage, display, CV_8UC3},
        {g_camera.displayImage, display, CV_8UC3},
        {g_camera.userOverlayImage, display, CV_8UC3},
        {g_camera.histogramImage, {kHistogramWidth, kHistogramHeight}, CV_8UC3},
    };
    g_camera.flipImage.release();
    for (const Row &row : rows)
        if (!Fit(row.image, row.size, row.type)) return false;
    g_camera.acquiredImage.setTo(cv::Scalar::all(0));
    return true;
}

static int32_t Exchange(const cv::Size &frame, const cv::Size &display)
{
    const std::scoped_lock images(CameraPicture(), CameraFrame());
    bool built = false;
    try {
        built = Build(frame, display);
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc
    }
    if (!built) Release();
    PointHandles();
    return built ? ZVK_SUCCESS : ZVK_CAMERA_NO_MEMORY;
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
