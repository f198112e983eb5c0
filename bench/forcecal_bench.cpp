// The analysis of one run, against the bare transforms of the same segments by the transform
// library, with its plan and its arrays made before.

#include "ratio.h"

#include "force/forcecal.h"
#include "platform/memory.h"

#include <cmath>
#include <cstring>
#include <fftw3.h>
#include <random>

constexpr int32_t kSegment = 65536;
constexpr int32_t kSegments = 10;
constexpr int32_t kSamples = kSegment * kSegments;

// A trapped bead's motion, in the container of the run without oscillation: corner 400 Hz at 65536
// samples a second.
static ZVK_ForceCalDataContainer &MakeRun()
{
    g_forceCal.MaxFFT = 200000;
    g_forceCal.Bins = 100;
    g_forceCal.SubtractDrift = 1;
    g_forceCal.FitStartFrequency = 10.0;
    g_forceCal.FitStopFrequency = 8000.0;
    ZVK_ForceCalDataContainer &data = g_forceCal.Data[0][kNoOscillation];
    std::mt19937_64 generator(640);
    std::normal_distribution<double> normal;
    const double c = std::exp(-2.0 * M_PI * 400.0 / kSegment);
    for (double *&series : data.TD) {
        Release(series);
        series = AllocateArray<double>(kSamples);
        double position = 0.0;
        for (int32_t k = 0; k < kSamples; ++k) {
            series[k] = position;
            position = c * position + 0.01 * std::sqrt(1.0 - c * c) * normal(generator);
        }
    }
    data.TDValid = 1;
    data.NumberOfSamples = kSamples;
    data.Averages = kSegments;
    data.SampleRate = kSegment;
    data.OscAxis = kNoOscillation;
    data.OscFrequency = -1.0;
    (void)ZVK_ForceCal_CreateTDAxis(&data);
    return data;
}

static void Analyse(ZVK_ForceCalDataContainer &data)
{
    (void)ZVK_ForceCal_CorrectTD(&data);
    (void)ZVK_ForceCal_ComputeFD(&data);
    (void)ZVK_ForceCal_CreateFDFit(&data);
    (void)ZVK_ForceCal_Create1DBinning(&data);
    (void)ZVK_ForceCal_CreatePotFit(&data);
    (void)ZVK_ForceCal_Create2DBinning(&data);
}

static void AnalysisOfOneRun(benchmark::State &state)
{
    ZVK_ForceCalDataContainer &data = MakeRun();
    double *in = fftw_alloc_real(kSegment);
    fftw_complex *out = fftw_alloc_complex(kSegment / 2 + 1);
    const fftw_plan plan = fftw_plan_dft_r2c_1d(kSegment, in, out, FFTW_ESTIMATE);
    MeasureRatio(
        state, [&] { Analyse(data); },
        [&] {
            for (const double *series : data.TD) {
                for (int32_t s = 0; s < kSegments; ++s) {
                    std::memcpy(in, series + s * kSegment, kSegment * sizeof(double));
                    fftw_execute(plan);
                    benchmark::DoNotOptimize(out[7][0]);
                }
            }
        });
    fftw_destroy_plan(plan);
    fftw_free(in);
    fftw_free(out);
}
BENCHMARK(AnalysisOfOneRun)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(15);

// A step of the analysis alone, for seeing where the time goes; the bare cost is one transform.
template <int32_t (*step)(ZVK_ForceCalDataContainer *)>
static void Step(benchmark::State &state)
{
    ZVK_ForceCalDataContainer &data = MakeRun();
    Analyse(data);
    for (auto _ : state)
        state.SetIterationTime(SecondsOf([&] { (void)step(&data); }));
}
BENCHMARK(Step<ZVK_ForceCal_CorrectTD>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Step<ZVK_ForceCal_ComputeFD>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Step<ZVK_ForceCal_CreateFDFit>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Step<ZVK_ForceCal_Create1DBinning>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Step<ZVK_ForceCal_CreatePotFit>)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Step<ZVK_ForceCal_Create2DBinning>)->UseManualTime()->Unit(benchmark::kMillisecond);
