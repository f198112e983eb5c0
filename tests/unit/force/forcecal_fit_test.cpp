// The Lorentzian of the spectrum and the active calibration, against numbers put in.

#include "forcecal_fixture.h"

#include "failing_memory.h"
#include "numerics/curve_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>

class ForceCalFit : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        PretendUp();
        g_forceCal.MaxFFT = 5000;
        g_forceCal.FitStartFrequency = 10.0;
        g_forceCal.FitStopFrequency = 2000.0;
        Data().OscFrequency = -1.0;
    }

    static ZVK_ForceCalDataContainer &Data() { return g_forceCal.Data[0][1]; }

    // A / (f^2 + c^2) at f = k / T.
    static std::vector<double> Lorentz(int32_t count, double a, double c, double time)
    {
        std::vector<double> power;
        for (int32_t k = 0; k < count; ++k)
            power.push_back(a / (std::pow(k / time, 2) + c * c));
        return power;
    }
};

TEST_F(ForceCalFit, TheLorentzianIgnoresTheNumberOfCoefficients)
{
    const double a[] = {8.0, -3.0};
    EXPECT_EQ(ZVK_ForceCal_Lorentzian(1.0, a, -7), 0.8);
}

TEST_F(ForceCalFit, WithoutASpectrumThereIsNone)
{
    EXPECT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), ZVK_FORCECAL_NO_SPECTRUM);
    EXPECT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), ZVK_FORCECAL_NO_SPECTRUM);
    EXPECT_EQ(Data().FDFitValid, 0);
}

TEST_F(ForceCalFit, NoiseFreeSpectraGiveTheirCornerAndAmplitudeToNineDigits)
{
    for (const double corner : {120.0, 350.0, 900.0, 4000.0}) {
        const double amplitude = 3e-7;
        PutSpectrum(Data(), Lorentz(3000, amplitude, corner, 1.0), 1.0);
        ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
        for (int s = 0; s < 3; ++s) {
            EXPECT_NEAR(Data().CornerFrequency[s] / corner, 1.0, 1e-9) << corner;
            EXPECT_NEAR(Data().LorentzAmplitude[s] / amplitude, 1.0, 1e-9) << corner;
            EXPECT_LT(Data().FitMSE[s], 1e-20);
        }
        EXPECT_EQ(Data().FDFitValid, 1);
    }
}

TEST_F(ForceCalFit, FindsCornersFarApartOnSpectraShortAndLong)
{
    for (const double time : {0.125, 1.0, 4.0}) {
        for (const double corner : {15.0, 60.0, 350.0, 1500.0, 3000.0}) {
            g_forceCal.FitStopFrequency = 1250.0 / time;
            PutSpectrum(Data(), Lorentz(5000, 2.5, corner, time), time);
            ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
            EXPECT_NEAR(Data().CornerFrequency[0] / corner, 1.0, 1e-9) << time << " " << corner;
            EXPECT_NEAR(Data().LorentzAmplitude[0] / 2.5, 1.0, 1e-9) << time << " " << corner;
        }
    }
}

TEST_F(ForceCalFit, EachSignalHasItsOwnSpectrumStartAndFit)
{
    const double corners[3] = {130.0, 260.0, 520.0};
    const double amplitudes[3] = {1.0, 1e-3, 50.0};
    PutSpectrum(Data(), std::vector<double>(3000, 0.0), 1.0);
    for (int s = 0; s < 3; ++s) {
        const std::vector<double> power = Lorentz(3000, amplitudes[s], corners[s], 1.0);
        std::copy(power.begin(), power.end(), Data().FD[s]);
    }
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    for (int s = 0; s < 3; ++s) {
        EXPECT_NEAR(Data().CornerFrequency[s] / corners[s], 1.0, 1e-9);
        EXPECT_NEAR(Data().LorentzAmplitude[s] / amplitudes[s], 1.0, 1e-9);
        EXPECT_NEAR(Data().FDFitCurve[s][100] / Data().FD[s][111], 1.0, 1e-9);
        // 1 / (f^2 + c^2) has fallen to 0.3 of a level plateau at 1.53 corners.
        EXPECT_GT(Data().CornerStart[s] / corners[s], 1.52);
        EXPECT_LT(Data().CornerStart[s] / corners[s], 1.75);
    }
}

TEST_F(ForceCalFit, OnePointLeavesTheStartOf100AndTheFoundCorner)
{
    g_forceCal.FitStartFrequency = 10.5;
    g_forceCal.FitStopFrequency = 11.5;
    PutSpectrum(Data(), Lorentz(1000, 3.0, 50.0, 1.0), 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    EXPECT_EQ(Data().NumberOfFitEntries, 1);
    EXPECT_NEAR(Data().LorentzAmplitude[0], 100.0 * Data().FD[0][11], 1e-12);
    EXPECT_GT(Data().CornerStart[0], 100.0);
    EXPECT_EQ(Data().CornerFrequency[0], Data().CornerStart[0]);
    std::fill(Data().FD[1] + 101, Data().FD[1] + 300, 1e9);  // a later start
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    EXPECT_EQ(Data().CornerStart[1], 300.0);
    EXPECT_EQ(Data().CornerFrequency[1], Data().CornerStart[1]) << "each its own";
}

// A spectrum that rises has its best corner at infinity: the fit creeps there and never ends.
TEST_F(ForceCalFit, OfASpectrumThatHasNoCornerEndsBehind100Iterations)
{
    std::vector<double> power;
    for (int k = 0; k < 1000; ++k)
        power.push_back(1.0 + 1e-6 * k * k);
    PutSpectrum(Data(), power, 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    const auto values = [](const double *x, int32_t count, const double *a, double *out) {
        for (int32_t i = 0; i < count; ++i)
            out[i] = ZVK_ForceCal_Lorentzian(x[i], a, 2);
    };
    const auto gradients = [](const double *x, int32_t count, const double *a, double *out) {
        for (int32_t i = 0; i < count; ++i) {
            const double part = 1.0 / (x[i] * x[i] + a[1] * a[1]);
            out[i] = part;
            out[count + i] = -2.0 * a[0] * a[1] * part * part;
        }
    };
    const int32_t count = Data().NumberOfFitEntries;
    std::vector<double> fitted(count);
    const auto cornerBehind = [&](int32_t iterations) {
        double a[2] = {100.0, Data().CornerStart[0]};
        (void)FitCurve({Data().FDFitAxis, Data().FDFitData[0], count}, {values, gradients, 2},
                       iterations, a, fitted.data());
        return std::fabs(a[1]);
    };
    EXPECT_NEAR(Data().CornerFrequency[0] / cornerBehind(100), 1.0, 1e-6);
    EXPECT_GT(std::fabs(cornerBehind(50) / cornerBehind(100) - 1.0), 1e-3);
    EXPECT_GT(std::fabs(cornerBehind(200) / cornerBehind(100) - 1.0), 1e-3);
}

TEST_F(ForceCalFit, AtFrequencyZeroWithoutAStartNoNumberIsLost)
{
    g_forceCal.FitStartFrequency = -1.0;  // bin 0 is inside
    PutSpectrum(Data(), std::vector<double>(8, 1.0), 1.0);
    Data().OscFrequency = -5.0;
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    EXPECT_EQ(Data().NumberOfFitEntries, 8);
    EXPECT_EQ(Data().CornerFrequency[0], 0.0);
    EXPECT_EQ(Data().LorentzAmplitude[0], 100.0) << "the start stands";
    EXPECT_FALSE(std::isnan(Data().FitMSE[0]));
}

TEST_F(ForceCalFit, TakesBinsStrictlyInsideTheRangeWithoutTheOscillation)
{
    g_forceCal.FitStartFrequency = 10.0;
    g_forceCal.FitStopFrequency = 40.0;
    Data().OscFrequency = 32.0;
    PutSpectrum(Data(), Lorentz(400, 1.0, 20.0, 1.0), 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    EXPECT_EQ(Data().NumberOfFitEntries, 28) << "11 to 39 without 32";
    EXPECT_EQ(Data().FDFitAxis[0], 11.0);
    EXPECT_EQ(Data().FDFitAxis[20], 31.0);
    EXPECT_EQ(Data().FDFitAxis[21], 33.0);
    EXPECT_EQ(Data().FDFitAxis[27], 39.0);
    double mean = 0.0;
    for (int k = 0; k < 28; ++k)
        mean += Data().FDFitData[0][k] / 28.0;
    EXPECT_NEAR(mean, 1.0, 1e-12) << "the data stay scaled";
    EXPECT_NEAR(Data().FDFitCurve[0][0], Data().FD[0][11], 1e-12) << "the curve is scaled back";
    EXPECT_EQ(Data().FDFitCurve[0][40], 0.0) << "behind the points";
}

TEST_F(ForceCalFit, ABinHalfAWidthAwayFromTheOscillationIsDroppedToo)
{
    Data().OscFrequency = 31.5;
    g_forceCal.FitStopFrequency = 40.0;
    PutSpectrum(Data(), Lorentz(400, 1.0, 20.0, 1.0), 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    EXPECT_EQ(Data().NumberOfFitEntries, 27) << "31 and 32 lie exactly half a width away";
}

TEST_F(ForceCalFit, TheErrorIsScaledByTheMeanOnce)
{
    std::vector<double> power = Lorentz(1000, 1.0, 50.0, 1.0);
    for (size_t k = 0; k < power.size(); k += 2)
        power[k] *= 1.1;
    g_forceCal.FitStopFrequency = 500.0;
    PutSpectrum(Data(), power, 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    const int32_t n = Data().NumberOfFitEntries;
    double mean = 0.0;
    for (int k = 0; k < n; ++k)
        mean += Data().FD[0][11 + k] / n;
    double squares = 0.0;
    for (int k = 0; k < n; ++k) {
        const double residual = Data().FDFitData[0][k] - Data().FDFitCurve[0][k] / mean;
        squares += residual * residual / n;
    }
    EXPECT_NEAR(Data().FitMSE[0] / (squares * mean), 1.0, 1e-9);
}

TEST_F(ForceCalFit, AnEmptyRangeLeavesTheStartAndNoNumberThatIsNone)
{
    g_forceCal.FitStartFrequency = 0.0;
    g_forceCal.FitStopFrequency = 0.0;
    PutSpectrum(Data(), Lorentz(1000, 1.0, 50.0, 1.0), 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    EXPECT_EQ(Data().NumberOfFitEntries, 0);
    EXPECT_EQ(Data().FDFitValid, 1);
    EXPECT_EQ(Data().CornerFrequency[0], Data().CornerStart[0]);
    EXPECT_EQ(Data().LorentzAmplitude[0], 0.0);
    EXPECT_EQ(Data().FitMSE[0], 0.0);
}

TEST_F(ForceCalFit, ASpectrumOfZerosGivesNoNumberThatIsNone)
{
    PutSpectrum(Data(), std::vector<double>(1000, 0.0), 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), 0);
    EXPECT_EQ(Data().LorentzAmplitude[0], 0.0);
    EXPECT_EQ(Data().FitMSE[0], 0.0);
    EXPECT_FALSE(std::isnan(Data().CornerFrequency[0]));
    EXPECT_FALSE(std::isnan(Data().FDFitData[0][5]));
}

TEST_F(ForceCalFit, TheStartIsWhereTenBinsInARowLieBelowThreeTenthsOfThePlateau)
{
    std::vector<double> power(400, 1.0);
    for (size_t k = 150; k < 159; ++k)
        power[k] = 0.1;  // nine
    for (size_t k = 200; k < power.size(); ++k)
        power[k] = 0.29;
    PutSpectrum(Data(), power, 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_NEAR(Data().LowFrequencyPower[2], 1.0, 1e-12);
    EXPECT_EQ(Data().CornerStart[2], 200.0);
    for (size_t k = 200; k < power.size(); ++k)
        power[k] = 0.3;
    PutSpectrum(Data(), power, 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_EQ(Data().CornerStart[2], 389.0) << "strictly below; the last bin looked at remains";
}

TEST_F(ForceCalFit, ThePlateauIsBin1To100HertzIncluded)
{
    std::vector<double> power(400, 0.0);
    power[0] = 1e9;
    power[1] = 100.0;
    power[100] = 100.0;
    power[101] = 1e9;
    PutSpectrum(Data(), power, 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_NEAR(Data().LowFrequencyPower[0], 2.0, 1e-12);
    EXPECT_EQ(Data().CornerStart[0], 102.0);
    power[100] = 0.0;
    power[101] = 0.0;
    PutSpectrum(Data(), power, 1.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_NEAR(Data().LowFrequencyPower[0], 1.0, 1e-12) << "of 100 bins";
    EXPECT_EQ(Data().CornerStart[0], 101.0) << "the walk begins behind the plateau";
}

TEST_F(ForceCalFit, WithoutABinBelow100HertzThePlateauIsADivisionByZero)
{
    PutSpectrum(Data(), std::vector<double>(400, 1.0), 0.001);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_TRUE(std::isnan(Data().LowFrequencyPower[0]));
    EXPECT_EQ(Data().CornerStart[0], Data().FDAxis[389]);
}

TEST_F(ForceCalFit, TenBinsOrFewerLeaveTheStartAtZero)
{
    PutSpectrum(Data(), std::vector<double>(10, 1.0), 1.0);
    Data().CornerStart[0] = 7.0;
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_EQ(Data().CornerStart[0], 0.0);
    PutSpectrum(Data(), std::vector<double>(10, 1.0), 1.0 / 60.0);  // bin 1 alone is plateau
    Data().CornerStart[0] = 7.0;
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_EQ(Data().LowFrequencyPower[0], 1.0);
    EXPECT_EQ(Data().CornerStart[0], 0.0);
    PutSpectrum(Data(), std::vector<double>(13, 1.0), 1.0 / 60.0);
    ASSERT_EQ(ZVK_ForceCal_CreateFDFitHeuristics(&Data()), 0);
    EXPECT_EQ(Data().CornerStart[0], 120.0) << "bin 2 is the last that has ten from it on";
}

TEST_F(ForceCalFit, TheUpdateFitsAllRunsAndPassesOverThoseWithoutASpectrum)
{
    g_forceCal.Initialised = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdateFDFits(0), ZVK_FORCECAL_NOT_INITIALIZED);
    g_forceCal.Initialised = 1;
    g_forceCal.Installed = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdateFDFits(0), ZVK_FORCECAL_NOT_INSTALLED);
    g_forceCal.Installed = 1;
    EXPECT_EQ(ZVK_ForceCal_UpdateFDFits(0), 0);
    PutSpectrum(Data(), Lorentz(500, 1.0, 60.0, 1.0), 1.0);
    PutSpectrum(g_forceCal.Data[1][3], Lorentz(500, 1.0, 70.0, 1.0), 1.0);
    EXPECT_EQ(ZVK_ForceCal_UpdateFDFits(0), 0);
    EXPECT_NEAR(Data().CornerFrequency[0], 60.0, 1e-6);
    EXPECT_NEAR(g_forceCal.Data[1][3].CornerFrequency[0], 70.0, 1e-6);
    EXPECT_EQ(g_forceCal.Data[0][0].FDFitValid, 0);
}

TEST_F(ForceCalFit, EachAllocationThatFailsLeavesNoFit)
{
    PutSpectrum(Data(), Lorentz(500, 1.0, 60.0, 1.0), 1.0);
    for (int nth = 1; nth <= 7; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ForceCal_CreateFDFit(&Data()), ZVK_FORCE_NO_MEMORY);
        EXPECT_EQ(Data().FDFitValid, 0);
        EXPECT_EQ(Data().FDFitAxis, nullptr);
        EXPECT_EQ(Data().FDFitCurve[2], nullptr);
    }
}

// What a peak of no power at this frequency makes of beta.
static double BetaWithoutPower(double f, double binFrequency, double width, double a, double c)
{
    const double theory = std::pow(0.2e-6, 2) / (2.0 * (c * c / (binFrequency * binFrequency) + 1));
    return std::sqrt(theory / (a / (f * f + c * c) * width));
}

class ForceCalActive : public ForceCalFit
{
protected:
    // A run along y, whose own signal has a peak of `extra` above the Lorentzian at 32 Hz.
    static void PutRun(double extra)
    {
        std::vector<double> power = Lorentz(400, kA, kCorner, 1.0);
        power[32] += extra;
        PutSpectrum(Data(), power, 1.0);
        Data().OscAxis = 1;
        Data().OscFrequency = 32.0;
        Data().OscAmplitude = 0.2;
        Data().LorentzAmplitude[1] = kA;
        Data().CornerFrequency[1] = kCorner;
        Data().FDFitValid = 1;
    }

    static constexpr double kA = 2e-3;
    static constexpr double kCorner = 150.0;
};

TEST_F(ForceCalActive, WithoutAFitThereIsNone)
{
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), ZVK_FORCECAL_NO_FIT);
}

TEST_F(ForceCalActive, FollowsItsFormulasToTheLetter)
{
    g_forceCal.Temperature = 300.0;
    const double extra = 5e-6;
    PutRun(extra);
    ASSERT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
    const double theory = std::pow(0.2e-6, 2) / (2.0 * (kCorner * kCorner / (32.0 * 32.0) + 1.0));
    const double beta = std::sqrt(theory / extra);
    EXPECT_NEAR(Data().Beta / beta, 1.0, 1e-9);
    const double k = kCorner * 6.283185307179586 * 1.3806488e-23 * 300.0 /
                     ((3.14159 * 3.14159 * kA / 2.0) * beta * beta);
    EXPECT_NEAR(Data().K / k, 1.0, 1e-9);
}

TEST_F(ForceCalActive, TakesTheWidthOfABinTheSignalOfTheAxisAndTheBinsOwnFrequency)
{
    g_forceCal.Temperature = 293.15;
    g_forceCal.Frequency = 77;  // settings of now count for nothing
    g_forceCal.Amplitude = 77.0;
    const double time = 4.0;
    for (int axis = 0; axis < 3; ++axis) {
        ZVK_ForceCalDataContainer &data = g_forceCal.Data[1][axis];
        PutSpectrum(data, std::vector<double>(400, 1e9), time);
        data.OscAxis = axis;
        data.OscFrequency = 32.05;  // a little above bin 128
        data.OscAmplitude = 0.1;
        data.LorentzAmplitude[axis] = kA;
        data.CornerFrequency[axis] = kCorner;
        data.FD[axis][128] = 7e-6;
        data.FDFitValid = 1;
    }
    ASSERT_EQ(ZVK_ForceCal_UpdateNLCalibration(0), 0);
    const double background = kA / (32.05 * 32.05 + kCorner * kCorner);
    const double measured = (7e-6 - background) / time;
    const double theory = std::pow(0.1e-6, 2) / (2.0 * (kCorner * kCorner / (32.0 * 32.0) + 1.0));
    for (int axis = 0; axis < 3; ++axis) {
        const double beta = std::sqrt(theory / measured);
        EXPECT_NEAR(g_forceCal.Data[1][axis].Beta / beta, 1.0, 1e-12) << axis;
        EXPECT_NEAR(g_forceCal.Data[1][axis].K * beta * beta * 3.14159 * 3.14159 * kA / 2.0 /
                        (kCorner * 6.283185307179586 * 1.3806488e-23 * 293.15),
                    1.0, 1e-12);
    }
}

TEST_F(ForceCalActive, APeakHalfwayBetweenTwoBinsIsInNeither)
{
    PutRun(1e-6);
    Data().OscFrequency = 31.5;
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
    EXPECT_NEAR(Data().Beta / BetaWithoutPower(31.5, 400.0, 1.0, kA, kCorner), 1.0, 1e-12);
}

TEST_F(ForceCalActive, APeakAsFarBelowTheLorentzianGivesTheSameBeta)
{
    PutRun(3e-8);
    ASSERT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
    const double above = Data().Beta;
    PutRun(-3e-8);
    ASSERT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
    EXPECT_NEAR(Data().Beta / above, 1.0, 1e-9);
}

TEST_F(ForceCalActive, APeakThatEqualsTheBackgroundGivesAnInfiniteBetaAndNoStiffness)
{
    PutRun(0.0);
    Data().FD[1][32] = kA / (32.0 * 32.0 + kCorner * kCorner);
    ASSERT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
    EXPECT_TRUE(std::isinf(Data().Beta));
    EXPECT_EQ(Data().K, 0.0);
}

TEST_F(ForceCalActive, NothingIsReadOutsideTheSpectrum)
{
    PutRun(1e-6);
    Data().OscFrequency = 5000.0;
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0) << "nothing reports it";
    EXPECT_NEAR(Data().Beta / BetaWithoutPower(5000.0, 400.0, 1.0, kA, kCorner), 1.0, 1e-12)
        << "the place behind the last bin";

    g_forceCal.MaxFFT = 399;  // a spectrum as long as its room
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
    EXPECT_NEAR(Data().Beta / BetaWithoutPower(5000.0, 400.0, 1.0, kA, kCorner), 1.0, 1e-12);
    g_forceCal.MaxFFT = 5000;

    for (const int32_t bins : {0, 1, 2}) {
        PutSpectrum(Data(), std::vector<double>(bins, 0.0), 0.5);
        std::fill_n(Data().FD[1], 10, 0.0);
        Data().OscFrequency = 2.0;
        EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
        const double place = bins == 2 ? 2.0 : 2.0 * bins;
        EXPECT_DOUBLE_EQ(Data().Beta, BetaWithoutPower(2.0, place, 2.0, kA, kCorner)) << bins;
    }

    Data().Beta = 7.0;
    Data().OscAxis = 3;
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), ZVK_FORCECAL_NO_FIT);
    Data().OscAxis = -1;
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), ZVK_FORCECAL_NO_FIT);
    Data().OscAxis = 1;
    EXPECT_EQ(ZVK_ForceCal_Shutdown(0), 0);
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), ZVK_FORCECAL_NO_SPECTRUM);
    EXPECT_EQ(Data().Beta, 7.0);
}

TEST_F(ForceCalActive, AsksForTheFitAloneAndNotForTheSpectrumsFlag)
{
    PutRun(1e-6);
    Data().FDValid = 0;  // as the load of an empty run leaves it
    EXPECT_EQ(ZVK_ForceCal_ComputeNLCalibration(&Data()), 0);
    EXPECT_GT(Data().Beta, 0.0);
}

TEST_F(ForceCalActive, TheUpdatePassesOverTheRunsWithoutOscillation)
{
    PutRun(1e-6);
    PutSpectrum(Still(), std::vector<double>(400, 1.0), 1.0);
    Still().OscAxis = 0;  // as a load leaves it
    Still().OscFrequency = 32.0;
    Still().CornerFrequency[0] = kCorner;
    Still().FDFitValid = 1;
    Still().Beta = 9.0;
    EXPECT_EQ(ZVK_ForceCal_UpdateNLCalibration(0), 0);
    EXPECT_GT(Data().Beta, 0.0);
    EXPECT_EQ(Still().Beta, 9.0);
    g_forceCal.Installed = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdateNLCalibration(0), ZVK_FORCECAL_NOT_INSTALLED);
    g_forceCal.Initialised = 0;
    EXPECT_EQ(ZVK_ForceCal_UpdateNLCalibration(0), ZVK_FORCECAL_NOT_INITIALIZED);
}
