// The calibration's part of the demo: beads of known stiffness in the virtual traps, and what each
// method finds.

#include "demo.h"

#include "quorvex/quorvex.h"

#include "quorvex-virtual/beads.h"
#include "quorvex-virtual/daq.h"
#include "quorvex-virtual/stage.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numbers>
#include <vector>

constexpr SessionHandle kSession = 640;
constexpr int32_t kPath = ZVK_PATH_A;
constexpr int kAxes = 3;
constexpr int32_t kStill = 3;  // the run without oscillation
constexpr int32_t kSpectrum = 4;
constexpr int32_t kLineFit = 1024;
// Samples a second, for one channel: beyond the pulses' dead zone.
constexpr double kCardRate = 320000.0;
constexpr double kSegmentS = 3.0;
constexpr int32_t kSegments = 10;

using ByAxis = std::array<double, kAxes>;

namespace {

struct Tables
{
    bool read = false;
    ByAxis beta = {};  // m per unit of signal
    ByAxis k[3] = {};  // N/m: active or spectrum, equipartition, potential
};

// A line of the table: what was found beside what was put in.
struct Row
{
    const char *what;
    double scale;  // from SI to the unit shown
    ByAxis found;
    ByAxis truth;
    bool counts;  // one that should meet the truth
};

// The stage's time: real while it comes up, since the library waits for it to arrive, then the
// card's, so that the demo finds the same each time.
struct StageClock
{
    std::atomic<bool> inCardTime = false;
    std::atomic<double> aheadS = 0.0;
};

}  // namespace

static double Seconds(const StageClock &clock)
{
    if (clock.inCardTime) return ZVC_Now() + clock.aheadS;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

static bool Done(const char *what, int32_t status, const std::string &outcome)
{
    PrintStep(what, status < 0 ? Format("FAILED %d", status) : outcome);
    return status >= 0;
}

static Tables ReadTables()
{
    Tables tables;
    int32_t betas = 0;
    int32_t ks = 0;
    double *beta = nullptr;
    double *k = nullptr;
    tables.read = ZVK_ForceCal_GetCalibration(kSession, kPath, &betas, &ks, &beta, &k) == 0 &&
                  betas == 1 && ks == 3;
    for (size_t axis = 0; tables.read && axis < kAxes; ++axis) {
        tables.beta[axis] = beta[axis];
        for (size_t type = 0; type < 3; ++type)
            tables.k[type][axis] = k[kAxes * type + axis];
    }
    std::free(beta);
    std::free(k);
    return tables;
}

static double Returned(int32_t type, int32_t axis)
{
    int32_t count = 0;
    double *data = nullptr;
    double *places = nullptr;
    double value = NAN;
    (void)ZVK_ForceCal_ReturnData(kSession, kPath, kStill, type, axis, &count, &data, &places,
                                  nullptr, nullptr, &value);
    return value;
}

// The parabola is laid where there is enough to count: two deviations to each side, which the
// settings' own beta tells only roughly.
static void LimitPotential(const VirtualBeads &beads)
{
    for (int32_t axis = 0; axis < kAxes; ++axis) {
        const VirtualBeadTruth truth = beads.Truth(kPath, axis);
        const double limit = 2.0 * truth.deviation / truth.sensitivity;
        (void)ZVK_ForceCal_SetPotFitStart(kSession, kPath, axis, -limit);
        (void)ZVK_ForceCal_SetPotFitStop(kSession, kPath, axis, limit);
    }
}

static bool Acquire()
{
    double rate = 0.0;
    int32_t cycle = 0;
    double hertz = 0.0;
    int32_t status = ZVK_ForceCal_SetCalLength(kSession, kSegmentS);
    if (status == 0) status = ZVK_ForceCal_SetAverages(kSession, kSegments);
    if (status == 0) status = ZVK_ForceCal_TriggerCalibration(kSession, &rate, &cycle, &hertz);
    if (!Done("measure the stage's frequency", -std::abs(status),
              Format("%g Hz; %d samples a period, %.0f a second", rate / std::max(cycle, 1), cycle,
                     rate)))
        return false;
    for (int32_t run = 0; run <= kStill; ++run) {
        PrintProgress("record the bead: three axes shaken, then still", run / (kStill + 1.0));
        status = ZVK_ForceCal_AcquireData(kSession, kPath, run);
        if (status != 0) return Done("record the bead", -std::abs(status), "");
    }
    PrintProgress("record the bead: three axes shaken, then still", 1.0);
    return true;
}

static bool ScanStuckBead(VirtualBeads &beads)
{
    beads.SetStuck(true);
    for (int32_t axis = 0; axis < kAxes; ++axis) {
        PrintProgress("scan a stuck bead along each axis", axis / 3.0);
        if (ZVK_ForceCal_LineScan(kSession, kPath, axis) != 0)
            return Done("scan a stuck bead", -1, "");
    }
    PrintProgress("scan a stuck bead along each axis", 1.0);
    return ZVK_ForceCal_UpdateLSFits(kSession) == 0;
}

static void PrintRows(const std::vector<Row> &rows)
{
    std::printf("\n    %-37s %8s %17s %17s\n", "found (put in)", "x", "y", "z");
    for (const Row &row : rows) {
        std::printf("    %-37s", row.what);
        for (size_t axis = 0; axis < kAxes; ++axis)
            std::printf("  %7.2f (%6.2f)", row.found[axis] * row.scale,
                        row.truth[axis] * row.scale);
        std::puts("");
    }
}

// Whether each value that should meet the truth does: within a tenth, more than twice what
// the weakest of them scatters: z by equipartition, which rests on one segment and on a beta.
static bool Meets(const std::vector<Row> &rows)
{
    return std::all_of(rows.begin(), rows.end(), [](const Row &row) {
        for (size_t axis = 0; axis < kAxes; ++axis) {
            if (row.counts && !(std::fabs(row.found[axis] / row.truth[axis] - 1.0) < 0.1))
                return false;
        }
        return true;
    });
}

static ByAxis Each(const std::function<double(size_t)> &value)
{
    return {value(0), value(1), value(2)};
}

static bool Compare(const VirtualBeads &beads)
{
    constexpr double kMicro = 1e6;      // m to micrometres
    constexpr double kPicoMicro = 1e6;  // N/m to pN per micrometre
    if (!Done("work the tables out", ZVK_ForceCal_UpdateCalibration(kSession),
              "active, equipartition, potential"))
        return false;
    const Tables active = ReadTables();
    if (!Done("and from the spectrum alone", ZVK_ForceCal_UpdatePSDCalibration(kSession),
              "by the drag on a bead of that size"))
        return false;
    const Tables spectrum = ReadTables();
    if (!active.read || !spectrum.read) return Done("read the tables", -1, "");

    const auto truth = [&](size_t axis) { return beads.Truth(kPath, static_cast<int>(axis)); };
    const ByAxis stiffness = Each([&](size_t a) { return truth(a).stiffness; });
    const ByAxis beta = Each([&](size_t a) { return truth(a).sensitivity; });
    const auto half = [](const ByAxis &k) { return Each([&](size_t a) { return k[a] / 2.0; }); };
    const std::vector<Row> rows = {
        {"corner frequency, Hz", 1.0,
         Each([](size_t a) { return Returned(kSpectrum, static_cast<int32_t>(a)); }),
         Each([&](size_t a) { return truth(a).cornerFrequency; }), true},
        {"K by the spectrum, pN/um", kPicoMicro, spectrum.k[0], stiffness, true},
        {"beta by the line scan, um", kMicro,
         Each([](size_t a) { return 1e-6 / Returned(kLineFit, static_cast<int32_t>(a)); }), beta,
         true},
        {"beta, active: the library's table", kMicro, active.beta, beta, false},
        {"  times the square root of 2: SI", kMicro,
         Each([&](size_t a) { return active.beta[a] * std::numbers::sqrt2; }), beta, true},
        {"K, active: the library's table", kPicoMicro, active.k[0], stiffness, false},
        {"  halved: SI", kPicoMicro, half(active.k[0]), stiffness, true},
        {"K by equipartition: the table", kPicoMicro, active.k[1], stiffness, false},
        {"  halved: SI", kPicoMicro, half(active.k[1]), stiffness, true},
        {"K by the potential: the table", kPicoMicro, active.k[2], stiffness, false},
        {"  halved: SI", kPicoMicro, half(active.k[2]), stiffness, true},
    };
    PrintRows(rows);
    std::puts(
        "\n    The active method takes its spectrum at twice the one-sided power, as the "
        "instrument's\n"
        "    procedure defines it: its beta is the true one over the square root of 2, and each K\n"
        "    that rests on that beta is twice the true one. Both values stand above. z is in\n"
        "    micrometres for a volt of the sum.\n");
    PrintStep("does each method find what was put in?", Meets(rows) ? "yes" : "FAILED: not all do");
    return Meets(rows);
}

bool WorkCalibration(const std::string &title, const std::string &truthFile)
{
    PrintTitle(title);
    std::function<void(const VirtualStageTrigger &)> listener;
    StageClock clock;
    const VirtualStage stage({.clock = [&] { return Seconds(clock); },
                              .onTrigger =
                                  [&](const VirtualStageTrigger &trigger) {
                                      if (listener) listener(trigger);
                                  }});
    const int32_t port = stage.Port();
    (void)ZVC_SetPace(ZVC_PACE_FAST);
    (void)ZVC_SetMaxRate(kCardRate, 4.0 * kCardRate);
    if (!Done(
            "put the stage's port into config.ini",
            ZVK_ConFile_Write(kSession, "config.ini", "STAGE", "PORTNUM", &port, ZVK_CONFILE_LONG),
            Format("%d", port)) ||
        !Done("bring the stage up", ZVK_Stage_Init(kSession, 0, 0),
              "three axes at the virtual controller") ||
        !Done("bring force acquisition up", ZVK_Force_Init(kSession, 0, 0),
              "on the virtual card") ||
        !Done("bring the calibration up", ZVK_ForceCal_Init(kSession, 0, 0),
              "start values from default.cal"))
        return false;

    clock.aheadS = Seconds(clock) - ZVC_Now();
    clock.inCardTime = true;
    double viscosity = 0.0;
    (void)ZVK_ForceCal_ComputeViscosity(kSession, 0.0);
    (void)ZVK_ForceCal_GetViscosity(kSession, &viscosity);
    VirtualBeads beads({.seed = 640, .viscosity = viscosity});
    listener = beads.StageListener();
    beads.FollowStage(stage);
    if (!beads.Attach({}) || !beads.WriteTruth(truthFile)) return Done("hold a bead", -1, "");
    PrintStep("hold a bead in each trap",
              Format("%.0f pN/um along x on path A", beads.Truth(kPath, 0).stiffness * 1e6));
    PrintStep("write down what was put in", truthFile);
    LimitPotential(beads);
    const bool found = Acquire() && ScanStuckBead(beads) && Compare(beads);
    (void)ZVK_ForceCal_Shutdown(kSession);
    (void)ZVK_Force_Shutdown(kSession);
    (void)ZVK_Stage_Shutdown(kSession);
    listener = nullptr;
    return found;
}
