// The runs of a calibration, in their order.

#include "calibrate_run.h"

#include "calibrate_progress.h"
#include "calibrate_settings.h"
#include "report_numbers.h"

#include "quorvex/quorvex.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

constexpr SessionHandle kSession = 1;
constexpr double kTriggerS = 0.7;
constexpr double kScanStepS = 0.3;
constexpr double kNoSignal = 1e-9;  // volts

namespace {

struct Plan
{
    const CalibrationWish &wish;
    VirtualInstrument *virtualInstrument;
    Progress &progress;
    RunHeads &heads;
    CalibrationData &data;
    double runS = 0.0;
    int32_t averages = 0;
    double amplitude = 0.0;
    int32_t frequency = 0;
};

}  // namespace

static const char *RunWords(int run)
{
    static const char *const words[] = {"stage oscillates along x", "stage oscillates along y",
                                        "stage oscillates along z", "stage at rest"};
    return words[run];
}

static void HoldStage()
{
    for (int32_t axis = 0; axis < kAxes; ++axis)
        (void)ZVK_Stage_StopOscillation(kSession, axis);  // of an axis at rest it changes nothing
}

// Stops the shaking at once; the run itself has to come to its end.
static std::function<void()> HoldWhenEnding(Progress &progress)
{
    return [&progress] {
        HoldStage();
        progress.Say("Ending: the stage is at rest; this step is finished first.");
    };
}

static bool WishesToEnd(const Plan &plan, const std::string &question, bool canSkip, bool &skip)
{
    skip = false;
    if (EndingIsAsked()) return true;
    if (plan.wish.yes || plan.virtualInstrument != nullptr) return false;
    plan.progress.ClearBar();
    const Reply reply = AskUser(question, canSkip);
    skip = reply == Reply::skip;
    return reply == Reply::end;
}

static void Trigger(Plan &plan)
{
    double rate = 0.0;
    int32_t cycle = 0;
    double hertz = 0.0;
    const auto work = [&] {
        return static_cast<int>(ZVK_ForceCal_TriggerCalibration(kSession, &rate, &cycle, &hertz));
    };
    const int status = plan.progress.Do("Measuring the stage's oscillation", kTriggerS, work,
                                        HoldWhenEnding(plan.progress));
    if (status == ZVK_FORCECAL_TOO_FEW_PULSES) {
        plan.data.remarks.push_back(
            "The stage gave fewer than three reference pulses: the sample rate comes from the "
            "settings, and the oscillation need not fall on one bin of the spectrum. Is the stage "
            "there, and its reference pulse wired to the card?");
    } else {
        Require("The stage's oscillation can't be measured", status);
    }
    plan.progress.Say("Stage: " + Fixed(hertz, 0) + " Hz; samples: " + Fixed(rate, 1) + " Hz, " +
                      std::to_string(cycle) + " in a period");
}

// An acquisition that fails leaves zeros and tells nothing.
static bool HasSignal(int path, int run)
{
    int32_t entries = 0;
    double *sum = nullptr;
    if (ZVK_ForceCal_ReturnData(kSession, path, run, ZVK_FORCECAL_TIME_DATA, 2, &entries, &sum,
                                nullptr, nullptr, nullptr, nullptr) != 0)
        return false;
    for (int32_t i = 0; i < entries; ++i)
        if (std::fabs(sum[i]) > kNoSignal) return true;
    return false;
}

// What was done other than asked, such as an amplitude beyond the stage's travel.
static void TakeWarnings(const std::string &words, CalibrationData &data)
{
    int32_t count = 0;
    if (ZVK_error_GetWarnings(kSession, &count, nullptr) < 0 || count < 1) return;
    std::vector<int32_t> codes(static_cast<size_t>(count));
    if (ZVK_error_GetWarnings(kSession, &count, codes.data()) < 0) return;
    for (const int32_t code : codes) {
        const std::string sentence =
            StatusSentence((words + ", warning " + std::to_string(code)).c_str(), code);
        auto &remarks = data.remarks;
        if (std::find(remarks.begin(), remarks.end(), sentence) == remarks.end())
            remarks.push_back(sentence);
    }
}

static void Record(Plan &plan, int path, int run)
{
    const std::string words = std::string(path == 0 ? "Path A, " : "Path B, ") + RunWords(run);
    const auto work = [path, run] {
        return static_cast<int>(ZVK_ForceCal_AcquireData(kSession, path, run));
    };
    const int status = plan.progress.Do(words, plan.runS, work, HoldWhenEnding(plan.progress));
    if (status == ZVK_FORCECAL_SPECTRUM_TOO_LONG)
        throw std::runtime_error(
            StatusSentence((words + " (raise MAX_FFT, or take shorter segments)").c_str(), status));
    if (status == ZVK_FORCECAL_NO_TIME_DATA)
        throw std::runtime_error(
            words +
            ": there are no samples. A segment holds at least one whole period of the "
            "oscillation, and all of them together fewer than 2^31 samples: change --segment or "
            "--averages.");
    Require(words.c_str(), status);
    TakeWarnings(words, plan.data);
    if (EndingIsAsked()) return;
    if (!HasSignal(path, run))
        throw std::runtime_error(words +
                                 ": the detector gives no signal. Is the laser on, the bead "
                                 "trapped, the detector wired to the card?");
    const bool still = run == kStillRun;
    plan.heads[path][run] = {plan.averages, still ? 0.0 : plan.frequency,
                             still ? 0.0 : plan.amplitude};
}

static void Scan(Plan &plan, int path, int axis)
{
    int32_t steps = 0;
    (void)ZVK_ForceCal_GetLSSteps(kSession, &steps);
    const std::string words = AxisLabel(path, axis) + ", line scan";
    const auto work = [path, axis] {
        return static_cast<int>(ZVK_ForceCal_LineScan(kSession, path, axis));
    };
    Require(words.c_str(),
            plan.progress.Do(words, steps * kScanStepS, work, HoldWhenEnding(plan.progress)));
}

static bool RunPath(Plan &plan, int path)
{
    const std::string name = path == 0 ? "Path A" : "Path B";
    bool skip = false;
    if (WishesToEnd(plan,
                    name +
                        ": hold one bead in one trap, away from the glass, with the laser at the "
                        "power to calibrate.",
                    true, skip))
        return false;
    for (int run = 0; run < kRuns && !skip; ++run) {
        if (EndingIsAsked()) return false;
        Record(plan, path, run);
    }
    if (!plan.wish.scan) return !EndingIsAsked();
    if (WishesToEnd(plan,
                    name + ": put a bead that sticks to the glass into the trap, for the line "
                           "scans.",
                    true, skip))
        return false;
    if (plan.virtualInstrument != nullptr) plan.virtualInstrument->SetStuck(true);
    for (int axis = 0; axis < kAxes && !skip; ++axis) {
        if (EndingIsAsked()) break;
        Scan(plan, path, axis);
    }
    if (plan.virtualInstrument != nullptr) plan.virtualInstrument->SetStuck(false);
    return !EndingIsAsked();
}

static bool RunAll(Plan &plan)
{
    double segment = 0.0;
    double actual = 0.0;
    (void)ZVK_ForceCal_GetCalLength(kSession, &segment, &actual);
    (void)ZVK_ForceCal_GetAverages(kSession, &plan.averages);
    (void)ZVK_ForceCal_GetAmplitude(kSession, &plan.amplitude);
    (void)ZVK_ForceCal_GetFrequency(kSession, &plan.frequency);
    plan.runS = segment * plan.averages;
    bool skip = false;
    if (WishesToEnd(plan,
                    "The stage will oscillate by \u00b1" + Significant(plan.amplitude, 3) +
                        " \u00b5m at " + std::to_string(plan.frequency) +
                        " Hz; each of the runs takes " + Fixed(plan.runS, 0) + " s.",
                    false, skip))
        return false;
    Trigger(plan);
    for (const char path : plan.wish.paths)
        if (EndingIsAsked() || !RunPath(plan, path - 'A')) return false;
    (void)ZVK_ForceCal_UpdateLSFits(kSession);  // without scans it does nothing
    return true;
}

bool RunCalibration(const CalibrationWish &wish, VirtualInstrument *virtualInstrument,
                    RunHeads &heads, CalibrationData &data)
{
    const auto paths = static_cast<int>(wish.paths.size());
    Progress progress(1 + paths * (kRuns + (wish.scan ? kAxes : 0)));
    Plan plan = {wish, virtualInstrument, progress, heads, data};
    try {
        const bool complete = RunAll(plan);
        HoldStage();
        return complete;
    } catch (...) {
        HoldStage();  // a run that fails in its analysis leaves the stage oscillating
        throw;
    }
}
