#ifndef QUORVEX_TESTS_FORCECAL_FILES_FIXTURE_H
#define QUORVEX_TESTS_FORCECAL_FILES_FIXTURE_H

// Short runs in the containers of the force calibration, and their data files in a scratch folder.

#include "forcecal_fixture.h"

#include <cmath>

constexpr char kRule[] = "########################################################\n";

class ForceCalFiles : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        g_forceCal.MaxFFT = 5000;
        g_forceCal.Bins = 5;
        g_forceCal.FitStartFrequency = 0.5;
        g_forceCal.FitStopFrequency = 1000.0;
        base = folder.Path("run_");
    }

    // A short series with a spectrum in one container.
    static void PutRun(int path, int run, int32_t count = 32)
    {
        std::vector<double> x(count);
        std::vector<double> y(count);
        std::vector<double> sum(count);
        for (int32_t k = 0; k < count; ++k) {
            x[k] = std::sin(0.7 * k + path + run);
            y[k] = -0.25 * x[k] + 1e-3 * k;
            sum[k] = 5.0 + 0.01 * (k % 7);
        }
        ZVK_ForceCalDataContainer &data = g_forceCal.Data[path][run];
        PutSeries(data, {x, y, sum}, 2, 8.0);
        data.OscFrequency = run == 3 ? -1.0 : 2.0;
        data.OscAmplitude = run == 3 ? 0.0 : 0.25;
        ASSERT_EQ(ZVK_ForceCal_CorrectTD(&data), 0);
        ASSERT_EQ(ZVK_ForceCal_ComputeFD(&data), 0);
    }

    int32_t Save() const { return ZVK_ForceCal_SaveData(0, base.c_str()); }
    int32_t Load() const { return ZVK_ForceCal_LoadData(0, base.c_str()); }

    // A fresh process, as far as this module goes.
    static void Forget()
    {
        ResetForceCal();
        PretendUp();
        g_forceCal.MaxFFT = 5000;
        g_forceCal.Bins = 5;
        g_forceCal.FitStartFrequency = 0.5;
        g_forceCal.FitStopFrequency = 1000.0;
    }

    std::string base;
};

#endif
