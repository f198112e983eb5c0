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
//     WCL SPA? WMS? WTR WAV CTO WGO ERR?
//
// Switched on, servos are off, the axes stand at 30, 40 and 50 of a travel of 0 to 100, and a move
// is refused. All calls from any thread.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct VirtualStageSettings
{
    int axes = 3;
    double lower = 0.0;  // micrometres
    double upper = 100.0;
    double servoCycleS = 50e-6;
    int32_t wavePoints = 8192;     // room of each wave table
    double mostVelocity = 1500.0;  // micrometres per second
    int port = 0;                  // 0: any that is free
    // Seconds; without one, since the controller was made.
    std::function<double()> clock;
};

struct VirtualStageAxis
{
    double position = 0.0;  // micrometres, from the present origin
    double target = 0.0;
    double velocity = 0.0;  // micrometres per second
    bool servo = false;
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
    int closeBehindBytes = -1;  // hangs up behind so many bytes of the next answer; -1: never
    std::string refuse;         // this command, such as "MOV", is refused
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
