// zvk analyse: the report of a calibration from its data files.

#include "calibrate_collect.h"
#include "calibrate_notes.h"
#include "calibrate_settings.h"
#include "commands.h"
#include "instrument.h"

#include "quorvex/quorvex.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

constexpr SessionHandle kSession = 1;

static const char kUsage[] =
    "usage: zvk analyse NAME [OPTIONS]\n\n"
    "  NAME    what zvk calibrate --save was given: NAMETDAxdat and fifteen more are read. The "
    "files'\n"
    "          own names do as well, such as those that NAME*dat gives.\n\n";

namespace {

// The number behind a word at the start of a line.
bool ReadLine(std::istream &file, std::string_view word, double &value)
{
    std::string line;
    if (!std::getline(file, line) || !line.starts_with(word)) return false;
    const char *const begin = line.data() + word.size();
    const char *const end = line.data() + line.size();
    const auto read = std::from_chars(begin, end, value);
    return read.ec == std::errc() && read.ptr == end;
}

}  // namespace

// The head of a time series. False when one of its lines is not as it is written.
static bool ReadHead(const std::string &file, RunHead &head)
{
    std::ifstream stream(file);
    std::string rule;
    double rate = 0.0;
    double samples = 0.0;
    double averages = 0.0;
    if (!std::getline(stream, rule) || !rule.starts_with("####")) return false;
    const bool whole = ReadLine(stream, "# Samplerate: ", rate) &&
                       ReadLine(stream, "# Number of Samples: ", samples) &&
                       ReadLine(stream, "# Number of Averages: ", averages) &&
                       ReadLine(stream, "# Oscillation Frequency: ", head.oscillationHertz) &&
                       ReadLine(stream, "# Oscillation Amplitude: ", head.oscillationMicrometres);
    if (!whole || !(averages >= 1.0) || !(averages <= samples)) return false;
    head.averages = static_cast<int32_t>(averages);
    return true;
}

static RunHeads ReadHeads(const std::string &name)
{
    RunHeads heads;
    for (int path = 0; path < kPaths; ++path) {
        for (int run = 0; run < kRuns; ++run) {
            const std::string suffix = {'T', 'D', static_cast<char>('A' + path), "xyzn"[run]};
            RunHead head;
            // A head that can't be understood counts as one segment, which is always there.
            heads[path][run] = ReadHead(name + suffix + "dat", head) ? head : RunHead{1, 0.0, 0.0};
        }
    }
    return heads;
}

// A load leaves each container's axis as the last run of this process has set it, and the
// histograms and the active method go by that axis. Runs that record nothing set it: the
// acquisition is not up, and the stage is not asked to move.
static void MarkRuns()
{
    (void)ZVK_ForceCal_SetOscillate(kSession, 0);
    for (int32_t path = 0; path < kPaths; ++path) {
        for (int32_t run = 0; run < kRuns; ++run)
            (void)ZVK_ForceCal_AcquireData(kSession, path, run);  // refused, as is meant
    }
}

static void Load(const std::string &name, CalibrationData &data)
{
    if (!fs::exists(name + "TDAxdat"))
        throw std::runtime_error("There is no " + name +
                                 "TDAxdat: name the data as zvk calibrate --save was given it.");
    MarkRuns();
    const int32_t status = ZVK_ForceCal_LoadData(kSession, name.c_str());
    if (status == ZVK_FORCECAL_FILE_FAILED)
        throw std::runtime_error("One of the sixteen files of " + name +
                                 " is missing or can't be read: they belong together.");
    if (status == 0) return;
    data.remarks.push_back(StatusSentence(
        "Not all runs could be analysed; those behind the failure are left out", status));
}

static std::string TextOfFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The medium as it was noted, where the user says nothing else.
static CalibrationWish WithNotes(const CalibrationWish &wish, const CalibrationData &notes)
{
    CalibrationWish whole = wish;
    const auto fill = [](std::optional<double> &asked, double noted) {
        if (!asked && IsKnown(noted)) asked = noted;
    };
    // Another temperature means another viscosity: the noted one is no longer right.
    if (!wish.temperature) fill(whole.viscosity, notes.viscosity);
    fill(whole.temperature, notes.temperature);
    fill(whole.diameter, notes.diameter);
    return whole;
}

static bool HasResults(const CalibrationData &data)
{
    for (const PathData &path : data.paths) {
        for (const RunData &run : path.runs)
            if (run.isThere) return true;
    }
    return false;
}

static int Analyse(const CalibrationWish &wish)
{
    const std::string name = DataName(wish.files[0]);
    CalibrationData data;
    data.title = name;
    ReadNotes(TextOfFile(name + ".notes.txt"), data);
    data.title = data.title == name ? "Data " + name : data.title + " \u2013 data " + name;
    BringUpCalibration();
    ApplySettings(WithNotes(wish, data));
    std::printf("Reading %s\n", name.c_str());
    std::fflush(stdout);
    Load(name, data);
    FitPotentialsWithin(wish.potentialRange);
    CollectCalibration(ReadHeads(name), data);
    if (!HasResults(data)) {
        std::fprintf(stderr, "The files of %s hold no run.\n", name.c_str());
        return 1;
    }
    ListSettings(wish, data);
    TellResults(wish, data);
    return 0;
}

int AnalyseCommand(const Arguments &arguments)
{
    CalibrationWish wish;
    const std::string complaint = ReadWish(arguments, CalibrationTool::analyse, wish);
    if (wish.help) {
        std::printf("%s%s", kUsage, OptionLines(CalibrationTool::analyse).c_str());
        return 0;
    }
    if (!complaint.empty()) {
        std::fprintf(stderr, "%s\n", complaint.c_str());
        return 2;
    }
    const Instrument instrument =
        wish.instrument.empty() ? Instrument() : Instrument(wish.instrument);
    const int result = Analyse(wish);
    (void)ZVK_ForceCal_Shutdown(kSession);
    return result;
}
