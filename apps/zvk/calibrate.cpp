// zvk calibrate: a whole force calibration, on the virtual instrument or on a real one.

#include "calibrate_notes.h"
#include "calibrate_progress.h"
#include "calibrate_run.h"
#include "calibrate_settings.h"
#include "commands.h"
#include "instrument.h"
#include "report.h"

#include "quorvex/quorvex.h"

#include <cstdio>
#include <filesystem>
#include <unistd.h>

constexpr SessionHandle kSession = 1;

static const char kUsage[] =
    "usage: zvk calibrate [OPTIONS]\n\n"
    "Finds the detectors' sensitivity and the traps' stiffness: a trigger run, then for each path "
    "runs\n"
    "with the stage oscillating along x, y and z and one without, then line scans. Without "
    "--instrument\n"
    "it works the virtual instrument, whose truth it shows beside the results. What isn't asked "
    "for is\n"
    "as section FORCECAL of config.ini says. Ctrl-C ends it with the stage at rest.\n\n";

namespace {

// Stage, acquisition and calibration, and nothing else of a session: the laser and the traps stay
// as the user has set them.
class Modules
{
public:
    Modules()
    {
        // Its warnings are told by what the stage then refuses.
        Require("The stage does not come up", ZVK_Stage_Init(kSession, 0, 0));
        try {
            Require("The acquisition does not come up", ZVK_Force_Init(kSession, 0, 0));
            BringUpCalibration();
        } catch (...) {
            TakeDown();
            throw;
        }
    }
    ~Modules() { TakeDown(); }
    Modules(const Modules &) = delete;
    Modules &operator=(const Modules &) = delete;

private:
    static void TakeDown()
    {
        (void)ZVK_ForceCal_Shutdown(kSession);
        (void)ZVK_Force_Shutdown(kSession);
        (void)ZVK_Stage_Shutdown(kSession);
    }
};

}  // namespace

// Where files can't be written, that is told before the runs and not behind them.
static void CheckPlace(const std::string &file)
{
    if (file.empty()) return;
    const std::filesystem::path folder = std::filesystem::absolute(file).parent_path();
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        throw std::runtime_error("The folder " + folder.string() +
                                 " can't be written: name a file in one that can.");
}

static void Save(const CalibrationWish &wish, const CalibrationData &data)
{
    if (wish.save.empty()) return;
    std::puts("Saving");
    std::fflush(stdout);
    Require(("The data files of " + wish.save).c_str(),
            ZVK_ForceCal_SaveData(kSession, wish.save.c_str()));
    const std::string tables = std::filesystem::absolute(wish.save + ".cal").string();
    Require(tables.c_str(), ZVK_ForceCal_SaveCalibration(kSession, tables.c_str()));
    WriteWhole(wish.save + ".notes.txt", NotesText(data));
    std::printf(
        "The samples are in %sT*dat and %sF*dat, the tables in %s.cal; zvk analyse %s reads "
        "them.\n",
        wish.save.c_str(), wish.save.c_str(), wish.save.c_str(), wish.save.c_str());
}

static int Calibrate(const CalibrationWish &wish, VirtualInstrument *virtualInstrument)
{
    const Modules modules;
    ApplySettings(wish);
    (void)ZVK_ForceCal_SetOscillate(kSession, 1);
    CalibrationData data;
    data.title = "Instrument in " + wish.instrument;
    if (virtualInstrument != nullptr) {
        data.title = "Virtual instrument, seed " + std::to_string(wish.seed);
        // The sample's medium is water, and the beads are in just that.
        if (!wish.viscosity) (void)ZVK_ForceCal_ComputeViscosity(kSession, 0.0);
        virtualInstrument->PutBeads(wish.seed);
        data.truth = virtualInstrument->GetTruth();
    }
    data.recorded = DateAndTime();
    RunHeads heads;
    if (!RunCalibration(wish, virtualInstrument, heads, data)) {
        std::puts("Ended as asked: the stage is at rest, nothing was written.");
        return 1;
    }
    FitPotentialsWithin(wish.potentialRange);
    CollectCalibration(heads, data);
    Save(wish, data);
    ListSettings(wish, data);
    TellResults(wish, data);
    return 0;
}

int CalibrateCommand(const Arguments &arguments)
{
    CalibrationWish wish;
    const std::string complaint = ReadWish(arguments, CalibrationTool::calibrate, wish);
    if (wish.help) {
        std::printf("%s%s", kUsage, OptionLines(CalibrationTool::calibrate).c_str());
        return 0;
    }
    if (!complaint.empty()) {
        std::fprintf(stderr, "%s\n", complaint.c_str());
        return 2;
    }
    CheckPlace(wish.report);
    CheckPlace(wish.save);
    WatchForEnding();
    if (!wish.instrument.empty()) {
        const Instrument instrument{std::filesystem::path(wish.instrument)};
        return Calibrate(wish, nullptr);
    }
    const Instrument instrument("virtual");
    VirtualInstrument virtualInstrument;
    return Calibrate(wish, &virtualInstrument);
}
