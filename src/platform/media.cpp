// Picture and video files by OpenCV, whose exceptions end here.

#include "platform/media.h"

#include "platform/backends.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <algorithm>
#include <exception>
#include <memory>
#include <span>
#include <string_view>

namespace {

struct Video
{
    cv::VideoWriter writer;
    cv::Size size;
    cv::Mat fitted;  // a frame of another size, scaled
};

}  // namespace

namespace {

struct Attempt
{
    int writer;
    int codec;
};

}  // namespace

constexpr int kUncompressed = 0;
constexpr int kMotionJpeg = 0x47504A4D;  // "MJPG"
constexpr int kMpeg4 = 0x7634706D;       // "mp4v"
constexpr int kNarrowest = 4;            // columns, of FFmpeg

// Extensions of a file are compared without regard to case, as the writers do it.
static bool HasExtension(std::string_view fileName, std::string_view lowercase)
{
    if (fileName.size() < lowercase.size()) return false;
    const auto equals = [](char a, char lower) {
        return (a >= 'A' && a <= 'Z' ? a + 32 : a) == lower;
    };
    return std::ranges::equal(fileName.substr(fileName.size() - lowercase.size()), lowercase,
                              equals);
}

// The writers and codecs of a container, in the order in which they are tried; none for any other
// name, since FFmpeg empties the file of each name that it knows before it finds that it can't put
// frames there. Uncompressed frames in a QuickTime file are taken and can't be read by anyone. The
// last one of .avi is OpenCV's own, where FFmpeg isn't there; it rounds the rate.
static std::span<const Attempt> AttemptsFor(std::string_view fileName)
{
    static constexpr Attempt kQuickTime[] = {{cv::CAP_FFMPEG, kMpeg4}};
    static constexpr Attempt kAvi[] = {{cv::CAP_FFMPEG, kUncompressed},
                                       {cv::CAP_FFMPEG, kMotionJpeg},
                                       {cv::CAP_OPENCV_MJPEG, kMotionJpeg}};
    const std::span<const Attempt> all = kAvi;
    if (HasExtension(fileName, ".avi")) return all;
    if (HasExtension(fileName, ".mkv")) return all.first(2);
    if (HasExtension(fileName, ".mp4") || HasExtension(fileName, ".mov")) return kQuickTime;
    return {};
}

// FFmpeg converts four columns at a time, and writes beyond its rows where there are fewer.
static bool CanTake(const Attempt &attempt, const cv::Size &size)
{
    return attempt.writer != cv::CAP_FFMPEG || size.width >= kNarrowest;
}

// The library only reads it, but takes no pointer to constant pixels.
static cv::Mat MatOf(const ZVK_Picture &picture)
{
    return {picture.height, picture.width, CV_8UC3, const_cast<uint8_t *>(picture.pixels),
            static_cast<size_t>(picture.step)};
}

static bool IsEmpty(const ZVK_Picture &picture)
{
    return picture.pixels == nullptr || picture.width <= 0 || picture.height <= 0;
}

static int Encode(const char *fileName, const ZVK_Picture &picture, std::vector<uint8_t> &bytes)
{
    if (IsEmpty(picture)) return -1;
    try {
        return cv::imencode(fileName, MatOf(picture), bytes) ? 0 : -1;
    } catch (const std::exception &) {  // an extension that it doesn't know, or no memory
        return -1;
    }
}

static bool OpenWith(cv::VideoWriter &writer, const Attempt &attempt, const char *fileName,
                     double rate, const cv::Size &size, bool color)
{
    try {
        return writer.open(fileName, attempt.writer, attempt.codec, rate, size, color);
    } catch (const cv::Exception &) {  // the next one may do
        return false;
    }
}

static void *OpenVideo(const char *fileName, double rate, int32_t width, int32_t height, bool color)
{
    if (width <= 0 || height <= 0) return nullptr;
    try {
        auto video = std::make_unique<Video>();
        video->size = {width, height};
        for (const Attempt &attempt : AttemptsFor(fileName))
            if (CanTake(attempt, video->size) &&
                OpenWith(video->writer, attempt, fileName, rate, video->size, color))
                return video.release();
    } catch (const std::exception &) {  // no memory
    }
    return nullptr;
}

static int WriteFrame(void *handle, const ZVK_Picture &frame)
{
    if (handle == nullptr || IsEmpty(frame)) return -1;
    auto &video = *static_cast<Video *>(handle);
    try {
        const cv::Mat pixels = MatOf(frame);
        if (pixels.size() == video.size) {
            video.writer.write(pixels);
        } else {
            cv::resize(pixels, video.fitted, video.size, 0.0, 0.0, cv::INTER_AREA);
            video.writer.write(video.fitted);
        }
        return 0;
    } catch (const std::exception &) {
        return -1;
    }
}

static int CloseVideo(void *handle)
{
    const std::unique_ptr<Video> video(static_cast<Video *>(handle));
    if (video == nullptr) return -1;
    try {
        video->writer.release();
        return 0;
    } catch (const std::exception &) {
        return -1;
    }
}

static const ZVK_MediaTable &OpenCvMedia()
{
    static constexpr ZVK_MediaTable table = {
        .encode = Encode,
        .openVideo = OpenVideo,
        .writeFrame = WriteFrame,
        .closeVideo = CloseVideo,
    };
    return table;
}

static constinit TableSwitch<ZVK_MediaTable> s_media;

const ZVK_MediaTable &Media() { return s_media.InUse(OpenCvMedia); }

void UseMedia(const ZVK_MediaTable *table) { s_media.Use(table); }
