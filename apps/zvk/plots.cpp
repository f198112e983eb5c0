// Drawings with axes, as SVG elements.

#include "plots.h"

#include "report_numbers.h"

#include <algorithm>
#include <cmath>

constexpr double kTickLength = 4.0;
constexpr double kCap = 1.8;         // half of an error bar's end
constexpr double kAir = 0.05;        // share of a linear axis beyond its values
constexpr double kTolerance = 1e-9;  // share of an axis
constexpr double kLetter = 10.5;     // height of the numbers
constexpr int kDecadesWithText = 6;

// -- axes --

static std::string Raised(int exponent)
{
    static const char *const digits[] = {"\u2070", "\u00b9", "\u00b2", "\u00b3", "\u2074",
                                         "\u2075", "\u2076", "\u2077", "\u2078", "\u2079"};
    std::string text = exponent < 0 ? "\u207b" : "";
    for (const char digit : std::to_string(std::abs(exponent)))
        text += digits[digit - '0'];
    return text;
}

// 1, 2 or 5 times a power of ten, of which about so many fit into the span.
static double RoundStep(double span, int about)
{
    const double rough = span / std::max(about, 1);
    const double decade = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (rough <= factor * decade * (1.0 + kTolerance)) return factor * decade;
    }
    return 10.0 * decade;
}

// A minus instead of a hyphen.
static std::string WithMinus(const std::string &number)
{
    return number[0] == '-' ? "\u2212" + number.substr(1) : number;
}

static std::vector<Tick> TicksAt(const Axis &axis, double step)
{
    const int decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + kTolerance)));
    const double air = kTolerance * (axis.high - axis.low);
    std::vector<Tick> ticks;
    for (double n = std::ceil((axis.low - air) / step); n * step <= axis.high + air; n += 1.0)
        ticks.push_back({n * step, WithMinus(Fixed(n * step, decimals))});
    return ticks;
}

static std::vector<Tick> LinearTicks(const Axis &axis, int about)
{
    const double span = axis.high - axis.low;
    std::vector<Tick> ticks = TicksAt(axis, RoundStep(span, about));
    for (int more = about + 1; ticks.size() < 3 && more < 2 * about + 2; ++more)
        ticks = TicksAt(axis, RoundStep(span, more));
    return ticks;
}

static std::vector<Tick> LogarithmicTicks(const Axis &axis)
{
    const int first = static_cast<int>(std::floor(std::log10(axis.low)));
    const int last = static_cast<int>(std::ceil(std::log10(axis.high)));
    // Of the decades within the axis.
    const double within = std::floor(std::log10(axis.high)) - std::ceil(std::log10(axis.low));
    const int every = static_cast<int>(within) / kDecadesWithText + 1;
    std::vector<Tick> ticks;
    for (int decade = first; decade <= last; ++decade) {
        const double value = std::pow(10.0, decade);
        for (int digit = 1; digit < 10; ++digit) {
            const double place = digit * value;
            if (place < axis.low * (1.0 - kTolerance) || place > axis.high * (1.0 + kTolerance))
                continue;
            const bool named = digit == 1 && decade % every == 0;
            ticks.push_back({place, named ? "10" + Raised(decade) : ""});
        }
    }
    return ticks;
}

std::vector<Tick> TicksOf(const Axis &axis, int about)
{
    const bool usable = axis.high > axis.low && IsKnown(axis.low) && IsKnown(axis.high);
    if (!usable || (axis.logarithmic && !(axis.low > 0.0))) return {};
    return axis.logarithmic ? LogarithmicTicks(axis) : LinearTicks(axis, about);
}

Axis AxisAround(const std::vector<double> &values, bool logarithmic, std::string label)
{
    Axis axis = {logarithmic ? 1.0 : 0.0, logarithmic ? 10.0 : 1.0, logarithmic, std::move(label)};
    bool any = false;
    for (const double value : values) {
        if (!IsKnown(value) || (logarithmic && !(value > 0.0))) continue;
        axis.low = any ? std::min(axis.low, value) : value;
        axis.high = any ? std::max(axis.high, value) : value;
        any = true;
    }
    if (logarithmic) {
        axis.low /= 1.6;
        axis.high *= 1.6;
        return axis;
    }
    double span = axis.high - axis.low;
    if (!(span > 0.0)) span = axis.high != 0.0 ? std::fabs(axis.high) : 1.0;
    axis.low -= kAir * span;
    axis.high += kAir * span;
    return axis;
}

static double Share(const Axis &axis, double value)
{
    if (!axis.logarithmic) return (value - axis.low) / (axis.high - axis.low);
    return std::log(value / axis.low) / std::log(axis.high / axis.low);
}

double Across(const Frame &frame, double value)
{
    return frame.x + frame.width * Share(frame.across, value);
}

double Up(const Frame &frame, double value)
{
    return frame.y + frame.height * (1.0 - Share(frame.up, value));
}

static bool Within(const Axis &axis, double value)
{
    if (!IsKnown(value) || (axis.logarithmic && !(value > 0.0))) return false;
    const double share = Share(axis, value);
    return share >= -kTolerance && share <= 1.0 + kTolerance;
}

bool Holds(const Frame &frame, double x, double y)
{
    return Within(frame.across, x) && Within(frame.up, y);
}

// -- elements --

static std::string At(double value) { return Fixed(value, 2); }

static std::string Attribute(const char *name, double value)
{
    return std::string(" ") + name + "=\"" + At(value) + "\"";
}

static void AddLine(Picture &picture, double x1, double y1, double x2, double y2,
                    const char *colour, double width, const char *dashes = "")
{
    picture.body += "<line" + Attribute("x1", x1) + Attribute("y1", y1) + Attribute("x2", x2) +
                    Attribute("y2", y2) + " stroke=\"" + colour + "\"" +
                    Attribute("stroke-width", width);
    if (*dashes != '\0') picture.body += std::string(" stroke-dasharray=\"") + dashes + "\"";
    picture.body += "/>\n";
}

void DrawText(Picture &picture, double x, double y, std::string_view text, Anchor anchor,
              const char *colour)
{
    static const char *const names[] = {"start", "middle", "end"};
    picture.body += "<text" + Attribute("x", x) + Attribute("y", y) + " text-anchor=\"" +
                    names[static_cast<int>(anchor)] + "\" fill=\"" + colour + "\">" +
                    HtmlEscape(text) + "</text>\n";
}

static void DrawUprightText(Picture &picture, double x, double y, std::string_view text)
{
    picture.body += "<text text-anchor=\"middle\" fill=\"" + std::string(kInk) +
                    "\" transform=\"translate(" + At(x) + " " + At(y) + ") rotate(-90)\">" +
                    HtmlEscape(text) + "</text>\n";
}

void DrawBox(Picture &picture, double x, double y, double width, double height, const char *fill)
{
    picture.body += "<rect" + Attribute("x", x) + Attribute("y", y) + Attribute("width", width) +
                    Attribute("height", height) + " fill=\"" + fill + "\"/>\n";
}

static void DrawTicksBelow(Picture &picture, const Frame &frame)
{
    const double bottom = frame.y + frame.height;
    for (const Tick &tick : TicksOf(frame.across, 4)) {
        const double x = Across(frame, tick.value);
        const double length = tick.text.empty() ? kTickLength / 2.0 : kTickLength;
        AddLine(picture, x, bottom, x, bottom - length, kInk, 0.8);
        AddLine(picture, x, frame.y, x, frame.y + length, kInk, 0.8);
        if (frame.numbersBelow && !tick.text.empty())
            DrawText(picture, x, bottom + kLetter + 3.0, tick.text, Anchor::middle);
    }
    if (frame.numbersBelow)
        DrawText(picture, frame.x + frame.width / 2.0, bottom + 2.0 * kLetter + 8.0,
                 frame.across.label, Anchor::middle);
}

static void DrawTicksLeft(Picture &picture, const Frame &frame)
{
    const int about = frame.height < 90.0 ? 3 : 5;
    const double right = frame.x + frame.width;
    for (const Tick &tick : TicksOf(frame.up, about)) {
        const double y = Up(frame, tick.value);
        const double length = tick.text.empty() ? kTickLength / 2.0 : kTickLength;
        AddLine(picture, frame.x, y, frame.x + length, y, kInk, 0.8);
        AddLine(picture, right, y, right - length, y, kInk, 0.8);
        if (frame.numbersLeft && !tick.text.empty())
            DrawText(picture, frame.x - 4.0, y + 0.35 * kLetter, tick.text, Anchor::end);
    }
    if (frame.numbersLeft)
        DrawUprightText(picture, frame.x - 41.0, frame.y + frame.height / 2.0, frame.up.label);
}

void DrawFrame(Picture &picture, const Frame &frame, std::string_view title)
{
    DrawTicksBelow(picture, frame);
    DrawTicksLeft(picture, frame);
    picture.body += "<rect" + Attribute("x", frame.x) + Attribute("y", frame.y) +
                    Attribute("width", frame.width) + Attribute("height", frame.height) +
                    " fill=\"none\" stroke=\"" + kInk + "\" stroke-width=\"0.9\"/>\n";
    if (!title.empty())
        DrawText(picture, frame.x + frame.width / 2.0, frame.y - 6.0, title, Anchor::middle);
}

void DrawCurve(Picture &picture, const Frame &frame, const Curve &curve, const char *colour,
               double width, const char *dashes)
{
    std::string path;
    bool broken = true;
    for (size_t i = 0; i < curve.x.size() && i < curve.y.size(); ++i) {
        if (!Holds(frame, curve.x[i], curve.y[i])) {
            broken = true;
            continue;
        }
        path +=
            (broken ? "M" : "L") + At(Across(frame, curve.x[i])) + " " + At(Up(frame, curve.y[i]));
        broken = false;
    }
    if (path.empty()) return;
    picture.body += "<path d=\"" + path + "\" fill=\"none\" stroke=\"" + colour + "\"" +
                    Attribute("stroke-width", width);
    if (*dashes != '\0') picture.body += std::string(" stroke-dasharray=\"") + dashes + "\"";
    picture.body += "/>\n";
}

void DrawLevel(Picture &picture, const Frame &frame, double value, const char *colour,
               const char *dashes)
{
    if (!Within(frame.up, value)) return;
    const double y = Up(frame, value);
    AddLine(picture, frame.x, y, frame.x + frame.width, y, colour, 1.0, dashes);
}

void DrawUpright(Picture &picture, const Frame &frame, double value, const char *colour,
                 const char *dashes)
{
    if (!Within(frame.across, value)) return;
    const double x = Across(frame, value);
    AddLine(picture, x, frame.y, x, frame.y + frame.height, colour, 1.0, dashes);
}

void DrawDots(Picture &picture, const Frame &frame, const Curve &points, double radius,
              const char *colour)
{
    for (size_t i = 0; i < points.x.size() && i < points.y.size(); ++i) {
        if (!Holds(frame, points.x[i], points.y[i])) continue;
        picture.body += "<circle" + Attribute("cx", Across(frame, points.x[i])) +
                        Attribute("cy", Up(frame, points.y[i])) + Attribute("r", radius) +
                        " fill=\"" + colour + "\"/>\n";
    }
}

void DrawErrors(Picture &picture, const Frame &frame, const Curve &points,
                const std::vector<double> &errors, const char *colour)
{
    for (size_t i = 0; i < points.x.size() && i < errors.size(); ++i) {
        if (!Holds(frame, points.x[i], points.y[i]) || !(errors[i] > 0.0)) continue;
        const double x = Across(frame, points.x[i]);
        const auto end = [&](double value) {
            return Up(frame, std::clamp(value, frame.up.low, frame.up.high));
        };
        const double low = end(points.y[i] - errors[i]);
        const double high = end(points.y[i] + errors[i]);
        AddLine(picture, x, low, x, high, colour, 0.8);
        AddLine(picture, x - kCap, low, x + kCap, low, colour, 0.8);
        AddLine(picture, x - kCap, high, x + kCap, high, colour, 0.8);
    }
}

void DrawSteps(Picture &picture, const Frame &frame, const Curve &bars, const char *colour)
{
    if (bars.x.size() < 2) return;
    const double half = (bars.x[1] - bars.x[0]) / 2.0;
    const auto clamp = [](const Axis &axis, double v) {
        return std::clamp(v, axis.low, axis.high);
    };
    const auto point = [&](double x, double y) {
        return At(Across(frame, clamp(frame.across, x))) + " " + At(Up(frame, clamp(frame.up, y)));
    };
    std::string path = "M" + point(bars.x[0] - half, frame.up.low);
    for (size_t i = 0; i < bars.x.size() && i < bars.y.size(); ++i)
        path += "L" + point(bars.x[i] - half, bars.y[i]) + "L" + point(bars.x[i] + half, bars.y[i]);
    path += "L" + point(bars.x.back() + half, frame.up.low) + "Z";
    picture.body += "<path d=\"" + path + "\" fill=\"" + colour +
                    "\" fill-opacity=\"0.25\" stroke=\"" + colour + "\" stroke-width=\"0.8\"/>\n";
}

std::string SvgOf(const Picture &picture, std::string_view words)
{
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + At(picture.width) + " " +
           At(picture.height) + "\" role=\"img\" aria-label=\"" + HtmlEscape(words) +
           "\" font-family=\"Arial, 'Liberation Sans', 'DejaVu Sans', sans-serif\" font-size=\"" +
           Fixed(kLetter, 1) + "\">\n" + picture.body + "</svg>\n";
}
