#include "numerics/transform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <vector>

using Transform = std::unique_ptr<ZVK_Transform, decltype(&FreeTransform)>;

static Transform Make(int64_t length) { return {MakeTransform(length), FreeTransform}; }

static std::vector<std::complex<double>> Bins(const std::vector<double> &samples)
{
    const Transform transform = Make(static_cast<int64_t>(samples.size()));
    const double *bins = TransformReal(transform.get(), samples.data());
    std::vector<std::complex<double>> result;
    for (size_t k = 0; k <= samples.size() / 2; ++k)
        result.emplace_back(bins[2 * k], bins[2 * k + 1]);
    return result;
}

TEST(Transform, OfACosineIsHalfItsSamplesInItsBinAlone)
{
    for (const int n : {8, 12, 100, 101, 7, 4096, 6500}) {
        std::vector<double> samples(n);
        for (int j = 0; j < n; ++j)
            samples[j] = std::cos(2.0 * std::numbers::pi * 3.0 * j / n + 0.25);
        const auto bins = Bins(samples);
        for (int k = 0; k <= n / 2; ++k) {
            const std::complex<double> expected =
                k == 3 ? std::polar(n / 2.0, 0.25) : std::complex<double>(0.0);
            EXPECT_NEAR(std::abs(bins[k] - expected), 0.0, 1e-10 * n) << n << " " << k;
        }
    }
}

TEST(Transform, OfAConstantIsItsSumInBinZero)
{
    const auto bins = Bins(std::vector<double>(50, 0.5));
    EXPECT_NEAR(bins[0].real(), 25.0, 1e-13);
    for (size_t k = 1; k < bins.size(); ++k)
        EXPECT_NEAR(std::abs(bins[k]), 0.0, 1e-13);
}

TEST(Transform, OfAnImpulseHasTheSamePowerEverywhereAndTurnsWithItsPlace)
{
    std::vector<double> samples(16, 0.0);
    samples[5] = 2.0;
    const auto bins = Bins(samples);
    for (int k = 0; k <= 8; ++k) {
        const auto expected = std::polar(2.0, -2.0 * std::numbers::pi * 5.0 * k / 16.0);
        EXPECT_NEAR(std::abs(bins[k] - expected), 0.0, 1e-14) << k;
    }
}

TEST(Transform, OfADecayIsTheGeometricSum)
{
    const int n = 1000;
    const double r = 0.99;
    std::vector<double> samples(n);
    for (int j = 0; j < n; ++j)
        samples[j] = std::pow(r, j);
    const auto bins = Bins(samples);
    for (int k = 0; k <= n / 2; ++k) {
        const auto q = r * std::polar(1.0, -2.0 * std::numbers::pi * k / n);
        const auto expected = (1.0 - std::pow(r, n)) / (1.0 - q);
        EXPECT_NEAR(std::abs(bins[k] - expected) / std::abs(expected), 0.0, 1e-11) << k;
    }
}

TEST(Transform, HasNoLengthBelowOne)
{
    EXPECT_EQ(MakeTransform(0), nullptr);
    EXPECT_EQ(MakeTransform(-5), nullptr);
    EXPECT_EQ(MakeTransform(int64_t{1} << 40), nullptr);
    FreeTransform(nullptr);
    EXPECT_NEAR(Bins({3.5})[0].real(), 3.5, 1e-15);
}

TEST(Transform, LeavesItsSamplesAndGivesTheSameBitsAgain)
{
    const int n = 6000;
    std::vector<double> samples(n);
    for (int j = 0; j < n; ++j)
        samples[j] = std::sin(0.1 * j * j);
    const std::vector<double> before = samples;
    const auto first = Bins(samples);
    EXPECT_EQ(samples, before);
    EXPECT_EQ(Bins(samples), first);
}
