#ifndef QUORVEX_BENCH_RATIO_H
#define QUORVEX_BENCH_RATIO_H

// A figure as a ratio: the work and its bare cost run in turn, in the same run, and the medians are
// divided. The absolute times stand beside it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

template <class Call>
double SecondsOf(Call &&call)
{
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// Runs `work` and `bare` once an iteration and reports ratio, work_us and bare_us.
template <class Work, class Bare>
void MeasureRatio(benchmark::State &state, Work &&work, Bare &&bare)
{
    std::vector<double> workTimes;
    std::vector<double> bareTimes;
    for (auto _ : state) {
        bareTimes.push_back(SecondsOf(bare));
        workTimes.push_back(SecondsOf(work));
        state.SetIterationTime(workTimes.back());
    }
    const double workTime = Median(workTimes);
    const double bareTime = Median(bareTimes);
    state.counters["ratio"] = workTime / bareTime;
    state.counters["work_us"] = workTime * 1e6;
    state.counters["bare_us"] = bareTime * 1e6;
}

#endif
