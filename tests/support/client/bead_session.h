#ifndef QUORVEX_TESTS_BEAD_SESSION_H
#define QUORVEX_TESTS_BEAD_SESSION_H

// Stage, force acquisition and calibration up on the virtual instrument with beads in its traps,
// through the exported calls. One of these in a process: the calibration comes up once.

#include "instrument_folder.h"

#include <quorvex-virtual/beads.h>
#include <quorvex-virtual/stage.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

// By what the stage is driven.
enum class BeadStage
{
    kController,
    kOutputs
};

struct BeadSessionSettings
{
    BeadStage stage = BeadStage::kController;
    double segmentS = 2.0;
    int32_t averages = 10;
    double amplitude = 0.25;  // micrometres
    int32_t hertz = 32;
    // Micrometres between the points of a stage on outputs. Its staircase has images about the rate
    // of its points, which belong above the fit's range: 4 * amplitude / stepSize * hertz.
    double stepSize = 0.001;
    // Samples a second, the card's most for one channel: above 300,000, so that no pulse falls into
    // the dead zone behind the one before.
    double singleRate = 320000.0;
};

class BeadSession
{
public:
    explicit BeadSession(const BeadSessionSettings &settings = {});
    ~BeadSession();
    BeadSession(const BeadSession &) = delete;
    BeadSession &operator=(const BeadSession &) = delete;

    // The first status that was not 0, of the calls that brought the modules up.
    int32_t Status() const { return m_status; }
    // Other beads in the traps. From the session's start on the stage lives in the card's time:
    // runs with one seed find the same to the last digit. A stage that travels arrives with the
    // next acquisition.
    VirtualBeads &Hold(const VirtualBeadsSettings &settings);
    VirtualBeads &Beads() { return *m_beads; }
    VirtualStage &Stage() { return m_stage; }
    const ScratchFolder &Files() const { return m_folder.Files(); }

private:
    InstrumentFolder m_folder;
    BeadSessionSettings m_settings;
    std::function<void(const VirtualStageTrigger &)> m_listener;
    std::atomic<bool> m_inCardTime = false;
    std::atomic<double> m_aheadS = 0.0;  // the stage's clock, of the card's
    VirtualStage m_stage;
    std::unique_ptr<VirtualBeads> m_beads;
    int32_t m_status = 0;

    double StageClock() const;
};

#endif
