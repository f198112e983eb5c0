// The ziggurat after G. Marsaglia and W. W. Tsang, Journal of Statistical Software 5(8), 2000, with
// the index and the place of a layer from bits of their own (J. A. Doornik, An improved ziggurat
// method to generate normal random samples, 2005).
//
// Layers of one area cover the bell exp(-x^2 / 2), right half: layer i reaches out to edge[i], from
// the height there up to the height at edge[i + 1]. The lowest one is a rectangle with the tail
// behind it, and counts as if it were a rectangle out to edge[0].

#include "normal.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

constexpr size_t kLayers = 256;
constexpr double kTailBegins = 3.6541528853610088;  // makes 256 layers of one area close at the top

namespace {

struct Ziggurat
{
    std::array<double, kLayers + 1> edge = {};
    std::array<double, kLayers + 1> height = {};
};

}  // namespace

static double Bell(double x) { return std::exp(-0.5 * x * x); }

static Ziggurat MakeZiggurat()
{
    const double tail = std::sqrt(std::numbers::pi / 2.0) * std::erfc(kTailBegins / std::sqrt(2.0));
    const double area = kTailBegins * Bell(kTailBegins) + tail;
    Ziggurat made;
    made.edge[0] = area / Bell(kTailBegins);
    made.edge[1] = kTailBegins;
    for (size_t i = 2; i < kLayers; ++i)
        made.edge[i] = std::sqrt(-2.0 * std::log(area / made.edge[i - 1] + Bell(made.edge[i - 1])));
    for (size_t i = 0; i <= kLayers; ++i)
        made.height[i] = Bell(made.edge[i]);
    return made;
}

static double BetweenZeroAndOne(std::mt19937_64 &random)
{
    return (static_cast<double>(random() >> 11) + 0.5) * 0x1p-53;  // neither 0 nor 1
}

// How far behind its beginning, after G. Marsaglia, Technometrics 6, 1964, 101.
static double InTail(std::mt19937_64 &random)
{
    while (true) {
        const double x = -std::log(BetweenZeroAndOne(random)) / kTailBegins;
        const double y = -std::log(BetweenZeroAndOne(random));
        if (2.0 * y >= x * x) return x;
    }
}

double Normal(std::mt19937_64 &random)
{
    static const Ziggurat ziggurat = MakeZiggurat();
    while (true) {
        const uint64_t bits = random();
        const size_t layer = bits % kLayers;
        const double share = static_cast<double>(static_cast<int64_t>(bits) >> 10) * 0x1p-53;
        const double x = share * ziggurat.edge[layer];
        if (std::fabs(x) < ziggurat.edge[layer + 1]) return x;
        if (layer == 0) return std::copysign(kTailBegins + InTail(random), share);
        const double low = ziggurat.height[layer];
        const double high = ziggurat.height[layer + 1];
        if (low + BetweenZeroAndOne(random) * (high - low) < Bell(x)) return x;
    }
}
