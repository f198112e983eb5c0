// quorvex-demo: works a real session twice, simulated and against the virtual DAQ card, laser and
// motor boards, draws what the mirrors and the traps did, and calibrates virtual beads.

#include "demo.h"

#include "quorvex/quorvex.h"

#include "quorvex-virtual/daq.h"
#include "quorvex-virtual/laser.h"
#include "quorvex-virtual/motor.h"
#include "quorvex-virtual/stage.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <system_error>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

constexpr const char *kDetectorLog = "detectors.log";
constexpr const char *kTruth = "truth.ini";

namespace {

struct Options
{
    fs::path samples;
    fs::path card;
    fs::path out;
};

}  // namespace

static int Usage()
{
    std::fputs("usage: quorvex-demo SAMPLES CARD OUT\n"
               "  SAMPLES  the folder with the instrument folders simulated/ and virtual/\n"
               "  CARD     the virtual DAQ card's library\n"
               "  OUT      where to work and to leave the pictures and the video\n",
               stderr);
    return 2;
}

// A copy of an instrument folder to work in: the session writes its log there. False with one
// sentence on what to do.
static bool CopyInstrument(const fs::path &from, const fs::path &to)
{
    std::error_code error;
    fs::create_directories(to, error);
    if (!error) {
        fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing,
                 error);
    }
    if (error) {
        std::fprintf(stderr, "Cannot copy %s to %s (%s): name an OUT folder that can be written.\n",
                     from.c_str(), to.c_str(), error.message().c_str());
        return false;
    }
    return true;
}

// The stage's port is not known before, and the motors find their zero quickly.
static bool FitToVirtualInstrument(int32_t stagePort)
{
    constexpr int32_t kHomingS = 2;
    const auto put = [](const char *section, const char *key, int32_t value) {
        return ZVK_ConFile_Write(0, "config.ini", section, key, &value, ZVK_CONFILE_LONG) >= 0;
    };
    return put("STAGE", "PORTNUM", stagePort) && put("BE 0", "INISEC", kHomingS) &&
           put("BE 1", "INISEC", kHomingS);
}

static SessionResult WorkIn(const Options &options, const char *kind, const std::string &title,
                            int32_t stagePort, const CameraFiles *camera)
{
    SessionResult failed;
    failed.failed = true;
    const fs::path folder = options.out / kind;
    if (!CopyInstrument(options.samples / kind, folder)) return failed;
    setenv("ZVK_COMMON_APPDATA", folder.c_str(), 1);
    if (stagePort != 0 && !FitToVirtualInstrument(stagePort)) {
        std::fputs("The copied config.ini could not be written.\n", stderr);
        return failed;
    }
    return WorkSession(title, (folder / "ZVK640").string(), camera);
}

// Work in a process of its own: the force calibration comes up once in a process. False when it
// failed.
static bool WorkAlone(const std::function<bool()> &work)
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) std::exit(work() ? 0 : 1);
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

static bool WorkSimulated(const Options &options)
{
    return !WorkIn(options, "simulated", "Session 1 of 3: the simulated instrument", 0, nullptr)
                .failed;
}

static bool Calibrate(const Options &options)
{
    const fs::path folder = options.out / "calibration";
    if (!CopyInstrument(options.samples / "virtual", folder)) return false;
    setenv("ZVK_COMMON_APPDATA", folder.c_str(), 1);
    return WorkCalibration("Session 3 of 3: a force calibration of virtual beads",
                           (options.out / kTruth).string());
}

// The volts of an output, without those that repeat the one before.
static void PrintWrittenVolts(const char *channel)
{
    double volts[64];
    const uint64_t count = ZVC_CopyWritten(channel, 0, std::size(volts), volts);
    std::printf("  %s ", channel);
    for (uint64_t i = 0; i < count; ++i)
        if (i == 0 || volts[i] != volts[i - 1]) std::printf(" %.3f V", volts[i]);
    std::puts("");
}

static void PrintFile(const fs::path &path)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        std::printf("  %s\n", line.c_str());
}

// The helper program beside this one, and where it writes down its orders.
static void OfferDetectors(const Options &options)
{
    std::error_code error;
    fs::remove(options.out / kDetectorLog, error);
    const fs::path bin = fs::read_symlink("/proc/self/exe", error).parent_path();
    setenv("ZVK_VIRTUAL_DETECTOR", (bin / "quorvex-virtual-detector").c_str(), 0);
    setenv("ZVK_VIRTUAL_DETECTOR_LOG", (options.out / kDetectorLog).c_str(), 1);
}

// The folder in which the library puts videos that it names by itself: here, and not among those of
// the person who runs the demo.
static void OfferVideosFolder(const Options &options)
{
    std::error_code error;
    fs::create_directories(options.out, error);
    std::ofstream(options.out / "user-dirs.dirs")
        << "XDG_VIDEOS_DIR=\"" << options.out.string() << "\"\n";
    setenv("XDG_CONFIG_HOME", options.out.c_str(), 1);
}

// The hardware path, with the laser's interlock at the card's line and what each device was told
// behind the session.
static SessionResult WorkOnVirtualInstrument(const Options &options, const CameraFiles &camera)
{
    constexpr uint32_t kInterlockLine = 16;
    constexpr int kPort = 7;
    constexpr double kStepsEachUnit = 200.0;  // quicker than real ones: a demo should be short
    const VirtualStage stage;
    VirtualLaser laser;
    // As config.ini has them: at INITPOS, with the stop at zero.
    VirtualMotor motorA(
        {.owner = 1, .position = 20000, .stopAt = 0, .stepsEachUnit = kStepsEachUnit});
    VirtualMotor motorB(
        {.owner = 2, .position = 18000, .stopAt = 0, .stepsEachUnit = kStepsEachUnit});
    laser.SetInterlockSource([] { return (ZVC_GetLines("GALVODAQ/port0") & kInterlockLine) != 0; });
    const std::string ports =
        laser.Offer(kPort) + ";" + motorA.Offer(kPort + 1) + ";" + motorB.Offer(kPort + 2);
    setenv("ZVK_SERIAL_PORTS", ports.c_str(), 1);
    SessionResult result =
        WorkIn(options, "virtual", "Session 2 of 3: the hardware path, on the virtual instrument",
               stage.Port(), &camera);
    PrintTitle("What the second card's outputs were told");
    PrintWrittenVolts("SUBDAQ/ao0");
    PrintWrittenVolts("SUBDAQ/ao1");
    PrintTitle("What the detectors' helper program was told");
    PrintFile(options.out / kDetectorLog);
    PrintTitle("What the virtual laser was told");
    std::fputs(VirtualLaserReport(laser.Events()).c_str(), stdout);
    PrintTitle("What the virtual stage was told");
    std::fputs(VirtualStageReport(stage.Lines()).c_str(), stdout);
    PrintTitle("What the motor board of path A was told");
    std::fputs(VirtualMotorReport(motorA.Events()).c_str(), stdout);
    PrintTitle("What the motor board of path B was told");
    std::fputs(VirtualMotorReport(motorB.Events()).c_str(), stdout);
    unsetenv("ZVK_SERIAL_PORTS");
    return result;
}

static fs::path PathsPicture(const Options &options) { return options.out / "demo.png"; }

static CameraFiles FilesOfCamera(const Options &options)
{
    return {(options.out / "camera.png").string(), (options.out / "camera.mp4").string()};
}

static bool WorkVirtual(const Options &options)
{
    const SessionResult session = WorkOnVirtualInstrument(options, FilesOfCamera(options));
    return !session.failed && DrawPicture(session, PathsPicture(options).string());
}

// Draws what isn't there yet, and names all that the demo leaves.
static bool NameWhatIsLeft(const Options &options)
{
    const CameraFiles camera = FilesOfCamera(options);
    const std::string strip = (options.out / "video.png").string();
    const VideoFacts video = DrawStrip(camera.video, strip);
    const double seconds = video.rate > 0 ? video.frames / video.rate : 0.0;
    PrintTitle("What the demo leaves");
    PrintStep("voltages and paths of the traps", PathsPicture(options).string());
    PrintStep("the camera's picture of them", camera.picture);
    PrintStep(Format("a video, %.1f s of %d frames", seconds, video.frames), camera.video);
    PrintStep("some frames of it", video.drawn ? strip : "FAILED");
    return video.drawn;
}

static int Run(int argc, char **argv)
{
    if (argc != 4) return Usage();
    std::error_code error;
    const Options options = {fs::absolute(argv[1], error), fs::absolute(argv[2], error),
                             fs::absolute(argv[3], error)};
    if (!fs::exists(options.card)) {
        std::fprintf(stderr, "There is no virtual DAQ card at %s: build the tree first.\n",
                     options.card.c_str());
        return 1;
    }
    setenv("ZVK_DAQMX_LIBRARY", options.card.c_str(), 1);
    OfferDetectors(options);
    OfferVideosFolder(options);

    std::puts(
        "Quorvex drives the ZVK640 optical trapping instrument. This demo works two sessions\n"
        "and a force calibration, with no instrument on the desk.");
    // All three, also when one fails.
    bool worked = true;
    for (bool (*work)(const Options &) : {WorkSimulated, WorkVirtual, Calibrate})
        worked = WorkAlone([&] { return work(options); }) && worked;
    worked = worked && NameWhatIsLeft(options);
    if (!worked) std::puts("The demo failed: the lines marked FAILED tell where.");
    return worked ? 0 : 1;
}

int main(int argc, char **argv)
{
    try {
        return Run(argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
