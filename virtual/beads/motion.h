#ifndef QUORVEX_VIRTUAL_BEADS_MOTION_H
#define QUORVEX_VIRTUAL_BEADS_MOTION_H

// The motion of a bead along one axis, stepped exactly.

#include <cstdint>
#include <random>
#include <vector>

constexpr double kBoltzmann = 1.380649e-23;  // J/K

struct BeadAxis
{
    double deviation = 0.0;  // m, root mean square of the jitter
    double relaxS = 0.0;     // drag over stiffness
};

// What it takes from one sample to the next.
struct BeadStep
{
    double keep = 0.0;   // share of the place that is left
    double kick = 0.0;   // m, deviation of the jitter that is added
    double carry = 0.0;  // share of the stage's way that the bead is carried along
};

BeadStep StepOver(const BeadAxis &axis, double seconds);

// Where the bead is, from its trap's centre, as the sum of its jitter and its being dragged.
struct BeadPlace
{
    bool begun = false;
    double timeS = 0.0;    // card time
    double jitter = 0.0;   // m
    double dragged = 0.0;  // m
    double stage = 0.0;    // m
    std::mt19937_64 random;
};

// Goes on from where the bead was to `firstS` and takes a step of `stepS` seconds from each
// sample to the next; adds the jitter of each to `metres`. `goesOn`: the first sample lies one step
// behind the last one of before, to the digit. A time before the last one begins anew.
void AddJitter(BeadPlace &place, const BeadAxis &axis, double firstS, double stepS, bool goesOn,
               std::vector<double> &metres);

// Settles where the dragged bead is at the first sample: the stage's places (m) lead up to it in
// equal steps.
void Settle(BeadPlace &place, const BeadAxis &axis, double stepS,
            const std::vector<double> &stageMetres);

// Adds how far the fluid has carried the bead. The stage's place at the sample before the first one
// is the place's own.
void AddDrag(BeadPlace &place, const BeadAxis &axis, double stepS,
             const std::vector<double> &stageMetres, std::vector<double> &metres);

#endif
