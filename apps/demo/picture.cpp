// The demo's picture: on the left one block of the four mirror voltages with its time-shared slots,
// on the right the paths that the traps took, in pixels.

#include "demo.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

constexpr int kWidth = 1680;
constexpr int kHeight = 940;

namespace {

struct Colour
{
    double r, g, b;
};

struct Box
{
    double x, y, width, height;
};

// A linear map of a range of values onto a range of the picture.
struct Scale
{
    double from, to, low, high;
    double At(double value) const { return low + (value - from) / (to - from) * (high - low); }
};

}  // namespace

constexpr Colour kInk = {0.13, 0.15, 0.19};
constexpr Colour kSoft = {0.45, 0.49, 0.55};
constexpr Colour kGrid = {0.88, 0.90, 0.92};
constexpr Colour kPathColours[2][3] = {
    {{0.05, 0.36, 0.65}, {0.10, 0.57, 0.85}, {0.07, 0.60, 0.56}},
    {{0.72, 0.22, 0.10}, {0.91, 0.45, 0.13}, {0.70, 0.16, 0.42}}};

static Colour ColourOf(int32_t path, size_t slot) { return kPathColours[path][slot % 3]; }

static void Use(cairo_t *c, Colour colour, double alpha = 1.0)
{
    cairo_set_source_rgba(c, colour.r, colour.g, colour.b, alpha);
}

enum class Align
{
    Left,
    Centre,
    Right
};

static void Text(cairo_t *c, double x, double y, double size, Colour colour,
                 const std::string &text, Align align = Align::Left, bool bold = false)
{
    cairo_select_font_face(c, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(c, size);
    cairo_text_extents_t extents;
    cairo_text_extents(c, text.c_str(), &extents);
    if (align == Align::Centre) x -= extents.x_advance / 2;
    if (align == Align::Right) x -= extents.x_advance;
    Use(c, colour);
    cairo_move_to(c, x, y);
    cairo_show_text(c, text.c_str());
    cairo_new_path(c);  // the text leaves a point from which the next arc would draw a line
}

static void Line(cairo_t *c, double x0, double y0, double x1, double y1, double width)
{
    cairo_set_line_width(c, width);
    cairo_move_to(c, x0, y0);
    cairo_line_to(c, x1, y1);
    cairo_stroke(c);
}

// -- left: the block --

static void ShadeSlots(cairo_t *c, const Box &box, int32_t path,
                       const std::vector<std::string> &labels, const Scale &time, double blockMs)
{
    for (size_t slot = 0; slot < labels.size(); ++slot) {
        const double x0 =
            time.At(blockMs * static_cast<double>(slot) / static_cast<double>(labels.size()));
        const double x1 =
            time.At(blockMs * static_cast<double>(slot + 1) / static_cast<double>(labels.size()));
        Use(c, ColourOf(path, slot), 0.10);
        cairo_rectangle(c, x0, box.y, x1 - x0, box.height);
        cairo_fill(c);
        Text(c, (x0 + x1) / 2, box.y + 15, 12, ColourOf(path, slot), labels[slot], Align::Centre,
             true);
    }
}

// The samples of a channel; a new colour at each slot, and a thin upright where the output steps.
static void DrawSamples(cairo_t *c, const Block &block, int32_t channel, const Scale &time,
                        const Scale &volts)
{
    const int32_t path = channel / 2;
    const int32_t n = block.samplesPerChannel;
    const double *samples = block.volts.data() + static_cast<size_t>(channel) * n;
    const auto slots = static_cast<int32_t>(std::max<size_t>(1, block.labels[path].size()));
    const int32_t length = n / slots;
    for (int32_t slot = 0; slot < slots; ++slot) {
        const int32_t first = slot * length;
        const int32_t end = slot + 1 == slots ? n : first + length;
        const double msPerSample = 1000.0 / block.clockRate;
        Use(c, ColourOf(path, static_cast<size_t>(slot)));
        cairo_set_line_width(c, 2.4);
        cairo_move_to(c, time.At(first * msPerSample), volts.At(samples[first]));
        for (int32_t s = first + 1; s < end; ++s)
            cairo_line_to(c, time.At(s * msPerSample), volts.At(samples[s]));
        cairo_stroke(c);
        if (slot + 1 < slots) {
            Use(c, kSoft, 0.7);
            const double x = time.At(end * msPerSample);
            Line(c, x, volts.At(samples[end - 1]), x, volts.At(samples[end]), 0.8);
        }
    }
}

static void DrawChannel(cairo_t *c, const Box &box, const Block &block, int32_t channel)
{
    static const char *const kNames[4] = {"A  X", "A  Y", "B  X", "B  Y"};
    const double blockMs = 1000.0 * block.samplesPerChannel / block.clockRate;
    const Scale time = {0, blockMs, box.x, box.x + box.width};
    const Scale volts = {-2.6, 2.6, box.y + box.height, box.y};
    ShadeSlots(c, box, channel / 2, block.labels[channel / 2], time, blockMs);
    for (int v = -2; v <= 2; ++v) {
        Use(c, v == 0 ? kSoft : kGrid, v == 0 ? 0.5 : 1.0);
        Line(c, box.x, volts.At(v), box.x + box.width, volts.At(v), 1);
        Text(c, box.x - 8, volts.At(v) + 4, 11, kSoft, Format("%+d", v), Align::Right);
    }
    cairo_save(c);
    cairo_rectangle(c, box.x, box.y, box.width, box.height);
    cairo_clip(c);
    DrawSamples(c, block, channel, time, volts);
    cairo_restore(c);
    Text(c, box.x - 40, box.y + box.height / 2 + 5, 15, kInk, kNames[channel], Align::Right, true);
    Text(c, box.x - 40, box.y + box.height / 2 + 22, 11, kSoft, Format("ao%d", channel),
         Align::Right);
}

static void DrawBlock(cairo_t *c, const Box &panel, const Block &block)
{
    const double blockMs = 1000.0 * block.samplesPerChannel / block.clockRate;
    Text(c, panel.x, panel.y, 19, kInk, "One block of mirror voltages", Align::Left, true);
    Text(c, panel.x, panel.y + 21, 12.5, kSoft,
         Format("%d samples a channel at %d a second; the traps of a path share its time",
                block.samplesPerChannel, block.clockRate));
    const double left = panel.x + 100;
    const double width = panel.width - 100;
    const double height = (panel.height - 100) / 4 - 14;
    double y = panel.y + 42;
    for (int32_t channel = 0; channel < 4; ++channel) {
        DrawChannel(c, {left, y, width, height}, block, channel);
        y += height + 14;
    }
    const Scale time = {0, blockMs, left, left + width};
    for (int i = 0; i <= 5; ++i) {
        const double ms = blockMs * i / 5;
        Text(c, time.At(ms), y + 6, 11, kSoft, Format("%.0f", ms), Align::Centre);
    }
    Text(c, left + width / 2, y + 26, 12.5, kInk,
         "time within the block (ms)   |   volts at each mirror", Align::Centre);
}

// -- right: the paths --

static void DrawOutline(cairo_t *c, const std::vector<Point> &points, const Scale &px,
                        const Scale &py)
{
    for (size_t i = 0; i < points.size(); ++i) {
        if (i == 0)
            cairo_move_to(c, px.At(points[i].x), py.At(points[i].y));
        else
            cairo_line_to(c, px.At(points[i].x), py.At(points[i].y));
    }
    cairo_close_path(c);
}

// White behind a text that stands on lines.
static void TextWithHalo(cairo_t *c, double x, double y, double size, Colour colour,
                         const std::string &text)
{
    cairo_select_font_face(c, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
    cairo_set_font_size(c, size);
    cairo_move_to(c, x, y);
    cairo_text_path(c, text.c_str());
    Use(c, {1, 1, 1}, 0.9);
    cairo_set_line_width(c, 5);
    cairo_stroke(c);
    Text(c, x, y, size, colour, text, Align::Left, true);
}

static void DrawTrack(cairo_t *c, const Track &track, Colour colour, const Scale &px,
                      const Scale &py)
{
    if (track.seen.empty()) return;
    Use(c, colour, 0.85);
    cairo_set_line_width(c, 2);
    cairo_set_line_join(c, CAIRO_LINE_JOIN_ROUND);
    const double dashes[] = {2, 6};
    if (track.jumped) cairo_set_dash(c, dashes, 2, 0);
    for (size_t i = 0; i < track.planned.size(); ++i) {
        const double x = px.At(track.planned[i].x);
        const double y = py.At(track.planned[i].y);
        if (i == 0)
            cairo_move_to(c, x, y);
        else
            cairo_line_to(c, x, y);
    }
    cairo_stroke(c);
    cairo_set_dash(c, nullptr, 0, 0);
    for (const Point &p : track.seen) {
        cairo_arc(c, px.At(p.x), py.At(p.y), 4, 0, 2 * M_PI);
        cairo_fill(c);
    }
    const Point &last = track.seen.back();
    cairo_arc(c, px.At(last.x), py.At(last.y), 9, 0, 2 * M_PI);
    Use(c, {1, 1, 1});
    cairo_fill_preserve(c);
    Use(c, colour);
    cairo_set_line_width(c, 3);
    cairo_stroke(c);
    // Below the ring where the way comes from the upper right, on which the name would stand.
    const Point &from = track.planned.empty() ? last : track.planned.front();
    const bool below = from.x > last.x && from.y < last.y;
    TextWithHalo(c, px.At(last.x) + 14, py.At(last.y) + (below ? 18 : -10), 13, colour,
                 track.label);
}

static void DrawScaleBar(cairo_t *c, const SessionResult &session, const Scale &px, double x,
                         double y)
{
    if (session.pixelsPerMicrometre <= 0) return;
    const double length = px.At(10 * session.pixelsPerMicrometre) - px.At(0);
    Use(c, kInk);
    Line(c, x, y, x + length, y, 4);
    Text(c, x + length / 2, y - 8, 12, kInk, "10 \302\265m", Align::Centre);
}

// The trap's slot in its path's block, so that both halves of the picture have its colour.
static size_t SlotOf(const SessionResult &session, const Track &track)
{
    const auto &labels = session.block.labels[track.path];
    const auto found = std::find(labels.begin(), labels.end(), track.label);
    return found == labels.end() ? 0 : static_cast<size_t>(found - labels.begin());
}

// What the lines are, and what each trap did.
static void DrawLegend(cairo_t *c, const Box &box, const SessionResult &session)
{
    double x = box.x;
    const double dashes[] = {9, 5};
    Use(c, kInk, 0.65);
    cairo_set_dash(c, dashes, 2, 0);
    Line(c, x, box.y - 4, x + 34, box.y - 4, 1.5);
    cairo_set_dash(c, nullptr, 0, 0);
    Text(c, x + 42, box.y, 12.5, kInk, "calibrated field A");
    for (int32_t path : {0, 1}) {
        x += path == 0 ? 190 : 170;
        Use(c, ColourOf(path, 0));
        Line(c, x, box.y - 4, x + 34, box.y - 4, 1.5);
        Text(c, x + 42, box.y, 12.5, kInk, Format("mirror limits %c", path == 0 ? 'A' : 'B'));
    }
    double y = box.y + 34;
    for (const Track &track : session.tracks) {
        if (track.seen.empty()) continue;
        const Colour colour = ColourOf(track.path, SlotOf(session, track));
        const Point &first = track.seen.front();
        const Point &last = track.seen.back();
        Use(c, colour);
        cairo_arc(c, box.x + 7, y - 4, 6, 0, 2 * M_PI);
        cairo_set_line_width(c, 2.5);
        cairo_stroke(c);
        Text(c, box.x + 24, y, 12.5, colour, track.label, Align::Left, true);
        Text(c, box.x + 120, y, 12.5, kInk, Format("path %c", track.path == 0 ? 'A' : 'B'));
        Text(c, box.x + 190, y, 12.5, kInk, track.motion);
        Text(c, box.x + 400, y, 12.5, kSoft,
             Format("%.0f, %.0f  to  %.0f, %.0f px", first.x, first.y, last.x, last.y));
        y += 26;
    }
}

static void DrawPaths(cairo_t *c, const Box &panel, const SessionResult &session)
{
    Text(c, panel.x, panel.y, 19, kInk, "Where the traps went", Align::Left, true);
    Text(
        c, panel.x, panel.y + 21, 12.5, kSoft,
        "camera pixels; lines: the way each was sent, dots: where it was seen, rings: where it is");
    const double top = panel.y + 42;
    const double side = panel.width - 44;
    const double height = side * 0.75;
    const Box box = {panel.x + 44, top, side, height};
    const Scale px = {0, 800, box.x, box.x + box.width};
    const Scale py = {0, 600, box.y, box.y + box.height};
    Use(c, {0.975, 0.98, 0.985});
    cairo_rectangle(c, box.x, box.y, box.width, box.height);
    cairo_fill(c);
    for (int v = 0; v <= 800; v += 100) {
        Use(c, kGrid);
        Line(c, px.At(v), box.y, px.At(v), box.y + box.height, 1);
        Text(c, px.At(v), box.y + box.height + 18, 11, kSoft, Format("%d", v), Align::Centre);
        if (v > 600) continue;
        Use(c, kGrid);
        Line(c, box.x, py.At(v), box.x + box.width, py.At(v), 1);
        Text(c, box.x - 8, py.At(v) + 4, 11, kSoft, Format("%d", v), Align::Right);
    }
    const double *f = session.field;
    const double dashes[] = {9, 5};
    Use(c, kInk, 0.65);
    cairo_set_dash(c, dashes, 2, 0);
    cairo_set_line_width(c, 1.5);
    cairo_rectangle(c, px.At(f[0]), py.At(f[2]), px.At(f[1]) - px.At(f[0]),
                    py.At(f[3]) - py.At(f[2]));
    cairo_stroke(c);
    cairo_set_dash(c, nullptr, 0, 0);
    for (int32_t path : {0, 1}) {
        DrawOutline(c, session.limits[path], px, py);
        Use(c, ColourOf(path, 0), 0.9);
        cairo_set_line_width(c, 1.5);
        cairo_stroke(c);
    }
    for (const Track &track : session.tracks)
        DrawTrack(c, track, ColourOf(track.path, SlotOf(session, track)), px, py);
    DrawScaleBar(c, session, px, box.x + box.width - 150, box.y + box.height - 18);
    DrawLegend(c, {box.x, box.y + box.height + 52, box.width, 0}, session);
}

bool DrawPicture(const SessionResult &session, const std::string &file)
{
    cairo_surface_t *surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kHeight);
    cairo_t *c = cairo_create(surface);
    Use(c, {1, 1, 1});
    cairo_paint(c);
    Text(c, 40, 48, 26, kInk, "Quorvex: two beam paths, six time-shared traps", Align::Left, true);
    DrawBlock(c, {40, 96, 830, kHeight - 110}, session.block);
    DrawPaths(c, {920, 96, 720, kHeight - 110}, session);
    const bool written = cairo_status(c) == CAIRO_STATUS_SUCCESS &&
                         cairo_surface_write_to_png(surface, file.c_str()) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(c);
    cairo_surface_destroy(surface);
    return written;
}
