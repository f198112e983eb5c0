// How the stage comes up on each back-end, and goes down.

#include "stage_fixture.h"

using StageInit = StageTest;
using Calls = std::vector<std::string>;

static std::pair<int32_t, int32_t> InitStatus()
{
    int32_t status = 77;
    const int32_t result = ZVK_Stage_GetInitStatus(0, &status);
    return {result, status};
}

TEST_F(StageInit, TheControllerIsBroughtUpStepByStep)
{
    WriteConfig();
    EXPECT_EQ(ZVK_Stage_Init(640, 1, 1), 0);
    EXPECT_EQ(Asked(), (Calls{"CSV?",       "SAI?",       "ONL 1 1 2 1 3 1", "SVO 1 1 2 1 3 1",
                              "WGO 1 0",    "MOV 1 0",    "WGO 2 0",         "MOV 2 0",
                              "WGO 3 0",    "MOV 3 0",    "VCO 1 1 2 1 3 1", "DCO 1 1 2 1 3 1",
                              "WGO 1 0",    "MOV 1 0",    "WGO 2 0",         "MOV 2 0",
                              "WGO 3 0",    "MOV 3 0",    "VEL 1 1500",      "VEL 2 1500",
                              "VEL 3 1500", "PLM? 1 2 3", "NLM? 1 2 3",      "MOV 1 50 2 50 3 50",
                              "ONT? 1 2 3", "ONT? 1 2 3", "ONT? 1 2 3",      "DFH 1 2 3",
                              "PLM? 1 2 3", "NLM? 1 2 3"}));
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(g_stage.maxPosition[axis], 50.0);
        EXPECT_EQ(g_stage.minPosition[axis], -50.0);
        EXPECT_EQ(g_stage.speed[axis], 1500.0);
        EXPECT_TRUE(controller->State(axis).servo);
        EXPECT_NEAR(controller->State(axis).position, 0.0, 1e-9) << "the middle is the origin";
    }
    EXPECT_EQ(InitStatus(), (std::pair<int32_t, int32_t>{0, 1}));
    EXPECT_TRUE(card.Calls().empty());
}

TEST_F(StageInit, TheOutputsAreBroughtUpStepByStepAndTheAnswerIsAWarning)
{
    WriteConfig({{"BACKEND", "16"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(
        card.Calls(),
        (Calls{"createTask(t1, \"\")",
               "createAOVoltageChan(t1, \"Dev2/ao0:1\", \"\", 0, 10, 10348, \"\")",
               "cfgSampClkTiming(t1, \"\", 1000, 10280, 10123, 10)", "cfgOutputBuffer(t1, 10)",
               "setWriteAttribute(t1, 0x190C, 10424)", "writeAnalogF64(t1, 10, 0, 10, 0)",
               "startTask(t1)", "createTask(t2, \"\")", "createTask(t3, \"\")",
               "createAIVoltageChan(t2, \"Dev2/_ao0_vs_aognd\", \"\", -1, 0, 10, 10348, null)",
               "createAIVoltageChan(t3, \"Dev2/_ao1_vs_aognd\", \"\", -1, 0, 10, 10348, null)",
               "writeAnalogF64(t1, 10, 0, 1, 0)"}));
    EXPECT_EQ(card.Blocks()[0], std::vector<double>(20, 5.0)) << "5 V in the middle of 0 to 10 V";
    EXPECT_EQ(InitStatus(), (std::pair<int32_t, int32_t>{0, 1}));
    EXPECT_EQ(g_stage.minPosition[1], -50.0);
    EXPECT_EQ(g_stage.maxPosition[1], 50.0);
    EXPECT_EQ(g_stage.centre[0], 50.0);
    EXPECT_EQ(g_stage.speed[1], 12.5);
    EXPECT_EQ(g_stage.numberOfAxes, 2);
    EXPECT_TRUE(Asked().empty());
}

TEST_F(StageInit, ATriggerTakesTheClockFromItsTerminal)
{
    WriteConfig({{"BACKEND", "16"}, {"TRIGGER", "1"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND);
    EXPECT_EQ(card.Calls()[2], "cfgSampClkTiming(t1, \"Dev2/pfi0\", 1000, 10280, 10123, 10)");
}

TEST_F(StageInit, WithBothBitsTheOutputsComeFirst)
{
    WriteConfig({{"BACKEND", "17"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    EXPECT_EQ(g_stage.numberOfAxes, 3);
    EXPECT_EQ(card.OpenTasks(), 3);
    EXPECT_TRUE(controller->IsConnected());
}

TEST_F(StageInit, SimulatedItKeepsLimitsOnlyForTheOutputs)
{
    Simulate("1");
    double low = -1;
    double high = -1;
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 0, &low, &high), 0);
    EXPECT_EQ(low, 0.0);
    EXPECT_EQ(high, 0.0);
    EXPECT_EQ(g_stage.numberOfAxes, 0);
    EXPECT_EQ(InitStatus(), (std::pair<int32_t, int32_t>{0, 2}));
    ResetStage();
    WriteConfig({{"SIMULATE", "1"}, {"BACKEND", "16"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Stage_GetMinMaxPosition(0, 2, &low, &high), 0);
    EXPECT_EQ(low, -500.0);
    EXPECT_EQ(high, 500.0);
    EXPECT_EQ(g_stage.numberOfAxes, 3);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_TRUE(Asked().empty());
}

TEST_F(StageInit, ASecondOneAnswers700AndReadsNothing)
{
    BringUpController();
    folder.Remove("config.ini");
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_ALREADY_INITIALIZED);
    EXPECT_TRUE(Asked().empty());
}

TEST_F(StageInit, WithoutAStageItIsAWarningBehindTwoKeys)
{
    folder.Write("config.ini", "[STAGE]\r\nMI = 0\r\nSIMULATE = 0\r\n");
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_INSTALLED);
    EXPECT_EQ(InitStatus(), (std::pair<int32_t, int32_t>{ZVK_STAGE_NOT_INSTALLED, -1}));
}

TEST_F(StageInit, EachMissingKeyIs702)
{
    for (const char *key : {"MI", "SIMULATE", "BACKEND", "SCALE", "CLOCKRATE", "EVERYNSAMPLES",
                            "SAMPLESPERCHAN", "SPEED", "STEPSIZE", "RANGE", "TRIGGER"})
    {
        ResetStage();
        WriteConfig({{"BACKEND", std::string(key) == "BACKEND" ? "-" : "16"}, {key, "-"}});
        EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_BAD_CONFIGURATION) << key;
        EXPECT_EQ(card.OpenTasks(), 0);
    }
    for (const char *key : {"IP", "PORTNUM", "NUMBEROFAXES"}) {
        ResetStage();
        WriteConfig({{key, "-"}});
        EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_BAD_CONFIGURATION) << key;
    }
    EXPECT_EQ(InitStatus(), (std::pair<int32_t, int32_t>{ZVK_STAGE_INIT_FAILED, 0}));
    EXPECT_EQ(controller->Connections(), 0);
}

TEST_F(StageInit, KeysOfABackEndThatIsNotThereAreNotRead)
{
    WriteConfig({{"SCALE", "-"}, {"RANGE", "-"}, {"DAQNAME", "-"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    ResetStage();
    WriteConfig({{"BACKEND", "16"}, {"IP", "-"}, {"PORTNUM", "-"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND);
    ResetStage();
    WriteConfig({{"BACKEND", "16"}, {"SIMULATE", "1"}, {"TRIGGER", "-"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
}

TEST_F(StageInit, TheCardsNameHasTheStatusOfItsRead)
{
    WriteConfig({{"BACKEND", "16"}, {"DAQNAME", "-"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND);
    WriteConfig({{"BACKEND", "16"}});
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND) << "and can be tried again";
    EXPECT_EQ(card.OpenTasks(), 3) << "the task of the first try is gone";
}

TEST_F(StageInit, EachRefusalOfTheCardHasItsStatusAndCanBeTriedAgain)
{
    const int32_t expected[] = {ZVK_STAGE_DAQ_FAILED, ZVK_STAGE_DAQ_FAILED, ZVK_STAGE_DAQ_FAILED,
                                kToldDaqFailure,      kToldDaqFailure,      kToldDaqFailure,
                                ZVK_STAGE_DAQ_FAILED};
    for (int nth = 1; nth <= 7; ++nth) {
        ResetStage();
        folder.Remove("log.ini");
        WriteConfig({{"BACKEND", "16"}});
        card.SetErrorText("the card says no");
        card.FailAt(nth);
        EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), expected[nth - 1]) << nth;
        EXPECT_EQ(g_stage.initialized, 0);
        const bool logged = folder.Read("log.ini").find("the card says no") != std::string::npos;
        EXPECT_EQ(logged, expected[nth - 1] == ZVK_STAGE_DAQ_FAILED) << nth;
        EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND) << nth;
        EXPECT_EQ(card.OpenTasks(), 3) << nth;
    }
}

TEST_F(StageInit, TheInputsAndTheCentreAreNotLookedAt)
{
    for (int nth = 8; nth <= 12; ++nth) {
        ResetStage();
        WriteConfig({{"BACKEND", "16"}});
        card.FailAt(nth);
        EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND) << nth;
        EXPECT_TRUE(card.Failed()) << nth;
        EXPECT_EQ(g_stage.initialized, 1);
    }
}

TEST_F(StageInit, AControllerThatIsNotThereIs703WithItsReasonInTheLog)
{
    WriteConfig();
    controller.reset();
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_CONNECT_FAILED);
    EXPECT_EQ(g_stage.initialized, 0);
    EXPECT_NE(folder.Read("log.ini").find("could not be reached"), std::string::npos);
}

TEST_F(StageInit, WhatTheControllerRefusesIsLoggedAndTheWorkGoesOn)
{
    for (const char *command :
         {"ONL", "SVO", "WGO", "VCO", "DCO", "VEL", "MOV", "DFH", "SAI?", "PLM?", "NLM?"})
    {
        ResetStage();
        folder.Remove("log.ini");
        WriteConfig();
        VirtualStageFault fault;
        fault.refuse = command;
        fault.refuseCode = 17;
        controller->Misbehave(fault);
        EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0) << command;
        EXPECT_NE(folder.Read("log.ini").find("out of range"), std::string::npos) << command;
        EXPECT_EQ(g_stage.initialized, 1);
    }
}

TEST_F(StageInit, ACommandSetThatCantBeReadIsNotSupportedAndAResetTriesAgain)
{
    WriteConfig();
    VirtualStageFault fault;
    fault.garbled = true;
    controller->Misbehave(fault);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_SUPPORTED);
    EXPECT_NE(
        folder.Read("log.ini").find("Command set revision of connected stage is not supported."),
        std::string::npos);
    EXPECT_EQ(InitStatus(), (std::pair<int32_t, int32_t>{0, 1}));
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_ALREADY_INITIALIZED);
    double position = 0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), ZVK_STAGE_NO_POSITION);
    controller->Misbehave({});
    EXPECT_EQ(ZVK_Stage_Reset(0), 0);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), 0);
}

TEST_F(StageInit, AnAxisThatNeverArrivesEndsTheWaitAfterAMinute)
{
    WriteConfig();
    controller->Ask("VEL 1 1e-6");
    VirtualStageFault fault;
    fault.refuse = "VEL";
    fault.refuseCode = 8;
    controller->Misbehave(fault);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    EXPECT_EQ(clock.Delays().size(), 6000U);
}

TEST_F(StageInit, AControllerOfFourAxesLendsItsFirstThree)
{
    VirtualStageSettings settings;
    settings.axes = 4;
    settings.clock = [this] { return clock.Now(); };
    controller = std::make_unique<VirtualStage>(settings);
    BringUpController();
    EXPECT_STREQ(g_stage.axes, "1 \n2 \n3 \n");
}

TEST_F(StageInit, ShutdownStopsTheControllerAndClosesItsConnection)
{
    EXPECT_EQ(ZVK_Stage_Shutdown(0), 0) << "not up";
    BringUpController();
    EXPECT_EQ(ZVK_Stage_Shutdown(0), 0);
    EXPECT_EQ(Asked(), (Calls{"STP"}));
    EXPECT_EQ(InitStatus(), (std::pair<int32_t, int32_t>{ZVK_STAGE_INIT_FAILED, 0}));
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    EXPECT_EQ(controller->Connections(), 2);
}

TEST_F(StageInit, ShutdownEndsTheOutputsTasksAndTakesASecond)
{
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_Shutdown(0), 0);
    EXPECT_EQ(card.Calls(), (Calls{"stopTask(t1)", "clearTask(t1)", "stopTask(t2)", "clearTask(t2)",
                                   "stopTask(t3)", "clearTask(t3)"}));
    EXPECT_EQ(clock.Delays(), (std::vector<double>{1.0}));
    EXPECT_EQ(g_stage.buffer, nullptr);
    EXPECT_EQ(g_stage.task, nullptr);
}

TEST_F(StageInit, OutputsBesideAControllerStayUpAndAreMadeAnewByTheNextInit)
{
    BringUpBoth();
    EXPECT_EQ(ZVK_Stage_Shutdown(0), 0);
    EXPECT_TRUE(card.Calls().empty());
    EXPECT_EQ(card.OpenTasks(), 3);
    EXPECT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    EXPECT_EQ(card.OpenTasks(), 3);
}

TEST_F(StageInit, ResetOfOutputsAloneReportsFailureWithTheStageUp)
{
    BringUpOutputs();
    EXPECT_EQ(ZVK_Stage_Reset(0), ZVK_STAGE_INIT_FAILED);
    EXPECT_EQ(g_stage.initialized, 1);
}

TEST_F(StageInit, ResetBringsALostConnectionBack)
{
    BringUpController();
    controller->HangUp();
    while (controller->IsConnected())
        clock.Advance(0.0);
    double position = 0;
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), ZVK_STAGE_NO_POSITION);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 1.0), ZVK_STAGE_MOVE_FAILED);
    EXPECT_NE(folder.Read("log.ini").find("is lost"), std::string::npos);
    EXPECT_EQ(ZVK_Stage_Reset(0), 0);
    EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), 0);
}

TEST_F(StageInit, AHundredRoundsLeakNothing)
{
    WriteConfig({{"BACKEND", "17"}});
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
        ASSERT_EQ(card.OpenTasks(), 3);
        ASSERT_EQ(ZVK_Stage_Shutdown(0), 0);
    }
    EXPECT_EQ(controller->Connections(), 100);
}

TEST_F(StageInit, TheSelfTestTouchesNothing)
{
    uint16_t good = 0;
    EXPECT_EQ(ZVK_Stage_SelfTest(0, &good), 0);
    EXPECT_EQ(good, 1);
}
