#ifndef QUORVEX_VIRTUAL_STAGE_CONTROLLER_H
#define QUORVEX_VIRTUAL_STAGE_CONTROLLER_H

// The controller without its port: axes, generators and the command language.

#include "quorvex-virtual/stage.h"

#include <string>
#include <vector>

// One axis. Physical positions count from the lower end of the travel at the start; what is told
// counts from `origin`.
struct StageAxis
{
    double from = 0.0;  // where the present move began, physical
    double to = 0.0;
    double startS = 0.0;
    double velocity = 100.0;
    double origin = 0.0;
    bool servo = false;
    bool oscillates = false;
    double waveAmplitude = 0.0;  // peak to peak
    double waveOffset = 0.0;     // lowest place, physical
    int32_t wavePoints = 0;      // 0: the table is empty
    int32_t waveRate = 1;
    double waveStartS = 0.0;
    bool triggersOutput = false;
};

class StageController
{
public:
    explicit StageController(const VirtualStageSettings &settings);

    // The answer with its line ends, empty for none.
    std::string Answer(const std::string &command, double nowS);

    VirtualStageAxis State(int axis, double nowS) const;
    double PositionAt(int axis, double timeS) const;  // from the present origin
    void Refuse(const std::string &mnemonic, int32_t code);

private:
    using Words = std::vector<std::string>;
    using Handler = std::string (StageController::*)(const Words &, double);
    struct Row;
    static const Row kRows[];

    std::string Fail(int32_t code);
    bool FindAxis(const std::string &name, size_t &axis) const;
    bool ReadPairs(const Words &words, std::vector<size_t> &axes, std::vector<double> &values);
    std::string Tell(const Words &words, double (StageController::*value)(size_t, double) const,
                     double nowS);
    double Physical(size_t axis, double timeS) const;
    double PeriodS(const StageAxis &axis) const;
    void GoTo(size_t axis, double place, double nowS);

    double UpperOf(size_t axis, double) const { return m_settings.upper - m_axes[axis].origin; }
    double LowerOf(size_t axis, double) const { return m_settings.lower - m_axes[axis].origin; }
    double TargetOf(size_t axis, double) const { return m_axes[axis].to - m_axes[axis].origin; }
    double PlaceOf(size_t axis, double nowS) const;
    double ArrivedOf(size_t axis, double nowS) const;

    std::string CommandSet(const Words &, double);
    std::string AxisNames(const Words &, double);
    std::string Error(const Words &, double);
    std::string Accept(const Words &words, double);
    std::string Servo(const Words &words, double);
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
    std::string Generator(const Words &words, double nowS);
    bool AxisByNumber(const Words &words, size_t &axis);

    VirtualStageSettings m_settings;
    std::vector<StageAxis> m_axes;
    int32_t m_error = 0;
    std::string m_refused;
    int32_t m_refusal = 0;
};

#endif
