// Some frames of a video beside each other, as one picture.

#include "demo.h"

#include <cairo.h>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

constexpr int kFrames = 4;
constexpr int kFrameWidth = 400;
constexpr int kGap = 12;
constexpr int kCaption = 26;
constexpr double kFontSize = 13;

// The part in which the traps move.
static cv::Rect MiddleOf(const cv::Mat &frame)
{
    const auto share = [](int whole, double part) { return static_cast<int>(whole * part); };
    return {share(frame.cols, 0.13), share(frame.rows, 0.15), share(frame.cols, 0.73),
            share(frame.rows, 0.725)};
}

static std::vector<cv::Mat> ReadFrames(const std::string &video, double *rate)
{
    cv::VideoCapture capture(video);
    *rate = capture.get(cv::CAP_PROP_FPS);
    std::vector<cv::Mat> frames;
    cv::Mat frame;
    while (capture.read(frame)) {
        const cv::Mat middle = frame(MiddleOf(frame));
        const cv::Size size(kFrameWidth, kFrameWidth * middle.rows / middle.cols);
        frames.emplace_back();
        cv::resize(middle, frames.back(), size, 0, 0, cv::INTER_AREA);
    }
    return frames;
}

static void PlaceFrame(cairo_t *c, const cv::Mat &frame, double x)
{
    cv::Mat pixels;
    cv::cvtColor(frame, pixels, cv::COLOR_BGR2BGRA);
    cairo_surface_t *surface = cairo_image_surface_create_for_data(
        pixels.data, CAIRO_FORMAT_RGB24, pixels.cols, pixels.rows, static_cast<int>(pixels.step));
    cairo_set_source_surface(c, surface, x, 0);
    cairo_paint(c);
    cairo_surface_flush(surface);
    cairo_surface_destroy(surface);
}

static void PlaceCaption(cairo_t *c, const std::string &text, double x, double y)
{
    cairo_select_font_face(c, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(c, kFontSize);
    cairo_set_source_rgb(c, 0.13, 0.15, 0.19);
    cairo_move_to(c, x, y);
    cairo_show_text(c, text.c_str());
}

VideoFacts DrawStrip(const std::string &video, const std::string &file)
{
    double rate = 0;
    const std::vector<cv::Mat> frames = ReadFrames(video, &rate);
    VideoFacts facts = {static_cast<int>(frames.size()), rate, false};
    if (frames.size() < kFrames || rate <= 0) return facts;

    const int height = frames[0].rows + kCaption;
    cairo_surface_t *surface = cairo_image_surface_create(
        CAIRO_FORMAT_RGB24, kFrames * (kFrameWidth + kGap) - kGap, height);
    cairo_t *c = cairo_create(surface);
    cairo_set_source_rgb(c, 1, 1, 1);
    cairo_paint(c);
    for (int i = 0; i < kFrames; ++i) {
        const size_t index = (frames.size() - 1) * static_cast<size_t>(i) / (kFrames - 1);
        const double x = static_cast<double>(i) * (kFrameWidth + kGap);
        PlaceFrame(c, frames[index], x);
        PlaceCaption(c, Format("%.1f s", static_cast<double>(index) / rate), x, height - 7);
    }
    facts.drawn = cairo_status(c) == CAIRO_STATUS_SUCCESS &&
                  cairo_surface_write_to_png(surface, file.c_str()) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(c);
    cairo_surface_destroy(surface);
    return facts;
}
