#include "sample.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

constexpr double kFollowS = 0.08;      // a bead's way to its trap shrinks to 1/e in this time
constexpr double kShakePixels = 0.3;   // of a held bead, from one look to the next
constexpr double kWanderPixels = 4.0;  // of a free one, in the root of a second
constexpr double kBeadPixels = 20.0;   // beyond this radius a bead leaves no trace
constexpr int kProfileSteps = 8;       // a pixel
constexpr Point kWandering[] = {{46, 388},  {118, 300}, {130, 95},  {196, 560}, {268, 318},
                                {330, 66},  {352, 545}, {478, 62},  {492, 560}, {566, 282},
                                {612, 120}, {655, 330}, {690, 500}, {742, 196}, {760, 410},
                                {50, 190},  {760, 70},  {40, 545}};

// What a bead adds to the light at a distance from its centre: a bright middle in a dark ring, and
// a faint bright one about that.
static double LightOfBead(double pixels)
{
    const auto ring = [&](double height, double radius, double width) {
        const double away = (pixels - radius) / width;
        return height * std::exp(-away * away);
    };
    return ring(150, 0, 3.6) - ring(58, 7.2, 2.4) + ring(26, 12.0, 2.2) - ring(9, 16.0, 2.0);
}

using Profile = std::array<double, static_cast<size_t>(kBeadPixels *kProfileSteps) + 1>;

static Profile MakeProfile()
{
    Profile profile;
    for (size_t i = 0; i < profile.size(); ++i)
        profile[i] = LightOfBead(static_cast<double>(i) / kProfileSteps);
    return profile;
}

static uint8_t Level(double light) { return static_cast<uint8_t>(std::clamp(light, 0.0, 255.0)); }

// Brighter in the middle, with the faint clouds of a lamp.
static double LightOfField(double x, double y)
{
    const double right = x - 0.5;
    const double down = y - 0.5;
    const double clouds = std::sin(7 * x + 3 * y) + std::sin(5 * y - 4 * x + 1) * 0.7;
    return 84 - 62 * (right * right + down * down) + 2.5 * clouds;
}

Sample::Sample(int columns, int rows, const std::vector<Point> &traps)
    : width(columns), height(rows), held(traps),
      wandering(std::begin(kWandering), std::end(kWandering))
{
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column)
            field.push_back(Level(LightOfField(static_cast<double>(column) / width,
                                               static_cast<double>(row) / height)));
    }
}

void Sample::Advance(double seconds, const std::vector<Point> &traps)
{
    const double share = 1.0 - std::exp(-seconds / kFollowS);
    for (size_t i = 0; i < std::min(held.size(), traps.size()); ++i) {
        held[i].x += share * (traps[i].x - held[i].x) + kShakePixels * kick(random);
        held[i].y += share * (traps[i].y - held[i].y) + kShakePixels * kick(random);
    }
    const double step = kWanderPixels * std::sqrt(seconds);
    for (Point &bead : wandering) {
        bead.x += step * kick(random);
        bead.y += step * kick(random);
    }
}

void Sample::StampBead(const Point &at)
{
    static const Profile profile = MakeProfile();
    const int reach = static_cast<int>(kBeadPixels);
    const int left = static_cast<int>(std::lround(at.x));
    const int top = static_cast<int>(std::lround(at.y));
    for (int y = std::max(0, top - reach); y <= std::min(height - 1, top + reach); ++y) {
        for (int x = std::max(0, left - reach); x <= std::min(width - 1, left + reach); ++x) {
            const double step = std::hypot(x - at.x, y - at.y) * kProfileSteps;
            if (step >= static_cast<double>(profile.size())) continue;
            uint8_t &level = light[static_cast<size_t>(y) * width + x];
            level = Level(level + profile[static_cast<size_t>(step)]);
        }
    }
}

// The display loop reads the picture meanwhile: each row is made aside and put in place at once.
void Sample::Paint(IplImage &picture, const std::vector<uint8_t> &graphics)
{
    light = field;
    for (const std::vector<Point> *beads : {&wandering, &held})
        for (const Point &bead : *beads)
            StampBead(bead);
    StampBead(kReference);
    const size_t rowBytes = static_cast<size_t>(width) * 3;
    std::vector<uint8_t> row(rowBytes);
    for (int y = 0; y < height; ++y) {
        const uint8_t *grey = light.data() + static_cast<size_t>(y) * width;
        const uint8_t *over = graphics.data() + static_cast<size_t>(y) * rowBytes;
        for (size_t i = 0; i < rowBytes; ++i)
            row[i] = std::max(grey[i / 3], over[i]);
        std::memcpy(picture.imageData + static_cast<ptrdiff_t>(y) * picture.widthStep, row.data(),
                    rowBytes);
    }
}
