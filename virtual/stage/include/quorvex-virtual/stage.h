#ifndef QUORVEX_VIRTUAL_STAGE_H
#define QUORVEX_VIRTUAL_STAGE_H

// A stage controller made of software, on a loopback port: it speaks the command language of the
// real one, its axes travel in time, and its wave generators shake them.
//
//     VirtualStage stage;
//     ... section STAGE: IP = "127.0.0.1", PORTNUM = stage.Port()
//     stage.State(0).position;
//
// Commands end in a line feed. Settings are not answered; ERR? tells the last error and forgets it.
// A question that is not understood is not answered either.
//
//     CSV? SAI? ONL SVO VCO DCO VEL PLM? NLM? MOV MVR MOV? POS? ONT? DFH STP
//     WCL SPA? WMS? WTR WAV CTO TWS WGO ERR?
//
// Switched on, servos are off, the axes stand at 30, 40 and 50 of a travel of 0 to 100, and a move
// is refused. Without velocity control an axis jumps. All calls from any thread.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// A wave generator with a trigger output has begun to play, or has ended.
struct VirtualStageTrigger
{
    int line = 0;  // 0 for trigger output 1, whose generator and axis have the same number
    bool running = false;
    double startS = 0.0;   // of the first period; of the end, where it has ended
    double periodS = 0.0;  // of the wave, and of the pulses
    // Into each period: where the table's trigger points are, or its first point without any.
    std::vector<double> pulsesS;
    // Where the generator holds the axis at a moment, from the origin at the start. Good for as
    // long as it is kept.
    std::function<double(double timeS)> position;
};

struct VirtualStageSettings
{
    int axes = 3;
    double lower = 0.0;  // micrometres
    double upper = 100.0;
    double servoCycleS = 50e-6;
    int32_t wavePoints = 8192;     // room of each wave table
    double mostVelocity = 1500.0;  // micrometres per second
    bool startsOffline = false;    // its channels have to be set online before a move
    int port = 0;                  // 0: any that is free
    // Seconds; without one, since the controller was made.
    std::function<double()> clock = {};
    // Called behind the command that starts or ends a generator, on the thread that serves it; it
    // may ask this controller anything.
    std::function<void(const VirtualStageTrigger &)> onTrigger = {};
};

struct VirtualStageAxis
{
    double position = 0.0;  // micrometres, from the present origin
    double target = 0.0;
    double velocity = 0.0;  // micrometres per second
    bool online = true;
    bool servo = false;
    bool velocityControl = true;
    bool driftCompensation = false;
    bool onTarget = true;
    bool oscillates = false;
    double amplitude = 0.0;  // of the oscillation, half of its travel
    double hertz = 0.0;
    double upper = 0.0;
    double lower = 0.0;
    bool triggersOutput = false;  // its generator gives pulses at its trigger output
};

// What it does wrong, from the next command on.
struct VirtualStageFault
{
    bool silent = false;        // questions are not answered
    bool garbled = false;       // answers are noise
    bool byteByByte = false;    // each byte in a packet of its own
    double slowS = 0.0;         // answers come so many seconds late, of real time
    int heldAnswers = 0;        // so many are held back, and come in one packet with the one behind
    int closeBehindBytes = -1;  // hangs up behind so many bytes of the next answer; -1: never
    std::string refuse;         // this command, such as "MOV", is refused; empty: by number
    int refuseNth = 0;          // only the nth one from now; 0: each one that is named
    int32_t refuseCode = 0;     // with this error
};

struct VirtualStageLine
{
    double timeS = 0.0;
    std::string command;
    std::string answer;  // empty for none
};

class VirtualStage
{
public:
    // Throws std::runtime_error when there is no port to be had.
    explicit VirtualStage(const VirtualStageSettings &settings = {});
    ~VirtualStage();
    VirtualStage(const VirtualStage &) = delete;
    VirtualStage &operator=(const VirtualStage &) = delete;

    int Port() const;
    int Connections() const;  // made so far
    bool IsConnected() const;
    void HangUp();  // on whoever is connected; the next one is taken
    // Nobody listens at the port, or somebody does again; whoever is connected stays.
    void RefuseConnections(bool refuse);

    VirtualStageAxis State(int axis) const;
    // Where an axis was or is at a moment of the clock, as far as its present move tells.
    double PositionAt(int axis, double timeS) const;
    double Now() const;

    void Misbehave(const VirtualStageFault &fault);
    std::vector<VirtualStageLine> Lines() const;
    std::vector<std::string> Commands() const;
    std::vector<VirtualStageLine> TakeLines();  // and forgets them

    // Answers a command as the port would; for a test that needs no port.
    std::string Ask(const std::string &command);

    struct Inside;

private:
    std::unique_ptr<Inside> m_inside;
};

// Lines as text: "  0.013 s  POS? 1             1=50".
std::string VirtualStageReport(const std::vector<VirtualStageLine> &lines);

#endif
