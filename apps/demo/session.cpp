// The main job of a client: bring the session up, hold traps on both paths, name, list, move and
// jump them, run a trajectory, save and load the transform, close.

#include "demo.h"

#include "quorvex/quorvex.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>

constexpr SessionHandle kSession = 640;
constexpr int kMostTraps = 16;
constexpr auto kLook = std::chrono::milliseconds(25);

namespace {

// A session that is being worked.
struct Work
{
    SessionResult result;
    std::vector<Trap> traps;
};

}  // namespace

static std::string StatusText(int32_t status)
{
    char text[4096] = "";
    (void)ZVK_error_message(kSession, status, text);
    std::string line = text;
    line.erase(std::min(line.find('\n'), line.size()));
    return line;
}

// Prints the step; a failure marks the session.
static bool Done(Work &work, const std::string &what, int32_t status, const std::string &outcome)
{
    if (status >= 0) {
        PrintStep(what,
                  status == 0 ? outcome : Format("%s  (warning %d)", outcome.c_str(), status));
        return true;
    }
    PrintStep(what, Format("FAILED %d: %s", status, StatusText(status).c_str()));
    work.result.failed = true;
    return false;
}

static char PathName(int32_t path) { return path == ZVK_PATH_A ? 'A' : 'B'; }

static Track &TrackOf(Work &work, int32_t path, const std::string &label)
{
    auto &tracks = work.result.tracks;
    auto track = std::find_if(tracks.begin(), tracks.end(),
                              [&](const Track &t) { return t.path == path && t.label == label; });
    if (track == tracks.end()) {
        track = tracks.insert(track, Track{});
        track->path = path;
        track->label = label;
        track->motion = "stood";
    }
    return *track;
}

// Where every trap is now, in pixels.
static void Look(Work &work)
{
    for (int32_t path : {ZVK_PATH_A, ZVK_PATH_B}) {
        for (const SeenTrap &trap : SeeTraps(path)) {
            std::vector<Point> &seen = TrackOf(work, path, trap.label).seen;
            if (seen.empty() || seen.back().x != trap.at.x || seen.back().y != trap.at.y)
                seen.push_back(trap.at);
        }
    }
}

// The way along straight lines between points in volts, in pixels: the field bends it a little.
static void Plan(Work &work, const Trap &trap, const std::vector<Point> &volts, const char *motion)
{
    constexpr int kPointsPerLine = 16;
    Track &track = TrackOf(work, trap.path, trap.label);
    track.motion = motion;
    for (size_t i = 1; i < volts.size(); ++i) {
        for (int k = i == 1 ? 0 : 1; k <= kPointsPerLine; ++k) {
            const double t = static_cast<double>(k) / kPointsPerLine;
            Point p = {volts[i - 1].x + t * (volts[i].x - volts[i - 1].x),
                       volts[i - 1].y + t * (volts[i].y - volts[i - 1].y)};
            (void)ZVK_CoordinateSystems_Convert(kSession, trap.path, &p.x, &p.y,
                                                ZVK_TRAFODIR_VOLT_TO_PIXEL);
            track.planned.push_back(p);
        }
    }
}

// Traps are known by the second in which they were made: two of one path need two seconds.
static void WaitForNextSecond()
{
    const time_t now = time(nullptr);
    while (time(nullptr) == now)
        std::this_thread::sleep_for(kLook);
}

static Trap AddTrap(Work &work, int32_t path, const char *name, double x, double y, int32_t unit,
                    double speed)
{
    Trap trap = {path, 0, name};
    const int32_t status = ZVK_Trap_Add(kSession, path, &trap.index, speed, name, x, y, unit);
    const char *words = unit == ZVK_UNIT_PIXEL ? "px" : "V";
    Done(work, Format("add \"%s\" on path %c", name, PathName(path)), status,
         Format("at %.6g, %.6g %s", x, y, words));
    work.traps.push_back(trap);
    return trap;
}

static void ListTraps(Work &work)
{
    std::printf("\n    path  trap      waypoint volts        pixels       micrometres      V/s\n");
    for (const Trap &trap : work.traps) {
        double volts[2] = {0, 0};
        double pixels[2] = {0, 0};
        double lengths[2] = {0, 0};
        double speed = 0;
        (void)ZVK_Trap_GetPosition(kSession, trap.path, trap.index, &volts[0], &volts[1],
                                   ZVK_UNIT_VOLT);
        (void)ZVK_Trap_GetPosition(kSession, trap.path, trap.index, &pixels[0], &pixels[1],
                                   ZVK_UNIT_PIXEL);
        (void)ZVK_Trap_GetPosition(kSession, trap.path, trap.index, &lengths[0], &lengths[1],
                                   ZVK_UNIT_MICROMETER);
        (void)ZVK_Trap_GetSpeed(kSession, trap.path, trap.index, &speed, ZVK_UNIT_VOLT);
        std::printf("    %c     %-9s %+8.4f %+8.4f   %6.1f %6.1f   %+7.2f %+7.2f   %5.2f\n",
                    PathName(trap.path), trap.label.c_str(), volts[0], volts[1], pixels[0],
                    pixels[1], lengths[0], lengths[1], speed);
    }
    std::printf("\n");
}

// Catches the block that the mirrors are playing.
static void CatchBlock(Work &work)
{
    Block &block = work.result.block;
    int32_t size = 0;
    (void)ZVK_Galvo_GetBufferParameters(kSession, &block.clockRate, &size);
    block.samplesPerChannel = size / 4;
    block.volts.assign(static_cast<size_t>(size), 0.0);
    (void)ZVK_Galvo_GetBuffer(kSession, block.volts.data(), size);
    for (int32_t path : {ZVK_PATH_A, ZVK_PATH_B}) {
        block.labels[path].clear();
        for (const Trap &trap : work.traps) {
            if (trap.path == path) block.labels[path].push_back(trap.label);
        }
    }
}

// Looks on until every trap stands, with a bar along the way from each start to each target.
static void WatchUntilAllStand(Work &work, const std::string &what, double seconds, bool catchBlock)
{
    const auto start = std::chrono::steady_clock::now();
    bool moving = true;
    bool caught = false;
    while (moving) {
        moving = !AllStand(work.traps);
        Look(work);
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        if (catchBlock && !caught && passed.count() > seconds / 3) {
            CatchBlock(work);
            caught = true;
        }
        if (moving) {
            PrintProgress(what, std::min(0.99, passed.count() / seconds));
            std::this_thread::sleep_for(kLook);
        }
    }
    PrintProgress(what, 1.0);
}

// The mirror limits as an outline of points along their edges.
static void TraceLimits(Work &work)
{
    constexpr int kPointsPerEdge = 24;
    for (int32_t path : {ZVK_PATH_A, ZVK_PATH_B}) {
        double range[4] = {0, 0, 0, 0};
        if (ZVK_Trap_GetHardwareLimits(kSession, path, range) < 0) continue;
        const Point corners[5] = {{range[0], range[2]},
                                  {range[1], range[2]},
                                  {range[1], range[3]},
                                  {range[0], range[3]},
                                  {range[0], range[2]}};
        for (int edge = 0; edge < 4; ++edge) {
            for (int i = 0; i < kPointsPerEdge; ++i) {
                const double t = static_cast<double>(i) / kPointsPerEdge;
                Point p = {corners[edge].x + t * (corners[edge + 1].x - corners[edge].x),
                           corners[edge].y + t * (corners[edge + 1].y - corners[edge].y)};
                (void)ZVK_CoordinateSystems_Convert(kSession, path, &p.x, &p.y,
                                                    ZVK_TRAFODIR_VOLT_TO_PIXEL);
                work.result.limits[path].push_back(p);
            }
        }
    }
    double *field = work.result.field;
    (void)ZVK_CoordinateSystems_GetCalRange(kSession, ZVK_PATH_A, &field[0], &field[1], &field[2],
                                            &field[3], ZVK_UNIT_PIXEL);
    double scaleY = 0;
    (void)ZVK_CoordinateSystems_GetCameraScale(kSession, &work.result.pixelsPerMicrometre, &scaleY);
}

// Saves the transform of path A to an objective file of its own and reads it back.
static void SaveAndLoadObjective(Work &work, const std::string &folder)
{
    int32_t count = 0;
    double *tables[4] = {nullptr, nullptr, nullptr, nullptr};
    int32_t status = ZVK_CoordinateSystems_GetTrafoCoeffs(kSession, ZVK_PATH_A, &count, &tables[0],
                                                          &tables[1], &tables[2], &tables[3]);
    const std::string file = folder + "/demo.odf";
    char section[64] = "GALVO 0";
    if (status >= 0) {
        status = ZVK_ConFile_WriteObjective(kSession, file.c_str(), section, count, tables[0],
                                            tables[1], tables[2], tables[3], work.result.field);
    }
    Done(work, "save the transform as an objective file", status, "demo.odf");

    std::vector<double> loaded[4];
    for (std::vector<double> &table : loaded)
        table.resize(static_cast<size_t>(count));
    double field[4] = {0, 0, 0, 0};
    status = ZVK_ConFile_ReadObjective(kSession, file.c_str(), "GALVO 0", count, loaded[0].data(),
                                       loaded[1].data(), loaded[2].data(), loaded[3].data(), field);
    bool same = status == 0;
    for (int t = 0; same && t < 4; ++t) {
        for (int32_t i = 0; i < count; ++i) {
            if (std::fabs(loaded[t][i] - tables[t][i]) > 1e-14 * std::fabs(tables[t][i]))
                same = false;
        }
    }
    if (status >= 0) {
        status = ZVK_CoordinateSystems_SetTrafoCoeff(kSession, ZVK_PATH_A, count, loaded[0].data(),
                                                     loaded[1].data(), loaded[2].data(),
                                                     loaded[3].data(), field);
    }
    Done(work, "load it again and use it", status,
         Format("%d coefficients, %s", count, same ? "the same" : "DIFFERENT"));
    if (!same) work.result.failed = true;
    for (double *table : tables)
        free(table);
}

static void MoveTo(Work &work, const Trap &trap, double x, double y)
{
    // The position goes in as pixels and comes back as volts.
    const Point start = VoltsOf(trap);
    int32_t status =
        ZVK_Trap_SetPosition(kSession, trap.path, trap.index, &x, &y, ZVK_UNIT_PIXEL, 1);
    if (status >= 0) status = ZVK_Trap_MoveToSetPosition(kSession, trap.path, trap.index);
    Done(work, Format("move \"%s\" at its speed", trap.label.c_str()), status,
         Format("to %+.3f, %+.3f V", x, y));
    Plan(work, trap, {start, {x, y}}, "moved at its speed");
}

static void JumpInMicrometres(Work &work, const Trap &trap, double x, double y)
{
    int32_t index = 0;
    const int32_t refused =
        ZVK_Trap_Add(kSession, trap.path, &index, 1.0, "never", x, y, ZVK_UNIT_MICROMETER);
    PrintStep("add in micrometres is refused",
              Format("status %d; set a position instead", refused));
    const double lengths[2] = {x, y};
    const Point start = VoltsOf(trap);
    int32_t status =
        ZVK_Trap_SetPosition(kSession, trap.path, trap.index, &x, &y, ZVK_UNIT_MICROMETER, 1);
    if (status >= 0) status = ZVK_Trap_GotoSetPosition(kSession, trap.path, trap.index);
    Done(work, Format("jump \"%s\" in micrometres", trap.label.c_str()), status,
         Format("to %+.1f, %+.1f um = %+.3f, %+.3f V", lengths[0], lengths[1], x, y));
    Plan(work, trap, {start, {x, y}}, "jumped, in micrometres");
    TrackOf(work, trap.path, trap.label).jumped = true;
}

static void RunStar(Work &work, const Trap &trap)
{
    const std::vector<Point> corners = StarFrom(VoltsOf(trap));
    double speed = 0;
    const int32_t status = RunAlong(trap, corners, &speed);
    Done(work, Format("run a star with \"%s\"", trap.label.c_str()), status,
         Format("%zu points at %.2f V/s", corners.size(), speed));
    Plan(work, trap, corners, "ran a trajectory, once");
}

static void NameTheFirst(Work &work, int32_t path, const char *name)
{
    int32_t status = 0;
    Trap trap = {path, 0, name};
    (void)ZVK_Trap_GetInitStatus(kSession, path, &status, &trap.index);
    Done(work, Format("name the first trap of path %c", PathName(path)),
         ZVK_Trap_SetName(kSession, path, trap.index, name), Format("\"%s\"", name));
    work.traps.push_back(trap);
}

static void HoldTraps(Work &work, double speed)
{
    NameTheFirst(work, ZVK_PATH_A, "centre A");
    NameTheFirst(work, ZVK_PATH_B, "centre B");
    for (int round = 0; round < 2; ++round) {
        WaitForNextSecond();
        if (round == 0) {
            AddTrap(work, ZVK_PATH_A, "bead 1", 250, 200, ZVK_UNIT_PIXEL, 100);
            AddTrap(work, ZVK_PATH_B, "probe", 1.2, 0.9, ZVK_UNIT_VOLT, speed);
        } else {
            AddTrap(work, ZVK_PATH_A, "bead 2", 560, 400, ZVK_UNIT_PIXEL, 100);
            AddTrap(work, ZVK_PATH_B, "tracer", -1.5, 1.1, ZVK_UNIT_VOLT, speed);
        }
    }
    for (const Trap &trap : work.traps)
        (void)ZVK_Trap_SetSpeed(kSession, trap.path, trap.index, speed, ZVK_UNIT_VOLT);
}

static void PrintWarnings()
{
    int32_t count = 0;
    (void)ZVK_error_GetWarnings(kSession, &count, nullptr);
    std::vector<int32_t> codes(static_cast<size_t>(std::max(count, 1)));
    if (count > 0) (void)ZVK_error_GetWarnings(kSession, &count, codes.data());
    PrintStep("warnings collected on the way", Format("%d", count));
    for (int32_t i = 0; i < count; ++i)
        PrintStep(Format("  %d", codes[i]), StatusText(codes[i]));
}

// Path A first, each path in the order of its slots.
static size_t OrderOf(const Work &work, const Track &track)
{
    const auto &labels = work.result.block.labels[track.path];
    const auto slot = std::find(labels.begin(), labels.end(), track.label) - labels.begin();
    return static_cast<size_t>(track.path) * kMostTraps + static_cast<size_t>(slot);
}

SessionResult WorkSession(const std::string &title, const std::string &folder,
                          const CameraFiles *camera)
{
    Work work;
    PrintTitle(title);
    char driver[256] = "";
    char instrument[256] = "";
    (void)ZVK_revision_query(kSession, driver, instrument);
    if (!Done(work, "bring the session up", ZVK_init("", 0, 0, kSession),
              Format("revision %s", driver)))
        return work.result;

    if (!WorkLaser() || !WorkStage() || !WorkPowerAndDetectors()) work.result.failed = true;
    if (!WorkBeamExpanders()) work.result.failed = true;
    const double speed = 10.0;  // V/s
    HoldTraps(work, speed);
    TraceLimits(work);
    Look(work);
    ListTraps(work);

    JumpInMicrometres(work, work.traps[0], -8.0, 10.0);
    Look(work);
    MoveTo(work, work.traps[2], 420, 130);
    MoveTo(work, work.traps[4], 330, 470);
    RunStar(work, work.traps[3]);
    WatchUntilAllStand(work, "watch until every trap stands", 0.5, true);
    ListTraps(work);

    if (camera && !WorkCamera(work.traps, work.result.pixelsPerMicrometre, *camera))
        work.result.failed = true;
    SaveAndLoadObjective(work, folder);
    PrintWarnings();
    std::sort(work.result.tracks.begin(), work.result.tracks.end(),
              [&](const Track &a, const Track &b) { return OrderOf(work, a) < OrderOf(work, b); });
    Done(work, "close", ZVK_close(kSession), "the output has stopped");
    return work.result;
}
