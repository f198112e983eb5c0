// From a block of scans to one array a signal.

#include "force/force.h"
#include "platform/memory.h"

#include <algorithm>
#include <utility>

static void Transpose(const double *scans, int64_t samples, int64_t channels, double *planes)
{
    for (int64_t c = 0; c < channels; ++c) {
        const double *from = scans + c;
        double *to = planes + c * samples;
        for (int64_t s = 0; s < samples; ++s)
            to[s] = from[s * channels];
    }
}

static int64_t BlockSize(int32_t samples, int32_t channels)
{
    if (samples < 0 || channels < 0) return 0;
    return static_cast<int64_t>(samples) * channels;
}

int32_t ZVK_Force_Chunky2Planar(SessionHandle, double *InputData, int32_t NumberOfSamples,
                                int32_t NumberOfChannels, double **OutputData)
{
    if (g_force.Initialised == 0) return ZVK_FORCE_NOT_INITIALIZED;
    if (OutputData == nullptr) return ZVK_SUCCESS;
    const int64_t size = BlockSize(NumberOfSamples, NumberOfChannels);
    const bool inPlace = InputData == *OutputData && InputData != nullptr;
    if (!inPlace) Release(*OutputData);
    double *block = AllocateArray<double>(size);
    if (block == nullptr) return ZVK_FORCE_NO_MEMORY;
    if (!inPlace) {
        // Without input the result is 0 V, as a block is where nothing was acquired.
        if (InputData != nullptr) Transpose(InputData, NumberOfSamples, NumberOfChannels, block);
        *OutputData = block;
        return ZVK_SUCCESS;
    }
    std::copy_n(InputData, size, block);
    Transpose(block, NumberOfSamples, NumberOfChannels, InputData);
    Release(block);
    return ZVK_SUCCESS;
}

constexpr int kMostChannels = 7;

static void ReleaseAll(double **const *outputs, int channels)
{
    for (int c = 0; c < channels; ++c) {
        if (outputs[c] != nullptr) Release(*outputs[c]);
    }
}

// The new arrays are filled before the old ones go, since an old one may be the input itself.
static int32_t Slice(const double *planes, int32_t samples, double **const *outputs, int channels)
{
    if (g_force.Initialised == 0) return ZVK_FORCE_NOT_INITIALIZED;
    const int64_t count = std::max(samples, 0);
    double *arrays[kMostChannels] = {};
    bool complete = true;
    for (int c = 0; c < channels && complete; ++c) {
        if (outputs[c] == nullptr) continue;
        arrays[c] = AllocateArray<double>(count);
        complete = arrays[c] != nullptr;
        if (complete && planes != nullptr) std::copy_n(planes + c * count, count, arrays[c]);
    }
    ReleaseAll(outputs, channels);
    for (int c = 0; c < channels; ++c) {
        if (complete && outputs[c] != nullptr) std::swap(*outputs[c], arrays[c]);
        Release(arrays[c]);
    }
    return complete ? ZVK_SUCCESS : ZVK_FORCE_NO_MEMORY;
}

int32_t ZVK_Force_Slice3(SessionHandle, const double *InputData, int32_t NumberOfSamples,
                         double **Channel1, double **Channel2, double **Channel3)
{
    double **const outputs[] = {Channel1, Channel2, Channel3};
    return Slice(InputData, NumberOfSamples, outputs, 3);
}

int32_t ZVK_Force_Slice4(SessionHandle, const double *InputData, int32_t NumberOfSamples,
                         double **Channel1, double **Channel2, double **Channel3, double **Channel4)
{
    double **const outputs[] = {Channel1, Channel2, Channel3, Channel4};
    return Slice(InputData, NumberOfSamples, outputs, 4);
}

int32_t ZVK_Force_Slice6(SessionHandle, const double *InputData, int32_t NumberOfSamples,
                         double **Channel1, double **Channel2, double **Channel3, double **Channel4,
                         double **Channel5, double **Channel6)
{
    double **const outputs[] = {Channel1, Channel2, Channel3, Channel4, Channel5, Channel6};
    return Slice(InputData, NumberOfSamples, outputs, 6);
}

int32_t ZVK_Force_Slice7(SessionHandle, const double *InputData, int32_t NumberOfSamples,
                         double **Channel1, double **Channel2, double **Channel3, double **Channel4,
                         double **Channel5, double **Channel6, double **Channel7)
{
    double **const outputs[] = {Channel1, Channel2, Channel3, Channel4,
                                Channel5, Channel6, Channel7};
    return Slice(InputData, NumberOfSamples, outputs, 7);
}
