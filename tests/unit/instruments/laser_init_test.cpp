// The laser's start with each kind of laser, what it sends and makes, and where it ends.

#include "laser_fixture.h"

#include "quorvex/errors.h"

#include <cstdlib>

using LaserInit = LaserTest;

static const Calls kShutterTask = {
    "createTask(t1, \"\")",
    "createDOChan(t1, \"Dev1/port0/line0:7\", \"\", 1)",
    "startTask(t1)",
};

// Both shutters pulsed closed, path A first, from a word of 0.
static const Calls kShuttersClosed = {
    "readDigitalScalarU32(t1, 10)",        "writeDigitalScalarU32(t1, 0, 10, 4)",
    "writeDigitalScalarU32(t1, 0, 10, 0)", "readDigitalScalarU32(t1, 10)",
    "writeDigitalScalarU32(t1, 0, 10, 2)", "writeDigitalScalarU32(t1, 0, 10, 0)",
};

static const Calls kInterlockOff = {
    "readDigitalScalarU32(t1, 10)",
    "writeDigitalScalarU32(t1, 0, 10, 0)",
};

static const Calls kLevelTasks = {
    "createTask(t2, \"\")",
    "createDOChan(t2, \"Dev1/port1/line0:7\", \"\", 1)",
    "startTask(t2)",
    "createTask(t3, \"\")",
    "createAIVoltageChan(t3, \"/Dev1/ai7\", \"\", 10083, -10, 10, 10348, null)",
    "startTask(t3)",
    "stopTask(t3)",
};

static Calls Join(std::initializer_list<Calls> parts)
{
    Calls all;
    for (const Calls &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

TEST_F(LaserInit, ASerialLaserComesUpDarkWithTheDriveAtItsMaximum)
{
    Write({});
    EXPECT_EQ(ZVK_Laser_Init(640, 1, 1), 0);
    EXPECT_EQ(
        ports.Calls(),
        (Calls{"open(7, 9600)", "setTimeout(7, 2)", "flushInput(7)", "flushOutput(7)",
               "write(7, \"CLT 0\\r\\n\")", "flushInput(7)", "flushOutput(7)",
               "write(7, \"?\\r\\n\")", "readLine(7, 6, 10) = \"?\\r\"",
               // interlock off
               "flushInput(7)", "flushOutput(7)", "write(7, \"CDO 0\\r\\n\")",
               "readLine(7, 6, 10) = \"OK\\r\"",
               // the drive
               "write(7, \"COM 1\\r\\n\")", "readLine(7, 6, 10) = \"OK\\r\"", "flushInput(7)",
               "flushOutput(7)", "write(7, \"APC 3.500000\\r\\n\")", "readLine(7, 6, 10) = \"\""}));
    EXPECT_EQ(card.Calls(), Join({kShutterTask, kShuttersClosed, kInterlockOff, kShuttersClosed}));
    EXPECT_EQ(clock.Delays(), (std::vector<double>(4, 0.1)));
    EXPECT_EQ(g_laser.initialised, 1);
    EXPECT_EQ(g_laser.comPort, 7);
    EXPECT_EQ(g_laser.mode, 0);
    EXPECT_EQ(g_laser.driveSetpoint, 3.5);
    EXPECT_EQ(g_laser.daqSimulated, 0);
    EXPECT_EQ(Log(), "");
}

TEST_F(LaserInit, ASerialLaserInConstantCurrentIsToldSoAndItsMaximum)
{
    Write({.mode = "CC"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    const Calls wire = ports.Wire();
    EXPECT_EQ((Calls{wire.end() - 4, wire.end()}),
              (Calls{"write(7, \"COM 0\\r\\n\")", "readLine(7, 6, 10) = \"OK\\r\"",
                     "write(7, \"ACC 6.500000\\r\\n\")", "readLine(7, 6, 10) = \"\""}));
    EXPECT_EQ(g_laser.mode, 1);
    EXPECT_EQ(g_laser.driveSetpoint, 0.0) << "kept for power alone";
}

TEST_F(LaserInit, LevelsComeUpDarkAtTheHighestLevel)
{
    Write({.backend = "4"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(card.Calls(),
              Join({kShutterTask,
                    kShuttersClosed,
                    kLevelTasks,
                    kInterlockOff,
                    {"readDigitalScalarU32(t2, 10)", "writeDigitalScalarU32(t2, 0, 10, 8)"},
                    kShuttersClosed}));
    EXPECT_EQ(ports.Calls(), Calls{});
    EXPECT_EQ(g_laser.initialised, 1);
    EXPECT_EQ(g_laser.driveSetpoint, 3.5);
    EXPECT_STREQ(g_laser.interlockChannel, "/Dev1/ai7");
}

TEST_F(LaserInit, BothBackEndsMeanTheSerialOne)
{
    Write({.backend = "5"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(card.OpenTasks(), 1);
    EXPECT_EQ(g_laser.comPort, 7);
}

TEST_F(LaserInit, ASimulatedLaserWithoutACardTouchesNothing)
{
    Write({.cardSimulate = "1", .simulate = "1"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Calls{});
    EXPECT_EQ(ports.Calls(), Calls{});
    EXPECT_EQ(g_laser.initialised, 1);
    EXPECT_EQ(g_laser.daqSimulated, 1);
}

TEST_F(LaserInit, ASimulatedLaserWithACardClosesTheShutters)
{
    Write({.simulate = "1"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Join({kShutterTask, kShuttersClosed}));
    EXPECT_EQ(ports.Calls(), Calls{});
}

TEST_F(LaserInit, WithoutALaserTheShuttersAreClosedAllTheSame)
{
    Write({.installed = "0", .simulate = "1"});
    g_laser.initialised = 2;
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_NOT_FOUND);
    EXPECT_EQ(card.Calls(), Join({kShutterTask, kShuttersClosed}));
    EXPECT_EQ(g_laser.initialised, 0);
    EXPECT_EQ(ZVK_Laser_SetShutter(0, 1, 1), 0) << "shutters need no laser";
    EXPECT_EQ(card.Calls().back(), "writeDigitalScalarU32(t1, 0, 10, 0)");
}

TEST_F(LaserInit, SimulateAboveOneTakesTheHardwaresWayWhileSetCallsActSimulated)
{
    Write({.simulate = "2"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(ports.Wire(), (Calls{"open(7, 9600)", "write(7, \"CLT 0\\r\\n\")",
                                   "write(7, \"?\\r\\n\")", "readLine(7, 6, 10) = \"?\\r\"",
                                   "write(7, \"COM 1\\r\\n\")", "readLine(7, 6, 10) = \"OK\\r\""}))
        << "neither CDO nor APC";
    EXPECT_EQ(g_laser.driveSetpoint, 3.5);
    int32_t status = 0;
    EXPECT_EQ(ZVK_Laser_GetInitStatus(0, &status), 0);
    EXPECT_EQ(status, 3);
}

TEST_F(LaserInit, SimulateAboveOneWithLevelsMakesTheirTasksAndMovesNoLevelAndNoInterlock)
{
    Write({.simulate = "2", .backend = "4"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Join({kShutterTask, kShuttersClosed, kLevelTasks, kShuttersClosed}));
    EXPECT_EQ(g_laser.driveSetpoint, 3.0) << "taken as a power";
    ForgetCalls();
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    EXPECT_EQ(card.Calls(), Calls{});
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(card.Calls(), Join({kShuttersClosed, {"stopTask(t1)", "clearTask(t1)"}}));
    EXPECT_EQ(card.OpenTasks(), 2) << "it goes down as a simulated one";
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
        EXPECT_EQ(card.OpenTasks(), 3) << "the next start replaces what stayed";
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
    EXPECT_EQ(card.Misuses(), 0);
}

TEST_F(LaserInit, SimulateAboveOneOverThePortGoesDownAsASimulatedOneAndKeepsThePort)
{
    BringUp({.simulate = "2"});
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(ports.Calls(), Calls{}) << "neither CDO nor a close";
    EXPECT_EQ(card.Calls(), Join({kShuttersClosed, {"stopTask(t1)", "clearTask(t1)"}}));
    EXPECT_EQ(g_laser.initialised, 0);
    EXPECT_EQ(ports.OpenPorts(), 1);
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(ports.OpenPorts(), 1) << "the same one";
}

TEST_F(LaserInit, OnlySimulateOneIsASimulatedLaserAndOnlySimulateZeroIsACard)
{
    Write({.simulate = "-1"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(g_laser.comPort, 7) << "the hardware's way";
    for (const char *noCard : {"2", "-1"}) {
        g_laser = {};
        g_laser.daqSimulated = 0;
        ForgetCalls();
        Write({.cardSimulate = noCard, .simulate = "1"});
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
        EXPECT_EQ(g_laser.daqSimulated, 1);
        EXPECT_EQ(card.Calls(), Calls{});
    }
}

TEST_F(LaserInit, AnInstrumentWithOnePathComesUpWithItsOneShutterClosed)
{
    const Calls closedA = {"readDigitalScalarU32(t1, 10)", "writeDigitalScalarU32(t1, 0, 10, 4)",
                           "writeDigitalScalarU32(t1, 0, 10, 0)"};
    Write({.trapPaths = "1"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Join({kShutterTask, closedA, kInterlockOff, closedA}));
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    ForgetCalls();
    Write({.backend = "4", .trapPaths = "1"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    const Calls calls = card.Calls();
    EXPECT_EQ((Calls{calls.end() - 3, calls.end()}),
              (Calls{"readDigitalScalarU32(t2, 10)", "writeDigitalScalarU32(t2, 0, 10, 4)",
                     "writeDigitalScalarU32(t2, 0, 10, 0)"}));
}

TEST_F(LaserInit, AnUnknownBackEndGivesZeroAndStaysDown)
{
    Write({.backend = "2"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(g_laser.initialised, 0);
}

TEST_F(LaserInit, ASecondInitAnswers400BehindTheFirstKeyAlone)
{
    BringUpSerial();
    const LaserConfig config;
    folder.Write("config.ini", "[MAINDAQ]\nSIMULATE = 1\n");
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_ALREADY_INITIALIZED);
    EXPECT_EQ(card.Calls(), Calls{});
    EXPECT_EQ(ports.Calls(), Calls{});
    EXPECT_EQ(g_laser.daqSimulated, 0);
    folder.Write("config.ini", config.Text("MAINDAQ SIMULATE"));
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << "the key stands before the test";
}

TEST_F(LaserInit, EachMissingKeyIsTheStatusAndNothingComesUp)
{
    const LaserConfig levels = {.backend = "4"};
    for (const char *key : {"MAINDAQ SIMULATE", "MI", "SIMULATE", "BACKEND", "TRAPPATHS",
                            "MAXCURRENT", "MAXPOWER", "MINPOWER", "ALIGNPOWER", "LASERMODE"})
    {
        g_laser = {};
        ForgetCalls();
        folder.Write("config.ini", levels.Text(key));
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_EQ(g_laser.initialised, 0);
        EXPECT_EQ(card.Calls(), Calls{}) << key;
        EXPECT_EQ(g_laser.daqSimulated, 1);
    }
    folder.Write("config.ini", levels.Text("DAQNAME"));
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(card.Calls(), Calls{});
    EXPECT_EQ(g_laser.daqSimulated, 0) << "the card counts as in use before its name is read";
    folder.Write("config.ini", levels.Text("DAQLASERAI"));
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(card.OpenTasks(), 2) << "shutters and levels are there";
    folder.Remove("config.ini");
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_CONFILE_NOT_READABLE);
}

TEST_F(LaserInit, ASerialOrSimulatedLaserNeedsNoInterlockInput)
{
    for (const LaserConfig &config : {LaserConfig{}, LaserConfig{.simulate = "1"}}) {
        g_laser = {};
        folder.Write("config.ini", config.Text("DAQLASERAI"));
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    }
}

TEST_F(LaserInit, KeysAreReadInTheirOrder)
{
    // Each is missing together with all that come behind it: the log tells the first one.
    const std::pair<const char *, const char *> steps[] = {
        {"", "MI"},
        {"MI=1\n", "SIMULATE"},
        {"SIMULATE=0\n", "BACKEND"},
        {"BACKEND=4\n", "TRAPPATHS"},
        {"TRAPPATHS=2\n", "MAXCURRENT"},
        {"MAXCURRENT=1\n", "MAXPOWER"},
        {"MAXPOWER=2\n", "MINPOWER"},
        {"MINPOWER=3\n", "ALIGNPOWER"},
        {"ALIGNPOWER=4\n", "LASERMODE"},
        {"LASERMODE=CP\n", "DAQNAME"},
    };
    std::string text = "[MAINDAQ]\nSIMULATE=0\n[LASER]\n";
    for (const auto &[line, missing] : steps) {
        text += line;
        folder.Remove("log.ini");
        folder.Write("config.ini", text);
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << missing;
        EXPECT_NE(Log().find(missing), std::string::npos) << missing << " in " << Log();
    }
    EXPECT_EQ(g_laser.alignPower, 4.0) << "keys before one that fails are kept";
}

TEST_F(LaserInit, KeysReachTheStateWithTheirWidths)
{
    Write({.cardSimulate = "1",
           .simulate = "1",
           .backend = "7",
           .trapPaths = "65537",
           .maxCurrent = "0.1",
           .mode = "cc"});
    g_laser.driveSetpoint = 2.0;
    g_laser.simulatedInterlock = 1;
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(g_laser.trapPaths, 1) << "the low 16 bits";
    EXPECT_EQ(g_laser.maxCurrent, static_cast<double>(0.1F)) << "a float, widened";
    EXPECT_EQ(g_laser.mode, 0) << "only CC is constant current";
    EXPECT_EQ(g_laser.driveSetpoint, 0.0);
    EXPECT_EQ(g_laser.simulatedInterlock, 0);
}

TEST_F(LaserInit, ARealLaserWithoutACardIsRefused)
{
    for (const char *backend : {"1", "4"}) {
        Write({.cardSimulate = "1", .backend = backend, .mode = "CC"});
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_NO_DAQ) << "before the mode is looked at";
        EXPECT_EQ(ports.Calls(), Calls{});
        EXPECT_EQ(g_laser.initialised, 0);
    }
}

TEST_F(LaserInit, LevelsHaveNoConstantCurrent)
{
    folder.Write("config.ini", LaserConfig{.backend = "4", .mode = "CC"}.Text("DAQLASERAI"));
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_WRONG_MODE);
    EXPECT_EQ(card.OpenTasks(), 1) << "no task for the levels";
    EXPECT_EQ(g_laser.initialised, 0);
}

TEST_F(LaserInit, AMaximumBelowZeroIsTheStatusOfALaserThatIsUp)
{
    Write({.maxPower = "-1"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_BAD_CURRENT);
    EXPECT_EQ(g_laser.initialised, 1);
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(ports.OpenPorts(), 0);
    Write({.backend = "4", .maxPower = "-1"});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << "a level's status is dropped";
}

TEST_F(LaserInit, EveryPortIsAskedUntilOneAnswersAndTheOthersStayOpen)
{
    ports.OfferPorts({"USB Serial Port (COM3)", "Printer (COM4)", "USB Serial Port (COM5)",
                      "USB Serial Port (COM7)", "USB Serial Port (COM8)"});
    ports.Answer(3, "?\r\n", "");
    ports.Answer(5, "?\r\n", "what?\r\n");
    Write({});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    const Calls wire = ports.Wire();
    EXPECT_EQ((Calls{wire.begin(), wire.begin() + 12}),
              (Calls{"open(3, 9600)", "write(3, \"CLT 0\\r\\n\")", "write(3, \"?\\r\\n\")",
                     "readLine(3, 6, 10) = \"\"", "open(5, 9600)", "write(5, \"CLT 0\\r\\n\")",
                     "write(5, \"?\\r\\n\")", "readLine(5, 6, 10) = \"what?\\r\"", "open(7, 9600)",
                     "write(7, \"CLT 0\\r\\n\")", "write(7, \"?\\r\\n\")",
                     "readLine(7, 6, 10) = \"?\\r\""}));
    EXPECT_EQ(ports.OpenPorts(), 3) << "8 was not tried";
    EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    EXPECT_EQ(ports.OpenPorts(), 2);
}

TEST_F(LaserInit, OnlyTheFirstFourPortsAreTried)
{
    ports.OfferPorts({"USB Serial Port (COM1)", "USB Serial Port (COM2)", "USB Serial Port (COM3)",
                      "USB Serial Port (COM4)", "USB Serial Port (COM7)"});
    Write({});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_INIT_FAILED);
    EXPECT_EQ(ports.OpenPorts(), 4);
    EXPECT_EQ(g_laser.initialised, 0);
    EXPECT_EQ(g_laser.comPort, 0);
    EXPECT_NE(Log().find("\tCould not establish serial communication with Laser.\n"),
              std::string::npos);
}

TEST_F(LaserInit, WithoutAPortThereIsNoLaser)
{
    ports.OfferPorts({});
    Write({});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_INIT_FAILED);
    EXPECT_EQ(card.Calls(), Join({kShutterTask, kShuttersClosed}));
}

TEST_F(LaserInit, APortThatCannotBeOpenedIsLoggedWithTheNumberInUseBefore)
{
    ports.OfferPorts({"USB Serial Port (COM3)", "USB Serial Port (COM7)"});
    ports.FailCall("open", 1);
    g_laser.comPort = 42;
    Write({});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_NE(Log().find("\tCOM Port 42 failed to open.\nError Code: -1\n"), std::string::npos)
        << Log();
    EXPECT_EQ(g_laser.comPort, 7);
}

TEST_F(LaserInit, EachFailedCardCallEndsItAndIsLoggedButForTheDroppedOnes)
{
    struct Row
    {
        const char *entry;
        int64_t nth;
        int32_t status;
    };
    constexpr Row rows[] = {
        {"createTask", 1, ZVK_LASER_DAQ_FAILED},   {"createDOChan", 1, ZVK_LASER_DAQ_FAILED},
        {"startTask", 1, ZVK_LASER_DAQ_FAILED},    {"createTask", 2, ZVK_LASER_DAQ_FAILED},
        {"createDOChan", 2, ZVK_LASER_DAQ_FAILED}, {"startTask", 2, ZVK_LASER_DAQ_FAILED},
        {"createTask", 3, ZVK_LASER_DAQ_FAILED},   {"createAIVoltageChan", 1, 0},
        {"startTask", 3, ZVK_LASER_DAQ_FAILED},    {"stopTask", 1, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.entry) + std::to_string(row.nth));
        g_laser = {};
        folder.Remove("log.ini");
        Write({.backend = "4"});
        card.SetErrorText("the card says no");
        card.FailCall(row.entry, row.nth);
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), row.status);
        EXPECT_TRUE(card.Failed());
        EXPECT_EQ(Log().find("\tthe card says no\n") != std::string::npos, row.status != 0);
        EXPECT_EQ(g_laser.initialised, row.status == 0 ? 1 : 0);

        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), row.status == 0 ? ZVK_LASER_ALREADY_INITIALIZED : 0);
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
        EXPECT_EQ(card.OpenTasks(), 0) << "what the failed start left";
        EXPECT_EQ(card.Misuses(), 0);
    }
}

TEST_F(LaserInit, NoFailureOfALineOrOfTheWireKeepsALaserFromComingUp)
{
    for (const char *backend : {"1", "4"}) {
        for (const char *entry : {"readDigitalScalarU32", "writeDigitalScalarU32"}) {
            for (int64_t nth = 1; nth <= 8; ++nth) {
                Write({.backend = backend});
                card.FailCall(entry, nth);
                EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << backend << entry << nth;
                card.FailCall("", 0);
                EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
            }
        }
    }
    for (int64_t nth = 10; nth <= 19; ++nth) {  // behind the search
        Write({});
        ports.FailAt(nth);
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << nth;
        EXPECT_TRUE(ports.Failed());
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}

TEST_F(LaserInit, WhatTheSearchDoesBesidesAskingMayFail)
{
    const std::pair<const char *, int64_t> steps[] = {{"setTimeout", 1},  {"flushInput", 1},
                                                      {"flushOutput", 1}, {"write", 1},
                                                      {"flushInput", 2},  {"flushOutput", 2}};
    for (const auto &[entry, nth] : steps) {
        Write({});
        ports.FailCall(entry, nth);
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << entry << nth;
        EXPECT_TRUE(ports.Failed());
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
    }
}

TEST_F(LaserInit, AFailureOfTheSearchMeansNoLaserAndALaterInitFindsIt)
{
    const std::pair<const char *, int64_t> steps[] = {{"open", 1}, {"write", 2}, {"readLine", 1}};
    for (const auto &[entry, nth] : steps) {
        Write({});
        ports.FailCall(entry, nth);
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), ZVK_LASER_INIT_FAILED) << entry;
        EXPECT_TRUE(ports.Failed());
        EXPECT_EQ(g_laser.initialised, 0);
        EXPECT_EQ(ZVK_Laser_Shutdown(0), ZVK_LASER_NOT_FOUND);
        EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0) << entry;
        EXPECT_EQ(ZVK_Laser_Shutdown(0), 0);
        EXPECT_EQ(ports.OpenPorts(), 0);
        EXPECT_EQ(card.OpenTasks(), 0);
    }
}

TEST_F(LaserInit, LongNamesAreCutOffAndReachNoOtherMemory)
{
    const std::string longName(255, 'x');
    Write({.cardName = longName, .backend = "4", .input = longName});
    EXPECT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    EXPECT_EQ(std::string(g_laser.interlockChannel), "/" + std::string(254, 'x'));
    EXPECT_EQ(card.Calls()[1], "createDOChan(t1, \"" + longName + "/port0/line0:7\", \"\", 1)");
}
