#include "bead_session.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <chrono>
#include <sstream>
#include <string>

static std::string Config(const BeadSessionSettings &settings, int port)
{
    std::ostringstream text;
    text << "[STAGE]\nMI=1\nSIMULATE=0\nBACKEND="
         << (settings.stage == BeadStage::kOutputs ? 16 : 1)
         << "\nSCALE=0.1\nCLOCKRATE=10000\nEVERYNSAMPLES=1000\nSAMPLESPERCHAN=1000\nSPEED=100\n"
            "RANGE=100\nTRIGGER=0\nIP=\"127.0.0.1\"\nNUMBEROFAXES=3\nSTEPSIZE="
         << settings.stepSize << "\nPORTNUM=" << port
         << "\n[SUBDAQ]\nDAQNAME=\"SUBDAQ\"\n"
            "[FORCE]\nMI=1\nSIMULATE=0\nDAQNAME=\"SUBDAQ\"\nDAQCHANNELSA=\"ai0:2\"\n"
            "DAQCHANNELSB=\"ai4:6\"\nDAQCHANNELST=\"ai3\"\nDAQCHANNELSTDE=\"PFI1\"\n"
            "DAQCHANNELSTDI=\"PFI2\"\nTRIGGERINPUT=1\nTRIGGEREDGE=0\n"
            "[FORCECAL]\nMI=1\nSIMULATE=0\nSWAPAXES=0\nAVERAGES="
         << settings.averages << "\nCALLENGTH=" << settings.segmentS
         << "\nAMPLITUDE=" << settings.amplitude << "\nFREQUENCY=" << settings.hertz
         << "\nOSCILLATE=1\nHISTOGRAM_BINS=100\nSUB_MEAN=0\nSUB_DRIFT=1\nFIT_LOWEND=10\n"
            "FIT_HIGHEND=8000\nFIT_DISPLAY=20000\nMEDIUM=1\nETA=0.001\nTEMPERATURE=293.15\n"
            "DIAMETER=1\nLINESCAN_LENGTH=0.4\nLINESCAN_STEPS=21\nLINESCAN_AVERAGES=10000\n"
            "MAX_FFT=200000\nSTARTUP_VALUES=\"default.cal\"\n";
    return text.str();
}

// Three values of beta and nine of K for each path, as the updates write them.
static std::string Calibration()
{
    std::ostringstream text;
    for (const char path : {'A', 'B'}) {
        text << "[TRAP " << path << "]\nBETACOUNT=1\nKCOUNT=3\n";
        for (const char axis : {'X', 'Y', 'Z'})
            text << "BETA_" << axis << "_0=1e-6\n";
        for (int type = 0; type < 3; ++type) {
            for (const char axis : {'X', 'Y', 'Z'})
                text << "K_" << axis << "_" << type << "=1e-5\n";
        }
    }
    return text.str();
}

BeadSession::BeadSession(const BeadSessionSettings &settings)
    : m_folder({{"default.cal", Calibration()}}), m_settings(settings),
      m_stage({.clock = [this] { return StageClock(); },
               .onTrigger =
                   [this](const VirtualStageTrigger &trigger) {
                       if (m_listener) m_listener(trigger);
                   }})
{
    ZVC_Reset();
    (void)ZVC_SetPace(ZVC_PACE_FAST);
    (void)ZVC_SetMaxRate(settings.singleRate, 4.0 * settings.singleRate);
    m_folder.Files().Write("config.ini", Config(settings, m_stage.Port()));
    Hold({});
    const auto keep = [&](int32_t status) { m_status = m_status == 0 ? status : m_status; };
    // A stage on outputs alone is up although no controller is found.
    const int32_t stage = ZVK_Stage_Init(0, 0, 0);
    keep(settings.stage == BeadStage::kOutputs && stage == ZVK_STAGE_NOT_FOUND ? 0 : stage);
    keep(ZVK_Force_Init(0, 0, 0));
    keep(ZVK_ForceCal_Init(0, 0, 0));
    keep(ZVK_ForceCal_ComputeViscosity(0, 0.0));
    m_aheadS = StageClock() - ZVC_Now();
    m_inCardTime = true;
}

// Real time while the stage comes up, since the library waits for it to arrive.
double BeadSession::StageClock() const
{
    if (m_inCardTime) return ZVC_Now() + m_aheadS;
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

BeadSession::~BeadSession()
{
    (void)ZVK_ForceCal_Shutdown(0);
    (void)ZVK_Force_Shutdown(0);
    (void)ZVK_Stage_Shutdown(0);
    m_beads.reset();
    ZVC_Reset();
}

VirtualBeads &BeadSession::Hold(const VirtualBeadsSettings &settings)
{
    m_listener = nullptr;
    m_beads.reset();
    m_beads = std::make_unique<VirtualBeads>(settings);
    m_listener = m_beads->StageListener();
    if (m_settings.stage == BeadStage::kController)
        m_beads->FollowStage(m_stage);
    else
        m_beads->FollowOutputs({});
    if (!m_beads->Attach({})) m_status = -1;
    return *m_beads;
}
