// What each segment of a run gives alone.

#include "statistics_segments.h"

#include <algorithm>
#include <fftw3.h>
#include <new>
#include <numeric>

struct SegmentSpectrum::Plan
{
    size_t samples;
    double *in;
    fftw_complex *out;
    fftw_plan plan;

    explicit Plan(size_t count)
        : samples(count), in(fftw_alloc_real(count)), out(fftw_alloc_complex(count / 2 + 1)),
          plan(fftw_plan_dft_r2c_1d(static_cast<int>(count), in, out, FFTW_ESTIMATE))
    {
    }
    Plan(const Plan &) = delete;
    Plan &operator=(const Plan &) = delete;
    ~Plan()
    {
        if (plan != nullptr) fftw_destroy_plan(plan);
        fftw_free(in);
        fftw_free(out);
    }
};

SegmentSpectrum::SegmentSpectrum(size_t samples, double rate)
    : m_plan(std::make_unique<Plan>(samples)), m_power(samples / 2),
      m_scale(1.0 / (rate * static_cast<double>(samples)))
{
    if (m_plan->plan == nullptr) throw std::bad_alloc();
}

SegmentSpectrum::~SegmentSpectrum() = default;

const std::vector<double> &SegmentSpectrum::Of(std::span<const double> segment)
{
    std::copy_n(segment.begin(), m_plan->samples, m_plan->in);
    fftw_execute(m_plan->plan);
    for (size_t k = 0; k < m_power.size(); ++k) {
        const double re = m_plan->out[k][0];
        const double im = m_plan->out[k][1];
        m_power[k] = (re * re + im * im) * m_scale * (k == 0 ? 1.0 : 4.0);
    }
    return m_power;
}

double VarianceOf(std::span<const double> samples)
{
    if (samples.empty()) return 0.0;
    const auto count = static_cast<double>(samples.size());
    const double mean = std::accumulate(samples.begin(), samples.end(), 0.0) / count;
    const double squares =
        std::accumulate(samples.begin(), samples.end(), 0.0, [mean](double sum, double value) {
            return sum + (value - mean) * (value - mean);
        });
    return squares / count;
}

std::vector<double> CountInBins(std::span<const double> samples, double least, double width,
                                size_t bins)
{
    std::vector<double> counts(bins, 0.0);
    if (bins == 0 || !(width > 0.0)) return counts;
    for (const double value : samples) {
        const double place = (value - least) / width;
        if (!(place >= 0.0)) continue;
        const auto last = static_cast<double>(bins - 1);
        counts[static_cast<size_t>(std::min(place, last))] += 1.0;
    }
    return counts;
}
