#include "two_paths.h"

#include "quorvex/quorvex.h"

#include <filesystem>
#include <fstream>

static const char kConfig[] = R"([MAINDAQ]
BACKEND = 1
CLOCKRATE = 10000
SAMPLESPERCHAN = 1000
EVERYNSAMPLES = 1000
TRIGGER = 0
SIMULATE = 1
DAQNAME = "Dev1"

[LASER]
MI = 1
SIMULATE = 1
BACKEND = 1
TRAPPATHS = 2
MAXCURRENT = 6
MAXPOWER = 5
MINPOWER = 0.1
ALIGNPOWER = 0.5
LASERMODE = "CP"

[BEAMPOWER 0]
MI = 1
BACKEND = 1
SIMULATE = 1
SCALE = 5

[BEAMPOWER 1]
MI = 1
BACKEND = 1
SIMULATE = 1
SCALE = 5

[STAGE]
MI = 1
SIMULATE = 1
BACKEND = 16
SCALE = 0.1
CLOCKRATE = 10000
EVERYNSAMPLES = 1000
SAMPLESPERCHAN = 1000
SPEED = 100
STEPSIZE = 0.01
RANGE = 100

[FORCE]
MI = 1
SIMULATE = 1
DET_A_NAME = "DKL-1"
DET_B_NAME = "DKL-2"

[FORCECAL]
MI = 1
SIMULATE = 1
SWAPAXES = 0
AVERAGES = 10
CALLENGTH = 1
AMPLITUDE = 0.25
FREQUENCY = 32
OSCILLATE = 1
HISTOGRAM_BINS = 100
SUB_MEAN = 0
SUB_DRIFT = 1
FIT_LOWEND = 10
FIT_HIGHEND = 8000
FIT_DISPLAY = 20000
MEDIUM = 1
ETA = 0.001
TEMPERATURE = 293.15
DIAMETER = 1
LINESCAN_LENGTH = 0.4
LINESCAN_STEPS = 21
LINESCAN_AVERAGES = 10000
MAX_FFT = 1000
STARTUP_VALUES = "default.cal"

[GALVO 0]
OFFSETX = 0.5
OFFSETY = -0.25
MAXX = 4
MINX = -4
MAXY = 3
MINY = -3

[GALVO 1]
OFFSETX = -0.5
OFFSETY = 0.25
MAXX = 3
MINX = -3
MAXY = 2
MINY = -2

[BE 0]
MI = 1
SIMULATE = 1
BACKEND = 1
CWLIMIT = 40000
CCWLIMIT = 0
INITPOS = 20000
INISEC = 20

[BE 1]
MI = 1
SIMULATE = 1
BACKEND = 1
CWLIMIT = 40000
CCWLIMIT = 0
INITPOS = 20000
INISEC = 20

[CAMERA]
MI = 1
SIMULATE = 1
BACKEND = 2
COLORMODE = 5
EXPOSURETIME = 0.02
STARTCOOLING = 0
COOLERTEMP = -20
NATIVERESOLUTION_X = 1600
NATIVERESOLUTION_Y = 1200
CWSIZE_X = 800
CWSIZE_Y = 600
CWOFFSET_X = 0
CWOFFSET_Y = 0
CCW = 0
PARENTNAME = "none"
HISTOSUPPORT = 0

[OBJ]
LOAD = "default.odf"

[SCALE]
FACTORX = 10
FACTORY = 20
)";

// AX gives the Y voltage from x^i * y^j, AY the X voltage from y^i * x^j, with i the outer: the
// pixel that a voltage depends on stands in term 1, the voltage that a pixel depends on in term 2.
static const char kObjective[] = R"([GALVO 0]
COEFFNUM = 4
AX0 = -4
AX1 = 0.01
AX2 = 0
AX3 = 0
AY0 = -5
AY1 = 0.01
AY2 = 0
AY3 = 0
AXI0 = 500
AXI1 = 0
AXI2 = 100
AXI3 = 0
AYI0 = 400
AYI1 = 0
AYI2 = 100
AYI3 = 0
CALXMIN = 150
CALXMAX = 850
CALYMIN = 120
CALYMAX = 680

[GALVO 1]
COEFFNUM = 4
AX0 = -3.75
AX1 = 0.0125
AX2 = 0
AX3 = 0
AY0 = -7.5
AY1 = 0.0125
AY2 = 0
AY3 = 0
AXI0 = 600
AXI1 = 0
AXI2 = 80
AXI3 = 0
AYI0 = 300
AYI1 = 0
AYI2 = 80
AYI3 = 0
CALXMIN = 400
CALXMAX = 800
CALYMIN = 160
CALYMAX = 440
)";

static const char kCalibration[] = R"([TRAP A]
BETACOUNT = 1
BETA_X_0 = 1e-06
BETA_Y_0 = 2e-06
BETA_Z_0 = 3e-06
KCOUNT = 1
K_X_0 = 5e-05
K_Y_0 = 4e-05
K_Z_0 = 1e-05

[TRAP B]
BETACOUNT = 1
BETA_X_0 = 1e-06
BETA_Y_0 = 2e-06
BETA_Z_0 = 3e-06
KCOUNT = 1
K_X_0 = 5e-05
K_Y_0 = 4e-05
K_Z_0 = 1e-05
)";

std::string TwoPathsConfig() { return kConfig; }

std::string TwoPathsObjective() { return kObjective; }

std::string TwoPathsCalibration() { return kCalibration; }

static bool WriteText(const std::filesystem::path &path, const std::string &text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    return file.good();
}

bool WriteTwoPathsFolder(const std::string &root)
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::path(root) / "ZVK640";
    std::filesystem::create_directories(folder, error);
    return !error && WriteText(folder / "config.ini", kConfig) &&
           WriteText(folder / "default.odf", kObjective) &&
           WriteText(folder / "default.cal", kCalibration);
}

const std::vector<TwoPathsTrap> &TwoPathsTraps(int32_t path)
{
    static const std::vector<TwoPathsTrap> traps[2] = {
        {{"A_1", 0.5, -0.25, 1.0},
         {"A_2", 1.0, 1.0, 0.5},
         {"A_3", -1.0, 1.0, 1.0},
         {"A_4", -1.0, -1.0, 2.0},
         {"A_5", 1.0, -1.0, 4.0}},
        {{"B_1", -0.5, 0.25, 1.0},
         {"B_2", 0.0, 0.5, 0.25},
         {"B_3", 0.5, 1.0, 0.5},
         {"B_4", 1.0, 1.5, 1.0},
         {"B_5", 1.5, 2.0, 2.0}},
    };
    return traps[path];
}

// The first trap comes with the path. It reports the centre, but its mirrors stand at 0 V until
// they are sent there.
static int32_t MakeTrap(int32_t path, bool isFirst, const TwoPathsTrap &trap, int32_t *index)
{
    int32_t status = isFirst ? ZVK_Trap_Init(0, 0, 0, path, trap.name)
                             : ZVK_Trap_Add(0, path, index, trap.speed, trap.name, trap.x, trap.y,
                                            ZVK_UNIT_VOLT);
    int32_t isUp = 0;
    if (status == 0 && isFirst) status = ZVK_Trap_GetInitStatus(0, path, &isUp, index);
    double x = trap.x;
    double y = trap.y;
    if (status == 0) status = ZVK_Trap_SetPosition(0, path, *index, &x, &y, ZVK_UNIT_VOLT, 0);
    if (status == 0) status = ZVK_Trap_GotoSetPosition(0, path, *index);
    if (status == 0) status = ZVK_Trap_SetSpeed(0, path, *index, trap.speed, ZVK_UNIT_VOLT);
    return status;
}

TwoPaths BringUpTwoPaths(void (*nextSecond)())
{
    TwoPaths scene;
    scene.status = ZVK_CoordinateSystems_Init(0, 0, 0);
    if (scene.status != 0) return scene;
    for (int32_t path = 0; path < 2; ++path) {
        for (const TwoPathsTrap &trap : TwoPathsTraps(path)) {
            if (nextSecond != nullptr) nextSecond();
            int32_t index = 0;
            scene.status = MakeTrap(path, scene.index[path].empty(), trap, &index);
            if (scene.status != 0) return scene;
            scene.index[path].push_back(index);
        }
    }
    return scene;
}
