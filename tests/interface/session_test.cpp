// A whole session through the exported calls alone, on the ready instrument folders' settings and
// against the virtual card, the virtual laser and the virtual motor boards.

#include "close_modules.h"
#include "instrument_folder.h"
#include "start_session.h"

#include <quorvex-virtual/daq.h>
#include <quorvex-virtual/laser.h>
#include <quorvex-virtual/motor.h>
#include <quorvex-virtual/stage.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

static std::string Sample(const std::string &name)
{
    const std::ifstream file(std::string(std::getenv("ZVK_TEST_SOURCE_DIR")) + "/samples/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

static std::string Simulated() { return Sample("simulated/ZVK640/config.ini"); }

// The text without its nth line of that key.
static std::string Without(std::string text, const std::string &key, int nth = 1)
{
    size_t at = 0;
    for (int i = 0; i < nth; ++i)
        at = text.find("\n" + key + " ", at + 1);
    return text.erase(at, text.find('\n', at + 1) - at);
}

using Names = std::vector<std::string>;

class Session : public testing::Test
{
protected:
    void SetUp() override
    {
        ZVC_Reset();
        ZVC_SetPace(ZVC_PACE_FAST);
        Write(Simulated());
        folder.Files().Write("default.odf", Sample("simulated/ZVK640/default.odf"));
        folder.Files().Write("default.cal", Sample("simulated/ZVK640/default.cal"));
        folder.Files().Write("dkl.exe", Sample("virtual/ZVK640/dkl.exe"));
        std::filesystem::permissions(folder.Files().Path("dkl.exe"),
                                     std::filesystem::perms::owner_all);
    }

    void TearDown() override
    {
        CloseModules();
        EXPECT_EQ(ZVC_CountTasks(), 0) << "a task leaked";
    }

    void Write(const std::string &config) const { folder.Files().Write("config.ini", config); }
    // The virtual instrument's settings, with the port that this test's stage has.
    std::string Virtual() const
    {
        std::string text = Sample("virtual/ZVK640/config.ini");
        const std::string key = "\nPORTNUM = ";
        const size_t at = text.find(key) + key.size();
        return text.replace(at, text.find('\n', at) - at, std::to_string(stage.Port()));
    }
    std::string Log() const { return folder.Files().Read("log.ini"); }

    static int32_t GalvoStatus(int32_t path)
    {
        int32_t status = -9;
        EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, path, &status), 0);
        return status;
    }

    // The names of a path's traps, newest first.
    static std::vector<std::string> Traps(int32_t path)
    {
        int32_t count = 0;
        if (ZVK_Trap_GetNumberOfTraps(0, path, &count) != 0) return {};
        std::vector<std::vector<char>> room(static_cast<size_t>(count), std::vector<char>(257));
        std::vector<char *> labels;
        for (std::vector<char> &text : room)
            labels.push_back(text.data());
        std::vector<double> places(static_cast<size_t>(count));
        std::vector<double> rows(static_cast<size_t>(count));
        EXPECT_EQ(ZVK_Trap_GetArray(0, path, places.data(), rows.data(), nullptr, labels.data(),
                                    ZVK_UNIT_VOLT),
                  0);
        return {labels.begin(), labels.end()};
    }

    static int32_t Convert()
    {
        double x = 0.0;
        double y = 0.0;
        return ZVK_CoordinateSystems_Convert(0, 0, &x, &y, ZVK_TRAFODIR_VOLT_TO_PIXEL);
    }

    static void ExpectAllUp()
    {
        EXPECT_EQ(GalvoStatus(0), 1);
        EXPECT_EQ(GalvoStatus(1), 1);
        EXPECT_EQ(Traps(0), Names{"A_1"});
        EXPECT_EQ(Traps(1), Names{"B_1"});
        EXPECT_EQ(Convert(), 0);
    }

    static void ExpectAllDown()
    {
        EXPECT_EQ(GalvoStatus(0), 0);
        EXPECT_EQ(GalvoStatus(1), 0);
        EXPECT_EQ(Traps(0), Names{});
        EXPECT_EQ(Traps(1), Names{});
        EXPECT_EQ(Convert(), ZVK_COORDINATES_NOT_INITIALIZED);
    }

    static std::vector<int32_t> Captured()
    {
        int32_t count = 0;
        EXPECT_EQ(ZVK_error_GetWarnings(0, &count, nullptr), 0);
        std::vector<int32_t> codes(static_cast<size_t>(count) + 1);
        EXPECT_EQ(ZVK_error_GetWarnings(0, nullptr, codes.data()), 0);
        codes.pop_back();
        return codes;
    }

    // The value of ZVK_SERIAL_PORTS that offers all devices.
    std::string Ports() const
    {
        return laser.Offer(7) + ";" + motorA.Offer(8) + ";" + motorB.Offer(9);
    }

    InstrumentFolder folder;
    VirtualStage stage;
    VirtualLaser laser;
    VirtualMotor motorA{{.owner = 1, .position = 20000, .stopAt = 0}};
    VirtualMotor motorB{{.owner = 2, .position = 18000, .stopAt = 0}};
    ScopedVariable offered{"ZVK_SERIAL_PORTS", Ports().c_str()};
    // The detectors' helper program hears nobody's orders but this test's.
    ScopedVariable meeting{"XDG_RUNTIME_DIR", folder.Files().Path().c_str()};
    ScopedVariable helper{"ZVK_VIRTUAL_DETECTOR", (std::string(std::getenv("ZVK_TEST_BINARY_DIR")) +
                                                   "/bin/quorvex-virtual-detector")
                                                      .c_str()};
};

TEST_F(Session, InitBringsAllUpAndCloseTakesAllDown)
{
    ASSERT_EQ(StartSession(640), 0);
    ExpectAllUp();
    EXPECT_EQ(Captured(), std::vector<int32_t>{});
    EXPECT_EQ(Log(), "");
    EXPECT_EQ(ZVK_close(640), 0);
    ExpectAllDown();
}

TEST_F(Session, AnySessionValueNullNameAndFlagsBehaveTheSame)
{
    ASSERT_EQ(StartSession(0, nullptr), 0);
    ExpectAllUp();
    ASSERT_EQ(ZVK_close(0), 0);
    ASSERT_EQ(StartSession(0xFFFFFFFFU, "any name", 65535), 0);
    ExpectAllUp();
    ASSERT_EQ(ZVK_close(3), 0) << "another value means the same session";
    ExpectAllDown();
}

TEST_F(Session, SecondInitStartsTheListsOfBothPathsAfresh)
{
    ASSERT_EQ(StartSession(), 0);
    int32_t index = 0;
    ASSERT_EQ(ZVK_Trap_Add(0, 0, &index, 1.0, "more", 0.5, 0.5, ZVK_UNIT_VOLT), 0);
    ASSERT_EQ(ZVK_Trap_Add(0, 1, &index, 1.0, "other", 0.5, 0.5, ZVK_UNIT_VOLT), 0);
    ASSERT_EQ(Traps(0), (Names{"more", "A_1"}));
    ASSERT_EQ(Traps(1), (Names{"other", "B_1"}));
    EXPECT_EQ(StartSession(), 0);
    ExpectAllUp();
}

TEST_F(Session, ManySessionsFollowEachOther)
{
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(StartSession(), 0);
        ExpectAllUp();
        ASSERT_EQ(ZVK_close(1), 0);
        ExpectAllDown();
    }
}

TEST_F(Session, CloseWithoutACameraStopsThereEachTime)
{
    EXPECT_EQ(ZVK_close(1), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_close(1), ZVK_CAMERA_NOT_INITIALIZED);
    ExpectAllDown();
    ASSERT_EQ(StartSession(), 0);
    EXPECT_EQ(ZVK_close(1), 0);
    EXPECT_EQ(ZVK_close(1), ZVK_CAMERA_NOT_INITIALIZED);
    ExpectAllDown();
}

TEST_F(Session, WithoutACameraCloseLeavesTheLaterModulesUp)
{
    std::string none = Simulated();
    none.replace(none.find("MI = 1", none.find("[CAMERA]")), 6, "MI = 0");
    Write(none);
    ASSERT_EQ(StartSession(), 0);
    EXPECT_EQ(ZVK_close(1), ZVK_CAMERA_NOT_INITIALIZED);
    ExpectAllUp();
}

TEST_F(Session, TheCameraComesUpAfterTheCoordinates)
{
    folder.Files().Write("default.odf", "");
    Write(Without(Simulated(), "COLORMODE"));
    EXPECT_EQ(StartSession(), ZVK_CONFILE_NOT_READABLE) << "the objective's";
    folder.Files().Write("default.odf", Sample("simulated/ZVK640/default.odf"));
    EXPECT_EQ(StartSession(), ZVK_CONFILE_NOT_FOUND);
    ExpectAllUp();
    EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_CAMERA_NOT_INITIALIZED);
}

TEST_F(Session, OnTheCardSecondInitKeepsTheTasksAndCloseClearsThem)
{
    Write(Virtual());
    ASSERT_EQ(StartSession(), 0);
    ExpectAllUp();
    const int32_t tasks = ZVC_CountTasks();
    EXPECT_GE(tasks, 4) << "the laser's lines, two of beam power and the mirrors";
    const uint64_t made = ZVC_CountCalls("DAQmxCreateTask");
    ASSERT_EQ(StartSession(), 0);
    EXPECT_EQ(ZVC_CountTasks(), tasks);
    EXPECT_EQ(ZVC_CountCalls("DAQmxCreateTask"), made);
    ASSERT_EQ(ZVK_close(1), 0);
    EXPECT_EQ(ZVC_CountTasks(), 0);
    ExpectAllDown();
}

TEST_F(Session, TheLaserComesUpFirstAndGoesDownFirst)
{
    Write(Virtual());
    ASSERT_EQ(StartSession(), 0);
    int32_t status = 0;
    EXPECT_EQ(ZVK_Laser_GetInitStatus(0, &status), 0);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(ZVK_Laser_Interlock(0, 1), 0);
    EXPECT_TRUE(laser.State().outputOn);
    char line[128] = "";
    ASSERT_EQ(ZVC_GetLog(1, line, sizeof line), ZVC_OK);
    EXPECT_STREQ(line, "DAQmxCreateDOChan(t1, \"GALVODAQ/port0/line0:7\", \"\", 1) = 0");

    uint64_t first = ZVC_CountLog();
    ASSERT_EQ(ZVK_close(1), 0);
    EXPECT_FALSE(laser.State().outputOn);
    do {  // the mirrors are fed while the session is up
        ASSERT_EQ(ZVC_GetLog(first++, line, sizeof line), ZVC_OK);
    } while (std::string(line).starts_with("DAQmxWriteAnalogF64("));
    EXPECT_TRUE(std::string(line).starts_with("DAQmxReadDigitalScalarU32(t1")) << line;
}

// Whether a beam expander is up, and how.
static int32_t ExpanderStatus(int32_t path)
{
    int32_t status = -9;
    EXPECT_EQ(ZVK_BeamExpander_GetInitStatus(0, path, &status), 0);
    return status;
}

TEST_F(Session, TheBeamExpandersComeUpOnTheirBoardsAfterBeamPowerAndBeforeTheTraps)
{
    Write(Virtual());
    motorB.SetOwner(3);
    EXPECT_EQ(StartSession(), ZVK_BEAMEXPANDER_BAD_EEPROM_VALUE);
    double power = -1.0;
    EXPECT_EQ(ZVK_BeamPower_GetPower(0, 1, &power), 0) << "it is up";
    EXPECT_EQ(ExpanderStatus(0), 1);
    EXPECT_EQ(ExpanderStatus(1), 0);
    EXPECT_EQ(Traps(0), Names{});
    motorB.SetOwner(2);
    ASSERT_EQ(StartSession(), 0);
    ExpectAllUp();
    EXPECT_EQ(ExpanderStatus(1), 1);
    EXPECT_EQ(ZVK_BeamExpander_SetPosition(0, 1, 18500), 0);
    EXPECT_EQ(motorB.State().target, 18500);
    ASSERT_EQ(ZVK_close(1), 0);
    EXPECT_EQ(ExpanderStatus(0), 0);
    EXPECT_EQ(ExpanderStatus(1), 0);
}

TEST_F(Session, ABeamExpanderWithoutABoardDoesNotEndInit)
{
    Write(Virtual());
    const ScopedVariable alone("ZVK_SERIAL_PORTS", laser.Offer(7).c_str());
    ASSERT_EQ(StartSession(), 0);
    ExpectAllUp();
    EXPECT_EQ(ExpanderStatus(0), 0);
    EXPECT_EQ(Captured(), std::vector<int32_t>{}) << "its warning is dropped";
}

TEST_F(Session, ALaserThatIsNotFoundEndsInitAndOneThatDoesNotExistDoesNot)
{
    const std::string text = Virtual();
    laser.Port().HangUp();
    Write(text);
    EXPECT_EQ(StartSession(), ZVK_LASER_INIT_FAILED);
    ExpectAllDown();
    std::string none = text;
    none.replace(none.find("MI = 1", none.find("[LASER]")), 6, "MI = 0");
    Write(none);
    EXPECT_EQ(StartSession(), 0);
    ExpectAllUp();
    EXPECT_EQ(Captured(), std::vector<int32_t>{}) << "its warning is dropped";
    ASSERT_EQ(ZVK_close(1), 0);
    // The shutters' task stays with a laser that isn't up; the next start takes it over.
    Write(text);
    ASSERT_TRUE(laser.Port().Plug());
    const ScopedVariable again("ZVK_SERIAL_PORTS", Ports().c_str());
    EXPECT_EQ(StartSession(), 0);
    EXPECT_EQ(ZVK_close(1), 0);
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

TEST_F(Session, InitWithoutConfigurationEndsAtTheFirstModuleAndMayBeRepeated)
{
    Write("");
    EXPECT_EQ(StartSession(), ZVK_CONFILE_NOT_READABLE);
    ExpectAllDown();
    EXPECT_NE(Log().find("An error occurred reading section MAINDAQ, tag SIMULATE"),
              std::string::npos);
    Write(Simulated());
    EXPECT_EQ(StartSession(), 0);
    ExpectAllUp();
}

TEST_F(Session, CloseAfterAFailedInitStopsAtWhatIsNotUp)
{
    folder.Files().Write("default.odf", "");
    EXPECT_EQ(StartSession(), ZVK_CONFILE_NOT_READABLE);
    EXPECT_EQ(Traps(0), Names{"A_1"});
    EXPECT_EQ(Traps(1), Names{"B_1"}) << "what came up stays up";
    EXPECT_EQ(ZVK_close(1), ZVK_CAMERA_NOT_INITIALIZED) << "the camera didn't come up";
    EXPECT_EQ(Traps(0), Names{"A_1"}) << "and what comes after it stays up";
    EXPECT_EQ(ZVK_Trap_Shutdown(1), 0);
    EXPECT_EQ(GalvoStatus(0), 0);
    EXPECT_EQ(Traps(0), Names{});
}

TEST_F(Session, FirstFailureIsTheResultAndLaterModulesAreNotReached)
{
    ASSERT_EQ(ZVK_Galvo_Init(1, 0, 0), 0);  // so that only the traps read the limits
    Write(Without(Simulated(), "MINX", 2));
    folder.Files().Write("default.odf", "");
    EXPECT_EQ(StartSession(), ZVK_CONFILE_NOT_FOUND) << "path B's, not the objective's";
    EXPECT_EQ(Traps(0), Names{"A_1"}) << "nothing that came up goes down again";
    EXPECT_EQ(Traps(1), Names{});
    EXPECT_EQ(Log().find("COEFFNUM"), std::string::npos);
}

TEST_F(Session, OutputThatRunsAlreadyDoesNotEndInit)
{
    ASSERT_EQ(ZVK_Galvo_DaqInit(1, 1), 0);
    EXPECT_EQ(StartSession(), 0) << "a warning is dropped";
    ExpectAllUp();
}

TEST_F(Session, FailedCardEndsInitAndTheNextOneWorks)
{
    Write(Virtual());
    ZVC_FailCall("DAQmxCfgSampClkTiming", 1, -50103);  // the mirrors alone have a clock
    EXPECT_EQ(StartSession(), ZVK_GALVO_DAQ_FAILED);
    EXPECT_EQ(Traps(0), Names{});
    CloseModules();
    EXPECT_EQ(ZVC_CountTasks(), 0);
    EXPECT_EQ(StartSession(), 0);
    ExpectAllUp();
}

TEST_F(Session, CardWithoutUsbEndsInitWithTheDriversCode)
{
    Write(Virtual());
    ZVC_SetUsb(0);
    EXPECT_LT(StartSession(), -200000);
    EXPECT_EQ(Traps(0), Names{});
    ZVC_SetUsb(1);
    CloseModules();
    EXPECT_EQ(ZVC_CountTasks(), 0);
}

TEST_F(Session, CloseForgetsTheCapturedWarnings)
{
    ASSERT_EQ(StartSession(), 0);
    ASSERT_EQ(ZVK_error_CaptureWarning(1, ZVK_GALVO_CLAMPED), 0);
    EXPECT_EQ(ZVK_close(1), 0);
    EXPECT_EQ(Captured(), std::vector<int32_t>{});
    ASSERT_EQ(ZVK_error_CaptureWarning(1, ZVK_GALVO_SPEED_LIMIT), 0);
    EXPECT_EQ(Captured(), std::vector<int32_t>{ZVK_GALVO_SPEED_LIMIT});
    ASSERT_EQ(StartSession(), 0);
    EXPECT_EQ(ZVK_close(1), 0);
}

TEST_F(Session, CallsThatOnlyAnswerWorkWithoutInit)
{
    char driver[16] = "";
    char instrument[16] = "";
    EXPECT_EQ(ZVK_revision_query(0, driver, instrument), 0);
    EXPECT_STREQ(driver, "1.0.985M");
    EXPECT_STREQ(instrument, "Not Available");
    EXPECT_EQ(ZVK_reset(0), 0);
    EXPECT_EQ(ZVK_self_test(0, nullptr, nullptr), 0);
    EXPECT_EQ(ZVK_error_query(0, nullptr, nullptr), 0x3FFC0105);
    char message[4096] = "";
    EXPECT_EQ(ZVK_error_message(0, 0x3FFC0105, message), 0);
    EXPECT_STREQ(message, "The device does not support firmware revision queries");
    EXPECT_EQ(Log(), "");
}
