#ifndef QUORVEX_ZVK_STATISTICS_SEGMENTS_H
#define QUORVEX_ZVK_STATISTICS_SEGMENTS_H

// What each segment of a run gives alone.

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

// Spectra of segments of one length, on the library's scale: 4 |X(k)|^2 / (rate^2 T) for bins
// above 0. They are measures of scatter only: what a report tells is the library's own.
class SegmentSpectrum
{
public:
    SegmentSpectrum(size_t samples, double rate);  // throws std::bad_alloc
    ~SegmentSpectrum();
    SegmentSpectrum(const SegmentSpectrum &) = delete;
    SegmentSpectrum &operator=(const SegmentSpectrum &) = delete;

    // Good until the next call.
    const std::vector<double> &Of(std::span<const double> segment);

private:
    struct Plan;
    std::unique_ptr<Plan> m_plan;
    std::vector<double> m_power;
    double m_scale;
};

double VarianceOf(std::span<const double> samples);

// Counts in bins of one width whose first begins at `least`; the end belongs to the last bin.
std::vector<double> CountInBins(std::span<const double> samples, double least, double width,
                                size_t bins);

#endif
