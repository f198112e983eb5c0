// Beam power on the virtual card's second device, through the exported calls alone.

#include "instrument_folder.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

constexpr SessionHandle kVi = 640;

static const char kConfig[] = "[SUBDAQ]\nDAQNAME=\"SUBDAQ\"\nBACKEND=1\n"
                              "[BEAMPOWER 0]\nMI=1\nBACKEND=1\nSIMULATE=0\nSCALE=4\n"
                              "[BEAMPOWER 1]\nMI=1\nBACKEND=1\nSIMULATE=0\nSCALE=2\n";

static const char kTable[] = "[CALVALUE A]\nNUM=3\nV1=0.5\nP1=0\nV2=1.5\nP2=10\nV3=4\nP3=40\n"
                             "[CALVALUE B]\nNUM=0\n";

class BeamPowerOnTheCard : public testing::Test
{
protected:
    void SetUp() override
    {
        ZVC_Reset();
        ZVC_SetPace(ZVC_PACE_FAST);
    }

    void TearDown() override
    {
        (void)ZVK_BeamPower_Shutdown(kVi);
        EXPECT_EQ(ZVC_CountTasks(), 0) << "a task leaked";
    }

    static int32_t InitBoth()
    {
        const int32_t status = ZVK_BeamPower_Init(kVi, 0, 0, 0);
        return status != 0 ? status : ZVK_BeamPower_Init(kVi, 0, 0, 1);
    }

    static std::vector<std::string> CardLog()
    {
        std::vector<std::string> lines;
        char line[256];
        for (uint64_t i = 0; i < ZVC_CountLog(); ++i)
            if (ZVC_GetLog(i, line, sizeof line) == ZVC_OK) lines.emplace_back(line);
        return lines;
    }

    InstrumentFolder folder{{{"config.ini", kConfig}}};
};

TEST_F(BeamPowerOnTheCard, ANormalStartIsTheLogOfTheDocuments)
{
    ASSERT_EQ(InitBoth(), 0);
    EXPECT_EQ(CardLog(),
              (std::vector<std::string>{
                  "DAQmxCreateTask(\"\", t1) = 0",
                  "DAQmxCreateAOVoltageChan(t1, \"SUBDAQ/ao0\", \"\", -10, 10, 10348, \"\") = 0",
                  "DAQmxStartTask(t1) = 0", "DAQmxWriteAnalogScalarF64(t1, 1, 10, 0) = 0",
                  "DAQmxCreateTask(\"\", t2) = 0",
                  "DAQmxCreateAOVoltageChan(t2, \"SUBDAQ/ao1\", \"\", -10, 10, 10348, \"\") = 0",
                  "DAQmxStartTask(t2) = 0", "DAQmxWriteAnalogScalarF64(t2, 1, 10, 0) = 0"}));
}

TEST_F(BeamPowerOnTheCard, PowerStandsAtTheOutputsByTableAndByFactor)
{
    folder.Files().Write("qdmr.bin", kTable);
    ASSERT_EQ(InitBoth(), 0);
    EXPECT_EQ(ZVC_GetVolts("SUBDAQ/ao0"), 0.5) << "power 0 by the table";
    ASSERT_EQ(ZVK_BeamPower_SetPower(kVi, 0, 0.5), 0);
    ASSERT_EQ(ZVK_BeamPower_SetPower(kVi, 1, 0.5), 0);
    EXPECT_DOUBLE_EQ(ZVC_GetVolts("SUBDAQ/ao0"), 1.5 + 2.5 / 3);
    EXPECT_EQ(ZVC_GetVolts("SUBDAQ/ao1"), 1.0);
    ASSERT_EQ(ZVK_BeamPower_SetPower(kVi, 1, 10.0), 0);
    EXPECT_EQ(ZVC_GetVolts("SUBDAQ/ao1"), 10.0);
    EXPECT_EQ(ZVK_BeamPower_Shutdown(kVi), 0);
    EXPECT_EQ(ZVC_GetVolts("SUBDAQ/ao0"), 0.5);
    EXPECT_EQ(ZVC_GetVolts("SUBDAQ/ao1"), 0.0);
}

TEST_F(BeamPowerOnTheCard, VoltsBeyondTheCardsRangeAreRefusedAndLogged)
{
    std::string config = kConfig;
    folder.Files().Write("config.ini", config.replace(config.find("SCALE=4"), 7, "SCALE=20"));
    ASSERT_EQ(ZVK_BeamPower_Init(kVi, 0, 0, 0), 0);
    ASSERT_EQ(ZVK_BeamPower_SetPower(kVi, 0, 0.25), 0);
    EXPECT_EQ(ZVK_BeamPower_SetPower(kVi, 0, 0.75), ZVK_BEAMPOWER_WRITE_FAILED);
    double power = 0.0;
    EXPECT_EQ(ZVK_BeamPower_GetPower(kVi, 0, &power), 0);
    EXPECT_EQ(power, 0.25);
    EXPECT_NE(folder.Files().Read("log.ini").find("DAQmxWriteAnalogScalarF64"), std::string::npos);
    ASSERT_EQ(ZVK_BeamPower_Init(kVi, 0, 0, 1), 0);
}

TEST_F(BeamPowerOnTheCard, EachRefusedCallHasItsStatusAndTheNextStartWorks)
{
    const struct
    {
        const char *call;
        int32_t status;
    } rows[] = {{"DAQmxCreateTask", -501},
                {"DAQmxCreateAOVoltageChan", -501},
                {"DAQmxStartTask", -501},
                {"DAQmxWriteAnalogScalarF64", 0}};
    for (const auto &row : rows) {
        ZVC_FailCall(row.call, 1, -50103);
        EXPECT_EQ(ZVK_BeamPower_Init(kVi, 0, 0, 0), row.status) << row.call;
        EXPECT_EQ(ZVC_CountFaults(), 0) << row.call;
        EXPECT_EQ(ZVC_CountTasks(), row.status == 0 ? 1 : 0) << row.call;
        EXPECT_EQ(ZVK_BeamPower_Init(kVi, 0, 0, 0),
                  row.status == 0 ? ZVK_BEAMEXPANDER_ALREADY_INITIALIZED : 0);
        ASSERT_EQ(ZVK_BeamPower_Init(kVi, 0, 0, 1), 0);
        EXPECT_EQ(ZVK_BeamPower_Shutdown(kVi), 0);
    }
}

TEST_F(BeamPowerOnTheCard, AHundredRoundsLeaveNoTask)
{
    folder.Files().Write("qdmr.bin", kTable);
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(InitBoth(), 0);
        ASSERT_EQ(ZVC_CountTasks(), 2);
        ASSERT_EQ(ZVK_BeamPower_SetPower(kVi, 0, 0.5), 0);
        ASSERT_EQ(ZVK_BeamPower_Shutdown(kVi), 0);
        ASSERT_EQ(ZVC_CountTasks(), 0);
    }
}
