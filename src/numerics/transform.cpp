#include "numerics/transform.h"

#include <cstring>
#include <fftw3.h>
#include <limits>
#include <mutex>
#include <new>

struct ZVK_Transform
{
    int64_t length;
    double *samples;     // aligned for the library
    fftw_complex *bins;  // length / 2 + 1
    fftw_plan plan;
};

// The library plans with tables of its own that only one thread may touch.
static std::mutex &Planning()
{
    static constinit std::mutex s_planning;  // neither made nor destroyed: threads may outlive main
    return s_planning;
}

ZVK_Transform *MakeTransform(int64_t length) noexcept
{
    if (length < 1 || length > std::numeric_limits<int>::max()) return nullptr;
    auto *transform = new (std::nothrow) ZVK_Transform{length, nullptr, nullptr, nullptr};
    if (transform == nullptr) return nullptr;
    const auto count = static_cast<size_t>(length);
    transform->samples = fftw_alloc_real(count);
    transform->bins = fftw_alloc_complex(count / 2 + 1);
    if (transform->samples != nullptr && transform->bins != nullptr) {
        const std::lock_guard lock(Planning());
        // By rule and not by measuring, so that the same samples give the same bits each time.
        transform->plan = fftw_plan_dft_r2c_1d(static_cast<int>(length), transform->samples,
                                               transform->bins, FFTW_ESTIMATE);
    }
    if (transform->plan == nullptr) {
        FreeTransform(transform);
        return nullptr;
    }
    return transform;
}

void FreeTransform(ZVK_Transform *transform) noexcept
{
    if (transform == nullptr) return;
    if (transform->plan != nullptr) {
        const std::lock_guard lock(Planning());
        fftw_destroy_plan(transform->plan);
    }
    fftw_free(transform->samples);
    fftw_free(transform->bins);
    delete transform;
}

const double *TransformReal(ZVK_Transform *transform, const double *samples) noexcept
{
    std::memcpy(transform->samples, samples,
                static_cast<size_t>(transform->length) * sizeof(double));
    fftw_execute(transform->plan);
    return &transform->bins[0][0];
}
