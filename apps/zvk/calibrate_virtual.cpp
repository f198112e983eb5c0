// The virtual instrument in this process.

#include "calibrate_virtual.h"

#include "quorvex/quorvex.h"

#include "quorvex-virtual/beads.h"
#include "quorvex-virtual/daq.h"
#include "quorvex-virtual/stage.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <dlfcn.h>
#include <functional>
#include <stdexcept>

constexpr SessionHandle kSession = 1;
// Hertz, the card's most for one channel: above 300,000, so that no reference pulse falls into the
// dead zone behind the one before, and no higher than memory needs.
constexpr double kMostRate = 320000.0;

struct VirtualInstrument::Inside
{
    std::function<void(const VirtualStageTrigger &)> listener;
    std::atomic<double> aheadS = 0.0;  // of card time
    std::atomic<bool> inCardTime = false;
    VirtualStage stage{VirtualStageSettings{.clock = [this] { return StageClock(); },
                                            .onTrigger =
                                                [this](const VirtualStageTrigger &trigger) {
                                                    if (listener) listener(trigger);
                                                }}};
    std::unique_ptr<VirtualBeads> beads;

    double StageClock() const
    {
        if (inCardTime) return ZVC_Now() + aheadS;
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration<double>(now).count();
    }
};

// The file that this program is linked with, so that the library opens the same card.
static std::string CardFile()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void *>(&ZVC_Reset), &info) == 0 || info.dli_fname == nullptr)
        throw std::runtime_error("The virtual card's library is not found.");
    return info.dli_fname;
}

VirtualInstrument::VirtualInstrument() : m_inside(std::make_unique<Inside>())
{
    setenv("ZVK_DAQMX_LIBRARY", CardFile().c_str(), 1);
    // A pace that the user has set stands.
    if (std::getenv("ZVK_VIRTUAL_DAQ_PACE") == nullptr) (void)ZVC_SetPace(ZVC_PACE_FAST);
    (void)ZVC_SetMaxRate(kMostRate, 4.0 * kMostRate);
    const auto port = static_cast<int32_t>(m_inside->stage.Port());
    if (ZVK_ConFile_Write(kSession, "config.ini", "STAGE", "PORTNUM", &port, ZVK_CONFILE_LONG) < 0)
        throw std::runtime_error("The virtual instrument's config.ini could not be written.");
}

VirtualInstrument::~VirtualInstrument() = default;

void VirtualInstrument::PutBeads(uint64_t seed)
{
    // From here on the stage moves with the card's time, so that a seed gives the same each time.
    // Before, it moved in real time, since the library waits for it to come up.
    if (!m_inside->inCardTime) {
        m_inside->aheadS = m_inside->StageClock() - ZVC_Now();
        m_inside->inCardTime = true;
    }
    VirtualBeadsSettings settings;
    settings.seed = seed;
    double diameter = 0.0;
    (void)ZVK_ForceCal_GetTemperature(kSession, &settings.temperatureK);
    (void)ZVK_ForceCal_GetViscosity(kSession, &settings.viscosity);
    (void)ZVK_ForceCal_GetDiameter(kSession, &diameter);
    for (VirtualBead &bead : settings.beads)
        bead.diameterM = diameter * 1e-6;
    m_inside->listener = nullptr;
    m_inside->beads.reset();
    m_inside->beads = std::make_unique<VirtualBeads>(settings);
    m_inside->listener = m_inside->beads->StageListener();
    m_inside->beads->FollowStage(m_inside->stage);
    if (!m_inside->beads->Attach({}))
        throw std::runtime_error("The virtual beads can't be put before the virtual card.");
}

void VirtualInstrument::SetStuck(bool stuck) { m_inside->beads->SetStuck(stuck); }

Truth VirtualInstrument::GetTruth() const
{
    Truth truth;
    truth.isKnown = true;
    for (int path = 0; path < kPaths; ++path) {
        for (int axis = 0; axis < kAxes; ++axis) {
            const VirtualBeadTruth one = m_inside->beads->Truth(path, axis);
            truth.axes[path][axis] = {one.stiffness, one.sensitivity, one.cornerFrequency};
        }
    }
    return truth;
}
