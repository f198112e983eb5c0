// The camera's part of the demo: overlays over a made-up sample, a video of traps on their way, and
// the picture where they stand.

#include "demo.h"
#include "sample.h"

#include "quorvex/quorvex.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

using ClockS = std::chrono::duration<double>;

constexpr SessionHandle kSession = 640;
constexpr auto kLook = std::chrono::milliseconds(20);
constexpr double kLongestS = 12.0;      // of the video, whatever the traps do
constexpr double kRestS = 0.4;          // shown behind the last motion
constexpr double kVideoS = 3.8;         // about, for the bar
constexpr double kStarSpeed = 1.5;      // V/s: slow enough to be watched
constexpr double kStraightSpeed = 0.8;  // V/s
constexpr size_t kPathBytes = 4096;

static bool Done(const std::string &what, int32_t status, const std::string &outcome)
{
    PrintStep(what, status < 0 ? Format("FAILED %d", status) : outcome);
    return status >= 0;
}

// The first status that isn't 0, or 0.
static int32_t FirstOf(std::initializer_list<int32_t> statuses)
{
    const auto *found = std::find_if(statuses.begin(), statuses.end(),
                                     [](int32_t status) { return status != ZVK_SUCCESS; });
    return found == statuses.end() ? ZVK_SUCCESS : *found;
}

static bool SwitchOverlaysOn()
{
    const int32_t status = FirstOf(
        {ZVK_Camera_SetSDKOverlay(kSession, 1), ZVK_Camera_SetTrapMarkers(kSession, 1),
         ZVK_Camera_SetFrameRate(kSession, 1), ZVK_Camera_SetCalField(kSession, ZVK_PATH_A, 1),
         ZVK_Camera_SetCalField(kSession, ZVK_PATH_B, 1), ZVK_Camera_SetUserOverlay(kSession, 1)});
    return Done("show traps, fields and frame rate on the camera", status, "A red, B blue");
}

static const Trap *Named(const std::vector<Trap> &traps, const std::string &label)
{
    const auto found = std::find_if(traps.begin(), traps.end(),
                                    [&](const Trap &trap) { return trap.label == label; });
    return found == traps.end() ? nullptr : &*found;
}

// Where the traps are, in the order of the list.
static std::vector<Point> PlacesOf(const std::vector<Trap> &traps)
{
    const std::vector<SeenTrap> seen[2] = {SeeTraps(ZVK_PATH_A), SeeTraps(ZVK_PATH_B)};
    std::vector<Point> places;
    for (const Trap &trap : traps) {
        Point place;
        for (const SeenTrap &one : seen[trap.path])
            if (one.label == trap.label) place = one.at;
        places.push_back(place);
    }
    return places;
}

// A line between two traps with its length as its label.
static int32_t AddDistance(const Point &from, const Point &to, double *micrometres)
{
    const auto whole = [](double pixels) { return static_cast<int32_t>(pixels); };
    int32_t line = 0;
    char label[64] = "";
    const int32_t status =
        FirstOf({ZVK_ImageProc_AddLine(kSession, &line, whole(from.x), whole(to.x), whole(from.y),
                                       whole(to.y), label, 1, 0),
                 ZVK_ImageProc_LineLength(kSession, line, micrometres, ZVK_UNIT_MICROMETER)});
    if (status < 0) return status;
    std::snprintf(label, sizeof label, "%.1f um", *micrometres);
    return ZVK_ImageProc_UpdateLine(kSession, line, -1, -1, -1, -1, label, -1, -1);
}

// A client's graphics: a bar of 10 um, a marked bead, the distance of two traps that stand.
static bool DrawGraphics(const std::vector<Trap> &traps, double pixelsPerMicrometre)
{
    constexpr int32_t kBarLeft = 590;
    constexpr int32_t kBarRow = 575;
    constexpr int32_t kMagenta = 1;
    const auto bar = static_cast<int32_t>(10 * pixelsPerMicrometre);
    const Trap *from = Named(traps, "centre B");
    const Trap *to = Named(traps, "tracer");
    if (!from || !to) return false;
    const std::vector<Point> places = PlacesOf(traps);
    double distance = 0;
    char barLabel[] = "10 um";
    char beadLabel[] = "reference";
    const int32_t status = FirstOf(
        {ZVK_ImageProc_AddLine(kSession, nullptr, kBarLeft, kBarLeft + bar, kBarRow, kBarRow,
                               barLabel, 3, 0),
         ZVK_ImageProc_AddMarker(kSession, nullptr, static_cast<int32_t>(kReference.x),
                                 static_cast<int32_t>(kReference.y), 11, beadLabel, 1, kMagenta),
         AddDistance(places[from - traps.data()], places[to - traps.data()], &distance),
         ZVK_ImageProc_UpdateOverlay(kSession)});
    return Done("draw a client's graphics", status,
                Format("a bar, a marker, and %.1f um between two traps", distance));
}

static std::vector<uint8_t> PixelsOf(const IplImage &picture)
{
    std::vector<uint8_t> pixels;
    for (int row = 0; row < picture.height; ++row) {
        const char *first = picture.imageData + static_cast<ptrdiff_t>(row) * picture.widthStep;
        pixels.insert(pixels.end(), first, first + static_cast<ptrdiff_t>(picture.width) * 3);
    }
    return pixels;
}

static int32_t Send(const Trap *trap, double x, double y)
{
    if (!trap) return ZVK_TRAP_BAD_INDEX;
    return FirstOf(
        {ZVK_Trap_SetSpeed(kSession, trap->path, trap->index, kStraightSpeed, ZVK_UNIT_VOLT),
         ZVK_Trap_SetPosition(kSession, trap->path, trap->index, &x, &y, ZVK_UNIT_PIXEL, 1),
         ZVK_Trap_MoveToSetPosition(kSession, trap->path, trap->index)});
}

static int32_t SendStar(const Trap *trap)
{
    if (!trap) return ZVK_TRAP_BAD_INDEX;
    double speed = 0;
    return FirstOf({ZVK_Trap_SetSpeed(kSession, trap->path, trap->index, kStarSpeed, ZVK_UNIT_VOLT),
                    RunAlong(*trap, StarFrom(VoltsOf(*trap)), &speed)});
}

// Only a video that gets its name from the library chooses pictures with overlays over bare frames,
// and later ones keep to that. One of uncompressed frames is large, so that the demo lets it be.
static bool ChooseOverlays()
{
    char name[kPathBytes] = "";
    const int32_t status = FirstOf(
        {ZVK_Camera_SaveVideo(kSession, 1, name, 1), ZVK_Camera_SaveVideo(kSession, 0, name, 1)});
    std::error_code error;
    const std::filesystem::path made = name;
    std::filesystem::remove(made, error);
    return Done("videos shall have the overlays", status,
                "the library's own name: " + made.filename().string());
}

// Paints the sample anew at each look, until the traps stand.
static void Watch(const std::vector<Trap> &traps, Sample &sample, IplImage &overlay,
                  const std::vector<uint8_t> &graphics)
{
    const std::string what = "record the traps on their way";
    const auto start = std::chrono::steady_clock::now();
    double last = 0;
    double stoodAt = kLongestS;
    for (double now = 0; now < std::min(stoodAt + kRestS, kLongestS);) {
        PrintProgress(what, std::min(0.99, now / kVideoS));
        std::this_thread::sleep_for(kLook);
        now = ClockS(std::chrono::steady_clock::now() - start).count();
        sample.Advance(now - last, PlacesOf(traps));
        sample.Paint(overlay, graphics);
        last = now;
        if (stoodAt == kLongestS && AllStand(traps)) stoodAt = now;
    }
    PrintProgress(what, 1.0);
}

static bool RecordMotion(const std::vector<Trap> &traps, const std::string &video)
{
    void *handle = nullptr;
    (void)ZVK_Camera_GetUserOverlay(kSession, &handle);
    auto *overlay = static_cast<IplImage *>(handle);
    if (!overlay || !overlay->imageData)
        return Done("paint a sample under the graphics", ZVK_CAMERA_NOT_INITIALIZED, "");
    const std::vector<uint8_t> graphics = PixelsOf(*overlay);
    Sample sample(overlay->width, overlay->height, PlacesOf(traps));
    sample.Paint(*overlay, graphics);
    if (!ChooseOverlays()) return false;

    std::string path = video;
    int32_t status =
        FirstOf({ZVK_Camera_SaveVideo(kSession, 1, path.data(), 1),
                 Send(Named(traps, "centre A"), 160, 300), Send(Named(traps, "bead 1"), 600, 200),
                 Send(Named(traps, "bead 2"), 560, 480), SendStar(Named(traps, "probe"))});
    Watch(traps, sample, *overlay, graphics);
    status = FirstOf({status, ZVK_Camera_SaveVideo(kSession, 0, path.data(), 1)});
    return Done("stop recording", status, std::filesystem::path(video).filename().string());
}

bool WorkCamera(const std::vector<Trap> &traps, double pixelsPerMicrometre,
                const CameraFiles &files)
{
    if (!SwitchOverlaysOn() || !DrawGraphics(traps, pixelsPerMicrometre)) return false;
    if (!RecordMotion(traps, files.video)) return false;
    std::string picture = files.picture;
    return Done("save the camera's picture", ZVK_Camera_SaveImage(kSession, picture.data(), 1),
                std::filesystem::path(picture).filename().string());
}
