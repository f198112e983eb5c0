// Beam power coming up and going down: keys, task, table, and what each refusal leaves.

#include "beampower_fixture.h"

#include <cmath>

using BeamPowerInit = BeamPowerTest;

static Calls StartCalls(const std::string &task, const std::string &channel)
{
    return {"createTask(" + task + ", \"\")",
            "createAOVoltageChan(" + task + ", \"" + channel + "\", \"\", -10, 10, 10348, \"\")",
            "startTask(" + task + ")", "writeAnalogScalarF64(" + task + ", 1, 10, 0)"};
}

TEST_F(BeamPowerInit, EachPathHasATaskOverItsOutputAndStartsAtPowerZero)
{
    WriteConfig();
    EXPECT_EQ(ZVK_BeamPower_Init(640, 1, 1, 0), 0);
    EXPECT_EQ(card.Calls(), StartCalls("t1", "Dev2/ao0"));
    card.ForgetCalls();
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), 0);
    EXPECT_EQ(card.Calls(), StartCalls("t2", "Dev2/ao1"));
    EXPECT_EQ(g_beamPower[0].initialized, 1);
    EXPECT_EQ(g_beamPower[0].scale, 4.0F);
    EXPECT_EQ(g_beamPower[0].hasCalibration, 0);
    EXPECT_EQ(g_beamPower[0].numPoints, 0);
    EXPECT_EQ(Power(0), 0.0);
    EXPECT_EQ(Power(1), 0.0);
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamPowerInit, ASecondInitGivesTheBeamExpandersWarningAndReadsNothing)
{
    BringUp(0);
    folder.Write("config.ini", "");
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_ALREADY_INITIALIZED);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_TRUE(Captured().empty());
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), ZVK_CONFILE_NOT_READABLE) << "the other path isn't";
}

TEST_F(BeamPowerInit, EachMissingKeyIsTheStatusAndTheKeysBeforeItCount)
{
    for (const char *key : {"MI", "BACKEND", "SIMULATE", "SCALE"}) {
        ResetBeamPower();
        WriteConfigWithout("BEAMPOWER 1", key);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_EQ(g_beamPower[1].initialized, 0);
        EXPECT_EQ(g_beamPower[1].mi, std::string(key) == "MI" ? 0 : 1);
        EXPECT_EQ(g_beamPower[1].backend, g_beamPower[1].mi == 1 && *key != 'B' ? 1 : 0);
    }
    EXPECT_TRUE(card.Calls().empty());
}

TEST_F(BeamPowerInit, AllFourKeysAreReadBeforeTheyAreLookedAt)
{
    WriteConfig({0, 0, 1});
    std::string text = folder.Read("config.ini");
    text.erase(text.find("SCALE"), 9);
    folder.Write("config.ini", text);
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_CONFILE_NOT_FOUND) << "SCALE before MI 0";
}

TEST_F(BeamPowerInit, NoAdjusterGivesTheBeamExpandersWarningAlsoWhenSimulated)
{
    WriteConfig({0, 0, 1});
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(g_beamPower[0].initialized, 0);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_TRUE(Captured().empty()) << "returned, not captured";
}

TEST_F(BeamPowerInit, SimulatedComesUpAtPowerZeroWithoutACardWhateverTheBackEnd)
{
    WriteConfig({1, 0, 1});
    g_beamPower[0].setVal = 0.75;
    folder.Write("qdmr.bin", "[CALVALUE A]\r\nNUM=-1\r\n");
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(Power(0), 0.0);
    EXPECT_EQ(g_beamPower[0].initialized, 1);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_EQ(g_beamPower[0].hasCalibration, 0) << "no table is read";
}

TEST_F(BeamPowerInit, AnEvenBackEndIsAWarningBeforeTheCardIsTouched)
{
    WriteConfig({1, 2, 0});
    folder.Write("qdmr.bin", "[CALVALUE A]\r\nNUM=-1\r\n");
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_BEAMPOWER_NOT_FOUND);
    EXPECT_EQ(g_beamPower[0].initialized, 0);
    EXPECT_TRUE(card.Calls().empty());
}

TEST_F(BeamPowerInit, EachMissingKeyOfTheCardIsTheStatus)
{
    for (const char *key : {"DAQNAME", "BACKEND"}) {
        WriteConfigWithout("SUBDAQ", key);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_EQ(g_beamPower[0].initialized, 0);
    }
    EXPECT_TRUE(card.Calls().empty());
}

TEST_F(BeamPowerInit, KeysAndTableAreReadInTheirOrder)
{
    // Each is missing together with all that come behind it: the log tells the first one.
    const std::pair<const char *, const char *> steps[] = {
        {"[BEAMPOWER 0]\r\n", "MI"},
        {"MI=1\r\n", "BACKEND"},
        {"BACKEND=1\r\n", "SIMULATE"},
        {"SIMULATE=0\r\n", "SCALE"},
        {"SCALE=4\r\n", "DAQNAME"},
        {"", "DAQNAME"},
        {"[SUBDAQ]\r\nDAQNAME=\"Dev2\"\r\n", "BACKEND"},
    };
    std::string text;
    for (const auto &[line, missing] : steps) {
        text += line;
        folder.Remove("log.ini");
        folder.Write("config.ini", text);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_CONFILE_NOT_FOUND) << missing;
        EXPECT_NE(Log().find(missing), std::string::npos) << missing << " in " << Log();
    }
    EXPECT_TRUE(card.Calls().empty());
    WriteConfig();
    text = "[CALVALUE A]\r\nNUM=2\r\n";
    for (const char *missing : {"V1", "P1", "V2", "P2"}) {
        folder.Remove("log.ini");
        folder.Write("qdmr.bin", text);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_CONFILE_NOT_FOUND) << missing;
        EXPECT_NE(Log().find(missing), std::string::npos) << missing << " in " << Log();
        text += std::string(missing) + "=1\r\n";
    }
}

TEST_F(BeamPowerInit, ATaskThatIsThereIsTakenOverWithoutALookAtTheKeysOfTheCard)
{
    BringUp(0);
    WriteConfigWithout("SUBDAQ", "DAQNAME");
    EXPECT_EQ(ZVK_BeamPower_DaqInit(0, 0), 0);
    g_beamPower[0].initialized = 0;
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Calls{"writeAnalogScalarF64(t1, 1, 10, 0)"});
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), ZVK_CONFILE_NOT_FOUND) << "the other path has none";
}

TEST_F(BeamPowerInit, ACardWithAnEvenBackEndHasNoTaskAndInitSucceedsAllTheSame)
{
    WriteConfig({}, {}, 2);
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Calls{"writeAnalogScalarF64(null, 1, 10, 0)"});
    EXPECT_EQ(g_beamPowerDaq[0].daqInitialized, 0);
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), ZVK_BEAMPOWER_WRITE_FAILED);
    EXPECT_EQ(Power(0), 0.0);
    EXPECT_EQ(ZVK_BeamPower_DaqInit(0, 0), 0) << "and it is read anew each time";
    WriteConfig();
    EXPECT_EQ(ZVK_BeamPower_DaqInit(0, 0), 0);
    EXPECT_EQ(g_beamPowerDaq[0].daqInitialized, 1);
}

TEST_F(BeamPowerInit, EachRefusedCallOfTheTaskIsLoggedAndTheTaskIsGivenBack)
{
    WriteConfig();
    card.SetErrorText("the card's own words");
    for (const char *call : {"createTask", "createAOVoltageChan", "startTask"}) {
        folder.Remove("log.ini");
        card.FailCall(call, 1);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_BEAMPOWER_DAQ_FAILED) << call;
        EXPECT_NE(Log().find("\tthe card's own words\n"), std::string::npos) << call;
        EXPECT_EQ(card.OpenTasks(), 0) << call;
        EXPECT_EQ(g_beamPower[0].initialized, 0);
        EXPECT_EQ(g_beamPowerDaq[0].daqInitialized, 0);
        EXPECT_EQ(Log().find("qdmr.bin"), std::string::npos) << "the table isn't reached";
    }
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
}

TEST_F(BeamPowerInit, AWarningOfTheCardIsNoFailure)
{
    WriteConfig();
    for (const char *call : {"createTask", "createAOVoltageChan", "startTask"}) {
        ResetBeamPower();
        card.FailCall(call, 1, 200010);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0) << call;
    }
}

TEST_F(BeamPowerInit, TheFirstSetToZeroIsNotLookedAt)
{
    WriteConfig();
    card.FailCall("writeAnalogScalarF64", 1);
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_TRUE(card.Failed());
    EXPECT_EQ(g_beamPower[0].initialized, 1);
}

TEST_F(BeamPowerInit, TheTableOfEachPathIsItsOwn)
{
    WriteConfig();
    WriteTable({{"0", "0"}, {"2", "10"}}, {{"1", "2"}, {"3", "30"}, {"4", "40"}});
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), 0);
    EXPECT_EQ(g_beamPower[0].hasCalibration, 1);
    ASSERT_EQ(g_beamPower[0].numPoints, 2);
    EXPECT_EQ(g_beamPower[0].calibration[1].V, 2.0);
    EXPECT_EQ(g_beamPower[0].calibration[1].P, 10.0);
    ASSERT_EQ(g_beamPower[1].numPoints, 3);
    EXPECT_EQ(g_beamPower[1].calibration[2].P, 40.0);
    EXPECT_EQ(card.Blocks(), (std::vector<std::vector<double>>{{0.0}, {1.0}}))
        << "power 0 by the table: below its first power the first V";
}

TEST_F(BeamPowerInit, ATableWithoutEntriesLeavesScaleInForce)
{
    WriteConfig();
    folder.Write("qdmr.bin", "[CALVALUE A]\r\nNUM=0\r\n");
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(g_beamPower[0].hasCalibration, 0);
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), 0);
    EXPECT_EQ(card.Blocks().back(), std::vector<double>{2.0});
}

TEST_F(BeamPowerInit, ATableThatIsNotWholeEndsInitWithTheStatusOfTheRead)
{
    const struct
    {
        const char *table;
        int32_t status;
    } rows[] = {
        {"[CALVALUE A]\r\nNUM=-1\r\nV1=1\r\nP1=1\r\n", ZVK_CONFILE_LOG_FAILED},
        {"[CALVALUE A]\r\nV1=1\r\nP1=1\r\n", ZVK_CONFILE_NOT_FOUND},
        {"[CALVALUE B]\r\nNUM=1\r\nV1=1\r\nP1=1\r\n", ZVK_CONFILE_NOT_FOUND},
        {"[CALVALUE A]\r\nNUM=many\r\n", ZVK_CONFILE_NOT_FOUND},
        {"[CALVALUE A]\r\nNUM=2\r\nV1=1\r\nP1=1\r\nV2=2\r\n", ZVK_CONFILE_NOT_FOUND},
        {"[CALVALUE A]\r\nNUM=2\r\nV1=1\r\nP1=1\r\nP2=2\r\n", ZVK_CONFILE_NOT_FOUND},
        {"[CALVALUE A]\r\nNUM=2147483647\r\nV1=1\r\nP1=1\r\n", ZVK_CONFILE_NOT_FOUND},
    };
    WriteConfig();
    for (const auto &row : rows) {
        folder.Write("qdmr.bin", row.table);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), row.status) << row.table;
        EXPECT_EQ(g_beamPower[0].initialized, 0);
        EXPECT_EQ(g_beamPower[0].hasCalibration, 0);
        EXPECT_EQ(card.OpenTasks(), 1) << "the task is kept for the next Init";
    }
    card.ForgetCalls();
    folder.Remove("qdmr.bin");
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Calls{"writeAnalogScalarF64(t1, 1, 10, 0)"}) << "which takes it over";
}

TEST_F(BeamPowerInit, AnEmptyTableFileIsAsGoodAsNone)
{
    WriteConfig();
    folder.Write("qdmr.bin", "");
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(g_beamPower[0].hasCalibration, 0);
}

TEST_F(BeamPowerInit, InitStatusTellsHardwareOrSimulatedAndWritesNothingBefore)
{
    int32_t status = 77;
    EXPECT_EQ(ZVK_BeamPower_GetInitStatus(0, 0, &status), 0);
    EXPECT_EQ(status, 77);
    BringUp(0);
    EXPECT_EQ(ZVK_BeamPower_GetInitStatus(0, 0, &status), 0);
    EXPECT_EQ(status, 1);
    BringUp(1, {1, 1, 1});
    EXPECT_EQ(g_beamPower[1].initialized, 1);
    EXPECT_EQ(ZVK_BeamPower_GetInitStatus(0, 1, &status), 0);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(g_beamPower[1].initialized, 2);
    EXPECT_EQ(ZVK_BeamPower_GetInitStatus(0, 1, nullptr), 0);
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_ALREADY_INITIALIZED);
}

TEST_F(BeamPowerInit, APathThatIsNoneReachesNoMemory)
{
    WriteConfig();
    double power = 5.0;
    int32_t status = 5;
    for (const int32_t path : {-1, 2, 1000000, -2147483647}) {
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, path), ZVK_BEAMPOWER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, path, 99.0), ZVK_BEAMPOWER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamPower_GetPower(0, path, &power), ZVK_BEAMPOWER_BAD_PATH);
        EXPECT_EQ(ZVK_BeamPower_GetInitStatus(0, path, &status), ZVK_BEAMPOWER_BAD_PATH);
    }
    EXPECT_EQ(power, 5.0);
    EXPECT_EQ(status, 5);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_TRUE(Captured().empty());
}

// -- going down --

TEST_F(BeamPowerInit, ShutdownSetsBothToZeroAndEndsTheirTasksPathAFirst)
{
    BringUp(0);
    BringUp(1);
    ASSERT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), 0);
    card.ForgetCalls();
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), 0);
    EXPECT_EQ(card.Calls(), (Calls{"writeAnalogScalarF64(t1, 1, 10, 0)", "clearTask(t1)",
                                   "writeAnalogScalarF64(t2, 1, 10, 0)", "clearTask(t2)"}));
    EXPECT_EQ(g_beamPower[0].initialized, 0);
    EXPECT_EQ(g_beamPower[1].initialized, 0);
    EXPECT_EQ(g_beamPowerDaq[0].daqInitialized, 0);
    EXPECT_EQ(g_beamPowerDaq[1].task, nullptr);
}

TEST_F(BeamPowerInit, AnUninitializedPathAEndsShutdownAndLeavesPathBUp)
{
    BringUp(1);
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), ZVK_BEAMPOWER_NOT_FOUND);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_EQ(g_beamPower[1].initialized, 1);
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamPowerInit, AMissingPathBEndsShutdownBehindPathAAndKeepsTheTables)
{
    WriteConfig({}, {0});
    WriteTable({{"0", "0"}, {"2", "10"}});
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), ZVK_BEAMPOWER_NOT_FOUND);
    EXPECT_EQ(g_beamPower[0].initialized, 0);
    EXPECT_EQ(card.OpenTasks(), 0);
    EXPECT_EQ(g_beamPower[0].hasCalibration, 1);
    ASSERT_NE(g_beamPower[0].calibration, nullptr);
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), ZVK_BEAMPOWER_NOT_FOUND) << "path A is down now";
    folder.Remove("qdmr.bin");
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(g_beamPower[0].hasCalibration, 0) << "the next Init replaces it";
}

TEST_F(BeamPowerInit, AMissingPathAKeepsPathBsTaskAndTableAndASimulatedOneDoesNot)
{
    WriteConfig({0}, {});
    WriteTable({}, {{"0", "0"}, {"2", "10"}});
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_NOT_FOUND);
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), 0);
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), ZVK_BEAMPOWER_NOT_FOUND);
    EXPECT_EQ(card.OpenTasks(), 1);
    EXPECT_EQ(g_beamPower[1].numPoints, 2);
    EXPECT_EQ(ZVK_BeamPower_SetPower(0, 1, 1.0), 0) << "it still works";
    EXPECT_EQ(card.Blocks().back(), std::vector<double>{2.0});
    WriteConfig({1, 1, 1}, {});
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), 0);
    EXPECT_EQ(card.OpenTasks(), 0);
    EXPECT_EQ(g_beamPower[1].calibration, nullptr);
    EXPECT_EQ(g_beamPower[1].hasCalibration, 0);
}

TEST_F(BeamPowerInit, MiZeroCountsAsMissingAlsoOnAPathThatIsUp)
{
    BringUp(0);
    g_beamPower[0].mi = 0;
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), ZVK_BEAMPOWER_NOT_FOUND);
    EXPECT_EQ(g_beamPower[0].initialized, 1);
    EXPECT_TRUE(card.Calls().empty());
}

TEST_F(BeamPowerInit, ABackEndThatIsNotExactlyOneKeepsItsTaskAndItsVoltage)
{
    WriteConfig({1, 3}, {1, 1, 1});
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    ASSERT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), 0);
    card.ForgetCalls();
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), 0);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_EQ(g_beamPowerDaq[0].daqInitialized, 1);
    EXPECT_EQ(g_beamPower[0].initialized, 0);
    EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(card.Calls(), Calls{"writeAnalogScalarF64(t1, 1, 10, 0)"}) << "the same task serves";
}

TEST_F(BeamPowerInit, RefusedWriteOrClearDoesNotStopShutdown)
{
    for (const char *call : {"writeAnalogScalarF64", "clearTask"}) {
        BringUp(0);
        BringUp(1);
        card.FailCall(call, 1);
        EXPECT_EQ(ZVK_BeamPower_Shutdown(0), 0) << call;
        EXPECT_EQ(card.OpenTasks(), 0);
        EXPECT_EQ(g_beamPower[1].initialized, 0);
    }
}

TEST_F(BeamPowerInit, SimulatedPathsGoDownAndUpAgain)
{
    WriteConfig({1, 1, 1}, {1, 1, 1});
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 0), 0);
        EXPECT_EQ(ZVK_BeamPower_Init(0, 0, 0, 1), 0);
        EXPECT_EQ(Power(0), 0.0);
        EXPECT_EQ(ZVK_BeamPower_SetPower(0, 0, 0.5), 0);
        EXPECT_EQ(ZVK_BeamPower_Shutdown(0), 0);
        EXPECT_TRUE(std::isnan(Power(0)));
    }
    EXPECT_EQ(ZVK_BeamPower_Shutdown(0), 0) << "simulated paths are never missing";
}
