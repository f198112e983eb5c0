#ifndef QUORVEX_VIRTUAL_STAGE_CONTROLLER_H
#define QUORVEX_VIRTUAL_STAGE_CONTROLLER_H

// The controller without its port: axes, generators and the command language.

#include "quorvex-virtual/stage.h"

#include <set>
#include <string>
#include <vector>

// What ERR? tells.
constexpr int32_t kUnknownCommand = 2;
constexpr int32_t kServoOff = 5;
constexpr int32_t kOutsideLimits = 7;
constexpr int32_t kBadVelocity = 8;
constexpr int32_t kStopped = 10;
constexpr int32_t kBadAxis = 15;
constexpr int32_t kOutOfRange = 17;
constexpr int32_t kWrongCount = 24;
constexpr int32_t kNoSuchParameter = 54;
constexpr int32_t kWaveTooLong = 67;
constexpr int32_t kWaveRuns = 73;

// One axis. Physical positions count from the lower end of the travel at the start; what is told
// counts from `origin`.
struct StageAxis
{
    double from = 0.0;  // where the present move began, physical
    double to = 0.0;
    double startS = 0.0;
    double velocity = 100.0;
    double origin = 0.0;
    bool online = true;
    bool servo = false;
    bool velocityControl = true;
    bool driftCompensation = false;
    bool oscillates = false;
    double waveAmplitude = 0.0;  // peak to peak
    double waveOffset = 0.0;     // lowest place, physical
    int32_t wavePoints = 0;      // of a period; 0: the table is empty
    int32_t curveFirst = 0;      // where the sine begins in it, and its length; the rest stays low
    int32_t curvePoints = 0;
    int32_t curveCentre = 0;  // its highest point, from where it begins
    int32_t waveRate = 1;
    double waveStartS = 0.0;
    bool triggersOutput = false;
    std::set<int32_t> triggerPoints;
};

double PeriodS(const StageAxis &axis, double cycleS);

// Where the wave is: from its lowest place up to the centre and down again, each by half a turn of
// a cosine.
double WavePlace(const StageAxis &axis, double cycleS, double timeS);

// The whole text must be a finite number.
bool ReadStageNumber(const std::string &text, double &value);

class StageController
{
public:
    explicit StageController(const VirtualStageSettings &settings);

    // The answer with its line ends, empty for none.
    std::string Answer(const std::string &command, double nowS);

    VirtualStageAxis State(int axis, double nowS) const;
    double PositionAt(int axis, double timeS) const;  // from the present origin
    // The nth command of this name from now on, or each one for 0; any name when it is empty.
    void Refuse(const std::string &mnemonic, int nth, int32_t code);
    std::vector<VirtualStageTrigger> TakeTriggers();

private:
    using Words = std::vector<std::string>;
    using Handler = std::string (StageController::*)(const Words &, double);
    struct Row;
    static const Row kRows[];

    std::string Fail(int32_t code);
    bool FindAxis(const std::string &name, size_t &axis) const;
    bool ReadPairs(const Words &words, std::vector<size_t> &axes, std::vector<double> &values);
    std::string Tell(const Words &words, double (StageController::*value)(size_t, double) const,
                     double nowS, std::string (*text)(double));
    double Physical(size_t axis, double timeS) const;
    bool IsRefused(const std::string &mnemonic);
    void Announce(size_t axis, double nowS);
    void EndWave(size_t axis, double nowS);
    void GoTo(size_t axis, double place, double nowS);

    double UpperOf(size_t axis, double) const { return m_settings.upper - m_axes[axis].origin; }
    double LowerOf(size_t axis, double) const { return m_settings.lower - m_axes[axis].origin; }
    double TargetOf(size_t axis, double) const { return m_axes[axis].to - m_axes[axis].origin; }
    double PlaceOf(size_t axis, double nowS) const;
    double ArrivedOf(size_t axis, double nowS) const;

    std::string CommandSet(const Words &, double);
    std::string AxisNames(const Words &, double);
    std::string Error(const Words &, double);
    std::string Switch(const Words &words, bool StageAxis::*which);
    std::string Online(const Words &words, double);
    std::string Servo(const Words &words, double);
    std::string VelocityControl(const Words &words, double nowS);
    std::string DriftCompensation(const Words &words, double);
    std::string Velocity(const Words &words, double nowS);
    std::string Move(const Words &words, double nowS);
    std::string MoveBy(const Words &words, double nowS);
    std::string Home(const Words &words, double nowS);
    std::string Stop(const Words &, double nowS);
    std::string Upper(const Words &words, double nowS);
    std::string Lower(const Words &words, double nowS);
    std::string Target(const Words &words, double nowS);
    std::string Place(const Words &words, double nowS);
    std::string Arrived(const Words &words, double nowS);
    std::string Parameter(const Words &words, double);
    std::string WaveRoom(const Words &words, double);
    std::string ClearWave(const Words &words, double);
    std::string WaveRate(const Words &words, double);
    std::string Wave(const Words &words, double);
    std::string Trigger(const Words &words, double);
    std::string TriggerPoint(const Words &words, double);
    std::string Generator(const Words &words, double nowS);
    bool AxisByNumber(const Words &words, size_t &axis);

    VirtualStageSettings m_settings;
    std::vector<StageAxis> m_axes;
    int32_t m_error = 0;
    std::string m_refused;
    int m_refusedNth = 0;  // counts down to 1; 0: each one
    int32_t m_refusal = 0;
    std::vector<VirtualStageTrigger> m_triggers;  // not yet taken
};

#endif
