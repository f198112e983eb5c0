#ifndef QUORVEX_VIRTUAL_BEADS_H
#define QUORVEX_VIRTUAL_BEADS_H

// Beads in the two traps of the instrument, made of software: they jitter in a fluid, a stage that
// moves drags the fluid along, and their detectors give volts at the inputs of the virtual DAQ
// card. What a force calibration should find is known to the last digit.
//
//     VirtualBeads beads({.seed = 7});
//     VirtualStage stage({.onTrigger = beads.StageListener()});
//     beads.FollowStage(stage);
//     beads.Attach({});
//     ... a calibration ...
//     beads.WriteTruth("truth.ini");
//
// The motion x of a bead along one axis, from its trap's centre, follows the Langevin equation
// without inertia (F. Gittes and C. F. Schmidt, Methods in Cell Biology 55, 1998, 129)
//
//     dx/dt = -2 pi fc x + ds/dt + sqrt(2 kT / gamma) dW/dt,
//
// with the stiffness K, the drag gamma = 6 pi eta r of a sphere, the corner frequency
// fc = K / (2 pi gamma) and the stage's place s. The thermal part is stepped exactly whatever the
// sample rate is (D. T. Gillespie, Physical Review E 54, 1996, 2084), across pauses between
// acquisitions too; the driven part is exact for a stage that moves on straight lines between two
// samples.
//
// A detector gives the sum S = S0 + z / beta_z in volts, and X = S x / beta_x, Y = S y / beta_y, so
// that X / S is x in units of beta_x. White noise comes on top of each of the three.
//
// All calls from any thread.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class VirtualStage;
struct VirtualStageTrigger;

// What one path holds and how its detector sees it. Arrays by axis: x, y, z.
struct VirtualBead
{
    double diameterM = 1e-6;
    std::array<double, 3> stiffness = {5e-5, 4e-5, 1e-5};  // N/m
    // x, y: metres for a whole unit of X/sum, Y/sum. z: metres for a volt of the sum.
    std::array<double, 3> sensitivity = {1.2e-6, 1.25e-6, 4e-6};
    double sumVolts = 2.0;  // with the bead at its trap's centre
    double noise = 2e-7;    // of each signal, V per root Hz, one-sided
    double rangeM = 1e-6;   // beyond it the detector stays at its end
};

struct VirtualBeadsSettings
{
    uint64_t seed = 1;
    double temperatureK = 293.15;
    double viscosity = 1.0016e-3;  // Pa s; of water at 20 degrees Celsius
    std::array<VirtualBead, 2> beads = {
        VirtualBead{},
        VirtualBead{.stiffness = {3.5e-5, 3e-5, 8e-6}, .sensitivity = {1.1e-6, 1.15e-6, 3.5e-6}}};
};

// The card's inputs that the detectors and the stage's reference pulse are wired to. A detector
// that is not wired has empty names.
struct VirtualBeadsWiring
{
    std::array<std::string, 3> pathA = {"SUBDAQ/ai0", "SUBDAQ/ai1", "SUBDAQ/ai2"};  // X, Y, sum
    std::array<std::string, 3> pathB = {"SUBDAQ/ai4", "SUBDAQ/ai5", "SUBDAQ/ai6"};
    std::string reference = "SUBDAQ/ai3";
};

// A stage that is driven by two of the card's outputs.
struct VirtualBeadsOutputs
{
    std::array<std::string, 2> channels = {"SUBDAQ/ao0", "SUBDAQ/ao1"};  // x, y
    double voltsPerMicrometre = 0.1;
};

// What a calibration should find on one axis of one path.
struct VirtualBeadTruth
{
    double stiffness = 0.0;        // N/m
    double sensitivity = 0.0;      // m per unit of signal
    double drag = 0.0;             // N s/m
    double cornerFrequency = 0.0;  // Hz
    double deviation = 0.0;        // m, root mean square of the jitter
};

class VirtualBeads
{
public:
    // Throws std::invalid_argument for a setting that no bead can have: the temperature, the noise
    // and the sum may be 0, a sensitivity negative, all else is above 0.
    explicit VirtualBeads(const VirtualBeadsSettings &settings = {});
    ~VirtualBeads();  // the inputs are back at 0 V
    VirtualBeads(const VirtualBeads &) = delete;
    VirtualBeads &operator=(const VirtualBeads &) = delete;

    // Becomes the source of these inputs. False when one of them is no input's name.
    bool Attach(const VirtualBeadsWiring &wiring);

    // The stage that moves the fluid; the newest call counts. A stage must live as long as it is
    // followed: FollowNothing ends it. Without a stage the fluid is at rest.
    void FollowStage(const VirtualStage &stage);
    void FollowOutputs(const VirtualBeadsOutputs &outputs);
    void FollowNothing();
    // What a followed VirtualStage is made with: its trigger output gives the reference pulses.
    std::function<void(const VirtualStageTrigger &)> StageListener();

    // A bead that sticks to the glass moves with the stage: it sits at its trap's centre where the
    // stage stands now, and neither jitters nor feels the fluid.
    void SetStuck(bool stuck);

    VirtualBeadTruth Truth(int path, int axis) const;
    const VirtualBeadsSettings &Settings() const;
    // Writes all of it as an INI file, in the units that each key names. False when it cannot.
    bool WriteTruth(const std::string &file) const;

    struct Inside;

private:
    std::unique_ptr<Inside> m_inside;
};

#endif
