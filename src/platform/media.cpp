// Picture and video files by OpenCV, whose exceptions end here.

#include "platform/media.h"

#include "platform/backends.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <exception>
#include <memory>

namespace {

struct Video
{
    cv::VideoWriter writer;
    cv::Size size;
    cv::Mat fitted;  // a frame of another size, scaled
};

}  // namespace

// In the order in which they are tried: uncompressed, where the container takes that; then what
// nearly every player reads, for AVI and Matroska, and for MP4 and QuickTime.
static constexpr int kCodecs[] = {0, 0x47504A4D /* MJPG */, 0x7634706D /* mp4v */};

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

static bool OpenWith(cv::VideoWriter &writer, const char *fileName, int codec, double rate,
                     const cv::Size &size, bool color)
{
    try {
        return writer.open(fileName, codec, rate, size, color);
    } catch (const cv::Exception &) {  // the next codec may do
        return false;
    }
}

static void *OpenVideo(const char *fileName, double rate, int32_t width, int32_t height, bool color)
{
    if (width <= 0 || height <= 0) return nullptr;
    try {
        auto video = std::make_unique<Video>();
        video->size = {width, height};
        for (const int codec : kCodecs)
            if (OpenWith(video->writer, fileName, codec, rate, video->size, color))
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
