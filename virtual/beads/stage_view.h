#ifndef QUORVEX_VIRTUAL_BEADS_STAGE_VIEW_H
#define QUORVEX_VIRTUAL_BEADS_STAGE_VIEW_H

// How the beads see the stage: where it is, and its reference pulses, at moments of card time.

#include "quorvex-virtual/beads.h"
#include "quorvex-virtual/stage.h"

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

constexpr double kPulseVolts = 5.0;
constexpr double kPulseS = 0.5e-3;

// The newest announcement of each trigger output. It may outlive the beads: the stage keeps a
// listener that writes here.
struct StageTriggers
{
    std::mutex mutex;
    std::array<VirtualStageTrigger, 3> lines;
};

// Moments of card time: the first, and how far apart they are.
struct Moments
{
    double firstS = 0.0;
    double stepS = 0.0;
};

// What moves the fluid; nothing, when both are empty.
struct StageView
{
    const VirtualStage *stage = nullptr;
    bool outputs = false;
    VirtualBeadsOutputs wiring = {};
    double aheadS = 0.0;  // the stage's clock, ahead of the card's
};

// Ties the stage's clock to the card's, for a run of samples: both go on at one pace.
void TieClocks(StageView &view);

// The stage's place along an axis in metres, for each moment. False when it rests there: then all
// of them are the same.
bool StagePlaces(const StageView &view, StageTriggers &triggers, int axis, const Moments &moments,
                 std::vector<double> &metres);

// The volts of the reference signal: a pulse at the start of each period while the stage
// oscillates.
void ReferenceVolts(const StageView &view, StageTriggers &triggers, const Moments &moments,
                    std::vector<double> &volts);

#endif
