// The beads as signal sources of the card: each block of samples is made once for the three signals
// of a path.

#include "quorvex-virtual/beads.h"

#include "motion.h"
#include "normal.h"
#include "stage_view.h"

#include "quorvex-virtual/daq.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <locale>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <vector>

constexpr int kAxes = 3;
constexpr int kSignals = 3;
constexpr int kReference = 2 * kSignals;  // behind the signals of both paths
constexpr double kOnDemandHz = 1e6;       // the bandwidth of a sample without a clock
// The dragged bead is followed from so long before the first sample: nothing older is left then.
constexpr double kSettleRelaxations = 25.0;
constexpr size_t kSettleSteps = 1000;

namespace {

// The samples of the block that was made last.
struct Made
{
    uint64_t first = 0;
    uint32_t count = 0;
    double rate = -1.0;
    double startS = -1.0;
    std::array<bool, kSignals> given = {};
};

struct Path
{
    std::array<BeadAxis, kAxes> axes;
    std::array<BeadPlace, kAxes> places;
    std::array<BeadPlace, kSignals> noise;  // their generators alone
    Made made;
    std::array<std::vector<double>, kSignals> volts;
};

}  // namespace

struct VirtualBeads::Inside
{
    // What a source is told: whose it is, and which signal.
    struct Wire
    {
        Inside *inside = nullptr;
        int signal = 0;
        std::string channel;
    };

    VirtualBeadsSettings settings;
    std::array<Wire, 2 * kSignals + 1> wires;
    std::shared_ptr<StageTriggers> triggers = std::make_shared<StageTriggers>();

    std::mutex mutex;  // guards all below
    std::array<Path, 2> paths;
    StageView view;
    double runStartS = -1.0;
    bool stuck = false;
    std::array<double, kAxes> stuckAt = {};  // m
};

VirtualBeadTruth VirtualBeads::Truth(int path, int axis) const
{
    const VirtualBeadsSettings &settings = m_inside->settings;
    const VirtualBead &bead = settings.beads.at(static_cast<size_t>(path));
    const double pi = std::numbers::pi;
    VirtualBeadTruth truth;
    truth.stiffness = bead.stiffness.at(static_cast<size_t>(axis));
    truth.sensitivity = bead.sensitivity.at(static_cast<size_t>(axis));
    truth.drag = 6.0 * pi * settings.viscosity * bead.diameterM / 2.0;  // Stokes
    truth.cornerFrequency = truth.stiffness / (2.0 * pi * truth.drag);
    truth.deviation = std::sqrt(kBoltzmann * settings.temperatureK / truth.stiffness);
    return truth;
}

static void Require(bool holds, const char *what)
{
    if (!holds) throw std::invalid_argument(std::string("virtual beads: ") + what);
}

static void Check(const VirtualBeadsSettings &settings)
{
    const auto isAbove0 = [](double value) { return value > 0.0 && std::isfinite(value); };
    const auto isNot = [](double value) { return value == 0.0 || !std::isfinite(value); };
    Require(settings.temperatureK == 0.0 || isAbove0(settings.temperatureK), "temperature");
    Require(isAbove0(settings.viscosity), "viscosity");
    for (const VirtualBead &bead : settings.beads) {
        Require(isAbove0(bead.diameterM), "diameter");
        Require(std::all_of(bead.stiffness.begin(), bead.stiffness.end(), isAbove0), "stiffness");
        Require(std::none_of(bead.sensitivity.begin(), bead.sensitivity.end(), isNot),
                "sensitivity");
        Require(std::isfinite(bead.sumVolts), "sum");
        Require(bead.noise == 0.0 || isAbove0(bead.noise), "noise");
        Require(isAbove0(bead.rangeM), "range");
    }
}

VirtualBeads::VirtualBeads(const VirtualBeadsSettings &settings)
    : m_inside(std::make_unique<Inside>())
{
    Check(settings);
    m_inside->settings = settings;
    uint32_t stream = 0;
    const auto seed = [&](BeadPlace &place) {
        std::seed_seq words{static_cast<uint32_t>(settings.seed),
                            static_cast<uint32_t>(settings.seed >> 32U), stream++};
        place.random.seed(words);
    };
    for (int p = 0; p < 2; ++p) {
        Path &path = m_inside->paths[static_cast<size_t>(p)];
        for (int a = 0; a < kAxes; ++a) {
            const VirtualBeadTruth truth = Truth(p, a);
            path.axes[static_cast<size_t>(a)] = {truth.deviation, truth.drag / truth.stiffness};
        }
        for (BeadPlace &place : path.places)
            seed(place);
        for (BeadPlace &place : path.noise)
            seed(place);
    }
}

VirtualBeads::~VirtualBeads()
{
    for (const Inside::Wire &wire : m_inside->wires) {
        if (!wire.channel.empty()) (void)ZVC_SetSource(wire.channel.c_str(), nullptr, nullptr);
    }
}

// A new run of samples: from here on the two clocks stay tied.
static void BeginRun(VirtualBeads::Inside &inside, const ZVC_Block &block)
{
    const double pastS =
        block.rate > 0.0 ? static_cast<double>(block.firstSample) / block.rate : 0.0;
    const double startS = block.startS - pastS;
    const double near = block.rate > 0.0 ? 0.25 / block.rate : 0.0;
    if (std::fabs(startS - inside.runStartS) <= near) return;
    inside.runStartS = startS;
    TieClocks(inside.view);
}

// The bead's way along one axis, from its trap's centre.
static void MoveAlong(VirtualBeads::Inside &inside, Path &path, int axis, const Moments &moments,
                      bool goesOn, std::vector<double> &metres)
{
    const size_t a = static_cast<size_t>(axis);
    std::vector<double> stage(metres.size());
    const bool moves = StagePlaces(inside.view, *inside.triggers, axis, moments, stage);
    if (inside.stuck) {
        for (size_t i = 0; i < metres.size(); ++i)
            metres[i] = stage[i] - inside.stuckAt[a];
        return;
    }
    BeadPlace &place = path.places[a];
    AddJitter(place, path.axes[a], moments.firstS, moments.stepS, goesOn, metres);
    if (!moves) {
        place.dragged = 0.0;
        place.stage = stage.empty() ? 0.0 : stage.back();
        return;
    }
    if (!goesOn) {
        const double stepS = kSettleRelaxations * path.axes[a].relaxS / kSettleSteps;
        std::vector<double> before(kSettleSteps + 1);
        (void)StagePlaces(inside.view, *inside.triggers, axis,
                          {moments.firstS - stepS * kSettleSteps, stepS}, before);
        Settle(place, path.axes[a], stepS, before);
    }
    AddDrag(place, path.axes[a], moments.stepS, stage, metres);
}

static void AddNoise(BeadPlace &place, double deviation, std::vector<double> &volts)
{
    if (deviation <= 0.0) return;
    for (double &sample : volts)
        sample += deviation * Normal(place.random);
}

static void Make(VirtualBeads::Inside &inside, int number, const ZVC_Block &block)
{
    Path &path = inside.paths[static_cast<size_t>(number)];
    const VirtualBead &bead = inside.settings.beads[static_cast<size_t>(number)];
    const Moments moments = {block.startS, block.rate > 0.0 ? 1.0 / block.rate : 0.0};
    const bool goesOn = path.made.rate == block.rate && block.rate > 0.0 &&
                        path.made.first + path.made.count == block.firstSample &&
                        block.firstSample > 0;
    for (int axis = 0; axis < kAxes; ++axis) {
        std::vector<double> &metres = path.volts[static_cast<size_t>(axis)];
        metres.assign(block.count, 0.0);
        MoveAlong(inside, path, axis, moments, goesOn, metres);
    }
    auto &[x, y, sum] = path.volts;
    for (size_t i = 0; i < block.count; ++i) {
        const auto seen = [&](double metres, int axis) {
            return std::clamp(metres, -bead.rangeM, bead.rangeM) /
                   bead.sensitivity[static_cast<size_t>(axis)];
        };
        sum[i] = bead.sumVolts + seen(sum[i], 2);
        x[i] = sum[i] * seen(x[i], 0);
        y[i] = sum[i] * seen(y[i], 1);
    }
    const double bandwidth = (block.rate > 0.0 ? block.rate : kOnDemandHz) / 2.0;
    for (size_t s = 0; s < kSignals; ++s)
        AddNoise(path.noise[s], bead.noise * std::sqrt(bandwidth), path.volts[s]);
    path.made = {block.firstSample, block.count, block.rate, block.startS, {}};
}

static void GiveSignal(VirtualBeads::Inside &inside, int signal, const ZVC_Block &block,
                       double *volts)
{
    Path &path = inside.paths[static_cast<size_t>(signal / kSignals)];
    const size_t own = static_cast<size_t>(signal % kSignals);
    Made &made = path.made;
    const bool same = made.first == block.firstSample && made.count == block.count &&
                      made.rate == block.rate && made.startS == block.startS;
    if (!same || made.given[own]) Make(inside, signal / kSignals, block);
    made.given[own] = true;
    std::copy(path.volts[own].begin(), path.volts[own].end(), volts);
}

static void Source(const ZVC_Block *block, double *volts, void *data)
{
    const auto *wire = static_cast<VirtualBeads::Inside::Wire *>(data);
    VirtualBeads::Inside &inside = *wire->inside;
    const std::lock_guard lock(inside.mutex);
    BeginRun(inside, *block);
    if (wire->signal != kReference) {
        GiveSignal(inside, wire->signal, *block, volts);
        return;
    }
    std::vector<double> reference(block->count);
    const double stepS = block->rate > 0.0 ? 1.0 / block->rate : 0.0;
    ReferenceVolts(inside.view, *inside.triggers, {block->startS, stepS}, reference);
    std::copy(reference.begin(), reference.end(), volts);
}

bool VirtualBeads::Attach(const VirtualBeadsWiring &wiring)
{
    const std::string *names[2 * kSignals + 1] = {
        &wiring.pathA[0], &wiring.pathA[1], &wiring.pathA[2], &wiring.pathB[0],
        &wiring.pathB[1], &wiring.pathB[2], &wiring.reference};
    for (int i = 0; i <= kReference; ++i) {
        Inside::Wire &wire = m_inside->wires[static_cast<size_t>(i)];
        if (!wire.channel.empty()) (void)ZVC_SetSource(wire.channel.c_str(), nullptr, nullptr);
        wire = {m_inside.get(), i, ""};
        if (names[i]->empty()) continue;
        if (ZVC_SetSource(names[i]->c_str(), Source, &wire) != ZVC_OK) return false;
        wire.channel = *names[i];
    }
    return true;
}

static void Follow(VirtualBeads::Inside &inside, StageView view)
{
    const std::lock_guard lock(inside.mutex);
    inside.view = std::move(view);
    inside.runStartS = -1.0;
}

void VirtualBeads::FollowStage(const VirtualStage &stage) { Follow(*m_inside, {.stage = &stage}); }

void VirtualBeads::FollowOutputs(const VirtualBeadsOutputs &outputs)
{
    Follow(*m_inside, {.outputs = true, .wiring = outputs});
}

void VirtualBeads::FollowNothing() { Follow(*m_inside, {}); }

std::function<void(const VirtualStageTrigger &)> VirtualBeads::StageListener()
{
    return [triggers = m_inside->triggers](const VirtualStageTrigger &trigger) {
        const std::lock_guard lock(triggers->mutex);
        triggers->lines.at(static_cast<size_t>(trigger.line)) = trigger;
    };
}

void VirtualBeads::SetStuck(bool stuck)
{
    const std::lock_guard lock(m_inside->mutex);
    m_inside->stuck = stuck;
    TieClocks(m_inside->view);
    for (int axis = 0; axis < kAxes; ++axis) {
        std::vector<double> now(1);
        (void)StagePlaces(m_inside->view, *m_inside->triggers, axis, {ZVC_Now(), 0.0}, now);
        m_inside->stuckAt[static_cast<size_t>(axis)] = now[0];
    }
}

const VirtualBeadsSettings &VirtualBeads::Settings() const { return m_inside->settings; }

static void WriteAxis(std::ostream &text, char name, const VirtualBeadTruth &truth)
{
    text << "STIFFNESS_" << name << "_N_PER_M = " << truth.stiffness << "\n"
         << "SENSITIVITY_" << name << (name == 'Z' ? "_M_PER_V = " : "_M = ") << truth.sensitivity
         << "\n"
         << "CORNER_" << name << "_HZ = " << truth.cornerFrequency << "\n"
         << "DEVIATION_" << name << "_M = " << truth.deviation << "\n";
}

bool VirtualBeads::WriteTruth(const std::string &file) const
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(17);
    const VirtualBeadsSettings &settings = m_inside->settings;
    text << "; what a calibration of the virtual beads should find\n[FLUID]\nTEMPERATURE_K = "
         << settings.temperatureK << "\nVISCOSITY_PA_S = " << settings.viscosity
         << "\nSEED = " << settings.seed << "\n";
    for (int path = 0; path < 2; ++path) {
        const VirtualBead &bead = settings.beads[static_cast<size_t>(path)];
        text << "\n[PATH " << (path == 0 ? 'A' : 'B') << "]\nDIAMETER_M = " << bead.diameterM
             << "\nDRAG_N_S_PER_M = " << Truth(path, 0).drag << "\nSUM_V = " << bead.sumVolts
             << "\nNOISE_V_PER_ROOT_HZ = " << bead.noise << "\nRANGE_M = " << bead.rangeM << "\n";
        for (int axis = 0; axis < kAxes; ++axis)
            WriteAxis(text, "XYZ"[axis], Truth(path, axis));
    }
    const std::string part = file + ".part";
    std::ofstream out(part, std::ios::binary);
    out << text.str();
    out.close();
    if (out && std::rename(part.c_str(), file.c_str()) == 0) return true;
    (void)std::remove(part.c_str());
    return false;
}
