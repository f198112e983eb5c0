#ifndef QUORVEX_DEMO_H
#define QUORVEX_DEMO_H

// What the demo's parts hand each other: a session that was worked, and what it left to be drawn.

#include <cstdint>
#include <string>
#include <vector>

struct Point
{
    double x = 0.0;
    double y = 0.0;
};

// A trap as its client knows it.
struct Trap
{
    int32_t path = 0;
    int32_t index = 0;
    std::string label;
};

// One trap's story: the way it was sent, and where it was at each look, in pixels.
struct Track
{
    int32_t path = 0;
    std::string label;
    std::string motion;          // what it did, in a few words
    std::vector<Point> planned;  // the way it was sent; empty when it stood
    bool jumped = false;         // at once, not along the way
    std::vector<Point> seen;
};

// One block of the four mirror voltages, with the traps that share its time.
struct Block
{
    int32_t clockRate = 0;  // samples per second
    int32_t samplesPerChannel = 0;
    std::vector<double> volts;           // four channels one after the other
    std::vector<std::string> labels[2];  // by slot, for each path
};

// Where the camera's picture and its video go.
struct CameraFiles
{
    std::string picture;
    std::string video;
};

struct SessionResult
{
    bool failed = false;
    std::vector<Track> tracks;
    Block block;                     // caught while traps were moving
    std::vector<Point> limits[2];    // the mirror limits of each path as an outline in pixels
    double field[4] = {0, 0, 0, 0};  // calibrated field: xMin, xMax, yMin, yMax in pixels
    double pixelsPerMicrometre = 0.0;
};

// Brings up the session of the instrument folder that ZVK_COMMON_APPDATA names, works it and prints
// what it did. `folder` is where the objective file goes; `camera` where the camera's files go,
// null when there shall be none.
SessionResult WorkSession(const std::string &title, const std::string &folder,
                          const CameraFiles *camera);

// Records the traps on their way and saves the camera's picture of them, with trap circles, labels,
// both fields and a client's graphics. False when a call failed.
bool WorkCamera(const std::vector<Trap> &traps, double pixelsPerMicrometre,
                const CameraFiles &files);

// What was found in a video.
struct VideoFacts
{
    int frames = 0;
    double rate = 0.0;  // frames a second
    bool drawn = false;
};

// Reads the video back and puts some of its frames beside each other.
VideoFacts DrawStrip(const std::string &video, const std::string &file);

// Draws the block and the tracks. False when the file could not be written.
bool DrawPicture(const SessionResult &session, const std::string &file);

// Works the laser of a session that is up: power, interlock, a shutter. False when a call failed.
bool WorkLaser();

// Sets the beam power of both paths by their tables, and the detectors' gains. False when a call
// failed.
bool WorkPowerAndDetectors();

// Works the stage: two moves, an oscillation, the centre. False when a call failed.
bool WorkStage();

// Works the beam expanders of a session that is up: both paths at once, then path A back. False
// when a call failed.
bool WorkBeamExpanders();

// Calibrates virtual beads of the instrument folder that ZVK_COMMON_APPDATA names, and holds what
// each method finds against what was put in, which goes to `truthFile`. False when a call failed,
// or a method did not find it. Once in a process.
bool WorkCalibration(const std::string &title, const std::string &truthFile);

// -- traps (traps.cpp) --

struct SeenTrap
{
    std::string label;
    Point at;  // pixels
};

// Where the mirrors hold the traps of a path now, newest first; none when that can't be told.
std::vector<SeenTrap> SeeTraps(int32_t path);
Point VoltsOf(const Trap &trap);
bool AllStand(const std::vector<Trap> &traps);

// The corners of a five-pointed star, once round, in volts.
std::vector<Point> StarFrom(const Point &start);
// Sends a trap once along corners in volts, and tells its speed in V/s. The status of the last
// call.
int32_t RunAlong(const Trap &trap, const std::vector<Point> &corners, double *speed);

// -- what the person sees (report.cpp) --

void PrintTitle(const std::string &title);
void PrintStep(const std::string &what, const std::string &outcome);
void PrintProgress(const std::string &what, double share);  // 0 to 1; 1 ends the line
std::string Format(const char *format, ...) __attribute__((format(printf, 1, 2)));

#endif
